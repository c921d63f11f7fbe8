#include "capture/pcm_block.h"

#include <algorithm>

std::optional<PcmBlock> makePcmBlock(std::span<const std::span<const float>> channels,
                                     const AudioFormat& format) {
    if (channels.empty() || channels.front().empty() || format.channels == 0) return std::nullopt;
    const std::size_t frames = channels.front().size();
    PcmBlock block{std::vector(format.channels, std::vector<float>(frames))};
    for (std::size_t c = 0; c < std::min<std::size_t>(channels.size(), format.channels); ++c)
        std::copy_n(channels[c].begin(), std::min(channels[c].size(), frames), block.channels[c].begin());
    return block;
}
