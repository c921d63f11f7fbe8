#include "platform/desktop/termination_notifier.h"

#include <QCoreApplication>
#include <gtest/gtest.h>

namespace {

/// SIGUSR1 in the place of the signals that end programs.
class TerminationNotifierTest : public testing::Test {
  protected:
    TerminationNotifierTest() {
        sigemptyset(&m_signals);
        sigaddset(&m_signals, SIGUSR1);
        pthread_sigmask(SIG_BLOCK, &m_signals, &m_previous);
    }
    ~TerminationNotifierTest() override { pthread_sigmask(SIG_SETMASK, &m_previous, nullptr); }
    TerminationNotifierTest(const TerminationNotifierTest&) = delete;
    TerminationNotifierTest& operator=(const TerminationNotifierTest&) = delete;

    int m_argc = 1;
    char m_name[5] = "test";
    char* m_argv[2] = {m_name, nullptr};
    QCoreApplication m_application{m_argc, m_argv};
    sigset_t m_signals{};
    sigset_t m_previous{};
};

TEST_F(TerminationNotifierTest, ASignalIsHeardOnTheEventLoop) {
    int heard = 0;
    const TerminationNotifier notifier(m_signals, [&] {
        ++heard;
        QCoreApplication::quit();
    });
    kill(getpid(), SIGUSR1);
    EXPECT_EQ(heard, 0);
    QCoreApplication::exec();
    EXPECT_EQ(heard, 1);
}

TEST_F(TerminationNotifierTest, ASignalThatCameBeforeIsHeardToo) {
    kill(getpid(), SIGUSR1);
    bool heard = false;
    const TerminationNotifier notifier(m_signals, [&] {
        heard = true;
        QCoreApplication::quit();
    });
    QCoreApplication::exec();
    EXPECT_TRUE(heard);
}

} // namespace
