#include "speech_worker/spoken_path.h"

#include "speech_worker/speech_evidence.h"
#include "support/synthetic_voice.h"

#include <gtest/gtest.h>

namespace {

struct Piece {
    double seconds;
    double posterior;
    double misfit = 2.5;
    const char* text = "word";
};

bool spokenPath(const std::vector<Piece>& pieces, double voicedShare = 0.4) {
    std::vector<RecognisedWord> words{{.text = "<s>", .start = 0, .end = 0.3, .score = WordScore{1, 9}}};
    for (const Piece& piece : pieces) {
        const double start = words.back().end;
        words.push_back({.text = piece.text,
                         .start = start,
                         .end = start + piece.seconds,
                         .score = WordScore{piece.posterior, piece.misfit}});
    }
    return looksSpoken(words, voicedShare);
}

TEST(SpokenPath, WordsThatTheSearchIsSureOfWereSpoken) {
    EXPECT_TRUE(spokenPath({{0.3, 0.9}, {0.25, 0.4}, {0.4, 1}}));
    EXPECT_TRUE(spokenPath({{0.35, 0.8}})) << "one word alone";
}

TEST(SpokenPath, WordsThatFitBadlyWereSpokenInNoiseButNotInAClearSound) {
    const std::vector<Piece> words{{0.3, 0.3, 4.2}, {0.25, 0.3, 4.2}};
    EXPECT_TRUE(spokenPath(words, 0.2));
    EXPECT_FALSE(spokenPath(words, 0.9));
}

TEST(SpokenPath, WordsThatOthersCouldReplaceAndThatAreLongWereNot) {
    EXPECT_FALSE(spokenPath({{0.5, 0.1}, {0.45, 0.05}, {0.5, 0.2}}));
}

TEST(SpokenPath, WordsLongerOrShorterThanPeoplesWereNot) {
    EXPECT_FALSE(spokenPath({{1.4, 0.9}, {1.5, 0.9}}));
    EXPECT_FALSE(spokenPath({{0.06, 0.1}}));
}

TEST(SpokenPath, WordsAmongFillersWereNot) {
    EXPECT_FALSE(spokenPath({{0.3, 0.5}, {0.6, 0.5, 2.5, "[SPEECH]"}, {0.3, 0.5}}));
}

TEST(SpokenPath, WithoutAWordNothingWas) {
    EXPECT_FALSE(spokenPath({}));
    EXPECT_FALSE(spokenPath({{0.3, 1, 2.5, "<sil>"}}));
}

TEST(SpokenPath, ARecogniserWithoutScoresIsBelieved) {
    EXPECT_TRUE(looksSpoken(std::vector<RecognisedWord>{{"hello", 0, 3}}, 1));
}

TEST(SpokenPath, TheVoicedShareIsThatOfTheCut) {
    EXPECT_NEAR(SpeechEvidence(joined({babble(1, 0.05F), hiss(1, 0.05F)})).voicedShare(), 0.5, 0.05);
    EXPECT_EQ(SpeechEvidence({}).voicedShare(), 0);
}

} // namespace
