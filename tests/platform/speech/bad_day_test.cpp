#include "base/error.h"
#include "platform/speech/worker_engine.h"
#include "support/fake_audio_file_info.h"
#include "support/log_capture.h"
#include "support/manual_queue.h"
#include "support/process_leftovers.h"
#include "support/temporary_folder.h"
#include "transcription/transcriber.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

/// A recording whose microphone track meets a worker with a bad day, and whose system track a good one. The
/// worker is a shell script that the test writes.
class BadDayTest : public testing::Test {
  protected:
    BadDayTest() {
        std::filesystem::create_directories(model / "en-us");
        for (const char* part : {"en-us/mdef", "en-us.lm.bin", "cmudict-en-us.dict"})
            writeFile(model / part, "");
        for (const char* track : {"voice.m4a", "system.m4a"}) {
            writeFile(folder / track, "audio");
            files.known[track] = {std::int64_t{30} * 48000, 48000};
        }
    }
    void TearDown() override { EXPECT_FALSE(hasChild()); }

    void onVoiceTrack(const std::string& script) {
        writeFile(worker, "#!/bin/sh\n"
                          "case \"$(readlink /proc/$$/fd/3)\" in *voice.m4a)\n" +
                              script +
                              "\n;; *)\n"
                              R"(echo '{"start":2.5,"end":3,"text":"Hello there"}')"
                              "\n"
                              R"(echo '{"lastSampleTime":30}')"
                              "\nesac\n");
        std::filesystem::permissions(worker, std::filesystem::perms::owner_all);
    }

    /// The log of the whole transcription, which yields what the system track holds.
    std::vector<std::string> logOf(const std::string& script) {
        onVoiceTrack(script);
        const std::filesystem::path transcript = transcriber.transcribeRecording(folder.path(), {});
        EXPECT_EQ(contentOf(transcript), "[00:02] Audio: Hello there") << script;
        return log.messages();
    }

    static constexpr const char* chosen = "[ts] locale=en_US";
    static constexpr const char* wrote = "[ts] wrote transcript.txt segments=1";

    LogCapture log;
    TemporaryFolder folder;
    std::filesystem::path worker = folder / "worker";
    std::filesystem::path model = folder / "model";
    WorkerEngine engine{worker, model};
    CallJournal journal;
    FakeAudioFileInfo files{journal};
    ManualQueue timers;
    Transcriber transcriber{engine, files, timers, [] { return Locale("en_US"); }};
};

const std::string firstWord = R"(echo '{"start":1.5,"end":2,"text":"Lost"}'; )";

TEST_F(BadDayTest, AKilledEngineCostsItsTrackOnly) {
    EXPECT_THAT(logOf(firstWord + "kill -KILL $$"),
                ElementsAre(chosen,
                            "[ts] voice.m4a failed: Error Domain=engine Code=3 "
                            "\"The speech worker crashed: Killed.\"",
                            wrote));
}

TEST_F(BadDayTest, AnEngineOutOfMemoryCostsItsTrackOnly) {
    EXPECT_THAT(logOf(firstWord + R"(echo '{"error":"The speech worker ran out of memory."}'; exit 1)"),
                ElementsAre(chosen,
                            "[ts] voice.m4a failed: Error Domain=engine Code=2 "
                            "\"The speech worker ran out of memory.\"",
                            wrote));
}

TEST_F(BadDayTest, AnEngineThatHangsIsEndedByTheTimeoutAndCostsItsTrackOnly) {
    transcriber.onProgress = [this](const TranscriptionProgress& progress) {
        if (progress.secondsDone > 0 && progress.track == "voice.m4a") timers.advance(180s);
    };
    EXPECT_THAT(logOf("trap '' TERM; " + firstWord + "while :; do sleep 1000; done"),
                ElementsAre(chosen,
                            "[ts] voice.m4a failed: Error Domain=transcriber Code=2 "
                            "\"Transcription timed out.\"",
                            wrote));
}

TEST_F(BadDayTest, AnEngineThatWaitsForASlowDiskIsEndedByTheTimeoutToo) {
    // A file that gives nothing: nobody ever writes into this pipe.
    ASSERT_EQ(::mkfifo((folder / "slow").c_str(), 0600), 0);
    transcriber.onProgress = [this](const TranscriptionProgress& progress) {
        if (progress.secondsDone > 0 && progress.track == "voice.m4a") timers.advance(180s);
    };
    EXPECT_THAT(logOf(firstWord + "cat '" + (folder / "slow").string() + "'"),
                ElementsAre(chosen,
                            "[ts] voice.m4a failed: Error Domain=transcriber Code=2 "
                            "\"Transcription timed out.\"",
                            wrote));
}

TEST_F(BadDayTest, AnEngineThatWritesRubbishCostsItsTrackOnly) {
    EXPECT_THAT(logOf(firstWord + "echo rubbish; exec sleep 1000"),
                ElementsAre(chosen,
                            "[ts] voice.m4a failed: Error Domain=engine Code=4 "
                            "\"The speech worker wrote what is no answer: not a JSON object.\"",
                            wrote));
}

TEST_F(BadDayTest, AnEngineThatStopsInTheMiddleCostsItsTrackOnly) {
    EXPECT_THAT(logOf(firstWord + "echo its model is damaged >&2; exit 1"),
                ElementsAre(chosen, "[ts] speech worker: its model is damaged",
                            "[ts] voice.m4a failed: Error Domain=engine Code=3 "
                            "\"The speech worker ended with status 1.\"",
                            wrote));
}

TEST_F(BadDayTest, AStopEndsAnEngineThatHangsAndStartsNoOther) {
    std::stop_source stop;
    transcriber.onProgress = [&](const TranscriptionProgress& progress) {
        if (progress.secondsDone > 0) stop.request_stop();
    };
    onVoiceTrack(firstWord + "exec sleep 1000");
    try {
        transcriber.transcribeRecording(folder.path(), stop.get_token());
        ADD_FAILURE() << "not stopped";
    } catch (const Error& error) {
        EXPECT_EQ(error.localizedDescription(), "Transcription cancelled.");
    }
    EXPECT_FALSE(std::filesystem::exists(folder / "transcript.txt"));
}

} // namespace
