#include "speech_worker/sandbox.h"

#include "base/error.h"
#include "base/home_folder.h"
#include "speech_worker/protocol.h"
#include "speech_worker/worker_main.h"
#include "support/old_kernel.h"
#include "support/temporary_folder.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <dlfcn.h>
#include <fcntl.h>
#include <fstream>
#include <functional>
#include <future>
#include <gmock/gmock.h>
#include <iterator>
#include <linux/sockios.h>
#include <sched.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/sysinfo.h>
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

/// What a sandbox on this machine cannot do.
std::vector<std::string> lacks() {
    if (oldKernel::isLandlockHere()) return {};
    return {"this kernel does not limit which files a process may open: Function not implemented"};
}

bool isRefused(long result) {
    return result < 0 && errno == EPERM;
}

class SandboxTest : public testing::Test {
  protected:
    SandboxTest() { writeFile(file, "content"); }
    void TearDown() override {
        EXPECT_EQ(contentOf(file), "content");
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1);
    }

    /// In a sandbox with the folder.
    bool holdsInSandbox(const std::function<bool()>& condition) const {
        const std::filesystem::path readable[] = {folder.path()};
        return statusOf([&] { return enterSandbox(roomy, readable) == lacks() && condition(); }) == 0;
    }

    TemporaryFolder folder;
    const std::filesystem::path file = folder / "a file";
    const std::filesystem::path other = folder / "another file";
};

TEST_F(SandboxTest, FilesAreReadAsEver) {
    EXPECT_TRUE(holdsInSandbox([this] {
        return contentOf(file) == "content" && std::filesystem::file_size(file) == 7 &&
               std::filesystem::directory_iterator(folder.path())->path() == file;
    }));
}

TEST_F(SandboxTest, NoFileIsOpenedForWritingOrMade) {
    EXPECT_TRUE(holdsInSandbox([this] {
        for (const int flags : {O_WRONLY, O_RDWR, O_RDONLY | O_TRUNC, O_WRONLY | O_APPEND})
            if (!isRefused(::open(file.c_str(), flags))) return false;
        return isRefused(::open(other.c_str(), O_RDONLY | O_CREAT, 0600)) &&
               isRefused(::open(folder.path().c_str(), O_WRONLY | O_TMPFILE, 0600)) &&
               isRefused(::creat(other.c_str(), 0600)) && !std::ofstream(other).is_open();
    }));
}

TEST_F(SandboxTest, NothingIsMovedRemovedOrChanged) {
    EXPECT_TRUE(holdsInSandbox([this] {
        const mode_t mode =
            std::filesystem::status(file).permissions() == std::filesystem::perms::owner_read ? 0600 : 0400;
        return isRefused(::rename(file.c_str(), other.c_str())) && isRefused(::unlink(file.c_str())) &&
               isRefused(::truncate(file.c_str(), 1)) && isRefused(::mkdir(other.c_str(), 0700)) &&
               ::link(file.c_str(), other.c_str()) < 0 && ::symlink(file.c_str(), other.c_str()) < 0 &&
               ::chmod(file.c_str(), mode) < 0;
    }));
}

TEST_F(SandboxTest, ThereIsNoNetwork) {
    EXPECT_TRUE(holdsInSandbox([] {
        int pair[2];
        return isRefused(::socket(AF_INET, SOCK_STREAM, 0)) && isRefused(::socket(AF_INET6, SOCK_DGRAM, 0)) &&
               isRefused(::socket(AF_UNIX, SOCK_STREAM, 0)) &&
               isRefused(::socketpair(AF_UNIX, SOCK_STREAM, 0, pair));
    }));
}

TEST_F(SandboxTest, NoProgramAndNoProcessIsStarted) {
    EXPECT_TRUE(holdsInSandbox([] {
        char name[] = "/bin/true";
        char* const arguments[] = {name, nullptr};
        pid_t started = 0;
        return isRefused(::execv(name, arguments)) && isRefused(::fork()) &&
               ::posix_spawn(&started, name, nullptr, nullptr, arguments, environ) == EPERM &&
               isRefused(::syscall(SYS_clone, SIGCHLD, 0, 0, 0, 0));
    }));
}

TEST_F(SandboxTest, ThreadsAreStartedAsEver) {
    EXPECT_TRUE(holdsInSandbox([] {
        auto one = std::async(std::launch::async, [] { return 1; });
        auto two = std::async(std::launch::async, [] { return 2; });
        return one.get() + two.get() == 3;
    }));
}

TEST_F(SandboxTest, NobodyElseIsSignalled) {
    EXPECT_TRUE(holdsInSandbox([] {
        return isRefused(::kill(::getppid(), 0)) && ::syscall(SYS_tgkill, ::getppid(), ::getppid(), 0) < 0;
    }));
}

