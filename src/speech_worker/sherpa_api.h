#pragma once

#include <cstddef>
#include <cstdint>

/// What Murmelo calls of the C interface of sherpa-onnx, declared for exactly one version: fields are added
/// in the middle of its structures from one version to the next.
///
/// Source: sherpa-onnx/c-api/c-api.h of sherpa-onnx 1.13.8 (Apache-2.0), with the order of fields checked
/// against sherpa-onnx-asr.js and sherpa-onnx-vad.js of the npm package sherpa-onnx 1.13.8. The packages with
/// the library hold no header. A configuration is all zeros but for what is set; a null text is an empty one.
/// Every object that a function returns is released by the function of the same name with "destroy".
namespace sherpa {

constexpr const char* version = "1.13.8";

// ---- recognition of a whole utterance -----------------------------------------------------------------

struct FeatureConfig {
    std::int32_t sampleRate; ///< hertz
    std::int32_t featureDim; ///< mel bands; models that know better take their own
};

struct TransducerModelConfig {
    const char* encoder; ///< paths
    const char* decoder;
    const char* joiner;
};

struct WhisperModelConfig {
    const char* encoder;
    const char* decoder;
    const char* language; ///< Whisper's code, such as "de"
    const char* task;     ///< "transcribe" or "translate"
    std::int32_t tailPaddings;
    std::int32_t enableTokenTimestamps;
    std::int32_t enableSegmentTimestamps;
};

struct SenseVoiceModelConfig {
    const char* model;
    const char* language;
    std::int32_t useItn;
};

struct MoonshineModelConfig {
    const char* preprocessor;
    const char* encoder;
    const char* uncachedDecoder;
    const char* cachedDecoder;
    const char* mergedDecoder;
};

struct FireRedAsrModelConfig {
    const char* encoder;
    const char* decoder;
};

struct CanaryModelConfig {
    const char* encoder;
    const char* decoder;
    const char* sourceLanguage;
    const char* targetLanguage;
    std::int32_t usePunctuation;
};

struct FunAsrNanoModelConfig {
    const char* encoderAdaptor;
    const char* llm;
    const char* embedding;
    const char* tokenizer;
    const char* systemPrompt;
    const char* userPrompt;
    std::int32_t maxNewTokens;
    float temperature;
    float topP;
    std::int32_t seed;
    const char* language;
    std::int32_t itn;
    const char* hotwords;
};

struct Qwen3AsrModelConfig {
    const char* convFrontend;
    const char* encoder;
    const char* decoder;
    const char* tokenizer;
    std::int32_t maxTotalLength;
    std::int32_t maxNewTokens;
    float temperature;
    float topP;
    std::int32_t seed;
    const char* hotwords;
};

struct CohereTranscribeModelConfig {
    const char* encoder;
    const char* decoder;
    const char* language;
    std::int32_t usePunctuation;
    std::int32_t useItn;
};

/// One kind of model is set; the others stay empty.
struct OfflineModelConfig {
    TransducerModelConfig transducer;
    const char* paraformer;
    const char* nemoCtc;
    WhisperModelConfig whisper;
    const char* tdnn;
    const char* tokens; ///< path
    std::int32_t numThreads;
    std::int32_t debug;
    const char* provider;  ///< "cpu"
    const char* modelType; ///< "nemo_transducer" for a transducer of NeMo; the other kinds are known by field
    const char* modelingUnit;
    const char* bpeVocab;
    const char* telespeechCtc;
    SenseVoiceModelConfig senseVoice;
    MoonshineModelConfig moonshine;
    FireRedAsrModelConfig fireRedAsr;
    const char* dolphin;
    const char* zipformerCtc;
    CanaryModelConfig canary;
    const char* wenetCtc;
    const char* omnilingual;
    const char* medasr;
    FunAsrNanoModelConfig funasrNano;
    const char* fireRedAsrCtc;
    Qwen3AsrModelConfig qwen3Asr;
    CohereTranscribeModelConfig cohereTranscribe;
};

struct LanguageModelConfig {
    const char* model;
    float scale;
};

struct HomophoneReplacerConfig {
    const char* dictDir;
    const char* lexicon;
    const char* ruleFsts;
};

struct CtcFstDecoderConfig {
    const char* graph;
    std::int32_t maxActive;
};

struct OfflineRecognizerConfig {
    FeatureConfig features;
    OfflineModelConfig model;
    LanguageModelConfig languageModel;
    const char* decodingMethod; ///< "greedy_search"
    std::int32_t maxActivePaths;
    const char* hotwordsFile;
    float hotwordsScore;
    const char* ruleFsts;
    const char* ruleFars;
    float blankPenalty;
    HomophoneReplacerConfig homophoneReplacer;
    CtcFstDecoderConfig ctcFstDecoder;
};

/// As far as it is read: the library makes it and keeps more behind it.
struct OfflineRecognizerResult {
    const char* text;
    const float* timestamps; ///< seconds from the beginning, one for each token; null when there are none
    std::int32_t count;      ///< of tokens
    const char* tokens;
    const char* const* tokenTexts;
};

struct OfflineRecognizer;
struct OfflineStream;

// ---- detection of voice -------------------------------------------------------------------------------

/// Of Silero's model and of Ten's, of which one is set.
struct VadKindConfig {
    const char* model;        ///< path
    float threshold;          ///< probability
    float minSilenceDuration; ///< seconds
    float minSpeechDuration;
    std::int32_t windowSize; ///< samples
    float maxSpeechDuration; ///< what is longer ends at shorter pauses
};

struct VadModelConfig {
    VadKindConfig silero;
    std::int32_t sampleRate;
    std::int32_t numThreads;
    const char* provider;
    std::int32_t debug;
    VadKindConfig ten;
};

struct SpeechSegment {
    std::int32_t start; ///< samples from the beginning of the stream
    const float* samples;
    std::int32_t count;
};

struct VoiceActivityDetector;

static_assert(sizeof(void*) != 8 || (sizeof(WhisperModelConfig) == 48 && sizeof(OfflineModelConfig) == 504 &&
                                     offsetof(OfflineModelConfig, tokens) == 96 &&
                                     sizeof(OfflineRecognizerConfig) == 624 && sizeof(VadModelConfig) == 88),
              "the structures are not those of the library");

/// The functions, named as in the header less "SherpaOnnx".
struct Api {
    const char* (*getVersionStr)();

