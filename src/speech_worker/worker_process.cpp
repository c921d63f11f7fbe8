#include "speech_worker/worker_process.h"

#include "base/error.h"

#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <thread>
#include <unistd.h>

std::optional<int> descriptorFrom(std::string_view text) {
    int descriptor = -1;
    const auto end = std::from_chars(text.data(), text.data() + text.size(), descriptor);
    const bool isNumber = end.ec == std::errc() && end.ptr == text.data() + text.size();
    return isNumber && descriptor > STDERR_FILENO ? std::optional(descriptor) : std::nullopt;
}

void endWithStandardInput() {
    std::thread([] {
        char ignored[256];
        for (;;) {
            const ssize_t count = ::read(STDIN_FILENO, ignored, sizeof ignored);
            if (count == 0 || (count < 0 && errno != EINTR)) ::_exit(EXIT_FAILURE);
        }
    }).detach();
}

void writeToStandardOutput(std::string_view line) {
    while (!line.empty()) {
        const ssize_t written = ::write(STDOUT_FILENO, line.data(), line.size());
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) throw Error::posix(errno);
        line.remove_prefix(static_cast<std::size_t>(written));
    }
}
