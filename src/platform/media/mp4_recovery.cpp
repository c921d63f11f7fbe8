#include "platform/media/mp4_recovery.h"

#include "base/debug_log.h"
#include "base/error.h"
#include "base/number_text.h"
#include "base/recording_files.h"
#include "platform/media/mp4_track.h"
#include "platform/posix/output_file.h"

#include <algorithm>
#include <cerrno>
#include <optional>
#include <system_error>

namespace {

using State = RecoveredFile::State;

/// Where a closed hole says that the index begins; nothing for an open one.
std::optional<std::uint64_t> placeOfIndex(std::span<const std::uint8_t> head) {
    const auto hole = head.subspan(holeOffset, holeSize);
    const std::uint64_t small = holeOffset + 8 + bigEndian(hole, 8, 4);
    const std::uint64_t large = holeOffset + bigEndian(hole, 8, 8);
    for (const std::uint64_t place : {small, large}) {
        if (place < holeOffset + holeSize) continue;
        const std::vector<std::uint8_t> closed = closedHole(place);
        if (std::equal(closed.begin(), closed.end(), hole.begin(), hole.end())) return place;
    }
    return std::nullopt;
}

double inSeconds(std::uint64_t frames, const AacStream& stream) {
    return static_cast<double>(frames) / stream.sampleRate;
}

} // namespace

RecoveredFile Mp4Recovery::recoverOpened(OutputFile& file, Mode mode) {
    std::vector<std::uint8_t> head(std::min<std::uint64_t>(file.size(), largestHead));
    if (!file.read(head, 0)) throw Error::posix(EIO); // became shorter, although it is locked
    const std::optional<AacStream> stream = streamOfHead(head);
    if (!stream)
        return {file.path(), State::foreign, 0,
                head.empty() ? "It is empty." : "It is not a recording of Murmelo."};

    if (const auto place = placeOfIndex(head))
        if (const auto closed = Mp4Track::fromIndex(*stream, file, *place))
            if (const auto frames = closed->framesOfIndex(file))
                return {file.path(), State::whole, inSeconds(*frames, *stream)};

    const Mp4Track track = Mp4Track::fromFragments(*stream, file);
    const std::uint64_t frames = track.framesOfIndex(file).value_or(track.wholeFrames());
    const double seconds = inSeconds(frames, *stream);
    if (mode == Mode::onlyLook) return {file.path(), State::mendable, seconds};
    const OutputFile::Times times = file.times();
    track.close(file, frames);
    file.restoreTimes(times);
    file.sync();
    DebugLog::log("[rec] mended " + file.path().string() + ", " + minutesAndSeconds(seconds));
    return {file.path(), State::mended, seconds};
}

RecoveredFile Mp4Recovery::recoverFile(const std::filesystem::path& path, Mode mode) {
    try {
        OutputFile file = OutputFile::open(m_calls, path);
        return recoverOpened(file, mode);
    } catch (const Error& error) {
        if (error.code() == EWOULDBLOCK) return {path, State::inUse};
        return {path, State::failed, 0, error.localizedDescription()};
    } catch (const std::bad_alloc&) {
        return {path, State::failed, 0, Error::posix(ENOMEM).localizedDescription()};
    }
}

std::vector<RecoveredFile> Mp4Recovery::recover(const std::filesystem::path& folder, Mode mode) {
    std::error_code ignored;
    std::vector<std::filesystem::path> recordings;
    std::filesystem::directory_iterator entry(folder, ignored); // the end where there is no folder
    for (; entry != std::filesystem::directory_iterator(); entry.increment(ignored))
        if (entry->is_directory(ignored)) recordings.push_back(entry->path());
    std::sort(recordings.begin(), recordings.end());
    recordings.insert(recordings.begin(), folder);

    std::vector<RecoveredFile> result;
    for (const std::filesystem::path& recording : recordings)
        for (const char* name : {voiceFileName, systemFileName, mixFileName})
            if (const auto file = recording / name; std::filesystem::exists(file, ignored))
                result.push_back(recoverFile(file, mode));
    return result;
}