TEST_F(SandboxTest, NoDescriptorIsSetUpToSignalSomebody) {
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    EXPECT_TRUE(holdsInSandbox([&] {
        const int flags = ::fcntl(ends[0], F_GETFL);
        const pid_t parent = ::getppid();
        int yes = 1;
        f_owner_ex owner{F_OWNER_PID, parent};
        struct flock lock{};
        lock.l_type = F_RDLCK;
        return flags >= 0 && ::fcntl(ends[0], F_SETOWN, parent) < 0 &&
               ::fcntl(ends[0], F_SETOWN_EX, &owner) < 0 && ::fcntl(ends[0], F_SETSIG, SIGTERM) < 0 &&
               isRefused(::fcntl(ends[0], F_SETFL, flags | O_ASYNC)) &&
               ::fcntl(ends[0], F_SETLEASE, F_RDLCK) < 0 && ::fcntl(ends[0], F_NOTIFY, DN_ACCESS) < 0 &&
               ::fcntl(ends[0], F_SETLK, &lock) < 0 && ::ioctl(ends[0], FIOASYNC, &yes) < 0 &&
               ::ioctl(ends[0], FIOSETOWN, &parent) < 0 && ::ioctl(ends[0], SIOCSPGRP, &parent) < 0;
    }));
    EXPECT_EQ(::fcntl(ends[0], F_GETOWN), 0);
    EXPECT_EQ(::fcntl(ends[0], F_GETFL) & O_ASYNC, 0);
    for (const int end : ends) ::close(end);
}

TEST_F(SandboxTest, DescriptorsAreDuplicatedAndTheirFlagsSetAsEver) {
    EXPECT_TRUE(holdsInSandbox([this] {
        const int one = ::open(file.c_str(), O_RDONLY);
        const int two = ::fcntl(one, F_DUPFD, 10);
        const int three = ::fcntl(one, F_DUPFD_CLOEXEC, 20);
        return one >= 0 && two >= 10 && three >= 20 && ::fcntl(three, F_GETFD) == FD_CLOEXEC &&
               ::fcntl(two, F_SETFD, FD_CLOEXEC) == 0 && ::fcntl(two, F_GETFD) == FD_CLOEXEC &&
               ::fcntl(one, F_SETFL, O_NONBLOCK) == 0 && (::fcntl(two, F_GETFL) & O_NONBLOCK) != 0;
    }));
}

TEST_F(SandboxTest, AnAbortStillEndsTheProcess) {
    const int status = statusOf([] {
        enterSandbox(roomy, {});
        ::abort();
        return false;
    });
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT) << status;
}

