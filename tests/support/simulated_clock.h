#pragma once

#include "capture/block_clock.h"

#include <cmath>
#include <cstdint>
#include <vector>

/// A sound device in virtual time whose clock is a little fast or slow. A sample's value is the number of its
/// frame on the true clock, modulo `period`, plus one, in 23-bit steps: places can be told apart even in a
/// sum of two, and only silence is zero.
class SimulatedClock {
  public:
    static constexpr std::int64_t period = 1 << 22; // 87 s; exact in a float

    explicit SimulatedClock(double partsPerMillion) : m_speed(1 + partsPerMillion * 1e-6) {}

    /// The true time of the next sample, in frames and as time.
    std::int64_t trueFrame() const { return std::llround(static_cast<double>(m_given) / m_speed); }
    BlockClock::Time time() const { return BlockClock::duration(trueFrame()); }

    /// The next block, every frame `channels` times.
    void fill(std::int64_t frames, std::size_t channels, std::vector<float>& samples) {
        samples.resize(static_cast<std::size_t>(frames) * channels);
        std::int64_t number = trueFrame() % period;
        for (std::size_t i = 0; i < samples.size(); i += channels) {
            for (std::size_t c = 0; c < channels; ++c)
                samples[i + c] = static_cast<float>(number + 1) / steps;
            if (++number == period) number = 0;
        }
        m_given += frames;
    }
    void skip(std::int64_t frames) { m_given += frames; }

    /// How much later `b` is than `a`, in frames; both are sample values.
    static std::int64_t distance(float a, float b) {
        const auto difference = static_cast<std::int64_t>((b - a) * steps);
        return (difference + period + period / 2) % period - period / 2;
    }

  private:
    static constexpr float steps = 1 << 23;

    double m_speed;
    std::int64_t m_given = 0; // frames of its own
};
