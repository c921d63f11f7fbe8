#pragma once

#include "platform/pipewire/playback_stream.h"

#include <spa/param/audio/raw.h>
#include <utility>
#include <vector>

/// This process plays interleaved stereo at 48 kHz, once, and silence after it until the end of the scope.
class OwnPlayback {
  public:
    OwnPlayback(PipeWireConnection& connection, std::vector<float> sound)
        : m_stream(connection, connection.connect().server,
                   {"own playback", "Own Playback", {SPA_AUDIO_CHANNEL_FL, SPA_AUDIO_CHANNEL_FR}},
                   std::move(sound)) {
        m_stream.start();
    }

  private:
    pipewire::PlaybackStream m_stream;
};
