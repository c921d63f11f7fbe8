#include "ui/quick_windowing.h"

#include "ui/ui_fixture.h"

#include <QPointer>
#include <QScreen>

namespace {

class QuickWindowingTest : public UiFixture {
  protected:
    std::unique_ptr<OnboardingWindow> make() { return m_windows.makeOnboardingWindow(*m_state); }
    static std::vector<QPointer<QQuickWindow>> windows() {
        std::vector<QPointer<QQuickWindow>> found;
        for (QWindow* const window : QGuiApplication::topLevelWindows())
            if (window->objectName() == "onboardingWindow")
                found.emplace_back(qobject_cast<QQuickWindow*>(window));
        return found;
    }

    QuickWindowing m_windows{m_views, [this](AppState& state) -> AppStateModel& {
                                 EXPECT_EQ(&state, m_state.get());
                                 return *m_model;
                             }};
};

TEST_F(QuickWindowingTest, TheWindowIsHiddenUntilItIsBroughtToTheFront) {
    const auto window = make();
    ASSERT_EQ(windows().size(), 1U);
    EXPECT_FALSE(windows()[0]->isVisible());
    window->showInFront();
    EXPECT_TRUE(windows()[0]->isVisible());
    EXPECT_TRUE(QTest::qWaitForWindowActive(windows()[0]));
}

TEST_F(QuickWindowingTest, TheWindowStandsInTheMiddleOfTheScreen) {
    const auto window = make();
    window->showInFront();
    const QRect screen = windows()[0]->screen()->availableGeometry();
    const QPoint away = windows()[0]->geometry().center() - screen.center();
    EXPECT_LE(away.manhattanLength(), 2);
}

TEST_F(QuickWindowingTest, ItsTitleBarOnlyHidesTheWindow) {
    const auto window = make();
    window->showInFront();
    const QPointer<QQuickWindow> shown = windows()[0];
    shown->close();
    runEventLoop();
    ASSERT_FALSE(shown.isNull());
    EXPECT_FALSE(shown->isVisible());
    window->showInFront();
    EXPECT_TRUE(shown->isVisible());
    EXPECT_EQ(windows().size(), 1U);
}

TEST_F(QuickWindowingTest, ShownAgainItKnowsWhatHasBeenGrantedMeanwhile) {
    const auto window = make();
    m_authorization.current = MicStatus::denied;
    window->showInFront();
    runEventLoop();
    EXPECT_FALSE(m_model->micGranted());
    windows()[0]->close();
    m_authorization.current = MicStatus::authorized;
    window->showInFront();
    runEventLoop();
    EXPECT_TRUE(m_model->micGranted());
}

TEST_F(QuickWindowingTest, WithoutAWindowOnTheScreenNothingWaitsForOne) {
    int calls = 0;
    m_windows.afterOnboarding([&] { ++calls; });
    EXPECT_EQ(calls, 1) << "none has been made";
    const auto window = make();
    m_windows.afterOnboarding([&] { ++calls; });
    EXPECT_EQ(calls, 2) << "it has not been shown";
}

TEST_F(QuickWindowingTest, WhatWaitsForTheWindowRunsOnceItHasBeenClosed) {
    const auto window = make();
    window->showInFront();
    int calls = 0;
    m_windows.afterOnboarding([&] { ++calls; });
    runEventLoop();
    EXPECT_EQ(calls, 0);
    windows()[0]->close();
    runEventLoop();
    EXPECT_EQ(calls, 1);
    window->showInFront();
    windows()[0]->close();
    runEventLoop();
    EXPECT_EQ(calls, 1) << "once";
}

TEST_F(QuickWindowingTest, WhatWaitsForTheWindowRunsAfterTheOperationThatEndsIt) {
    auto window = make();
    window->showInFront();
    int calls = 0;
    m_windows.afterOnboarding([&] { ++calls; });
    window.reset();
    EXPECT_EQ(calls, 0);
    runEventLoop();
    EXPECT_EQ(calls, 1);
}

TEST_F(QuickWindowingTest, DestroyedTheWindowIsOutOfSightAtOnceAndGoneInTheNextTurn) {
    auto window = make();
    window->showInFront();
    const QPointer<QQuickWindow> shown = windows()[0];
    window.reset();
    ASSERT_FALSE(shown.isNull()); // its own button may be what ends it
    EXPECT_FALSE(shown->isVisible());
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(shown.isNull());
}

TEST_F(QuickWindowingTest, TheWindowGoesWithItsModel) {
    auto window = make();
    window->showInFront();
    m_model.reset();
    EXPECT_TRUE(windows().empty());
    window->showInFront();
    window.reset();
}

/// The whole way, with a state that has this desktop instead of the fake one.
TEST_F(QuickWindowingTest, DoneEndsTheWindowFromWithinAndTheNextOneIsAnother) {
    m_model.reset();
    Services services = this->services();
    m_state = AppState::create({services.settings, services.devices, services.micAuthorization,
                                services.workspace, m_windows, services.notices, services.main, services.jobs,
                                services.makeEngine, services.primeSystemAudioPermission,
                                services.systemAudioWorks, services.transcribeRecording, services.sleep,
                                services.wallClock, services.environment, services.exit});
    m_model.emplace(*m_state, m_workspace, std::chrono::milliseconds(0));
    m_state->openOnboarding();
    show();
    ASSERT_EQ(windows().size(), 1U);
    const QPointer<QQuickWindow> first = windows()[0];
    m_window = first;
    ASSERT_TRUE(QTest::qWaitForWindowActive(first));
    click("done");
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(first.isNull());
    EXPECT_TRUE(m_settings.boolean("onboarded"));
    m_state->openOnboarding();
    EXPECT_EQ(windows().size(), 1U);
}

} // namespace
