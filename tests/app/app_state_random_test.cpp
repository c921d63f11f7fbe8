#include "app/app_state_fixture.h"

#include "app/app_status.h"

#include "base/error.h"

#include <cstdlib>
#include <iostream>
#include <random>

namespace {

constexpr int sequences = MURMELO_RANDOM_SEQUENCES;
constexpr int longestSequence = 40; // events

/// Users, engines, devices and jobs that do anything at any time. MURMELO_TEST_SEED repeats a sequence, which
/// is then the first.
class RandomEvents : public AppStateFixture {
  protected:
    void run(unsigned seed) {
        m_random.seed(seed);
        m_hasQuit = false;
        m_jobs.takeLonger = false;
        m_settings.values = {{"onboarded", chance(2)}};
        m_authorization.current = MicStatus::authorized;
        m_authorization.requests.clear();
        m_devices.mics = allMics;
        m_engines.made.clear();
        launch();
        const int events = pick(longestSequence);
        for (int i = 0; i < events && !HasFailure(); ++i) {
            const std::size_t event = pick(m_events.size());
            SCOPED_TRACE("event " + std::to_string(i) + ": " + m_events[event].name);
            m_events[event].happen();
            check();
        }
        end();
    }

    void check() {
        ASSERT_LE(m_engines.recordingsRunning(), 1) << "recording engines that are started and not stopped";
        if (m_hasQuit) {
            ASSERT_EQ(m_engines.made.size(), m_madeAtQuit) << "after quitting";
        }
        if (m_state->isSaving) {
            ASSERT_FALSE(statusOf(*m_state).canToggle);
        } else if (!m_hasQuit) {
            ASSERT_NE(m_state->status.get(), "Saving…");
        }
        if (m_mayTakeLonger) return;
        ASSERT_FALSE(m_state->isSaving);
        ASSERT_LE(m_engines.previewsRunning(), 1);
        if (m_hasQuit) {
            ASSERT_EQ(m_engines.recordingsRunning() + m_engines.previewsRunning(), 0) << "after quitting";
        } else if (m_state->isRecording) {
            ASSERT_EQ(m_engines.recordingsRunning(), 1) << "isRecording";
        }
    }

    /// Whatever is on its way when the state goes, with or without quitting: in the end nobody holds an
    /// engine.
    void end() {
        if (chance(2)) quit();
        if (m_mayTakeLonger && chance(2)) {
            settle();
            m_main.advance(1s); // for a notice
            ASSERT_FALSE(m_state->isSaving);
            if (m_hasQuit) {
                ASSERT_EQ(m_quits, 1) << "answered";
            }
        }
        m_state.reset();
        settle();
        m_main.advance(10s);
        for (std::size_t i = 0; i < m_engines.made.size(); ++i) ASSERT_FALSE(m_engines.isHeld(i)) << i;
    }

    void runMainAndLook() {
        runMain();
        if (!m_mayTakeLonger && (m_state->isRecording || m_state->isStarting)) {
            ASSERT_EQ(m_engines.previewsRunning(), 0) << "beside a recording";
        }
    }

    void quit() {
        m_quits = 0;
        m_state->teardownOnQuit([this] { ++m_quits; });
        m_hasQuit = true;
        m_madeAtQuit = m_engines.made.size();
    }

    FakeCaptureEngine* anyEngine() {
        return m_engines.made.empty() ? nullptr : m_engines.made[pick(m_engines.made.size())].get();
    }
    void runAnyJob() {
        if (m_jobs.count() == 0) return;
        for (const auto& engine : m_engines.made) engine->startSucceeds = !chance(4);
        m_jobs.run(pick(m_jobs.count()));
    }

    template <typename Number>
    Number pick(Number below) {
        return std::uniform_int_distribution<Number>(0, below - 1)(m_random);
    }
    bool chance(int oneIn) { return pick(oneIn) == 0; }

