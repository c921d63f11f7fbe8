#include "app/app_state_fixture.h"

#include <array>

namespace {

/// Drives a fresh state into each state of a machine, applies each event and looks where it gets.
template <typename State, std::size_t events>
struct Row {
    const char* name;
    State state;
    std::array<State, events> next;
};

class StateMachine : public AppStateFixture {
  protected:
    void beginAnew() {
        m_state.reset();
        settle();
        m_engines.made.clear();
        m_authorization.current = MicStatus::authorized;
        m_windowing.closeByTitleBar();
        launch();
    }
};

// --- a recording

class RecordingMachine : public StateMachine {
  protected:
    enum State {
        idle,
        failing,  // idle, but the start that had the error has not come back yet
        starting, // no audio yet
        heard,    // starting, with audio
        warmingUp,
        recording,
        never // cannot happen: no start is in flight, or it is stopped
    };
    enum Event {
        toggle,
        toggleWithoutAccess,
        toggleWithoutMic,
        startSucceeds,
        startFails,
        firstAudio,
        error
    };
    static constexpr std::array eventNames{"toggle",         "toggle without access", "toggle without a mic",
                                           "start succeeds", "start fails",           "first audio",
                                           "error"};
    static constexpr std::size_t eventCount = eventNames.size();

    void reach(State state) {
        beginAnew();
        if (state == idle) { // of one whose engine may still report
            reach(recording);
            apply(toggle);
            return;
        }
        apply(toggle);
        if (state == failing) apply(error);
        if (state == heard || state == recording) apply(firstAudio);
        if (state == warmingUp || state == recording) apply(startSucceeds);
    }

    void apply(Event event) {
        switch (event) {
        case toggleWithoutAccess:
            m_authorization.current = MicStatus::denied;
            break;
        case toggleWithoutMic:
            m_state->selectedMicID = std::nullopt;
            break;
        case startSucceeds:
        case startFails:
            m_engines.made.front()->startSucceeds = event == startSucceeds;
            m_jobs.run(0);
            break;
        case firstAudio:
            m_engines.last().onFirstAudio();
            break;
        case error:
            m_engines.last().onError("Lost.");
            break;
        case toggle:
            break;
        }
        if (event == toggle || event == toggleWithoutAccess || event == toggleWithoutMic)
            m_state->toggleRecording();
        runMain();
    }

    State observed() const {
        const AppState& state = *m_state;
        if (state.isRecording && state.isStarting) return never;
        if (state.isRecording) return state.warmingUp ? warmingUp : recording;
        if (state.isStarting) return state.warmingUp ? starting : heard;
        if (state.warmingUp) return never;
        const auto& engines = m_engines.made;
        const auto isBack = [](const auto& engine) { return engine->startCalled; };
        return std::all_of(engines.begin(), engines.end(), isBack) ? idle : failing;
    }
};

TEST_F(RecordingMachine, GoesFromEachStateWhereTheTableSays) {
    constexpr State x = never;
    // clang-format off
    constexpr std::array<Row<State, eventCount>, 6> table{{
        //                        toggle     toggle     toggle     start      start      first      error
        //                                   without    without    succeeds   fails      audio
        //                                   access     a mic
        {"idle",      idle,      {starting,  idle,      idle,      x,         x,         idle,      idle}},
        {"failing",   failing,   {starting,  failing,   failing,   x,         idle,      failing,   failing}},
        {"starting",  starting,  {starting,  starting,  starting,  warmingUp, idle,      heard,     failing}},
        {"heard",     heard,     {heard,     heard,     heard,     recording, idle,      heard,     failing}},
        {"warmingUp", warmingUp, {idle,      idle,      idle,      x,         x,         recording, idle}},
        {"recording", recording, {idle,      idle,      idle,      x,         x,         recording, idle}},
    }};
    // clang-format on
    for (const auto& row : table)
        for (std::size_t event = 0; event < eventCount; ++event) {
            if (row.next[event] == never) continue;
            SCOPED_TRACE(std::string(row.name) + ", " + eventNames[event]);
            reach(row.state);
            ASSERT_EQ(observed(), row.state);
            apply(static_cast<Event>(event));
            EXPECT_EQ(observed(), row.next[event]);
            EXPECT_EQ(m_engines.recordingsRunning(), m_state->isRecording ? 1 : 0);
            EXPECT_EQ(m_windowing.visible,
                      event == toggleWithoutAccess && (row.state == idle || row.state == failing));
        }
}

// --- a preview, beside a recording or alone

class PreviewMachine : public StateMachine {
  protected:
    enum State {
        off,
        starting,
        running,
        offWhileStarting, // what is starting is a recording
        lateWhileStarting,
        offWhileRecording,
        lateWhileRecording,
        never // cannot happen: no such start is in flight
    };
    enum Event { start, stop, restart, toggle, previewSucceeds, previewFails, recordingSucceeds };
    static constexpr std::array eventNames{
        "start", "stop", "restart", "toggle", "preview succeeds", "preview fails", "recording succeeds"};
    static constexpr std::size_t eventCount = eventNames.size();

