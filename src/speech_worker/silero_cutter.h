#pragma once

#include "speech_worker/sherpa_library.h"
#include "speech_worker/speech_cutter.h"

#include <cstddef>
#include <filesystem>
#include <vector>

/// Loads Silero's voice activity model. Throws Error when the file is missing or no model; the library ends
/// the process when it is a model of another kind.
SherpaHandle<sherpa::VoiceActivityDetector> loadSilero(const sherpa::Api& api,
                                                       const std::filesystem::path& model);

/// Cuts where Silero's voice activity model (github.com/snakers4/silero-vad) hears a pause of 0.5 s. What
/// lasts longer than 20 s ends at the next 0.1 s of silence, and a quarter second after 25 s anyway.
class SileroCutter final : public SpeechCutter {
  public:
    /// The detector has seen no audio yet.
    SileroCutter(const sherpa::Api& api, const sherpa::VoiceActivityDetector& detector, Handler handler);

    void push(std::span<const float> samples) override;
    void finish() override;

  private:
    void pushWindow();
    void tellSegments();

    const sherpa::Api& m_api;
    const sherpa::VoiceActivityDetector& m_detector;
    Handler m_handler;
    std::vector<float> m_window;
    std::size_t m_windowsInside = 0; ///< of the segment that is open
};
