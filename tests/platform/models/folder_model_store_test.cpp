#include "platform/models/folder_model_store.h"

#include "base/error.h"
#include "models/model_catalogue.h"
#include "platform/models/sha256.h"
#include "support/environment.h"
#include "support/file_size_limit.h"
#include "support/http_server.h"
#include "support/some_model.h"
#include "support/tar_archive.h"
#include "support/temporary_folder.h"

#include <algorithm>
#include <future>
#include <gmock/gmock.h>
#include <latch>
#include <nlohmann/json.hpp>
#include <sys/file.h>
#include <sys/wait.h>

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using Step = InstallationProgress::Step;

std::string sha256Of(const std::string& bytes) {
    Sha256 hash;
    hash.update(bytes);
    return hash.digest();
}

class FolderModelStoreTest : public testing::Test {
  protected:
    FolderModelStoreTest() {
        model.url = server.url("/small-en.tar.bz2");
        setDownload(TarArchive()
                        .addFolder("sherpa-small/")
                        .addFile("sherpa-small/tokens.txt", "a 0\n")
                        .addFile("sherpa-small/model.int8.onnx", "weights")
                        .bytes());
    }
    /// What the server gives out, and the catalogue describes.
    void setDownload(const std::string& bytes) {
        served = bytes;
        model.bytes = bytes.size();
        model.sha256 = sha256Of(bytes);
    }
    void writeCatalogue(const std::vector<Model>& all) const {
        nlohmann::json list = nlohmann::json::array();
        for (const Model& each : all) list.push_back(nlohmann::json::parse(modelText(each)));
        writeFile(folder / "models.json", nlohmann::json{{"models", list}}.dump());
    }

    void install(const std::stop_token& stop = {}) {
        store.install(model, [this](const InstallationProgress& progress) { report(progress); }, stop);
    }
    void installFrom(const std::filesystem::path& file, const std::stop_token& stop = {}) {
        store.installFrom(
            file, model, [this](const InstallationProgress& progress) { report(progress); }, stop);
    }
    template <typename Attempt>
    std::string failureOf(ModelFailure code, const Attempt& attempt) {
        try {
            attempt();
        } catch (const Error& error) {
            EXPECT_EQ(error.domain(), "models");
            EXPECT_EQ(error.code(), static_cast<int>(code)) << error.localizedDescription();
            return error.localizedDescription();
        }
        return "nothing";
    }
    std::string installFailure(ModelFailure code) {
        return failureOf(code, [this] { install(); });
    }

    bool isInstalled() {
        writeCatalogue({model});
        return store.list().at(0).isInstalled;
    }
    /// The store's folder, without the lock.
    std::vector<std::string> entries() const {
        std::vector<std::string> names;
        std::error_code ignored;
        for (const auto& entry : std::filesystem::directory_iterator(models, ignored))
            if (entry.path().extension() != ".lock") names.push_back(entry.path().filename());
        std::sort(names.begin(), names.end());
        return names;
    }

    TemporaryFolder folder;
    const std::filesystem::path models = folder / "data/murmelo/models";
    std::string served;
    HttpServer::Handler handler = [this](const auto& request, const auto& client) {
        client.answerFile(request, served);
    };
    HttpServer server{[this](const auto& request, const auto& client) { handler(request, client); }};
    Model model = someModel();
    FolderModelStore store{folder / "models.json", models, DownloadLimits{5, 1, 3}};
    std::function<void(const InstallationProgress&)> onProgress;
    std::vector<Step> steps; ///< each once

  private:
    void report(const InstallationProgress& progress) {
        if (steps.empty() || steps.back() != progress.step) steps.push_back(progress.step);
        EXPECT_LE(progress.done, progress.total);
        EXPECT_EQ(progress.total, model.bytes);
        if (onProgress) onProgress(progress);
    }
};

const std::string stopped = "The installation of the speech model was stopped.";

