#include "base/error.h"
#include "platform/posix/child_process.h"
#include "platform/posix/regular_file.h"
#include "speech_worker/protocol.h"
#include "speech_worker/sherpa_recogniser.h"
#include "speech_worker/silero_cutter.h"
#include "support/old_kernel.h"
#include "support/process_leftovers.h"
#include "support/spoken_track.h"
#include "support/synthetic_voice.h"

#include <cstdlib>
#include <gmock/gmock.h>
#include <iostream>

namespace {

using testing::HasSubstr;
using testing::IsEmpty;

const std::filesystem::path toys = MURMELO_TOY_MODELS;

/// What a run of the worker gave.
struct Answer {
    std::vector<protocol::Utterance> utterances;
    std::optional<protocol::End> end;
    std::string failure;
    std::string errors;
    ChildEnd how{};

    void read(std::string_view line) {
        const protocol::Message message = protocol::parse(line);
        if (const auto* utterance = std::get_if<protocol::Utterance>(&message))
            utterances.push_back(*utterance);
        if (const auto* last = std::get_if<protocol::End>(&message)) end = *last;
        if (const auto* refusal = std::get_if<protocol::Failure>(&message)) failure = refusal->description;
    }
};

/// The worker with the real library and models that know three vowels.
class SherpaRecognitionTest : public testing::Test {
  protected:
    void SetUp() override {
        if (!std::filesystem::exists(MURMELO_SHERPA_ONNX))
            GTEST_SKIP() << "sherpa-onnx is not here: ./test fetches it from the npm registry";
    }
    void TearDown() override { EXPECT_FALSE(hasChild()); }

    Answer transcribe(const std::filesystem::path& model, const std::string& locale = "en_US",
                      const std::filesystem::path& voiceDetector = {}) {
        if (!std::filesystem::exists(track)) record(track, audio);
        std::vector<std::string> arguments{"--model", model, "--locale", locale, "3"};
        if (!voiceDetector.empty())
            arguments.insert(arguments.begin(), {std::string("--vad"), voiceDetector.string()});
        std::vector<FileHandle> files;
        files.push_back(openRegularFile(track));
        ChildProcess process(worker, arguments, std::move(files));
        Answer answer;
        answer.how = process.run([&](std::string_view line) { answer.read(line); }, {});
        answer.errors = process.errors();
        return answer;
    }

    /// A model's folder of our own, whose files a test may spoil.
    std::filesystem::path copyOf(const std::string& kind) {
        std::filesystem::path copy = folder / kind;
        std::filesystem::remove_all(copy);
        std::filesystem::copy(toys / kind, copy);
        return copy;
    }

    /// It said why it can't, or its engine ended the process with words on standard error.
    static void expectFailure(const Answer& answer) {
        EXPECT_THAT(answer.utterances, IsEmpty());
        EXPECT_FALSE(answer.end);
        if (answer.how.how == ChildEnd::How::exited) {
            EXPECT_NE(answer.how.value, 0);
        }
        EXPECT_TRUE(!answer.failure.empty() || !answer.errors.empty());
    }

