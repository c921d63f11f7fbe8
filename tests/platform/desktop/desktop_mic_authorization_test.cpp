#include "platform/desktop/desktop_mic_authorization.h"
#include "support/fake_portal.h"
#include "support/qt_bus.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>
#include <gtest/gtest.h>
#include <optional>

namespace {

class DesktopMicAuthorizationTest : public testing::Test {
  protected:
    /// Lets the event loop run until `holds`.
    template <typename Condition>
    static void waitUntil(Condition holds) {
        QEventLoop loop;
        QTimer look;
        QObject::connect(&look, &QTimer::timeout, [&] {
            if (holds()) loop.quit();
        });
        look.start(1);
        loop.exec();
    }

    int m_argc = 1;
    char m_name[5] = "test";
    char* m_argv[2] = {m_name, nullptr};
    QCoreApplication m_application{m_argc, m_argv};
    PrivateBus m_bus;
    QtBus m_ours{m_bus, "ours"};
};

TEST_F(DesktopMicAuthorizationTest, WithoutABusAccessIsGranted) {
    DesktopMicAuthorization authorization(QDBusConnection("no such connection"));
    EXPECT_EQ(authorization.status(), MicStatus::authorized);
    std::optional<bool> answer;
    authorization.requestAccess([&](bool granted) { answer = granted; });
    EXPECT_EQ(answer, true);
}

TEST_F(DesktopMicAuthorizationTest, WithoutPortalAccessIsGranted) {
    const DesktopMicAuthorization authorization(m_ours.connection());
    EXPECT_EQ(authorization.status(), MicStatus::authorized);
}

TEST_F(DesktopMicAuthorizationTest, TheSwitchForAllProgramsRestricts) {
    FakePortal portal(m_bus);
    portal.setDisabled(true);
    portal.setPermission("no");
    const DesktopMicAuthorization authorization(m_ours.connection());
    EXPECT_EQ(authorization.status(), MicStatus::restricted);
}

TEST_F(DesktopMicAuthorizationTest, TheStoredWordDecides) {
    FakePortal portal(m_bus);
    portal.setPermission("no");
    EXPECT_EQ(DesktopMicAuthorization(m_ours.connection()).status(), MicStatus::denied);
    portal.setPermission("ask");
    EXPECT_EQ(DesktopMicAuthorization(m_ours.connection()).status(), MicStatus::notDetermined);
    portal.setPermission("yes");
    EXPECT_EQ(DesktopMicAuthorization(m_ours.connection()).status(), MicStatus::authorized);
}

TEST_F(DesktopMicAuthorizationTest, ChangesAreFollowed) {
    FakePortal portal(m_bus);
    const DesktopMicAuthorization authorization(m_ours.connection());
    portal.setDisabled(true);
    waitUntil([&] { return authorization.status() == MicStatus::restricted; });
    portal.setDisabled(false);
    waitUntil([&] { return authorization.status() == MicStatus::authorized; });
    portal.setPermission("no");
    waitUntil([&] { return authorization.status() == MicStatus::denied; });
}

TEST_F(DesktopMicAuthorizationTest, APortalThatComesLateIsAsked) {
    const DesktopMicAuthorization authorization(m_ours.connection());
    FakePortal portal(m_bus, true);
    waitUntil([&] { return authorization.status() == MicStatus::restricted; });
}

TEST_F(DesktopMicAuthorizationTest, WhatIsDecidedIsAnsweredAtOnce) {
    FakePortal portal(m_bus);
    portal.setPermission("no");
    DesktopMicAuthorization authorization(m_ours.connection());
    std::optional<bool> answer;
    authorization.requestAccess([&](bool granted) { answer = granted; });
    EXPECT_EQ(answer, false);
    EXPECT_EQ(portal.questions(), 0);
}

TEST_F(DesktopMicAuthorizationTest, AnOpenQuestionIsPutToTheUserOnce) {
    FakePortal portal(m_bus);
    portal.setPermission("ask");
    DesktopMicAuthorization authorization(m_ours.connection());
    int answers = 0;
    for (int i = 0; i < 2; ++i)
        authorization.requestAccess([&](bool granted) {
            EXPECT_TRUE(granted);
            ++answers;
        });
    EXPECT_EQ(portal.questions(), 1);
    EXPECT_EQ(answers, 0);
    portal.answer("yes");
    waitUntil([&] { return answers == 2; });
    EXPECT_EQ(authorization.status(), MicStatus::authorized);
}

TEST_F(DesktopMicAuthorizationTest, APortalThatGoesAnswersForTheUser) {
    std::optional<bool> answer;
    std::optional<FakePortal> portal(m_bus);
    portal->setPermission("ask");
    DesktopMicAuthorization authorization(m_ours.connection());
    authorization.requestAccess([&](bool granted) { answer = granted; });
    EXPECT_EQ(answer, std::nullopt);
    portal.reset();
    waitUntil([&] { return answer.has_value(); });
    EXPECT_EQ(answer, false);
}

} // namespace
