#include "platform/posix/child_process.h"

#include "base/error.h"
#include "support/process_leftovers.h"
#include "support/temporary_folder.h"

#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <latch>
#include <thread>

namespace {

using How = ChildEnd::How;

class ChildProcessTest : public testing::Test {
  protected:
    void TearDown() override {
        EXPECT_FALSE(hasChild());
        EXPECT_EQ(openDescriptors(), m_descriptors);
    }

    /// Runs a shell script to its end and keeps its lines.
    ChildEnd run(const std::string& script, const std::stop_token& stop = {}) {
        ChildProcess child("/bin/sh", {"-c", script});
        const ChildEnd end = child.run([this](std::string_view line) { lines.emplace_back(line); }, stop);
        errors = child.errors();
        return end;
    }

    /// Of a process that a child has left: reaping it is not ours, its parent is process 1 now.
    static void waitForEndOf(int process) {
        const std::filesystem::path status = "/proc/" + std::to_string(process) + "/stat";
        const auto ended = [&] {
            const std::string text = contentOf(status);
            return text.empty() || text.find(") Z ") != text.npos;
        };
        while (!ended()) std::this_thread::yield();
    }

    std::vector<std::string> lines;
    std::string errors;

  private:
    std::size_t m_descriptors = openDescriptors();
};

using Lines = std::vector<std::string>;

TEST_F(ChildProcessTest, HandsOverEachLineAndTheExitStatus) {
    const ChildEnd end = run("echo one; echo; echo 'two  words'; exit 7");
    EXPECT_EQ(end.how, How::exited);
    EXPECT_EQ(end.value, 7);
    EXPECT_TRUE(end.wholeLines);
    EXPECT_EQ(lines, (Lines{"one", "", "two  words"}));
}

TEST_F(ChildProcessTest, ALineThatComesInPiecesIsOneLine) {
    run("printf he; sleep 0.05; printf 'llo\\nwor'; sleep 0.05; printf 'ld\\n'");
    EXPECT_EQ(lines, (Lines{"hello", "world"}));
}

TEST_F(ChildProcessTest, HalfALineAtTheEndIsToldAndNotHandedOver) {
    const ChildEnd end = run("echo whole; printf half");
    EXPECT_EQ(end.how, How::exited);
    EXPECT_FALSE(end.wholeLines);
    EXPECT_EQ(lines, Lines{"whole"});
}

TEST_F(ChildProcessTest, TellsTheSignalThatEndedTheProgram) {
    const ChildEnd end = run("echo before; kill -SEGV $$");
    EXPECT_EQ(end.how, How::signalled);
    EXPECT_EQ(end.value, SIGSEGV);
    EXPECT_EQ(lines, Lines{"before"});
}

TEST_F(ChildProcessTest, HugeOutputArrivesWhole) {
    EXPECT_EQ(run("seq 200000").how, How::exited);
    ASSERT_EQ(lines.size(), 200000U);
    EXPECT_EQ(lines.back(), "200000");
}

TEST_F(ChildProcessTest, ALineOfTheGreatestLengthIsHandedOver) {
    EXPECT_EQ(run("head -c 65536 /dev/zero | tr '\\0' x; echo").how, How::exited);
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0], std::string(ChildProcess::longestLine, 'x'));
}

TEST_F(ChildProcessTest, ALongerLineKillsTheProgram) {
    EXPECT_EQ(run("head -c 65537 /dev/zero | tr '\\0' x; echo; exec sleep 1000").how, How::lineTooLong);
    EXPECT_EQ(run("tr '\\0' x </dev/zero").how, How::lineTooLong);
    EXPECT_TRUE(lines.empty());
}

TEST_F(ChildProcessTest, KeepsTheEndOfStandardErrorHoweverMuchComes) {
    run("seq 100000 >&2; echo last words >&2; echo answer");
    EXPECT_EQ(errors.size(), ChildProcess::keptErrors);
    EXPECT_TRUE(errors.ends_with("100000\nlast words\n"));
    EXPECT_EQ(lines, Lines{"answer"});
}

