#pragma once

#include "support/synthetic_voice.h"

#include <array>
#include <ostream>
#include <span>
#include <vector>

/// Ten seconds each of something in which nobody speaks, 16 kHz mono; `level` is its root mean square where
/// it sounds, full scale 1. The same each time.

namespace sounds {

constexpr double length = 10; // seconds
constexpr double turn = 2 * std::numbers::pi;

/// Adds `sound` from `at` seconds on, as far as there is room.
inline void mixIn(std::vector<float>& all, double at, std::span<const float> sound, float gain = 1) {
    const auto first = static_cast<std::size_t>(std::lround(at * 16000));
    for (std::size_t i = 0; i < sound.size() && first + i < all.size(); ++i)
        all[first + i] += gain * sound[i];
}

inline std::vector<float> scaled(std::vector<float> samples, float level) {
    double sum = 0;
    std::size_t count = 0;
    for (const float sample : samples) {
        sum += static_cast<double>(sample) * sample;
        count += sample != 0 ? 1 : 0;
    }
    const auto gain =
        static_cast<float>(level / std::sqrt(sum / static_cast<double>(std::max<std::size_t>(count, 1))));
    for (float& sample : samples) sample *= gain;
    return samples;
}

inline std::vector<float> repeated(const std::vector<float>& sound, double pause) {
    std::vector<float> all = silence(length);
    const double step = static_cast<double>(sound.size()) / 16000 + pause;
    for (double at = 0; at < length; at += step) mixIn(all, at, sound);
    return all;
}

// Noise and tones

inline std::vector<float>
pinkNoise(float level) { // three poles, within 1 dB of -3 dB an octave (Kellet's filter)
    std::vector<float> noise = hiss(length, 1);
    float b0 = 0;
    float b1 = 0;
    float b2 = 0;
    for (float& sample : noise) {
        b0 = 0.99765F * b0 + sample * 0.0990460F;
        b1 = 0.96300F * b1 + sample * 0.2965164F;
        b2 = 0.57000F * b2 + sample * 1.0526913F;
        sample = b0 + b1 + b2 + sample * 0.1848F;
    }
    return scaled(noise, level);
}

inline std::vector<float> brownNoise(float level) {
    std::vector<float> noise = hiss(length, 1);
    for (std::size_t i = 1; i < noise.size(); ++i) noise[i] = 0.98F * noise[i - 1] + 0.1F * noise[i];
    return scaled(noise, level);
}

inline std::vector<float> sweep(float level) {
    std::vector<float> samples = silence(length);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double time = static_cast<double>(i) / 16000;
        samples[i] = static_cast<float>(std::sin(turn * (100 + 150 * time) * time));
    }
    return scaled(samples, level);
}

inline std::vector<float> square(double seconds, double hertz) {
    std::vector<float> samples = sine(seconds, hertz, 1);
    for (float& sample : samples) sample = sample < 0 ? -1.0F : 1.0F;
    return samples;
}

// Music

inline double noteHertz(int semitonesAboveA) {
    return 440 * std::exp2(semitonesAboveA / 12.0);
}

/// A string that is plucked (Karplus and Strong, 1983).
inline std::vector<float> plucked(double seconds, double hertz) {
    const auto period = static_cast<std::size_t>(std::lround(16000 / hertz));
    std::vector<float> samples = hiss(seconds, 0.3F);
    for (std::size_t i = period + 1; i < samples.size(); ++i)
        samples[i] = 0.498F * (samples[i - period] + samples[i - period - 1]);
    return samples;
}

/// A bowed or blown note: harmonics that fall by 1/n, vibrato, a slow attack.
inline std::vector<float> sustained(double seconds, double hertz) {
    std::vector<float> samples = silence(seconds);
    double phase = 0;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double time = static_cast<double>(i) / 16000;
        const double envelope = std::min({1.0, time / 0.06, (seconds - time) / 0.08});
        phase += turn * hertz * (1 + 0.006 * std::sin(turn * 5.5 * time)) / 16000;
        for (int harmonic = 1; harmonic * hertz < 7000; ++harmonic)
            samples[i] += static_cast<float>(0.2 * envelope * std::sin(harmonic * phase) / harmonic);
    }
    return samples;
}

inline std::vector<float> kick() {
    std::vector<float> samples = silence(0.2);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double time = static_cast<double>(i) / 16000;
        samples[i] = static_cast<float>(std::exp(-time * 18) *
                                        std::sin(turn * (50 * time + 6 * (1 - std::exp(-time * 30)))));
    }
    return samples;
}

