#include "speech_worker/worker_main.h"

#include "base/error.h"
#include "speech_worker/protocol.h"
#include "support/leaking_room.h"
#include "support/synthetic_voice.h"

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>
#include <variant>

namespace {

class ScriptedRecogniser : public Recogniser {
  public:
    explicit ScriptedRecogniser(std::vector<RecognisedWord> words) : m_words(std::move(words)) {}
    std::vector<RecognisedWord> recognise(std::span<const float>) override { return m_words; }

  private:
    std::vector<RecognisedWord> m_words;
};

/// The whole stream in one piece.
class NoCutter final : public SpeechCutter {
  public:
    explicit NoCutter(Handler handler) : m_handler(std::move(handler)) {}
    void push(std::span<const float> samples) override {
        m_samples.insert(m_samples.end(), samples.begin(), samples.end());
    }
    void finish() override { m_handler({0.25, 0.75, 0, m_samples}); }

  private:
    Handler m_handler;
    std::vector<float> m_samples;
};

/// Writes by itself and cuts by itself.
class ModernRecogniser final : public ScriptedRecogniser {
  public:
    using ScriptedRecogniser::ScriptedRecogniser;
    std::string text(std::span<const RecognisedWord> spoken) const override {
        return std::to_string(spoken.size()) + " words";
    }
    std::unique_ptr<SpeechCutter> makeCutter(SpeechCutter::Handler handler) override {
        return std::make_unique<NoCutter>(std::move(handler));
    }
};

class WorkerMainTest : public testing::Test {
  protected:
    int run(std::vector<std::string> arguments) {
        std::vector<char*> pointers;
        pointers.reserve(arguments.size());
        for (std::string& argument : arguments) pointers.push_back(argument.data());
        return runWorker(
            pointers,
            [this](const WorkerArguments& parsed) {
                seen = parsed;
                return makeRecogniser();
            },
            [this](int, const AudioSink& sink) {
                sink(audio);
                if (failure) throw Error(*failure);
            },
            [this](std::string_view line) {
                ASSERT_TRUE(line.ends_with('\n'));
                messages.push_back(protocol::parse(line.substr(0, line.size() - 1)));
            });
    }
    int run() { return run({"--model", "/m", "--locale", "en_US", "3"}); }

    template <class Kind>
    Kind message(std::size_t index) {
        return std::get<Kind>(messages.at(index));
    }

