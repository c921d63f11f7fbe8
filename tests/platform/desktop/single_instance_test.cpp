#include "platform/desktop/single_instance.h"

#include "base/error.h"
#include "platform/desktop/bus_running_instance.h"
#include "support/environment.h"
#include "support/log_capture.h"
#include "support/qt_bus.h"

#include <QCoreApplication>
#include <QDBusConnectionInterface>
#include <QDBusVirtualObject>
#include <QEventLoop>
#include <QTimer>
#include <chrono>
#include <functional>
#include <gmock/gmock.h>
#include <memory>
#include <optional>
#include <thread>

namespace {

using testing::ElementsAre;
using Claim = SingleInstance::Claim;
using namespace std::chrono_literals;

constexpr const char* name = "org.murmelo.Murmelo";
constexpr const char* processName = "org.murmelo.Murmelo.Process";
constexpr const char* path = "/org/murmelo/Murmelo";

constexpr auto longEnough = 60s; // for what is sure to come
constexpr auto inVain = 50ms;    // for what never comes

/// Takes calls and does not answer them.
class SilentObject : public QDBusVirtualObject {
  public:
    explicit SilentObject(std::function<void()> onCall) : m_onCall(std::move(onCall)) {}
    QString introspect(const QString& /*path*/) const override { return {}; }
    bool handleMessage(const QDBusMessage& /*message*/, const QDBusConnection& /*connection*/) override {
        m_onCall();
        return true;
    }

  private:
    const std::function<void()> m_onCall;
};

class SingleInstanceTest : public testing::Test {
  protected:
    SingleInstanceTest() { listenTo(m_first); }

    void listenTo(SingleInstance& instance) {
        QObject::connect(&instance, &SingleInstance::activationRequested, [this] { note("activate"); });
        QObject::connect(&instance, &SingleInstance::toggleRequested, [this] { note("toggle"); });
        QObject::connect(&instance, &SingleInstance::quitRequested, [this] { note("quit"); });
    }
    void note(const char* what) { m_heard.emplace_back(what); }

    /// Another process: on a thread and a connection of its own, while our event loop runs.
    template <typename Work>
    static void elsewhere(Work work) {
        QEventLoop loop;
        std::thread other([&] {
            work();
            QMetaObject::invokeMethod(&loop, "quit", Qt::QueuedConnection);
        });
        loop.exec();
        other.join();
    }
    /// The outcome of another process's claim.
    Claim claimElsewhere(std::chrono::milliseconds patience) {
        std::optional<Claim> claim;
        elsewhere([&] { claim = SingleInstance(m_theirs.connection(), {}, patience).claim(); });
        return *claim;
    }
    QDBusMessage::MessageType callFirst(const char* method, const QVariantList& arguments) {
        QDBusMessage answer;
        elsewhere([&] {
            QDBusMessage call = QDBusMessage::createMethodCall("org.murmelo.Murmelo", "/org/murmelo/Murmelo",
                                                               "org.freedesktop.Application", method);
            call.setArguments(arguments);
            answer = m_theirs.connection().call(call);
        });
        return answer.type();
    }

