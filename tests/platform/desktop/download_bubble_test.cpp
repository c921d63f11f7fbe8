#include "platform/desktop/download_bubble.h"

#include "support/fake_notification_service.h"
#include "support/some_model.h"

#include <QCoreApplication>
#include <gmock/gmock.h>
#include <optional>
#include <thread>

namespace {

using testing::ElementsAre;
using testing::SizeIs;
using Kind = DownloadNews::Kind;
using Step = InstallationProgress::Step;

class DownloadBubbleTest : public testing::Test {
  protected:
    DownloadBubbleTest() { m_large.bytes = 487'000'000; }

    static DownloadNews progress(unsigned percent) {
        return {Kind::progress, {Step::downloading, percent, 100}, {}};
    }
    template <typename Condition>
    static void waitUntil(Condition holds) {
        while (!holds()) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    void tellAndWait(const Model& model, const DownloadNews& news) {
        const std::size_t before = m_service.shown().size();
        m_bubble->tell(model, news);
        waitUntil([&] { return m_service.shown().size() > before; });
        ASSERT_THAT(m_service.shown(), SizeIs(before + 1));
    }
    /// Until all has arrived that the service has said so far: what it says later, about another bubble, has.
    void waitForWhatWasSaid() {
        const std::size_t before = m_service.shown().size();
        bool clicked = false;
        Notification other(m_ours.connection(), Notification::Urgency::normal);
        other.action = "Click";
        QObject::connect(&other, &Notification::clicked, [&] { clicked = true; });
        other.show({"Another bubble", ""});
        waitUntil([&] { return m_service.shown().size() > before; });
        while (!clicked) {
            m_service.click(last().id);
            QCoreApplication::processEvents();
        }
    }
    const FakeNotificationService::Shown& last() const { return m_service.shown().back(); }

    int m_argc = 1;
    char m_name[5] = "test";
    char* m_argv[2] = {m_name, nullptr};
    QCoreApplication m_application{m_argc, m_argv};
    PrivateBus m_bus;
    QtBus m_ours{m_bus, "ours"};
    FakeNotificationService m_service{m_bus};
    const Model m_model = someModel("small-en");
    Model m_large = someModel("large");
    std::optional<DownloadBubble> m_bubble{std::in_place, m_ours.connection()};
};

TEST_F(DownloadBubbleTest, OneBubbleFollowsADownloadToItsEnd) {
    tellAndWait(m_model, progress(10));
    EXPECT_EQ(last().summary, "Downloading a speech model");
    EXPECT_EQ(last().body, "small-en, 104 MB: 10 %");
    EXPECT_EQ(last().expiry, 0) << "it stays while the download runs";
    EXPECT_EQ(last().hints["urgency"].toInt(), 1);
    tellAndWait(m_model, progress(15));
    EXPECT_EQ(last().replaces, m_service.shown().front().id);
    EXPECT_EQ(last().hints["urgency"].toInt(), 0) << "progress does not come to the fore";
    tellAndWait(m_model, {Kind::installed});
    EXPECT_EQ(last().replaces, m_service.shown().front().id);
    EXPECT_EQ(last().summary, "Speech model installed");
    EXPECT_EQ(last().expiry, -1) << "the end is a bubble like others";
    EXPECT_EQ(last().hints["urgency"].toInt(), 1);
}

TEST_F(DownloadBubbleTest, NewsThatMakeNoNewTextAreNotSent) {
    tellAndWait(m_model, progress(10));
    m_bubble->tell(m_model, progress(11));
    m_bubble->tell(m_model, progress(14));
    tellAndWait(m_model, progress(15));
    EXPECT_EQ(last().body, "small-en, 104 MB: 15 %");
}

TEST_F(DownloadBubbleTest, NewsComeFromAnyThread) {
    std::thread([this] { m_bubble->tell(m_model, progress(10)); }).join();
    waitUntil([this] { return !m_service.shown().empty(); });
}

TEST_F(DownloadBubbleTest, ALargeDownloadCanBeCancelledAndASmallOneCannot) {
    tellAndWait(m_model, progress(10));
    EXPECT_TRUE(last().actions.isEmpty());
    tellAndWait(m_large, progress(10));
    EXPECT_EQ(last().actions, (QStringList{"cancel", "Cancel"}));
    std::vector<std::string> cancelled;
    QObject::connect(&*m_bubble, &DownloadBubble::cancelRequested,
                     [&](const std::string& id) { cancelled.push_back(id); });
    m_service.press(last().id + 7, "cancel"); // of another program
    m_service.press(last().id, "cancel");
    waitUntil([&] { return !cancelled.empty(); });
    EXPECT_THAT(cancelled, ElementsAre("large"));
    m_bubble->tell(m_large, {Kind::ended});
    waitUntil([this] { return !m_service.withdrawn().empty(); });
    EXPECT_THAT(m_service.withdrawn(), ElementsAre(last().id));
}

TEST_F(DownloadBubbleTest, OnceItIsClosedOnlyTheEndIsTold) {
    tellAndWait(m_model, progress(10));
    waitForWhatWasSaid();
    m_service.close(m_service.shown().front().id);
    waitForWhatWasSaid();
    m_bubble->tell(m_model, progress(50));
    tellAndWait(m_model, {Kind::installed});
    EXPECT_EQ(last().summary, "Speech model installed");
    EXPECT_EQ(last().replaces, 0U);
}

TEST_F(DownloadBubbleTest, AFailureThatRepeatsIsToldOnce) {
    tellAndWait(m_model, {Kind::failed, {}, "No server."});
    EXPECT_EQ(last().body, "No server.");
    m_bubble->tell(m_model, {Kind::failed, {}, "No server."});
    tellAndWait(m_model, progress(10));
    EXPECT_EQ(last().body, "small-en, 104 MB: 10 %");
}

TEST_F(DownloadBubbleTest, TheEndOfTheProgramTakesTheBubbleOfADownloadAlong) {
    tellAndWait(m_model, progress(10));
    waitForWhatWasSaid();
    m_bubble.reset();
    waitUntil([this] { return !m_service.withdrawn().empty(); });
    EXPECT_THAT(m_service.withdrawn(), ElementsAre(m_service.shown().front().id));
}

TEST_F(DownloadBubbleTest, TheEndOfTheProgramLeavesTheNewsOfAnEnd) {
    tellAndWait(m_model, {Kind::installed});
    waitForWhatWasSaid();
    m_bubble.emplace(m_ours.connection());
    tellAndWait(m_model, progress(10)); // has arrived after what the first one may have sent
    EXPECT_TRUE(m_service.withdrawn().empty());
}

} // namespace
