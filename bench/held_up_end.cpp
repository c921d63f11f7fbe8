// How long the main thread is held up when a recording ends while its disk hangs or the sound server stands
// still, and what is in the files then. With the real engine and no window; run inside a private session.

#include "app/app_state.h"
#include "backends.h"
#include "base/job_threads.h"
#include "base/recording_files.h"
#include "measured_main.h"
#include "platform/media/aac_file_writer.h"
#include "platform/media/mp4_recovery.h"
#include "support/stalling_calls.h"
#include "support/temporary_folder.h"

#include <QCoreApplication>
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <vector>

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

double seconds(Clock::duration time) {
    return std::chrono::duration<double>(time).count();
}

std::filesystem::path latestRecording() {
    std::filesystem::path latest;
    for (const auto& entry : std::filesystem::directory_iterator(recordingsFolder()))
        latest = std::max(latest, entry.path());
    return latest;
}

/// What holds the end up.
class Hindrance {
  public:
    virtual ~Hindrance() = default;
    virtual void begin() = 0;
    virtual void end() = 0;
};

class HangingDisk final : public Hindrance {
  public:
    explicit HangingDisk(StallingCalls& calls) : m_calls(calls) {}
    void begin() override { m_calls.stall(StallingCalls::What::writesAndSyncs); }
    void end() override { m_calls.goOn(); }

  private:
    StallingCalls& m_calls;
};

/// The session's server, or all of it with its manager.
class StoppedSession final : public Hindrance {
  public:
    explicit StoppedSession(std::vector<std::string> programs) {
        std::ifstream processes(std::string(std::getenv("XDG_RUNTIME_DIR")) + "/../pids");
        pid_t process = 0;
        std::string started;
        std::string name;
        while (processes >> process >> started >> name)
            if (std::find(programs.begin(), programs.end(), name) != programs.end())
                m_processes.push_back(process);
    }
    void begin() override { send(SIGSTOP); }
    void end() override { send(SIGCONT); }

  private:
    void send(int signal) {
        for (const pid_t process : m_processes) kill(process, signal);
    }
    std::vector<pid_t> m_processes;
};

/// Prints what a user would be told.
class PrintedNotices final : public Notices {
  public:
    void tell(const std::string& sentence) override { std::printf("  “%s”\n", sentence.c_str()); }
};

struct Bench {
    QCoreApplication& qt;
    Notices& notices;
    Sound& sound;
    StallingCalls& disk;
    ThreadQueue timers{"timers"};
    ThreadQueue engineEnds{"engine ends"};
    NoDesktop desktop{};
    MeasuredMain main{};

    std::shared_ptr<CaptureEngine> makeEngine(AudioFileWriterFactory& files) {
        std::shared_ptr<CaptureEngine> engine = std::make_shared<RecorderEngine>(
            RecorderServices{sound.mics, sound.systemAudio, files, notices, makeThreadQueue, timers,
                             sleepFor},
            std::make_unique<LogindSleepGuard>(), [this] { return sound.recordingMark.hold(); });
        CaptureEngine* const made = engine.get();
        return {made, [this, engine = std::move(engine)](CaptureEngine* /*made*/) mutable {
                    engineEnds.async([engine = std::move(engine)] {});
                }};
    }

    /// A recording of four seconds, and an end that is held up for so long, shortly before it: by a stop or
    /// by quitting.
    void run(const char* what, Hindrance& hindrance, std::chrono::seconds heldUp,
             std::chrono::milliseconds before, bool quits) {
        AacFileWriterFactory files([](const std::string&) {}, disk);
        JobThreads jobs;
        const std::shared_ptr<AppState> state =
            AppState::create({.settings = desktop,
                              .devices = sound.devices,
                              .micAuthorization = desktop,
                              .workspace = desktop,
                              .windowing = desktop,
                              .notices = notices,
                              .main = main,
                              .jobs = jobs,
                              .makeEngine = [&] { return makeEngine(files); },
                              .primeSystemAudioPermission = {},
                              .systemAudioWorks = {},
                              .transcribeRecording = {},
                              .sleep = sleepFor,
                              .wallClock = [] { return std::chrono::system_clock::now(); },
                              .environment = [](const char*) { return std::nullopt; },
                              .exit = {}});
        std::optional<Clock::time_point> ended;
        const auto over = [&] {
            ended = Clock::now();
            qt.exit();
        };
        Clock::time_point pressed;
        double elapsed = 0;
        const std::function<void()> lookForEnd = [&] {
            if (!state->isSaving) return over();
            main.asyncAfter(5ms, lookForEnd);
        };
        main.async([&] { state->toggleRecording(); });
        main.asyncAfter(4s - before, [&] {
            main.forget();
            hindrance.begin();
        });
        main.asyncAfter(4s, [&] {
            pressed = Clock::now();
            elapsed = state->elapsed;
            if (quits) return state->teardownOnQuit(over);
            state->toggleRecording();
            lookForEnd();
        });
        timers.asyncAfter(4s + heldUp, [&] { hindrance.end(); });
        QCoreApplication::exec();
        std::printf("%s: longest block of main %.1f ms, ended after %.2f s", what, main.longestBlock(),
                    seconds(*ended - pressed));
        const bool isSaved = state->waitForTeardown();
        std::printf(", %s; shown %.2f s", isSaved ? "saved" : "left to a recovery", elapsed);
        // A copy is what the end of the program would leave.
        const TemporaryFolder left;
        std::filesystem::copy(latestRecording(), left.path());
        hindrance.end(); // else nobody could ever end
        for (const RecoveredFile& file :
             Mp4Recovery().recover(left.path(), RecordingRecovery::Mode::onlyLook))
            std::printf(", %s %.2f s", file.path.filename().c_str(), file.seconds);
        std::printf("\n");
    }
};

} // namespace

int main(int argc, char** argv) {
    QCoreApplication qt(argc, argv);
    PrintedNotices notices;
    LateModule late(executableFolder());
    StallingCalls disk;
    RecordingMark recordings(RecordingMark::usualFile());
    Sound sound(late, notices, recordings);
    sound.connection.connect();
    Bench bench{qt, notices, sound, disk};
    HangingDisk hangs(disk);
    StoppedSession server({"pipewire"});
    StoppedSession session({"pipewire", "wireplumber"});
    bench.run("disk hangs for 4 s at Stop", hangs, 4s, 500ms, false);
    bench.run("disk hangs for 4 s at Quit", hangs, 4s, 500ms, true);
    bench.run("disk hangs for 10 s at Quit", hangs, 10s, 500ms, true);
    bench.run("sound server stands still at Stop", server, 10s, 0ms, false);
    bench.run("sound server stands still since 3 s before Stop", server, 10s, 3000ms, false);
    bench.run("sound server and session manager stand still since 3 s before Quit", session, 10s, 3000ms,
              true);
    return 0;
}
