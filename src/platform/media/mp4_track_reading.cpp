#include "platform/media/mp4_track.h"
#include "platform/posix/readable_file.h"

#include <algorithm>
#include <array>

namespace {

/// The packet sizes of the fragment that begins there; none when it is not whole, or not the next one of
/// ours.
std::vector<std::uint16_t> nextFragment(const Mp4Track& track, const ReadableFile& file,
                                        std::uint64_t fileSize) {
    std::vector<std::uint8_t> found(fragmentCountOffset + 4);
    if (!file.read(found, track.end())) return {};
    const std::uint64_t packets = bigEndian(found, fragmentCountOffset, 4);
    if (packets == 0 || packets > mostPacketsInFragment) return {};
    found.resize(fragmentHeadSize(packets));
    if (!file.read(found, track.end())) return {};

    std::vector<std::uint16_t> sizes(packets);
    std::uint64_t end = track.end() + found.size();
    for (std::size_t i = 0; i < packets; ++i) {
        sizes[i] = static_cast<std::uint16_t>(bigEndian(found, fragmentCountOffset + 8 + 4 * i, 4));
        if (sizes[i] == 0) return {};
        end += sizes[i];
    }
    // Whatever these numbers were: only our own head for them has all of these bytes.
    if (end > fileSize || found != track.nextFragmentHead(sizes)) return {};
    return sizes;
}

/// Where a closed hole says that the index begins; nothing for an open one.
std::optional<std::uint64_t> placeOfIndex(const ReadableFile& file) {
    std::array<std::uint8_t, holeSize> hole{};
    if (!file.read(hole, holeOffset)) return std::nullopt;
    const std::uint64_t small = holeOffset + 8 + bigEndian(hole, 8, 4);
    const std::uint64_t large = holeOffset + bigEndian(hole, 8, 8);
    for (const std::uint64_t place : {small, large}) {
        if (place < holeOffset + holeSize) continue;
        const std::vector<std::uint8_t> closed = closedHole(place);
        if (std::equal(closed.begin(), closed.end(), hole.begin(), hole.end())) return place;
    }
    return std::nullopt;
}

} // namespace

std::optional<std::uint64_t> Mp4Track::framesOfClosed(const AacStream& stream, const ReadableFile& file) {
    const auto place = placeOfIndex(file);
    if (!place) return std::nullopt;
    const auto closed = fromIndex(stream, file, *place);
    return closed ? closed->framesOfIndex(file) : std::nullopt;
}

Mp4Track Mp4Track::fromFragments(const AacStream& stream, const ReadableFile& file) {
    const std::uint64_t fileSize = file.size();
    Mp4Track track(stream);
    for (;;) {
        const std::vector<std::uint16_t> sizes = nextFragment(track, file, fileSize);
        if (sizes.empty()) return track;
        track.addFragment(sizes);
    }
}

std::optional<Mp4Track> Mp4Track::fromIndex(const AacStream& stream, const ReadableFile& file,
                                            std::uint64_t indexOffset) {
    constexpr std::uint64_t largest = std::uint64_t{64} << 20; // four days
    const std::uint64_t fileSize = file.size();
    if (fileSize < indexOffset || fileSize - indexOffset > largest) return std::nullopt;
    std::vector<std::uint8_t> index(fileSize - indexOffset);
    if (!file.read(index, indexOffset)) return std::nullopt;

    const auto runs = contentOfBox(index, {"moov", "trak", "mdia", "minf", "stbl", "stsc"});
    const auto sizes = contentOfBox(index, {"moov", "trak", "mdia", "minf", "stbl", "stsz"});
    constexpr std::size_t runsAt = 8;
    constexpr std::size_t runSize = 12;
    constexpr std::size_t sizesAt = 12;
    if (runs.size() < runsAt || sizes.size() < sizesAt) return std::nullopt;
    const std::size_t packets = (sizes.size() - sizesAt) / 4;

    Mp4Track track(stream);
    std::vector<std::uint16_t> fragment;
    for (std::size_t at = runsAt; at + runSize <= runs.size() && track.packets() < packets; at += runSize) {
        const std::uint64_t packetsOfEach = bigEndian(runs, at + 4, 4);
        if (packetsOfEach == 0 || packetsOfEach > mostPacketsInFragment) return std::nullopt;
        const bool isLast = at + 2 * runSize > runs.size();
        std::uint64_t fragments =
            isLast ? packets : bigEndian(runs, at + runSize, 4) - bigEndian(runs, at, 4);
        for (; fragments > 0 && track.packets() < packets; --fragments) {
            fragment.resize(std::min<std::uint64_t>(packetsOfEach, packets - track.packets()));
            for (std::size_t i = 0; i < fragment.size(); ++i)
                fragment[i] =
                    static_cast<std::uint16_t>(bigEndian(sizes, sizesAt + 4 * (track.packets() + i), 4));
            track.addFragment(fragment);
        }
    }
    return track.end() == indexOffset ? std::optional(std::move(track)) : std::nullopt;
}
