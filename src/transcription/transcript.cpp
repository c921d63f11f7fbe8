#include "transcription/transcript.h"

#include <algorithm>
#include <array>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace {

std::string line(const Segment& segment) {
    if (!(std::abs(segment.start) < 0x1p63)) std::abort(); // the cast below has no answer
    const auto seconds = static_cast<std::int64_t>(segment.start);
    std::array<char, 32> time{}; // 17 digits of minutes and a sign fit
    std::snprintf(time.data(), time.size(), "[%02" PRId64 ":%02" PRId64 "]", seconds / 60, seconds % 60);
    return time.data() + (" " + segment.speaker) + ": " + segment.text;
}

} // namespace

std::string transcriptText(std::vector<Segment> segments) {
    std::stable_sort(segments.begin(), segments.end(),
                     [](const Segment& a, const Segment& b) { return a.start < b.start; });
    std::string text;
    for (const Segment& segment : segments) {
        if (!text.empty()) text += '\n';
        text += line(segment);
    }
    return text;
}
