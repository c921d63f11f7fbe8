#include "platform/pipewire/downmix.h"

namespace pipewire {

void downmixToStereo(std::span<const float> surround, std::vector<float>& stereo) {
    constexpr float minus3dB = 0.70710678F;
    const std::size_t frames = surround.size() / tapChannels.size();
    stereo.resize(frames * 2);
    const float* in = surround.data();
    for (std::size_t i = 0; i < frames; ++i, in += tapChannels.size()) {
        const auto [left, right, centre, sideLeft, sideRight, rearLeft, rearRight] =
            std::array{in[0], in[1], in[2], in[4], in[5], in[6], in[7]};
        stereo[2 * i] = left + minus3dB * (centre + sideLeft + rearLeft);
        stereo[2 * i + 1] = right + minus3dB * (centre + sideRight + rearRight);
    }
}

} // namespace pipewire
