#include "platform/speech/worker_engine.h"

#include "base/error.h"
#include "support/log_capture.h"
#include "support/process_leftovers.h"

#include <cerrno>
#include <cmath>
#include <gmock/gmock.h>
#include <sys/stat.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

/// An engine whose worker is a shell script that the test writes.
class WorkerEngineTest : public testing::Test {
  protected:
    WorkerEngineTest() {
        std::filesystem::create_directories(model / "en-us");
        for (const char* part : {"en-us/mdef", "en-us.lm.bin", "cmudict-en-us.dict"})
            writeFile(model / part, "");
        makeWorker("exit 0");
        writeFile(track, "the track\n");
    }
    void TearDown() override {
        EXPECT_FALSE(hasChild());
        EXPECT_EQ(openDescriptors(), m_descriptors);
    }

    void makeWorker(const std::string& script) {
        writeFile(worker, "#!/bin/sh\ncd '" + folder.path().string() + "'\n" + script + "\n");
        std::filesystem::permissions(worker, std::filesystem::perms::owner_all);
    }

    std::optional<double> analyse(const std::stop_token& stop = {}) { return analyse(track, stop); }
    std::optional<double> analyse(const std::filesystem::path& file, const std::stop_token& stop = {}) {
        const auto module = engine.module(Locale("en_US"));
        module->collectResults([this](const SpeechResult& result) {
            results.push_back(result);
            if (onResult) onResult();
        });
        const auto lastSampleTime = module->analyse(file, stop);
        module->waitForResults();
        return lastSampleTime;
    }

    /// What goes wrong when the worker is this script, as the log would print it.
    std::string failureOf(const std::string& script, const std::stop_token& stop = {}) {
        makeWorker(script);
        try {
            analyse(stop);
        } catch (const Error& error) {
            return error.printed();
        }
        return "nothing";
    }

    std::vector<std::string> texts() const {
        std::vector<std::string> all;
        for (const SpeechResult& result : results) all.push_back(result.text);
        return all;
    }

    LogCapture log;
    TemporaryFolder folder;
    std::filesystem::path worker = folder / "worker";
    std::filesystem::path model = folder / "a model";
    std::filesystem::path track = folder / "voice track \u00e9.m4a";
    WorkerEngine engine{worker, model};
    std::vector<SpeechResult> results;
    std::function<void()> onResult;

  private:
    std::size_t m_descriptors = openDescriptors();
};

const std::string utterance = R"(echo '{"start":1.5,"end":2,"text":"Hello there"}'; )";
const std::string end = R"(echo '{"lastSampleTime":12.5}'; )";

std::string engineError(EngineFailure code, const std::string& description) {
    return Error("engine", static_cast<int>(code), description).printed();
}

