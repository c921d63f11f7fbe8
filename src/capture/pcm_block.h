#pragma once

#include "capture/audio_file_writer.h"

#include <optional>
#include <span>
#include <vector>

/// Samples that are ready for a file: one array per channel, all of the same length.
struct PcmBlock {
    std::vector<std::vector<float>> channels;
};

/// Builds a block of `format` from one array per channel. The first array's length is the block's; shorter
/// ones and missing channels are filled with zeros, surplus samples and channels are ignored. Nothing when
/// there is no channel or no sample, or when the format has no channels.
std::optional<PcmBlock> makePcmBlock(std::span<const std::span<const float>> channels,
                                     const AudioFormat& format);
