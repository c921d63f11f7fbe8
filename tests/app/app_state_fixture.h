#pragma once

#include "app/app_state.h"
#include "support/call_journal.h"
#include "support/environment.h"
#include "support/fake_audio_devices.h"
#include "support/fake_capture_engine.h"
#include "support/fake_mic_authorization.h"
#include "support/fake_notices.h"
#include "support/fake_settings.h"
#include "support/fake_windowing.h"
#include "support/fake_workspace.h"
#include "support/log_capture.h"
#include "support/manual_queue.h"
#include "support/pending_jobs.h"

#include <gmock/gmock.h>
#include <map>
#include <string>
#include <vector>

using namespace std::chrono_literals;
using Lines = std::vector<std::string>;

/// The state of a user who has been through onboarding, may record and has two microphones, among fakes and
/// in virtual time: jobs and main run when the test says so.
class AppStateFixture : public testing::Test {
  protected:
    AppStateFixture() {
        m_settings.values["onboarded"] = true;
        m_devices.mics = {{"headset", "Headset"}, {"desk", "Desk Mic"}};
        m_devices.defaultMic = "desk";
    }

    Services services() {
        return {m_settings,
                m_devices,
                m_authorization,
                m_workspace,
                m_windowing,
                m_notices,
                m_main,
                m_jobs,
                [this] { return m_engines.make(); },
                [this] { m_journal.note("prime"); },
                [this] {
                    m_journal.note("check");
                    return m_systemAudioWorks;
                },
                [this](const std::filesystem::path& folder, const std::stop_token& stop) {
                    m_transcribedFolders.push_back(folder);
                    m_transcriptionStop = stop;
                    if (m_transcriptionFails) m_transcriptionFails();
                    return folder / "transcript.txt";
                },
                [this](std::chrono::milliseconds time) {
                    m_journal.note("sleep " + std::to_string(time.count()));
                    if (m_onSleep) m_onSleep(time);
                },
                [this] { return m_log.time; },
                [this](const char* name) -> std::optional<std::string> {
                    const auto found = m_environment.find(name);
                    if (found == m_environment.end()) return std::nullopt;
                    return found->second;
                },
                [this](int status) { m_exits.push_back(status); }};
    }

    /// As the program does it at its start; the journal then begins anew.
    AppState& launch() {
        m_state = AppState::create(services());
        m_state->willChange = [this](Field field) { m_announced.push_back(field); };
        return *m_state;
    }
    AppState& launchQuietly() {
        launch();
        forgetThePast();
        return *m_state;
    }
    void forgetThePast() {
        m_journal.clear();
        m_log.clear();
        m_announced.clear();
    }

    void runMain() { m_main.runAll(); }
    /// Everything that is on its way ends.
    void settle() {
        do {
            m_jobs.runAll();
            m_main.runAll();
        } while (m_jobs.count() > 0);
    }

    /// A recording that runs, with sound. Returns its engine.
    FakeCaptureEngine& record() {
        m_state->toggleRecording();
        settle();
        m_engines.last().onFirstAudio();
        runMain();
        return m_engines.last();
    }
    FakeCaptureEngine& preview() {
        m_state->startPreview();
        settle();
        return m_engines.last();
    }
    void report(FakeCaptureEngine& engine, float mic, float system) {
        engine.onLevels(mic, system);
        runMain();
    }

    Lines log() const { return m_log.messages(); }
    Lines calls() const { return m_journal.calls(); }
    std::filesystem::path placeOfRecordings() const { return m_log.home() / "Murmelo"; }

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
    FakeCaptureEngines m_engines{m_journal};
    ManualQueue m_main;
    PendingJobs m_jobs;
    bool m_systemAudioWorks = true;
    std::function<void(std::chrono::milliseconds)> m_onSleep;
    std::function<void()> m_transcriptionFails; ///< throws
    std::vector<std::filesystem::path> m_transcribedFolders;
    std::stop_token m_transcriptionStop;
    std::map<std::string, std::string> m_environment;
    std::vector<int> m_exits;
    std::vector<Field> m_announced;
    std::shared_ptr<AppState> m_state;
};
