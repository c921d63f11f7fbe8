#pragma once

#include "base/error.h"
#include "support/call_journal.h"
#include "transcription/audio_file_info.h"

#include <functional>
#include <map>
#include <string>

/// Knows the files that the test describes, by file name; any other cannot be opened. Notes "open <name>".
class FakeAudioFileInfo final : public AudioFileInfo {
  public:
    explicit FakeAudioFileInfo(CallJournal& journal) : m_journal(journal) {}

    AudioFileFacts open(const std::filesystem::path& file) override {
        const std::string name = file.filename().string();
        m_journal.note("open " + name);
        if (inOpen) inOpen(name);
        const auto known = facts.find(name);
        if (known == facts.end()) throw unreadable();
        return known->second;
    }

    static Error unreadable() { return {"ffmpeg", -1094995529, "Invalid data found when processing input"}; }

    std::map<std::string, AudioFileFacts> facts;
    /// Runs first in every open(); may throw.
    std::function<void(const std::string& name)> inOpen;

  private:
    CallJournal& m_journal;
};