    std::function<std::unique_ptr<Recogniser>()> makeRecogniser = [this] {
        return std::make_unique<ScriptedRecogniser>(words);
    };
    std::vector<float> audio;
    std::vector<RecognisedWord> words{{"<s>", 0, 0.1}, {"hello(2)", 0.1, 0.4}, {"there", 0.4, 0.9}};
    std::optional<Error> failure;
    WorkerArguments seen;
    std::vector<protocol::Message> messages;
};

TEST_F(WorkerMainTest, TellsEachUtteranceWithItsFirstVoicedSampleAndThenTheEnd) {
    audio = joined({silence(2), babble(1, 0.05F), silence(1), babble(1, 0.05F), silence(1)});
    EXPECT_EQ(run(), 0);
    ASSERT_EQ(messages.size(), 3U);
    EXPECT_NEAR(message<protocol::Utterance>(0).start, 2, 0.011);
    EXPECT_NEAR(message<protocol::Utterance>(0).end, 3, 0.011);
    EXPECT_EQ(message<protocol::Utterance>(0).text, "Hello there");
    EXPECT_NEAR(message<protocol::Utterance>(1).start, 4, 0.011);
    EXPECT_EQ(message<protocol::End>(2).lastSampleTime, 6.0);
}

TEST_F(WorkerMainTest, ReadsItsArguments) {
    EXPECT_EQ(run({"--locale", "en_US", "--model", "/m", "7"}), 0);
    EXPECT_EQ(seen.model, "/m");
    EXPECT_EQ(seen.locale, "en_US");
    EXPECT_EQ(seen.file, 7);
    EXPECT_EQ(seen.reference, std::nullopt);
    EXPECT_EQ(seen.voiceDetector, "");
    EXPECT_EQ(run({"--vad", "/v.onnx", "--locale", "en_US", "--model", "/m", "3"}), 0);
    EXPECT_EQ(seen.voiceDetector, "/v.onnx");
}

TEST_F(WorkerMainTest, WrongUsageIsToldAndIsStatusTwo) {
    using Arguments = std::vector<std::string>;
    for (const Arguments& arguments : {Arguments{},
                                       {"3"},
                                       {"--model", "/m", "3"},
                                       {"--model", "/m", "--locale", "en_US"},
                                       {"--model", "/m", "--locale", "en_US", "3", "4"},
                                       {"--model", "/m", "--locale", "en_US", "/f.m4a"},
                                       {"--model", "/m", "--locale", "en_US", "3x"},
                                       {"--model", "/m", "--locale", "en_US", "2"},
                                       {"--model", "/m", "--locale", "en_US", "-3"},
                                       {"--model", "/m", "--locale", "en_US", "99999999999"},
                                       {"--model", "/m", "--locale", "en_US", "--reference", "/r.m4a", "3"},
                                       {"--model", "/m", "--speed", "9", "--locale", "en_US", "3"},
                                       {"--model"}}) {
        messages.clear();
        EXPECT_EQ(run(arguments), 2);
        ASSERT_EQ(messages.size(), 1U);
        EXPECT_EQ(message<protocol::Failure>(0).description,
                  "usage: --model DIR --locale ID [--vad FILE] [--reference DESCRIPTOR] DESCRIPTOR");
    }
}

TEST_F(WorkerMainTest, WithoutAudioThereIsNoLastSampleTime) {
    EXPECT_EQ(run(), 0);
    ASSERT_EQ(messages.size(), 1U);
    EXPECT_EQ(message<protocol::End>(0).lastSampleTime, std::nullopt);
}

TEST_F(WorkerMainTest, WordsOverNoiseOrTonesAreNotTold) {
    for (const auto& sound : {hiss(1, 0.1F), sine(1, 440, 0.1F)}) {
        messages.clear();
        audio = joined({silence(2), sound, silence(2)});
        EXPECT_EQ(run(), 0);
        ASSERT_EQ(messages.size(), 1U);
        EXPECT_EQ(message<protocol::End>(0).lastSampleTime, 5.0);
    }
}

TEST_F(WorkerMainTest, AWordThatNeverEndsIsDroppedFromItsUtterance) {
    audio = joined({silence(2), babble(4, 0.05F), silence(1)});
    words = {{"hello", 0.1, 0.5}, {"thank", 0.5, 3.5}, {"you", 3.5, 3.9}};
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(message<protocol::Utterance>(0).text, "Hello you");
}

TEST_F(WorkerMainTest, AWordWithoutTimesIsNotJudgedByThem) {
    audio = joined({silence(2), babble(4, 0.05F), silence(1)});
    words = {{"all that was said", 0, 4, false, false}};
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(message<protocol::Utterance>(0).text, "All that was said");
    EXPECT_NEAR(message<protocol::Utterance>(0).start, 2, 0.011);
}

TEST_F(WorkerMainTest, AnUtteranceBehindALongNoiseBeginsWithItsFirstWord) {
    audio = joined({silence(2), hiss(2, 0.1F), babble(1, 0.05F), silence(1)});
    words = {{"hello", 2.2, 2.6}};
    EXPECT_EQ(run(), 0);
    EXPECT_NEAR(message<protocol::Utterance>(0).start, 4.1, 0.011);
}

TEST_F(WorkerMainTest, ARecogniserMayCutAndWriteByItself) {
    makeRecogniser = [this] { return std::make_unique<ModernRecogniser>(words); };
    audio = babble(1, 0.05F);
    EXPECT_EQ(run(), 0);
    ASSERT_EQ(messages.size(), 2U);
    EXPECT_EQ(message<protocol::Utterance>(0).start, 0.25);
    EXPECT_EQ(message<protocol::Utterance>(0).end, 0.75);
    EXPECT_EQ(message<protocol::Utterance>(0).text, "2 words");
    EXPECT_EQ(message<protocol::End>(1).lastSampleTime, 1.0);
}

TEST_F(WorkerMainTest, AFailureIsToldBehindWhatWasRecognised) {
    audio = joined({silence(2), babble(1, 0.05F), silence(12)});
    failure = Error("ffmpeg", -5, "The file can't be read.");
    EXPECT_EQ(run(), 1);
    ASSERT_EQ(messages.size(), 2U);
    EXPECT_EQ(message<protocol::Utterance>(0).text, "Hello there");
    EXPECT_EQ(message<protocol::Failure>(1).description, "The file can't be read.");
}

/// A microphone that hears the loudspeakers, then the user.
class EchoingWorkerMainTest : public WorkerMainTest {
  protected:
    EchoingWorkerMainTest() {
        std::vector<float> played;
        for (int i = 0; i < 4; ++i)
            played = joined({played, silence(1), mixed(babble(2, 0.03F), hiss(2, 0.01F))});
        record(folder / "system.m4a", played);
        audio = joined({leaked(played, {-6, 40}), silence(1), babble(1, 0.05F), silence(1)});
    }
    int runWithReference(const std::string& name) {
        const int descriptor = ::open((folder / name).c_str(), O_RDONLY | O_CLOEXEC);
        return run({"--model", "/m", "--locale", "en_US", "--reference", std::to_string(descriptor), "3"});
    }

