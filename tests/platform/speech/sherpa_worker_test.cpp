#include "platform/speech/sherpa_worker.h"

#include "support/temporary_folder.h"

#include <gmock/gmock.h>

namespace {

class SherpaWorkerTest : public testing::Test {
  protected:
    void makeFile(const std::string& path) {
        std::filesystem::create_directories((folder / path).parent_path());
        writeFile(folder / path, "");
        std::filesystem::permissions(folder / path, std::filesystem::perms::owner_all);
    }
    std::string missingPart(const std::string& executableFolder) {
        return sherpaWorker(folder / executableFolder).missingPart();
    }

    TemporaryFolder folder;
    const std::string library = "sherpa-onnx/1.13.8/libsherpa-onnx-c-api.so";
};

TEST_F(SherpaWorkerTest, TheInstalledTreeIsCompleteWithWorkerAndLibrary) {
    makeFile("libexec/murmelo/murmelo-speech-sherpa-onnx");
    makeFile("lib/murmelo/" + library);
    EXPECT_EQ(sherpaWorker(folder / "bin").program, folder / "libexec/murmelo/murmelo-speech-sherpa-onnx");
    EXPECT_EQ(missingPart("bin"), "");
}

TEST_F(SherpaWorkerTest, TheBuildTreeIsCompleteWithWorkerAndLibrary) {
    makeFile("libexec/murmelo-speech-sherpa-onnx");
    makeFile("lib/murmelo/" + library);
    EXPECT_EQ(missingPart("."), "");
}

TEST_F(SherpaWorkerTest, AMissingWorkerIsNamed) {
    EXPECT_EQ(missingPart("bin"), "The speech worker " +
                                      (folder / "libexec/murmelo/murmelo-speech-sherpa-onnx").string() +
                                      " is missing: install the package murmelo again.");
}

TEST_F(SherpaWorkerTest, AMissingLibraryIsNamedWithWhatBringsIt) {
    makeFile("libexec/murmelo/murmelo-speech-sherpa-onnx");
    makeFile("lib/murmelo/sherpa-onnx/1.13.8/libonnxruntime.so"); // half of it is not enough
    EXPECT_EQ(missingPart("bin"), "Speech models need the library sherpa-onnx, which is not in " +
                                      (folder / "lib/murmelo/sherpa-onnx/1.13.8").string() +
                                      ": “./run” in Murmelo's source folder gets it.");
}

TEST_F(SherpaWorkerTest, AnotherVersionsLibraryIsAsGoodAsNone) {
    makeFile("libexec/murmelo/murmelo-speech-sherpa-onnx");
    makeFile("lib/murmelo/sherpa-onnx/1.13.7/libsherpa-onnx-c-api.so");
    EXPECT_THAT(missingPart("bin"), testing::HasSubstr("which is not in"));
}

} // namespace
