#include "speech_worker/sherpa_model.h"

#include "base/error.h"
#include "support/ordinary_user.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

namespace {

class SherpaModelTest : public testing::Test {
  protected:
    void add(std::initializer_list<const char*> files) {
        for (const char* file : files) writeFile(folder / file, "");
    }

    std::string failure() {
        try {
            const SherpaModel model(folder.path());
        } catch (const Error& error) {
            EXPECT_EQ(error.domain(), "engine");
            const std::string begin = "The speech model " + folder.path().string() + " can't be used: ";
            EXPECT_TRUE(error.localizedDescription().starts_with(begin));
            return error.localizedDescription().substr(begin.size());
        }
        return "nothing";
    }

    TemporaryFolder folder;
};

TEST_F(SherpaModelTest, FilesHaveTheNamesOfTheirPublishers) {
    writeFile(folder / "model.json", R"({"kind": "whisper", "id": "whisper-base"})");
    add({"base-encoder.onnx", "base-decoder.onnx", "base-tokens.txt", "README.md"});
    const SherpaModel whisper(folder.path());
    EXPECT_EQ(whisper.kind, SherpaModel::Kind::whisper);
    EXPECT_EQ(whisper.encoder, folder / "base-encoder.onnx");
    EXPECT_EQ(whisper.decoder, folder / "base-decoder.onnx");
    EXPECT_EQ(whisper.tokens, folder / "base-tokens.txt");
}

TEST_F(SherpaModelTest, EightBitWeightsGoFirst) {
    writeFile(folder / "model.json", R"({"kind": "nemo_ctc"})");
    add({"model.fp16.onnx", "model.int8.onnx", "model.onnx", "tokens.txt"});
    EXPECT_EQ(SherpaModel(folder.path()).model, folder / "model.int8.onnx");
}

TEST_F(SherpaModelTest, ATransducerHasThreeParts) {
    writeFile(folder / "model.json", R"({"kind": "nemo_transducer"})");
    add({"encoder.int8.onnx", "decoder.int8.onnx", "joiner.int8.onnx", "tokens.txt"});
    const SherpaModel model(folder.path());
    EXPECT_EQ(model.kind, SherpaModel::Kind::nemoTransducer);
    EXPECT_EQ(model.joiner, folder / "joiner.int8.onnx");
}

TEST_F(SherpaModelTest, WhatIsMissingIsNamed) {
    EXPECT_EQ(failure(), "it has no model.json.");
    writeFile(folder / "model.json", R"({"kind": "nemo_transducer"})");
    EXPECT_EQ(failure(), "it has no file like *tokens*.txt.");
    add({"tokens.txt"});
    EXPECT_EQ(failure(), "it has no file like *encoder*.onnx.");
    add({"encoder.onnx"});
    EXPECT_EQ(failure(), "it has no file like *decoder*.onnx.");
    add({"decoder.onnx"});
    EXPECT_EQ(failure(), "it has no file like *joiner*.onnx.");
    add({"joiner.onnx"});
    EXPECT_EQ(failure(), "nothing");
}

TEST_F(SherpaModelTest, AFolderWhoseListIsForbiddenIsSaidSo) {
    writeFile(folder / "model.json", R"({"kind": "nemo_ctc"})");
    add({"model.onnx", "tokens.txt"});
    const OrdinaryUser user({folder.path()});
    std::filesystem::permissions(folder.path(), std::filesystem::perms(0300));
    EXPECT_EQ(failure(), "its folder cannot be read: Permission denied.");
    std::filesystem::permissions(folder.path(), std::filesystem::perms(0700));
}

TEST_F(SherpaModelTest, ADescriptionWithoutAKindIsNone) {
    for (const char* text : {"", "{", "[]", "7", "{}", R"({"kind": 7})", R"({"kind": null})", "\xFF\xFE"}) {
        writeFile(folder / "model.json", text);
        EXPECT_EQ(failure(), "its model.json tells no kind.") << text;
    }
}

TEST_F(SherpaModelTest, OtherKindsAreRefusedByName) {
    writeFile(folder / "model.json", R"({"kind": "silero_vad"})");
    EXPECT_EQ(failure(), "sherpa-onnx recognises no speech with the kind silero_vad.");
}

TEST(SherpaModelFolder, OneThatIsNotThereHasNoDescription) {
    EXPECT_THROW(SherpaModel("/nowhere"), Error);
}

} // namespace