    struct Event {
        const char* name;
        std::function<void()> happen;
    };
    const std::vector<MicChoice> allMics{{"headset", "Headset"}, {"desk", "Desk Mic"}};
    const std::vector<Event> m_events{
        {"toggle", [this] { m_state->toggleRecording(); }},
        {"toggle again", [this] { m_state->toggleRecording(); }},
        {"start preview", [this] { m_state->startPreview(); }},
        {"stop preview", [this] { m_state->stopPreview(); }},
        {"restart preview", [this] { m_state->restartPreview(); }},
        {"a job", [this] { runAnyJob(); }},
        {"another job", [this] { runAnyJob(); }},
        {"main", [this] { runMainAndLook(); }},
        {"main again", [this] { runMainAndLook(); }},
        {"time", [this] { m_main.advance(std::chrono::milliseconds(pick(2000))); }},
        {"levels",
         [this] {
             if (FakeCaptureEngine* const engine = anyEngine()) engine->onLevels(0.5F, 0.5F);
         }},
        {"first audio",
         [this] {
             FakeCaptureEngine* const engine = anyEngine();
             if (engine != nullptr && engine->onFirstAudio) engine->onFirstAudio();
         }},
        {"error",
         [this] {
             FakeCaptureEngine* const engine = anyEngine();
             if (engine != nullptr && engine->onError) engine->onError("Lost.");
         }},
        {"plug or unplug",
         [this] {
             m_devices.mics = allMics;
             m_devices.mics.resize(pick(allMics.size() + 1));
         }},
        {"refresh", [this] { m_state->refreshMics(); }},
        {"choose", [this] { m_state->selectedMicID = chance(2) ? "desk" : "headset"; }},
        {"access", [this] { m_authorization.current = static_cast<MicStatus>(chance(3) ? pick(3) : 3); }},
        {"transcribe or not", [this] { m_state->transcribeEnabled = chance(2); }},
        {"transcriptions succeed or fail",
         [this] {
             m_transcriptionFails = nullptr;
             if (chance(2)) m_transcriptionFails = [] { throw Error("transcriber", 1, "No."); };
         }},
        {"onboarding", [this] { m_state->openOnboarding(); }},
        {"onboarded", [this] { m_state->finishOnboarding(); }},
        {"request", [this] { m_state->requestMic(); }},
        {"answer", [this] { m_authorization.answer(MicStatus::authorized); }},
        {"check", [this] { m_state->checkSystemAudio(); }},
        {"grant", [this] { m_state->grantSystemAudio(); }},
        {"ends take longer or not", [this] { m_jobs.takeLonger = m_mayTakeLonger && chance(2); }},
        {"quit",
         [this] {
             if (chance(5)) quit();
         }},
    };
    std::mt19937 m_random;
    bool m_hasQuit = false;
    std::size_t m_madeAtQuit = 0;
    int m_quits = 0;              // answered since the last
    bool m_mayTakeLonger = false; // the end of an engine

    void runMany();
};

void RandomEvents::runMany() {
    const char* const given = std::getenv("MURMELO_TEST_SEED");
    const unsigned first =
        given != nullptr ? static_cast<unsigned>(std::strtoul(given, nullptr, 10)) : std::random_device()();
    std::cout << "MURMELO_TEST_SEED=" << first << '\n';
    for (int i = 0; i < sequences && !HasFailure(); ++i) {
        const unsigned seed = first + static_cast<unsigned>(i);
        SCOPED_TRACE("MURMELO_TEST_SEED=" + std::to_string(seed));
        run(seed);
        forgetThePast();
    }
}

TEST_F(RandomEvents, NeverLetTwoRecordingsRunNorAnythingAfterQuitting) {
    runMany();
}

TEST_F(RandomEvents, NeverLetTwoRecordingsRunWhenEnginesTakeLongToEnd) {
    m_mayTakeLonger = true;
    runMany();
}

} // namespace
