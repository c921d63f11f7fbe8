// Tells the length of one audio file of any origin: in a process of its own, because whoever made the file
// may have made it to do harm.

#include "base/error.h"
#include "platform/media/decoded_length.h"
#include "speech_worker/protocol.h"
#include "speech_worker/sandbox.h"
#include "speech_worker/worker_process.h"

#include <cstdio>
#include <exception>
#include <new>
#include <string>

namespace {

// The reader may take half of it for the index of a recording of several days. A minute of computing is
// enough for several hundred hours of sound.
constexpr ProcessBounds bounds{std::uint64_t{2} << 30, std::chrono::minutes(1)};

protocol::Message answer(int argc, char** argv) {
    const auto descriptor = argc == 2 ? descriptorFrom(argv[1]) : std::nullopt;
    if (!descriptor) return protocol::Failure{"usage: DESCRIPTOR"};
    try {
        const AudioFileFacts facts = decodedLength(FileHandle(*descriptor));
        return protocol::Length{facts.frames, facts.sampleRate};
    } catch (const Error& error) {
        return protocol::Failure{error.localizedDescription()};
    } catch (const std::bad_alloc&) { // an index of gigabytes was announced
        return protocol::Failure{"The audio file is damaged: its index is too large."};
    }
}

} // namespace

int main(int argc, char** argv) {
    try {
        for (const std::string& lack : enterSandbox(bounds, {})) std::fprintf(stderr, "%s\n", lack.c_str());
        endWithStandardInput();
        writeToStandardOutput(protocol::line(answer(argc, argv)));
        return 0;
    } catch (const std::exception&) { // nobody reads the answer, so there is nobody to tell
        return 1;
    }
}
