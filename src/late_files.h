#pragma once

#include "capture/audio_file_writer.h"
#include "late_module.h"

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

/// The files of recordings, whose encoder is loaded with the first one. Any thread.
class LateFiles final : public AudioFileWriterFactory {
  public:
    /// `module` outlives it. The notice is told what goes wrong with a file.
    LateFiles(LateModule& module, std::function<void(const std::string&)> notice)
        : m_module(module), m_notice(std::move(notice)) {}

    std::unique_ptr<AudioFileWriter> create(const std::filesystem::path& file,
                                            const AudioFileSettings& settings) override {
        return files().create(file, settings);
    }

  private:
    AudioFileWriterFactory& files() {
        const std::lock_guard lock(m_mutex);
        if (!m_files) m_files = m_module.backends().makeFiles(m_notice);
        return *m_files;
    }

    LateModule& m_module;
    const std::function<void(const std::string&)> m_notice;
    std::mutex m_mutex;
    std::unique_ptr<AudioFileWriterFactory> m_files;
};
