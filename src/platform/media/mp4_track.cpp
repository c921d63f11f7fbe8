#include "platform/media/mp4_track.h"

#include "base/error.h"
#include "platform/posix/output_file.h"

#include <algorithm>
#include <utility>

namespace {

/// Hands out what is appended in pieces that are worth a system call.
template <typename Write>
class Pieces {
  public:
    explicit Pieces(const Write& write) : m_write(write) {}

    BoxBuffer& buffer() { return m_buffer; }
    void append(const std::vector<std::uint8_t>& bytes) {
        m_buffer.bytes.insert(m_buffer.bytes.end(), bytes.begin(), bytes.end());
    }
    void flushAbove(std::size_t bytes) {
        if (m_buffer.bytes.size() <= bytes) return;
        m_write(m_buffer.bytes);
        m_buffer.bytes.clear();
    }

  private:
    const Write& m_write;
    BoxBuffer m_buffer;
};

constexpr std::size_t pieceSize = 65536;

std::uint64_t sum(std::span<const std::uint16_t> sizes) {
    std::uint64_t total = 0;
    for (const std::uint16_t size : sizes) total += size;
    return total;
}

/// How many packets the run `index` has in each fragment, and in all.
std::uint64_t packetsOfRun(std::span<const PacketRun> runs, std::size_t index, std::uint64_t fragments) {
    const std::uint64_t end = index + 1 < runs.size() ? runs[index + 1].firstFragment : fragments;
    return (end - runs[index].firstFragment) * runs[index].packets;
}

} // namespace

Mp4Track::Mp4Track(AacStream stream)
    : m_stream(std::move(stream)), m_begin(fileHead(m_stream).size()), m_end(m_begin) {}

std::uint64_t Mp4Track::wholeFrames() const {
    const auto padding = static_cast<std::uint64_t>(m_stream.initialPadding);
    const std::uint64_t samples = packets() * samplesPerPacket;
    return samples - std::min(samples, padding);
}

std::uint64_t Mp4Track::largestIndex(std::uint64_t morePackets) const {
    constexpr std::uint64_t everythingElse = 1024;
    return everythingElse + 4 * (packets() + morePackets) + 8 * (m_fragments + 1) + 12 * (m_runs.size() + 1);
}

std::vector<std::uint8_t> Mp4Track::nextFragmentHead(std::span<const std::uint16_t> packetSizes) const {
    return fragmentHead(static_cast<std::uint32_t>(m_fragments + 1), packets() * samplesPerPacket,
                        packetSizes);
}

void Mp4Track::addFragment(std::span<const std::uint16_t> packetSizes) {
    if (m_runs.empty() || m_runs.back().packets != packetSizes.size())
        m_runs.push_back({m_fragments, packetSizes.size()});
    m_sizes.insert(m_sizes.end(), packetSizes.begin(), packetSizes.end());
    m_end += fragmentHeadSize(packetSizes.size()) + sum(packetSizes);
    ++m_fragments;
}

template <typename Write>
void Mp4Track::makeIndex(std::uint64_t frames, const Write& write) const {
    Pieces pieces(write);
    pieces.append(indexHead(m_stream, {frames, packets(), m_fragments, m_runs, m_end}));

    const std::size_t offsetSize = indexOffsetSize(m_end);
    std::uint64_t fragment = m_begin;
    std::span<const std::uint16_t> rest = m_sizes;
    for (std::size_t run = 0; run < m_runs.size(); ++run) {
        const std::uint64_t packetsOfEach = m_runs[run].packets;
        for (std::uint64_t left = packetsOfRun(m_runs, run, m_fragments); left > 0; left -= packetsOfEach) {
            const std::uint64_t data = fragment + fragmentHeadSize(packetsOfEach);
            pieces.buffer().number(data, offsetSize);
            pieces.flushAbove(pieceSize);
            fragment = data + sum(rest.first(packetsOfEach));
            rest = rest.subspan(packetsOfEach);
        }
    }
    pieces.append(indexSizesHead(packets()));
    for (const std::uint16_t size : m_sizes) {
        pieces.buffer().u32(size);
        pieces.flushAbove(pieceSize);
    }
    pieces.flushAbove(0);
}

void Mp4Track::close(OutputFile& file, std::uint64_t frames) const {
    std::uint64_t at = m_end;
    try {
        makeIndex(frames, [&](std::span<const std::uint8_t> piece) {
            file.write(piece, at);
            at += piece.size();
        });
        file.truncate(at);
    } catch (const Error&) {
        file.tryTruncate(m_end);
        throw;
    }
    file.write(closedHole(m_end), holeOffset);
}

std::optional<std::uint64_t> Mp4Track::framesOfIndex(const ReadableFile& file) const {
    std::vector<std::uint8_t> found(128);
    if (!file.read(found, m_end)) return std::nullopt;
    const std::uint64_t frames = bigEndian(contentOfBox(found, {"moov", "mvhd"}), 24, 8);

    std::uint64_t at = m_end;
    bool same = true;
    makeIndex(frames, [&](std::span<const std::uint8_t> piece) {
        found.resize(piece.size());
        same = same && file.read(found, at) && std::equal(piece.begin(), piece.end(), found.begin());
        at += piece.size();
    });
    return same && at == file.size() && frames <= wholeFrames() ? std::optional(frames) : std::nullopt;
}