    TemporaryFolder folder;
    std::filesystem::path worker = MURMELO_WORKER;
    std::filesystem::path track = folder / "track.m4a";
    std::vector<float> audio =
        joined({hiss(2, 0.0003F), toyHelloThere(), hiss(1.3, 0.0003F), toyHello(), hiss(1, 0.0003F)});
};

class SherpaKindTest : public SherpaRecognitionTest, public testing::WithParamInterface<const char*> {};

TEST_P(SherpaKindTest, WritesWhatItHearsWithItsTimesCapitalsAndPunctuation) {
    const Answer answer = transcribe(toys / GetParam());
    ASSERT_EQ(answer.utterances.size(), 2U) << answer.failure << answer.errors;
    EXPECT_EQ(answer.utterances[0].text, "Hello there.");
    EXPECT_NEAR(answer.utterances[0].start, 2, 0.05);
    EXPECT_NEAR(answer.utterances[0].end, 3.2, 0.05);
    EXPECT_EQ(answer.utterances[1].text, "Hello");
    EXPECT_NEAR(answer.utterances[1].start, 4.5, 0.05);
    ASSERT_TRUE(answer.end);
    EXPECT_NEAR(answer.end->lastSampleTime.value_or(0), 6.3, 0.001);
    EXPECT_EQ(answer.how.value, 0);
}

TEST_P(SherpaKindTest, OnAKernelWithoutASandboxItHearsTheSameAndSaysWhatIsMissing) {
    const auto hearOnAnOldKernel = [this] {
        oldKernel::withoutLandlock(ENOSYS);
        oldKernel::withoutFilters();
        const Answer answer = transcribe(toys / GetParam());
        std::cerr << answer.errors;
        std::exit(answer.utterances.size() == 2 && answer.utterances[0].text == "Hello there." ? 0 : 1);
    };
    EXPECT_EXIT(hearOnAnOldKernel(), testing::ExitedWithCode(0),
                "this kernel does not limit which files a process may open: Function not implemented\n"
                "this kernel does not let a process give up its rights");
}

TEST_P(SherpaKindTest, HearsNothingInSilenceNoiseAndTones) {
    audio = joined({silence(1), hiss(2, 0.03F), silence(1), sine(2, 500, 0.1F), silence(1)});
    const Answer answer = transcribe(toys / GetParam());
    EXPECT_THAT(answer.utterances, IsEmpty());
    EXPECT_TRUE(answer.end) << answer.failure << answer.errors;
}

TEST_P(SherpaKindTest, ADamagedModelEndsInOrder) {
    const std::filesystem::path model = copyOf(GetParam());
    for (const auto& entry : std::filesystem::directory_iterator(toys / GetParam())) {
        if (entry.path().extension() != ".onnx") continue;
        const std::string whole = contentOf(entry.path());
        for (const std::string& damaged : {std::string(), whole.substr(0, whole.size() / 2)}) {
            writeFile(model / entry.path().filename(), damaged);
            const Answer answer = transcribe(model);
            expectFailure(answer);
            EXPECT_EQ(answer.failure, "The speech model " + model.string() + " can't be loaded.");
            EXPECT_THAT(answer.errors, HasSubstr(entry.path().filename().string()));
        }
        writeFile(model / entry.path().filename(), whole);
    }
    EXPECT_TRUE(transcribe(model).end);
}

TEST_P(SherpaKindTest, DamagedTokensEndInOrder) {
    const std::filesystem::path model = copyOf(GetParam());
    writeFile(model / "tokens.txt", "rubbish");
    expectFailure(transcribe(model));
}

INSTANTIATE_TEST_SUITE_P(Toys, SherpaKindTest, testing::Values("nemo_ctc", "nemo_transducer"),
                         [](const auto& kind) { return std::string(kind.param); });

TEST_F(SherpaRecognitionTest, WhisperWritesTheLanguageOfTheLocale) {
    audio = joined({silence(1), toyHelloThere(), silence(1)});
    for (const auto& [locale, text] :
         {std::pair("en_GB", "Hello there."), std::pair("de_AT", "Hallo zusammen."),
          std::pair("ja_JP", "\u3053\u3093\u306b\u3061\u306f\u3002")}) {
        const Answer answer = transcribe(toys / "whisper", locale);
        ASSERT_EQ(answer.utterances.size(), 1U) << answer.failure << answer.errors;
        EXPECT_EQ(answer.utterances[0].text, text);
        EXPECT_NEAR(answer.utterances[0].start, 1, 0.05);
    }
}

TEST_F(SherpaRecognitionTest, WhisperEndsWithItsReasonWhenItDoesNotKnowTheLanguage) {
    const Answer answer = transcribe(toys / "whisper", "ia");
    expectFailure(answer);
    EXPECT_THAT(answer.errors, HasSubstr("Invalid language: ia"));
}

TEST_F(SherpaRecognitionTest, ADamagedWhisperEndsInOrder) {
    for (const char* part : {"toy-encoder.int8.onnx", "toy-decoder.int8.onnx"}) {
        const std::filesystem::path model = copyOf("whisper");
        writeFile(model / part, "rubbish");
        expectFailure(transcribe(model));
    }
}

TEST_F(SherpaRecognitionTest, AModelOfAnotherKindThanItSaysEndsInOrder) {
    const std::filesystem::path model = copyOf("nemo_ctc");
    std::filesystem::copy_file(toys / "whisper/toy-encoder.int8.onnx", model / "model.int8.onnx",
                               std::filesystem::copy_options::overwrite_existing);
    expectFailure(transcribe(model));
    writeFile(model / "model.json", R"({"kind": "nemo_transducer"})");
    EXPECT_EQ(transcribe(model).failure,
              "The speech model " + model.string() + " can't be used: it has no file like *encoder*.onnx.");
}

TEST_F(SherpaRecognitionTest, AFileThatIsNoAudioIsAClearError) {
    writeFile(track, "no audio");
    const Answer answer = transcribe(toys / "nemo_ctc");
    expectFailure(answer);
    EXPECT_FALSE(answer.failure.empty());
}

TEST_F(SherpaRecognitionTest, WithoutTheLibraryTheWorkerSaysSo) {
    std::filesystem::create_directories(folder / "libexec");
    worker = folder / "libexec/worker";
    std::filesystem::copy_file(MURMELO_WORKER, worker);
    const Answer answer = transcribe(toys / "nemo_ctc");
    expectFailure(answer);
    EXPECT_THAT(answer.failure, HasSubstr("/lib/murmelo/sherpa-onnx/1.13.8/libonnxruntime.so is missing."));
}

TEST_F(SherpaRecognitionTest, SileroCutsWhereItsModelIsGiven) {
    // A pause that is long enough for our own detector and too short for Silero.
    audio = joined({silence(2), toyHelloThere(), silence(0.4), toyHello(), silence(1)});
    EXPECT_EQ(transcribe(toys / "nemo_ctc").utterances.size(), 2U);
    const Answer answer = transcribe(toys / "nemo_ctc", "en_US", toys / "silero_vad/silero_vad.onnx");
    ASSERT_EQ(answer.utterances.size(), 1U) << answer.failure << answer.errors;
    EXPECT_EQ(answer.utterances[0].text, "Hello there. Hello");
    EXPECT_NEAR(answer.utterances[0].start, 2, 0.1);
    EXPECT_NEAR(answer.utterances[0].end, 4.4, 0.1);
}

TEST_F(SherpaRecognitionTest, AVoiceDetectorThatIsNoneEndsInOrder) {
    const auto with = [&](const std::filesystem::path& detector) {
        const Answer answer = transcribe(toys / "nemo_ctc", "en_US", detector);
        expectFailure(answer);
        return answer.failure;
    };
    EXPECT_EQ(with("/nowhere/silero_vad.onnx"), "The voice detector /nowhere/silero_vad.onnx is missing.");
    writeFile(folder / "silero_vad.onnx", "rubbish");
    EXPECT_EQ(with(folder / "silero_vad.onnx"),
              "The voice detector " + (folder / "silero_vad.onnx").string() + " can't be loaded.");
    with(toys / "nemo_ctc/model.int8.onnx");
}

/// The real library in this process.
class SherpaRecogniserTest : public testing::Test {
  protected:
    void SetUp() override {
        if (!std::filesystem::exists(MURMELO_SHERPA_ONNX))
            GTEST_SKIP() << "sherpa-onnx is not here: ./test fetches it from the npm registry";
    }

