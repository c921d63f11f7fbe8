#include "ui/ui_fixture.h"

namespace {

using testing::ElementsAre;

class Onboarding : public UiFixture {
  protected:
    void SetUp() override {
        UiFixture::SetUp();
        m_authorization.current = MicStatus::notDetermined;
        m_model->reread();
    }
    void answerMic(MicStatus status) {
        m_authorization.current = status;
        m_model->reread();
        runEventLoop();
    }
    void setSystemAudio(std::optional<bool> granted) {
        m_state->systemAudioGranted = granted;
        runEventLoop();
    }
    std::string detail(const char* row) const { return textOf(*item(row).findChild<QQuickItem*>("detail")); }
    bool isChecked(const char* row) const { return item(row).property("granted").toBool(); }
};

// --- the microphone

TEST_F(Onboarding, ExplainsWhyTheMicrophoneIsNeededUntilItIsGranted) {
    openOnboarding();
    EXPECT_EQ(detail("micRow"), "So your voice is in the recording.");
    EXPECT_TRUE(isVisible("grantMic"));
    EXPECT_FALSE(isChecked("micRow"));
    answerMic(MicStatus::authorized);
    EXPECT_EQ(detail("micRow"), "Granted");
    EXPECT_FALSE(isVisible("grantMic"));
    EXPECT_TRUE(isChecked("micRow"));
}

TEST_F(Onboarding, ARefusedMicrophoneCanBeAskedForAgain) {
    openOnboarding();
    for (const MicStatus status : {MicStatus::restricted, MicStatus::denied}) {
        answerMic(status);
        EXPECT_EQ(detail("micRow"), "So your voice is in the recording.");
        EXPECT_TRUE(isVisible("grantMic"));
    }
}

TEST_F(Onboarding, GrantAsksTheDesktopForTheMicrophone) {
    openOnboarding();
    click("grantMic");
    ASSERT_EQ(m_authorization.requests.size(), 1U);
    m_authorization.answer(MicStatus::authorized);
    show();
    EXPECT_EQ(detail("micRow"), "Granted");
    EXPECT_TRUE(isEnabled("done"));
}

// --- the system's audio

TEST_F(Onboarding, BeforeAnyCheckTheSystemsAudioIsExplained) {
    openOnboarding();
    EXPECT_EQ(detail("systemRow"), "So everything you hear is in the recording.");
    EXPECT_TRUE(isVisible("grantSystemAudio"));
    EXPECT_FALSE(isVisible("settings"));
    EXPECT_FALSE(isVisible("checkingSpinner"));
}

TEST_F(Onboarding, ACheckThatTheUserHasNotAskedForShowsNoSpinner) {
    openOnboarding();
    m_state->checkSystemAudio();
    runEventLoop();
    EXPECT_EQ(detail("systemRow"), "So everything you hear is in the recording.");
    EXPECT_TRUE(isVisible("grantSystemAudio"));
    EXPECT_FALSE(isVisible("settings"));
    EXPECT_FALSE(isVisible("checkingSpinner"));
}

TEST_F(Onboarding, GrantingShowsThatItIsChecked) {
    openOnboarding();
    m_journal.clear();
    click("grantSystemAudio");
    EXPECT_EQ(detail("systemRow"), "Checking…");
    EXPECT_TRUE(isVisible("checkingSpinner"));
    EXPECT_FALSE(isVisible("grantSystemAudio"));
    EXPECT_FALSE(isVisible("settings"));
    show();
    EXPECT_THAT(calls(), ElementsAre("prime", "sleep 2000", "check"));
}

TEST_F(Onboarding, VerifiedSystemAudioNeedsNoButtons) {
    openOnboarding();
    click("grantSystemAudio");
    show();
    EXPECT_EQ(detail("systemRow"), "Granted — capture verified.");
    EXPECT_TRUE(isChecked("systemRow"));
    EXPECT_FALSE(isVisible("grantSystemAudio"));
    EXPECT_FALSE(isVisible("settings"));
    EXPECT_FALSE(isVisible("checkingSpinner"));
}

TEST_F(Onboarding, SilentSystemAudioCanBeTriedAgainOrSetRight) {
    openOnboarding();
    m_systemAudioWorks = false;
    click("grantSystemAudio");
    show();
    EXPECT_EQ(detail("systemRow"), "So everything you hear is in the recording.");
    EXPECT_FALSE(isChecked("systemRow"));
    EXPECT_TRUE(isVisible("grantSystemAudio"));
    EXPECT_TRUE(isVisible("settings"));
    EXPECT_FALSE(isVisible("checkingSpinner"));
    click("settings");
    EXPECT_THAT(m_workspace.settings, ElementsAre(SettingsPage::sound));
}

TEST_F(Onboarding, AfterOneGrantEveryLaterCheckIsShownAlsoWhenTheWindowWasHidden) {
    openOnboarding();
    click("grantSystemAudio");
    show();
    m_onboarding->close();
    runEventLoop();
    openOnboarding();
    setSystemAudio(std::nullopt);
    EXPECT_EQ(detail("systemRow"), "Checking…");
    EXPECT_TRUE(isVisible("checkingSpinner"));
}

TEST_F(Onboarding, ANewWindowKnowsNothingOfAnEarlierGrant) {
    openOnboarding();
    click("grantSystemAudio");
    show();
    m_onboarding->deleteLater();
    QCoreApplication::sendPostedEvents(m_onboarding, QEvent::DeferredDelete);
    ASSERT_TRUE(m_onboarding.isNull());
    setSystemAudio(std::nullopt);
    openOnboarding();
    EXPECT_FALSE(isVisible("checkingSpinner"));
}

// --- done

TEST_F(Onboarding, WithoutTheMicrophoneItIsNotDone) {
    openOnboarding();
    setSystemAudio(true);
    EXPECT_FALSE(isEnabled("done"));
}

TEST_F(Onboarding, WithTheMicrophoneItIsDoneWhateverTheSystemsAudioDoes) {
    openOnboarding();
    answerMic(MicStatus::authorized);
    for (const std::optional<bool> granted :
         {std::optional<bool>(), std::optional(false), std::optional(true)}) {
        setSystemAudio(granted);
        EXPECT_TRUE(isEnabled("done"));
    }
}

TEST_F(Onboarding, DoneFinishes) {
    m_authorization.current = MicStatus::authorized;
    m_model->reread();
    openOnboarding();
    m_journal.clear();
    click("done");
    EXPECT_THAT(calls(), ElementsAre("store onboarded=true", "tray only"));
}

TEST_F(Onboarding, ReturnPressesDone) {
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter}) {
        m_authorization.current = MicStatus::authorized;
        m_model->reread();
        openOnboarding();
        m_journal.clear();
        press(key);
        EXPECT_THAT(calls(), ElementsAre("store onboarded=true", "tray only"));
    }
}

