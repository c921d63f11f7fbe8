// How long the main thread is held up while a user previews, records and stops, with the real engine and no
// window. Run inside a private session.

#include "app/app_state.h"
#include "backends.h"
#include "base/job_threads.h"
#include "cli/status_line.h"
#include "platform/desktop/qt_main_queue.h"

#include <QCoreApplication>
#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr int rounds = 10;

double milliseconds(Clock::duration time) {
    return std::chrono::duration<double, std::milli>(time).count();
}

/// What was measured, all on the main thread.
struct Figures {
    Clock::duration inStops{0}; // of the task that runs
    Clock::duration longestBlock{0};
    std::vector<double> stops, recording, firstAudio; // milliseconds
};

/// Times every task of main, without the stops of engines.
class TimedMain final : public TimedQueue {
  public:
    explicit TimedMain(Figures& figures) : m_figures(figures) {}
    void async(Task task) override { m_queue.async(timed(std::move(task))); }
    void asyncAfter(Time delay, Task task) override { m_queue.asyncAfter(delay, timed(std::move(task))); }
    Time now() const override { return m_queue.now(); }

  private:
    Task timed(Task task) {
        return [this, task = std::move(task)] {
            m_figures.inStops = {};
            const Clock::time_point begin = Clock::now();
            task();
            m_figures.longestBlock =
                std::max(m_figures.longestBlock, Clock::now() - begin - m_figures.inStops);
        };
    }

    Figures& m_figures;
    QtMainQueue m_queue;
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
        const Clock::duration took = Clock::now() - begin;
        m_figures.inStops += took;
        m_figures.stops.push_back(milliseconds(took));
    }
    std::optional<Recorder::Result> result() const override { return m_engine->result(); }

  private:
    const std::unique_ptr<CaptureEngine> m_engine;
    Figures& m_figures;
};

/// A desktop that allows everything and shows nothing.
class Desktop final : public SettingsStore, public MicAuthorization, public Workspace, public Windowing {
  public:
    std::optional<std::string> string(const std::string& /*key*/) const override { return std::nullopt; }
    bool boolean(const std::string& key) const override { return key == "onboarded"; }
    void setString(const std::string& /*key*/, const std::optional<std::string>& /*value*/) override {}
    void setBoolean(const std::string& /*key*/, bool /*value*/) override {}
    MicStatus status() const override { return MicStatus::authorized; }
    void requestAccess(std::function<void(bool)> answered) override { answered(true); }
    void open(const std::filesystem::path& /*file*/) override {}
    void openLink(const std::string& /*link*/) override {}
    void setActivationPolicy(ActivationPolicy /*policy*/) override {}
    void activate() override {}
    std::unique_ptr<OnboardingWindow> makeOnboardingWindow(AppState& /*state*/) override { return nullptr; }
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
    TimedMain main(figures);
    ThreadQueue timers("timers");
    StatusLine line;
    LateModule late(executableFolder());
    Sound sound(late, line);
    sound.connection.connect();
    Desktop desktop;
    {
        JobThreads jobs;
        const std::shared_ptr<AppState> state = AppState::create(
            {.settings = desktop,
             .devices = sound.devices,
             .micAuthorization = desktop,
             .workspace = desktop,
             .windowing = desktop,
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
        state->teardownOnQuit();
    }
    std::printf("longest block of main without stops: %.2f ms\n", milliseconds(figures.longestBlock));
    print("stop of an engine", figures.stops);
    print("press to recording", figures.recording);
    print("press to first audio", figures.firstAudio);
    return 0;
}