    LogCapture m_log;
    TemporaryFolder m_folder;
    int m_argc = 1;
    char m_name[5] = "test";
    char* m_argv[2] = {m_name, nullptr};
    QCoreApplication m_application{m_argc, m_argv};
    PrivateBus m_bus;
    QtBus m_ours{m_bus, "ours"};
    QtBus m_theirs{m_bus, "theirs"};
    std::vector<std::string> m_heard;
    SingleInstance m_first{m_ours.connection(), m_folder / "lock"};
};

TEST_F(SingleInstanceTest, ASecondStartShowsTheFirst) {
    ScopedEnvironment token("XDG_ACTIVATION_TOKEN", std::nullopt);
    EXPECT_EQ(m_first.claim(), Claim::granted);
    EXPECT_EQ(claimElsewhere(longEnough), Claim::handedOver);
    EXPECT_THAT(m_heard, ElementsAre("activate"));
    EXPECT_FALSE(std::filesystem::exists(m_folder / "lock")) << "the name is enough";
}

TEST_F(SingleInstanceTest, AfterTheFirstHasEndedTheNextIsTheOne) {
    {
        SingleInstance gone(m_theirs.connection(), {});
        EXPECT_EQ(gone.claim(), Claim::granted);
    }
    EXPECT_EQ(m_first.claim(), Claim::granted);
}

TEST_F(SingleInstanceTest, TheOtherOnesEndDoesNotTakeOurName) {
    EXPECT_EQ(m_first.claim(), Claim::granted);
    claimElsewhere(longEnough);
    std::optional<bool> isThere;
    elsewhere([&] { isThere = BusRunningInstance(m_theirs.connection()).status().has_value(); });
    EXPECT_EQ(isThere, true);
}

TEST_F(SingleInstanceTest, WhoHasStoppedServingIsNotFoundButStillThere) {
    EXPECT_EQ(m_first.claim(), Claim::granted);
    m_first.stopServing();
    bool isThere = true;
    elsewhere([&] { isThere = BusRunningInstance(m_theirs.connection()).status().has_value(); });
    EXPECT_FALSE(isThere);
    EXPECT_EQ(claimElsewhere(inVain), Claim::closing);
    EXPECT_THAT(m_heard, testing::IsEmpty());
    EXPECT_TRUE(m_log.messages().empty());
}

TEST_F(SingleInstanceTest, ANewStartWaitsUntilTheOneThatHasStoppedServingIsGone) {
    auto closing = std::make_unique<SingleInstance>(m_ours.connection(), std::filesystem::path());
    EXPECT_EQ(closing->claim(), Claim::granted);
    closing->stopServing();
    QTimer::singleShot(0, &m_application, [&] { closing.reset(); });
    EXPECT_EQ(claimElsewhere(longEnough), Claim::granted);
}

TEST_F(SingleInstanceTest, ANewStartTakesOverFromOneThatGoesInsteadOfAnswering) {
    QDBusConnection bus = m_ours.connection();
    // Not answered any more after the end of the event loop.
    SilentObject going([&] {
        note("asked");
        bus.unregisterService(name);
        bus.unregisterService(processName);
    });
    bus.registerVirtualObject(path, &going);
    ASSERT_TRUE(bus.registerService(processName));
    ASSERT_TRUE(bus.registerService(name));
    EXPECT_EQ(claimElsewhere(longEnough), Claim::granted);
    EXPECT_THAT(m_heard, ElementsAre("asked"));
}

TEST_F(SingleInstanceTest, ANewStartIsHandedOverToOneThatIsStarting) {
    ASSERT_TRUE(m_ours.connection().registerService(processName));
    QTimer::singleShot(0, &m_application, [this] { m_first.claim(); });
    EXPECT_EQ(claimElsewhere(longEnough), Claim::handedOver);
    EXPECT_THAT(m_heard, ElementsAre("activate"));
}

TEST_F(SingleInstanceTest, AnOwnerThatDoesNotAnswerIsTold) {
    QDBusConnection bus = m_ours.connection();
    SilentObject silent([this] { note("asked"); });
    bus.registerVirtualObject(path, &silent);
    ASSERT_TRUE(bus.registerService(processName));
    ASSERT_TRUE(bus.registerService(name));
    EXPECT_EQ(claimElsewhere(inVain), Claim::unanswered);
    EXPECT_THAT(m_log.messages(), ElementsAre("[app] the Murmelo that runs does not show itself: no answer"));
}

TEST_F(SingleInstanceTest, AnOwnerWithoutTheObjectIsTold) {
    ASSERT_TRUE(m_ours.connection().registerService(name));
    EXPECT_EQ(claimElsewhere(inVain), Claim::unanswered);
    EXPECT_THAT(m_log.messages(),
                ElementsAre(testing::StartsWith("[app] the Murmelo that runs does not show itself: ")));
    EXPECT_FALSE(m_ours.connection().interface()->isServiceRegistered(processName)) << "nothing is kept";
}

TEST_F(SingleInstanceTest, ActionsReachTheirOwner) {
    m_first.claim();
    EXPECT_EQ(callFirst("Activate", {QVariantMap()}), QDBusMessage::ReplyMessage);
    EXPECT_EQ(callFirst("ActivateAction", {"toggle-recording", QVariantList(), QVariantMap()}),
              QDBusMessage::ReplyMessage);
    EXPECT_EQ(callFirst("ActivateAction", {"quit", QVariantList(), QVariantMap()}),
              QDBusMessage::ReplyMessage);
    EXPECT_THAT(m_heard, ElementsAre("activate", "toggle", "quit"));
}

TEST_F(SingleInstanceTest, FilesAndUnknownActionsAreIgnored) {
    m_first.claim();
    EXPECT_EQ(callFirst("Open", {QStringList{"file:///etc/passwd"}, QVariantMap()}),
              QDBusMessage::ReplyMessage);
    EXPECT_EQ(callFirst("ActivateAction", {"fly", QVariantList(), QVariantMap()}),
              QDBusMessage::ReplyMessage);
    EXPECT_THAT(m_heard, testing::IsEmpty());
}

TEST_F(SingleInstanceTest, TheRightToTheKeyboardIsPassedOn) {
    ScopedEnvironment token("XDG_ACTIVATION_TOKEN", std::nullopt);
    m_first.claim();
    callFirst("Activate", {QVariantMap{{"activation-token", "token-1"}}});
    EXPECT_EQ(qgetenv("XDG_ACTIVATION_TOKEN"), "token-1");
    qunsetenv("XDG_ACTIVATION_TOKEN");
}

TEST_F(SingleInstanceTest, TheStatusCanBeReadElsewhere) {
    AppStatus told;
    told.isRecording = true;
    told.canToggle = true;
    told.elapsed = 62.5;
    told.microphone = "Übersee “Mic”";
    told.lastRecording = "/music/recording-1";
    told.text = "All is well.";
    m_first.status = [&] { return told; };
    m_first.claim();
    std::optional<AppStatus> read;
    elsewhere([&] { read = BusRunningInstance(m_theirs.connection()).status(); });
    EXPECT_EQ(read, told);
    told = {};
    told.isStarting = true;
    elsewhere([&] { read = BusRunningInstance(m_theirs.connection()).status(); });
    EXPECT_EQ(read, told);
}

TEST_F(SingleInstanceTest, RecordingCanBeToggledElsewhere) {
    m_first.claim();
    bool toggled = false;
    elsewhere([&] { toggled = BusRunningInstance(m_theirs.connection()).toggleRecording(); });
    EXPECT_TRUE(toggled);
    EXPECT_THAT(m_heard, ElementsAre("toggle"));
}

TEST_F(SingleInstanceTest, WhereNoneRunsThereIsNoStatus) {
    BusRunningInstance running(m_theirs.connection());
    EXPECT_EQ(running.status(), std::nullopt);
    EXPECT_FALSE(running.toggleRecording());
    BusRunningInstance withoutBus(QDBusConnection("no such connection"));
    EXPECT_EQ(withoutBus.status(), std::nullopt);
    EXPECT_FALSE(withoutBus.toggleRecording());
}

TEST_F(SingleInstanceTest, AnInstanceThatUnderstandsNothingIsAnError) {
    QDBusConnection connection = m_ours.connection();
    connection.registerService("org.murmelo.Murmelo"); // without the object
    std::string said;
    elsewhere([&] {
        try {
            BusRunningInstance(m_theirs.connection()).status();
        } catch (const Error& error) {
            said = error.localizedDescription();
        }
    });
    EXPECT_EQ(said, "Murmelo runs, but it does not answer.");
    connection.unregisterService("org.murmelo.Murmelo");
}

TEST_F(SingleInstanceTest, WithoutABusAFileIsLocked) {
    const QDBusConnection none("no such connection");
    {
        SingleInstance first(none, m_folder / "lock");
        EXPECT_EQ(first.claim(), Claim::granted);
        EXPECT_EQ(SingleInstance(none, m_folder / "lock", inVain).claim(), Claim::taken);
    }
    EXPECT_EQ(SingleInstance(none, m_folder / "lock").claim(), Claim::granted) << "the file may stay";
}

TEST_F(SingleInstanceTest, WithoutABusANewStartWaitsForTheLock) {
    const QDBusConnection none("no such connection");
    auto closing = std::make_unique<SingleInstance>(none, m_folder / "lock");
    EXPECT_EQ(closing->claim(), Claim::granted);
    QTimer::singleShot(0, &m_application, [&] { closing.reset(); });
    elsewhere(
        [&] { EXPECT_EQ(SingleInstance(none, m_folder / "lock", longEnough).claim(), Claim::granted); });
}

TEST_F(SingleInstanceTest, WithoutAPlaceForTheLockItStartsAllTheSame) {
    const QDBusConnection none("no such connection");
    EXPECT_EQ(SingleInstance(none, {}).claim(), Claim::granted);
    EXPECT_TRUE(m_log.messages().empty());
    EXPECT_EQ(SingleInstance(none, m_folder / "missing" / "lock").claim(), Claim::granted);
    EXPECT_THAT(m_log.messages(), ElementsAre("[app] could not make sure that no other Murmelo runs: No such "
                                              "file or directory"));
}

TEST(InstanceLockFileTest, IsInTheRuntimeFolder) {
    ScopedEnvironment folder("XDG_RUNTIME_DIR", "/run/user/7");
    EXPECT_EQ(instanceLockFile(), "/run/user/7/murmelo.lock");
    ScopedEnvironment none("XDG_RUNTIME_DIR", std::nullopt);
    EXPECT_EQ(instanceLockFile(), "");
}

} // namespace