    TemporaryFolder folder;
};

TEST_F(EchoingWorkerMainTest, WordsThatTheComputerPlayedAreNotTold) {
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(messages.size(), 6U);
    messages.clear();
    EXPECT_EQ(runWithReference("system.m4a"), 0);
    ASSERT_EQ(messages.size(), 2U);
    EXPECT_NEAR(message<protocol::Utterance>(0).start, 13, 0.011);
    EXPECT_EQ(message<protocol::Utterance>(0).text, "Hello there");
    EXPECT_EQ(message<protocol::End>(1).lastSampleTime, 15.0);
}

TEST_F(EchoingWorkerMainTest, AReferenceThatCannotBeUsedCostsNothingButALineOnStandardError) {
    writeFile(folder / "rubbish.m4a", "rubbish");
    writeFile(folder / "nothing.m4a", "");
    record(folder / "empty.m4a", {});
    const std::vector<std::pair<std::string, std::string>> cases{
        {".", "Is a directory"},
        {"rubbish.m4a", ""},
        {"nothing.m4a", ""},
        {"empty.m4a", "It is empty."},
    };
    for (const auto& [name, reason] : cases) {
        messages.clear();
        testing::internal::CaptureStderr();
        EXPECT_EQ(runWithReference(name), 0);
        const std::string complaint = testing::internal::GetCapturedStderr();
        EXPECT_THAT(complaint, testing::HasSubstr("What the loudspeakers played is not removed, because "));
        EXPECT_THAT(complaint, testing::HasSubstr("system.m4a can't be used: " + reason));
        EXPECT_EQ(messages.size(), 6U) << name;
    }
}

TEST_F(EchoingWorkerMainTest, AMicrophoneTrackThatFailsIsToldAsEver) {
    failure = Error("ffmpeg", -5, "The file can't be read.");
    EXPECT_EQ(runWithReference("system.m4a"), 1);
    EXPECT_EQ(message<protocol::Failure>(messages.size() - 1).description, "The file can't be read.");
}

/// Never returns by itself, so that only the end of standard input can end the process.
std::unique_ptr<Recogniser> hang(const WorkerArguments&) {
    for (;;) ::pause();
}

TEST(WorkerMainDeathTest, TheProcessEndsWithItsStandardInput) {
    const auto workerWithoutInput = [] {
        ::dup2(::open("/dev/null", O_RDONLY | O_CLOEXEC), STDIN_FILENO);
        std::string arguments[] = {"worker", "--model", "/m", "--locale", "en_US", "3"};
        char* pointers[6];
        for (std::size_t i = 0; i < 6; ++i) pointers[i] = arguments[i].data();
        ::_exit(workerMain(6, pointers, {std::uint64_t{1} << 30, {}, hang, {}}) + 100);
    };
    EXPECT_EXIT(workerWithoutInput(), testing::ExitedWithCode(1), "");
}

} // namespace
