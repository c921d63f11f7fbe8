#pragma once

#include "speech_worker/echo_line.h"
#include "speech_worker/sample_history.h"

#include <vector>

/// The system track as a canceller wants it: shifted and stretched along the line, so that each echo comes
/// 5 ms behind its sound. 16 kHz; sample `begin` and `count` are those of the microphone track. Silence
/// where the system track has ended.
std::vector<float> alignedSystem(const SampleHistory& system, const EchoLine& line, std::size_t begin,
                                 std::size_t count);
