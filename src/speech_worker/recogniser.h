#pragma once

#include "speech_worker/speech_cutter.h"

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

/// How sure a recogniser is of a word.
struct WordScore {
    double posterior; ///< its probability among all words that the search considered, 0 to 1
    double misfit;    ///< how much its sounds are less likely than the likeliest ones at that time, a natural
                      ///< logarithm per 10 ms; 2 to 3 when people speak
};

/// One word as the recogniser spells it; fillers such as "<sil>" are words too. From an engine that tells no
/// times it is all that was said in the cut.
struct RecognisedWord {
    std::string text;
    double start; ///< seconds from the first sample of the cut
    double end;
    bool joined = false;                           ///< no space stands between it and the word before
    bool timed = true;                             ///< false when start and end are those of the cut
    std::optional<WordScore> score = std::nullopt; ///< where the recogniser tells
};

/// Turns a cut into words. One thread.
class Recogniser {
  public:
    virtual ~Recogniser() = default;
    /// 16 kHz mono, full scale 1. Throws Error.
    virtual std::vector<RecognisedWord> recognise(std::span<const float> cut) = 0;
    /// The words as they are to be read. Here: words of a dictionary, made a sentence.
    virtual std::string text(std::span<const RecognisedWord> words) const;
    /// What cuts one file for it, and is gone before it. Here: VoiceActivity.
    virtual std::unique_ptr<SpeechCutter> makeCutter(SpeechCutter::Handler handler);
};
