#include "speech_worker/confinement.h"

#include "base/error.h"
#include "speech_worker/protocol.h"
#include "speech_worker/worker_main.h"
#include "support/temporary_folder.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <functional>
#include <future>
#include <gmock/gmock.h>
#include <iterator>
#include <linux/seccomp.h>
#include <sched.h>
#include <seccomp.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;

constexpr ProcessBounds roomy{std::uint64_t{4} << 30, 60s};

/// Runs `action` in a process of its own. Its wait status: exit status 0 when the action gave true.
int statusOf(const std::function<bool()>& action) {
    const pid_t child = ::fork();
    if (child == 0) ::_exit(action() ? 0 : 1);
    int status = -1;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return status;
}

bool holdsWhenConfined(const std::function<bool()>& condition) {
    return statusOf([&] { return confine(roomy).empty() && condition(); }) == 0;
}

bool isRefused(long result) {
    return result < 0 && errno == EPERM;
}

class ConfinementTest : public testing::Test {
  protected:
    ConfinementTest() { writeFile(file, "content"); }
    void TearDown() override {
        EXPECT_EQ(contentOf(file), "content");
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1);
    }

    TemporaryFolder folder;
    const std::filesystem::path file = folder / "a file";
    const std::filesystem::path other = folder / "another file";
};

TEST_F(ConfinementTest, FilesAreReadAsEver) {
    EXPECT_TRUE(holdsWhenConfined([this] {
        return contentOf(file) == "content" && std::filesystem::file_size(file) == 7 &&
               std::filesystem::directory_iterator(folder.path())->path() == file;
    }));
}

TEST_F(ConfinementTest, NoFileIsOpenedForWritingOrMade) {
    EXPECT_TRUE(holdsWhenConfined([this] {
        for (const int flags : {O_WRONLY, O_RDWR, O_RDONLY | O_TRUNC, O_WRONLY | O_APPEND})
            if (!isRefused(::open(file.c_str(), flags))) return false;
        return isRefused(::open(other.c_str(), O_RDONLY | O_CREAT, 0600)) &&
               isRefused(::open(folder.path().c_str(), O_WRONLY | O_TMPFILE, 0600)) &&
               isRefused(::creat(other.c_str(), 0600)) && !std::ofstream(other).is_open();
    }));
}

TEST_F(ConfinementTest, NothingIsMovedRemovedOrChanged) {
    EXPECT_TRUE(holdsWhenConfined([this] {
        const mode_t mode =
            std::filesystem::status(file).permissions() == std::filesystem::perms::owner_read ? 0600 : 0400;
        return isRefused(::rename(file.c_str(), other.c_str())) && isRefused(::unlink(file.c_str())) &&
               isRefused(::truncate(file.c_str(), 1)) && isRefused(::mkdir(other.c_str(), 0700)) &&
               ::link(file.c_str(), other.c_str()) < 0 && ::symlink(file.c_str(), other.c_str()) < 0 &&
               ::chmod(file.c_str(), mode) < 0;
    }));
}

TEST_F(ConfinementTest, ThereIsNoNetwork) {
    EXPECT_TRUE(holdsWhenConfined([] {
        int pair[2];
        return isRefused(::socket(AF_INET, SOCK_STREAM, 0)) && isRefused(::socket(AF_INET6, SOCK_DGRAM, 0)) &&
               isRefused(::socket(AF_UNIX, SOCK_STREAM, 0)) &&
               isRefused(::socketpair(AF_UNIX, SOCK_STREAM, 0, pair));
    }));
}

TEST_F(ConfinementTest, NoProgramAndNoProcessIsStarted) {
    EXPECT_TRUE(holdsWhenConfined([] {
        char name[] = "/bin/true";
        char* const arguments[] = {name, nullptr};
        pid_t started = 0;
        return isRefused(::execv(name, arguments)) && isRefused(::fork()) &&
               ::posix_spawn(&started, name, nullptr, nullptr, arguments, environ) == EPERM &&
               isRefused(::syscall(SYS_clone, SIGCHLD, 0, 0, 0, 0));
    }));
}

TEST_F(ConfinementTest, ThreadsAreStartedAsEver) {
    EXPECT_TRUE(holdsWhenConfined([] {
        auto one = std::async(std::launch::async, [] { return 1; });
        auto two = std::async(std::launch::async, [] { return 2; });
        return one.get() + two.get() == 3;
    }));
}

TEST_F(ConfinementTest, NobodyElseIsSignalled) {
    EXPECT_TRUE(holdsWhenConfined([] {
        return isRefused(::kill(::getppid(), 0)) && ::syscall(SYS_tgkill, ::getppid(), ::getppid(), 0) < 0;
    }));
}

TEST_F(ConfinementTest, AnAbortStillEndsTheProcess) {
    const int status = statusOf([] {
        confine(roomy);
        ::abort();
        return false;
    });
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT) << status;
}

