#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <vector>

/// Looks at the sound under recognised words, because a recogniser that knows nothing but words hears words
/// in noise and in tones as well. 16 kHz mono. One object judges one cut.
///
/// What speech has and stationary noise, tones, beeps and sweeps do not have together: vocal folds somewhere
/// in the cut, energy in more than one spectral line, a spectrum that changes from one sound to the next, and
/// words that end.
class SpeechEvidence {
  public:
    explicit SpeechEvidence(std::span<const float> cut);

    /// False when nobody voiced anything in the whole cut. It cannot be asked of each word: reverberation and
    /// coding noise hide the periodicity of short ones.
    bool hasVoice() const;
    /// The share of the frames in which somebody voices something, 0 to 1.
    double voicedShare() const;
    /// Whether the sound from `start` to `end`, in seconds from the cut's beginning, can be one spoken word.
    bool canBeWord(double start, double end) const;

    static constexpr std::size_t bands = 8;

    struct Frame {
        float periodicity; ///< normalised autocorrelation at the best pitch lag, 1 for a periodic sound
        float lineShare;   ///< share of the energy that lies in the strongest spectral line
        std::array<float, bands> shape; ///< decibels of each band, less their mean
    };
    /// One per 10 ms; frame i is centred on sample 160 i + 80.
    std::span<const Frame> frames() const { return m_frames; }

  private:
    std::ptrdiff_t voicedFrames() const;
    std::size_t frameAt(double seconds) const;

    std::vector<Frame> m_frames;
};
