#pragma once

#include <span>
#include <string>
#include <vector>

/// One word as the recogniser's dictionary spells it; fillers such as "<sil>" are words too.
struct RecognisedWord {
    std::string text;
    double start; ///< seconds from the first sample of the cut
    double end;
};

/// Turns a cut into words. One thread.
class Recogniser {
  public:
    virtual ~Recogniser() = default;
    /// 16 kHz mono, full scale 1. Throws Error.
    virtual std::vector<RecognisedWord> recognise(std::span<const float> cut) = 0;
};
