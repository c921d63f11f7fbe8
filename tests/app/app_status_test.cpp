#include "app/app_status.h"

#include "app/app_state_fixture.h"

namespace {

class AppStatusTest : public AppStateFixture {};

TEST_F(AppStatusTest, TellsTheChosenMicrophoneAndThatItCanRecord) {
    launch();
    const AppStatus status = statusOf(*m_state);
    EXPECT_EQ(status.microphone, "Desk Mic");
    EXPECT_TRUE(status.canToggle);
    EXPECT_FALSE(status.isRecording);
    EXPECT_EQ(status.elapsed, 0);
    EXPECT_EQ(status.lastRecording, std::nullopt);
}

TEST_F(AppStatusTest, WithoutAMicrophoneThereIsNothingToStart) {
    m_devices.mics.clear();
    m_devices.defaultMic.reset();
    launch();
    EXPECT_EQ(statusOf(*m_state).microphone, "");
    EXPECT_FALSE(statusOf(*m_state).canToggle);
}

TEST_F(AppStatusTest, WhatStartsCannotBeStartedAgain) {
    launch();
    m_state->isStarting = true;
    EXPECT_TRUE(statusOf(*m_state).isStarting);
    EXPECT_FALSE(statusOf(*m_state).canToggle);
}

TEST_F(AppStatusTest, ARecordingCanAlwaysBeStopped) {
    launch();
    m_state->isRecording = true;
    m_state->elapsed = 7.5;
    m_state->selectedMicID = std::nullopt;
    EXPECT_TRUE(statusOf(*m_state).canToggle);
    EXPECT_EQ(statusOf(*m_state).elapsed, 7.5);
    m_state->isRecording = false;
    EXPECT_EQ(statusOf(*m_state).elapsed, 0) << "only of a recording that runs";
}

TEST_F(AppStatusTest, TellsTheLastRecordingsFolderAndTheStatusLine) {
    launch();
    m_state->lastRecording =
        Recorder::Result{"/music/r/mix.m4a", "/music/r/voice.m4a", "/music/r/system.m4a"};
    m_state->status = "Saved.";
    EXPECT_EQ(statusOf(*m_state).lastRecording, "/music/r");
    EXPECT_EQ(statusOf(*m_state).text, "Saved.");
}

} // namespace
