#include "application.h"

#include "app/app_state.h"
#include "app/self_tests.h"
#include "backends.h"
#include "base/debug_log.h"
#include "base/job_threads.h"
#include "base/recording_files.h"
#include "cli/output.h"
#include "face.h"
#include "platform/desktop/activation_token.h"
#include "platform/desktop/desktop_mic_authorization.h"
#include "platform/desktop/desktop_notices.h"
#include "platform/desktop/desktop_workspace.h"
#include "platform/desktop/download_bubble.h"
#include "platform/desktop/ini_settings_store.h"
#include "platform/desktop/journal_console.h"
#include "platform/desktop/qt_main_queue.h"
#include "platform/desktop/single_instance.h"
#include "platform/desktop/termination_notifier.h"
#include "platform/media/mp4_recovery.h"
#include "platform/pipewire/server_keeper.h"

#include <QApplication>
#include <QDBusConnection>
#include <QFontInfo>
#include <algorithm>
#include <array>
#include <cstdlib>
#include <fontconfig/fontconfig.h>
#include <future>
#include <mutex>
#include <unistd.h>

namespace {

/// Everything that the state needs, in the order in which it may go away again.
class Application {
  public:
    Application(const TerminationSignals& signals, Views& views)
        : m_termination(signals.set(), [this] { quit(); }),
          m_face(views, QDBusConnection::sessionBus(), m_workspace) {
        QObject::connect(&m_downloadBubble, &DownloadBubble::cancelRequested, &m_context,
                         [this](const std::string& id) { speech().downloads.cancel(id); });
        m_sound.connection.connect(); // an empty list of microphones would lose the user's choice
        m_state = AppState::create(services());
        m_jobs.async([this] { recoverRecordings(); });
    }
    ~Application() {
        m_state->cancelTranscriptions(); // the jobs are joined, and a task in m_main may keep the state
        if (!m_state->waitForTeardown()) _exit(EXIT_FAILURE); // a thread waits for the disk, maybe for ever
        m_face.forgetState();
        m_state.reset();
    }
    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;

    /// What other programs ask of the one that runs comes from `instance`, which stays silent outside the
    /// event loop.
    void appear(SingleInstance& instance) {
        instance.status = [this] { return statusOf(*m_state); };
        const auto on = [this, &instance](auto signal, auto action) {
            QObject::connect(&instance, signal, &m_context, action);
        };
        on(&SingleInstance::activationRequested, [this] { m_face.openPanel(); });
        on(&SingleInstance::toggleRequested, [this] {
            if (statusOf(*m_state).canToggle) m_state->toggleRecording();
        });
        on(&SingleInstance::quitRequested, [this] { quit(); });
        QObject::connect(&m_notices, &DesktopNotices::panelWanted, &m_context,
                         [this] { m_face.openPanel(); });
        m_face.show(*m_state, m_main);
    }

    /// Jobs may still run: nobody waits for them. A speech worker ends when its parent does.
    /// Qt's threads may each find that the display is gone: whoever comes second must not end the process
    /// while the first waits for the files.
    [[noreturn]] void exitNow(int status) {
        const std::lock_guard lock(m_exiting);
        if (m_state) m_state->waitForTeardown();
        _exit(status);
    }

  private:
    /// The event loop goes on until the files are closed.
    void quit() {
        m_state->teardownOnQuit([] { QCoreApplication::quit(); });
    }

    Services services() {
        return {
            .settings = m_settings,
            .devices = m_sound.devices,
            .micAuthorization = m_micAuthorization,
            .workspace = m_workspace,
            .windowing = m_face.windowing(),
            .notices = m_notices,
            .main = m_main,
            .jobs = m_jobs,
            .makeEngine = [this] { return makeEngine(); },
            .primeSystemAudioPermission = [this] { m_sound.captureCheck().primeSystemAudioPermission(); },
            .systemAudioWorks = [this] { return m_sound.captureCheck().systemAudioWorks(); },
            .transcribeRecording =
                [this](const std::filesystem::path& folder, const std::stop_token& stop) {
                    std::filesystem::path transcript = speech().transcriber.transcribeRecording(folder, stop);
                    m_notices.tellTranscriptReady(transcript);
                    return transcript;
                },
            .sleep = sleepFor,
            .wallClock = [] { return std::chrono::system_clock::now(); },
            .environment = environmentVariable,
            .exit = [this](int status) { exitNow(status); },
        };
    }

    /// An engine whose source is just being opened again waits for that when it goes: on a queue of its own.
    std::shared_ptr<CaptureEngine> makeEngine() {
        std::shared_ptr<CaptureEngine> engine = m_sound.makeEngine(m_timers);
        CaptureEngine* const made = engine.get();
        return {made, [this, engine = std::move(engine)](CaptureEngine* /*made*/) mutable {
                    m_engineEnds.async([engine = std::move(engine)] {});
                }};
    }

    /// On the threads of jobs.
    Speech& speech() {
        const std::lock_guard lock(m_speechMutex);
        const auto tell = [this](const Model& model, const DownloadNews& news) {
            m_downloadBubble.tell(model, news);
        };
        if (!m_speech) m_speech.emplace(m_late, m_timers, m_recordings, Speech::Audience{.always = tell});
        return *m_speech;
    }

    void recoverRecordings() {
        const std::vector<RecoveredFile> files =
            m_recovery.recover(placeOfRecordings(), RecordingRecovery::Mode::mend);
        const auto mended = std::count_if(files.begin(), files.end(), [](const RecoveredFile& file) {
            return file.state == RecoveredFile::State::mended;
        });
        if (mended == 0) return;
        DebugLog::log("[app] recovered files: " + std::to_string(mended));
        m_notices.tellRecovered(files);
    }

