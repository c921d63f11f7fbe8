#include "speech_worker/speech_evidence.h"

#include "support/synthetic_voice.h"

#include <gtest/gtest.h>

namespace {

TEST(SpeechEvidence, AVoiceIsAVoiceWithWordsInIt) {
    for (const float level : {0.003F, 0.05F}) {
        const auto sound = joined({hiss(0.1, 0.0005F), babble(1, level), hiss(0.1, 0.0005F)});
        const SpeechEvidence evidence(sound);
        EXPECT_TRUE(evidence.hasVoice());
        EXPECT_TRUE(evidence.canBeWord(0.1, 0.6));
        EXPECT_TRUE(evidence.canBeWord(0.5, 0.53)) << "as short as the recogniser's words can be";
    }
}

TEST(SpeechEvidence, NoiseHasNoVoice) {
    EXPECT_FALSE(SpeechEvidence(hiss(20, 0.1F)).hasVoice());
    EXPECT_FALSE(SpeechEvidence(silence(1)).hasVoice());
    EXPECT_FALSE(SpeechEvidence({}).hasVoice());
    auto rumble = hiss(20, 0.1F); // falls by 6 dB an octave
    for (std::size_t i = 1; i < rumble.size(); ++i) rumble[i] = 0.98F * rumble[i - 1] + 0.1F * rumble[i];
    EXPECT_FALSE(SpeechEvidence(rumble).hasVoice());
}

TEST(SpeechEvidence, ATonePureOrSweptIsNoWord) {
    for (const double hertz : {100.0, 220.0, 440.0, 1000.0, 3000.0}) {
        const SpeechEvidence tone(sine(1, hertz, 0.1F));
        EXPECT_FALSE(tone.hasVoice()) << hertz;
        EXPECT_FALSE(tone.canBeWord(0.2, 0.7)) << hertz;
    }
    std::vector<float> sweep = silence(1);
    for (std::size_t i = 0; i < sweep.size(); ++i) {
        const double time = static_cast<double>(i) / 16000;
        sweep[i] = 0.1F * static_cast<float>(std::sin(2 * std::numbers::pi * (300 + 1500 * time) * time));
    }
    EXPECT_FALSE(SpeechEvidence(sweep).canBeWord(0.2, 0.7));
}

TEST(SpeechEvidence, ASteadyChordIsNoWord) {
    auto chord = sine(1, 262, 0.05F);
    for (const double hertz : {330.0, 392.0}) {
        const auto voice = sine(1, hertz, 0.05F);
        for (std::size_t i = 0; i < chord.size(); ++i) chord[i] += voice[i];
    }
    EXPECT_FALSE(SpeechEvidence(chord).canBeWord(0.2, 0.7));
    EXPECT_FALSE(SpeechEvidence(chord).canBeWord(0.5, 0.53));
}

TEST(SpeechEvidence, AWordEndsAfterASecondAndAHalf) {
    const SpeechEvidence evidence(babble(4, 0.05F));
    EXPECT_TRUE(evidence.canBeWord(1, 2.4));
    EXPECT_FALSE(evidence.canBeWord(1, 2.6));
}

TEST(SpeechEvidence, TimesOutsideTheCutAreNoWordAndNoHarm) {
    const SpeechEvidence evidence(babble(1, 0.05F));
    EXPECT_FALSE(evidence.canBeWord(5, 5.5));
    EXPECT_FALSE(evidence.canBeWord(-3, -2.5));
    EXPECT_TRUE(evidence.canBeWord(0.7, 1.2));
}

} // namespace
