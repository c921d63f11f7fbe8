#include "platform/media/audio_reader.h"

#include "base/error.h"
#include "platform/media/aac_encoder.h"
#include "platform/media/media_fixture.h"
#include "platform/media/mp4_track_writer.h"
#include "support/ordinary_user.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace {

class AudioReaderTest : public MediaTest {
  protected:
    /// The error with which the file is refused, the same for its length and for its sound.
    std::string refusal(const std::filesystem::path& file) {
        const auto errorOf = [](const auto& call) -> std::string {
            try {
                call();
            } catch (const Error& error) {
                return error.printed();
            }
            return "none";
        };
        std::string ofLength = errorOf([&] { decodedLengthOf(file); });
        EXPECT_EQ(errorOf([&] { decodeTo16kMono(openRegularFile(file), [](std::span<const float>) {}); }),
                  ofLength);
        return ofLength;
    }

    std::vector<float> speechSamples(const std::filesystem::path& file) {
        std::vector<float> samples;
        decodeTo16kMono(openRegularFile(file), [&](std::span<const float> block) {
            samples.insert(samples.end(), block.begin(), block.end());
        });
        return samples;
    }
};

const std::string posix = "Error Domain=posix Code=";

TEST_F(AudioReaderTest, MissingFileIsNamedByTheSystem) {
    EXPECT_EQ(refusal(folder / "voice.m4a"), posix + "2 \"No such file or directory\"");
}

TEST_F(AudioReaderTest, FolderIsRefused) {
    EXPECT_EQ(refusal(folder.path()), posix + "21 \"Is a directory\"");
}

TEST_F(AudioReaderTest, PipeIsRefusedInsteadOfWaitingForIt) {
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(refusal(folder / "pipe"), posix + "22 \"This is not a regular file.\"");
    EXPECT_EQ(refusal("/dev/zero"), posix + "22 \"This is not a regular file.\"");
}

TEST_F(AudioReaderTest, UnreadableFileIsRefused) {
    const auto file = recorded("voice.m4a", noise(1000), noise(1000));
    const OrdinaryUser user({folder.path(), file});
    ASSERT_EQ(chmod(file.c_str(), 0), 0);
    EXPECT_EQ(refusal(file), posix + "13 \"Permission denied\"");
}

TEST_F(AudioReaderTest, EmptyFileAndRubbishAreRefused) {
    writeFile(folder / "empty.m4a", "");
    writeFile(folder / "rubbish.m4a", "not a recording at all, just a few words");
    for (const std::string name : {"empty.m4a", "rubbish.m4a"})
        EXPECT_EQ(
            refusal(folder / name),
            "Error Domain=ffmpeg Code=-1094995529 \"The audio file cannot be opened: Invalid data found when "
            "processing input\"");
}

TEST_F(AudioReaderTest, AddressIsTakenForAPath) {
    for (const std::string address : {"http://127.0.0.1:9/voice.m4a", "concat:a.m4a|b.m4a", "pipe:0"})
        EXPECT_EQ(refusal(address), posix + "2 \"No such file or directory\"");
}

TEST_F(AudioReaderTest, OtherKindsOfFilesAreRefused) {
    if (ffmpegIsMissing()) GTEST_SKIP() << "ffmpeg is not installed";
    const std::string tone = "-f lavfi -i sine=d=1:r=48000 ";
    const std::string picture = "-f lavfi -i testsrc=d=1:s=64x64 ";
    for (const auto& [name, arguments] : std::vector<std::pair<std::string, std::string>>{
             {"sound.wav", tone},
             {"sound.mp3", tone + "-c:a libmp3lame"},
             {"sound.ogg", tone + "-c:a libvorbis"},
             {"sound.aac", tone + "-c:a aac"},
             {"sound.alac.m4a", tone + "-c:a alac"},
             {"video.mp4", picture + "-c:v mpeg4"},
             {"film.mp4", tone + picture + "-c:v mpeg4 -c:a aac"},
             {"two.m4a", tone + tone + "-map 0 -map 1 -c:a aac"},
             {"surround.m4a", tone + "-ac 6 -c:a aac"}}) {
        const auto file = foreign(name, arguments);
        if (!std::filesystem::exists(file) || std::filesystem::file_size(file) == 0)
            continue; // no such encoder
        EXPECT_TRUE(refusal(file).starts_with(
            "Error Domain=ffmpeg Code=-1094995529 \"The audio file cannot be opened"))
            << name << refusal(file);
    }
}

TEST_F(AudioReaderTest, FilesOfOtherProgramsAreReadAtTheirOwnRate) {
    if (ffmpegIsMissing()) GTEST_SKIP() << "ffmpeg is not installed";
    const auto mono = foreign("mono.m4a", "-f lavfi -i sine=d=1:r=44100 -c:a aac");
    EXPECT_EQ(decodedLengthOf(mono).sampleRate, 44100.0);
    const DecodedAudio decoded = decodeAll(mono);
    EXPECT_EQ(static_cast<std::int64_t>(decoded.left.size()), decodedLengthOf(mono).frames);
    EXPECT_NEAR(static_cast<double>(decoded.left.size()), 44100.0, 50.0); // its times are milliseconds
    EXPECT_EQ(decoded.left, decoded.right);
    EXPECT_NEAR(static_cast<double>(speechSamples(mono).size()), 16000.0, 20.0);
}