TEST_F(ConfinementTest, MemoryIsBounded) {
    EXPECT_EQ(statusOf([] {
                  confine({std::uint64_t{1} << 30, 60s});
                  std::vector<char> little(1 << 20);
                  try {
                      std::vector<char> more(std::size_t{1} << 30);
                  } catch (const std::bad_alloc&) {
                      return true;
                  }
                  return false;
              }),
              0);
}

TEST_F(ConfinementTest, ProcessorTimeIsBounded) {
    const int status = statusOf([] {
        confine({roomy.memory, 1s});
        for (;;) ::sched_yield();
        return false;
    });
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGXCPU) << status;
}

TEST_F(ConfinementTest, BoundsAreNotLifted) {
    EXPECT_TRUE(holdsWhenConfined([] {
        for (const auto resource : {RLIMIT_AS, RLIMIT_CPU, RLIMIT_CORE}) {
            rlimit limit{};
            if (::getrlimit(resource, &limit) != 0 || limit.rlim_max == RLIM_INFINITY) return false;
            ++limit.rlim_max;
            if (::setrlimit(resource, &limit) == 0) return false;
        }
        return true;
    }));
}

TEST_F(ConfinementTest, NoCoreFileIsLeft) {
    EXPECT_TRUE(holdsWhenConfined([] {
        rlimit limit{};
        return ::getrlimit(RLIMIT_CORE, &limit) == 0 && limit.rlim_cur == 0;
    }));
}

TEST_F(ConfinementTest, BoundsThatAreNarrowerAlreadyStayAsTheyAre) {
    EXPECT_EQ(statusOf([] {
                  const rlim_t narrow = std::uint64_t{2} << 30;
                  const rlimit before{narrow, narrow};
                  rlimit after{};
                  return ::setrlimit(RLIMIT_AS, &before) == 0 && confine(roomy).empty() &&
                         ::getrlimit(RLIMIT_AS, &after) == 0 && after.rlim_cur == narrow &&
                         after.rlim_max == narrow;
              }),
              0);
}

/// As a kernel without filters of system calls does.
void refuseFilters() {
    const scmp_filter_ctx filter = seccomp_init(SCMP_ACT_ALLOW);
    seccomp_rule_add(filter, SCMP_ACT_ERRNO(EINVAL), SCMP_SYS(seccomp), 0);
    seccomp_rule_add(filter, SCMP_ACT_ERRNO(EINVAL), SCMP_SYS(prctl), 1,
                     SCMP_A0(SCMP_CMP_EQ, PR_SET_SECCOMP));
    seccomp_load(filter);
    seccomp_release(filter);
}

TEST_F(ConfinementTest, AKernelWithoutFiltersIsToldAndTheBoundsHoldAllTheSame) {
    EXPECT_EQ(statusOf([] {
                  refuseFilters();
                  rlimit memory{};
                  return confine(roomy).size() == 1 && ::getrlimit(RLIMIT_AS, &memory) == 0 &&
                         memory.rlim_max <= roomy.memory;
              }),
              0);
}

/// The worker as a process, with a standard input that does not end.
class ConfinedWorkerTest : public testing::Test {
  protected:
    /// What the worker writes when `work` is its whole recogniser.
    std::string output(const std::function<void()>& work) {
        int lines[2];
        int silence[2];
        EXPECT_EQ(::pipe(lines) + ::pipe(silence), 0);
        statusOf([&] {
            ::dup2(silence[0], STDIN_FILENO);
            ::dup2(lines[1], STDOUT_FILENO);
            std::string arguments[] = {"worker", "--model", "/m", "--locale", "en_US", "/f.m4a"};
            char* pointers[6];
            for (std::size_t i = 0; i < 6; ++i) pointers[i] = arguments[i].data();
            const auto factory = [&](const WorkerArguments&) -> std::unique_ptr<Recogniser> {
                work();
                return nullptr;
            };
            ::_exit(workerMain(6, pointers, std::uint64_t{2} << 30, factory,
                               [](const std::filesystem::path&, const AudioSink&) {}));
            return false;
        });
        std::string text(4096, '\0');
        text.resize(static_cast<std::size_t>(::read(lines[0], text.data(), text.size())));
        for (const int end : {lines[0], lines[1], silence[0], silence[1]}) ::close(end);
        return text;
    }
};

TEST_F(ConfinedWorkerTest, TheWorkerShutsItselfInBeforeItReadsAnything) {
    const std::string told = output([] {
        const bool refused = isRefused(::socket(AF_INET, SOCK_STREAM, 0));
        throw Error("engine", 1, refused ? "shut in" : "free");
    });
    EXPECT_EQ(told, protocol::line(protocol::Failure{"shut in"}));
}

TEST_F(ConfinedWorkerTest, AWorkerThatWantsTooMuchMemorySaysSo) {
    const std::string told = output([] { std::vector<char> tooMuch(std::size_t{3} << 30); });
    EXPECT_EQ(told, protocol::line(protocol::Failure{"The speech worker ran out of memory."}));
}

} // namespace