TEST_F(FolderModelStoreTest, ListsTheCatalogueInItsOrder) {
    const Model other = someModel("another");
    writeCatalogue({model, other});
    const std::vector<ListedModel> listed = store.list();
    ASSERT_EQ(listed.size(), 2U);
    EXPECT_EQ(listed[0].model, model);
    EXPECT_EQ(listed[1].model, other);
    EXPECT_FALSE(listed[0].isInstalled || listed[1].isInstalled);
    EXPECT_THAT(entries(), IsEmpty()) << "looking makes no folder";
}

TEST_F(FolderModelStoreTest, WhatIsInstalledAndNotInTheCatalogueComesLast) {
    install();
    writeCatalogue({someModel("another")});
    const std::vector<ListedModel> listed = store.list();
    ASSERT_EQ(listed.size(), 2U);
    EXPECT_EQ(listed[1].model, model);
    EXPECT_TRUE(listed[1].isInstalled);
}

TEST_F(FolderModelStoreTest, AFolderOfModelsThatCannotBeReadIsSaidSo) {
    writeCatalogue({model});
    std::filesystem::create_directories(models.parent_path());
    std::filesystem::create_symlink("models", models); // to itself
    EXPECT_EQ(failureOf(ModelFailure::disk, [this] { store.list(); }),
              "“" + models.string() + "” can't be used: Too many levels of symbolic links.");
}

TEST_F(FolderModelStoreTest, ACatalogueThatIsMissingOrDamagedIsSaidSo) {
    const auto look = [this] { store.list(); };
    EXPECT_EQ(failureOf(ModelFailure::catalogue, look),
              "The catalogue of models " + (folder / "models.json").string() +
                  " is missing: install the package murmelo again.");
    writeFile(folder / "models.json", "{");
    EXPECT_EQ(failureOf(ModelFailure::catalogue, look),
              "The catalogue of models is damaged: it is no JSON object.");
}

TEST_F(FolderModelStoreTest, InstallsWhatTheArchivesFolderHoldsAndItsEntry) {
    install();
    EXPECT_EQ(contentOf(store.folder(model) / "tokens.txt"), "a 0\n");
    EXPECT_EQ(contentOf(store.folder(model) / "model.int8.onnx"), "weights");
    EXPECT_EQ(contentOf(store.folder(model) / "model.json"), modelText(model));
    EXPECT_TRUE(isInstalled());
    EXPECT_THAT(entries(), ElementsAre("small-en"));
    EXPECT_THAT(steps, ElementsAre(Step::downloading, Step::checking, Step::unpacking));
}

TEST_F(FolderModelStoreTest, AnArchiveWithoutAFolderAroundItIsInstalledToo) {
    setDownload(TarArchive().addFile("tokens.txt", "a 0\n").addFile("model.onnx", "weights").bytes());
    install();
    EXPECT_EQ(contentOf(store.folder(model) / "tokens.txt"), "a 0\n");
    EXPECT_THAT(entries(), ElementsAre("small-en"));
}

TEST_F(FolderModelStoreTest, ASingleFileKeepsItsName) {
    model.archive = Model::Archive::file;
    model.url = server.url("/silero_vad.onnx");
    setDownload("weights");
    install();
    EXPECT_EQ(contentOf(store.folder(model) / "silero_vad.onnx"), "weights");
    EXPECT_TRUE(isInstalled());
    EXPECT_THAT(entries(), ElementsAre("small-en"));
}

TEST_F(FolderModelStoreTest, WhatIsInstalledIsNotDownloadedAgain) {
    install();
    install();
    EXPECT_EQ(server.requests().size(), 1U);
}

TEST_F(FolderModelStoreTest, ADownloadThatBreaksOffGoesOnTheNextTime) {
    handler = [this](const auto& request, const auto& client) {
        if (request.rangeBegin > 0) return client.answerFile(request, served);
        client.sendHead("200 OK", "Content-Length: " + std::to_string(served.size()) + "\r\n");
        client.send(served.substr(0, 100));
    };
    EXPECT_THAT(installFailure(ModelFailure::network), HasSubstr("the next attempt goes on from there"));
    EXPECT_FALSE(isInstalled());
    EXPECT_THAT(entries(), ElementsAre(".small-en.part"));
    install();
    EXPECT_TRUE(isInstalled());
    EXPECT_EQ(server.requests().back().rangeBegin, 100);
    EXPECT_THAT(entries(), ElementsAre("small-en"));
}

