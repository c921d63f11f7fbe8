#include "capture/mixdown.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

void mixDown(std::span<const float> mic, std::span<const float> system, std::span<float> mix) {
    for (std::size_t i = 0; i < mic.size(); ++i) mix[i] = std::clamp(mic[i] + system[i], -1.0F, 1.0F);
}

float audioLevel(std::span<const float> samples) {
    if (samples.empty()) return 0;
    double sum = 0;
    for (const float sample : samples) sum += static_cast<double>(sample) * static_cast<double>(sample);
    const double rms = std::sqrt(sum / static_cast<double>(samples.size()));
    return static_cast<float>(std::min(rms * 4.0, 1.0));
}
