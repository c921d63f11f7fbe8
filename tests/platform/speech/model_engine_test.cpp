#include "platform/speech/model_engine.h"

#include "platform/speech/worker_engine.h"
#include "support/fake_model_store.h"
#include "support/fake_speech_engine.h"
#include "support/log_capture.h"
#include "support/some_model.h"

#include <algorithm>
#include <future>
#include <gmock/gmock.h>

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

/// The real engine with models that are a list, a worker that is a shell script, and a scripted built-in
/// engine.
class ModelEngineTest : public testing::Test {
  protected:
    ModelEngineTest() {
        writeFile(worker, "#!/bin/sh\nfor argument; do echo \"$argument\"; done > '" +
                              (folder / "arguments").string() + "'\necho '{\"lastSampleTime\":12.5}'\n");
        std::filesystem::permissions(worker, std::filesystem::perms::owner_all);
        writeFile(folder / "voice.m4a", "");
    }

    Model& add(const std::string& id, std::vector<Locale> locales, bool isInstalled = false) {
        store.models.push_back({someModel(id, std::move(locales)), isInstalled});
        return store.models.back().model;
    }
    void failInstallation(const Error& error) {
        store.inInstall = [error](const auto&, const auto&) { throw error; };
    }

    /// A download that does not end by itself. The request comes from its thread, once it has begun.
    void neverEnd(const std::stop_source& requested) {
        store.inInstall = [requested](const auto&, const std::stop_token& stop) mutable {
            requested.request_stop();
            std::promise<void> stopped;
            const std::stop_callback wake(stop, [&] { stopped.set_value(); });
            stopped.get_future().wait();
            throw Error("models", 6, "Stopped.");
        };
    }

    /// As a transcription does it. True when something was installed first.
    bool analyse(const Locale& locale, const WorkLimits& limits = {}) {
        const auto module = engine.module(locale);
        const auto request = module->installationRequest();
        if (request) request->downloadAndInstall(limits);
        module->collectResults([](const SpeechResult&) {});
        module->finalizeAndFinish(module->analyse(folder / "voice.m4a", {}).value());
        module->waitForResults();
        return request != nullptr;
    }
    std::string failureOf(const Locale& locale, const WorkLimits& limits = {}) {
        try {
            analyse(locale, limits);
        } catch (const Error& error) {
            return error.printed();
        }
        return "nothing";
    }
    std::string workersArguments() const { return contentOf(folder / "arguments"); }
    static std::string argumentsFor(const std::string& id, const std::string& locale,
                                    const std::string& more = "") {
        return "--model\n/models/" + id + "\n--locale\n" + locale + "\n" + more + "3\n";
    }

    const Locale american{"en_US"};
    const Locale british{"en_GB"};
    const Locale german{"de_DE"};
    LogCapture log;
    TemporaryFolder folder;
    const std::filesystem::path worker = folder / "worker";
    CallJournal journal;
    FakeModelStore store{journal};
    FakeSpeechEngine builtIn{journal};
    std::string missing;
    std::vector<std::string> downloads; ///< what the listener heard: bytes, "end"
    ModelDownloads automatic{store,
                             {[] { return false; }, [] { return false; },
                              [] { return std::chrono::nanoseconds(0); },
                              [](std::chrono::milliseconds, const std::stop_token&) {}},
                             {}};
    ModelEngine engine{store,
                       automatic,
                       {worker, [this] { return missing; }},
                       builtIn,
                       [this](const Model& model, const std::optional<InstallationProgress>& progress) {
                           downloads.push_back(model.id +
                                               (progress ? " " + std::to_string(progress->done) : " end"));
                       }};
};

const Error offline("models", 2, "The speech model could not be downloaded.");
const Error stillDownloaded("models", 6, "The speech model “one” is still being downloaded.");

TEST_F(ModelEngineTest, SupportsWhatModelsCoverInTheirOrderAndThenTheBuiltInEngine) {
    builtIn.supported = {Locale("nl_NL"), american};
    add("one", {american, british}, true);
    add("two", {german, american});
    add("three", {Locale("fr_FR")}).isVerified = false;
    EXPECT_THAT(engine.supportedLocales(), ElementsAre(american, british, german, Locale("nl_NL")));
}