TEST_F(SandboxTest, MemoryIsBounded) {
    EXPECT_EQ(statusOf([] {
                  enterSandbox({std::uint64_t{1} << 30, 60s}, {});
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

TEST_F(SandboxTest, ProcessorTimeIsBounded) {
    const int status = statusOf([] {
        enterSandbox({roomy.memory, 1s}, {});
        for (;;) ::sched_yield();
        return false;
    });
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGXCPU) << status;
}

TEST_F(SandboxTest, BoundsAreNotLifted) {
    EXPECT_TRUE(holdsInSandbox([] {
        for (const auto resource : {RLIMIT_AS, RLIMIT_CPU, RLIMIT_CORE}) {
            rlimit limit{};
            if (::getrlimit(resource, &limit) != 0 || limit.rlim_max == RLIM_INFINITY) return false;
            ++limit.rlim_max;
            if (::setrlimit(resource, &limit) == 0) return false;
        }
        return true;
    }));
}

TEST_F(SandboxTest, NoCoreFileIsLeft) {
    EXPECT_TRUE(holdsInSandbox([] {
        rlimit limit{};
        return ::getrlimit(RLIMIT_CORE, &limit) == 0 && limit.rlim_cur == 0;
    }));
}

TEST_F(SandboxTest, BoundsThatAreNarrowerAlreadyStayAsTheyAre) {
    EXPECT_EQ(statusOf([] {
                  const rlim_t narrow = std::uint64_t{2} << 30;
                  const rlimit before{narrow, narrow};
                  rlimit after{};
                  return ::setrlimit(RLIMIT_AS, &before) == 0 && enterSandbox(roomy, {}) == lacks() &&
                         ::getrlimit(RLIMIT_AS, &after) == 0 && after.rlim_cur == narrow &&
                         after.rlim_max == narrow;
              }),
              0);
}

TEST_F(SandboxTest, AKernelWithoutFiltersIsToldAndTheBoundsHoldAllTheSame) {
    EXPECT_EQ(statusOf([] {
                  const std::size_t before = lacks().size();
                  oldKernel::withoutFilters();
                  rlimit memory{};
                  return enterSandbox(roomy, {}).size() == before + 1 &&
                         ::getrlimit(RLIMIT_AS, &memory) == 0 && memory.rlim_max <= roomy.memory;
              }),
              0);
}

/// Which files may be opened, besides those of the system.
class ReadingTest : public SandboxTest {
  protected:
    ReadingTest() {
        writeFile(home / "diary", "private");
        std::filesystem::create_directories(folder / "deep/er");
        writeFile(folder / "deep/er/file", "deep");
        std::filesystem::create_symlink(home / "linked", folder / "deep/link");
        writeFile(home / "linked", "behind a link");
    }
    void SetUp() override {
        if (!oldKernel::isLandlockHere())
            GTEST_SKIP() << "this machine's kernel has no Landlock: nothing limits what is read";
    }
    void TearDown() override { EXPECT_EQ(contentOf(home / "diary"), "private"); }

    static bool isClosed(const std::filesystem::path& path) {
        return ::open(path.c_str(), O_RDONLY) < 0 && errno == EACCES;
    }
    bool onlyTheFolderIsOpen() const {
        return contentOf(file) == "content" && contentOf(folder / "deep/er/file") == "deep" &&
               isClosed(home / "diary") && isClosed(home.path());
    }

    TemporaryFolder home;
};

TEST_F(ReadingTest, NoFileOfTheHomeFolderIsOpened) {
    EXPECT_TRUE(holdsInSandbox([this] {
        return onlyTheFolderIsOpen() && isClosed(homeFolder()) && isClosed("/etc/passwd") && isClosed("/") &&
               isClosed("/tmp") && isClosed("/proc/" + std::to_string(::getppid()) + "/environ") &&
               isClosed("/proc/self/root" + (home / "diary").string());
    }));
}

TEST_F(ReadingTest, ASingleFileIsNotItsFolder) {
    EXPECT_EQ(statusOf([this] {
                  const std::filesystem::path only[] = {file};
                  return enterSandbox(roomy, only).empty() && contentOf(file) == "content" &&
                         isClosed(folder.path()) && isClosed(folder / "deep/er/file");
              }),
              0);
}

TEST_F(ReadingTest, WhatAFolderLinksToIsReadAndNothingBesideIt) {
    EXPECT_TRUE(holdsInSandbox(
        [this] { return contentOf(folder / "deep/link") == "behind a link" && isClosed(home / "diary"); }));
}

TEST_F(ReadingTest, AFolderBehindALinkIsReadAsEver) {
    const std::filesystem::path link = home / "models";
    std::filesystem::create_symlink(folder.path(), link);
    EXPECT_EQ(statusOf([&] {
                  const std::filesystem::path readable[] = {link, "/nowhere/at all"};
                  return enterSandbox(roomy, readable).empty() &&
                         contentOf(link / "deep/er/file") == "deep" && isClosed(home / "diary");
              }),
              0);
}

TEST_F(ReadingTest, WhatIsOpenAlreadyIsReadAsEver) {
    const int diary = ::open((home / "diary").c_str(), O_RDONLY);
    EXPECT_TRUE(holdsInSandbox([&] {
        char text[8] = {};
        return ::read(diary, text, 7) == 7 && std::string(text) == "private" &&
               isClosed("/proc/self/fd/" + std::to_string(diary));
    }));
    ::close(diary);
}

TEST_F(ReadingTest, ThreadsAreHeldToItAsWell) {
    EXPECT_TRUE(holdsInSandbox(
        [this] { return std::async(std::launch::async, [this] { return onlyTheFolderIsOpen(); }).get(); }));
}

TEST_F(ReadingTest, LibrariesAreLoadedAndProcessorsCountedAsEver) {
    EXPECT_TRUE(holdsInSandbox([] {
        return ::dlopen("libresolv.so.2", RTLD_NOW) != nullptr &&
               ::open("/proc/self/status", O_RDONLY) >= 0 &&
               ::open("/proc/thread-self/status", O_RDONLY) >= 0 &&
               !contentOf("/sys/devices/system/cpu/online").empty() && ::get_nprocs_conf() > 0;
    }));
}

TEST_F(ReadingTest, TheFirstLandlockLimitsThemAsWell) {
    EXPECT_EQ(statusOf([this] {
                  oldKernel::withLandlockAbi1();
                  const std::filesystem::path readable[] = {folder.path()};
                  return enterSandbox(roomy, readable).empty() && onlyTheFolderIsOpen() &&
                         isRefused(::open(file.c_str(), O_WRONLY));
              }),
              0);
}

TEST_F(SandboxTest, AKernelWithoutLandlockIsToldAndTheRestHoldsAllTheSame) {
    for (const auto& [errorNumber, words] :
         {std::pair(ENOSYS, "Function not implemented"), std::pair(EOPNOTSUPP, "Operation not supported")})
        EXPECT_EQ(statusOf([&, number = errorNumber, reason = std::string(words)] {
                      oldKernel::withoutLandlock(number);
                      const auto told = enterSandbox(roomy, {});
                      return told.size() == 1 &&
                             told.front() ==
                                 "this kernel does not limit which files a process may open: " + reason &&
                             contentOf(file) == "content" && isRefused(::open(file.c_str(), O_WRONLY)) &&
                             isRefused(::socket(AF_INET, SOCK_STREAM, 0));
                  }),
                  0);
}

/// The worker as a process, with a standard input that does not end.
class SandboxedWorkerTest : public testing::Test {
  protected:
    /// What the worker writes when `work` is its whole recogniser.
    static std::string output(
        const std::function<void()>& work, const std::string& model = "/m",
        const std::string& detector = "/v", const std::filesystem::path& engineFolder = {},
        const std::function<void()>& before = [] {}) {
        int lines[2];
        int silence[2];
        EXPECT_EQ(::pipe(lines) + ::pipe(silence), 0);
        statusOf([&] {
            ::dup2(silence[0], STDIN_FILENO);
            ::dup2(lines[1], STDOUT_FILENO);
            before();
            std::string arguments[] = {"worker", "--model",  model,   "--vad",
                                       detector, "--locale", "en_US", "3"};
            char* pointers[std::size(arguments)];
            std::transform(std::begin(arguments), std::end(arguments), pointers,
                           [](std::string& argument) { return argument.data(); });
            const auto factory = [&](const WorkerArguments&) -> std::unique_ptr<Recogniser> {
                work();
                return nullptr;
            };
            const auto decode = [](int, const AudioSink&) {};
            ::_exit(workerMain(std::size(arguments), pointers,
                               {std::uint64_t{2} << 30, engineFolder, factory, decode}));
            return false;
        });
        std::string text(4096, '\0');
        text.resize(static_cast<std::size_t>(::read(lines[0], text.data(), text.size())));
        for (const int end : {lines[0], lines[1], silence[0], silence[1]}) ::close(end);
        return text;
    }
};

TEST_F(SandboxedWorkerTest, TheWorkerShutsItselfInBeforeItReadsAnything) {
    const std::string told = output([] {
        const bool refused = isRefused(::socket(AF_INET, SOCK_STREAM, 0));
        throw Error("engine", 1, refused ? "shut in" : "free");
    });
    EXPECT_EQ(told, protocol::line(protocol::Failure{"shut in"}));
}

TEST_F(SandboxedWorkerTest, TheWorkerOpensTheFilesOfItsModelAndOfItsEngineAndNoOthers) {
    if (!oldKernel::isLandlockHere())
        GTEST_SKIP() << "this machine's kernel has no Landlock: nothing limits what is read";
    const TemporaryFolder home;
    for (const char* name : {"model/words", "engine/library.so", "vad/silero.onnx", "vad/other", "diary"}) {
        std::filesystem::create_directories((home / name).parent_path());
        writeFile(home / name, name);
    }
    const std::string told = output(
        [&] {
            std::string readable;
            for (const char* name :
                 {"model/words", "engine/library.so", "vad/silero.onnx", "vad/other", "diary"})
                readable += contentOf(home / name) + " ";
            throw Error("engine", 1, readable);
        },
        home / "model", home / "vad/silero.onnx", home / "engine");
    EXPECT_EQ(told, protocol::line(protocol::Failure{"model/words engine/library.so vad/silero.onnx   "}));
}

TEST_F(SandboxedWorkerTest, OnAKernelWithoutLandlockTheWorkerRunsAndSaysSo) {
    const std::string told = output([] { throw Error("engine", 1, "run"); }, "/m", "/v", {},
                                    [] {
                                        ::dup2(STDOUT_FILENO, STDERR_FILENO);
                                        oldKernel::withoutLandlock(ENOSYS);
                                    });
    EXPECT_EQ(told, "this kernel does not limit which files a process may open: Function not implemented\n" +
                        protocol::line(protocol::Failure{"run"}));
}

TEST_F(SandboxedWorkerTest, AWorkerThatWantsTooMuchMemorySaysSo) {
    const std::string told = output([] { std::vector<char> tooMuch(std::size_t{3} << 30); });
    EXPECT_EQ(told, protocol::line(protocol::Failure{"The speech worker ran out of memory."}));
}

} // namespace
