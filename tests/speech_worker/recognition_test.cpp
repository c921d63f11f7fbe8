#include "base/error.h"
#include "platform/speech/worker_engine.h"
#include "support/log_capture.h"
#include "support/old_kernel.h"
#include "support/process_leftovers.h"
#include "support/sounds_without_speech.h"
#include "support/spoken_track.h"
#include "support/synthetic_voice.h"
#include "support/word_error_rate.h"

#include <cstdio>
#include <gtest/gtest.h>

namespace {

const std::vector<std::string> sentences{
    "Can you hear me now, or is the microphone still turned off?",
    "Yes, I can hear you very well, thank you.",
    "Please send me the report before the end of the week.",
    "I think that the new version is much better than the old one.",
    "How long did it take to drive from the airport to the hotel?",
    "She said that nobody had told her about the changes.",
    "There is a small problem with the second page of the document.",
    "Let us talk about the budget first and then about the schedule.",
    "My brother lives in a little house by the sea.",
    "It was raining all day and the streets were full of water.",
};

/// The real worker with the real model.
class RecognitionTest : public testing::Test {
  protected:
    void TearDown() override { EXPECT_FALSE(hasChild()); }

    std::vector<SpeechResult> recognise(const std::vector<float>& samples, std::stop_source stop = {},
                                        bool stopAtFirst = false) {
        const std::filesystem::path file = folder / "track.m4a";
        std::filesystem::remove(file);
        record(file, samples);
        WorkerEngine engine(MURMELO_WORKER, MURMELO_MODEL);
        const auto module = engine.module(Locale("en_US"));
        EXPECT_EQ(module->installationRequest(), nullptr);
        std::vector<SpeechResult> results;
        module->collectResults([&](const SpeechResult& result) {
            results.push_back(result);
            if (stopAtFirst) stop.request_stop();
        });
        const auto lastSampleTime = module->analyse(file, stop.get_token());
        EXPECT_NEAR(lastSampleTime.value_or(-1), static_cast<double>(samples.size()) / 16000, 0.001);
        return results;
    }

    std::string heard(const std::vector<float>& samples) {
        std::string text;
        for (const SpeechResult& result : recognise(samples)) text += result.text + " ";
        return text;
    }

