#pragma once

#include "platform/media/aac_encoder.h"

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

/// Boxes of ISO/IEC 14496-12 and 14496-14 for a file with one AAC track. Everything here is a pure function
/// of its arguments; the same arguments give the same bytes for ever, because recovery recognises files by
/// them.

/// Bytes in the making: numbers are big-endian, boxes nest.
class BoxBuffer {
  public:
    std::vector<std::uint8_t> bytes;

    void u8(std::uint64_t value) { number(value, 1); }
    void u16(std::uint64_t value) { number(value, 2); }
    void u24(std::uint64_t value) { number(value, 3); }
    void u32(std::uint64_t value) { number(value, 4); }
    void u64(std::uint64_t value) { number(value, 8); }
    void zeros(std::size_t count) { bytes.insert(bytes.end(), count, 0); }
    void text(std::string_view text) { bytes.insert(bytes.end(), text.begin(), text.end()); }

    /// A box of that type around what `content` adds, with its size in front. `following` bytes that will be
    /// written behind this buffer belong to the box as well.
    template <typename Content>
    void box(std::string_view type, const Content& content, std::uint64_t following = 0) {
        const std::size_t begin = bytes.size();
        u32(0);
        text(type);
        content();
        putSize(begin, following);
    }
    /// A box with version and flags (14496-12, 4.2).
    template <typename Content>
    void fullBox(std::string_view type, unsigned version, unsigned flags, const Content& content) {
        box(type, [&] {
            u8(version);
            u24(flags);
            content();
        });
    }

    /// The number in so many bytes.
    void number(std::uint64_t value, std::size_t size);

  private:
    void putSize(std::size_t begin, std::uint64_t following);
};

/// The number in so many bytes, at most eight, from that place on; 0 when they are not all there.
std::uint64_t bigEndian(std::span<const std::uint8_t> bytes, std::size_t at, std::size_t count);
/// What is inside a box, which is found by the types of the boxes around it and its own; as much of it as is
/// there, so nothing when it is missing. Full boxes begin with their version and flags.
std::span<const std::uint8_t> contentOfBox(std::span<const std::uint8_t> boxes,
                                           std::initializer_list<std::string_view> path);

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
inline constexpr std::size_t fragmentCountOffset = 80; ///< of the number of packets, in four bytes

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
