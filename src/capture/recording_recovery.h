#pragma once

#include <filesystem>
#include <string>
#include <vector>

/// What became of one file of a recording.
struct RecoveredFile {
    enum class State {
        whole,  ///< nothing to do
        mended, ///< a crash had left it open; now it is as if it had been closed after its last whole second
        mendable, ///< the same, but only looked at
        inUse,    ///< being recorded, or closed by another program; not touched
        foreign,  ///< not made by us; not touched
        failed,   ///< should be mended and could not be, or is a folder that cannot be looked into
    };

    std::filesystem::path path;
    State state;
    double seconds = 0;      ///< how long it is; 0 unless whole, mended or mendable
    std::string reason = {}; ///< a sentence, for foreign and failed
};

/// Port: closes the files of recordings whose program was killed or lost its power. Never deletes, never
/// touches a file in use, keeps times of modification; doing it again changes nothing. Any thread; waits for
/// the disk; does not throw.
class RecordingRecovery {
  public:
    virtual ~RecordingRecovery() = default;

    enum class Mode { mend, onlyLook };
    /// The audio files of the recording in this folder, if it is one, and of those in the folders in it, in
    /// alphabetical order. Nothing, and nothing is made, where there is no folder.
    virtual std::vector<RecoveredFile> recover(const std::filesystem::path& folder, Mode mode) = 0;
};
