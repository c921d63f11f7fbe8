#include "ui/ui_fixture.h"

#include <QAccessible>

namespace {

using testing::ElementsAre;

/// The views as a screen reader meets them.
class Accessibility : public UiFixture {
  protected:
    QAccessibleInterface& accessible(const char* name) {
        QAccessibleInterface* const found = QAccessible::queryAccessibleInterface(&item(name));
        if (found == nullptr) throw std::runtime_error(std::string("not accessible: ") + name);
        return *found;
    }
    std::string nameOf(const char* name) { return accessible(name).text(QAccessible::Name).toStdString(); }
    std::string descriptionOf(const char* name) {
        return accessible(name).text(QAccessible::Description).toStdString();
    }
    void act(const char* name, const QString& action) {
        accessible(name).actionInterface()->doAction(action);
        runEventLoop();
    }
    void press(const char* name) { act(name, QAccessibleActionInterface::pressAction()); }

    /// Every text that a screen reader finds, from the top.
    Lines spoken(QAccessibleInterface* root) {
        Lines texts;
        if (root->state().invisible) return texts;
        const QString name = root->text(QAccessible::Name);
        if (!name.isEmpty()) texts.push_back(name.toStdString());
        for (int i = 0; i < root->childCount(); ++i) {
            const Lines below = spoken(root->child(i));
            texts.insert(texts.end(), below.begin(), below.end());
        }
        return texts;
    }
};

TEST_F(Accessibility, EverythingOnThePanelHasAName) {
    openPanel();
    EXPECT_THAT(
        spoken(QAccessible::queryAccessibleInterface(m_window)),
        ElementsAre("Murmelo", "Start Recording", "Input", "Microphone", "Microphone level",
                    "Whatever you hear on this computer", "System audio level", "Transcript",
                    "Quick on-device transcript with speaker labels. For higher quality, open the audio in "
                    "any transcription app.",
                    "Permissions…", "Quit"));
}

TEST_F(Accessibility, EverythingInOnboardingHasAName) {
    m_authorization.current = MicStatus::denied;
    m_model->reread();
    m_state->systemAudioGranted = false;
    openOnboarding();
    EXPECT_THAT(
        spoken(QAccessible::queryAccessibleInterface(m_window)),
        ElementsAre("Set up Murmelo", "Record what you hear and say",
                    "The app captures your computer's audio and your microphone. That needs two one-time "
                    "permissions.",
                    "Microphone", "So your voice is in the recording.", "Grant", "System Audio",
                    "So everything you hear is in the recording.", "Grant", "Settings", "Done"));
    EXPECT_EQ(descriptionOf("grantMic"), "Microphone");
    EXPECT_EQ(descriptionOf("grantSystemAudio"), "System Audio");
}

TEST_F(Accessibility, ControlsHaveTheirRoles) {
    openPanel();
    EXPECT_EQ(accessible("recordButton").role(), QAccessible::Button);
    EXPECT_EQ(accessible("permissionsButton").role(), QAccessible::Button);
    EXPECT_EQ(accessible("micPicker").role(), QAccessible::ComboBox);
    EXPECT_EQ(accessible("transcriptSwitch").role(), QAccessible::CheckBox);
    EXPECT_EQ(accessible("micMeter").role(), QAccessible::ProgressBar);
    EXPECT_EQ(accessible("title").role(), QAccessible::Heading);
}

TEST_F(Accessibility, ButtonsArePressedOnceAtATime) {
    openPanel();
    press("recordButton");
    EXPECT_TRUE(m_state->isStarting);
    show();
    EXPECT_EQ(nameOf("recordButton"), "Stop");
    press("recordButton");
    EXPECT_FALSE(m_state->isRecording);
    EXPECT_FALSE(m_state->isStarting);
    m_journal.clear();
    press("permissionsButton");
    EXPECT_THAT(calls(), ElementsAre("show in task bar", "activate", "make window", "window to front"));
}

TEST_F(Accessibility, ADisabledButtonSaysSoAndCannotBePressed) {
    openPanel();
    m_state->selectedMicID = std::nullopt;
    runEventLoop();
    EXPECT_EQ(descriptionOf("recordButton"), "Not available");
    m_log.clear();
    press("recordButton");
    EXPECT_THAT(log(), testing::IsEmpty());
    m_state->selectedMicID = "desk";
    runEventLoop();
    EXPECT_EQ(descriptionOf("recordButton"), "");
}

TEST_F(Accessibility, TheSwitchTellsItsStateAndIsTurnedOnceAtATime) {
    openPanel();
    EXPECT_TRUE(accessible("transcriptSwitch").state().checkable);
    EXPECT_FALSE(accessible("transcriptSwitch").state().checked);
    press("transcriptSwitch");
    EXPECT_TRUE(m_state->transcribeEnabled);
    EXPECT_TRUE(accessible("transcriptSwitch").state().checked);
    act("transcriptSwitch", QAccessibleActionInterface::toggleAction());
    EXPECT_FALSE(m_state->transcribeEnabled);
    EXPECT_FALSE(accessible("transcriptSwitch").state().checked);
}

TEST_F(Accessibility, ThePickerTellsTheMicrophoneAndOpensItsList) {
    openPanel();
    EXPECT_EQ(descriptionOf("micPicker"), "Desk Mic");
    press("micPicker");
    EXPECT_TRUE(QTest::qWaitFor([this] {
        return item("micPicker").property("popup").value<QObject*>()->property("opened").toBool();
    }));
    const Lines texts = spoken(QAccessible::queryAccessibleInterface(m_window));
    EXPECT_THAT(texts, testing::IsSupersetOf({"Headset", "Desk Mic"}));
}

TEST_F(Accessibility, MetersTellTheirLevelInSteps) {
    openPanel();
    m_state->micLevel = 0.43F;
    m_state->outputLevel = 7;
    runEventLoop();
    EXPECT_EQ(descriptionOf("micMeter"), "45 %");
    EXPECT_EQ(descriptionOf("outputMeter"), "100 %");
}

TEST_F(Accessibility, TheElapsedTimeIsTheStopButtonsDescription) {
    openPanel();
    record();
    m_main.advance(61s);
    runEventLoop();
    EXPECT_EQ(descriptionOf("recordButton"), "01:01");
}

TEST_F(Accessibility, TheStatusIsSpoken) {
    openPanel();
    m_state->status = "Pick a microphone first.";
    runEventLoop();
    EXPECT_EQ(accessible("statusLine").role(), QAccessible::StatusBar);
    EXPECT_EQ(nameOf("statusLine"), "Pick a microphone first.");
}

} // namespace
