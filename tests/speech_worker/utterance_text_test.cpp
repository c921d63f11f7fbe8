#include "speech_worker/utterance_text.h"

#include <gtest/gtest.h>

namespace {

std::string text(std::initializer_list<const char*> spelled) {
    std::vector<RecognisedWord> words;
    for (const char* word : spelled) words.push_back({word, 0, 0});
    return utteranceText(words);
}

TEST(UtteranceText, BeginsWithACapital) {
    EXPECT_EQ(text({"can", "you", "hear", "me"}), "Can you hear me");
    EXPECT_EQ(text({"<s>", "<sil>", "yes"}), "Yes");
    EXPECT_EQ(text({"'tis", "so"}), "'tis so");
}

TEST(UtteranceText, ThePronounIsACapitalAndOtherWordsAreNot) {
    EXPECT_EQ(text({"so", "i", "said", "i'm", "in", "i'll", "i've", "i'd", "it"}),
              "So I said I'm in I'll I've I'd it");
    EXPECT_EQ(text({"and", "i(2)"}), "And I");
}

TEST(UtteranceText, PronunciationMarksAndFillersAreRemoved) {
    EXPECT_EQ(text({"<s>", "going", "to(3)", "[NOISE]", "the(2)", "++BREATH++", "hotel", "</s>"}),
              "Going to the hotel");
    EXPECT_EQ(text({"<s>", "<sil>", "[SPEECH]", "++UH++", "</s>"}), "");
    EXPECT_EQ(text({}), "");
}

} // namespace
