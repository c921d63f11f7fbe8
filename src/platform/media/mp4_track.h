#pragma once

#include "platform/media/mp4_boxes.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

class OutputFile;
class ReadableFile;

/// What is known of a file with one AAC track while it grows: its head, its fragments and the sizes of their
/// packets. Knows how the file is closed; recording and recovery close with the same step. Takes two bytes of
/// memory for each packet. Used by one thread at a time. What is read from files is not trusted.
class Mp4Track {
  public:
    explicit Mp4Track(AacStream stream);

    const AacStream& stream() const { return m_stream; }
    /// Where the next fragment belongs, or the index.
    std::uint64_t end() const { return m_end; }
    std::uint64_t packets() const { return m_sizes.size(); }
    /// How many samples count when nothing is left out but the padding in front.
    std::uint64_t wholeFrames() const;
    /// What the index will take at most once so many packets are added in one more fragment.
    std::uint64_t largestIndex(std::uint64_t morePackets) const;

    /// The bytes that come before the packets of the next fragment.
    std::vector<std::uint8_t> nextFragmentHead(std::span<const std::uint16_t> packetSizes) const;
    /// That fragment is in the file now.
    void addFragment(std::span<const std::uint16_t> packetSizes);

    /// Makes an ordinary file of it: writes the index for so many frames behind the fragments, cuts off what
    /// is behind that, and only then turns the hole. When the index cannot be written the file ends with its
    /// last fragment as before, and the Error is thrown.
    void close(OutputFile& file, std::uint64_t frames) const;

    /// How many samples count after the index that a file has: when that is, from the fragments to the end of
    /// the file, exactly the one that close() writes. Throws Error when the file cannot be read.
    std::optional<std::uint64_t> framesOfIndex(const ReadableFile& file) const;

    /// How many samples count in a file of that stream that is closed and whole (see framesOfIndex); nothing
    /// for any other. Throws Error when the file cannot be read.
    static std::optional<std::uint64_t> framesOfClosed(const AacStream& stream, const ReadableFile& file);
    /// The fragments that a file of that stream has: all whole ones in a row from the first on.
    static Mp4Track fromFragments(const AacStream& stream, const ReadableFile& file);
    /// The fragments of which an index tells that a file of that stream has there. Nothing when it is not an
    /// index of ours or not for this place; framesOfIndex knows for certain.
    static std::optional<Mp4Track> fromIndex(const AacStream& stream, const ReadableFile& file,
                                             std::uint64_t indexOffset);

  private:
    /// Calls `write` with the index piece by piece.
    template <typename Write>
    void makeIndex(std::uint64_t frames, const Write& write) const;

    AacStream m_stream;
    std::uint64_t m_begin; // of the first fragment
    std::uint64_t m_end;
    std::uint64_t m_fragments = 0;
    std::vector<PacketRun> m_runs;
    std::vector<std::uint16_t> m_sizes;
};
