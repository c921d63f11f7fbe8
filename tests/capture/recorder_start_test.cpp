#include "capture/recorder_fixture.h"
#include "support/with_umask.h"

#include <gmock/gmock.h>

namespace {

using namespace std::chrono_literals;

class RecorderStart : public RecorderFixture {};

TEST_F(RecorderStart, AcquiresInOrderAndLogsEachStep) {
    m_onSleep = [this] {
        if (m_sleeps == 3) m_mics.deliver({0.1F});
    };
    EXPECT_TRUE(startWithFiles());
    EXPECT_EQ(calls(),
              (Lines{"mic open mic", "create voice.m4a", "create system.m4a", "create mix.m4a", "mic start",
                     "create tap", "create device", "register handler", "start audio"}));
    EXPECT_EQ(log(), (Lines{"[rec] capture session configured for Desk Mic preview=false",
                            "[rec] startRunning took 0.00s running=true", "[rec] first MIC callback",
                            "[rec] mic delivering after 0.3s callbacks=1", "[rec] tap create status=0 id=41",
                            "[rec] sys agg status=0 id=42", "[rec] sys ioproc=0 start=0"}));
    EXPECT_TRUE(m_errors.empty());
}

TEST_F(RecorderStart, DescribesTapAndDeviceAsPrivateAndAudible) {
    startPreview();
    const TapDescription& tap = m_system.tapDescription;
    EXPECT_EQ(tap.name, "Tapdeck System Tap");
    EXPECT_TRUE(tap.isPrivate);
    EXPECT_FALSE(tap.muted);
    EXPECT_TRUE(tap.excludedProcesses.empty());
    const TapDeviceDescription& device = m_system.deviceDescription;
    EXPECT_EQ(device.name, "Tapdeck System Capture");
    EXPECT_TRUE(device.isPrivate);
    EXPECT_TRUE(device.tapAutoStart);
    EXPECT_EQ(device.tapUUIDs, Lines{tap.uuid});
    EXPECT_THAT(device.uid, testing::MatchesRegex("org\\.murmelo\\.Murmelo\\.sys\\.[0-9A-F]{8}-[0-9A-F]{4}-"
                                                  "4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}"));
}

TEST_F(RecorderStart, EachRecordingHasADeviceOfItsOwn) {
    startPreview();
    const std::string first = m_system.deviceDescription.uid;
    m_recorder->stop();
    Recorder other(services());
    other.start(m_mic, std::nullopt);
    EXPECT_NE(m_system.deviceDescription.uid, first);
    other.stop();
}

TEST_F(RecorderStart, FilesAreStereoAacAtHighQuality) {
    startWithFiles();
    for (const char* name : {"voice.m4a", "system.m4a", "mix.m4a"}) {
        EXPECT_EQ(file(name).path, std::filesystem::path("/recordings/one") / name);
        EXPECT_EQ(file(name).settings.sampleRate, 48000.0);
        EXPECT_EQ(file(name).settings.channels, 2U);
        EXPECT_EQ(file(name).settings.bitRate, 128000U);
    }
    EXPECT_EQ(m_recorder->result(), (Recorder::Result{"/recordings/one/mix.m4a", "/recordings/one/voice.m4a",
                                                      "/recordings/one/system.m4a"}));
}

TEST_F(RecorderStart, CreatesTheFolderWithItsParents) {
    TemporaryFolder folder;
    m_recorder->start(m_mic, folder / "a/b c/ü");
    EXPECT_TRUE(std::filesystem::is_directory(folder / "a/b c/ü"));
}

TEST_F(RecorderStart, FolderIsForItsOwnerAlone) {
    TemporaryFolder folder;
    m_recorder->start(m_mic, folder / "recording");
    EXPECT_EQ(modeOf(folder / "recording"), 0700U);
}

TEST_F(RecorderStart, FolderThatExistsKeepsItsMode) {
    TemporaryFolder folder;
    std::filesystem::permissions(folder.path(), std::filesystem::perms(0755));
    m_recorder->start(m_mic, folder.path());
    EXPECT_EQ(modeOf(folder.path()), 0755U);
}

TEST_F(RecorderStart, WithoutAFolderWritesNothingAndReportsLevels) {
    EXPECT_TRUE(startPreview());
    EXPECT_EQ(log().front(), "[rec] capture session configured for Desk Mic preview=true");
    EXPECT_EQ(m_recorder->result(), std::nullopt);
    play({{2, {0.5F, 0.5F}}});
    hear({0.1F, 0.1F});
    EXPECT_TRUE(m_files.files.empty());
    ASSERT_EQ(m_levels.size(), 1U);
    EXPECT_FLOAT_EQ(m_levels[0].first, 0.4F);
    EXPECT_FLOAT_EQ(m_levels[0].second, 1.0F);
}

TEST_F(RecorderStart, UnpluggedMicrophoneIsNotAvailableAndNothingElseIsTouched) {
    m_mics.presentID = "another";
    EXPECT_FALSE(startWithFiles());
    EXPECT_EQ(m_errors, Lines{"Microphone “Desk Mic” is not available. Is it connected?"});
    EXPECT_EQ(calls(), (Lines{"mic open mic", "error"}));
    EXPECT_TRUE(log().empty());
    EXPECT_EQ(m_recorder->result(), std::nullopt);
}

TEST_F(RecorderStart, MicrophoneThatCannotBeOpenedIsLoggedAndReported) {
    m_mics.openError = Error("rec", 1, "The operation couldn’t be completed. (rec error 1.)");
    EXPECT_FALSE(startWithFiles());
    EXPECT_EQ(log(), Lines{"[rec] capture input FAILED: Error Domain=rec Code=1 \"The operation couldn’t be "
                           "completed. (rec error 1.)\""});
    EXPECT_EQ(m_errors,
              Lines{"Could not open the microphone: The operation couldn’t be completed. (rec error 1.)"});
}

TEST_F(RecorderStart, RefusedOutputIsReportedAndTheMicrophoneClosed) {
    m_mics.acceptsOutput = false;
    EXPECT_FALSE(startWithFiles());
    EXPECT_EQ(m_errors, Lines{"Could not attach the microphone output."});
    EXPECT_EQ(calls(), (Lines{"mic open mic", "error", "mic close"}));
    EXPECT_TRUE(log().empty());
}

TEST_F(RecorderStart, FileThatCannotBeCreatedIsReportedAndTheOthersClosed) {
    m_files.failingName = "system.m4a";
    EXPECT_FALSE(startWithFiles());
    EXPECT_EQ(m_errors, Lines{"Could not create the recording files: No space left on device"});
    EXPECT_EQ(calls(), (Lines{"mic open mic", "create voice.m4a", "create system.m4a", "error", "mic close",
                              "close voice.m4a"}));
    EXPECT_EQ(m_recorder->result(), std::nullopt);
}

TEST_F(RecorderStart, FolderThatCannotBeCreatedIsReportedByTheFiles) {
    TemporaryFolder folder;
    writeFile(folder / "file", "");
    m_files.failingName = "voice.m4a";
    EXPECT_FALSE(m_recorder->start(m_mic, folder / "file/below"));
    EXPECT_EQ(m_errors, Lines{"Could not create the recording files: No space left on device"});
    EXPECT_EQ(calls(), (Lines{"mic open mic", "create voice.m4a", "error", "mic close"}));
}

TEST_F(RecorderStart, SilentMicrophoneIsWaitedForEightSecondsAndTheStartGoesOn) {
    EXPECT_TRUE(startWithFiles());
    EXPECT_EQ(m_sleeps, 80);
    EXPECT_EQ(m_timers.now(), 8s);
    EXPECT_EQ(log()[2], "[rec] mic delivering after 8.0s callbacks=0");
    EXPECT_TRUE(m_errors.empty());
}

TEST_F(RecorderStart, WaitIsLoggedInTenths) {
    m_onSleep = [this] { m_mics.deliver({0.1F}); };
    startWithFiles();
    EXPECT_EQ(log()[3], "[rec] mic delivering after 0.1s callbacks=1");
}

TEST_F(RecorderStart, MicrophoneThatDeliversAtOnceIsNotWaitedFor) {
    m_mics.onStart = [this] { hear({0.1F}); };
    startWithFiles();
    EXPECT_EQ(m_sleeps, 0);
    EXPECT_EQ(log()[3], "[rec] mic delivering after 0.0s callbacks=1");
}

TEST_F(RecorderStart, MicrophoneThatDoesNotRunIsOnlyLogged) {
    m_mics.getsRunning = false;
    EXPECT_TRUE(startWithFiles());
    EXPECT_EQ(log()[1], "[rec] startRunning took 0.00s running=false");
}

TEST_F(RecorderStart, TapThatCannotBeCreatedEndsTheStartBeforeTheDevice) {
    m_system.tap = {-13, 0};
    EXPECT_FALSE(startWithFiles());
    EXPECT_EQ(m_errors, Lines{"Could not create the system-audio tap (error -13). Is the sound server "
                              "(PipeWire) running?"});
    EXPECT_EQ(log().back(), "[rec] tap create status=-13 id=0");
    EXPECT_EQ(calls(), (Lines{"mic open mic", "create voice.m4a", "create system.m4a", "create mix.m4a",
                              "mic start", "create tap", "error", "mic stop", "mic close", "close voice.m4a",
                              "close system.m4a", "close mix.m4a"}));
}

TEST_F(RecorderStart, TapWithoutAnObjectIsAFailureToo) {
    m_system.tap = {0, 0};
    EXPECT_FALSE(startPreview());
    EXPECT_EQ(m_errors, Lines{"Could not create the system-audio tap (error 0). Is the sound server "
                              "(PipeWire) running?"});
}

TEST_F(RecorderStart, DeviceThatCannotBeCreatedDestroysTheTap) {
    m_system.device = {-19, 0};
    EXPECT_FALSE(startPreview());
    EXPECT_EQ(m_errors, Lines{"Could not create the system capture device (error -19)."});
    EXPECT_EQ(log().back(), "[rec] sys agg status=-19 id=0");
    EXPECT_EQ(calls(), (Lines{"mic open mic", "mic start", "create tap", "create device", "error", "mic stop",
                              "mic close", "destroy tap"}));
}

TEST_F(RecorderStart, RefusedRegistrationIsOnlyLoggedWithAStartStatusOfMinusOne) {
    m_system.registered = {-22, std::nullopt};
    EXPECT_TRUE(startPreview());
    EXPECT_EQ(log().back(), "[rec] sys ioproc=-22 start=-1");
    EXPECT_EQ(calls().back(), "register handler");
    EXPECT_TRUE(m_errors.empty());
}

TEST_F(RecorderStart, RegistrationWithoutIdentifierIsNotStarted) {
    m_system.registered = {0, std::nullopt};
    EXPECT_TRUE(startPreview());
    EXPECT_EQ(log().back(), "[rec] sys ioproc=0 start=-1");
}

TEST_F(RecorderStart, FailedProcStartIsOnlyLogged) {
    m_system.startStatus = -5;
    EXPECT_TRUE(startPreview());
    EXPECT_EQ(log().back(), "[rec] sys ioproc=0 start=-5");
}

TEST_F(RecorderStart, ReportsCountersAfterThreeSeconds) {
    startPreview();
    hear({0});
    hear({0});
    play({{2, {0, 0}}});
    m_log.clear();
    m_timers.advance(2999ms);
    EXPECT_TRUE(log().empty());
    m_timers.advance(1ms);
    EXPECT_EQ(log(), Lines{"[rec] 3s: micCallbacks=2 sysCallbacks=1 (sys 0 = silence)"});
}

TEST_F(RecorderStart, ReportSaysMinusOneWhenTheRecorderIsGone) {
    startPreview();
    m_recorder->stop();
    m_recorder.reset();
    m_log.clear();
    m_timers.advance(3s);
    EXPECT_EQ(log(), Lines{"[rec] 3s: micCallbacks=-1 sysCallbacks=-1 (sys 0 = silence)"});
}

TEST_F(RecorderStart, FailedStartSchedulesNoReport) {
    m_system.tap = {-1, 0};
    startPreview();
    m_log.clear();
    m_timers.advance(10s);
    EXPECT_TRUE(log().empty());
}

TEST_F(RecorderStart, WorksWithoutAnyHook) {
    Recorder recorder(services());
    m_mics.presentID = "another";
    EXPECT_FALSE(recorder.start(m_mic, std::nullopt));
    m_mics.presentID = "mic";
    Recorder second(services());
    EXPECT_TRUE(second.start(m_mic, std::nullopt));
    hear({0.5F});
    second.stop();
}

} // namespace