    static std::vector<RecognisedWord> wordsIn(const std::vector<float>& cut, const std::string& kind) {
        SherpaRecogniser recogniser(SherpaLibrary(MURMELO_SHERPA_ONNX), SherpaModel(toys / kind), "en_US",
                                    {});
        return recogniser.recognise(cut);
    }
};

TEST_F(SherpaRecogniserTest, WordsHaveTheTimesOfTheirTokens) {
    for (const char* kind : {"nemo_ctc", "nemo_transducer", "attentive_whisper"}) {
        const auto words = wordsIn(joined({silence(0.5), toyHelloThere(), silence(0.5)}), kind);
        ASSERT_EQ(words.size(), 2U) << kind;
        EXPECT_EQ(words[0].text, "Hello");
        EXPECT_EQ(words[1].text, "there.");
        EXPECT_NEAR(words[1].start, 1.3, 0.09) << kind; // one frame of the encoder
        EXPECT_NEAR(words[1].end, 1.8, 0.09) << kind;
        EXPECT_TRUE(words[0].timed);
        if (std::string_view(kind) == "attentive_whisper") continue; // its first word begins with the cut
        EXPECT_NEAR(words[0].start, 0.5, 0.09) << kind;
    }
}

TEST_F(SherpaRecogniserTest, AModelWithoutTimesSaysAllThatWasSaidInTheCut) {
    const auto words = wordsIn(joined({silence(0.5), toyHelloThere(), silence(0.5)}), "whisper");
    ASSERT_EQ(words.size(), 1U);
    EXPECT_EQ(words[0].text, "Hello there.");
    EXPECT_FALSE(words[0].timed);
    EXPECT_EQ(words[0].start, 0);
    EXPECT_DOUBLE_EQ(words[0].end, 2.2);
}

TEST_F(SherpaRecogniserTest, OneRecogniserHearsManyCutsAndForgetsThem) {
    SherpaRecogniser recogniser(SherpaLibrary(MURMELO_SHERPA_ONNX), SherpaModel(toys / "nemo_ctc"), "en_US",
                                {});
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(recogniser.text(recogniser.recognise(joined({silence(0.2), toyHello(), silence(0.2)}))),
                  "Hello");
        EXPECT_TRUE(recogniser.recognise(silence(0.3)).empty());
    }
}

