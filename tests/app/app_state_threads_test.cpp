#include "app/app_state.h"
#include "base/error.h"
#include "base/job_threads.h"
#include "base/thread_queue.h"
#include "support/environment.h"
#include "support/fake_audio_devices.h"
#include "support/fake_audio_files.h"
#include "support/fake_mic.h"
#include "support/fake_mic_authorization.h"
#include "support/fake_notices.h"
#include "support/fake_settings.h"
#include "support/fake_system_audio.h"
#include "support/fake_windowing.h"
#include "support/fake_workspace.h"
#include "support/log_capture.h"

#include <algorithm>
#include <atomic>
#include <gmock/gmock.h>
#include <latch>
#include <thread>

namespace {

using namespace std::chrono_literals;

/// The real recorder with devices and files of its own.
class RealEngine final : public CaptureEngine {
  public:
    RealEngine(SerialQueue& timers, std::string presentMic, std::atomic<int>& alive,
               const std::function<void()>& onSleep, const std::function<void()>& onClose)
        : m_alive(alive),
          m_recorder({m_mics, m_system, m_files, m_notices,
                      [](std::string label) { return std::make_unique<ThreadQueue>(std::move(label)); },
                      timers,
                      [this, &onSleep](std::chrono::milliseconds) {
                          if (onSleep) onSleep();
                          m_mics.deliver({0.5F});
                          m_system.deliverStereo({0.25F, 0.25F});
                          std::this_thread::yield();
                      }}) {
        m_mics.presentID = std::move(presentMic);
        m_files.onClose = onClose;
        ++m_alive;
    }
    ~RealEngine() override { --m_alive; }
    RealEngine(const RealEngine&) = delete;
    RealEngine& operator=(const RealEngine&) = delete;

    bool start(const MicChoice& mic, const std::optional<std::filesystem::path>& baseURL) override {
        m_recorder.onLevels = onLevels;
        m_recorder.onError = onError;
        m_recorder.onFirstAudio = onFirstAudio;
        return m_recorder.start(mic, baseURL);
    }
    void stop() override { m_recorder.stop(); }
    std::optional<Recorder::Result> result() const override { return m_recorder.result(); }
    Unsaved unsaved() const override { return m_recorder.unsaved(); }

  private:
    std::atomic<int>& m_alive;
    CallJournal m_journal;
    FakeNotices m_notices;
    FakeMics m_mics{m_journal};
    FakeSystemAudio m_system{m_journal};
    FakeAudioFiles m_files{m_journal};
    Recorder m_recorder;
};

std::filesystem::path transcribeUntilCancelled(const std::filesystem::path& /*folder*/,
                                               const std::stop_token& stop) {
    while (!stop.stop_requested()) std::this_thread::yield();
    throw Error("transcriber", 1, "Cancelled.");
}

/// The state with real recorders and real threads; only devices, files and the desktop are fakes.
class AppStateThreads : public testing::Test {
  protected:
    AppStateThreads() {
        m_settings.values["onboarded"] = true;
        m_devices.mics = {{"desk", "Desk Mic"}};
    }
    ~AppStateThreads() override {
        m_jobs.reset(); // their results still reach main
        m_main.reset();
        EXPECT_EQ(m_enginesAlive, 0);
    }
    AppStateThreads(const AppStateThreads&) = delete;
    AppStateThreads& operator=(const AppStateThreads&) = delete;

    Services services() {
        return {m_settings,
                m_devices,
                m_authorization,
                m_workspace,
                m_windowing,
                m_notices,
                *m_main,
                *m_jobs,
                [this] {
                    return std::make_shared<RealEngine>(m_timers, m_presentMic, m_enginesAlive, m_onSleep,
                                                        m_onClose);
                },
                [] {},
                [] { return true; },
                transcribeUntilCancelled,
                [](std::chrono::milliseconds) { std::this_thread::yield(); },
                [] { return std::chrono::system_clock::now(); },
                [](const char*) { return std::nullopt; },
                [](int) {}};
    }

    void onMain(const std::function<void(AppState&)>& work) {
        m_main->sync([&] {
            if (!m_state) m_state = AppState::create(services());
            work(*m_state);
        });
    }
    void waitUntil(const std::function<bool(const AppState&)>& holds) {
        const auto limit = std::chrono::steady_clock::now() + 60s;
        for (bool reached = false; !reached; std::this_thread::yield()) {
            ASSERT_LT(std::chrono::steady_clock::now(), limit);
            onMain([&](const AppState& state) { reached = holds(state); });
        }
    }
    /// A start waits for audio until it may go on.
    void holdTheStart() {
        m_onSleep = [this] {
            if (!m_startWaits.try_wait()) m_startWaits.count_down();
            m_startMayGoOn.wait();
        };
    }
    void quit() {
        onMain([this](AppState& state) {
            state.waitForTeardown();
            m_state.reset();
        });
    }

