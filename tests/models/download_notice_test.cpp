#include "models/download_notice.h"

#include "support/some_model.h"

#include <gtest/gtest.h>

namespace {

using Kind = DownloadNews::Kind;
using Step = InstallationProgress::Step;

DownloadNotice progressNotice(Step step, std::uint64_t done, std::uint64_t bytes = 104'000'000) {
    Model model = someModel("small-en");
    model.bytes = bytes;
    return downloadNotice(model, {Kind::progress, {step, done, bytes}, {}});
}

TEST(DownloadNotice, ProgressSaysWhatHowLargeAndHowFar) {
    const DownloadNotice notice = progressNotice(Step::downloading, 36'400'000);
    EXPECT_EQ(notice.summary, "Downloading a speech model");
    EXPECT_EQ(notice.body, "small-en, 104 MB: 35 %");
    EXPECT_FALSE(notice.isFinal);
}

TEST(DownloadNotice, ProgressGoesInStepsOfFivePerCent) {
    EXPECT_EQ(progressNotice(Step::downloading, 0).body, "small-en, 104 MB: 0 %");
    EXPECT_EQ(progressNotice(Step::downloading, 41'599'999), progressNotice(Step::downloading, 36'400'000));
    EXPECT_EQ(progressNotice(Step::downloading, 41'600'000).body, "small-en, 104 MB: 40 %");
    EXPECT_EQ(progressNotice(Step::downloading, 104'000'000).body, "small-en, 104 MB: 100 %");
}

TEST(DownloadNotice, EveryStepHasItsWords) {
    EXPECT_EQ(progressNotice(Step::waiting, 0).body, "small-en, 104 MB: another Murmelo installs it");
    EXPECT_EQ(progressNotice(Step::paused, 52'000'000).body,
              "small-en, 104 MB: 50 %, pauses while a recording runs");
    EXPECT_EQ(progressNotice(Step::checking, 52'000'000).body, "small-en, 104 MB: being checked");
    EXPECT_EQ(progressNotice(Step::unpacking, 52'000'000).body, "small-en, 104 MB: being unpacked");
}

TEST(DownloadNotice, OnlyWhatIsLargerThan200MegabytesCanBeCancelled) {
    EXPECT_FALSE(progressNotice(Step::downloading, 0, 200'000'000).canBeCancelled);
    EXPECT_TRUE(progressNotice(Step::downloading, 0, 200'000'001).canBeCancelled);
}

TEST(DownloadNotice, TheEndIsFinalAndCannotBeCancelled) {
    Model model = someModel("large");
    model.bytes = 487'000'000;
    EXPECT_EQ(downloadNotice(model, {Kind::installed}),
              (DownloadNotice{"Speech model installed", "large, 487 MB", false, true}));
    EXPECT_EQ(downloadNotice(model, {Kind::failed, {}, "No server."}),
              (DownloadNotice{"Speech model not installed", "No server.", false, true}));
    EXPECT_EQ(downloadNotice(model, {Kind::ended}), (DownloadNotice{"", "", false, true}));
}

} // namespace
