#include "speech_worker/worker_main.h"

#include "base/error.h"
#include "speech_worker/echo_reference.h"
#include "speech_worker/echo_removal.h"
#include "speech_worker/protocol.h"
#include "speech_worker/sandbox.h"
#include "speech_worker/speech_evidence.h"
#include "speech_worker/spoken_path.h"
#include "speech_worker/utterance_text.h"
#include "speech_worker/worker_process.h"

#include <cstdio>
#include <cstdlib>
#include <optional>
#include <vector>

namespace {

constexpr int done = 0;
constexpr int failed = 1;
constexpr int wrongUsage = 2;
// The parent allows three times the recording's length; this ends a worker that has lost its parent and
// hangs.
constexpr std::chrono::hours longestWork{24};
// A cut can begin with a noise that was no word, long before the first word.
constexpr double longestLeadIn = 0.5; // seconds
constexpr double sampleRate = 16000;

std::optional<WorkerArguments> parse(std::span<char* const> arguments) {
    WorkerArguments parsed;
    std::size_t i = 0;
    for (; i + 1 < arguments.size() && std::string_view(arguments[i]).starts_with("--"); i += 2) {
        const std::string_view option = arguments[i];
        if (option == "--model")
            parsed.model = arguments[i + 1];
        else if (option == "--locale")
            parsed.locale = arguments[i + 1];
        else if (option == "--vad")
            parsed.voiceDetector = arguments[i + 1];
        else if (const auto file = descriptorFrom(arguments[i + 1]); file && option == "--reference")
            parsed.reference = file;
        else
            return std::nullopt;
    }
    if (i + 1 != arguments.size() || parsed.model.empty() || parsed.locale.empty()) return std::nullopt;
    const std::optional<int> file = descriptorFrom(arguments[i]);
    if (!file) return std::nullopt;
    parsed.file = *file;
    return parsed;
}

/// The words that were spoken, as far as the sound under them tells.
std::vector<RecognisedWord> spokenWords(Recogniser& recogniser, std::span<const float> cut) {
    const SpeechEvidence evidence(cut);
    if (!evidence.hasVoice()) return {}; // spares the recogniser, which is slowest on noise
    std::vector<RecognisedWord> words = recogniser.recognise(cut);
    if (!looksSpoken(words, evidence.voicedShare())) return {};
    std::erase_if(words, [&](const RecognisedWord& word) {
        return isFiller(word.text) || (word.timed && !evidence.canBeWord(word.start, word.end));
    });
    return words;
}

void transcribe(const WorkerArguments& arguments, Recogniser& recogniser, const AudioStream& decode,
                const LineSink& tell) {
    std::optional<EchoRemoval> removal;
    const auto cutter = recogniser.makeCutter([&](const SpeechCut& cut) {
        std::vector<RecognisedWord> words = spokenWords(recogniser, cut.samples);
        if (removal)
            std::erase_if(words, [&](const RecognisedWord& word) {
                return removal->isEcho(cut.start + word.start, cut.start + word.end);
            });
        if (words.empty()) return;
        const double firstWord = cut.start + words.front().start;
        const bool withoutLeadIn = firstWord - cut.voicedStart > longestLeadIn ||
                                   (removal && removal->isEcho(cut.voicedStart, firstWord));
        const double start = withoutLeadIn ? firstWord : cut.voicedStart;
        tell(protocol::line(protocol::Utterance{start, cut.voicedEnd, recogniser.text(words)}));
    });
    std::size_t sampleCount = 0;
    const AudioSink listen = [&](std::span<const float> samples) {
        sampleCount += samples.size();
        cutter->push(samples);
    };
    if (!arguments.reference) {
        decode(arguments.file, listen);
    } else {
        EchoReference reference{FileHandle(*arguments.reference)};
        removal.emplace([&] { return reference.next(); }, listen);
        decode(arguments.file, [&](std::span<const float> samples) { removal->push(samples); });
        removal->finish();
    }
    cutter->finish();
    protocol::End end;
    if (sampleCount > 0) end.lastSampleTime = static_cast<double>(sampleCount) / sampleRate;
    tell(protocol::line(end));
}

/// What a worker with these arguments reads besides the files that it is handed.
std::vector<std::filesystem::path> readableFor(const WorkerProgram& program,
                                               std::span<char* const> arguments) {
    std::vector<std::filesystem::path> places{program.engineFolder};
    if (const auto parsed = parse(arguments))
        places.insert(places.end(), {parsed->model, parsed->voiceDetector});
    std::erase(places, std::filesystem::path());
    return places;
}

} // namespace

int runWorker(std::span<char* const> arguments, const RecogniserFactory& makeRecogniser,
              const AudioStream& decode, const LineSink& tell) {
    const std::optional<WorkerArguments> parsed = parse(arguments);
    if (!parsed) {
        tell(protocol::line(protocol::Failure{
            "usage: --model DIR --locale ID [--vad FILE] [--reference DESCRIPTOR] DESCRIPTOR"}));
        return wrongUsage;
    }
    try {
        const std::unique_ptr<Recogniser> recogniser = makeRecogniser(*parsed);
        transcribe(*parsed, *recogniser, decode, tell);
        return done;
    } catch (const Error& error) {
        tell(protocol::line(protocol::Failure{error.localizedDescription()}));
    } catch (const std::bad_alloc&) {
        tell(protocol::line(protocol::Failure{"The speech worker ran out of memory."}));
    }
    return failed;
}

int workerMain(int argc, char** argv, const WorkerProgram& program) noexcept {
    try {
        const auto arguments = std::span(argv, static_cast<std::size_t>(argc)).subspan(1);
        for (const std::string& lack :
             enterSandbox({program.mostMemory, longestWork}, readableFor(program, arguments)))
            std::fprintf(stderr, "%s\n", lack.c_str());
        endWithStandardInput();
        return runWorker(arguments, program.makeRecogniser, program.decode, writeToStandardOutput);
    } catch (const std::exception&) { // nobody reads the answer, so there is nobody to tell
        return failed;
    }
}
