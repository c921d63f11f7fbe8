#pragma once

#include "platform/media/aac_encoder.h"
#include "platform/media/mp4_track.h"
#include "platform/posix/output_file.h"
#include "platform/posix/sync_thread.h"

#include <cstdint>
#include <filesystem>
#include <future>
#include <memory>
#include <optional>
#include <type_traits>
#include <vector>

/// A new MPEG-4 file with one AAC track that survives the end of its program at any moment.
///
/// While it grows it is a fragmented file (ISO/IEC 14496-12, 8.8): two fragments a second, brought to the
/// disk every second by the sync thread. Closed, it is an ordinary file with one index, without a byte of
/// sound having moved. Room for the index is kept all the time, so that a full disk does not keep the file
/// from being closed. What a crash leaves can be read as it is, and Mp4Recovery closes it.
///
/// An edit list leaves out the encoder's padding: what plays begins with the first true sample, and once
/// closed has exactly the length of the packets' durations. Used by one thread at a time.
class Mp4TrackWriter {
  public:
    /// Creates the file, locks it and brings its beginning to the disk: from then on it can be read. Throws
    /// Error "posix": EEXIST when something of that name is there, which stays as it is; ENOSPC when there is
    /// not even room for a minute. A file that was made and could not be begun is removed again.
    Mp4TrackWriter(FileCalls& calls, SyncThread& disk, const std::filesystem::path& path,
                   const AacStream& stream);
    /// Without a finish the file stays as a crash would leave it.
    ~Mp4TrackWriter() = default;
    Mp4TrackWriter(const Mp4TrackWriter&) = delete;
    Mp4TrackWriter& operator=(const Mp4TrackWriter&) = delete;

    /// In the order of their pts, without gaps. A disk that fails for the moment is asked again twice a
    /// second; up to a minute is held in memory. Throws Error when nothing more can be stored (see isFull) or
    /// will be; then call finish and nothing else.
    void append(const AacPacket& packet);
    /// Puts the open fragment into the file and asks the disk for all of it. The answer is true once it is
    /// there. Throws Error as append does.
    std::future<bool> bringToDisk();
    /// Closes the file with what came in, or after an Error with what could be stored. Never waits for the
    /// disk: the sync thread does. Throws Error when the file had to be left as a crash would leave it, or
    /// ends before the last packets. Call once, last.
    void finish();

    /// How many samples the file holds.
    std::uint64_t storedFrames() const;

  private:
    void writeHead();
    void keepRoom();
    /// After an Error there is nothing left to do but to close.
    template <typename Step>
    std::invoke_result_t<const Step&> orFail(const Step& step);
    /// False when the disk fails for the moment; the packets then wait.
    bool cutFragment();
    void storeFragment();

    SyncThread& m_disk;
    Mp4Track m_track;
    std::shared_ptr<OutputFile> m_file; // null once finished
    int m_unsyncedFragments = 0;
    std::uint64_t m_roomEnd = 0;         // up to where the file system keeps room for us
    std::int64_t m_frames = 0;           // that came in, in whole
    std::vector<std::uint8_t> m_waiting; // packets of the next fragment, one after the other
    std::vector<std::uint16_t> m_waitingSizes;
    bool m_failed = false;
};