inline std::vector<float> snare() {
    std::vector<float> samples = hiss(0.18, 0.4F);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double time = static_cast<double>(i) / 16000;
        samples[i] =
            static_cast<float>(std::exp(-time * 25) * (samples[i] + 0.3 * std::sin(turn * 190 * time)));
    }
    return samples;
}

inline constexpr std::array<int, 16> melody{0, 3, 7, 10, 12, 10, 7, 3, -2, 2, 5, 10, 5, 2, -2, -5};

inline std::vector<float> guitar(float level) {
    std::vector<float> all = silence(length);
    for (int beat = 0; beat * 0.25 < length; ++beat)
        mixIn(all, beat * 0.25, plucked(1.2, noteHertz(melody[beat % 16] - 12)));
    return scaled(all, level);
}

inline std::vector<float> violin(float level) {
    std::vector<float> all = silence(length);
    for (int beat = 0; beat * 0.4 < length; ++beat)
        mixIn(all, beat * 0.4, sustained(0.42, noteHertz(melody[beat % 16])));
    return scaled(all, level);
}

inline std::vector<float> organ(float level) {
    std::vector<float> all = silence(length);
    for (int bar = 0; bar < 5; ++bar)
        for (const int third : {-24, -12, -9, -5, 0})
            mixIn(all, bar * 2.0, sustained(2, noteHertz(third + std::array{0, 5, -2, 7, 0}[bar])), 0.3F);
    return scaled(all, level);
}

inline std::vector<float> drums(float level) {
    std::vector<float> all = silence(length);
    for (int beat = 0; beat * 0.25 < length; ++beat) {
        if (beat % 4 == 0 || beat % 8 == 3) mixIn(all, beat * 0.25, kick());
        if (beat % 4 == 2) mixIn(all, beat * 0.25, snare());
    }
    return scaled(all, level);
}

inline std::vector<float> band(float level) {
    std::vector<float> all = silence(length);
    mixIn(all, 0, drums(0.1F));
    mixIn(all, 0, organ(0.05F));
    mixIn(all, 0, guitar(0.07F));
    mixIn(all, 1, violin(0.07F));
    return scaled(all, level);
}

/// A dog: 0.18 s of harmonics that rise and fall between 400 and 800 Hz, rough, loudest around 1200 Hz.
inline std::vector<float> bark() {
    std::vector<float> samples = hiss(0.18, 0.15F);
    double phase = 0;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double time = static_cast<double>(i) / 16000;
        const double arch = std::sin(std::numbers::pi * time / 0.18);
        const double hertz = 400 + 400 * arch;
        phase += turn * hertz / 16000;
        double sum = samples[i];
        for (int harmonic = 1; harmonic * hertz < 6000; ++harmonic) {
            const double distance = (harmonic * hertz - 1200) / 600;
            sum += std::sin(harmonic * phase) / (1 + distance * distance);
        }
        samples[i] = static_cast<float>(arch * sum);
    }
    return samples;
}

inline std::vector<float> barkingDog(float level) {
    std::vector<float> all = silence(length);
    for (const double at : {0.2, 0.6, 1.0, 2.6, 3.0, 4.5, 4.85, 5.2, 5.55, 7.5, 8.0, 9.2})
        mixIn(all, at, bark());
    return scaled(all, level);
}

struct Sound {
    const char* name;
    std::vector<float> (*make)(float level);
};
inline void PrintTo(const Sound& sound, std::ostream* stream) {
    *stream << sound.name;
}

inline const std::vector<Sound> noiseAndTones{
    {"silence", [](float) { return silence(length); }},
    {"white_noise", [](float level) { return hiss(length, level); }},
    {"pink_noise", pinkNoise},
    {"brown_noise", brownNoise},
    {"noise_bursts", [](float level) { return repeated(hiss(0.5, level), 0.5); }},
    {"low_tone", [](float level) { return scaled(sine(length, 220, 1), level); }},
    {"high_tone", [](float level) { return scaled(sine(length, 3000, 1), level); }},
    {"sweep", sweep},
    {"beeps", [](float level) { return scaled(repeated(sine(0.3, 1000, 1), 0.35), level); }},
    {"alarm", [](float level) { return scaled(repeated(square(0.3, 440), 0.35), level); }},
};

inline const std::vector<Sound> musicAndBarks{
    {"guitar", guitar}, {"violin", violin}, {"organ", organ},
    {"drums", drums},   {"band", band},     {"dog", barkingDog},
};

} // namespace sounds