TEST_F(ChildProcessTest, ClosedOutputIsNotTheEndOfTheProgram) {
    const ChildEnd end = run("echo said; exec >&- 2>&-; sleep 0.05; exit 4");
    EXPECT_EQ(end.how, How::exited);
    EXPECT_EQ(end.value, 4);
}

TEST_F(ChildProcessTest, AStopRequestKillsAProgramThatHangs) {
    std::stop_source stop;
    ChildProcess child("/bin/sh", {"-c", "trap '' TERM INT HUP; echo ready; while :; do sleep 1000; done"});
    const ChildEnd end = child.run([&](std::string_view) { stop.request_stop(); }, stop.get_token());
    EXPECT_EQ(end.how, How::stopped);
}

TEST_F(ChildProcessTest, AStopRequestFromAnotherThreadWakesTheWait) {
    std::latch ready(1);
    std::stop_source stop;
    std::thread stopper([&] {
        ready.wait();
        stop.request_stop();
    });
    ChildProcess child("/bin/sh", {"-c", "exec 2>&-; echo ready; exec sleep 1000"});
    EXPECT_EQ(child.run([&](std::string_view) { ready.count_down(); }, stop.get_token()).how, How::stopped);
    stopper.join();
}

TEST_F(ChildProcessTest, AStopRequestEndsAProgramThatNeverStopsWriting) {
    std::stop_source stop;
    ChildProcess child("/bin/sh", {"-c", "yes & yes >&2"});
    EXPECT_EQ(child.run([&](std::string_view) { stop.request_stop(); }, stop.get_token()).how, How::stopped);
}

TEST_F(ChildProcessTest, AStopRequestedBeforeTheRunLetsNothingThrough) {
    std::stop_source stop;
    stop.request_stop();
    EXPECT_EQ(run("exec sleep 1000", stop.get_token()).how, How::stopped);
}

TEST_F(ChildProcessTest, DestructionEndsAProgramThatNobodyWaitedForAndAllThatItStarted) {
    const TemporaryFolder folder;
    const std::filesystem::path file = folder / "process";
    {
        const ChildProcess ignoresTheEndOfItsInput(
            "/bin/sh", {"-c", "sleep 1000 & echo $! >'" + file.string() + "'; exec sleep 1000 </dev/null"});
        EXPECT_TRUE(hasChild());
        while (!contentOf(file).ends_with('\n')) std::this_thread::yield();
    }
    EXPECT_FALSE(hasChild());
    waitForEndOf(std::stoi(contentOf(file)));
}

TEST_F(ChildProcessTest, WhatTheHandlerThrowsPassesThrough) {
    ChildProcess child("/bin/sh", {"-c", "echo line; exec sleep 1000"});
    EXPECT_THROW(child.run([](std::string_view) { throw std::runtime_error("no"); }, {}), std::runtime_error);
}

TEST_F(ChildProcessTest, WhatTheProgramLeftRunningIsKilledAndNotWaitedFor) {
    run("sleep 1000 & echo $!");
    ASSERT_EQ(lines.size(), 1U);
    waitForEndOf(std::stoi(lines[0]));
}

TEST_F(ChildProcessTest, SignalsAreDefaultAndUnblockedInTheProgram) {
    const auto previous = std::signal(SIGPIPE, SIG_IGN);
    sigset_t blocked;
    sigset_t before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &blocked, &before);
    ChildProcess child("/bin/grep", {"-E", "^Sig(Blk|Ign)", "/proc/self/status"});
    child.run([&](std::string_view line) { lines.emplace_back(line); }, {});
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    std::signal(SIGPIPE, previous);
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0], "SigBlk:\t0000000000000000");
    // Signals 32 and 33 belong to the C library, which ignores them in what it spawns.
    EXPECT_TRUE(lines[1] == "SigIgn:\t0000000000000000" || lines[1] == "SigIgn:\t0000000180000000")
        << lines[1];
}

