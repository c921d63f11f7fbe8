#include "application.h"

#include "app/app_state.h"
#include "backends.h"
#include "base/debug_log.h"
#include "base/job_threads.h"
#include "base/recording_files.h"
#include "cli/status_line.h"
#include "platform/desktop/desktop_mic_authorization.h"
#include "platform/desktop/desktop_workspace.h"
#include "platform/desktop/ini_settings_store.h"
#include "platform/desktop/qt_main_queue.h"
#include "platform/desktop/termination_notifier.h"
#include "platform/media/mp4_recovery.h"
#include "platform/pipewire/server_keeper.h"

#include <QGuiApplication>
#include <algorithm>
#include <cstdlib>
#include <unistd.h>

namespace {

/// There is no window yet.
class NoWindows final : public Windowing {
  public:
    void setActivationPolicy(ActivationPolicy /*policy*/) override {}
    void activate() override {}
    std::unique_ptr<OnboardingWindow> makeOnboardingWindow(AppState& /*state*/) override {
        return std::make_unique<NoWindow>();
    }

  private:
    class NoWindow final : public OnboardingWindow {
      public:
        void makeKeyAndOrderFront() override {}
    };
};

/// Everything that the state needs, in the order in which it may go away again.
class Application {
  public:
    explicit Application(const TerminationSignals& signals)
        : m_termination(signals.set(), [] { QCoreApplication::quit(); }) {
        m_sound.connection.connect(); // an empty list of microphones would lose the user's choice
        m_state = AppState::create(services());
        m_jobs.async([this] { recoverRecordings(); });
    }
    ~Application() {
        m_state->teardownOnQuit();
        m_state.reset(); // cancels transcriptions, so that the jobs end
    }
    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;

  private:
    Services services() {
        return {
            .settings = m_settings,
            .devices = m_sound.devices,
            .micAuthorization = m_micAuthorization,
            .workspace = m_workspace,
            .windowing = m_windows,
            .main = m_main,
            .jobs = m_jobs,
            .makeEngine = [this] { return m_sound.makeEngine(m_timers); },
            .primeSystemAudioPermission = [this] { m_sound.captureCheck().primeSystemAudioPermission(); },
            .systemAudioWorks = [this] { return m_sound.captureCheck().systemAudioWorks(); },
            .transcribeRecording =
                [this](const std::filesystem::path& folder, const std::stop_token& stop) {
                    return m_speech.transcriber.transcribeRecording(folder, stop);
                },
            .sleep = sleepFor,
            .wallClock = [] { return std::chrono::system_clock::now(); },
            .environment = [](const char* name) -> std::optional<std::string> {
                const char* const value = std::getenv(name);
                return value != nullptr ? std::optional<std::string>(value) : std::nullopt;
            },
            .exit = [this](int status) { exitNow(status); },
        };
    }

    /// Jobs may still run: nobody waits for them. A speech worker ends when its parent does.
    [[noreturn]] void exitNow(int status) {
        if (m_state) m_state->teardownOnQuit();
        _exit(status);
    }

    void recoverRecordings() {
        const std::vector<RecoveredFile> files =
            m_recovery.recover(placeOfRecordings(), RecordingRecovery::Mode::mend);
        const auto mended = std::count_if(files.begin(), files.end(), [](const RecoveredFile& file) {
            return file.state == RecoveredFile::State::mended;
        });
        if (mended == 0) return;
        DebugLog::log("[app] recovered files: " + std::to_string(mended));
        m_notices.tell("Recordings that were cut short have been recovered.");
    }

    TerminationNotifier m_termination;
    StatusLine m_notices;
    QtMainQueue m_main;
    ThreadQueue m_timers{"timers"};
    Mp4Recovery m_recovery;
    Sound m_sound{m_notices};
    Speech m_speech{m_timers};
    ServerKeeper m_serverKeeper{m_sound.connection};
    IniSettingsStore m_settings{settingsFile()};
    DesktopMicAuthorization m_micAuthorization{QDBusConnection::sessionBus()};
    DesktopWorkspace m_workspace;
    NoWindows m_windows;
    JobThreads m_jobs; // before the state: joined once the state is gone
    std::shared_ptr<AppState> m_state;
};

bool hasDisplay() {
    return std::getenv("DISPLAY") != nullptr || std::getenv("WAYLAND_DISPLAY") != nullptr;
}

} // namespace

int runApplication(int argc, char** argv, const TerminationSignals& signals) {
    if (!hasDisplay() && std::getenv("QT_QPA_PLATFORM") == nullptr) qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication qt(argc, argv);
    QGuiApplication::setQuitOnLastWindowClosed(false);
    const Application application(signals);
    return QGuiApplication::exec();
}
