// How long the main thread is held up while a user previews, records and stops, with the real engine and no
// window. Run inside a private session.

#include "app/app_state.h"
#include "backends.h"
#include "base/job_threads.h"
#include "cli/status_line.h"
#include "measured_main.h"

#include <QCoreApplication>
#include <algorithm>
#include <cstdio>
#include <mutex>
#include <vector>

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr int rounds = 10;

double milliseconds(Clock::duration time) {
    return std::chrono::duration<double, std::milli>(time).count();
}

struct Figures {
    std::mutex mutex;
    std::vector<double> stops;                 // milliseconds; guarded by mutex: an engine stops on a job
    std::vector<double> recording, firstAudio; // milliseconds; main thread
};

class TimedEngine final : public CaptureEngine {
  public:
    TimedEngine(std::unique_ptr<CaptureEngine> engine, Figures& figures)
        : m_engine(std::move(engine)), m_figures(figures) {}
    bool start(const MicChoice& mic, const std::optional<std::filesystem::path>& baseURL) override {
        m_engine->onLevels = onLevels;
        m_engine->onError = onError;
        m_engine->onFirstAudio = onFirstAudio;
        return m_engine->start(mic, baseURL);
    }
    void stop() override {
        const Clock::time_point begin = Clock::now();
        m_engine->stop();
        const double took = milliseconds(Clock::now() - begin);
        const std::lock_guard lock(m_figures.mutex);
        m_figures.stops.push_back(took);
    }
    std::optional<Recorder::Result> result() const override { return m_engine->result(); }
    Unsaved unsaved() const override { return m_engine->unsaved(); }

  private:
    const std::unique_ptr<CaptureEngine> m_engine;
    Figures& m_figures;
};

/// Preview, record, stop; again and again.
class User {
  public:
    User(AppState& state, TimedQueue& main, Figures& figures)
        : m_state(state), m_main(main), m_figures(figures) {}
    void begin() {
        m_state.startPreview();
        m_main.asyncAfter(700ms, [this] { record(); });
    }

  private:
    void record() {
        const Clock::time_point pressed = Clock::now();
        m_state.willChange = [this, pressed](Field field) {
            const double time = milliseconds(Clock::now() - pressed);
            if (field == Field::isRecording) m_figures.recording.push_back(time);
            if (field == Field::warmingUp && m_state.warmingUp) m_figures.firstAudio.push_back(time);
        };
        m_state.toggleRecording();
        m_main.asyncAfter(2500ms, [this] { stop(); });
    }
    void stop() {
        m_state.willChange = nullptr;
        m_state.toggleRecording();
        if (++m_round == rounds)
            QCoreApplication::quit();
        else
            m_main.asyncAfter(10ms, [this] { begin(); });
    }

    AppState& m_state;
    TimedQueue& m_main;
    Figures& m_figures;
    int m_round = 0;
};

void print(const char* what, std::vector<double> figures) {
    std::sort(figures.begin(), figures.end());
    if (figures.empty()) return;
    std::printf("%s: median %.1f ms, longest %.1f ms (%zu times)\n", what, figures[figures.size() / 2],
                figures.back(), figures.size());
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication qt(argc, argv);
    Figures figures;
    MeasuredMain main;
    ThreadQueue timers("timers");
    StatusLine line;
    LateModule late(executableFolder());
    RecordingMark recordings(RecordingMark::usualFile());
    Sound sound(late, line, recordings);
    sound.connection.connect();
    NoDesktop desktop;
    {
        JobThreads jobs;
        const std::shared_ptr<AppState> state = AppState::create(
            {.settings = desktop,
             .devices = sound.devices,
             .micAuthorization = desktop,
             .workspace = desktop,
             .windowing = desktop,
             .notices = line,
             .main = main,
             .jobs = jobs,
             .makeEngine = [&] { return std::make_shared<TimedEngine>(sound.makeEngine(timers), figures); },
             .primeSystemAudioPermission = {},
             .systemAudioWorks = {},
             .transcribeRecording = {},
             .sleep = sleepFor,
             .wallClock = [] { return std::chrono::system_clock::now(); },
             .environment = [](const char*) { return std::nullopt; },
             .exit = {}});
        User user(*state, main, figures);
        main.async([&] { user.begin(); });
        QCoreApplication::exec();
        state->waitForTeardown();
    }
    std::printf("longest block of main: %.2f ms\n", main.longestBlock());
    print("stop of an engine", figures.stops);
    print("press to recording", figures.recording);
    print("press to first audio", figures.firstAudio);
    return 0;
}
