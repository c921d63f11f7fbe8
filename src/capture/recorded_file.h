#pragma once

#include "capture/audio_file_writer.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <future>
#include <memory>
#include <optional>
#include <span>

/// One of the files of a recording. It knows at any moment how much of the sound that was captured for it is
/// not in it yet.
class RecordedFile {
  public:
    /// Before the captures start. Throws Error, as the factory does.
    void open(AudioFileWriterFactory& files, const std::filesystem::path& path,
              const AudioFileSettings& settings);

    /// The capturing queue: so many frames were captured for this file, whatever becomes of them.
    void addCaptured(std::size_t frames) { m_captured += frames; }

    // The writer's queue. Without an open file all of them do nothing.
    /// Silence for the missing frames, then the block. Nothing is reported: a block that cannot be written is
    /// lost, the recording goes on.
    void write(std::size_t missing, std::span<const float> left, std::span<const float> right);
    /// Nothing when there is no file to bring to the disk.
    std::optional<std::future<bool>> bringToDisk();
    void close();

    // Any thread, at once.
    bool isOpen() const { return m_isOpen; }
    /// Frames that would be missing if the program ended now.
    std::uint64_t unsavedFrames() const;

  private:
    void tryToWrite(std::size_t missing, std::span<const float> left, std::span<const float> right);

    std::unique_ptr<AudioFileWriter> m_file;
    AudioFormat m_format{};
    std::atomic<bool> m_isOpen = false;
    std::atomic<std::uint64_t> m_captured = 0; // frames
    std::atomic<std::uint64_t> m_stored = 0;   // frames
};