TEST_F(FolderModelStoreTest, WhatWasLeftOfAnotherFileIsDownloadedAgainAtOnce) {
    std::filesystem::create_directories(models);
    writeFile(models / ".small-en.part", "the beginning of another");
    install();
    EXPECT_TRUE(isInstalled());
    ASSERT_EQ(server.requests().size(), 2U);
    EXPECT_EQ(server.requests()[1].rangeBegin, 0);
}

TEST_F(FolderModelStoreTest, AWrongHashIsSaidSoAndNothingIsKept) {
    std::string expected = model.sha256;
    served.back() = static_cast<char>(served.back() ^ 1);
    EXPECT_EQ(installFailure(ModelFailure::content),
              "The file is not the speech model “small-en”: its SHA-256 is " + sha256Of(served) +
                  " instead of " + expected + ".");
    EXPECT_FALSE(isInstalled());
    EXPECT_THAT(entries(), IsEmpty());
    EXPECT_EQ(server.requests().size(), 1U) << "a file from its beginning is not tried twice";
}

TEST_F(FolderModelStoreTest, AnErrorPageWithStatus200IsSaidSo) {
    served = "<html>Please log in</html>";
    EXPECT_THAT(installFailure(ModelFailure::network), HasSubstr("is not the speech model: it has 26 bytes"));
    EXPECT_FALSE(isInstalled());
}

TEST_F(FolderModelStoreTest, AnArchiveThatLeavesItsFolderInstallsNothing) {
    setDownload(TarArchive().addFile("m/tokens.txt", "a 0\n").addFile("m/../../../outside", "evil").bytes());
    EXPECT_THAT(installFailure(ModelFailure::archive), HasSubstr("outside its folder"));
    EXPECT_FALSE(isInstalled());
    EXPECT_THAT(entries(), ElementsAre(".small-en.part")) << "it need not be downloaded again";
    EXPECT_FALSE(std::filesystem::exists(models / "outside"));
    EXPECT_FALSE(std::filesystem::exists(models.parent_path() / "outside"));
}

TEST_F(FolderModelStoreTest, AnArchiveWithoutAnyFileInstallsNothing) {
    for (const std::string folders : {"./", "sherpa-small/"}) {
        setDownload(TarArchive().addFolder(folders).bytes());
        const std::filesystem::path archive = folder / "small-en.tar.bz2";
        writeFile(archive, served);
        EXPECT_EQ(failureOf(ModelFailure::archive, [&] { installFrom(archive); }),
                  "The archive of the speech model is refused: it holds no file.");
        EXPECT_FALSE(isInstalled());
    }
}

TEST_F(FolderModelStoreTest, ABombInstallsNothing) {
    setDownload(TarArchive().addZeros("m/model.onnx", 64 << 20).bytes());
    EXPECT_THAT(installFailure(ModelFailure::archive), HasSubstr("far larger than a model"));
    EXPECT_FALSE(isInstalled());
    EXPECT_THAT(entries(), ElementsAre(".small-en.part"));
}

TEST_F(FolderModelStoreTest, LeftoversOfAKilledProcessAreNotInTheWay) {
    std::filesystem::create_directories(models / ".small-en.unpacked/sherpa-small");
    writeFile(models / ".small-en.unpacked/sherpa-small/tokens.txt", "half");
    std::filesystem::create_directories(models / "small-en"); // without an entry it is none
    writeFile(models / "small-en/old", "old");
    writeFile(models / ".small-en.part", served.substr(0, 50));
    EXPECT_FALSE(isInstalled());
    install();
    EXPECT_TRUE(isInstalled());
    EXPECT_EQ(contentOf(models / "small-en/tokens.txt"), "a 0\n");
    EXPECT_FALSE(std::filesystem::exists(models / "small-en/old"));
    EXPECT_THAT(entries(), ElementsAre("small-en"));
}

