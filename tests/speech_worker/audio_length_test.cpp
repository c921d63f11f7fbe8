#include "base/error.h"
#include "platform/media/aac_file_writer.h"
#include "platform/media/recorded_length.h"
#include "platform/speech/worker_engine.h"
#include "platform/speech/worker_file_info.h"
#include "support/audio_signals.h"
#include "support/decoded_audio.h"
#include "support/log_capture.h"
#include "support/process_leftovers.h"
#include "support/temporary_folder.h"

#include <cstdlib>
#include <gtest/gtest.h>

namespace {

/// The real program. It gets every file, also our own.
class AudioLengthTest : public testing::Test {
  protected:
    void TearDown() override { EXPECT_FALSE(hasChild()); }

    std::filesystem::path recorded(std::size_t frames) {
        std::filesystem::path file = folder / "recorded.m4a";
        std::filesystem::remove(file);
        const std::vector<float> sound = noise(frames);
        AacFileWriterFactory().create(file, {})->write(sound, sound);
        return file;
    }
    /// The program's own words, or none.
    std::string refusal(const std::string& content) {
        writeFile(folder / "file", content);
        try {
            info.facts(folder / "file", {});
        } catch (const Error& error) {
            EXPECT_EQ(error.domain(), "engine");
            EXPECT_EQ(error.code(), static_cast<int>(EngineFailure::reported)) << error.printed();
            return error.localizedDescription();
        }
        return {};
    }

    LogCapture log;
    TemporaryFolder folder;
    WorkerFileInfo info{MURMELO_WORKER, [](const std::filesystem::path&) { return std::nullopt; }};
};

TEST_F(AudioLengthTest, TheLengthIsThatOfTheSound) {
    for (const std::size_t frames : {0U, 5000U, 100000U}) {
        const AudioFileFacts facts = info.facts(recorded(frames), {});
        EXPECT_EQ(facts.frames, static_cast<std::int64_t>(frames));
        EXPECT_EQ(facts.sampleRate, 48000.0);
    }
    EXPECT_TRUE(log.messages().empty());
}

TEST_F(AudioLengthTest, AFileOfAnotherProgramKeepsItsRate) {
    const std::string file = folder / "foreign.m4a";
    if (std::system(
            ("ffmpeg -v error -f lavfi -i sine=duration=2 -ar 44100 -c:a aac '" + file + "'").c_str()) != 0)
        GTEST_SKIP() << "ffmpeg is not installed";
    const AudioFileFacts facts = info.facts(file, {});
    EXPECT_EQ(facts.frames, 88200);
    EXPECT_EQ(facts.sampleRate, 44100.0);
    EXPECT_EQ(facts.frames, decodedLengthOf(file).frames);
}

TEST_F(AudioLengthTest, WhatIsNoAudioIsRefusedWithAReason) {
    EXPECT_NE(refusal(""), "");
    EXPECT_NE(refusal("rubbish"), "");
    EXPECT_NE(refusal(std::string(1000000, '\xa5')), "");
    EXPECT_NE(refusal(contentOf(recorded(5000)).substr(0, 100)), "");
}

TEST_F(AudioLengthTest, AFileThatWasCutOffTellsWhatIsLeft) {
    const std::string whole = contentOf(recorded(200000));
    writeFile(folder / "cut.m4a", whole.substr(0, whole.size() / 2));
    const std::filesystem::path cut = folder / "cut.m4a";
    std::int64_t left = -1;
    try {
        left = decodedLengthOf(cut).frames;
    } catch (const Error&) {
        EXPECT_THROW(info.facts(cut, {}), Error);
        return;
    }
    EXPECT_EQ(info.facts(cut, {}).frames, left);
}

TEST_F(AudioLengthTest, AnEnormousFileTakesNoTime) {
    writeFile(folder / "zeros", "");
    std::filesystem::resize_file(folder / "zeros", std::uintmax_t{1} << 40);
    EXPECT_THROW(info.facts(folder / "zeros", {}), Error);
}

} // namespace
