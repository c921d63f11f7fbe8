#pragma once

#include "platform/media/aac_encoder.h"
#include "platform/media/box_buffer.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

/// Boxes of ISO/IEC 14496-12 and 14496-14 for a file with one AAC track. Everything here is a pure function
/// of its arguments; the same arguments give the same bytes for ever, because recovery recognises files by
/// them.

inline constexpr std::uint64_t samplesPerPacket = 1024; ///< of AAC-LC

/// The place where a file is either open or closed: 16 bytes inside the first sector of a disk, which arrive
/// there together or not at all.
inline constexpr std::uint64_t holeOffset = 32;
inline constexpr std::size_t holeSize = 16;
/// While recording: a free box, so that the moov that follows counts.
std::vector<std::uint8_t> openHole();
/// Afterwards: the head of one mdat from here to `indexOffset`, which hides moov and fragments.
std::vector<std::uint8_t> closedHole(std::uint64_t indexOffset);

/// The beginning of every file: ftyp, open hole, a moov without packets. From then on it can be read, length
/// 0, and fragments may follow.
std::vector<std::uint8_t> fileHead(const AacStream& stream);
/// The stream with whose head these bytes begin, whatever is in the hole; nothing for any other bytes.
std::optional<AacStream> streamOfHead(std::span<const std::uint8_t> bytes);
inline constexpr std::size_t largestHead = 1024; ///< more is never needed to tell

/// Everything of a fragment but its packets: moof and the head of the mdat. `sequence` counts from 1;
/// `firstSample` is the first packet's place in the track, padding included.
std::vector<std::uint8_t> fragmentHead(std::uint32_t sequence, std::uint64_t firstSample,
                                       std::span<const std::uint16_t> packetSizes);
constexpr std::uint64_t fragmentHeadSize(std::uint64_t packets) {
    return 96 + 4 * packets;
}
inline constexpr std::size_t mostPacketsInFragment = 4096; ///< of what we write and what we believe
inline constexpr std::size_t fragmentCountOffset = 80;     ///< of the number of packets, in four bytes

/// Fragments with the same number of packets each (14496-12, 8.7.4).
struct PacketRun {
    std::uint64_t firstFragment; ///< from 0
    std::uint64_t packets;       ///< in each, up to the next run
};

/// What the index says about all packets together.
struct IndexFacts {
    std::uint64_t frames; ///< samples that count
    std::uint64_t packets;
    std::uint64_t fragments;
    std::span<const PacketRun> runs;
    std::uint64_t indexOffset; ///< where the fragments end and the index begins
};
/// The closing moov up to its two long tables, whose bytes are counted in: the fragments' offsets as numbers
/// of indexOffsetSize bytes, and behind indexSizesHead the packets' sizes as numbers of four.
std::vector<std::uint8_t> indexHead(const AacStream& stream, const IndexFacts& facts);
std::vector<std::uint8_t> indexSizesHead(std::uint64_t packets);
std::size_t indexOffsetSize(std::uint64_t indexOffset);
