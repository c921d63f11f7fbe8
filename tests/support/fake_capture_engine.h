#pragma once

#include "app/capture_engine.h"
#include "support/call_journal.h"

#include <algorithm>
#include <memory>
#include <vector>

/// An engine that captures nothing. Its hooks are called by the test, at any time.
class FakeCaptureEngine final : public CaptureEngine {
  public:
    explicit FakeCaptureEngine(CallJournal& journal) : m_journal(journal) {}

    bool start(const MicChoice& choice, const std::optional<std::filesystem::path>& baseURL) override {
        m_journal.note(baseURL ? "start recording" : "start preview");
        mic = choice;
        folder = baseURL;
        startCalled = true;
        if (duringStart) duringStart();
        running = startSucceeds && !stopped; // a stop that comes first lets nothing begin
        if (running && folder) files = {*folder / "mix.m4a", *folder / "voice.m4a", *folder / "system.m4a"};
        return running;
    }
    void stop() override {
        m_journal.note(folder ? "stop recording" : "stop preview");
        stopped = true;
        running = false;
    }
    std::optional<Recorder::Result> result() const override { return files; }
    Unsaved unsaved() const override { return remaining; }

    // Chosen by the test.
    bool startSucceeds = true;
    std::function<void()> duringStart;
    std::optional<Recorder::Result> files; ///< set by a start that succeeds
    Unsaved remaining;

    // What has happened.
    bool startCalled = false;
    bool stopped = false;
    bool running = false;
    MicChoice mic;
    std::optional<std::filesystem::path> folder;

  private:
    CallJournal& m_journal;
};

/// Every engine of a test, in the order in which they were made.
class FakeCaptureEngines {
  public:
    explicit FakeCaptureEngines(CallJournal& journal) : m_journal(journal) {}

    std::shared_ptr<CaptureEngine> make() {
        return made.emplace_back(std::make_shared<FakeCaptureEngine>(m_journal));
    }

    FakeCaptureEngine& last() { return *made.back(); }
    auto recordingsRunning() const {
        return std::count_if(made.begin(), made.end(), [](const auto& e) { return e->running && e->folder; });
    }
    auto previewsRunning() const {
        return std::count_if(made.begin(), made.end(),
                             [](const auto& e) { return e->running && !e->folder; });
    }
    /// Whether somebody but this list still has that engine.
    bool isHeld(std::size_t index) const { return made[index].use_count() > 1; }

    std::vector<std::shared_ptr<FakeCaptureEngine>> made;

  private:
    CallJournal& m_journal;
};