    TerminationNotifier m_termination;
    DesktopWorkspace m_workspace;
    Face m_face;
    DesktopNotices m_notices{QDBusConnection::sessionBus(), m_workspace};
    DownloadBubble m_downloadBubble{QDBusConnection::sessionBus()};
    ThreadQueue m_timers{"timers"};
    Mp4Recovery m_recovery;
    LateModule m_late{executableFolder()};
    RecordingMark m_recordings{RecordingMark::usualFile()};
    Sound m_sound{m_late, m_notices, m_recordings};
    std::mutex m_speechMutex;
    std::optional<Speech> m_speech; // made for the first transcription
    ServerKeeper m_serverKeeper{m_sound.connection};
    IniSettingsStore m_settings{settingsFile()};
    DesktopMicAuthorization m_micAuthorization{QDBusConnection::sessionBus()};
    ThreadQueue m_engineEnds{"engine ends"}; // after the sound, which engines use
    QtMainQueue m_main;                      // after that: what still waits in it may hold an engine
    JobThreads m_jobs;                       // before the state: joined once the state is gone
    std::shared_ptr<AppState> m_state;
    std::mutex m_exiting;
    QObject m_context; // ends the connections
};

/// Qt ends the process when its display goes away, and nothing on the stack is destroyed: X11's by exit(),
/// Wayland's by _exit(), which only a message comes before. All of it on the main thread.
class FilesAreClosedAtExit {
  public:
    explicit FilesAreClosedAtExit(Application& application) {
        s_running = &application;
        std::atexit(closeFiles);
        s_otherHandler = qInstallMessageHandler(handle);
    }
    ~FilesAreClosedAtExit() {
        qInstallMessageHandler(s_otherHandler);
        s_running = nullptr;
    }
    FilesAreClosedAtExit(const FilesAreClosedAtExit&) = delete;
    FilesAreClosedAtExit& operator=(const FilesAreClosedAtExit&) = delete;

  private:
    static void closeFiles() {
        if (s_running != nullptr) s_running->exitNow(EXIT_FAILURE);
    }
    static void handle(QtMsgType type, const QMessageLogContext& context, const QString& text) {
        s_otherHandler(type, context, text);
        // “… broke. …” or “… experienced a fatal error: …”
        if (text.startsWith(QLatin1String("The Wayland connection "))) closeFiles();
    }

    static inline Application* s_running = nullptr;
    static inline QtMessageHandler s_otherHandler = nullptr;
};

bool hasDisplay() {
    constexpr std::array variables{"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"};
    return std::any_of(variables.begin(), variables.end(),
                       [](const char* name) { return std::getenv(name) != nullptr; });
}

ExitStatus runSelfTest(const TerminationSignals& signals, Views& views) {
    Application application(signals, views);
    const FilesAreClosedAtExit guard(application);
    return static_cast<ExitStatus>(QCoreApplication::exec());
}

/// Nothing: we are the only one.
std::optional<ExitStatus> handOver(SingleInstance& instance) {
    switch (instance.claim()) {
    case SingleInstance::Claim::granted:
        return std::nullopt;
    case SingleInstance::Claim::handedOver:
        return ExitStatus::done;
    case SingleInstance::Claim::unanswered:
        return reportFailure("Murmelo is running already, but it does not answer.");
    case SingleInstance::Claim::closing:
        return reportFailure(
            "Murmelo is still closing the files of its last run. Start it again in a moment.");
    case SingleInstance::Claim::taken:
        break;
    }
    return reportFailure("Murmelo is running already, and there is no session bus to reach it by.");
}

ExitStatus runOnDesktop(const TerminationSignals& signals, Views& views) {
    SingleInstance instance(QDBusConnection::sessionBus(), instanceLockFile());
    if (const std::optional<ExitStatus> handedOver = handOver(instance)) return *handedOver;
    Application application(signals, views);
    const FilesAreClosedAtExit guard(application);
    application.appear(instance);
    const int status = QCoreApplication::exec();
    instance.stopServing();
    return static_cast<ExitStatus>(status);
}

} // namespace

ExitStatus runApplication(int argc, char** argv, const TerminationSignals& signals) {
    const bool isSelfTest = selfTestsIn(environmentVariable).any();
    if (!hasDisplay()) {
        if (!isSelfTest)
            return reportFailure(
                "There is no desktop here to appear on. “murmelo record” records on the terminal.");
        qputenv("QT_QPA_PLATFORM", "offscreen"); // there is no other thread yet
    }
    reserveActivationToken();
    if (!isSelfTest) DebugLog::replaceConsole(journalConsole());
    const std::future<int> fonts =
        std::async(std::launch::async, FcInit); // reads all that there is about fonts
    QApplication qt(argc, argv);
    QApplication::setApplicationName(QStringLiteral("murmelo"));
    QApplication::setDesktopFileName(QStringLiteral("org.murmelo.Murmelo"));
    QApplication::setQuitOnLastWindowClosed(false);
    // The first font lets Qt make its list of fonts; meanwhile the rest is made.
    const std::future<void> firstFont =
        std::async(std::launch::async, [font = QGuiApplication::font()] { QFontInfo(font).pixelSize(); });
    Views views; // early: while it loads types the rest is made
    return isSelfTest ? runSelfTest(signals, views) : runOnDesktop(signals, views);
}
