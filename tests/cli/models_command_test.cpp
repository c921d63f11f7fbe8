#include "cli/models_command.h"

#include "cli/model_installation_job.h"
#include "support/command_run.h"
#include "support/fake_model_store.h"
#include "support/some_model.h"

#include <csignal>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Step = InstallationProgress::Step;

class ModelsCommandTest : public testing::Test {
  protected:
    ModelsCommandTest() {
        store.models = {
            {someModel("small-en", {Locale("en_US"), Locale("en_GB")}), true},
            {someModel("large-european", {Locale("de_DE"), Locale("en_US"), Locale("de_AT")}), false},
            {someModel("vad", {}), false}};
        store.models[1].model.bytes = 487170055;
        store.models[1].model.licence = "MIT";
        store.models[2].model.kind = Model::Kind::sileroVad;
        store.models[2].model.bytes = 643854;
        store.models[2].model.isVerified = false;
    }

    ExitStatus run(std::vector<std::string> words) {
        words.insert(words.begin(), "models");
        const CommandRun done = runCommand(std::move(words), [&](int argc, char** argv) {
            return modelsCommand(argc, argv, store, engineMissing, signals);
        });
        output = done.output;
        errors = done.errors;
        return done.status;
    }

    TerminationSignals signals;
    CallJournal journal;
    FakeModelStore store{journal};
    std::string engineMissing;
    std::string output;
    std::string errors;
};

TEST_F(ModelsCommandTest, ListsSizeLicenceAndLanguagesAndMarksWhatIsInstalled) {
    EXPECT_EQ(run({}), ExitStatus::done);
    EXPECT_EQ(output, "* small-en         104 MB  CC-BY-4.0   en\n"
                      "  large-european   487 MB  MIT         de en\n"
                      "  vad              0.6 MB  CC-BY-4.0   finds speech, in any language  (checksum not "
                      "confirmed)\n");
    EXPECT_EQ(errors, "");
}

TEST_F(ModelsCommandTest, SaysHowToAddTheEngineThatIsMissing) {
    engineMissing = "The library is missing: do this.";
    EXPECT_EQ(run({}), ExitStatus::done);
    EXPECT_EQ(errors, "The library is missing: do this.\n");
}

TEST_F(ModelsCommandTest, JsonIsForScripts) {
    store.models.resize(1);
    EXPECT_EQ(run({"--json"}), ExitStatus::done);
    EXPECT_EQ(output, R"([
  {
    "id": "small-en",
    "installed": true,
    "bytes": 104337827,
    "locales": [
      "en_US",
      "en_GB"
    ],
    "licence": "CC-BY-4.0",
    "verified": true,
    "url": "https://models.example/small-en.tar.bz2"
  }
]
)");
}

TEST_F(ModelsCommandTest, InstallPrintsTheModelsFolder) {
    EXPECT_EQ(run({"install", "large-european"}), ExitStatus::done);
    EXPECT_EQ(output, "/models/large-european\n");
    EXPECT_THAT(journal.calls(), ElementsAre("install large-european"));
}

TEST_F(ModelsCommandTest, InstallTakesAFileInPlaceOfTheDownload) {
    EXPECT_EQ(run({"install", "large-european", "--from", "/tmp/file"}), ExitStatus::done);
    EXPECT_THAT(journal.calls(), ElementsAre("install large-european from /tmp/file"));
}

TEST_F(ModelsCommandTest, WhatIsNotVerifiedIsInstalledFromAFileOnly) {
    EXPECT_EQ(run({"install", "vad"}), ExitStatus::failed);
    EXPECT_EQ(errors,
              "Murmelo does not download “vad”, because its checksum is not confirmed (two places). Download "
              "https://models.example/vad.tar.bz2 yourself, and name the file with “--from”.\n");
    EXPECT_THAT(journal.calls(), IsEmpty());
    EXPECT_EQ(run({"install", "vad", "--from", "/tmp/file"}), ExitStatus::done);
}

TEST_F(ModelsCommandTest, WhatGoesWrongIsSaid) {
    store.inInstall = [](const auto&, const auto&) { throw Error("models", 2, "No network."); };
    EXPECT_EQ(run({"install", "small-en"}), ExitStatus::failed);
    EXPECT_EQ(errors, "No network.\n");
    EXPECT_EQ(run({"install", "other"}), ExitStatus::failed);
    EXPECT_EQ(errors, "There is no speech model “other”: see “murmelo models”.\n");
    store.inRemove = [] { throw Error("models", 7, "The speech model “x” is not installed."); };
    EXPECT_EQ(run({"remove", "x"}), ExitStatus::failed);
    EXPECT_EQ(errors, "The speech model “x” is not installed.\n");
    store.inList = [] { throw Error("models", 1, "The catalogue of models is damaged."); };
    EXPECT_EQ(run({}), ExitStatus::failed);
    EXPECT_EQ(errors, "The catalogue of models is damaged.\n");
}

TEST_F(ModelsCommandTest, RemoveIsSilentWhenItIsDone) {
    EXPECT_EQ(run({"remove", "small-en"}), ExitStatus::done);
    EXPECT_EQ(output + errors, "");
    EXPECT_THAT(journal.calls(), ElementsAre("remove small-en"));
}

TEST_F(ModelsCommandTest, ATerminationSignalEndsTheInstallation) {
    store.inInstall = [](const auto&, const std::stop_token& stop) {
        ::kill(::getpid(), SIGINT);
        while (!stop.stop_requested()) std::this_thread::yield();
        throw Error("models", 6, "The installation of the speech model was stopped.");
    };
    EXPECT_EQ(run({"install", "small-en"}), ExitStatus::failed);
    EXPECT_EQ(errors, "The installation of the speech model was stopped.\n");
}

TEST_F(ModelsCommandTest, WrongArgumentsAreUsage) {
    const std::vector<std::pair<std::vector<std::string>, std::string>> wrong{
        {{"fetch"}, "“models” does not know what to do with “fetch”."},
        {{"install"}, "Which model? Name one (see “murmelo models”)."},
        {{"remove"}, "Which model? Name one (see “murmelo models”)."},
        {{"install", "a", "b"}, "Which model? Name one (see “murmelo models”)."},
        {{"remove", "a", "--from", "b"}, "“--from” belongs to “models install”."},
        {{"--from", "b"}, "“--from” belongs to “models install”."},
        {{"install", "a", "--json"}, "“--json” lists models only."},
        {{"--all"}, "“--all” is no option of “models”."},
    };
    for (const auto& [words, sentence] : wrong) {
        EXPECT_EQ(run(words), ExitStatus::usage);
        EXPECT_EQ(errors, sentence + "\nTry “murmelo --help”.\n");
    }
    EXPECT_THAT(journal.calls(), IsEmpty());
}

TEST(ModelInstallationText, ShowsWhatIsDoneAndHowMuchOfIt) {
    const auto text = [](Step step, std::uint64_t done, std::uint64_t total) {
        return installationText("small", {step, done, total});
    };
    EXPECT_EQ(text(Step::waiting, 0, 104000000), "Waiting for another Murmelo that installs small");
    EXPECT_EQ(text(Step::downloading, 26000000, 104000000),
              "Downloading small  [#######.......................]  26 MB of 104 MB");
    EXPECT_EQ(text(Step::paused, 26000000, 104000000),
              "Downloading small  [#######.......................]  pauses while a recording runs");
    EXPECT_EQ(text(Step::checking, 0, 104000000), "Checking small  [..............................]");
    EXPECT_EQ(text(Step::unpacking, 104000000, 104000000),
              "Unpacking small  [##############################]");
}

} // namespace
