#include "speech_worker/silero_cutter.h"

#include <cmath>
#include <string>
#include <utility>

namespace {

constexpr std::int32_t sampleRate = 16000;
constexpr std::size_t windowSize = 512;
constexpr float longestSegment = 20; // seconds
constexpr std::size_t mostWindows =
    std::size_t{25} * sampleRate / windowSize; // the model is only asked to part

double seconds(std::int32_t sample) {
    return static_cast<double>(sample) / sampleRate;
}

} // namespace

SherpaHandle<sherpa::VoiceActivityDetector> loadSilero(const sherpa::Api& api,
                                                       const std::filesystem::path& model) {
    const std::string name = "The voice detector " + model.string();
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(model, ignored)) throw Error("engine", 1, name + " is missing.");
    const std::string path = model;
    sherpa::VadModelConfig config{};
    // The model's own defaults.
    config.silero = {path.c_str(), 0.5F, 0.5F, 0.25F, windowSize, longestSegment};
    config.sampleRate = sampleRate;
    config.numThreads = 1; // it is too small for two
    config.provider = "cpu";
    const std::string failure = name + " can't be loaded.";
    SherpaHandle<sherpa::VoiceActivityDetector> detector(
        callSherpa(failure, [&] { return api.createVoiceActivityDetector(&config, 2 * longestSegment); }),
        api.destroyVoiceActivityDetector);
    if (!detector) throw Error("engine", 1, failure);
    return detector;
}

SileroCutter::SileroCutter(const sherpa::Api& api, const sherpa::VoiceActivityDetector& detector,
                           Handler handler)
    : m_api(api), m_detector(detector), m_handler(std::move(handler)) {}

void SileroCutter::push(std::span<const float> samples) {
    for (const float sample : samples) {
        m_window.push_back(std::isfinite(sample) ? sample : 0.0F);
        if (m_window.size() == windowSize) pushWindow();
    }
}

void SileroCutter::finish() {
    if (!m_window.empty()) {
        m_window.resize(windowSize);
        pushWindow();
    }
    m_api.voiceActivityDetectorFlush(&m_detector);
    tellSegments();
}

void SileroCutter::pushWindow() {
    callSherpa("The voice detector failed.",
               [&] { m_api.voiceActivityDetectorAcceptWaveform(&m_detector, m_window.data(), windowSize); });
    m_window.clear();
    m_windowsInside = m_api.voiceActivityDetectorDetected(&m_detector) != 0 ? m_windowsInside + 1 : 0;
    if (m_windowsInside >= mostWindows) {
        m_api.voiceActivityDetectorFlush(&m_detector);
        m_windowsInside = 0;
    }
    tellSegments();
}

void SileroCutter::tellSegments() {
    while (m_api.voiceActivityDetectorEmpty(&m_detector) == 0) {
        const SherpaHandle<sherpa::SpeechSegment> segment(m_api.voiceActivityDetectorFront(&m_detector),
                                                          m_api.destroySpeechSegment);
        m_api.voiceActivityDetectorPop(&m_detector);
        const double start = seconds(segment->start);
        m_handler({start,
                   seconds(segment->start + segment->count),
                   start,
                   {segment->samples, static_cast<std::size_t>(segment->count)}});
    }
}
