#pragma once

#include "speech_worker/speech_cutter.h"

#include <cstddef>
#include <span>
#include <vector>

/// Cuts a stream of 16 kHz mono audio at its pauses, by energy above a tracked noise floor.
///
/// Frames of 10 ms. The floor under a frame is the 15th percentile of the energies from 10 s before it to 10
/// s after it, so a cut is known at most 10 s of audio after its end. Three frames 9 dB above the floor begin
/// a cut; 0.3 s less than 6 dB above it end the cut. Shorter than 0.2 s is dropped. What lasts longer than 20
/// s is parted at the quietest place of its last 5 s. Holds at most 33 s of audio, however long the stream.
class VoiceActivity final : public SpeechCutter {
  public:
    static constexpr int sampleRate = 16000;

    using Cut = SpeechCut;

    explicit VoiceActivity(Handler handler);

    void push(std::span<const float> samples) override;
    void finish() override;

    /// How many samples came so far.
    std::size_t sampleCount() const { return m_dropped + m_samples.size(); }
    /// How many of them are still held.
    std::size_t heldSamples() const { return m_samples.size(); }

  private:
    void addFrames();
    void decide(bool ending);
    void classify(std::size_t frame, float floor);
    void part(std::size_t frame);
    void emit(std::size_t begin, std::size_t end, bool padFront, bool padBack);
    void forget();
    float energy(std::size_t frame) const { return m_energies[frame - m_firstEnergy]; }
    float floorAround(std::size_t frame) const;

    Handler m_handler;
    std::vector<float> m_samples; ///< those from sample m_dropped on
    std::size_t m_dropped = 0;
    std::vector<float> m_energies; ///< decibels, from frame m_firstEnergy on
    std::size_t m_firstEnergy = 0;
    std::size_t m_frames = 0;  ///< measured so far
    std::size_t m_decided = 0; ///< classified so far
    float m_filterInput = 0;
    float m_filterOutput = 0;

    bool m_inside = false;
    bool m_parted = false; ///< the open cut continues one that grew too long
    std::size_t m_begin = 0;
    std::size_t m_quietFrames = 0;
    std::size_t m_loudFrames = 0;
};
