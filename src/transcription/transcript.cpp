#include "transcription/transcript.h"

#include "base/number_text.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace {

std::string line(const Segment& segment) {
    if (!(std::abs(segment.start) < 0x1p63)) std::abort(); // no whole number of seconds says that
    return "[" + minutesAndSeconds(segment.start) + "] " + segment.speaker + ": " + segment.text;
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
