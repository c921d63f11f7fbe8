#include "ui/ui_fixture.h"

#include <fstream>

namespace {

using testing::ElementsAre;

class Keyboard : public UiFixture {
  protected:
    /// Where Tab leads, beginning at what has the keyboard.
    Lines round(int stops) {
        Lines seen;
        for (int i = 0; i < stops; ++i) {
            seen.push_back(keyboardIsAt());
            press(Qt::Key_Tab);
        }
        return seen;
    }
    void makeATranscribedRecording() {
        record();
        m_state->toggleRecording();
        const std::filesystem::path folder = m_state->lastRecording.get()->mix.parent_path();
        std::filesystem::create_directories(folder);
        std::ofstream(folder / "transcript.txt") << "You: Hello";
        m_model->reread();
        show();
    }
    bool popupIsOpen() const {
        return item("micPicker").property("popup").value<QObject*>()->property("opened").toBool();
    }
};

TEST_F(Keyboard, BeginsAtTheRecordButton) {
    openPanel();
    EXPECT_EQ(keyboardIsAt(), "recordButton");
    press(Qt::Key_Space);
    EXPECT_TRUE(m_state->isStarting);
}

TEST_F(Keyboard, GoesThroughThePanelFromTopToBottomAndRound) {
    openPanel();
    EXPECT_THAT(round(6), ElementsAre("recordButton", "micPicker", "transcriptSwitch", "permissionsButton",
                                      "quitButton", "recordButton"));
}

TEST_F(Keyboard, GoesToTheLastRecordingsButtons) {
    openPanel();
    makeATranscribedRecording();
    giveKeyboardTo("transcriptSwitch");
    EXPECT_THAT(round(4),
                ElementsAre("transcriptSwitch", "transcriptButton", "finderButton", "permissionsButton"));
}

TEST_F(Keyboard, PassesWhatIsDisabled) {
    openPanel();
    record();
    runEventLoop();
    giveKeyboardTo("recordButton");
    EXPECT_THAT(round(2), ElementsAre("recordButton", "transcriptSwitch"));
}

TEST_F(Keyboard, SpaceAndReturnPressWhatHasIt) {
    openPanel();
    makeATranscribedRecording();
    for (const Qt::Key key : {Qt::Key_Space, Qt::Key_Return, Qt::Key_Enter}) {
        m_workspace.opened.clear();
        giveKeyboardTo("finderButton");
        press(key);
        EXPECT_EQ(m_workspace.opened.size(), 1U);
        const bool before = m_state->transcribeEnabled;
        giveKeyboardTo("transcriptSwitch");
        press(key);
        EXPECT_NE(m_state->transcribeEnabled, before);
    }
}

TEST_F(Keyboard, ReturnStopsARecordingOnce) {
    openPanel();
    record();
    runEventLoop();
    giveKeyboardTo("recordButton");
    press(Qt::Key_Return);
    EXPECT_FALSE(m_state->isRecording);
    EXPECT_FALSE(m_state->isStarting);
}

TEST_F(Keyboard, ArrowsChooseAMicrophone) {
    openPanel();
    ASSERT_EQ(m_state->selectedMicID.get(), "desk");
    giveKeyboardTo("micPicker");
    press(Qt::Key_Up);
    EXPECT_EQ(m_state->selectedMicID.get(), "headset");
    press(Qt::Key_Space);
    ASSERT_TRUE(QTest::qWaitFor([this] { return popupIsOpen(); }));
    press(Qt::Key_Down);
    EXPECT_EQ(m_state->selectedMicID.get(), "headset"); // not yet
    press(Qt::Key_Return);
    EXPECT_EQ(m_state->selectedMicID.get(), "desk");
}

TEST_F(Keyboard, EscapeClosesFirstTheListThenThePanel) {
    openPanel();
    giveKeyboardTo("micPicker");
    press(Qt::Key_Space);
    ASSERT_TRUE(QTest::qWaitFor([this] { return popupIsOpen(); }));
    press(Qt::Key_Escape);
    EXPECT_TRUE(QTest::qWaitFor([this] { return !popupIsOpen(); }));
    EXPECT_TRUE(m_window->isVisible());
    press(Qt::Key_Escape);
    EXPECT_FALSE(m_window->isVisible());
}

TEST_F(Keyboard, ControlQQuitsFromThePanel) {
    openPanel();
    int quits = 0;
    QObject::connect(&*m_model, &AppStateModel::quitRequested, [&] { ++quits; });
    press(Qt::Key_Q, Qt::ControlModifier);
    EXPECT_EQ(quits, 1);
}

TEST_F(Keyboard, ControlQQuitsFromOnboarding) {
    openOnboarding();
    int quits = 0;
    QObject::connect(&*m_model, &AppStateModel::quitRequested, [&] { ++quits; });
    press(Qt::Key_Q, Qt::ControlModifier);
    EXPECT_EQ(quits, 1);
}

TEST_F(Keyboard, EscapeHidesOnboarding) {
    openOnboarding();
    press(Qt::Key_Escape);
    EXPECT_FALSE(m_window->isVisible());
}

TEST_F(Keyboard, GoesThroughOnboarding) {
    m_authorization.current = MicStatus::denied;
    m_model->reread();
    m_state->systemAudioGranted = false;
    openOnboarding();
    press(Qt::Key_Tab);
    EXPECT_THAT(round(3), ElementsAre("grantMic", "grantSystemAudio", "settings"));
    m_authorization.current = MicStatus::authorized;
    m_model->reread();
    runEventLoop();
    giveKeyboardTo("settings");
    EXPECT_THAT(round(2), ElementsAre("settings", "done"));
}

TEST_F(Keyboard, ARingShowsWhereItIs) {
    openPanel();
    const auto ringIsVisible = [this](const char* name) {
        for (const QQuickItem* const each : item(name).findChildren<QQuickItem*>("focusRing"))
            if (each->isVisible()) return true;
        return false;
    };
    for (const char* const name :
         {"micPicker", "transcriptSwitch", "permissionsButton", "quitButton", "recordButton"}) {
        EXPECT_FALSE(ringIsVisible(name)) << name;
        giveKeyboardTo(name);
        EXPECT_TRUE(ringIsVisible(name)) << name;
    }
    click("transcriptSwitch"); // by mouse
    EXPECT_FALSE(ringIsVisible("transcriptSwitch"));
}

} // namespace
