#include "platform/desktop/desktop_notices.h"

#include "support/fake_notification_service.h"
#include "support/fake_workspace.h"
#include "support/log_capture.h"

#include <QCoreApplication>
#include <gmock/gmock.h>
#include <optional>
#include <thread>

namespace {

using testing::ElementsAre;
using testing::SizeIs;
using testing::StartsWith;
using State = RecoveredFile::State;

class DesktopNoticesTest : public testing::Test {
  protected:
    void serve() { m_service.emplace(m_bus); }
    template <typename Condition>
    static void waitUntil(Condition holds) {
        while (!holds()) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    void waitForShown(std::size_t count) {
        waitUntil([&] { return m_service->shown().size() >= count; });
        ASSERT_THAT(m_service->shown(), SizeIs(count));
    }
    const FakeNotificationService::Shown& last() const { return m_service->shown().back(); }

    LogCapture m_log;
    int m_argc = 1;
    char m_name[5] = "test";
    char* m_argv[2] = {m_name, nullptr};
    QCoreApplication m_application{m_argc, m_argv};
    PrivateBus m_bus;
    QtBus m_ours{m_bus, "ours"};
    FakeWorkspace m_workspace;
    std::optional<FakeNotificationService> m_service;
    DesktopNotices m_notices{m_ours.connection(), m_workspace};
};

TEST_F(DesktopNoticesTest, ASentenceIsShownUntilTheUserHasSeenIt) {
    serve();
    m_notices.tell("The microphone is gone.");
    waitForShown(1);
    EXPECT_EQ(last().summary, "Murmelo");
    EXPECT_EQ(last().body, "The microphone is gone.");
    EXPECT_EQ(last().replaces, 0U);
    EXPECT_EQ(last().hints["urgency"].toInt(), 2) << "critical: it does not go by itself";
    EXPECT_EQ(last().hints["desktop-entry"], "org.murmelo.Murmelo");
}

TEST_F(DesktopNoticesTest, FurtherSentencesAreLinesInTheSameBubble) {
    serve();
    m_notices.tell("The microphone is gone.");
    waitForShown(1);
    m_notices.tell("The microphone is back.");
    waitForShown(2);
    EXPECT_EQ(last().replaces, m_service->shown().front().id);
    EXPECT_EQ(last().body, "The microphone is gone.\nThe microphone is back.");
    m_notices.tell("The microphone is gone.");
    waitForShown(3);
    EXPECT_EQ(last().body, "The microphone is back.\nThe microphone is gone.") << "the latest is the last";
}

TEST_F(DesktopNoticesTest, SentencesAtOnceMakeOneBubble) {
    serve();
    for (const char* const sentence : {"One.", "Two.", "Three."}) m_notices.tell(sentence);
    waitForShown(2);
    EXPECT_EQ(last().replaces, m_service->shown().front().id);
    EXPECT_EQ(last().body, "One.\nTwo.\nThree.");
}

TEST_F(DesktopNoticesTest, OnlyTheLatestSentencesAreKept) {
    serve();
    for (int i = 1; i <= 9; ++i) m_notices.tell(std::to_string(i));
    waitForShown(2);
    EXPECT_EQ(last().body, "6\n7\n8\n9");
}

TEST_F(DesktopNoticesTest, AfterTheUserHasSeenThemTheBubbleBeginsAnew) {
    serve();
    m_notices.tell("One.");
    waitForShown(1);
    m_notices.tell("Two."); // its answer tells that the first one's has arrived too
    waitForShown(2);
    m_service->close(last().id);
    do { // until that has arrived
        const std::size_t before = m_service->shown().size();
        m_notices.tell("Three.");
        waitForShown(before + 1);
    } while (last().body == "One.\nTwo.\nThree.");
    EXPECT_EQ(last().body, "Three.");
}

TEST_F(DesktopNoticesTest, SentencesComeFromAnyThread) {
    serve();
    std::thread([&] { m_notices.tell("From afar."); }).join();
    waitForShown(1);
    EXPECT_EQ(last().body, "From afar.");
}

TEST_F(DesktopNoticesTest, NamesAreNoMarkup) {
    serve();
    m_notices.tell("“A & <b>” is back.");
    waitForShown(1);
    EXPECT_EQ(last().body, "“A &amp; &lt;b&gt;” is back.");
}

TEST_F(DesktopNoticesTest, AClickOnARecordingsNoticeAsksForThePanel) {
    serve();
    int wanted = 0;
    QObject::connect(&m_notices, &DesktopNotices::panelWanted, [&] { ++wanted; });
    m_notices.tell("The microphone is gone.");
    m_notices.tell("And now?");
    waitForShown(2);
    EXPECT_EQ(last().actions, (QStringList{"default", "Open Murmelo"}));
    m_service->click(last().id + 5); // of another program
    m_service->click(last().id);
    waitUntil([&] { return wanted > 0; });
    EXPECT_EQ(wanted, 1);
}

TEST_F(DesktopNoticesTest, AClickOnTheTranscriptsNoticeOpensIt) {
    serve();
    m_notices.tellTranscriptReady("/music/recording-1/transcript.txt");
    m_notices.tellTranscriptReady("/music/recording-2/transcript.txt");
    waitForShown(2);
    EXPECT_EQ(last().summary, "Transcript ready");
    EXPECT_EQ(last().body, "recording-2");
    EXPECT_EQ(last().replaces, m_service->shown().front().id);
    m_service->click(last().id);
    waitUntil([&] { return !m_workspace.opened.empty(); });
    EXPECT_THAT(m_workspace.opened, ElementsAre("/music/recording-2/transcript.txt"));
}

TEST_F(DesktopNoticesTest, RecoveredRecordingsAreCountedAndShown) {
    serve();
    m_notices.tellRecovered({{"/music/a/mix.m4a", State::mended},
                             {"/music/a/voice.m4a", State::mended},
                             {"/music/b/mix.m4a", State::mended},
                             {"/music/c/mix.m4a", State::whole},
                             {"/music/d/mix.m4a", State::failed}});
    m_notices.tellRecovered({{"/music/a/mix.m4a", State::mended}});
    waitForShown(2);
    EXPECT_EQ(m_service->shown().front().summary, "2 recordings were recovered");
    EXPECT_EQ(last().summary, "A recording was recovered");
    m_service->click(last().id);
    waitUntil([&] { return !m_workspace.opened.empty(); });
    EXPECT_THAT(m_workspace.opened, ElementsAre("/music/a"));
}

TEST_F(DesktopNoticesTest, NothingRecoveredIsNothingTold) {
    serve();
    m_notices.tellRecovered({{"/music/c/mix.m4a", State::whole}, {"/music/d/mix.m4a", State::inUse}});
    m_notices.tell("This comes later.");
    waitForShown(1);
    EXPECT_EQ(last().body, "This comes later.");
}

TEST_F(DesktopNoticesTest, ADesktopWithoutNoticesIsLoggedOnce) {
    m_notices.tell("One.");
    waitUntil([&] { return !m_log.messages().empty(); });
    m_notices.tellTranscriptReady("/music/a/transcript.txt");
    serve();
    m_notices.tell("Two.");
    // What could not be shown is not lost.
    waitUntil([&] { return !m_service->shown().empty() && last().body == "One.\nTwo."; });
    EXPECT_THAT(m_log.messages(), ElementsAre(StartsWith("[app] the desktop shows no notices: ")));
}

TEST_F(DesktopNoticesTest, WithoutABusNothingBreaks) {
    DesktopNotices notices(QDBusConnection("no such connection"), m_workspace);
    notices.tell("One.");
    waitUntil([&] { return !m_log.messages().empty(); });
    notices.tell("Two.");
    QCoreApplication::processEvents();
    EXPECT_THAT(m_log.messages(), SizeIs(1));
}

} // namespace