TEST_F(ChildProcessTest, TheProgramReadsTheFilesThatItIsHandedInTheirOrder) {
    const TemporaryFolder folder;
    std::vector<FileHandle> files;
    for (const std::string content : {"first", "second", "third"}) {
        writeFile(folder / content, content + "\n");
        files.emplace_back(::open((folder / content).c_str(), O_RDONLY | O_CLOEXEC));
    }
    // One that has another's number by chance.
    files.front() = FileHandle(::fcntl(files.front().get(), F_DUPFD_CLOEXEC, 4));
    std::swap(files[1], files[2]);
    {
        ChildProcess child("/bin/sh", {"-c", "cat <&3; cat <&4; cat <&5; ls /proc/$$/fd"}, std::move(files));
        child.run([this](std::string_view line) { lines.emplace_back(line); }, {});
    }
    EXPECT_EQ(lines, (Lines{"first", "third", "second", "0", "1", "2", "3", "4", "5"}));
}

TEST_F(ChildProcessTest, FilesAreHandedOverWhenTheStandardStreamsAreClosed) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "content\n");
    const auto readsWithoutStandardStreams = [&] {
        for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) ::close(descriptor);
        std::vector<FileHandle> files;
        files.emplace_back(::open((folder / "file").c_str(), O_RDONLY | O_CLOEXEC)); // is 0
        ChildProcess child("/bin/sh", {"-c", "cat <&3"}, std::move(files));
        std::string heard;
        child.run([&](std::string_view line) { heard = line; }, {});
        ::_exit(heard == "content" ? 0 : 1);
    };
    EXPECT_EXIT(readsWithoutStandardStreams(), testing::ExitedWithCode(0), "");
}

TEST_F(ChildProcessTest, TheProgramInheritsNothingButItsThreePipes) {
    const FileHandle inheritable(::fcntl(STDERR_FILENO, F_DUPFD, 100));
    run("ls /proc/$$/fd");
    EXPECT_EQ(lines, (Lines{"0", "1", "2"}));
}

TEST_F(ChildProcessTest, StandardInputEndsWhenTheParentDoes) {
    ChildProcess child("/bin/sh", {"-c", "readlink /proc/$$/fd/0; exec sleep 1000"});
    std::stop_source stop;
    child.run(
        [&](std::string_view line) {
            lines.emplace_back(line);
            stop.request_stop();
        },
        stop.get_token());
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_TRUE(lines[0].starts_with("pipe:")) << lines[0];
}

TEST_F(ChildProcessTest, WorksWhenTheStandardStreamsAreClosed) {
    const auto echoesWithoutStandardStreams = [] {
        for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) ::close(descriptor);
        ChildProcess child("/bin/sh", {"-c", "echo answer; echo error >&2"});
        std::string heard;
        child.run([&](std::string_view line) { heard = line; }, {});
        ::_exit(heard == "answer" && child.errors() == "error\n" ? 0 : 1);
    };
    EXPECT_EXIT(echoesWithoutStandardStreams(), testing::ExitedWithCode(0), "");
}

TEST_F(ChildProcessTest, AProgramThatCannotBeStartedIsAnError) {
    const auto errorNumber = [](const std::filesystem::path& program) {
        try {
            const ChildProcess child(program, {});
        } catch (const Error& error) {
            EXPECT_EQ(error.domain(), "posix");
            return error.code();
        }
        return 0;
    };
    const TemporaryFolder folder;
    writeFile(folder / "not executable", "#!/bin/sh\n");
    EXPECT_EQ(errorNumber(folder / "missing"), ENOENT);
    EXPECT_EQ(errorNumber(folder / "not executable"), EACCES);
}

TEST_F(ChildProcessTest, ManyProgramsAtOnceDoNotMixUp) {
    std::vector<int> sums(16);
    {
        std::vector<std::jthread> threads;
        for (std::size_t i = 0; i < sums.size(); ++i)
            threads.emplace_back([&sum = sums[i], i] {
                ChildProcess child("/bin/sh", {"-c", "seq 1000 | sed s/.*/" + std::to_string(i) + "/"});
                child.run([&](std::string_view line) { sum += std::stoi(std::string(line)); }, {});
            });
    }
    for (std::size_t i = 0; i < sums.size(); ++i) EXPECT_EQ(sums[i], 1000 * static_cast<int>(i));
}

} // namespace