TEST_F(AudioReaderTest, FragmentedFileHasNoIndexAndIsReadAsWell) {
    if (ffmpegIsMissing()) GTEST_SKIP() << "ffmpeg is not installed";
    const std::vector<float> sound = noise(96000);
    const auto whole = recorded("whole.m4a", sound, sound);
    const auto fragmented = foreign("fragmented.m4a", "-i '" + whole.string() +
                                                          "' -c copy -movflags empty_moov+delay_moov "
                                                          "-frag_duration 300000");
    // The last packet's length is only in the index.
    EXPECT_EQ(decodedLengthOf(fragmented).frames, (96000 + 1023) / 1024 * 1024);
    const std::vector<float> decoded = decodeAll(fragmented).left;
    EXPECT_EQ(static_cast<std::int64_t>(decoded.size()), decodedLengthOf(fragmented).frames);
    const std::vector<float> expected = decodeAll(whole).left;
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), decoded.begin()));
}

TEST_F(AudioReaderTest, PaddingOfMoreThanAPacketIsLeftOutToo) {
    AacEncoder encoder;
    AacStream stream = encoder.stream();
    stream.initialPadding = 2112; // what another encoder uses: the edit begins inside the third packet
    const std::vector<float> sound = chirp(48000, 200.0, 6000.0, 48000.0);
    {
        SyncThread disk([](const std::filesystem::path&, const Error&) {});
        Mp4TrackWriter file(systemFileCalls(), disk, folder / "padded.m4a", stream);
        const AacEncoder::Sink later = [&](AacPacket packet) {
            packet.pts -= 2112 - 1024;
            file.append(packet);
        };
        encoder.encode(sound, sound, later);
        encoder.finish(later);
        file.finish();
    }
    const std::vector<float> decoded = decodeAll(folder / "padded.m4a").left;
    EXPECT_EQ(decoded.size(), sound.size() - 1088);
    EXPECT_EQ(align(std::span(sound).subspan(1088), decoded, 1200).offset, 0);
}

TEST_F(AudioReaderTest, SpeechSamplesHaveAThirdOfTheLength) {
    for (const std::size_t frames : {1, 2, 3, 479, 1023, 1024, 1025, 48000, 48001, 123457}) {
        const std::vector<float> sound = noise(frames);
        const auto samples = speechSamples(recorded(std::to_string(frames) + ".m4a", sound, sound));
        EXPECT_NEAR(static_cast<double>(samples.size()), static_cast<double>(frames) / 3.0, 1.0) << frames;
    }
    EXPECT_TRUE(speechSamples(recorded("0.m4a", {}, {})).empty());
}

TEST_F(AudioReaderTest, SpeechSamplesKeepTheTimeOfAClick) {
    for (const std::size_t at : {100, 24000, 95000}) {
        std::vector<float> sound(96000);
        for (std::size_t i = 0; i < 48; ++i) sound[at + i] = i % 12 < 6 ? 0.8F : -0.8F; // 1 ms at 4 kHz
        const auto samples = speechSamples(recorded(std::to_string(at) + ".m4a", sound, sound));
        const auto loudest = std::max_element(samples.begin(), samples.end(),
                                              [](float a, float b) { return std::abs(a) < std::abs(b); });
        const double seconds = static_cast<double>(loudest - samples.begin()) / 16000.0;
        EXPECT_NEAR(seconds, static_cast<double>(at + 24) / 48000.0, 0.001);
    }
}

TEST_F(AudioReaderTest, SpeechSamplesAreTheMeanOfTheChannels) {
    const std::vector<float> sound = chirp(96000, 200.0, 3000.0, 48000.0);
    const std::vector<float> expected = chirp(32000, 200.0, 3000.0, 16000.0);
    const std::vector<float> silence(sound.size());
    const auto both = align(expected, speechSamples(recorded("both.m4a", sound, sound)), 20);
    EXPECT_EQ(both.offset, 0);
    EXPECT_NEAR(both.gain, 1.0, 0.01);
    const auto half = align(expected, speechSamples(recorded("half.m4a", sound, silence)), 20);
    EXPECT_EQ(half.offset, 0);
    EXPECT_NEAR(half.gain, 0.5, 0.01);
}

TEST_F(AudioReaderTest, WhatTheSinkThrowsEndsTheDecoding) {
    const auto file = recorded("voice.m4a", noise(48000), noise(48000));
    int blocks = 0;
    EXPECT_THROW(decodeTo16kMono(openRegularFile(file),
                                 [&](std::span<const float>) {
                                     ++blocks;
                                     throw Error("engine", 1, "enough");
                                 }),
                 Error);
    EXPECT_EQ(blocks, 1);
}

TEST_F(AudioReaderTest, BehindItsEndASpeechReaderStaysEmpty) {
    SpeechAudioReader reader(openRegularFile(recorded("voice.m4a", noise(48000), noise(48000))));
    std::size_t read = 0;
    for (auto block = reader.next(); !block.empty(); block = reader.next()) read += block.size();
    EXPECT_EQ(read, 16000U);
    EXPECT_TRUE(reader.next().empty());
}

} // namespace
