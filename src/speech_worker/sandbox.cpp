#include "speech_worker/sandbox.h"

#include "speech_worker/landlock_rules.h"
#include "speech_worker/syscall_filter.h"

#include <algorithm>
#include <sys/resource.h>
#include <system_error>

namespace {

void bound(int resource, rlim_t most, rlim_t last) {
    rlimit limit{};
    ::getrlimit(resource, &limit);
    limit.rlim_max = std::min(limit.rlim_max, last);
    limit.rlim_cur = std::min(limit.rlim_cur, std::min(most, limit.rlim_max));
    ::setrlimit(resource, &limit); // lowering is never refused
}

} // namespace

std::vector<std::string> enterSandbox(const ProcessBounds& bounds,
                                      std::span<const std::filesystem::path> readable) {
    bound(RLIMIT_CORE, 0, 0);
    bound(RLIMIT_AS, bounds.memory, bounds.memory);
    const auto seconds = static_cast<rlim_t>(bounds.processorTime.count());
    bound(RLIMIT_CPU, seconds, seconds + 1); // at the last one comes SIGKILL, which tells nothing
    std::vector<std::string> lacks;
    try {
        restrictReading(readable);
    } catch (const std::system_error& error) {
        lacks.push_back(std::string("this kernel does not limit which files a process may open: ") +
                        error.what());
    }
    try {
        filterSystemCalls(); // last: it knows no call of the above
    } catch (const std::system_error& error) {
        lacks.push_back(std::string("this kernel does not let a process give up its rights: ") +
                        error.what());
    }
    return lacks;
}
