#pragma once

#include "base/error.h"
#include "base/serial_queue.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <stop_token>

/// 127 years: about half of what a SerialQueue's clock can count, so that adding it to any time is safe.
inline constexpr double longestTimeout = 4e9; // seconds

namespace withTimeoutDetail {

/// All that outlives the operation: its timer may still wait for half an hour.
struct Race {
    std::atomic_flag decided; // whoever sets it has won
    std::stop_source stop;
};

} // namespace withTimeoutDetail

/// Cut to nanoseconds. A time outside 0...longestTimeout is a programming error and ends the process.
inline SerialQueue::Time timeSpan(double seconds) {
    if (!(seconds >= 0 && seconds <= longestTimeout)) std::abort(); // not-a-number ends here as well
    return SerialQueue::Time(static_cast<std::int64_t>(seconds * 1e9));
}

/// Runs `operation(std::stop_token)` on the caller's thread, for at most `seconds`.
///
/// Returns its value or throws what it throws, unless the time was up before it ended: then its stop token
/// has been triggered on the thread of `timers`, its outcome is discarded, and the error "Transcription timed
/// out." (domain "transcriber", code 2) is thrown. That too happens only once the operation has ended, so it
/// must honour the token. `stop` is passed on to the operation and decides nothing itself. A time outside
/// 0...longestTimeout is a programming error and ends the process.
template <typename Operation>
auto withTimeout(double seconds, SerialQueue& timers, const std::stop_token& stop, Operation operation) {
    const auto race = std::make_shared<withTimeoutDetail::Race>();
    const std::stop_callback passOn(stop, [&race] { race->stop.request_stop(); });
    timers.asyncAfter(timeSpan(seconds), [race] {
        // Decide first: an operation that answers the stop with an error of its own must not win by it.
        if (!race->decided.test_and_set()) race->stop.request_stop();
    });
    try {
        auto value = operation(race->stop.get_token());
        if (!race->decided.test_and_set()) return value;
    } catch (...) {
        if (!race->decided.test_and_set()) throw;
    }
    throw Error("transcriber", 2, "Transcription timed out.");
}
