#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <string_view>
#include <vector>

namespace pipewire {

/// The tap's channels, in the order of its interleaved samples. The names are those of the server's ports.
inline constexpr std::array<std::string_view, 8> tapChannels{"FL", "FR", "FC", "LFE", "SL", "SR", "RL", "RR"};

/// Turns interleaved samples of the tap's channels into interleaved stereo: front left and right as they are,
/// centre and surrounds 3 dB softer, the low-frequency channel left out (ITU-R BS.775). `stereo` takes the
/// size that it needs.
void downmixToStereo(std::span<const float> surround, std::vector<float>& stereo);

} // namespace pipewire
