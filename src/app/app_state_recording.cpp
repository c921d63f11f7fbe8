#include "app/app_state.h"

#include "base/error.h"
#include "base/number_text.h"
#include "base/recording_files.h"

#include <exception>
#include <utility>

namespace {

using namespace std::chrono_literals;

constexpr auto tickInterval = 250ms;

} // namespace

/// Ticks until it is cancelled or the recording has ended.
struct AppState::Ticker {
    bool cancelled = false;
};

void AppState::toggleRecording() {
    log(std::string("[app] toggle; rec=") + (isRecording ? "true" : "false") +
        " micStatus=" + micStatusText() + " selMic=" + selectedMicID.get().value_or("nil"));
    if (isSaving) return;
    if (isRecording) {
        stopRecording();
        return;
    }
    if (isStarting) return;
    if (micStatus() != MicStatus::authorized) {
        openOnboarding();
        return;
    }
    stopPreview();
    startRecording();
}

// --- start
// ----------------------------------------------------------------------------------------------------

void AppState::startRecording() {
    if (m_hasQuit) return;
    const std::optional<MicChoice> mic = selectedMic();
    if (!mic) {
        status = "Pick a microphone first.";
        return;
    }
    const std::filesystem::path folder = recordingsFolder() / recordingFolderName(m_services.wallClock());

    const std::shared_ptr<CaptureEngine> engine = m_services.makeEngine();
    engine->onLevels = onMain(&AppState::showLevels);
    engine->onError = onMain(&AppState::recordingFailed);
    engine->onFirstAudio = onMain([](AppState& state) { state.warmingUp = false; });
    m_recordingName = folder.filename().string();
    m_recorder = engine; // an earlier one that did not start is let go of, not stopped

    isStarting = true;
    warmingUp = true;
    status = "";
    const auto ended = onMain(&AppState::recordingStarted);
    m_services.jobs.async([engine, mic = *mic, folder, ended] { ended(engine, engine->start(mic, folder)); });
}

void AppState::recordingStarted(const std::shared_ptr<CaptureEngine>& engine, bool started) {
    if (engine != m_recorder) return; // its error or the end of the program was faster; it is stopped
    isStarting = false;
    if (!started) {
        warmingUp = false; // and nothing else: an engine that fails says why, which resets the rest
        return;
    }
    m_recordStart = m_services.main.now();
    elapsed = 0;
    isRecording = true;
    startTimer();
}

void AppState::recordingFailed(const std::string& message) {
    if (isSaving) {
        m_errorWhileSaving = message;
        return;
    }
    cancelTimer();
    closeRecording([message](AppState& state, const auto& /*files*/) {
        state.isRecording = false;
        state.isStarting = false;
        state.warmingUp = false;
        state.micLevel = 0;
        state.outputLevel = 0;
        state.status = message;
    });
    if (isSaving && !isRecording) status = message; // hardly anything to save, and the user waits for this
}

// --- elapsed time
// ---------------------------------------------------------------------------------------------

void AppState::startTimer() {
    m_recordTimer = std::make_shared<Ticker>(); // an earlier one is not cancelled
    onMain([ticker = m_recordTimer](AppState& state) { state.tick(ticker); })();
}

void AppState::tick(const std::shared_ptr<Ticker>& ticker) {
    if (ticker->cancelled || !m_recordStart) return;
    elapsed = std::chrono::duration<double>(m_services.main.now() - *m_recordStart).count();
    m_services.main.asyncAfter(tickInterval, [weak = weak_from_this(), ticker] {
        if (const std::shared_ptr<AppState> state = weak.lock()) state->tick(ticker);
    });
}

void AppState::cancelTimer() {
    if (m_recordTimer) m_recordTimer->cancelled = true;
    m_recordTimer.reset();
}

std::string AppState::elapsedString() const {
    return minutesAndSeconds(elapsed);
}

// --- stop
// -----------------------------------------------------------------------------------------------------

void AppState::stopRecording() {
    if (isSaving) return;
    cancelTimer();
    closeRecording(&AppState::recordingClosed);
}

void AppState::recordingClosed(const std::optional<Recorder::Result>& files) {
    lastRecording = files;
    lastDuration = elapsedString();
    m_recordStart.reset();
    isRecording = false; // isStarting stays as it is
    warmingUp = false;
    micLevel = 0;
    outputLevel = 0;
    status = std::exchange(m_errorWhileSaving, "");
    if (transcribeEnabled && lastRecording.get() && !m_hasQuit)
        transcribe(lastRecording.get()->mix.parent_path());
}

void AppState::transcribe(const std::filesystem::path& folder) {
    isTranscribing = true;
    // Whichever transcription ends first says that none runs, although another may.
    const auto ended = onMain([](AppState& state, const std::optional<std::string>& failure) {
        state.isTranscribing = false;
        if (failure) state.status = "Transcription failed: " + *failure;
    });
    m_services.jobs.async([transcribeRecording = m_services.transcribeRecording, folder, ended,
                           stop = m_stopTranscriptions.get_token()] {
        try {
            transcribeRecording(folder, stop);
            ended(std::optional<std::string>());
        } catch (const Error& error) {
            ended(std::optional(error.localizedDescription()));
        } catch (const std::exception& error) {
            ended(std::optional<std::string>(error.what()));
        }
    });
}