    LogCapture m_log;
    ScopedEnvironment m_home{"HOME", m_log.home().string()};
    ScopedEnvironment m_configHome{"XDG_CONFIG_HOME", std::nullopt};
    CallJournal m_journal;
    FakeSettings m_settings{m_journal};
    FakeAudioDevices m_devices;
    FakeMicAuthorization m_authorization;
    FakeWorkspace m_workspace;
    FakeWindowing m_windowing{m_journal};
    FakeNotices m_notices;
    std::string m_presentMic = "desk";
    std::function<void()> m_onSleep; ///< on the thread of a start that waits for audio
    std::function<void()> m_onClose; ///< on the thread that closes a file
    std::latch m_startWaits{1};
    std::latch m_startMayGoOn{1};
    std::atomic<int> m_enginesAlive{0};
    ThreadQueue m_timers{"timers"};
    std::optional<ThreadQueue> m_main{"main"};
    std::optional<JobThreads> m_jobs{std::in_place};
    std::shared_ptr<AppState> m_state; // main only
};

TEST_F(AppStateThreads, TwentyFastTogglesEndWithoutARecording) {
    for (int i = 0; i < 20; ++i) onMain([](AppState& state) { state.toggleRecording(); });
    quit();
}

TEST_F(AppStateThreads, TwentyTogglesOneAfterTheOtherMakeTenRecordings) {
    for (int i = 0; i < 20; ++i) {
        const bool starts = i % 2 == 0;
        onMain([](AppState& state) { state.toggleRecording(); });
        waitUntil([&](const AppState& state) { return state.isRecording == starts; });
        if (starts)
            waitUntil([](const AppState& state) { return !state.warmingUp && state.micLevel > 0; });
        else
            onMain([](const AppState& state) { EXPECT_TRUE(state.lastRecording.get()); });
    }
    const auto lines = m_log.messages();
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(),
                            [](const std::string& line) { return line.starts_with("[rec] stopped; "); }),
              10);
    quit();
}

TEST_F(AppStateThreads, QuittingWhileAPreviewStartsDoesNotWaitForIt) {
    holdTheStart();
    onMain([](AppState& state) { state.startPreview(); });
    m_startWaits.wait();
    quit();
    m_startMayGoOn.count_down();
}

TEST_F(AppStateThreads, QuittingWhileARecordingStartsDoesNotWaitForIt) {
    holdTheStart();
    onMain([](AppState& state) { state.toggleRecording(); });
    m_startWaits.wait();
    quit();
    m_startMayGoOn.count_down();
}

TEST_F(AppStateThreads, QuittingAtAnyMomentLeavesNothing) {
    for (int round = 0; round < 60; ++round) {
        onMain([](AppState& state) { state.startPreview(); });
        for (int spin = 0; spin < round * 10; ++spin) std::this_thread::yield();
        if (round % 2 == 0) onMain([](AppState& state) { state.toggleRecording(); });
        for (int spin = 0; spin < round * 10; ++spin) std::this_thread::yield();
        quit();
    }
}

TEST_F(AppStateThreads, APanelThatFlickersLeavesNothing) {
    for (int i = 0; i < 20; ++i) {
        onMain([](AppState& state) { state.startPreview(); });
        onMain([](AppState& state) { state.restartPreview(); });
        onMain([](AppState& state) { state.stopPreview(); });
    }
    quit();
}

TEST_F(AppStateThreads, ATranscriptionThatRunsAtTheEndIsCancelledAndJoined) {
    onMain([](AppState& state) {
        state.transcribeEnabled = true;
        state.toggleRecording();
    });
    waitUntil([](const AppState& state) { return state.isRecording.get(); });
    onMain([](AppState& state) { state.toggleRecording(); });
    quit();
}

TEST_F(AppStateThreads, AStopWhoseDiskHangsIsSavingUntilTheDiskGoesOn) {
    std::latch diskGoesOn{1};
    m_onClose = [&] { diskGoesOn.wait(); };
    onMain([](AppState& state) { state.toggleRecording(); });
    waitUntil([](const AppState& state) { return state.isRecording.get(); });
    onMain([](AppState& state) {
        state.toggleRecording();
        EXPECT_TRUE(state.isSaving);
        EXPECT_TRUE(state.isRecording);
        EXPECT_EQ(state.status.get(), "Saving…");
        state.toggleRecording();
    });
    diskGoesOn.count_down();
    waitUntil([](const AppState& state) { return !state.isSaving; });
    onMain([](const AppState& state) {
        EXPECT_FALSE(state.isRecording);
        EXPECT_TRUE(state.lastRecording.get());
    });
    quit();
}

TEST_F(AppStateThreads, QuittingJoinsTheClosing) {
    std::latch diskGoesOn{1};
    m_onClose = [&] { diskGoesOn.wait(); };
    onMain([](AppState& state) { state.toggleRecording(); });
    waitUntil([](const AppState& state) { return state.isRecording.get(); });
    std::atomic<bool> isOver = false;
    onMain([&](AppState& state) { state.teardownOnQuit([&] { isOver = true; }); });
    EXPECT_FALSE(isOver);
    diskGoesOn.count_down();
    waitUntil([&](const AppState& /*state*/) { return isOver.load(); });
    onMain([this](AppState& /*state*/) { m_state.reset(); });
}

TEST_F(AppStateThreads, AFailedStartIsStoppedByMainWhichTheLogShows) {
    m_presentMic = "another";
    onMain([](AppState& state) { state.toggleRecording(); });
    waitUntil([](const AppState& state) { return !state.isStarting; });
    onMain([](const AppState& state) {
        EXPECT_EQ(state.status.get(), "Microphone “Desk Mic” is not available. Is it connected?");
    });
    EXPECT_EQ(m_log.messages().back(), "[rec] stopped; micCallbacks=0 sysCallbacks=0");
    quit();
}

} // namespace