TEST_F(FolderModelStoreTest, AFolderWhoseEntryIsOfAnotherModelIsNotInstalled) {
    install();
    std::filesystem::rename(models / "small-en", models / "other");
    EXPECT_FALSE(isInstalled());
    writeFile(models / "other/model.json", "{");
    writeCatalogue({});
    EXPECT_THAT(store.list(), IsEmpty());
}

TEST_F(FolderModelStoreTest, AFullDiskIsSaidSoWhileDownloading) {
    setDownload(TarArchive(TarArchive::Compression::none).addZeros("m/model.onnx", 1 << 20).bytes());
    {
        const FileSizeLimit limit(100000);
        EXPECT_EQ(installFailure(ModelFailure::disk),
                  "The disk is full: there is no room for “" + (models / ".small-en.part").string() + "”.");
    }
    EXPECT_FALSE(isInstalled());
    install(); // once there is room
    EXPECT_TRUE(isInstalled());
}

TEST_F(FolderModelStoreTest, AFullDiskIsSaidSoWhileUnpackingAndTheDownloadIsKept) {
    setDownload(TarArchive().addZeros("m/model.onnx", 1 << 20).bytes());
    {
        const FileSizeLimit limit(100000);
        EXPECT_THAT(installFailure(ModelFailure::disk),
                    HasSubstr("The disk is full: there is no room for “"));
    }
    EXPECT_FALSE(isInstalled());
    EXPECT_THAT(entries(), ElementsAre(".small-en.part"));
    install();
    EXPECT_TRUE(isInstalled());
    EXPECT_EQ(server.requests().size(), 1U);
}

TEST_F(FolderModelStoreTest, AFolderThatCannotBeMadeIsSaidSo) {
    writeFile(folder / "data", "in the way");
    EXPECT_EQ(installFailure(ModelFailure::disk),
              "“" + models.string() + "” can't be used: Not a directory.");
}

TEST_F(FolderModelStoreTest, OfTwoAtOnceTheSecondWaitsAndFindsItInstalled) {
    std::latch secondWaits(1);
    std::latch firstDownloads(1);
    handler = [&](const auto& request, const auto& client) {
        firstDownloads.count_down();
        secondWaits.wait();
        client.answerFile(request, served);
    };
    auto first = std::async(std::launch::async, [this] { install(); });
    firstDownloads.wait();
    std::vector<Step> secondSteps;
    FolderModelStore other(folder / "models.json", models); // as another process has one
    other.install(model,
                  [&](const InstallationProgress& progress) {
                      secondSteps.push_back(progress.step);
                      secondWaits.count_down();
                  },
                  {});
    first.get();
    EXPECT_THAT(secondSteps, ElementsAre(Step::waiting));
    EXPECT_EQ(server.requests().size(), 1U);
    EXPECT_TRUE(isInstalled());
}

