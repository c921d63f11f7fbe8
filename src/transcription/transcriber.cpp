#include "transcription/transcriber.h"

#include "base/debug_log.h"
#include "base/error.h"
#include "base/number_text.h"
#include "base/recording_files.h"
#include "transcription/atomic_file.h"
#include "transcription/file_transcription.h"
#include "transcription/locale_choice.h"
#include "transcription/with_timeout.h"

#include <algorithm>
#include <array>
#include <exception>
#include <iterator>
#include <system_error>
#include <utility>

struct Transcriber::Track {
    const char* fileName;
    const char* speaker;
};

namespace {

void throwIfRequested(const std::stop_token& stop) {
    if (stop.stop_requested()) throw Error("transcriber", 3, "Transcription cancelled.");
}

/// Of a track's time: a download that takes longer leaves the rest to an engine that needs none.
constexpr double shareOfPreparations = 2.0 / 3;

/// The upper bound only meets damaged files, which may claim any length.
double timeoutFor(double duration) {
    return std::clamp(3 * duration, 180.0, longestTimeout);
}

void logFailure(const std::string& track, const Error& error) {
    DebugLog::log("[ts] " + track + " failed: " + error.printed());
}

} // namespace

Transcriber::Transcriber(SpeechEngine& engine, AudioFileInfo& audioFiles, SerialQueue& timers,
                         std::function<Locale()> currentLocale)
    : m_engine(engine), m_audioFiles(audioFiles), m_timers(timers),
      m_currentLocale(std::move(currentLocale)) {}

Locale Transcriber::pickLocale() {
    const Locale current = m_currentLocale();
    try {
        return ::pickLocale(current, m_engine.supportedLocales());
    } catch (const std::exception&) { // a list that cannot be had is an empty list
        return ::pickLocale(current, {});
    }
}

std::vector<Segment> Transcriber::transcribe(const std::filesystem::path& file, const Locale& locale,
                                             const std::string& speaker, const std::stop_token& stop) {
    return transcribeFile(m_engine, m_audioFiles, {file, locale, speaker}, {stop}, [](const Segment&) {});
}

std::filesystem::path Transcriber::transcribeRecording(const std::filesystem::path& folder,
                                                       const std::stop_token& stop) {
    // At equal times the earlier track's line comes first. The mix holds both speakers and serves nobody.
    constexpr std::array<Track, 2> tracks{{{voiceFileName, "You"}, {systemFileName, "Audio"}}};

    const Locale locale = pickLocale();
    DebugLog::log("[ts] locale=" + locale.identifier());

    std::vector<Segment> segments;
    for (const Track& track : tracks) { // one after the other: an engine may need the whole machine
        throwIfRequested(stop);
        std::vector<Segment> more = transcribeTrack(folder, track, locale, stop);
        std::move(more.begin(), more.end(), std::back_inserter(segments));
    }
    throwIfRequested(stop);
    if (segments.empty()) throw Error("transcriber", 1, "No speech recognized.");

    const std::size_t count = segments.size();
    std::filesystem::path transcript = folder / transcriptFileName;
    replaceFileAtomically(transcript, transcriptText(std::move(segments)));
    DebugLog::log("[ts] wrote " + transcript.filename().string() + " segments=" + std::to_string(count));
    return transcript;
}

/// Empty when the track is skipped or fails.
std::vector<Segment> Transcriber::transcribeTrack(const std::filesystem::path& folder, const Track& track,
                                                  const Locale& locale, const std::stop_token& stop) {
    const std::filesystem::path file = folder / track.fileName;
    const std::optional<double> duration = durationWorthTranscribing(file, stop);
    if (!duration) return {};
    report({track.fileName, 0, *duration});
    const double timeout = timeoutFor(*duration);
    std::stop_source preparations;
    m_timers.asyncAfter(timeSpan(shareOfPreparations * timeout),
                        [preparations]() mutable { preparations.request_stop(); });
    try {
        return withTimeout(timeout, m_timers, stop, [&](const std::stop_token& ending) {
            return transcribeFile(
                m_engine, m_audioFiles, {file, locale, track.speaker}, {ending, preparations.get_token()},
                [&](const Segment& segment) { report({track.fileName, segment.start, *duration}); });
        });
    } catch (const Error& error) {
        logFailure(track.fileName, error);
    } catch (const std::exception& other) { // out of memory, say: it must not cost the other track
        logFailure(track.fileName, Error("engine", 1, other.what()));
    }
    return {};
}

std::optional<double> Transcriber::durationWorthTranscribing(const std::filesystem::path& file,
                                                             const std::stop_token& stop) {
    std::error_code ignored;
    if (!std::filesystem::exists(file, ignored)) return std::nullopt;
    AudioFileFacts facts{};
    try {
        facts = m_audioFiles.facts(file, stop);
    } catch (const std::exception&) { // silently: a recording without sound on one side is an ordinary one
        return std::nullopt;
    }
    if (!(facts.sampleRate > 0)) return std::nullopt;
    const double duration = static_cast<double>(facts.frames) / facts.sampleRate;
    if (duration > 0.5) return duration;
    DebugLog::log("[ts] skipping " + file.filename().string() + ": " + fixedDecimal(duration, 2) +
                  "s of audio");
    return std::nullopt;
}

void Transcriber::report(const TranscriptionProgress& progress) const {
    if (onProgress) onProgress(progress);
}
