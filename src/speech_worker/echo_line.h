#pragma once

#include "speech_worker/echo_delay.h"

#include <optional>
#include <span>

/// The delay of an echo as a straight line over time: loudspeaker and microphone may have clocks of their
/// own.
struct EchoLine {
    double delayAtZero; ///< seconds
    double drift;       ///< seconds per second

    double delayAt(double time) const { return delayAtZero + drift * time; }
};

/// The line that fits most of the estimates, of which any may be wrong: slope and height are medians (Theil,
/// 1950; Sen, 1968). Estimates that are more than 15 ms off the rest do not count; a drift below 15 ppm is
/// none. Missing without estimates.
std::optional<EchoLine> fittedLine(std::span<const EchoDelay> delays);
