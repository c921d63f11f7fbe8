#pragma once

#include "app/closing.h"
#include "app/published.h"
#include "app/quit_patience.h"
#include "app/services.h"
#include "capture/mic_choice.h"
#include "capture/recorder.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

/// Everything that the user sees and does, without a view: one object for the life of the process, observed
/// by all views.
///
/// The main thread only. What takes longer runs on jobs, whose results come back through the main queue and
/// find nothing to do once the state is gone.
class AppState : public std::enable_shared_from_this<AppState> {
  public:
    /// Reads the settings, looks at the microphones, and starts what the situation and the environment ask
    /// for.
    static std::shared_ptr<AppState> create(const Services& services);
    /// Cancels transcriptions. Engines are stopped by teardownOnQuit.
    ~AppState();
    AppState(const AppState&) = delete;
    AppState& operator=(const AppState&) = delete;

    /// Called before each change of a field; set by the one observer that tells the views.
    std::function<void(Field)> willChange;

    // Views assign selectedMicID and transcribeEnabled; the rest is theirs to read.
    Published<std::vector<MicChoice>> mics{willChange, Field::mics};
    Published<std::optional<std::string>> selectedMicID; ///< stored as "micID"
    Published<bool> isRecording{willChange, Field::isRecording};
    Published<bool> isStarting{willChange, Field::isStarting};
    /// The recording was stopped and its files are not closed yet. Until they are it counts as recording.
    Published<bool> isSaving{willChange, Field::isSaving};
    Published<bool> warmingUp{willChange, Field::warmingUp}; ///< requested, but no audio yet
    Published<double> elapsed{willChange, Field::elapsed};   ///< seconds
    Published<std::optional<Recorder::Result>> lastRecording{willChange, Field::lastRecording};
    Published<std::string> status{willChange, Field::status}; ///< empty: nothing to report
    Published<float> micLevel{willChange, Field::micLevel};   ///< 0 to 1, smoothed
    Published<float> outputLevel{willChange, Field::outputLevel};
    Published<std::string> lastDuration{willChange, Field::lastDuration}; ///< as elapsedString
    Published<bool> isTranscribing{willChange, Field::isTranscribing};
    Published<bool> transcribeEnabled; ///< stored as "transcribe"
    /// Nothing: not known yet, or a check is running.
    Published<std::optional<bool>> systemAudioGranted{willChange, Field::systemAudioGranted};

    // app_state.cpp
    /// Offers the microphones that are there now and, when the selected one is not among them, selects one.
    void refreshMics();
    MicStatus micStatus() const { return m_services.micAuthorization.status(); }
    /// For the log.
    std::string micStatusText() const;

    // app_state_recording.cpp
    /// The record button.
    void toggleRecording();
    /// The running recording's length as minutes and seconds: 62:05.
    std::string elapsedString() const;

    // app_state_closing.cpp
    /// Stops the engines, so that their files are closed, and from then on starts nothing. `then` runs once
    /// that is done, at once where it takes no time, or when it has taken too long (see QuitPatience); of
    /// several calls the last one's. The result is not collected.
    void teardownOnQuit(std::function<void()> then);
    /// The same for a process whose event loop has ended: blocks until then. False: files were left to a
    /// recovery.
    bool waitForTeardown();
    /// Transcriptions end soon. For the end of the program, at which a diagnostic may still keep the state.
    void cancelTranscriptions() { m_stopTranscriptions.request_stop(); }

    // app_state_preview.cpp
    /// Shows live levels unless something speaks against it; then it does nothing.
    void startPreview();
    void stopPreview();
    void restartPreview();

    // app_state_permissions.cpp
    void openOnboarding();
    void finishOnboarding();
    void requestMic();
    void checkSystemAudio();
    void grantSystemAudio();
    void openMicrophoneSettings();
    void openSoundSettings();

    // app_state_last_recording.cpp
    /// Asked of the file system each time.
    std::optional<std::filesystem::path> lastTranscriptURL() const;
    /// Shows the last recording's folder, without one the folder of all recordings.
    void revealLastRecording();

  private:
    struct Ticker;

    explicit AppState(const Services& services);
    void startUp();
    std::optional<MicChoice> selectedMic() const;

    /// A function for any thread that runs `work(AppState&, arguments...)` on main if the state is there
    /// then.
    template <typename Work>
    auto onMain(Work work);

    void startRecording();
    void recordingStarted(const std::shared_ptr<CaptureEngine>& engine, bool started);
    void recordingFailed(const std::string& message);
    void stopRecording();
    void recordingClosed(const std::optional<Recorder::Result>& files);
    void startTimer();
    void cancelTimer();
    void tick(const std::shared_ptr<Ticker>& ticker);
    void transcribe(const std::filesystem::path& folder);

    using Closed = std::function<void(AppState& state, const std::optional<Recorder::Result>& files)>;
    void closeRecording(const Closed& then);
    void closingEnded(const Closed& then);
    void closePreview(const std::shared_ptr<CaptureEngine>& engine);
    void tearDown();
    bool maySaveOn();
    void watchTeardown();
    void endTeardown();
    void tellLoss();
    void log(const std::string& line) const;

    void previewStarted(const std::shared_ptr<CaptureEngine>& engine, bool started);
    void showLevels(float mic, float system);

    void runSelfTests();
    void runDiagnostic();
    void reportDiagnostic();
    void endDiagnostic();
    void runTranscriptionTest(const std::filesystem::path& folder);
    void runCaptureCheck();

    const Services m_services;

    std::shared_ptr<CaptureEngine> m_recorder; // from the request of a recording to its stop or error
    std::string m_recordingName;               // of the latest one's folder
    std::shared_ptr<Closing> m_closing;        // while isSaving
    std::string m_errorWhileSaving;            // shown afterwards
    std::optional<TimedQueue::Time> m_recordStart;
    std::shared_ptr<Ticker> m_recordTimer;
    std::unique_ptr<OnboardingWindow> m_onboardingWindow;
    std::shared_ptr<CaptureEngine> m_preview;
    std::shared_ptr<CaptureEngine> m_previewStarting; // its start is in flight, which quitting ends
    bool m_hasQuit = false;                           // then nothing starts any more
    std::optional<QuitPatience> m_quitPatience;       // since quitting waits
    bool m_hasGivenUp = false;                        // what quitting waited for was left to a recovery
    std::function<void()> m_whenTornDown;
    std::stop_source m_stopTranscriptions;
};

template <typename Work>
auto AppState::onMain(Work work) {
    return [&main = m_services.main, weak = weak_from_this(), work = std::move(work)](auto... arguments) {
        main.async([weak, work, arguments...] {
            if (const std::shared_ptr<AppState> state = weak.lock()) std::invoke(work, *state, arguments...);
        });
    };
}
