// What is left in "You" of the words that the loudspeakers played, and what removing them costs, over a grid
// of rooms: -3, -10 and -20 dB, delays of 5 to 250 ms, clocks that differ by up to 100 ppm, both speaking in
// turn and at once. The rival is the same recording without its system track, from which nothing is removed.
//
// Each pair has 212 near words: of five turns, 53 words, one phrase that is heard otherwise ("by the sea")
// was already more than the three points that removal may cost, whatever it did to all the others.
//
// The cost stands against what the recognition of the same minute costs.
//
//   echo [cost]    with "cost" only what it costs

#include "base/recording_files.h"
#include "platform/media/audio_reader.h"
#include "platform/posix/regular_file.h"
#include "platform/speech/worker_engine.h"
#include "speech_worker/echo_removal.h"
#include "support/leaking_conversation.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>
#include <limits>
#include <sys/resource.h>

namespace {

double processorSeconds(int who) {
    rusage usage{};
    getrusage(who, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

/// Processor time of the work, in this process or in the programs that it waits for: the least of five times.
double costOf(int who, const std::function<void()>& work) {
    double least = std::numeric_limits<double>::max();
    for (int i = 0; i < 5; ++i) {
        const double before = processorSeconds(who);
        work();
        least = std::min(least, processorSeconds(who) - before);
    }
    return least;
}

constexpr std::size_t turns = 20;

class Bench {
  public:
    explicit Bench(const std::filesystem::path& worker) : m_engine(worker, MURMELO_SPEECH_MODEL) {}

    void printWords() {
        std::puts(
            "echo dB  delay ms   ppm  talk      far words left / without removal   near word error rate  "
            "without echo");
        for (const bool atOnce : {false, true}) {
            const Conversation spoken = conversation(atOnce, turns);
            const double least = wordErrorRate(spoken.nearText, heard(spoken.near, nullptr));
            for (const double level : {-3, -10, -20}) {
                const std::size_t twice =
                    farWords(spoken, heard(mixed(spoken.near, leaked(spoken.far, {level, 40})), nullptr));
                for (const double shortest : {5, 40, 120, 250})
                    for (const double drift : {0, 100, -100})
                        printPair(spoken, shortest, {level, delayAtBegin(shortest, drift, spoken), drift},
                                  twice, least, atOnce);
            }
        }
        std::printf(
            "all: %zu of %zu far words left (%.1f %%; goal: 5 %%), near word error rate at most %+.1f "
            "points (goal: 3), on average %+.2f\n",
            m_left, m_twice, 100 * static_cast<double>(m_left) / static_cast<double>(m_twice), 100 * m_worst,
            100 * m_sum / m_pairs);
    }

    void printCost() {
        const Conversation spoken = conversation(true);
        const std::vector<float> voice = mixed(spoken.near, leaked(spoken.far, {-10, 40}));
        const TemporaryFolder folder;
        record(folder / "near.m4a", spoken.near);
        record(folder / "echoing.m4a", voice);
        record(folder / "far.m4a", spoken.far);
        const double recognition = costOf(RUSAGE_CHILDREN, [&] { recognise(folder / "near.m4a"); });
        const double decoding = costOf(RUSAGE_SELF, [&] {
            decodeTo16kMono(openRegularFile(folder / "near.m4a"), [](std::span<const float>) {});
        });
        const double looking = costOf(RUSAGE_SELF, [&] { remove(folder / "near.m4a", folder / "far.m4a"); });
        const double removing =
            costOf(RUSAGE_SELF, [&] { remove(folder / "echoing.m4a", folder / "far.m4a"); });
        const double length = static_cast<double>(voice.size()) / 16000;
        const auto print = [&](const char* what, double cost) {
            std::printf("%-50s %.4f real time, %.3f of the recognition\n", what, cost / length,
                        cost / recognition);
        };
        print("recognition without reference, with its decoding", recognition);
        print("decoding one track", decoding);
        print("decoding the other and looking for echo", looking - decoding);
        print("canceller (goal: 0.02 real time)", removing - looking);
    }

  private:
    std::string recognise(const std::filesystem::path& file) {
        const auto module = m_engine.module(Locale("en_US"));
        std::string text;
        module->collectResults([&](const SpeechResult& result) { text += result.text + " "; });
        module->analyse(file, {});
        return text;
    }
    std::string heard(const std::vector<float>& voice, const std::vector<float>* system) {
        const TemporaryFolder folder;
        record(folder / voiceFileName, voice);
        if (system != nullptr) record(folder / systemFileName, *system);
        return recognise(folder / voiceFileName);
    }
    static void remove(const std::filesystem::path& voice, const std::filesystem::path& system) {
        SpeechAudioReader reference(openRegularFile(system));
        EchoRemoval removal([&] { return reference.next(); }, [](std::span<const float>) {});
        decodeTo16kMono(openRegularFile(voice),
                        [&](std::span<const float> samples) { removal.push(samples); });
        removal.finish();
    }

    /// In milliseconds. A delay that shrinks is at its shortest at the end: no echo comes before its sound.
    static double delayAtBegin(double shortest, double partsPerMillion, const Conversation& spoken) {
        const double milliseconds = static_cast<double>(spoken.far.size()) / 16;
        return shortest + std::max(0.0, -partsPerMillion) * 1e-6 * milliseconds;
    }

    void printPair(const Conversation& spoken, double shortestDelay, const Leak& leak, std::size_t twice,
                   double least, bool atOnce) {
        const std::string words = heard(mixed(spoken.near, leaked(spoken.far, leak)), &spoken.far);
        const std::size_t left = farWords(spoken, words);
        const double errors = wordErrorRate(spoken.nearText, words);
        std::printf("%7.0f %9.0f %5.0f  %-7s %17zu / %zu %29.1f %% %13.1f %%\n", leak.decibels, shortestDelay,
                    leak.partsPerMillion, atOnce ? "at once" : "in turn", left, twice, 100 * errors,
                    100 * least);
        std::fflush(stdout);
        m_left += left;
        m_twice += twice;
        m_worst = std::max(m_worst, errors - least);
        m_sum += errors - least;
        ++m_pairs;
    }

    WorkerEngine m_engine;
    std::size_t m_left = 0;
    std::size_t m_twice = 0;
    double m_worst = -1;
    double m_sum = 0;
    int m_pairs = 0;
};

} // namespace

int main(int argc, char** argv) {
    Bench bench(workerProgram(std::filesystem::read_symlink("/proc/self/exe").parent_path(),
                              "murmelo-speech-pocketsphinx"));
    bench.printCost();
    if (argc < 2 || std::strcmp(argv[1], "cost") != 0) bench.printWords();
    return 0;
}
