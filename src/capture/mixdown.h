#pragma once

#include <span>

/// Adds the microphone to one channel of the system audio, both at unity gain, clipped to [-1, 1]. All spans
/// have the same length; `mix` may be the same memory as `system`.
void mixDown(std::span<const float> mic, std::span<const float> system, std::span<float> mix);

/// What a meter shows for these samples: min(4 · RMS, 1). The factor lifts speech into the meter's range. 0
/// for no samples.
float audioLevel(std::span<const float> samples);
