#pragma once

#include "base/error.h"
#include "capture/audio_file_writer.h"
#include "support/call_journal.h"

#include <algorithm>
#include <cerrno>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// Files in memory, by name. Creation, writing and closing can be made to fail.
class FakeAudioFiles final : public AudioFileWriterFactory {
  public:
    explicit FakeAudioFiles(CallJournal& journal) : m_journal(journal) {}

    struct File {
        std::filesystem::path path;
        AudioFileSettings settings;
        std::vector<float> left, right;
        bool open = true;
        std::optional<std::size_t> onDisk = {}; ///< so many frames were asked to be there
    };

    std::unique_ptr<AudioFileWriter> create(const std::filesystem::path& path,
                                            const AudioFileSettings& settings) override {
        const std::string name = path.filename();
        m_journal.note("create " + name);
        if (name == failingName) throw Error::posix(ENOSPC);
        files[name] = {path, settings, {}, {}, true, {}};
        return std::make_unique<Writer>(*this, name);
    }

    std::string failingName; ///< creating this file fails
    bool failWrites = false;
    std::uint64_t framesNotStored = 0; ///< of those written last
    std::function<void()> onClose;     ///< on the thread that closes a file
    enum class Disk { confirms, refuses, answersOnceClosed };
    Disk disk = Disk::confirms;
    std::uint32_t channels = 2; ///< of the processing format
    std::map<std::string, File> files;

  private:
    class Writer final : public AudioFileWriter {
      public:
        Writer(FakeAudioFiles& files, std::string name) : m_files(files), m_name(std::move(name)) {}
        ~Writer() override {
            if (m_files.onClose) m_files.onClose();
            m_files.m_journal.note("close " + m_name);
            m_files.files[m_name].open = false;
            for (std::promise<bool>& answer : m_waiting) answer.set_value(true);
        }
        Writer(const Writer&) = delete;
        Writer& operator=(const Writer&) = delete;
        AudioFormat processingFormat() const override { return {48000.0, m_files.channels}; }
        void write(std::span<const float> left, std::span<const float> right) override {
            if (m_files.failWrites) throw Error::posix(EIO);
            File& file = m_files.files[m_name];
            file.left.insert(file.left.end(), left.begin(), left.end());
            file.right.insert(file.right.end(), right.begin(), right.end());
        }
        std::uint64_t storedFrames() const override {
            const std::uint64_t written = m_files.files[m_name].left.size();
            return written - std::min<std::uint64_t>(written, m_files.framesNotStored);
        }
        std::future<bool> bringToDisk() override {
            if (m_files.failWrites) throw Error::posix(EIO);
            File& file = m_files.files[m_name];
            file.onDisk = file.left.size();
            std::promise<bool> answer;
            std::future<bool> future = answer.get_future();
            if (m_files.disk == Disk::answersOnceClosed)
                m_waiting.push_back(std::move(answer));
            else
                answer.set_value(m_files.disk == Disk::confirms);
            return future;
        }

      private:
        FakeAudioFiles& m_files;
        std::string m_name;
        std::vector<std::promise<bool>> m_waiting;
    };

    CallJournal& m_journal;
};
