#pragma once

#include <cstdint>
#include <memory>
#include <span>

/// Port: plays a short sound on the default loudspeaker, as any application would. Used by one thread at a
/// time.
class TonePlayer {
  public:
    /// Stops.
    virtual ~TonePlayer() = default;
    /// Returns at once; the sound is heard once.
    virtual void play() = 0;
    virtual void stop() noexcept = 0;
};

class TonePlayerFactory {
  public:
    virtual ~TonePlayerFactory() = default;
    /// A player of that WAV file in memory; `volume` is a factor, 1 leaves the samples as they are. Null when
    /// nothing can be played, or the file is no 16-bit mono WAV file. The bytes are needed during the call
    /// only.
    virtual std::unique_ptr<TonePlayer> make(std::span<const std::uint8_t> wavFile, float volume) = 0;
};
