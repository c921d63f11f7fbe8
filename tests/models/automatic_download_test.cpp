#include "models/automatic_download.h"

#include "base/error.h"
#include "support/fake_model_store.h"
#include "support/some_model.h"

#include <gmock/gmock.h>

namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using Step = InstallationProgress::Step;

/// A download in virtual time. While it sleeps the test may change what it sees.
class AutomaticDownloadTest : public testing::Test {
  protected:
    AutomaticDownloadTest() {
        store.inInstall = [this](const ModelStore::ProgressHandler& progress, const std::stop_token& end) {
            for (const std::chrono::seconds step : steps) {
                now += step;
                progress({Step::downloading, ++bytes, 100});
                if (end.stop_requested()) throw stopped;
            }
        };
    }

    void download() {
        downloadAutomatically(
            store, model,
            {[this] {
                 journal.note("metered?");
                 return isMetered && isMetered();
             },
             [this] { return isRecording && isRecording(); }, [this] { return now; },
             [this](std::chrono::milliseconds time, const std::stop_token&) {
                 now += time;
                 ++sleeps;
                 if (onSleep) onSleep();
             }},
            [this](const InstallationProgress& progress) { heard.push_back(progress); }, stop.get_token());
    }
    std::string failure() {
        try {
            download();
        } catch (const Error& error) {
            return error.localizedDescription();
        }
        return "none";
    }

    const Error stopped{"models", static_cast<int>(ModelFailure::stopped), "Stopped."};
    const Model model = someModel("small-en");
    CallJournal journal;
    FakeModelStore store{journal};
    std::chrono::nanoseconds now{0};
    std::vector<std::chrono::seconds> steps{1s, 1s, 1s}; ///< between the reports of an attempt
    std::uint64_t bytes = 0;
    std::function<bool()> isMetered;
    std::function<bool()> isRecording;
    std::function<void()> onSleep;
    int sleeps = 0;
    std::stop_source stop;
    std::vector<InstallationProgress> heard;
};

const std::string metered = "The speech model “small-en” (104 MB) is not downloaded over a metered "
                            "connection, unless you want it: “murmelo models install small-en”.";

TEST_F(AutomaticDownloadTest, InstallsAndPassesTheProgressOn) {
    download();
    EXPECT_THAT(journal.calls(), ElementsAre("metered?", "install small-en"));
    ASSERT_EQ(heard.size(), 3U);
    EXPECT_EQ(heard.back().done, 3U);
    EXPECT_EQ(sleeps, 0);
}

TEST_F(AutomaticDownloadTest, NothingIsTransferredOverAMeteredConnection) {
    isMetered = [] { return true; };
    EXPECT_EQ(failure(), metered);
    EXPECT_THAT(journal.calls(), ElementsAre("metered?"));
}

TEST_F(AutomaticDownloadTest, AConnectionThatBecomesMeteredEndsTheDownloadWithinTenSeconds) {
    steps.assign(30, 1s);
    isMetered = [this] { return now > 3s; };
    EXPECT_EQ(failure(), metered);
    EXPECT_EQ(now, 10s);
    EXPECT_THAT(journal.calls(), ElementsAre("metered?", "install small-en", "metered?"));
}

TEST_F(AutomaticDownloadTest, ItDoesNotBeginWhileAnythingRecords) {
    bool records = true;
    isRecording = [&] { return records; };
    onSleep = [&] {
        EXPECT_THAT(journal.calls(), ElementsAre());
        records = now < 5s;
    };
    download();
    EXPECT_EQ(now, 8s) << "it begins when the recording has ended";
    EXPECT_EQ(heard.front().step, Step::paused);
    EXPECT_THAT(journal.calls(), ElementsAre("metered?", "install small-en"));
}

TEST_F(AutomaticDownloadTest, ARecordingPausesItAndItGoesOnAfterwards) {
    steps.assign(5, 1s);
    isRecording = [this] { return now >= 2s && now < 60s; };
    download();
    EXPECT_THAT(journal.calls(), ElementsAre("metered?", "install small-en", "metered?", "install small-en"))
        << "the connection may be another one";
    ASSERT_EQ(heard.size(), 8U);
    EXPECT_EQ(heard[1].done, 2U) << "the attempt ends with the first report during the recording";
    EXPECT_EQ(heard[2].step, Step::paused);
    EXPECT_EQ(heard[2].done, 2U);
    EXPECT_EQ(heard[2].total, model.bytes);
    EXPECT_EQ(now, 65s);
}

TEST_F(AutomaticDownloadTest, AStopRequestEndsAPause) {
    isRecording = [] { return true; };
    onSleep = [this] {
        if (now >= 3s) stop.request_stop();
    };
    store.inInstall = [this](const auto&, const std::stop_token& end) {
        if (end.stop_requested()) throw stopped;
    };
    EXPECT_EQ(failure(), "Stopped.");
    EXPECT_EQ(now, 3s);
}

TEST_F(AutomaticDownloadTest, AStopRequestReachesTheDownload) {
    steps.assign(5, 1s);
    isRecording = [this] {
        if (now >= 2s) stop.request_stop();
        return false;
    };
    EXPECT_EQ(failure(), "Stopped.");
    EXPECT_EQ(heard.size(), 2U);
}

TEST_F(AutomaticDownloadTest, AFailureIsPassedOnAndNotTriedAgain) {
    store.inInstall = [](const auto&, const auto&) {
        throw Error("models", static_cast<int>(ModelFailure::network), "No server.");
    };
    EXPECT_EQ(failure(), "No server.");
    EXPECT_THAT(journal.calls(), ElementsAre("metered?", "install small-en"));
}

TEST_F(AutomaticDownloadTest, WhatIsInstalledWhileTheRecordingBeginsIsInstalled) {
    store.inInstall = [this](const ModelStore::ProgressHandler& progress, const auto&) {
        now += 1s;
        progress({Step::unpacking, 100, 100});
    };
    isRecording = [this] { return now > 0s; };
    download();
    EXPECT_THAT(journal.calls(), ElementsAre("metered?", "install small-en"));
}

TEST_F(AutomaticDownloadTest, FastReportsDoNotAskTheSystemEachTime) {
    steps.assign(1000, 0s);
    int asked = 0;
    isRecording = [&] { return ++asked < 0; };
    download();
    EXPECT_EQ(asked, 2) << "before the download and at its first report";
}

} // namespace