    void reach(State state) {
        beginAnew();
        const bool late = state == lateWhileStarting || state == lateWhileRecording;
        if (state == starting || state == running || late) apply(start);
        if (state == running) apply(previewSucceeds);
        if (state >= offWhileStarting) apply(toggle);
        if (state >= offWhileRecording) apply(recordingSucceeds);
    }

    void apply(Event event) {
        switch (event) {
        case start:
            m_state->startPreview();
            break;
        case stop:
            m_state->stopPreview();
            break;
        case restart:
            m_state->restartPreview();
            break;
        case toggle:
            m_state->toggleRecording();
            break;
        case previewSucceeds:
        case previewFails:
            m_engines.made.front()->startSucceeds = event == previewSucceeds;
            m_jobs.run(0);
            break;
        case recordingSucceeds:
            m_jobs.run(m_jobs.count() - 1);
            break;
        }
        runMain();
    }

    State observed() const {
        const auto inFlight = static_cast<long>(m_jobs.count()) - (m_state->isStarting ? 1 : 0);
        const auto runs = m_engines.previewsRunning();
        if (inFlight + runs > 1) return never;
        if (m_state->isRecording || m_state->isStarting) {
            if (runs > 0) return never;
            if (m_state->isStarting) return inFlight > 0 ? lateWhileStarting : offWhileStarting;
            return inFlight > 0 ? lateWhileRecording : offWhileRecording;
        }
        if (runs > 0) return running;
        return inFlight > 0 ? starting : off;
    }
};

TEST_F(PreviewMachine, GoesFromEachStateWhereTheTableSays) {
    constexpr State begun = PreviewMachine::starting;
    constexpr State x = never;
    constexpr State offS = offWhileStarting;
    constexpr State lateS = lateWhileStarting;
    constexpr State offR = offWhileRecording;
    constexpr State lateR = lateWhileRecording;
    // clang-format off
    constexpr std::array<Row<State, eventCount>, 7> table{{
        //                                 start    stop     restart  toggle   preview  preview  recording
        //                                                                     succeeds fails    succeeds
        {"off",                  off,     {begun,   off,     begun,   offS,    x,       x,       x}},
        {"starting",             begun,   {begun,   begun,   begun,   lateS,   running, off,     x}},
        {"running",              running, {running, off,     begun,   offS,    x,       x,       x}},
        {"off while starting",   offS,    {offS,    offS,    offS,    offS,    x,       x,       offR}},
        {"late while starting",  lateS,   {lateS,   lateS,   lateS,   lateS,   offS,    offS,    lateR}},
        {"off while recording",  offR,    {offR,    offR,    offR,    off,     x,       x,       x}},
        {"late while recording", lateR,   {lateR,   lateR,   lateR,   begun,   offR,    offR,    x}},
    }};
    // clang-format on
    for (const auto& row : table)
        for (std::size_t event = 0; event < eventCount; ++event) {
            if (row.next[event] == never) continue;
            SCOPED_TRACE(std::string(row.name) + ", " + eventNames[event]);
            reach(row.state);
            ASSERT_EQ(observed(), row.state);
            apply(static_cast<Event>(event));
            EXPECT_EQ(observed(), row.next[event]);
        }
}

} // namespace
