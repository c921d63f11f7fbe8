#include "platform/models/archive_unpacking.h"

#include "base/error.h"
#include "models/model_store.h"
#include "support/tar_archive.h"
#include "support/temporary_folder.h"

#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;

class ArchiveUnpacking : public testing::Test {
  protected:
    ArchiveUnpacking() { std::filesystem::create_directory(target); }

    void unpack(const std::string& archive, const std::stop_token& stop = {}) {
        writeFile(folder / "archive", archive);
        LocalFile file = LocalFile::forReading(folder / "archive");
        unpackArchive(file, target, limits, [this](std::uint64_t bytes) { read = bytes; }, stop);
    }
    /// What it says of such an archive.
    std::string refusalOf(const std::string& archive) {
        try {
            unpack(archive);
        } catch (const Error& error) {
            EXPECT_EQ(error.printed(),
                      Error("models", static_cast<int>(ModelFailure::archive), error.localizedDescription())
                          .printed());
            return error.localizedDescription();
        }
        return "nothing";
    }
    /// The file that is outside, as it was.
    bool outsideIsUntouched() const {
        return contentOf(folder / "outside") == "untouched" &&
               std::distance(std::filesystem::directory_iterator(folder.path()), {}) == 3;
    }

    TemporaryFolder folder;
    const std::filesystem::path target = folder / "target";
    UnpackingLimits limits{1 << 20, 100};
    std::uint64_t read = 0;
};

const std::string refused = "The archive of the speech model is refused: ";

std::string refusedFor(const std::string& path) {
    return refused + "it would write to “" + path + "”, outside its folder.";
}

TEST_F(ArchiveUnpacking, FilesAndFoldersComeOutAsTheyWentIn) {
    std::string large;
    for (int i = 0; i < 100000; ++i) large += std::to_string(i);
    const std::string archive = TarArchive()
                                    .addFolder("model/")
                                    .addFile("model/tokens.txt", "a 0\n")
                                    .addFile("./model/deep/er/weights", large)
                                    .addFile("model/empty", "")
                                    .bytes();
    unpack(archive);
    EXPECT_EQ(contentOf(target / "model/tokens.txt"), "a 0\n");
    EXPECT_TRUE(contentOf(target / "model/deep/er/weights") == large);
    EXPECT_TRUE(std::filesystem::is_regular_file(target / "model/empty"));
    EXPECT_EQ(read, archive.size());
}

TEST_F(ArchiveUnpacking, AnArchiveMayBeUncompressed) {
    unpack(TarArchive(TarArchive::Compression::none).addFile("a", "b").bytes());
    EXPECT_EQ(contentOf(target / "a"), "b");
}

TEST_F(ArchiveUnpacking, PathsThatLeaveTheFolderAreRefused) {
    writeFile(folder / "outside", "untouched");
    for (const std::string path : {"../outside", "a/../../outside", "a/..", ".."})
        EXPECT_EQ(refusalOf(TarArchive().addFile(path, "evil").bytes()), refusedFor(path));
    const std::string absolute = folder / "outside";
    EXPECT_EQ(refusalOf(TarArchive().addFile(absolute, "evil").bytes()), refusedFor(absolute));
    EXPECT_TRUE(outsideIsUntouched());
}

TEST_F(ArchiveUnpacking, LinksAndDevicesAreRefused) {
    writeFile(folder / "outside", "untouched");
    const std::string outside = folder / "outside";
    for (const std::string& archive :
         {TarArchive().addSymbolicLink("x", outside).bytes(),
          TarArchive().addSymbolicLink("x", "inside").bytes(),
          TarArchive().addSymbolicLink("x", "..").addFile("x/outside", "evil").bytes(),
          TarArchive().addHardLink("x", outside).addFile("x", "evil").bytes(),
          TarArchive().addSpecial("x", AE_IFIFO).bytes(), TarArchive().addSpecial("x", AE_IFCHR).bytes(),
          TarArchive().addSpecial("x", AE_IFBLK).bytes()})
        EXPECT_EQ(refusalOf(archive), refused + "“x” is neither a file nor a folder.");
    EXPECT_TRUE(outsideIsUntouched());
}

TEST_F(ArchiveUnpacking, ABombIsRefusedBeforeItFillsTheDisk) {
    const std::string archive = TarArchive().addZeros("zeros", 64 << 20).bytes();
    ASSERT_LT(archive.size(), 10000U);
    EXPECT_EQ(refusalOf(archive), refused + "it is far larger than a model.");
    EXPECT_LE(std::filesystem::file_size(target / "zeros"), limits.bytes);
}

TEST_F(ArchiveUnpacking, TheLimitCountsAllFilesTogether) {
    limits.bytes = 10;
    EXPECT_EQ(refusalOf(TarArchive().addFile("a", "123456").addFile("b", "1234").bytes()), "nothing");
    EXPECT_EQ(refusalOf(TarArchive().addFile("c", "123456").addFile("d", "12345").bytes()),
              refused + "it is far larger than a model.");
}

TEST_F(ArchiveUnpacking, TooManyFilesAreRefused) {
    TarArchive archive;
    for (int i = 0; i <= limits.names; ++i) archive.addFolder("folder" + std::to_string(i));
    EXPECT_EQ(refusalOf(archive.bytes()), refused + "it holds too many files.");
}

TEST_F(ArchiveUnpacking, TooManyFoldersOnTheWayToAFileAreRefused) {
    std::string deep;
    for (int i = 0; i < limits.names; ++i) deep += "a/";
    EXPECT_EQ(refusalOf(TarArchive().addFile(deep + "b", "c").bytes()), refused + "it holds too many files.");
    EXPECT_FALSE(std::filesystem::exists(target / "a"));
}

TEST_F(ArchiveUnpacking, DamagedArchivesAreSaidToBeDamaged) {
    std::string noise;
    for (unsigned i = 0; i < 30000; ++i) noise += static_cast<char>(i * 2654435761U >> 24);
    const std::string whole = TarArchive().addFile("weights", noise).bytes();
    for (const std::string& damaged : {std::string("<html>Please log in</html>"),
                                       whole.substr(0, whole.size() / 2), whole.substr(1), noise})
        EXPECT_THAT(refusalOf(damaged), HasSubstr("The archive of the speech model is damaged: "));
}

TEST_F(ArchiveUnpacking, AnEmptyArchiveIsRefused) {
    EXPECT_EQ(refusalOf(TarArchive().bytes()), refused + "it is empty.");
}

TEST_F(ArchiveUnpacking, AnArchiveWithoutAnyFileIsRefused) {
    EXPECT_EQ(refusalOf(TarArchive().addFolder("./").bytes()), refused + "it holds no file.");
    EXPECT_EQ(refusalOf(TarArchive().addFolder("model/").addFolder("model/deep/").bytes()),
              refused + "it holds no file.");
}

TEST_F(ArchiveUnpacking, OneNameTwiceIsAnError) {
    const std::string archive = TarArchive().addFile("a", "first").addFile("a", "second").bytes();
    EXPECT_THROW(unpack(archive), Error);
    EXPECT_EQ(contentOf(target / "a"), "first");
}

TEST_F(ArchiveUnpacking, AStopRequestEndsIt) {
    std::stop_source stop;
    stop.request_stop();
    try {
        unpack(TarArchive().addFile("a", "b").bytes(), stop.get_token());
        FAIL() << "it went on";
    } catch (const Error& error) {
        EXPECT_EQ(error.code(), static_cast<int>(ModelFailure::stopped));
    }
}

} // namespace
