#pragma once

#include "speech_worker/recogniser.h"
#include "speech_worker/sherpa_library.h"
#include "speech_worker/sherpa_model.h"

#include <filesystem>
#include <string>

/// Recognition with sherpa-onnx, on two threads of the processor. Its models write punctuation and capitals,
/// which stay as they are. The library reports on standard error.
class SherpaRecogniser final : public Recogniser {
  public:
    /// `locale` is in the platform's form, "en_US": Whisper is told its language, the other kinds know what
    /// they hear. `voiceDetector` is a file of Silero's model, or empty: then VoiceActivity cuts. Throws
    /// Error when a model can't be loaded; the library ends the process for some that it does not like.
    SherpaRecogniser(SherpaLibrary library, const SherpaModel& model, const std::string& locale,
                     const std::filesystem::path& voiceDetector);

    std::vector<RecognisedWord> recognise(std::span<const float> cut) override;
    std::string text(std::span<const RecognisedWord> words) const override;
    std::unique_ptr<SpeechCutter> makeCutter(SpeechCutter::Handler handler) override;

  private:
    SherpaLibrary m_library;
    const sherpa::Api& m_api = m_library.api();
    SherpaHandle<sherpa::OfflineRecognizer> m_recognizer;
    SherpaHandle<sherpa::VoiceActivityDetector> m_detector;
};

/// Whisper's code for the language of a locale.
std::string whisperLanguage(const std::string& locale);
