#include "models/model_downloads.h"

#include "support/fake_model_store.h"
#include "support/some_model.h"

#include <atomic>
#include <future>
#include <gmock/gmock.h>
#include <latch>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Step = InstallationProgress::Step;

const Error offline("models", static_cast<int>(ModelFailure::network), "No server.");
const Error stopped("models", static_cast<int>(ModelFailure::stopped), "Stopped.");

/// Downloads that last as long as a test wants, on their real threads.
class ModelDownloadsTest : public testing::Test {
  protected:
    /// Begins, reports half of it, and then goes on until `goOn` or the stop.
    void holdUp() {
        store.inInstall = [this](const ModelStore::ProgressHandler& progress, const std::stop_token& stop) {
            progress({Step::downloading, 50, 100});
            halfDone.count_down();
            std::latch end(1);
            std::atomic_flag isOver;
            const auto finish = [&] {
                if (!isOver.test_and_set()) end.count_down();
            };
            const std::stop_callback onStop(stop, finish);
            const std::stop_callback onGoOn(goOn.get_token(), finish);
            end.wait();
            if (stop.stop_requested()) throw stopped;
        };
    }
    bool install(const std::stop_token& giveUp = {}) {
        return downloads->install(
            model, [this](const InstallationProgress& progress) { heard.push_back(progress.done); }, giveUp);
    }
    std::string failure() {
        try {
            install();
        } catch (const Error& error) {
            return error.localizedDescription();
        }
        return "none";
    }
    std::vector<std::string> told() {
        const std::lock_guard lock(mutex);
        return news;
    }

    const Model model = someModel("small-en");
    CallJournal journal;
    FakeModelStore store{journal};
    std::latch halfDone{1};
    std::stop_source goOn;
    std::vector<std::uint64_t> heard; ///< by the one who waits
    std::mutex mutex;
    std::vector<std::string> news; ///< guarded by mutex
    std::optional<ModelDownloads> downloads{
        std::in_place, store,
        DownloadConditions{[] { return false; }, [] { return false; },
                           [] { return std::chrono::nanoseconds(0); },
                           [](std::chrono::milliseconds, const std::stop_token&) {}},
        [this](const Model& which, const DownloadNews& told) {
            const std::lock_guard lock(mutex);
            using Kind = DownloadNews::Kind;
            news.push_back(which.id + (told.kind == Kind::progress ? " " + std::to_string(told.progress.done)
                                       : told.kind == Kind::installed ? " installed"
                                       : told.kind == Kind::failed    ? " failed: " + told.reason
                                                                      : " ended"));
        }};
};

TEST_F(ModelDownloadsTest, OneWhoWaitsHearsTheProgressAndTheEnd) {
    store.inInstall = [](const ModelStore::ProgressHandler& progress, const auto&) {
        progress({Step::downloading, 100, 100});
    };
    EXPECT_TRUE(install());
    EXPECT_THAT(heard, ElementsAre(100));
    EXPECT_THAT(told(), ElementsAre("small-en 100", "small-en installed"));
}

TEST_F(ModelDownloadsTest, WhatIsInstalledAlreadyIsNoNews) {
    EXPECT_TRUE(install());
    EXPECT_THAT(told(), IsEmpty());
}

TEST_F(ModelDownloadsTest, SeveralWhoWaitShareOneDownload) {
    holdUp();
    auto first = std::async(std::launch::async, [this] { return install(); });
    halfDone.wait();
    std::latch secondHears(1);
    auto second = std::async(std::launch::async, [&] {
        return downloads->install(model, [&](const auto&) { secondHears.count_down(); }, {});
    });
    secondHears.wait();
    goOn.request_stop();
    EXPECT_TRUE(first.get());
    EXPECT_TRUE(second.get());
    EXPECT_THAT(journal.calls(), ElementsAre("install small-en"));
}

TEST_F(ModelDownloadsTest, OneWhoGivesUpLeavesADownloadThatGoesOnForTheNext) {
    holdUp();
    std::stop_source giveUp;
    auto waits = std::async(std::launch::async, [&] { return install(giveUp.get_token()); });
    halfDone.wait();
    giveUp.request_stop();
    EXPECT_FALSE(waits.get());
    goOn.request_stop();
    EXPECT_TRUE(install());
    EXPECT_THAT(journal.calls(), ElementsAre("install small-en")) << "the same download";
    EXPECT_THAT(told(), ElementsAre("small-en 50", "small-en installed"));
}

TEST_F(ModelDownloadsTest, AFailureReachesTheOneWhoWaitsAndTheNextOneTriesAgain) {
    store.inInstall = [](const auto&, const auto&) { throw offline; };
    EXPECT_EQ(failure(), "No server.");
    EXPECT_EQ(failure(), "No server.");
    EXPECT_THAT(journal.calls(), ElementsAre("install small-en", "install small-en"));
    EXPECT_THAT(told(), ElementsAre("small-en failed: No server.", "small-en failed: No server."));
}

TEST_F(ModelDownloadsTest, ACancelledDownloadEndsAndDoesNotBeginAgain) {
    holdUp();
    auto waits = std::async(std::launch::async, [this] { return failure(); });
    halfDone.wait();
    downloads->cancel("small-en");
    const std::string cancelled = "The download of the speech model “small-en” was cancelled.";
    EXPECT_EQ(waits.get(), cancelled);
    EXPECT_EQ(failure(), cancelled);
    EXPECT_THAT(journal.calls(), ElementsAre("install small-en"));
    EXPECT_THAT(told(), ElementsAre("small-en 50", "small-en ended"));
}

TEST_F(ModelDownloadsTest, ACancelOfWhatIsNotDownloadedDoesNothing) {
    downloads->cancel("small-en");
    EXPECT_TRUE(install());
    downloads->cancel("small-en");
    EXPECT_TRUE(install()) << "it had ended already";
}

TEST_F(ModelDownloadsTest, TheEndOfTheProgramEndsADownloadForWhichNobodyWaits) {
    holdUp();
    std::stop_source giveUp;
    auto waits = std::async(std::launch::async, [&] { return install(giveUp.get_token()); });
    halfDone.wait();
    giveUp.request_stop();
    waits.get();
    downloads.reset();
    EXPECT_THAT(told(), ElementsAre("small-en 50", "small-en ended"));
}

} // namespace
