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
    bool ringIsVisible(const char* name) const {
        for (const QQuickItem* const each : item(name).findChildren<QQuickItem*>("focusRing"))
            if (each->isVisible()) return true;
        return false;
    }
    bool popupIsOpen() const {
        return item("micPicker").property("popup").value<QObject*>()->property("opened").toBool();
    }
    void openList() {
        press(Qt::Key_Space);
        ASSERT_TRUE(QTest::qWaitFor([this] { return popupIsOpen(); }));
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
                ElementsAre("transcriptSwitch", "transcriptButton", "folderButton", "permissionsButton"));
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
        giveKeyboardTo("folderButton");
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

TEST_F(Keyboard, ArrowsStopAtTheFirstAndTheLastMicrophone) {
    openPanel();
    giveKeyboardTo("micPicker");
    press(Qt::Key_Down);
    EXPECT_EQ(m_state->selectedMicID.get(), "desk");
    press(Qt::Key_Up);
    press(Qt::Key_Up);
    EXPECT_EQ(m_state->selectedMicID.get(), "headset");
}

TEST_F(Keyboard, HomeAndEndChooseTheFirstAndTheLastMicrophone) {
    openPanel();
    giveKeyboardTo("micPicker");
    press(Qt::Key_Home);
    EXPECT_EQ(m_state->selectedMicID.get(), "headset");
    press(Qt::Key_End);
    EXPECT_EQ(m_state->selectedMicID.get(), "desk");
    EXPECT_TRUE(item("micPicker").property("popup").isNull()) << "no list was opened for it";
}

TEST_F(Keyboard, DownChoosesTheFirstMicrophoneWhereNoneIsSelected) {
    openPanel();
    m_state->selectedMicID = std::nullopt;
    runEventLoop();
    giveKeyboardTo("micPicker");
    press(Qt::Key_Up);
    EXPECT_EQ(m_state->selectedMicID.get(), std::nullopt);
    press(Qt::Key_Down);
    EXPECT_EQ(m_state->selectedMicID.get(), "headset");
}

TEST_F(Keyboard, ALetterChoosesTheMicrophoneThatBeginsWithIt) {
    openPanel();
    giveKeyboardTo("micPicker");
    press(Qt::Key_H);
    EXPECT_EQ(m_state->selectedMicID.get(), "headset");
    press(Qt::Key_X);
    EXPECT_EQ(m_state->selectedMicID.get(), "headset");
    openList();
    press(Qt::Key_D);
    EXPECT_EQ(m_state->selectedMicID.get(), "headset"); // not yet
    press(Qt::Key_Space);
    EXPECT_EQ(m_state->selectedMicID.get(), "desk");
    EXPECT_TRUE(QTest::qWaitFor([this] { return !popupIsOpen(); }));
}

TEST_F(Keyboard, ReturnOpensNoList) {
    openPanel();
    giveKeyboardTo("micPicker");
    press(Qt::Key_Return);
    EXPECT_TRUE(item("micPicker").property("popup").isNull());
    EXPECT_TRUE(m_window->isVisible());
}

TEST_F(Keyboard, TabClosesTheListAndGoesOn) {
    openPanel();
    giveKeyboardTo("micPicker");
    openList();
    press(Qt::Key_Tab);
    EXPECT_EQ(keyboardIsAt(), "transcriptSwitch");
    EXPECT_TRUE(QTest::qWaitFor([this] { return !popupIsOpen(); }));
}

TEST_F(Keyboard, AHeldKeyPressesOnce) {
    openPanel();
    giveKeyboardTo("transcriptSwitch");
    for (const Qt::Key key : {Qt::Key_Space, Qt::Key_Return}) {
        const bool before = m_state->transcribeEnabled;
        const auto send = [this, key](QEvent::Type type, bool again) {
            QKeyEvent event(type, key, Qt::NoModifier, QString(), again);
            QCoreApplication::sendEvent(m_window, &event);
        };
        send(QEvent::KeyPress, false);
        for (int times = 0; times < 3; ++times) {
            send(QEvent::KeyRelease, true);
            send(QEvent::KeyPress, true);
        }
        send(QEvent::KeyRelease, false);
        EXPECT_NE(m_state->transcribeEnabled, before);
    }
}

TEST_F(Keyboard, SpaceThatIsReleasedElsewherePressesNothing) {
    openPanel();
    const bool before = m_state->transcribeEnabled;
    giveKeyboardTo("transcriptSwitch");
    QTest::keyPress(m_window, Qt::Key_Space);
    press(Qt::Key_Tab);
    QTest::keyRelease(m_window, Qt::Key_Space);
    EXPECT_EQ(m_state->transcribeEnabled, before);
    EXPECT_FALSE(item("transcriptSwitch").property("down").toBool());
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
    for (const char* const name :
         {"micPicker", "transcriptSwitch", "permissionsButton", "quitButton", "recordButton"}) {
        EXPECT_FALSE(ringIsVisible(name)) << name;
        giveKeyboardTo(name);
        EXPECT_TRUE(ringIsVisible(name)) << name;
    }
    click("transcriptSwitch"); // by mouse
    EXPECT_FALSE(ringIsVisible("transcriptSwitch"));
}

TEST_F(Keyboard, TheRingStaysAtTheRecordButtonWhileARecordingStarts) {
    openPanel();
    giveKeyboardTo("micPicker");
    press(Qt::Key_Backtab);
    ASSERT_TRUE(ringIsVisible("recordButton"));
    press(Qt::Key_Space);
    ASSERT_TRUE(m_state->isStarting);
    EXPECT_TRUE(ringIsVisible("recordButton"));
    show();
    ASSERT_TRUE(m_state->isRecording);
    EXPECT_EQ(keyboardIsAt(), "recordButton");
    EXPECT_TRUE(ringIsVisible("recordButton"));
    press(Qt::Key_Space);
    EXPECT_FALSE(m_state->isRecording);
}

TEST_F(Keyboard, TheRingOfADisabledButtonGoesWhenTheKeyboardGoesElsewhere) {
    openPanel();
    giveKeyboardTo("micPicker");
    press(Qt::Key_Backtab);
    ASSERT_TRUE(ringIsVisible("recordButton"));
    press(Qt::Key_Space);
    click("transcriptSwitch");
    EXPECT_FALSE(ringIsVisible("recordButton"));
    show();
    ASSERT_TRUE(m_state->isRecording);
    EXPECT_EQ(keyboardIsAt(), "transcriptSwitch");
    EXPECT_FALSE(ringIsVisible("recordButton"));
}

TEST_F(Keyboard, NoRingComesWithAStartByMouse) {
    openPanel();
    click("recordButton");
    EXPECT_FALSE(ringIsVisible("recordButton"));
    show();
    ASSERT_TRUE(m_state->isRecording);
    EXPECT_EQ(keyboardIsAt(), "recordButton");
    EXPECT_FALSE(ringIsVisible("recordButton"));
}

TEST_F(Keyboard, TheRingComesWithTabAndNotWithTheMouse) {
    openPanel();
    click("micPicker");
    EXPECT_EQ(keyboardIsAt(), "micPicker");
    EXPECT_FALSE(ringIsVisible("micPicker"));
    press(Qt::Key_Tab);
    EXPECT_TRUE(ringIsVisible("transcriptSwitch"));
    press(Qt::Key_Backtab);
    EXPECT_TRUE(ringIsVisible("micPicker"));
    EXPECT_FALSE(ringIsVisible("transcriptSwitch"));
}

} // namespace
