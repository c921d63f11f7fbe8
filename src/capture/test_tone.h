#pragma once

#include <cstdint>
#include <vector>

inline constexpr double testToneFrequency = 18000; // hertz

/// A tone that hardly anybody hears: 18 kHz for half a second at 5 % of full scale, as a WAV file (RIFF WAVE,
/// integer PCM, 48 kHz, mono, 16 bits; 48044 bytes). The same at every call.
std::vector<std::uint8_t> testToneFile();