TEST_F(ModelEngineTest, WithoutItsWorkerTheBuiltInEngineServes) {
    missing = "The library is missing.";
    add("one", {american, german}, true);
    EXPECT_THAT(engine.supportedLocales(), ElementsAre(american));
    EXPECT_FALSE(analyse(american));
    EXPECT_THAT(journal.calls(), Contains("module en_US"));
    EXPECT_EQ(workersArguments(), "");
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(ModelEngineTest, AnInstalledModelIsGivenToTheWorkerAndNothingIsInstalled) {
    add("one", {american, british}, true);
    EXPECT_FALSE(analyse(british));
    EXPECT_EQ(workersArguments(), argumentsFor("one", "en_GB"));
    EXPECT_THAT(journal.calls(), IsEmpty());
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(ModelEngineTest, AnInstalledDetectorOfSpeechIsGivenToTheWorkerToo) {
    add("one", {american}, true);
    Model& detector = add("vad", {}, true);
    detector.kind = Model::Kind::sileroVad;
    detector.url = "https://models.example/silero_vad.onnx";
    analyse(american);
    EXPECT_EQ(workersArguments(), argumentsFor("one", "en_US", "--vad\n/models/vad/silero_vad.onnx\n"));
}

TEST_F(ModelEngineTest, AMissingModelIsInstalledAndThenServes) {
    add("one", {american});
    add("two", {german});
    EXPECT_TRUE(analyse(german));
    EXPECT_EQ(workersArguments(), argumentsFor("two", "de_DE"));
    EXPECT_THAT(journal.calls(), ElementsAre("install two"));
}

TEST_F(ModelEngineTest, TheListenerFollowsADownloadToItsEndHoweverItEnds) {
    add("one", {american});
    store.inInstall = [](const ModelStore::ProgressHandler& progress, const auto&) {
        progress({InstallationProgress::Step::downloading, 5, 10});
    };
    analyse(american);
    EXPECT_THAT(downloads, ElementsAre("one 5", "one end"));
    failInstallation(offline);
    analyse(american);
    EXPECT_THAT(downloads, ElementsAre("one 5", "one end", "one end"));
}

TEST_F(ModelEngineTest, AModelThatCannotBeHadIsReplacedByTheBuiltInEngineWithOneLineInTheLog) {
    add("one", {american});
    failInstallation(offline);
    EXPECT_TRUE(analyse(american)) << "to the caller the installation has succeeded";
    EXPECT_EQ(workersArguments(), "");
    EXPECT_THAT(journal.calls(),
                ElementsAre("install one", "module en_US", "collectResults", "analyse voice.m4a",
                            "finalizeAndFinish 60.0", "waitForResults", "~module"));
    EXPECT_THAT(log.messages(),
                ElementsAre("[ts] the built-in recogniser serves en_US: The speech model could "
                            "not be downloaded."));
}

TEST_F(ModelEngineTest, TheBuiltInEngineServesOtherRegionsOfItsLanguageAsItsOwn) {
    builtIn.supported = {Locale("en_AU"), american};
    add("one", {british, american});
    failInstallation(offline);
    analyse(british);
    EXPECT_THAT(journal.calls(), Contains("module en_AU"));
    analyse(american);
    EXPECT_THAT(journal.calls(), Contains("module en_US"));
}

TEST_F(ModelEngineTest, AnotherLanguageIsNotForTheBuiltInEngine) {
    add("one", {german});
    failInstallation(offline);
    EXPECT_EQ(failureOf(german), offline.printed());
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(ModelEngineTest, AStopRequestIsNoReasonForTheBuiltInEngine) {
    add("one", {american});
    const std::stop_source stop;
    neverEnd(stop);
    EXPECT_EQ(failureOf(american, {stop.get_token()}), stillDownloaded.printed());
    EXPECT_THAT(journal.calls(), ElementsAre("install one"));
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(ModelEngineTest, WhenPreparationsHaveToEndTheBuiltInEngineServesAndTheDownloadGoesOn) {
    add("one", {american});
    const std::stop_source end;
    neverEnd(end);
    EXPECT_TRUE(analyse(american, {{}, end.get_token()}));
    EXPECT_THAT(journal.calls(), Contains("analyse voice.m4a"));
    EXPECT_THAT(
        log.messages(),
        ElementsAre("[ts] the built-in recogniser serves en_US: The speech model “one” is still being "
                    "downloaded."));
    EXPECT_THAT(downloads, ElementsAre("one end"));
    EXPECT_TRUE(analyse(american, {{}, end.get_token()}));
    EXPECT_EQ(std::ranges::count(journal.calls(), "install one"), 1) << "the next track begins no second one";
}

TEST_F(ModelEngineTest, ALanguageThatTheBuiltInEngineDoesNotKnowIsWaitedForToTheEnd) {
    add("one", {german});
    std::stop_source end;
    std::stop_source stop;
    store.inInstall = [&](const ModelStore::ProgressHandler& progress, const auto&) {
        end.request_stop();
        progress({InstallationProgress::Step::downloading, 5, 10});
    };
    EXPECT_TRUE(analyse(german, {stop.get_token(), end.get_token()}));
    EXPECT_EQ(workersArguments(), argumentsFor("one", "de_DE"));
}

TEST_F(ModelEngineTest, EachTrackAsksAgain) {
    add("one", {american});
    failInstallation(offline);
    analyse(american);
    store.inInstall = nullptr;
    EXPECT_TRUE(analyse(american));
    EXPECT_EQ(workersArguments(), argumentsFor("one", "en_US"));
}

TEST_F(ModelEngineTest, ADamagedCatalogueLeavesTheBuiltInEngine) {
    store.inList = [] { throw Error("models", 1, "The catalogue of models is damaged."); };
    EXPECT_THAT(engine.supportedLocales(), ElementsAre(american));
    EXPECT_THAT(log.messages(), IsEmpty()) << "nothing is logged while the locale is chosen";
    EXPECT_FALSE(analyse(american));
    EXPECT_THAT(log.messages(), ElementsAre("[ts] no speech models: The catalogue of models is damaged."));
}

TEST_F(ModelEngineTest, WithoutAnyEngineTheBuiltInOneSaysWhatItLacks) {
    WorkerEngine incomplete(folder / "no worker", folder.path());
    ModelEngine bare(store, automatic, {worker, [] { return std::string("missing"); }}, incomplete, {});
    EXPECT_THAT(bare.supportedLocales(), IsEmpty());
    const auto module = bare.module(american);
    try {
        module->installationRequest();
        FAIL() << "nothing is missing";
    } catch (const Error& error) {
        EXPECT_EQ(error.localizedDescription(), "The speech worker " + (folder / "no worker").string() +
                                                    " is missing: install the package murmelo again.");
    }
}

} // namespace
