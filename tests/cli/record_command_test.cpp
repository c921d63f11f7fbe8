#include "cli/record_command.h"

#include "support/command_run.h"
#include "support/fake_audio_devices.h"
#include "support/fake_audio_file_info.h"
#include "support/fake_capture_engine.h"
#include "support/fake_speech_engine.h"
#include "support/log_capture.h"
#include "support/manual_queue.h"
#include "support/pending_jobs.h"

#include <gmock/gmock.h>

namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

/// A recording of a moment, whose files take as long to close as the test wants, in virtual time.
class RecordCommandTest : public testing::Test {
  protected:
    RecordCommandTest() {
        devices.mics = {{"desk", "Desk Mic"}};
        devices.defaultMic = "desk";
        engine->remaining = {7.2, 3};
    }

    ExitStatus record() {
        const CommandRun done =
            runCommand({"record", "--seconds", "0.001", "--folder", "/tmp/one"}, [&](int argc, char** argv) {
                return recordCommand(argc, argv, devices, engine, transcriber, signals, line,
                                     {jobs, [this] { return timers.now(); },
                                      [this](std::chrono::milliseconds time) {
                                          timers.advance(time);
                                          if (onSleep) onSleep();
                                      },
                                      [this](ExitStatus status) { exits.push_back(status); }});
            });
        output = done.output;
        errors = done.errors;
        return done.status;
    }

    LogCapture log;
    TerminationSignals signals;
    StatusLine line;
    CallJournal journal;
    FakeAudioDevices devices;
    std::shared_ptr<FakeCaptureEngine> engine = std::make_shared<FakeCaptureEngine>(journal);
    FakeSpeechEngine speech{journal};
    FakeAudioFileInfo files{journal};
    ManualQueue timers;
    Transcriber transcriber{speech, files, timers, [] { return Locale("en_US"); }};
    PendingJobs jobs;
    std::function<void()> onSleep;
    std::vector<ExitStatus> exits;
    std::string output;
    std::string errors;
};

TEST_F(RecordCommandTest, NamesTheFilesOnceTheyAreClosed) {
    onSleep = [this] {
        if (timers.now() >= 3s) jobs.runAll();
    };
    EXPECT_EQ(record(), ExitStatus::done);
    EXPECT_EQ(output, "/tmp/one/voice.m4a\n/tmp/one/system.m4a\n/tmp/one/mix.m4a\n");
    EXPECT_EQ(timers.now(), 3s);
    EXPECT_THAT(exits, IsEmpty());
}

TEST_F(RecordCommandTest, AfterFiveSecondsInWhichNothingWasSavedItSaysWhatIsLostAndExits) {
    EXPECT_EQ(record(), ExitStatus::failed);
    EXPECT_EQ(timers.now(), 5s);
    const std::string loss =
        "Murmelo has ended because the disk did not answer. The last 8 seconds of “one” are "
        "lost; what came before is repaired by “murmelo recover /tmp/one”.";
    EXPECT_EQ(errors, loss + "\n");
    EXPECT_EQ(output, "");
    EXPECT_THAT(exits, ElementsAre(ExitStatus::failed));
    EXPECT_THAT(log.messages(), ElementsAre("[rec] " + loss));
}

TEST_F(RecordCommandTest, WhileLessAndLessRemainsItWaitsForAMinute) {
    onSleep = [this] { engine->remaining.seconds -= 0.001; };
    EXPECT_EQ(record(), ExitStatus::failed);
    EXPECT_EQ(timers.now(), 60s);
}

TEST_F(RecordCommandTest, AStopThatHangsWithClosedFilesLosesNothing) {
    engine->remaining = {};
    EXPECT_EQ(record(), ExitStatus::failed);
    EXPECT_EQ(errors, "Murmelo has ended because the sound server did not answer.\n");
    EXPECT_THAT(exits, ElementsAre(ExitStatus::failed));
}

TEST_F(RecordCommandTest, ARecordingThatDoesNotStartSaysWhyAndHasNothingToClose) {
    engine->duringStart = [this] { engine->onError("Microphone “Desk Mic” is not available."); };
    engine->startSucceeds = false;
    EXPECT_EQ(record(), ExitStatus::failed);
    EXPECT_EQ(errors, "Microphone “Desk Mic” is not available.\n");
    EXPECT_EQ(jobs.count(), 0U);
}

} // namespace
