#pragma once

#include <string>
#include <vector>

/// One utterance of one speaker.
struct Segment {
    double start;        ///< seconds from the beginning of the track; finite and below 2^63
    std::string speaker; ///< the label of its track
    std::string text;    ///< UTF-8, never empty, no white space at either end

    bool operator==(const Segment&) const = default;
};

/// The transcript: a line "[mm:ss] speaker: text" per segment, in order of their starts; equal starts keep
/// the order given. No line feed after the last line. Minutes are not folded into hours: [62:05], [100:00].
std::string transcriptText(std::vector<Segment> segments);
