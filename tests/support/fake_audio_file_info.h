#pragma once

#include "base/error.h"
#include "support/call_journal.h"
#include "transcription/audio_file_info.h"

#include <functional>
#include <map>
#include <string>

/// Knows the files that the test describes, by file name; any other cannot be opened. Notes "open <name>" and
/// "facts <name>".
class FakeAudioFileInfo final : public AudioFileInfo {
  public:
    explicit FakeAudioFileInfo(CallJournal& journal) : m_journal(journal) {}

    void open(const std::filesystem::path& file) override {
        if (inOpen) inOpen();
        look("open", file);
    }
    AudioFileFacts facts(const std::filesystem::path& file, const std::stop_token& stop) override {
        if (inFacts) inFacts(stop);
        return look("facts", file);
    }

    static Error unreadable() { return {"ffmpeg", -1094995529, "Invalid data found when processing input"}; }

    std::map<std::string, AudioFileFacts> known;
    /// Run first in open() and facts(); may throw.
    std::function<void()> inOpen;
    std::function<void(const std::stop_token&)> inFacts;

  private:
    const AudioFileFacts& look(const char* call, const std::filesystem::path& file) {
        const std::string name = file.filename().string();
        m_journal.note(call + (" " + name));
        const auto found = known.find(name);
        if (found == known.end()) throw unreadable();
        return found->second;
    }

    CallJournal& m_journal;
};
