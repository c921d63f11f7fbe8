#pragma once

#include "capture/system_audio_source.h"
#include "platform/pipewire/connection.h"

/// Hears every application by links from its stream to a recording stream of ours, before loudspeaker volume
/// and mute; what we play ourselves too.
class ProcessTapFactory final : public SystemAudioSourceFactory {
  public:
    explicit ProcessTapFactory(PipeWireConnection& connection) : m_connection(connection) {}
    std::unique_ptr<SystemAudioSource> make() override;

  private:
    PipeWireConnection& m_connection;
};