TEST_F(FolderModelStoreTest, WaitingForAnotherProcessEndsWithAStopRequest) {
    std::filesystem::create_directories(models);
    const FileHandle lock(::open((models / ".small-en.lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666));
    ASSERT_EQ(::flock(lock.get(), LOCK_EX), 0);
    std::stop_source stop;
    onProgress = [&](const InstallationProgress&) { stop.request_stop(); };
    EXPECT_EQ(failureOf(ModelFailure::stopped, [&] { install(stop.get_token()); }), stopped);
    EXPECT_THAT(steps, ElementsAre(Step::waiting));
    EXPECT_TRUE(server.requests().empty());
}

TEST_F(FolderModelStoreTest, TheLockOfAProcessThatWasKilledIsGone) {
    std::filesystem::create_directories(models);
    const pid_t child = fork();
    if (child == 0) {
        const int lock = ::open((models / ".small-en.lock").c_str(), O_RDWR | O_CREAT, 0666);
        ::flock(lock, LOCK_EX);
        _exit(0);
    }
    ::waitpid(child, nullptr, 0);
    install();
    EXPECT_THAT(steps, testing::Not(testing::Contains(Step::waiting)));
}

TEST_F(FolderModelStoreTest, AStopRequestInEachStepInstallsNothing) {
    setDownload(TarArchive().addZeros("m/a", 1 << 20).addZeros("m/b", 1 << 20).bytes());
    for (const Step step : {Step::downloading, Step::checking, Step::unpacking}) {
        std::stop_source stop;
        onProgress = [&](const InstallationProgress& progress) {
            if (progress.step == step) stop.request_stop();
        };
        EXPECT_EQ(failureOf(ModelFailure::stopped, [&] { install(stop.get_token()); }), stopped);
        EXPECT_FALSE(isInstalled());
        EXPECT_THAT(entries(), ElementsAre(".small-en.part"));
    }
    onProgress = nullptr;
    install();
    EXPECT_TRUE(isInstalled());
}

TEST_F(FolderModelStoreTest, InstallsFromAFileWithoutAskingAnyServer) {
    writeFile(folder / "downloaded by hand", served);
    installFrom(folder / "downloaded by hand");
    EXPECT_TRUE(isInstalled());
    EXPECT_TRUE(server.requests().empty());
    EXPECT_EQ(contentOf(folder / "downloaded by hand"), served);
    EXPECT_THAT(steps, ElementsAre(Step::checking, Step::unpacking));
}

TEST_F(FolderModelStoreTest, AFileThatIsNotTheModelIsRefused) {
    const auto file = folder / "file";
    writeFile(file, served + "x");
    EXPECT_EQ(failureOf(ModelFailure::content, [&] { installFrom(file); }),
              "The file is not the speech model “small-en”: it has " + std::to_string(served.size() + 1) +
                  " bytes instead of " + std::to_string(served.size()) + ".");
    writeFile(file, std::string(served.size(), 'x'));
    EXPECT_THAT(failureOf(ModelFailure::content, [&] { installFrom(file); }), HasSubstr("its SHA-256 is"));
    EXPECT_FALSE(isInstalled());
    EXPECT_TRUE(std::filesystem::exists(file));
}

TEST_F(FolderModelStoreTest, WhatIsNoFileIsRefused) {
    EXPECT_EQ(failureOf(ModelFailure::disk, [&] { installFrom(folder / "no"); }),
              "“" + (folder / "no").string() + "” can't be used: No such file or directory.");
    EXPECT_EQ(failureOf(ModelFailure::disk, [&] { installFrom(folder.path()); }),
              "“" + folder.path().string() + "” can't be used: Is a directory.");
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(failureOf(ModelFailure::disk, [&] { installFrom(folder / "pipe"); }),
              "“" + (folder / "pipe").string() + "” can't be used: Invalid argument.");
}

TEST_F(FolderModelStoreTest, RemovesAModelAndWhatThereIsOfItsDownload) {
    install();
    writeFile(models / ".small-en.part", "some");
    store.remove("small-en");
    EXPECT_FALSE(isInstalled());
    EXPECT_THAT(entries(), IsEmpty());
    writeFile(models / ".small-en.part", "some");
    store.remove("small-en");
    EXPECT_THAT(entries(), IsEmpty());
}

TEST_F(FolderModelStoreTest, WhatIsNotInstalledCannotBeRemoved) {
    install();
    for (const std::string id :
         {"other", "", ".", "..", "../models", "small-en/tokens.txt", ".small-en.lock"})
        EXPECT_THAT(failureOf(ModelFailure::unknown, [&] { store.remove(id); }),
                    EndsWith("” is not installed."));
    EXPECT_TRUE(isInstalled());
}

TEST_F(FolderModelStoreTest, WhatIsBeingInstalledIsNotRemoved) {
    handler = [this](const auto& request, const auto& client) {
        EXPECT_EQ(failureOf(ModelFailure::disk, [&] { store.remove("small-en"); }),
                  "The speech model “small-en” is being installed right now.");
        client.answerFile(request, served);
    };
    install();
    EXPECT_TRUE(isInstalled());
}

} // namespace
