#include "speech_worker/sherpa_recogniser.h"

#include "speech_worker/silero_cutter.h"
#include "speech_worker/timed_words.h"

#include <utility>

namespace {

constexpr std::int32_t sampleRate = 16000;
constexpr std::int32_t threads = 2;

SherpaHandle<sherpa::OfflineRecognizer> load(const sherpa::Api& api, const SherpaModel& model,
                                             const std::string& locale) {
    const std::string language = whisperLanguage(locale);
    sherpa::OfflineRecognizerConfig config{};
    config.features = {sampleRate, 80};
    config.model.tokens = model.tokens.c_str();
    config.model.numThreads = threads;
    config.model.provider = "cpu";
    config.decodingMethod = "greedy_search";
    switch (model.kind) {
    case SherpaModel::Kind::nemoCtc:
        config.model.nemoCtc = model.model.c_str();
        break;
    case SherpaModel::Kind::nemoTransducer:
        config.model.transducer = {model.encoder.c_str(), model.decoder.c_str(), model.joiner.c_str()};
        config.model.modelType = "nemo_transducer";
        break;
    case SherpaModel::Kind::whisper:
        config.model.whisper.encoder = model.encoder.c_str();
        config.model.whisper.decoder = model.decoder.c_str();
        config.model.whisper.language = language.c_str();
        config.model.whisper.task = "transcribe";
        config.model.whisper.enableTokenTimestamps = 1; // not all models can
        break;
    }
    const std::string failure = "The speech model " + model.folder.string() + " can't be loaded.";
    SherpaHandle<sherpa::OfflineRecognizer> recognizer(
        callSherpa(failure, [&] { return api.createOfflineRecognizer(&config); }),
        api.destroyOfflineRecognizer);
    if (!recognizer) throw Error("engine", 1, failure);
    return recognizer;
}

/// The words with their times, if the tokens have times and spell the text; else the text as one.
std::vector<RecognisedWord> wordsOf(const sherpa::OfflineRecognizerResult& result, double length) {
    std::string text = result.text != nullptr ? result.text : "";
    text.erase(0, text.find_first_not_of(' '));
    if (text.empty()) return {};
    std::vector<TimedToken> tokens;
    for (std::int32_t i = 0; result.timestamps != nullptr && i < result.count; ++i)
        tokens.push_back({result.tokenTexts[i], result.timestamps[i]});
    std::vector<RecognisedWord> words = wordsOf(tokens, length);
    if (asWritten(words) == text) return words;
    return {{std::move(text), 0, length, false, false}};
}

} // namespace

std::string whisperLanguage(const std::string& locale) {
    std::string language = locale.substr(0, locale.find('_'));
    if (language == "nb") return "no";  // Norwegian, whose other form is "nn"
    if (language == "fil") return "tl"; // Filipino, as Tagalog
    if (language == "jv") return "jw";  // Javanese, by its withdrawn code
    return language;
}

SherpaRecogniser::SherpaRecogniser(SherpaLibrary library, const SherpaModel& model, const std::string& locale,
                                   const std::filesystem::path& voiceDetector)
    : m_library(library), m_recognizer(load(m_api, model, locale)),
      m_detector(voiceDetector.empty() ? SherpaHandle<sherpa::VoiceActivityDetector>(
                                             nullptr, m_api.destroyVoiceActivityDetector)
                                       : loadSilero(m_api, voiceDetector)) {}

std::vector<RecognisedWord> SherpaRecogniser::recognise(std::span<const float> cut) {
    const std::string failure = "The speech recogniser failed.";
    return callSherpa(failure, [&] {
        const SherpaHandle<sherpa::OfflineStream> stream(m_api.createOfflineStream(m_recognizer.get()),
                                                         m_api.destroyOfflineStream);
        m_api.acceptWaveformOffline(stream.get(), sampleRate, cut.data(),
                                    static_cast<std::int32_t>(cut.size()));
        m_api.decodeOfflineStream(m_recognizer.get(), stream.get());
        const SherpaHandle<sherpa::OfflineRecognizerResult> result(m_api.getOfflineStreamResult(stream.get()),
                                                                   m_api.destroyOfflineRecognizerResult);
        if (!result) throw Error("engine", 1, failure);
        return wordsOf(*result, static_cast<double>(cut.size()) / sampleRate);
    });
}

std::string SherpaRecogniser::text(std::span<const RecognisedWord> words) const {
    return asWritten(words);
}

std::unique_ptr<SpeechCutter> SherpaRecogniser::makeCutter(SpeechCutter::Handler handler) {
    if (!m_detector) return Recogniser::makeCutter(std::move(handler));
    return std::make_unique<SileroCutter>(m_api, *m_detector, std::move(handler));
}
