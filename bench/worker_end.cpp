// How long a worker outlives a time-out (a stop request), the program's end by SIGTERM and its death by
// SIGKILL, while it recognises. The goal is 100 ms.
//
//   worker_end MURMELO

#include "base/error.h"
#include "platform/posix/file_handle.h"
#include "platform/speech/worker_engine.h"
#include "spoken_material.h"
#include "support/process_leftovers.h"
#include "support/spoken_track.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <poll.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr int rounds = 20;

double millisecondsSince(Clock::time_point begin) {
    return std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
}

void print(const char* what, std::vector<double> times) {
    std::sort(times.begin(), times.end());
    std::printf("%-28s median %5.1f ms, largest of %zu: %5.1f ms (goal 100)%s\n", what,
                times[times.size() / 2], times.size(), times.back(),
                times.back() <= 100 ? "" : "   <-- GOAL MISSED");
}

/// From the request until the call is over and the process reaped.
double timeToStop(WorkerEngine& engine, const std::filesystem::path& file) {
    std::stop_source stop;
    Clock::time_point begin;
    const auto module = engine.module(Locale("en_US"));
    module->collectResults([&](const SpeechResult&) {
        begin = Clock::now();
        stop.request_stop();
    });
    try {
        module->analyse(file, stop.get_token());
    } catch (const Error&) {
        if (hasChild()) std::printf("a process is left\n");
        return millisecondsSince(begin);
    }
    throw std::runtime_error("not stopped");
}

/// The worker that the program has started; it may take a moment.
pid_t childOf(pid_t program) {
    for (;;) {
        for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
            std::ifstream status(entry.path() / "stat");
            std::string number;
            std::string name;
            std::string state;
            pid_t parent = 0;
            if (status >> number >> name >> state >> parent && parent == program) return std::stoi(number);
        }
        std::this_thread::sleep_for(5ms);
    }
}

/// From the signal to the program until its worker has ended.
double timeToEnd(const std::filesystem::path& program, const std::filesystem::path& recording, int signal) {
    const pid_t child = ::fork();
    if (child == 0) {
        ::setenv("HOME", recording.c_str(), 1); // the log
        ::freopen("/dev/null", "w", stdout);
        ::freopen("/dev/null", "w", stderr);
        ::execl(program.c_str(), program.c_str(), "transcribe", recording.c_str(), nullptr);
        ::_exit(127);
    }
    const pid_t worker = childOf(child);
    const FileHandle process(static_cast<int>(::syscall(SYS_pidfd_open, worker, 0)));
    std::this_thread::sleep_for(300ms); // into its work
    const Clock::time_point begin = Clock::now();
    ::kill(child, signal);
    pollfd ended{process.get(), POLLIN, 0};
    ::poll(&ended, 1, -1);
    const double took = millisecondsSince(begin);
    ::waitpid(child, nullptr, 0);
    return took;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    const std::filesystem::path program = std::filesystem::absolute(argv[1]);
    const TemporaryFolder folder;
    record(folder / "voice.m4a", recordedSentences().samples);
    WorkerEngine engine(workerProgram(program.parent_path(), "murmelo-speech-pocketsphinx"),
                        MURMELO_SPEECH_MODEL);
    std::vector<double> stops;
    std::vector<double> quits;
    std::vector<double> deaths;
    for (int round = 0; round < rounds; ++round) {
        stops.push_back(timeToStop(engine, folder / "voice.m4a"));
        quits.push_back(timeToEnd(program, folder.path(), SIGTERM));
        deaths.push_back(timeToEnd(program, folder.path(), SIGKILL));
    }
    std::printf("how long a worker outlives\n");
    print("a time-out", stops);
    print("the program's SIGTERM", quits);
    print("the program's SIGKILL", deaths);
    return 0;
}