class SileroCutterTest : public testing::Test {
  protected:
    void SetUp() override {
        if (!std::filesystem::exists(MURMELO_SHERPA_ONNX))
            GTEST_SKIP() << "sherpa-onnx is not here: ./test fetches it from the npm registry";
    }

    struct Cut {
        double start;
        double end;
        std::vector<float> samples;
    };

    static std::vector<Cut> cutsOf(const std::vector<float>& audio, std::size_t atOnce = 1000) {
        const SherpaLibrary library(MURMELO_SHERPA_ONNX);
        const auto detector = loadSilero(library.api(), toys / "silero_vad/silero_vad.onnx");
        std::vector<Cut> cuts;
        SileroCutter cutter(library.api(), *detector, [&](const SpeechCut& cut) {
            EXPECT_EQ(cut.start, cut.voicedStart);
            cuts.push_back({cut.voicedStart, cut.voicedEnd, {cut.samples.begin(), cut.samples.end()}});
        });
        const std::span<const float> all(audio);
        for (std::size_t at = 0; at < all.size(); at += atOnce)
            cutter.push(all.subspan(at, std::min(atOnce, all.size() - at)));
        cutter.finish();
        return cuts;
    }
};

TEST_F(SileroCutterTest, ACutHasTheSamplesOfItsTime) {
    const std::vector<float> audio = joined({silence(3), babble(2, 0.1F), silence(2)});
    const std::vector<Cut> cuts = cutsOf(audio);
    ASSERT_EQ(cuts.size(), 1U);
    EXPECT_NEAR(cuts[0].start, 3, 0.1);
    EXPECT_NEAR(cuts[0].end, 5, 0.1);
    const auto first = audio.begin() + std::lround(cuts[0].start * 16000);
    EXPECT_TRUE(std::equal(cuts[0].samples.begin(), cuts[0].samples.end(), first));
}

TEST_F(SileroCutterTest, ItDoesNotMatterInWhichPiecesTheAudioComes) {
    const std::vector<float> audio = joined({silence(1), babble(1, 0.1F), silence(1), babble(1, 0.1F)});
    const std::vector<Cut> whole = cutsOf(audio, audio.size());
    EXPECT_EQ(whole.size(), 2U);
    for (const std::size_t atOnce : {1, 511, 513}) {
        const std::vector<Cut> cuts = cutsOf(audio, atOnce);
        ASSERT_EQ(cuts.size(), whole.size());
        for (std::size_t i = 0; i < cuts.size(); ++i) EXPECT_EQ(cuts[i].samples, whole[i].samples);
    }
}

TEST_F(SileroCutterTest, AVoiceWithoutPauseIsPartedAndNothingIsLost) {
    const std::vector<Cut> cuts = cutsOf(babble(70, 0.1F));
    ASSERT_EQ(cuts.size(), 3U);
    for (std::size_t i = 0; i < cuts.size(); ++i) {
        EXPECT_LE(cuts[i].end - cuts[i].start, 25.3);
        EXPECT_NEAR(cuts[i].start, i == 0 ? 0 : cuts[i - 1].end, 0.001);
    }
    EXPECT_NEAR(cuts.back().end, 70, 0.04);
}

TEST_F(SileroCutterTest, SilenceAndWhatIsNotFiniteAreNoCut) {
    EXPECT_TRUE(cutsOf({}).empty());
    EXPECT_TRUE(cutsOf(silence(2)).empty());
    EXPECT_TRUE(cutsOf(std::vector<float>(32000, std::numeric_limits<float>::quiet_NaN())).empty());
    EXPECT_TRUE(cutsOf(std::vector<float>(32000, std::numeric_limits<float>::infinity())).empty());
}

} // namespace
