#include "speech_worker/sherpa_library.h"

#include "base/error.h"
#include "speech_worker/sherpa_folder.h"
#include "speech_worker/sherpa_recogniser.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>
#include <stdexcept>

namespace {

class SherpaLibraryTest : public testing::Test {
  protected:
    /// A library with nothing but the function that tells its version.
    void install(const char* name, const char* library) {
        std::filesystem::copy_file(library, folder / name);
    }

    std::string failure() {
        try {
            const SherpaLibrary library(folder.path());
        } catch (const Error& error) {
            EXPECT_EQ(error.domain(), "engine");
            return error.localizedDescription();
        }
        return "nothing";
    }

    TemporaryFolder folder;
    std::string runtime = "The speech engine " + (folder / "libonnxruntime.so").string();
    std::string engine = "The speech engine " + (folder / "libsherpa-onnx-c-api.so").string();
};

TEST_F(SherpaLibraryTest, AMissingLibraryIsNamed) {
    EXPECT_EQ(failure(), runtime + " is missing.");
    install("libonnxruntime.so", MURMELO_OTHER_VERSION);
    EXPECT_EQ(failure(), engine + " is missing.");
}

TEST_F(SherpaLibraryTest, AFileThatIsNoLibraryIsNamedWithTheLoadersReason) {
    writeFile(folder / "libonnxruntime.so", "no library");
    EXPECT_TRUE(
        failure().starts_with(runtime + " can't be loaded: " + (folder / "libonnxruntime.so").string()))
        << failure();
}

TEST_F(SherpaLibraryTest, AnotherVersionIsRefused) {
    install("libonnxruntime.so", MURMELO_OTHER_VERSION);
    install("libsherpa-onnx-c-api.so", MURMELO_OTHER_VERSION);
    EXPECT_EQ(failure(), engine + " is version 1.13.7, but only 1.13.8 will do.");
}

TEST_F(SherpaLibraryTest, AnIncompleteLibraryIsRefused) {
    install("libonnxruntime.so", MURMELO_OTHER_VERSION);
    install("libsherpa-onnx-c-api.so", MURMELO_SAME_VERSION);
    EXPECT_EQ(failure(), engine + " has no SherpaOnnxCreateOfflineRecognizer.");
}

TEST_F(SherpaLibraryTest, ItsFolderIsThatOfTheBuildTreeOrOfTheInstalledOne) {
    EXPECT_EQ(sherpaFolder("/usr/libexec/murmelo"), "/usr/lib/murmelo/sherpa-onnx/1.13.8");
    const auto inBuildTree = folder / "lib/murmelo/sherpa-onnx/1.13.8";
    std::filesystem::create_directories(inBuildTree);
    EXPECT_EQ(sherpaFolder(folder / "libexec"), inBuildTree);
}

TEST(CallSherpa, ExceptionsOfTheLibraryBecomeOurSentenceAndItsWordsGoToStandardError) {
    testing::internal::CaptureStderr();
    try {
        callSherpa("It failed.", [] { throw std::runtime_error("no such node"); });
        ADD_FAILURE() << "no error";
    } catch (const Error& error) {
        EXPECT_EQ(error.localizedDescription(), "It failed.");
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "no such node\n");
    EXPECT_THROW(callSherpa("It failed.", [] { throw std::bad_alloc(); }), std::bad_alloc);
}

TEST(WhisperLanguage, IsThatOfTheLocaleInWhispersOwnCodes) {
    EXPECT_EQ(whisperLanguage("en_US"), "en");
    EXPECT_EQ(whisperLanguage("de"), "de");
    EXPECT_EQ(whisperLanguage("zh_Hant_TW"), "zh");
    EXPECT_EQ(whisperLanguage("nb_NO"), "no");
    EXPECT_EQ(whisperLanguage("nn_NO"), "nn");
    EXPECT_EQ(whisperLanguage("fil_PH"), "tl");
    EXPECT_EQ(whisperLanguage("jv_ID"), "jw");
}

} // namespace
