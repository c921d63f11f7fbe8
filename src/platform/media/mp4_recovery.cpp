#include "platform/media/mp4_recovery.h"

#include "base/debug_log.h"
#include "base/error.h"
#include "base/folder_entries.h"
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

    if (const auto frames = Mp4Track::framesOfClosed(*stream, file))
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
    std::vector<RecoveredFile> result;
    std::error_code error;
    const std::vector<std::filesystem::path> entries = folderEntries(folder, error);
    if (error && error != std::errc::no_such_file_or_directory)
        result.push_back({folder, State::failed, 0, Error::posix(error.value()).localizedDescription()});
    recoverFiles(folder, mode, result);
    for (const std::filesystem::path& entry : entries) {
        const bool isFolder = std::filesystem::is_directory(entry, error);
        if (isFolder || error) recoverFiles(entry, mode, result);
    }
    return result;
}

void Mp4Recovery::recoverFiles(const std::filesystem::path& recording, Mode mode,
                               std::vector<RecoveredFile>& result) {
    for (const char* name : {voiceFileName, systemFileName, mixFileName}) {
        const std::filesystem::path file = recording / name;
        std::error_code error;
        if (std::filesystem::exists(file, error)) result.push_back(recoverFile(file, mode));
        if (!error) continue;
        // The same holds for its other files, and may have been found out when it was listed.
        if (result.empty() || result.back().path != recording)
            result.push_back(
                {recording, State::failed, 0, Error::posix(error.value()).localizedDescription()});
        return;
    }
}
