#pragma once

#include <cstddef>
#include <span>
#include <vector>

/// When the microphone hears what was played. All times in seconds.
struct EchoDelay {
    double time;  ///< of the microphone's sound
    double delay; ///< how much earlier the system track has it
};

/// Looks at a stretch of both tracks, 16 kHz mono, whose first samples belong to the same time: an estimate
/// for the middle of each block of 2 s in which an echo is plain. Empty when neither the stretch as a whole
/// shows it beyond doubt nor two of its blocks at the same delay, so that chance never looks like an echo.
/// Blocks in which nothing was played tell nothing, nor does what is left behind the last whole block.
///
/// Generalised cross-correlation with phase transform (Knapp and Carter, IEEE Trans. ASSP 24, 1976), 300 to
/// 4000 Hz, delays up to 0.5 s. Where the microphone hears more than 2 ms *before* it is played (the tracks'
/// time lines may be that far apart) it is the user's own voice, which comes back from the other end or from
/// a monitor and must stay: such blocks tell nothing.
std::vector<EchoDelay> echoDelays(std::span<const float> microphone, std::span<const float> system);

inline constexpr std::size_t echoBlock = 32768;           ///< samples, 2 s
inline constexpr std::size_t echoStretch = 5 * echoBlock; ///< samples, the stretch to look at: 10 s
