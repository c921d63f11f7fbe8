#include "base/debug_log.h"

#include "support/log_capture.h"
#include "support/temporary_folder.h"
#include "support/with_umask.h"

#include <cstdlib>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

const std::string stamp = "2026-11-15 21:39:18 +0000 ";

TEST(DebugLog, FirstCallCreatesTheFolderChainAndAFileOfExactlyOneLine) {
    LogCapture capture;
    DebugLog::log("[app] hello");
    EXPECT_EQ(DebugLog::url(), capture.home() / "Music/Murmelo/debug.log");
    EXPECT_EQ(contentOf(DebugLog::url()), stamp + "[app] hello\n");
}

TEST(DebugLog, SecondCallAppendsAndRewritesNothing) {
    LogCapture capture;
    DebugLog::log("one");
    capture.time += std::chrono::seconds(42);
    DebugLog::log("two");
    EXPECT_EQ(contentOf(DebugLog::url()), stamp + "one\n2026-11-15 21:40:00 +0000 two\n");
}

TEST(DebugLog, EmptyMessageYieldsTimeSpaceAndLineFeed) {
    LogCapture capture;
    DebugLog::log("");
    EXPECT_EQ(contentOf(DebugLog::url()), stamp + "\n");
}

TEST(DebugLog, LineFeedInAMessageIsWrittenAsItIs) {
    LogCapture capture;
    DebugLog::log("a\nb");
    EXPECT_EQ(contentOf(DebugLog::url()), stamp + "a\nb\n");
    EXPECT_EQ(capture.messages(), std::vector<std::string>{"a\nb"});
}

TEST(DebugLog, DeletedFileIsRecreatedWithTheNextLineOnly) {
    LogCapture capture;
    DebugLog::log("one");
    std::filesystem::remove_all(capture.home() / "Music");
    DebugLog::log("two");
    EXPECT_EQ(contentOf(DebugLog::url()), stamp + "two\n");
}

TEST(DebugLog, ConsoleNeverCarriesTheTime) {
    LogCapture capture;
    DebugLog::log("created");
    DebugLog::log("appended");
    EXPECT_EQ(capture.messages(), (std::vector<std::string>{"created", "appended"}));
}

TEST(DebugLog, AnythingThatCannotBeOpenedTakesTheCreatePathAndStillEchoes) {
    LogCapture capture;
    std::filesystem::create_directories(DebugLog::url()); // a folder where the file should be
    DebugLog::log("lost");
    EXPECT_EQ(capture.messages(), std::vector<std::string>{"lost"});
    EXPECT_TRUE(std::filesystem::is_empty(DebugLog::url()));
}

TEST(DebugLog, UnwritableHomeLosesTheLineButNotTheEcho) {
    LogCapture capture;
    writeFile(capture.home() / "Music", "a file where the folder should be");
    DebugLog::log("lost");
    EXPECT_EQ(capture.messages(), std::vector<std::string>{"lost"});
}

TEST(DebugLog, FileAndItsFoldersAreForTheirOwnerAloneWhateverTheUmask) {
    for (const mode_t mask : testedUmasks) {
        LogCapture capture;
        withUmask(mask, [] { DebugLog::log("one"); });
        EXPECT_EQ(modeOf(capture.home() / "Music"), 0700U) << mask;
        EXPECT_EQ(modeOf(capture.home() / "Music/Murmelo"), 0700U) << mask;
        EXPECT_EQ(modeOf(DebugLog::url()), 0600U) << mask;
        DebugLog::log("two");
        EXPECT_EQ(contentOf(DebugLog::url()), stamp + "one\n" + stamp + "two\n") << mask;
    }
}

TEST(DebugLog, OlderFileBecomesPrivateWithTheNextLineAndItsFolderStaysAsItIs) {
    LogCapture capture;
    std::filesystem::create_directories(DebugLog::url().parent_path());
    std::filesystem::permissions(DebugLog::url().parent_path(), std::filesystem::perms(0755));
    writeFile(DebugLog::url(), "earlier\n");
    std::filesystem::permissions(DebugLog::url(), std::filesystem::perms(0644));
    DebugLog::log("next");
    EXPECT_EQ(modeOf(DebugLog::url()), 0600U);
    EXPECT_EQ(contentOf(DebugLog::url()), "earlier\n" + stamp + "next\n");
    EXPECT_EQ(modeOf(DebugLog::url().parent_path()), 0755U);
}

TEST(DebugLog, LinkToADeviceLeavesTheDeviceAsItIs) {
    LogCapture capture;
    std::filesystem::create_directories(DebugLog::url().parent_path());
    std::filesystem::create_symlink("/dev/null", DebugLog::url());
    const mode_t before = modeOf("/dev/null");
    DebugLog::log("nowhere");
    EXPECT_EQ(modeOf("/dev/null"), before);
}

TEST(DebugLog, FormatCharactersAreJustText) {
    testing::internal::CaptureStderr();
    DebugLog::systemSurroundings().console("100%s %n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "100%s %n\n");
}

TEST(DebugLog, WithoutAConsoleTheFileGetsEveryLineAllTheSame) {
    LogCapture capture;
    EXPECT_TRUE(DebugLog::hasConsole());
    const DebugLog::Console previous = DebugLog::replaceConsole({});
    EXPECT_FALSE(DebugLog::hasConsole());
    testing::internal::CaptureStderr();
    DebugLog::log("quiet");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    DebugLog::replaceConsole(previous);
    DebugLog::log("shown");
    EXPECT_EQ(contentOf(DebugLog::url()), stamp + "quiet\n" + stamp + "shown\n");
    EXPECT_EQ(capture.messages(), std::vector<std::string>{"shown"});
}

TEST(DebugLog, EachLineOfSeveralThreadsIsWrittenOnceAndWhole) {
    LogCapture capture;
    DebugLog::log("first");
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([i] {
            for (int k = 0; k < 50; ++k)
                DebugLog::log("[rec] line " + std::to_string(k) + " of thread " + std::to_string(i));
        });
    for (std::thread& thread : threads) thread.join();
    std::multiset<std::string> expected{stamp + "first"};
    for (int i = 0; i < 4; ++i)
        for (int k = 0; k < 50; ++k)
            expected.insert(stamp + "[rec] line " + std::to_string(k) + " of thread " + std::to_string(i));
    std::multiset<std::string> written;
    std::istringstream lines(contentOf(DebugLog::url()));
    for (std::string line; std::getline(lines, line);) written.insert(line);
    EXPECT_EQ(written, expected);
}

/// A handler of exit() runs when what was made after it is destroyed already.
[[noreturn]] void logAtExit(const std::filesystem::path& home) {
    std::atexit([] { DebugLog::log("[rec] the last line"); });
    DebugLog::Surroundings surroundings = DebugLog::systemSurroundings();
    surroundings.home = home;
    DebugLog::replaceSurroundings(std::move(surroundings));
    std::exit(0);
}

TEST(DebugLogDeathTest, HandlersOfExitCanStillLog) {
    const TemporaryFolder home;
    EXPECT_EXIT(logAtExit(home.path()), testing::ExitedWithCode(0), "the last line");
    EXPECT_THAT(contentOf(home.path() / "Music/Murmelo/debug.log"), testing::HasSubstr("the last line"));
}

} // namespace
