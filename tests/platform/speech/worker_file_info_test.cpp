#include "platform/speech/worker_file_info.h"

#include "base/error.h"
#include "platform/speech/worker_engine.h"
#include "support/log_capture.h"
#include "support/process_leftovers.h"
#include "support/temporary_folder.h"

#include <gmock/gmock.h>
#include <stop_token>
#include <sys/stat.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// The worker is a shell script that the test writes.
class WorkerFileInfoTest : public testing::Test {
  protected:
    WorkerFileInfoTest() { writeFile(file, "48000\n"); }
    void TearDown() override {
        EXPECT_FALSE(hasChild());
        EXPECT_EQ(openDescriptors(), m_descriptors);
    }

    void makeWorker(const std::string& script) const {
        writeFile(worker, "#!/bin/sh\n" + script + "\n");
        std::filesystem::permissions(worker, std::filesystem::perms::owner_all);
    }
    std::string failureOf(const std::filesystem::path& of, const std::stop_token& stop = {}) {
        try {
            info.facts(of, stop);
        } catch (const Error& error) {
            return error.printed();
        }
        return "nothing";
    }
    static std::string engineError(EngineFailure code, const std::string& description) {
        return Error("engine", static_cast<int>(code), description).printed();
    }

    LogCapture log;
    TemporaryFolder folder;
    const std::filesystem::path worker = folder / "worker";
    const std::filesystem::path file = folder / "voice.m4a";
    std::optional<AudioFileFacts> own;
    WorkerFileInfo info{worker, [this](const std::filesystem::path&) { return own; }};

  private:
    std::size_t m_descriptors = openDescriptors();
};

TEST_F(WorkerFileInfoTest, AFileOfOurOwnIsLookedUpWithoutAnyWorker) {
    own = {480000, 48000};
    EXPECT_EQ(info.facts(file, {}).frames, 480000);
    EXPECT_EQ(info.facts(file, {}).sampleRate, 48000);
}

TEST_F(WorkerFileInfoTest, AnyOtherIsHandedToTheWorkerAsAnOpenFile) {
    makeWorker("[ $# = 1 ] && read rate <&$1 && echo \"{\\\"frames\\\":96000,\\\"sampleRate\\\":$rate}\"");
    const AudioFileFacts facts = info.facts(file, {});
    EXPECT_EQ(facts.frames, 96000);
    EXPECT_EQ(facts.sampleRate, 48000);
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(WorkerFileInfoTest, AFileThatIsNoAudioIsAnErrorAndNoLineOfTheLog) {
    makeWorker(R"(echo '{"error":"It holds no AAC track."}')");
    EXPECT_EQ(failureOf(file), engineError(EngineFailure::reported, "It holds no AAC track."));
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(WorkerFileInfoTest, AWorkerThatCrashesIsAnErrorAndALineOfTheLog) {
    makeWorker("kill -SEGV $$");
    EXPECT_EQ(failureOf(file),
              engineError(EngineFailure::crashed, "The speech worker crashed: Segmentation fault."));
    EXPECT_THAT(log.messages(), ElementsAre("[ts] the length of voice.m4a is not known: The speech worker "
                                            "crashed: Segmentation fault."));
}

TEST_F(WorkerFileInfoTest, AnAnswerWithoutALengthIsAnError) {
    for (const char* script : {"exit 0", R"(echo '{"lastSampleTime":12.5}')", R"(printf '{"frames":1,')"}) {
        makeWorker(script);
        EXPECT_EQ(failureOf(file), engineError(EngineFailure::badOutput,
                                               "The speech worker ended before its answer was complete."));
    }
}

TEST_F(WorkerFileInfoTest, AMissingWorkerIsSaidSo) {
    const std::string said =
        "The speech worker " + worker.string() + " is missing: install the package murmelo again.";
    EXPECT_EQ(failureOf(file), engineError(EngineFailure::notInstalled, said));
    EXPECT_THAT(log.messages(), ElementsAre("[ts] the length of voice.m4a is not known: " + said));
}

TEST_F(WorkerFileInfoTest, WhatIsNoFileIsAnErrorAtOnceAndNoLineOfTheLog) {
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(failureOf(folder / "missing"), Error::posix(ENOENT).printed());
    EXPECT_EQ(failureOf(folder / "pipe"), Error("posix", EINVAL, "This is not a regular file.").printed());
    EXPECT_EQ(failureOf(folder.path()), Error::posix(EISDIR).printed());
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(WorkerFileInfoTest, AStopRequestEndsAWorkerThatHangs) {
    std::stop_source stop;
    stop.request_stop();
    makeWorker("exec sleep 1000");
    EXPECT_EQ(failureOf(file, stop.get_token()),
              engineError(EngineFailure::stopped, "The transcription was stopped."));
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(WorkerFileInfoTest, OpeningLooksAtNothingInTheFile) {
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    EXPECT_NO_THROW(info.open(file));
    EXPECT_THROW(info.open(folder / "missing"), Error);
    EXPECT_THROW(info.open(folder / "pipe"), Error);
}

} // namespace