TEST_F(WorkerEngineTest, ResultsArriveInOrderAndTheLastSampleTimeIsReturned) {
    makeWorker(utterance + R"(echo '{"start":null,"end":null,"text":"Again"}'; )" + end);
    EXPECT_EQ(analyse(), 12.5);
    EXPECT_THAT(texts(), ElementsAre("Hello there", "Again"));
    EXPECT_EQ(results[0].start, 1.5);
    EXPECT_TRUE(std::isnan(results[1].start));
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(WorkerEngineTest, NoAudioMeansNoLastSampleTime) {
    makeWorker(R"(echo '{"lastSampleTime":null}')");
    EXPECT_EQ(analyse(), std::nullopt);
    EXPECT_THAT(texts(), IsEmpty());
}

TEST_F(WorkerEngineTest, TheWorkerIsToldModelAndLocaleAndHandedTheOpenFile) {
    makeWorker("for argument; do echo \"$argument\"; done > arguments; cat <&3 > content; "
               "ls /proc/$$/fd > descriptors; " +
               end);
    analyse();
    EXPECT_EQ(contentOf(folder / "arguments"), "--model\n" + model.string() + "\n--locale\nen_US\n3\n");
    EXPECT_EQ(contentOf(folder / "content"), "the track\n");
    EXPECT_THAT(contentOf(folder / "descriptors"), Not(testing::HasSubstr("4")));
}

TEST_F(WorkerEngineTest, WithARecordingsVoiceTheWorkerGetsTheSystemTrackBesideIt) {
    makeWorker("for argument; do echo \"$argument\"; done > arguments; "
               "cat <&3 > third; : > fourth; [ ! -e /proc/$$/fd/4 ] || cat <&4 > fourth; " +
               end);
    for (const char* name : {"voice.m4a", "mix.m4a"}) writeFile(folder / name, name);
    const auto argumentsFor = [this](const char* name) {
        analyse(folder / name);
        return contentOf(folder / "arguments");
    };
    const std::string always = "--model\n" + model.string() + "\n--locale\nen_US\n";
    EXPECT_EQ(argumentsFor("voice.m4a"), always + "3\n") << "there is none";
    writeFile(folder / "system.m4a", "system.m4a");
    EXPECT_EQ(argumentsFor("voice.m4a"), always + "--reference\n4\n3\n");
    EXPECT_EQ(contentOf(folder / "third"), "voice.m4a");
    EXPECT_EQ(contentOf(folder / "fourth"), "system.m4a");
    for (const char* name : {"system.m4a", "mix.m4a"}) {
        EXPECT_EQ(argumentsFor(name), always + "3\n");
        EXPECT_EQ(contentOf(folder / "third"), name);
        EXPECT_EQ(contentOf(folder / "fourth"), "");
    }
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(WorkerEngineTest, ASystemTrackThatCannotBeOpenedCostsNothingButALineOfTheLog) {
    makeWorker("for argument; do echo \"$argument\"; done > arguments; " + end);
    writeFile(folder / "voice.m4a", "");
    ASSERT_EQ(::mkfifo((folder / "system.m4a").c_str(), 0600), 0);
    EXPECT_EQ(analyse(folder / "voice.m4a"), 12.5);
    EXPECT_EQ(contentOf(folder / "arguments"), "--model\n" + model.string() + "\n--locale\nen_US\n3\n");
    EXPECT_THAT(log.messages(),
                ElementsAre("[ts] what the loudspeakers played is not removed, because system.m4a can't be "
                            "used: This is not a regular file."));
}

TEST_F(WorkerEngineTest, AFileThatCannotBeOpenedIsAnErrorAndStartsNoWorker) {
    makeWorker("touch started; " + end);
    const auto errorNumber = [this](const std::filesystem::path& file) {
        try {
            analyse(file);
        } catch (const Error& error) {
            EXPECT_EQ(error.domain(), "posix");
            return error.code();
        }
        return 0;
    };
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(errorNumber(folder / "missing.m4a"), ENOENT);
    EXPECT_EQ(errorNumber(folder / "pipe"), EINVAL);
    EXPECT_EQ(errorNumber(folder.path()), EISDIR);
    EXPECT_FALSE(std::filesystem::exists(folder / "started"));
}

TEST_F(WorkerEngineTest, WhatTheWorkerComplainsOfIsLoggedEvenIfItSucceeds) {
    makeWorker("echo 'no reference' >&2; " + end);
    EXPECT_EQ(analyse(), 12.5);
    EXPECT_THAT(log.messages(), ElementsAre("[ts] speech worker: no reference"));
}

TEST_F(WorkerEngineTest, AResultIsHandedOverWhileTheWorkerStillWorks) {
    onResult = [this] { writeFile(folder / "go", ""); };
    makeWorker(utterance + "while [ ! -e go ]; do sleep 0.01; done; " + end); // hangs for ever otherwise
    EXPECT_EQ(analyse(), 12.5);
}

TEST_F(WorkerEngineTest, ACrashIsAnErrorAndWhatTheWorkerWroteIsLogged) {
    EXPECT_EQ(failureOf(utterance + "echo 'no such\tthing' >&2; echo at all >&2; kill -SEGV $$"),
              engineError(EngineFailure::crashed, "The speech worker crashed: Segmentation fault."));
    EXPECT_THAT(texts(), ElementsAre("Hello there"));
    EXPECT_THAT(log.messages(), ElementsAre("[ts] speech worker: no such thing at all"));
}

TEST_F(WorkerEngineTest, ACrashBehindTheLastLineIsStillACrash) {
    EXPECT_EQ(failureOf(end + "kill -ABRT $$"),
              engineError(EngineFailure::crashed, "The speech worker crashed: Aborted."));
}

TEST_F(WorkerEngineTest, AStatusOtherThanZeroIsAnError) {
    EXPECT_EQ(failureOf(end + "exit 3"),
              engineError(EngineFailure::crashed, "The speech worker ended with status 3."));
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(WorkerEngineTest, WhatTheWorkerReportsIsTheError) {
    const std::string report = R"(echo '{"error":"The file is damaged."}'; )";
    const std::string expected = engineError(EngineFailure::reported, "The file is damaged.");
    EXPECT_EQ(failureOf(report + "exit 1"), expected);
    EXPECT_EQ(failureOf(report), expected);
}

TEST_F(WorkerEngineTest, OutputWithoutAnEndIsAnError) {
    const std::string expected =
        engineError(EngineFailure::badOutput, "The speech worker ended before its answer was complete.");
    EXPECT_EQ(failureOf("exit 0"), expected);
    EXPECT_EQ(failureOf(utterance), expected);
    EXPECT_EQ(failureOf("exec >&-; exit 0"), expected);
    EXPECT_EQ(failureOf("printf '{\"lastSampleTime\":1}'"), expected);
    EXPECT_EQ(failureOf(end + "printf half"), expected);
}

TEST_F(WorkerEngineTest, RubbishIsAnErrorAndEndsTheWorker) {
    EXPECT_EQ(failureOf("echo rubbish; echo why >&2; exec sleep 1000"),
              engineError(EngineFailure::badOutput,
                          "The speech worker wrote what is no answer: not a JSON object."));
    EXPECT_EQ(failureOf("cat /dev/urandom").substr(0, 29), "Error Domain=engine Code=4 \"T");
    EXPECT_EQ(failureOf(end + end + "exec sleep 1000"),
              engineError(EngineFailure::badOutput,
                          "The speech worker wrote what is no answer: a line behind the last one."));
}

TEST_F(WorkerEngineTest, ALineWithoutEndIsAnErrorAndEndsTheWorker) {
    EXPECT_EQ(failureOf("tr '\\0' x </dev/zero"),
              engineError(EngineFailure::badOutput, "The speech worker wrote a line without end."));
}

TEST_F(WorkerEngineTest, AStopRequestEndsAWorkerThatHangsAndIsNotLogged) {
    std::stop_source stop;
    onResult = [&] { stop.request_stop(); };
    EXPECT_EQ(failureOf("trap '' TERM; echo loading >&2; " + utterance + "while :; do sleep 1000; done",
                        stop.get_token()),
              engineError(EngineFailure::stopped, "The transcription was stopped."));
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(WorkerEngineTest, WhatTheHandlerThrowsEndsTheWorkerToo) {
    onResult = [] { throw std::runtime_error("full"); };
    makeWorker(utterance + "exec sleep 1000");
    EXPECT_THROW(analyse(), std::runtime_error);
}

TEST_F(WorkerEngineTest, SupportsEnglishOfTheUnitedStatesWhenComplete) {
    EXPECT_THAT(engine.supportedLocales(), ElementsAre(Locale("en_US")));
    EXPECT_EQ(engine.module(Locale("en_US"))->installationRequest(), nullptr);
}

TEST_F(WorkerEngineTest, AMissingPartIsNamedWithThePackageThatBringsIt) {
    const auto complaint = [this] {
        EXPECT_THAT(engine.supportedLocales(), IsEmpty());
        const auto module = engine.module(Locale("en_US"));
        try {
            module->installationRequest();
        } catch (const Error& error) {
            EXPECT_EQ(error.domain(), "engine");
            EXPECT_EQ(error.code(), static_cast<int>(EngineFailure::notInstalled));
            EXPECT_EQ(failureOf("exit 0"), error.printed()) << "analysis says the same";
            return error.localizedDescription();
        }
        return std::string();
    };
    std::filesystem::remove(model / "en-us.lm.bin");
    EXPECT_EQ(complaint(), "The speech model " + (model / "en-us.lm.bin").string() +
                               " is missing: install the package pocketsphinx-en-us.");
    worker = folder / "elsewhere";
    engine = WorkerEngine(folder / "no worker", model);
    EXPECT_EQ(complaint(), "The speech worker " + (folder / "no worker").string() +
                               " is missing: install the package murmelo again.");
}

TEST_F(WorkerEngineTest, AWorkerThatCannotBeStartedIsAnError) {
    writeFile(worker, "no program at all");
    std::filesystem::permissions(worker, std::filesystem::perms::owner_all);
    EXPECT_THROW(analyse(), Error);
}

TEST_F(WorkerEngineTest, TheWorkerIsBesideTheExecutableOrInstalled) {
    const std::filesystem::path installed = folder / "libexec/murmelo/engine";
    EXPECT_EQ(workerProgram(folder / "bin", "engine"), installed);
    std::filesystem::create_directories(folder / "bin/libexec");
    writeFile(folder / "bin/libexec/engine", "");
    EXPECT_EQ(workerProgram(folder / "bin", "engine"), folder / "bin/libexec/engine");
}

} // namespace
