// How well the built-in engine writes down what was said and nothing else, at what cost: over speech of known
// words and sounds without speech, each recorded to AAC and read back. The rival is the same recogniser on
// its own: whole files through its own endpointer.
//
//   speech_quality MURMELO

#include "base/debug_log.h"
#include "platform/media/audio_reader.h"
#include "platform/posix/child_process.h"
#include "platform/posix/regular_file.h"
#include "platform/speech/worker_engine.h"
#include "rival_recogniser.h"
#include "speech_worker/pocketsphinx_recogniser.h"
#include "speech_worker/voice_activity.h"
#include "spoken_material.h"
#include "support/sounds_without_speech.h"
#include "support/spoken_track.h"
#include "support/word_error_rate.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <functional>
#include <limits>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

const std::filesystem::path model = MURMELO_SPEECH_MODEL;

/// In seconds.
double processorTime(const rusage& usage) {
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

/// Of the children that have ended.
double childrensTime() {
    rusage usage{};
    ::getrusage(RUSAGE_CHILDREN, &usage);
    return processorTime(usage);
}

/// What `work` uses in a process of its own, with the processes that it runs.
rusage usageOfChild(const std::function<void()>& work) {
    const pid_t child = ::fork();
    if (child == 0) {
        work();
        ::_exit(0);
    }
    int status = 0;
    rusage usage{};
    ::wait4(child, &status, 0, &usage);
    if (status != 0) throw std::runtime_error("a child failed");
    return usage;
}

double timeOfChild(const std::function<void()>& work) {
    return processorTime(usageOfChild(work));
}

struct Heard {
    std::string text;
    std::vector<double> starts;
    double processorTime = 0;
};

Heard heardBy(WorkerEngine& engine, const std::filesystem::path& file) {
    Heard heard;
    const double before = childrensTime();
    const auto module = engine.module(Locale("en_US"));
    module->collectResults([&](const SpeechResult& result) {
        heard.text += result.text + " ";
        heard.starts.push_back(result.start);
    });
    module->analyse(file, {});
    heard.processorTime = childrensTime() - before;
    return heard;
}

std::vector<float> decoded(const std::filesystem::path& file) {
    std::vector<float> samples;
    decodeTo16kMono(openRegularFile(file), [&](std::span<const float> more) {
        samples.insert(samples.end(), more.begin(), more.end());
    });
    return samples;
}

double seconds(const std::vector<float>& samples) {
    return static_cast<double>(samples.size()) / 16000;
}

/// How far the nearest start is from each onset, in order of size.
std::vector<double> startErrors(const std::vector<double>& onsets, const std::vector<double>& starts) {
    std::vector<double> errors;
    for (const double onset : onsets) {
        double least = std::numeric_limits<double>::infinity();
        for (const double start : starts) least = std::min(least, std::abs(start - onset));
        errors.push_back(least);
    }
    std::sort(errors.begin(), errors.end());
    return errors;
}

const char* verdict(bool met) {
    return met ? "" : "   <-- GOAL MISSED";
}

/// Twenty minutes need no more memory than one. A process counts as at least as large as the one that started
/// it was: this comes first, while the bench is small, and the sound is made in a child.
void measureMemory(const std::filesystem::path& worker) {
    const TemporaryFolder folder;
    const auto memory = [&](double shortest) {
        double length = 0;
        const std::filesystem::path file = folder / "long.m4a";
        usageOfChild([&] {
            const SpokenMaterial material = synthesisedSentences("rms");
            std::vector<float> all = material.samples;
            while (seconds(all) < shortest) all = joined({all, hiss(200, 0.0003F), material.samples});
            record(file, all);
        });
        decodeTo16kMono(openRegularFile(file), [&](std::span<const float> more) {
            length += static_cast<double>(more.size()) / 16000;
        });
        const rusage usage = usageOfChild([&] {
            WorkerEngine engine(worker, model);
            heardBy(engine, file);
        });
        std::filesystem::remove(file);
        const long megabytes = usage.ru_maxrss / 1024;
        std::printf("memory for %.0f minutes: %ld MB (goal 300)%s\n", length / 60, megabytes,
                    verdict(megabytes < 300));
    };
    memory(0);
    memory(1200);
}

class Bench {
  public:
    Bench(std::filesystem::path program, const std::filesystem::path& worker)
        : m_program(std::move(program)), m_engine(worker, model) {}

    void measureWords(const SpokenMaterial& material, double goal) {
        const std::filesystem::path file = recorded(material.name, material.samples);
        const Heard ours = heardBy(m_engine, file);
        const double rate = wordErrorRate(material.said, ours.text);
        const double rival = wordErrorRate(material.said, m_rival.words(decoded(file)));
        const std::vector<double> errors = startErrors(material.onsets, ours.starts);
        const double median = errors[errors.size() / 2];
        const double load = ours.processorTime / seconds(material.samples);
        std::printf("%-7s %3zu words: %4.1f %% wrong (goal %2.0f), recogniser alone %4.1f %%%s\n",
                    material.name.c_str(), normalisedWords(material.said).size(), rate * 100, goal * 100,
                    rival * 100, verdict(rate <= goal));
        std::printf("        starts: median error %.3f s (goal 0.05), largest %.3f s (goal 0.3)%s\n", median,
                    errors.back(), verdict(median <= 0.05 && errors.back() <= 0.3));
        std::printf("        processor time: %.3f of real time on one core (goal 0.2)%s\n", load,
                    verdict(load <= 0.2));
    }

    void measureInventedWords(const std::vector<sounds::Sound>& all, std::size_t most) {
        for (const sounds::Sound& sound : all) {
            std::size_t ours = 0;
            std::size_t rivals = 0;
            for (const float level : {0.01F, 0.1F}) {
                const std::filesystem::path file =
                    recorded(sound.name, joined({silence(2), sound.make(level), silence(2)}));
                ours = std::max(ours, normalisedWords(heardBy(m_engine, file).text).size());
                rivals = std::max(rivals, normalisedWords(m_rival.words(decoded(file))).size());
            }
            std::printf("%-13s 10 s: %zu words at most (goal %zu), recogniser alone %zu%s\n", sound.name,
                        ours, most, rivals, verdict(ours <= most));
        }
    }

    /// What “murmelo transcribe” takes of the processor, against recognition alone of the same cuts.
    void measureCost(const SpokenMaterial& you, const SpokenMaterial& audio) {
        const std::filesystem::path recording = m_folder / "recording";
        std::filesystem::create_directory(recording);
        std::filesystem::copy(m_folder / (you.name + ".m4a"), recording / "voice.m4a");
        std::filesystem::copy(m_folder / (audio.name + ".m4a"), recording / "system.m4a");
        const auto cutsOfVoice = cutsOf(decoded(recording / "voice.m4a"));
        const auto cutsOfSystem = cutsOf(decoded(recording / "system.m4a"));
        struct Round {
            double ours;
            double recognition;
            double ratio() const { return ours / recognition; }
        };
        std::array<Round, 5> rounds{}; // each compares what ran side by side: the machine's speed changes
        for (Round& round : rounds) {
            round.recognition = timeOfChild([&] { recognise(cutsOfVoice); });
            round.ours = timeOfChild([&] { transcribe(recording); });
            round.recognition += timeOfChild([&] { recognise(cutsOfSystem); });
        }
        std::ranges::sort(rounds, {}, &Round::ratio);
        const Round& middle = rounds[rounds.size() / 2];
        std::printf("transcribing %.0f s in two tracks: %.2f s of the processor, recognition alone %.2f s: "
                    "%.3f times as much (%.3f to %.3f; goal 1.05)%s\n",
                    seconds(you.samples) + seconds(audio.samples), middle.ours, middle.recognition,
                    middle.ratio(), rounds.front().ratio(), rounds.back().ratio(),
                    verdict(middle.ratio() <= 1.05));
    }

  private:
    std::filesystem::path recorded(const std::string& name, const std::vector<float>& samples) {
        const std::filesystem::path file = m_folder / (name + ".m4a");
        std::filesystem::remove(file);
        record(file, samples);
        return file;
    }

    void transcribe(const std::filesystem::path& recording) const {
        ::setenv("HOME", m_folder.path().c_str(), 1); // the log
        ::freopen("/dev/null", "w", stdout);
        ::freopen("/dev/null", "w", stderr);
        ::execl(m_program.c_str(), m_program.c_str(), "transcribe", recording.c_str(), nullptr);
        ::_exit(127);
    }

    static std::vector<std::vector<float>> cutsOf(const std::vector<float>& samples) {
        std::vector<std::vector<float>> cuts;
        VoiceActivity activity([&](const VoiceActivity::Cut& cut) {
            cuts.emplace_back(cut.samples.begin(), cut.samples.end());
        });
        activity.push(samples);
        activity.finish();
        return cuts;
    }

    static void recognise(const std::vector<std::vector<float>>& cuts) {
        PocketSphinxRecogniser recogniser(model);
        for (const std::vector<float>& cut : cuts) recogniser.recognise(cut);
    }

    TemporaryFolder m_folder;
    std::filesystem::path m_program;
    WorkerEngine m_engine;
    RivalRecogniser m_rival{model};
};

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    const std::filesystem::path program = std::filesystem::absolute(argv[1]);
    const std::filesystem::path worker = workerProgram(program.parent_path(), "murmelo-speech-pocketsphinx");
    measureMemory(worker);
    Bench bench(program, worker);
    const SpokenMaterial people = recordedSentences();
    const SpokenMaterial rms = synthesisedSentences("rms");
    const SpokenMaterial slt = synthesisedSentences("slt");
    std::printf("speech\n");
    bench.measureWords(people, 0.28);
    bench.measureWords(rms, 0.08);
    bench.measureWords(slt, 0.08);
    bench.measureCost(rms, slt);
    std::printf("no speech, at two levels\n");
    bench.measureInventedWords(sounds::noiseAndTones, 0);
    bench.measureInventedWords(sounds::musicAndBarks, 1);
    return 0;
}
