#pragma once

#include "capture/audio_file_writer.h"
#include "support/block_collector.h"

#include <map>
#include <memory>
#include <string>

/// Writes real files and keeps a copy of what went into each of them, before it was encoded.
class CopyingAudioFiles final : public AudioFileWriterFactory {
  public:
    explicit CopyingAudioFiles(AudioFileWriterFactory& files) : m_files(files) {}

    std::unique_ptr<AudioFileWriter> create(const std::filesystem::path& file,
                                            const AudioFileSettings& settings) override {
        Copy& copy = m_copies[file.filename()];
        return std::make_unique<Writer>(m_files.create(file, settings), copy);
    }

    struct Copy {
        BlockCollector left;
        BlockCollector right;
    };
    /// By file name.
    Copy& of(const std::string& name) { return m_copies[name]; }

  private:
    class Writer final : public AudioFileWriter {
      public:
        Writer(std::unique_ptr<AudioFileWriter> file, Copy& copy) : m_file(std::move(file)), m_copy(copy) {}
        AudioFormat processingFormat() const override { return m_file->processingFormat(); }
        void write(std::span<const float> left, std::span<const float> right) override {
            m_file->write(left, right);
            m_copy.left.add(left);
            m_copy.right.add(right);
        }
        std::uint64_t storedFrames() const override { return m_file->storedFrames(); }
        std::future<bool> bringToDisk() override { return m_file->bringToDisk(); }

      private:
        std::unique_ptr<AudioFileWriter> m_file;
        Copy& m_copy;
    };

    AudioFileWriterFactory& m_files;
    std::map<std::string, Copy> m_copies;
};
