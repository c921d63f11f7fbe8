#pragma once

#include "capture/tone_player.h"
#include "platform/pipewire/connection.h"

/// Plays 16-bit mono WAV files at 48 kHz. There is no player where there is no sound server or no
/// loudspeaker.
class PipeWireTonePlayerFactory final : public TonePlayerFactory {
  public:
    explicit PipeWireTonePlayerFactory(PipeWireConnection& connection) : m_connection(connection) {}
    /// May take as long as PipeWireConnection::connect.
    std::unique_ptr<TonePlayer> make(std::span<const std::uint8_t> wavFile, float volume) override;

  private:
    PipeWireConnection& m_connection;
};
