#include "capture/aligned_capture_fixture.h"

namespace {

class AlignedCaptureTest : public AlignedCaptureFixture {};

class AlignedPreview : public AlignedCaptureFixture {
  protected:
    AlignedPreview() : AlignedCaptureFixture(false) {}
};

// --- deliveries ---

TEST_F(AlignedCaptureTest, FirstBlockIsDeliveredBeforeTheTapStartsAndTheNextWaitForIt) {
    startMic();
    giveMic(Gives::sound);
    EXPECT_EQ(std::ssize(m_voice), block);
    m_now += block;
    giveMic(Gives::sound);
    EXPECT_EQ(std::ssize(m_voice), block);
    startTap();
    giveTap(Gives::sound);
    EXPECT_EQ(std::ssize(m_voice), 2 * block);
    EXPECT_EQ(m_voice.back(), m_heard.back());
}

TEST_F(AlignedCaptureTest, MicrophoneThatWaitsInVainForATapFlowsAloneAfterASecond) {
    startMic();
    run(2 * second, Gives::sound, Gives::nothing);
    EXPECT_NEAR(static_cast<double>(m_voice.size()), 2 * second, block);
    EXPECT_EQ(zeros(m_voice), 0);
}

TEST_F(AlignedCaptureTest, MicrophonePieceComesAfterTheTapsOfTheSameTime) {
    startMic();
    startTap();
    giveMic(Gives::sound); // the first, at once
    m_now += block;
    run(second);
    EXPECT_GE(m_lead, 0);
    for (std::size_t i = 1; i < m_order.size(); i += 2) ASSERT_EQ(m_order.substr(i, 2), "tm") << i;
    EXPECT_EQ(zeros(m_voice) + zeros(m_heard), 0);
    EXPECT_EQ(m_voice.back(), m_heard.back());
}

TEST_F(AlignedCaptureTest, TapNeverRunsFarAheadOfAMicrophoneQueueThatIsBusy) {
    startMic();
    startTap();
    run(second);
    // A standstill of almost a minute becomes silence, all of it at once, on the tap's queue first.
    standStill(59 * second);
    m_mics.deliver(samples(Gives::sound, 1), at(m_now));
    m_system.deliverStereo(samples(Gives::sound, 2), at(m_now));
    m_micQueue.runAll();
    m_ioQueue.runAll();
    runQueues();
    run(m_now + second);
    EXPECT_LE(m_lead, 3 * second) << "whoever mixes keeps five seconds";
    EXPECT_EQ(m_voice.back(), m_heard.back());
}

TEST_F(AlignedCaptureTest, DamagedAndEmptyDeliveriesAreNoSignOfLife) {
    startMic();
    m_mics.deliverRaw({1, 2}, 3, true);
    m_mics.deliverRaw({1, 2}, 2, false);
    m_mics.deliverRaw({}, 0, true);
    runQueues();
    EXPECT_TRUE(m_voice.empty());
    run(9 * second, Gives::nothing, Gives::nothing);
    EXPECT_EQ(m_notices.told(), Lines{"“Desk Mic” gives no sound: your voice is missing."});
}

TEST_F(AlignedCaptureTest, SilenceForAMicrophoneThatNeverCameIsMarked) {
    startMic();
    startTap();
    run(3 * second, Gives::nothing, Gives::sound);
    EXPECT_GT(m_standIns, second);
    EXPECT_EQ(m_standIns, std::ssize(m_voice));
    const std::int64_t before = m_standIns;
    run(4 * second);
    EXPECT_EQ(m_standIns, before);
    EXPECT_EQ(m_voice.back(), m_heard.back());
}

// --- stops ---

TEST_F(AlignedCaptureTest, StopOfTheTapDeliversWhatWaitsInOrderAndNothingAfterIt) {
    startMic();
    startTap();
    run(second);
    giveMic(Gives::sound); // waits for the tap
    m_tap->stop();
    m_now += block;
    giveMic(Gives::sound);
    m_now += block;
    const std::int64_t heard = std::ssize(m_heard);
    run(2 * second, Gives::sound, Gives::sound);
    EXPECT_EQ(std::ssize(m_heard), heard);
    EXPECT_EQ(std::ssize(m_voice), m_now);
    EXPECT_TRUE(std::is_sorted(m_voice.begin(), m_voice.end()));
}

TEST_F(AlignedCaptureTest, StopOfTheMicrophoneDeliversWhatWaitsAndNothingAfterIt) {
    startMic();
    startTap();
    run(second);
    m_mics.deliver(samples(Gives::sound, 1), at(m_now)); // not yet run
    m_mic->stop();
    EXPECT_EQ(std::ssize(m_voice), second + block);
    m_now += block;
    run(3 * second);
    EXPECT_EQ(std::ssize(m_voice), second + block);
    EXPECT_FALSE(m_mics.running());
}

TEST_F(AlignedCaptureTest, StoppedSourcesAreNeitherRevivedNorTold) {
    startMic();
    startTap();
    run(second);
    m_tap->stop();
    m_mic->stop();
    m_mic->stop();
    run(100 * second);
    EXPECT_EQ(opens(), 1);
    EXPECT_EQ(tapsMade(), 1);
    EXPECT_EQ(m_notices.told(), Lines{});
}

TEST_F(AlignedCaptureTest, NoMicrophoneIsOpenedWhereThereIsNone) {
    m_mics.presentID = "another";
    EXPECT_EQ(m_capture->open("mic"), nullptr);
    m_mics.openError = Error("rec", 1, "refused");
    EXPECT_THROW(m_capture->open("mic"), Error);
}

// --- loss and return ---

TEST_F(AlignedCaptureTest, LostMicrophoneIsSilenceToldOnceAndOpenedUntilItIsBack) {
    startMic();
    startTap();
    run(second);
    m_mics.presentID = "unplugged";
    run(11 * second, Gives::nothing);
    EXPECT_NEAR(static_cast<double>(opens()), 10, 1) << "once a second";
    EXPECT_EQ(m_notices.told(), Lines{"“Desk Mic” is gone: your voice is missing until it is back."});
    m_mics.presentID = "mic";
    run(14 * second);
    EXPECT_EQ(m_notices.told().back(), "“Desk Mic” is back.");
    EXPECT_EQ(m_notices.told().size(), 2U);
    EXPECT_EQ(m_log.messages(), (Lines{"[rec] microphone lost", "[rec] microphone back"}));
    EXPECT_NEAR(zeros(m_voice), 10 * second, 2 * second);
    EXPECT_EQ(zeros(m_heard), 0) << "the system audio is whole";
    EXPECT_EQ(m_voice.back(), m_heard.back());
}

TEST_F(AlignedCaptureTest, MicrophoneThatCannotBeOpenedAgainIsLoggedOnce) {
    startMic();
    run(second, Gives::sound, Gives::nothing);
    m_mics.openError = Error("rec", 1, "refused");
    run(8 * second, Gives::nothing, Gives::nothing);
    EXPECT_EQ(m_log.messages(),
              (Lines{"[rec] microphone lost", "[rec] microphone cannot be opened again: Error Domain=rec "
                                              "Code=1 \"refused\""}));
}

TEST_F(AlignedCaptureTest, OldMicrophoneIsLetGoOfBeforeTheNewOneIsOpened) {
    startMic();
    run(second, Gives::sound, Gives::nothing);
    m_journal.clear();
    run(5 * second / 2, Gives::nothing, Gives::nothing);
    EXPECT_EQ(m_journal.calls(), (Lines{"mic stop", "mic close", "mic open mic", "mic start"}));
}

TEST_F(AlignedCaptureTest, LostTapIsSilenceToldOnceAndMadeAnewAsItWas) {
    startMic();
    startTap();
    run(second);
    m_system.tap = {-5, 0};
    run(6 * second, Gives::sound, Gives::nothing);
    EXPECT_NEAR(static_cast<double>(tapsMade()), 5, 1) << "once a second";
    m_system.tap = {0, 77};
    m_system.tapDescription = {};
    m_system.deviceDescription = {};
    run(9 * second);
    EXPECT_EQ(m_system.tapDescription.uuid, "uuid");
    EXPECT_EQ(m_system.deviceDescription.uid, "uid");
    EXPECT_EQ(m_notices.told(),
              (Lines{"System audio is gone: what the computer plays is missing until it is back.",
                     "System audio is back."}));
    EXPECT_EQ(m_log.messages(), (Lines{"[rec] system audio lost", "[rec] system audio back"}));
    EXPECT_EQ(zeros(m_voice), 0) << "the voice is whole";
    EXPECT_NEAR(zeros(m_heard), 5 * second, 2 * second);
    EXPECT_EQ(m_voice.back(), m_heard.back());
}

TEST_F(AlignedCaptureTest, OldTapIsReleasedInOrderBeforeTheNewOneIsMade) {
    startMic();
    startTap();
    run(second);
    m_journal.clear();
    run(5 * second / 2, Gives::sound, Gives::nothing);
    EXPECT_EQ(m_journal.calls(), (Lines{"stop audio", "remove handler", "destroy device", "destroy tap",
                                        "create tap", "create device", "register handler", "start audio"}));
}

TEST_F(AlignedCaptureTest, StopDuringALossLeavesNothingBehind) {
    startMic();
    startTap();
    run(second);
    m_mics.presentID = "unplugged";
    m_system.tap = {-5, 0};
    run(4 * second, Gives::nothing, Gives::nothing);
    m_tap->stop();
    m_tap->removeHandler();
    m_tap->destroyDevice();
    m_tap->destroyTap();
    m_mic->stop();
    m_tap.reset();
    m_mic.reset();
    const Lines before = m_journal.calls();
    run(8 * second);
    EXPECT_EQ(m_journal.calls(), before);
    EXPECT_NEAR(static_cast<double>(m_voice.size()), static_cast<double>(m_heard.size()), 2 * block);
}

TEST_F(AlignedCaptureTest, ProcessThatWasStoppedForAMomentReportsNoLoss) {
    startMic();
    startTap();
    run(second);
    standStill(3 * second);
    run(8 * second);
    EXPECT_EQ(m_notices.told(), Lines{});
    EXPECT_EQ(zeros(m_voice), zeros(m_heard));
    EXPECT_EQ(m_voice.back(), m_heard.back());
    EXPECT_EQ(std::ssize(m_voice), 8 * second);
}

TEST_F(AlignedCaptureTest, LongStandstillIsLeftOutAndLogged) {
    startMic();
    startTap();
    run(second);
    standStill(3600 * second);
    run(3603 * second);
    EXPECT_EQ(std::ssize(m_voice), 3 * second);
    EXPECT_EQ(zeros(m_voice) + zeros(m_heard), 0);
    ASSERT_EQ(m_log.messages().size(), 1U);
    EXPECT_EQ(m_log.messages()[0], "[rec] the program stood still for 3600 s, which are left out");
}

// --- what users are told ---

TEST_F(AlignedCaptureTest, MicrophoneThatGivesOnlyZerosIsToldOnceAndWhenItIsHeard) {
    startMic();
    startTap();
    run(31 * second, Gives::zeros);
    EXPECT_EQ(m_notices.told(),
              Lines{"“Desk Mic” has given only silence for half a minute. Is it switched off?"});
    run(32 * second);
    run(80 * second, Gives::zeros);
    EXPECT_EQ(m_notices.told().size(), 2U);
    EXPECT_EQ(m_notices.told().back(), "“Desk Mic” can be heard now.");
    EXPECT_EQ(m_log.messages(),
              (Lines{"[rec] microphone gives only zeros", "[rec] microphone gives sound again"}));
    EXPECT_EQ(opens(), 1);
}

TEST_F(AlignedCaptureTest, SystemAudioThatIsSilentIsNothingToTell) {
    startMic();
    startTap();
    run(60 * second, Gives::sound, Gives::zeros);
    EXPECT_EQ(m_notices.told(), Lines{});
}

TEST_F(AlignedPreview, TellsNothing) {
    startMic();
    startTap();
    run(second);
    run(10 * second, Gives::nothing, Gives::nothing);
    EXPECT_EQ(m_notices.told(), Lines{});
    EXPECT_GT(opens(), 1);
}

} // namespace