    const OfflineRecognizer* (*createOfflineRecognizer)(const OfflineRecognizerConfig* config);
    void (*destroyOfflineRecognizer)(const OfflineRecognizer* recognizer);
    const OfflineStream* (*createOfflineStream)(const OfflineRecognizer* recognizer);
    void (*destroyOfflineStream)(const OfflineStream* stream);
    /// Once for each stream, with all samples, full scale 1.
    void (*acceptWaveformOffline)(const OfflineStream* stream, std::int32_t sampleRate, const float* samples,
                                  std::int32_t count);
    void (*decodeOfflineStream)(const OfflineRecognizer* recognizer, const OfflineStream* stream);
    const OfflineRecognizerResult* (*getOfflineStreamResult)(const OfflineStream* stream);
    void (*destroyOfflineRecognizerResult)(const OfflineRecognizerResult* result);

    const VoiceActivityDetector* (*createVoiceActivityDetector)(const VadModelConfig* config,
                                                                float bufferSizeInSeconds);
    void (*destroyVoiceActivityDetector)(const VoiceActivityDetector* detector);
    /// Best one window at a time.
    void (*voiceActivityDetectorAcceptWaveform)(const VoiceActivityDetector* detector, const float* samples,
                                                std::int32_t count);
    std::int32_t (*voiceActivityDetectorEmpty)(const VoiceActivityDetector* detector);
    /// Whether the last window was inside speech.
    std::int32_t (*voiceActivityDetectorDetected)(const VoiceActivityDetector* detector);
    const SpeechSegment* (*voiceActivityDetectorFront)(const VoiceActivityDetector* detector);
    void (*voiceActivityDetectorPop)(const VoiceActivityDetector* detector);
    void (*destroySpeechSegment)(const SpeechSegment* segment);
    /// Ends the segment that is open.
    void (*voiceActivityDetectorFlush)(const VoiceActivityDetector* detector);
};

} // namespace sherpa