TEST_F(Onboarding, ReturnPressesTheButtonThatHasTheFocusInsteadOfDone) {
    m_authorization.current = MicStatus::authorized;
    m_model->reread();
    openOnboarding();
    m_journal.clear();
    giveKeyboardTo("grantSystemAudio");
    press(Qt::Key_Return);
    EXPECT_EQ(detail("systemRow"), "Checking…");
    EXPECT_THAT(calls(), testing::Not(testing::Contains("store onboarded=true")));
}

TEST_F(Onboarding, ReturnDoesNothingWhileDoneIsDisabledOrAsLongAsItIsHeld) {
    openOnboarding();
    m_journal.clear();
    press(Qt::Key_Return);
    EXPECT_THAT(calls(), testing::IsEmpty());
    answerMic(MicStatus::authorized);
    QKeyEvent held(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, QString(), true);
    QCoreApplication::sendEvent(m_window, &held);
    EXPECT_THAT(calls(), testing::IsEmpty());
}

// --- the window

TEST_F(Onboarding, HasATitleACloseButtonAndOneSize) {
    openOnboarding();
    EXPECT_EQ(m_onboarding->title(), "Set up Murmelo");
    EXPECT_EQ(m_onboarding->size(), QSize(460, 320));
    EXPECT_EQ(m_onboarding->minimumSize(), m_onboarding->maximumSize());
    EXPECT_TRUE(m_onboarding->flags().testFlag(Qt::WindowCloseButtonHint));
    EXPECT_FALSE(m_onboarding->flags().testFlag(Qt::WindowMinimizeButtonHint));
    EXPECT_FALSE(m_onboarding->flags().testFlag(Qt::WindowMaximizeButtonHint));
}

TEST_F(Onboarding, TheViewKeepsItsSizeWhateverTheRowsSay) {
    openOnboarding();
    for (const std::optional<bool> granted :
         {std::optional<bool>(), std::optional(false), std::optional(true)}) {
        setSystemAudio(granted);
        EXPECT_EQ(item("onboardingView").width(), 460);
        EXPECT_EQ(item("onboardingView").height(), 300);
    }
    EXPECT_EQ(item("explanation").width(), 412);
    EXPECT_EQ(item("explanation").property("lineCount").toInt(), 2);
}

TEST_F(Onboarding, WithTextTwiceAsLargeEverythingHasItsPlace) {
    theme().setProperty("textScale", 2.0);
    m_state->systemAudioGranted = false;
    openOnboarding();
    EXPECT_EQ(m_onboarding->size(), QSize(920, 640));
    const QQuickItem& settings = item("settings");
    EXPECT_LE(settings.mapToScene({settings.width(), 0}).x(), 920 - 24);
    EXPECT_GE(item("done").mapToScene({}).y(), settings.mapToScene({0, settings.height()}).y());
}

} // namespace
