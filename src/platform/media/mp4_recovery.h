#pragma once

#include "capture/recording_recovery.h"
#include "platform/posix/file_calls.h"

class OutputFile;

/// Closes files of Mp4TrackWriter that a crash left in any of these states:
///  - open, with fragments of which the last may be torn;
///  - open, with a part of the index or all of it behind the fragments;
///  - closed, with an index that did not reach the disk.
/// Whole fragments stay, the rest is cut off, and the writer's own closing step follows; where the index was
/// whole it is believed, so that no sample is lost. A crash meanwhile leaves one of these states again.
///
/// A file is ours when its head is, byte for byte, what we write; everything else is left alone.
class Mp4Recovery final : public RecordingRecovery {
  public:
    explicit Mp4Recovery(FileCalls& calls = systemFileCalls()) : m_calls(calls) {}

    std::vector<RecoveredFile> recover(const std::filesystem::path& folder, Mode mode) override;
    RecoveredFile recoverFile(const std::filesystem::path& path, Mode mode);

  private:
    /// Appends what became of the files of one recording, or that its folder cannot be looked into.
    void recoverFiles(const std::filesystem::path& recording, Mode mode, std::vector<RecoveredFile>& result);
    static RecoveredFile recoverOpened(OutputFile& file, Mode mode);

    FileCalls& m_calls;
};
