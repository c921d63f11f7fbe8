#pragma once

#include "base/serial_queue.h"
#include "transcription/audio_file_info.h"
#include "transcription/locale.h"
#include "transcription/speech_engine.h"
#include "transcription/transcript.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

/// How far the recognition of a recording has come.
struct TranscriptionProgress {
    std::string track;  ///< the track's file name
    double secondsDone; ///< the start of its latest utterance; 0 at its beginning
    double duration;    ///< the track's length in seconds
};

/// Turns a recording into a transcript of two speakers: who speaks is the track that they are heard on.
///
/// The operations block for as long as recognition takes and belong on a thread of their own; they share
/// nothing, several may run at once. `timers` is only asked for delayed tasks, which are short and may
/// outlive this object.
class Transcriber {
  public:
    Transcriber(SpeechEngine& engine, AudioFileInfo& audioFiles, SerialQueue& timers,
                std::function<Locale()> currentLocale);

    /// The locale to recognise in, asked for afresh each time. Never fails.
    Locale pickLocale();

    /// The utterances of one file, in the engine's order. Throws what a port throws, also soon after a stop.
    std::vector<Segment> transcribe(const std::filesystem::path& file, const Locale& locale,
                                    const std::string& speaker, const std::stop_token& stop);

    /// Transcribes the voice track and then the system track, each within three times its length (three
    /// minutes at least), and writes transcript.txt into the folder. Returns its path. A model that is still
    /// being installed after two thirds of that time is no longer waited for where the engine can do without.
    ///
    /// A track that is missing, unreadable, too short or that fails costs its own lines only; the log says
    /// why. Throws Error: "transcriber" 1 when no track yields an utterance, "transcriber" 3 after a stop
    /// request, "posix" when the transcript cannot be written. An earlier transcript then stays as it was.
    std::filesystem::path transcribeRecording(const std::filesystem::path& folder,
                                              const std::stop_token& stop);

    /// Called by transcribeRecording on its thread, at the start of each track and for each utterance. Set it
    /// before; it must not throw.
    std::function<void(const TranscriptionProgress&)> onProgress;

  private:
    struct Track;
    std::vector<Segment> transcribeTrack(const std::filesystem::path& folder, const Track& track,
                                         const Locale& locale, const std::stop_token& stop);
    std::optional<double> durationWorthTranscribing(const std::filesystem::path& file,
                                                    const std::stop_token& stop);
    void report(const TranscriptionProgress& progress) const;

    SpeechEngine& m_engine;
    AudioFileInfo& m_audioFiles;
    SerialQueue& m_timers;
    const std::function<Locale()> m_currentLocale;
};