    LogCapture log;
    TemporaryFolder folder;
};

class VoiceRecognitionTest : public RecognitionTest, public testing::WithParamInterface<const char*> {};

TEST_P(VoiceRecognitionTest, WordsAndTheirStartsAreRightInAQuietRoom) {
    std::vector<float> track = hiss(2, 0.0003F);
    std::vector<double> onsets;
    std::string said;
    double pause = 0.8;
    for (const std::string& sentence : sentences) {
        const std::vector<float> speech = spoken(GetParam(), sentence);
        onsets.push_back(static_cast<double>(track.size()) / 16000 + onsetOf(speech));
        track = joined({track, speech, hiss(pause, 0.0003F)});
        said += sentence + " ";
        pause = pause < 5 ? pause * 1.4 : 0.8;
    }
    std::string text;
    std::vector<double> starts;
    for (const SpeechResult& result : recognise(track)) {
        text += result.text + " ";
        starts.push_back(result.start);
    }
    const double errorRate = wordErrorRate(said, text);
    RecordProperty("word_error_rate", std::to_string(errorRate));
    EXPECT_LE(errorRate, 0.15) << text;
    double worst = 0;
    for (const double onset : onsets) {
        double nearest = 1e9;
        for (const double start : starts)
            if (std::abs(start - onset) < std::abs(nearest)) nearest = start - onset;
        EXPECT_NEAR(nearest, 0, 0.3) << "sentence at " << onset;
        worst = std::max(worst, std::abs(nearest));
    }
    std::printf("%s: word error rate %.3f, worst start error %.3f s\n", GetParam(), errorRate, worst);
}

INSTANTIATE_TEST_SUITE_P(Flite, VoiceRecognitionTest, testing::Values("rms", "slt"),
                         [](const auto& voice) { return std::string(voice.param); });

std::string nameOf(const testing::TestParamInfo<sounds::Sound>& sound) {
    return sound.param.name;
}

class NoWordTest : public RecognitionTest, public testing::WithParamInterface<sounds::Sound> {};

TEST_P(NoWordTest, NothingIsHeardInIt) {
    for (const float level : {0.003F, 0.03F, 0.3F})
        EXPECT_EQ(heard(joined({silence(2), GetParam().make(level), silence(2)})), "") << level;
}

INSTANTIATE_TEST_SUITE_P(Sounds, NoWordTest, testing::ValuesIn(sounds::noiseAndTones), nameOf);

class FewWordsTest : public RecognitionTest, public testing::WithParamInterface<sounds::Sound> {};

TEST_P(FewWordsTest, AtMostOneWordIsHeardInTenSecondsOfIt) {
    const std::string text = heard(joined({silence(2), GetParam().make(0.05F), silence(2)}));
    EXPECT_LE(normalisedWords(text).size(), 1U) << text;
}

INSTANTIATE_TEST_SUITE_P(Sounds, FewWordsTest, testing::ValuesIn(sounds::musicAndBarks), nameOf);

TEST_F(RecognitionTest, AStopWhileItRecognisesLeavesNothing) {
    const std::size_t descriptors = openDescriptors();
    const std::vector<float> sentence = spoken("rms", sentences[1]);
    std::vector<float> track;
    for (int i = 0; i < 12; ++i) track = joined({track, silence(1), sentence});
    try {
        recognise(track, std::stop_source(), true);
        ADD_FAILURE() << "not stopped";
    } catch (const Error& error) {
        EXPECT_EQ(error.code(), static_cast<int>(EngineFailure::stopped));
    }
    EXPECT_FALSE(hasChild());
    EXPECT_EQ(openDescriptors(), descriptors);
}

TEST_F(RecognitionTest, OnAKernelWithoutASandboxTheSameIsHeard) {
    const std::vector<float> track = joined({silence(1), spoken("rms", sentences[1]), silence(1)});
    const std::string text = heard(track);
    EXPECT_NE(text, "");
    const auto hearOnAnOldKernel = [&] {
        oldKernel::withoutLandlock(ENOSYS);
        oldKernel::withoutFilters();
        std::exit(heard(track) == text ? 0 : 1);
    };
    EXPECT_EXIT(hearOnAnOldKernel(), testing::ExitedWithCode(0), "");
}

TEST_F(RecognitionTest, AFileThatIsNoAudioIsAClearError) {
    writeFile(folder / "track.m4a", "no audio");
    WorkerEngine engine(MURMELO_WORKER, MURMELO_MODEL);
    try {
        engine.module(Locale("en_US"))->analyse(folder / "track.m4a", {});
        ADD_FAILURE() << "no error";
    } catch (const Error& error) {
        EXPECT_EQ(error.code(), static_cast<int>(EngineFailure::reported));
        EXPECT_FALSE(error.localizedDescription().empty());
    }
}

/// One file of the model is damaged, the others are as installed.
class DamagedModelTest : public RecognitionTest, public testing::WithParamInterface<const char*> {
  protected:
    DamagedModelTest() {
        std::filesystem::create_directories(model / "en-us");
        for (const std::filesystem::path part : {"", "en-us"})
            for (const auto& entry : std::filesystem::directory_iterator(installed / part))
                if (entry.is_regular_file())
                    std::filesystem::create_symlink(entry.path(), model / part / entry.path().filename());
        record(folder / "track.m4a", spoken("rms", "Hello there."));
    }

    /// What comes of it when the file holds this; nothing when it does no harm.
    std::string complaint(const std::string& content) {
        std::filesystem::remove(model / GetParam());
        writeFile(model / GetParam(), content);
        try {
            WorkerEngine(MURMELO_WORKER, model).module(Locale("en_US"))->analyse(folder / "track.m4a", {});
        } catch (const Error& error) {
            EXPECT_EQ(error.domain(), "engine");
            return error.localizedDescription();
        }
        return {};
    }

    const std::filesystem::path installed = MURMELO_MODEL;
    const std::filesystem::path model = folder / "model";
};

TEST_P(DamagedModelTest, RubbishIsAnError) {
    EXPECT_NE(complaint("rubbish"), "");
    EXPECT_NE(complaint(std::string(100000, '\xA5')), "");
}

// Of the mixture weights, sendump, the library takes what there is.
TEST_P(DamagedModelTest, HalfOfItIsAnErrorExceptOfTheWeights) {
    const std::string whole = contentOf(installed / GetParam());
    const std::string said = complaint(whole.substr(0, whole.size() / 2));
    EXPECT_EQ(said.empty(), std::string(GetParam()) == "en-us/sendump") << said;
}

INSTANTIATE_TEST_SUITE_P(Parts, DamagedModelTest,
                         testing::Values("en-us/mdef", "en-us/means", "en-us/variances", "en-us/sendump",
                                         "en-us/transition_matrices", "en-us.lm.bin", "cmudict-en-us.dict"),
                         [](const auto& part) {
                             std::string name = part.param;
                             std::replace_if(
                                 name.begin(), name.end(), [](unsigned char c) { return !std::isalnum(c); },
                                 '_');
                             return name;
                         });

} // namespace
