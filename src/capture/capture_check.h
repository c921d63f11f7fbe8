#pragma once

#include "base/serial_queue.h"
#include "capture/system_audio_source.h"
#include "capture/tone_player.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>

/// Finds out whether the system's audio can be heard, which no system tells: by trying.
///
/// Both operations block and belong on a thread of their own; several may run at once. Nothing is left
/// behind, nothing throws, and no message is shown.
class CaptureCheck {
  public:
    struct Services {
        SystemAudioSourceFactory& systemAudio;
        TonePlayerFactory& tones;
        std::function<std::unique_ptr<SerialQueue>(std::string label)> makeQueue;
        /// Blocks the calling thread.
        std::function<void(std::chrono::milliseconds)> sleep;
    };

    explicit CaptureCheck(Services services) : m_services(std::move(services)) {}

    /// Wants to hear the system for a moment, so that the system asks the user for permission where it does
    /// that. 0.2 s.
    void primeSystemAudioPermission() const;
    /// Plays a tone that hardly anybody hears; true when the tap heard something. The log holds the loudest
    /// sample, and says when the tone is not in what was heard: then another sound was. About a second.
    bool systemAudioWorks() const;

  private:
    const Services m_services;
};
