#include "platform/media/recorded_length.h"

#include "platform/media/mp4_track.h"
#include "platform/posix/input_file.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace {

std::optional<std::uint64_t> framesOf(const AacStream& stream, const InputFile& file) {
    if (const auto frames = Mp4Track::framesOfClosed(stream, file)) return frames;
    const Mp4Track open = Mp4Track::fromFragments(stream, file);
    return open.end() == file.size() ? std::optional(open.wholeFrames()) : std::nullopt;
}

} // namespace

std::optional<AudioFileFacts> recordedLength(const std::filesystem::path& path) {
    const InputFile file(path);
    std::vector<std::uint8_t> head(std::min<std::uint64_t>(file.size(), largestHead));
    if (!file.read(head, 0)) return std::nullopt; // became shorter meanwhile
    const std::optional<AacStream> stream = streamOfHead(head);
    if (!stream) return std::nullopt;
    const auto frames = framesOf(*stream, file);
    if (!frames) return std::nullopt;
    return AudioFileFacts{static_cast<std::int64_t>(*frames), static_cast<double>(stream->sampleRate)};
}
