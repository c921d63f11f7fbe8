#include "platform/media/aac_file_writer.h"

#include "base/error.h"
#include "platform/media/media_fixture.h"
#include "support/ordinary_user.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <limits>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using AacFileWriterTest = MediaTest;

int errnoOf(const auto& call) {
    try {
        call();
    } catch (const Error& error) {
        EXPECT_EQ(error.domain(), "posix") << error.printed();
        return error.code();
    }
    return 0;
}

TEST_F(AacFileWriterTest, TakesStereoAt48000Hz) {
    EXPECT_EQ(createFile(folder / "voice.m4a")->processingFormat(), (AudioFormat{48000.0, 2}));
}

TEST_F(AacFileWriterTest, DecodesToExactlyAsManyFramesAsWereWritten) {
    for (const std::size_t frames : {1, 2, 1023, 1024, 1025, 2047, 2048, 2049, 48000, 48001, 123457}) {
        const std::vector<float> sound = noise(frames);
        const auto file = recorded(std::to_string(frames) + ".m4a", sound, sound);
        EXPECT_EQ(decodeAll(file).left.size(), frames);
        const AudioFileFacts facts = decodedLengthOf(file);
        EXPECT_EQ(facts.frames, static_cast<std::int64_t>(frames));
        EXPECT_EQ(facts.sampleRate, 48000.0);
    }
}

TEST_F(AacFileWriterTest, FileWithoutAFrameIsAReadableFileOfLengthZero) {
    const auto file = recorded("empty.m4a", {}, {});
    EXPECT_EQ(decodedLengthOf(file).frames, 0);
    EXPECT_TRUE(decodeAll(file).left.empty());
}

TEST_F(AacFileWriterTest, FirstSampleStaysTheFirstAndGainIsOne) {
    const std::vector<float> sound = chirp(96000, 200.0, 6000.0, 48000.0);
    const DecodedAudio decoded = decodeAll(recorded("chirp.m4a", sound, sound));
    for (const std::vector<float>& heard : {decoded.left, decoded.right}) {
        const Alignment found = align(sound, heard, 1200);
        EXPECT_EQ(found.offset, 0);
        EXPECT_NEAR(found.gain, 1.0, 0.01);
    }
}

TEST_F(AacFileWriterTest, ChannelsAreNotSwapped) {
    const std::vector<float> sound = chirp(48000, 300.0, 3000.0, 48000.0);
    const std::vector<float> silence(sound.size());
    const DecodedAudio decoded = decodeAll(recorded("left.m4a", sound, silence));
    EXPECT_NEAR(align(sound, decoded.left, 0).gain, 1.0, 0.01);
    EXPECT_LT(rootMeanSquare(decoded.right), 0.001);
}

TEST_F(AacFileWriterTest, EqualChannelsStayEqual) {
    for (const std::vector<float>& sound : {noise(100000), chirp(100000, 200.0, 6000.0, 48000.0)}) {
        const DecodedAudio decoded = decodeAll(recorded("voice.m4a", sound, sound));
        std::vector<float> difference(sound.size());
        std::transform(decoded.left.begin(), decoded.left.end(), decoded.right.begin(), difference.begin(),
                       std::minus());
        EXPECT_LT(rootMeanSquare(difference), 0.001 * rootMeanSquare(decoded.left)); // -60 dB
        std::filesystem::remove(folder / "voice.m4a");
    }
}

TEST_F(AacFileWriterTest, CutOfTheCallsDoesNotChangeTheFile) {
    const std::vector<float> left = noise(30001, 0.5F, 1);
    const std::vector<float> right = noise(30001, 0.5F, 2);
    const std::string whole = contentOf(recorded("whole.m4a", left, right, left.size()));
    for (const std::size_t block : {1, 7, 480, 1024, 5000})
        EXPECT_TRUE(contentOf(recorded(std::to_string(block) + ".m4a", left, right, block)) == whole)
            << block;
}

TEST_F(AacFileWriterTest, SamplesThatAreNotFiniteAreSilence) {
    std::vector<float> sound = chirp(48000, 300.0, 3000.0, 48000.0);
    std::vector<float> expected = sound;
    std::fill(expected.begin() + 10000, expected.begin() + 20000, 0.0F);
    for (int i = 10000; i < 20000; ++i) {
        constexpr float infinity = std::numeric_limits<float>::infinity();
        const float broken[] = {std::numeric_limits<float>::quiet_NaN(), infinity, -infinity};
        sound[static_cast<std::size_t>(i)] = broken[i % 3];
    }
    EXPECT_TRUE(contentOf(recorded("broken.m4a", sound, sound)) ==
                contentOf(recorded("silent.m4a", expected, expected)));
}

TEST_F(AacFileWriterTest, AbsurdlyLoudSamplesDoNotEndTheRecording) {
    const std::vector<float> loud(20000, std::numeric_limits<float>::max());
    const DecodedAudio decoded = decodeAll(recorded("loud.m4a", loud, loud));
    EXPECT_EQ(decoded.left.size(), loud.size());
}

TEST_F(AacFileWriterTest, ChannelsOfDifferentLengthAreRefused) {
    const std::vector<float> sound(10);
    const auto writer = createFile(folder / "voice.m4a");
    EXPECT_EQ(errnoOf([&] { writer->write(sound, std::span(sound).first(9)); }), EINVAL);
}

TEST_F(AacFileWriterTest, OtherSettingsAreRefusedAndLeaveNoFile) {
    const auto refused = [&](const AudioFileSettings& settings) {
        EXPECT_EQ(errnoOf([&] { files.create(folder / "voice.m4a", settings); }), EINVAL);
        EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
    };
    refused({.sampleRate = 44100.0});
    refused({.channels = 1});
    refused({.bitRate = 64000});
}

TEST_F(AacFileWriterTest, ExistingFileIsNeverTouched) {
    const auto file = folder / "voice.m4a";
    writeFile(file, "an older recording");
    EXPECT_EQ(errnoOf([&] { createFile(file); }), EEXIST);
    EXPECT_EQ(contentOf(file), "an older recording");
}

TEST_F(AacFileWriterTest, DanglingLinkIsNotFollowed) {
    std::filesystem::create_symlink(folder / "elsewhere", folder / "voice.m4a");
    EXPECT_EQ(errnoOf([&] { createFile(folder / "voice.m4a"); }), EEXIST);
    EXPECT_FALSE(std::filesystem::exists(folder / "elsewhere"));
}

TEST_F(AacFileWriterTest, MissingFolderIsNamedByTheSystem) {
    EXPECT_EQ(errnoOf([&] { createFile(folder / "missing" / "voice.m4a"); }), ENOENT);
}

TEST_F(AacFileWriterTest, FolderWithoutPermissionIsRefused) {
    const OrdinaryUser user({folder.path()});
    ASSERT_EQ(chmod(folder.path().c_str(), 0500), 0);
    EXPECT_EQ(errnoOf([&] { createFile(folder / "voice.m4a"); }), EACCES);
    ASSERT_EQ(chmod(folder.path().c_str(), 0700), 0);
}

TEST_F(AacFileWriterTest, PathMayHoldSpacesColonsAndLettersOfAnyScript) {
    const std::vector<float> sound = noise(5000);
    for (const std::string name : {"Überprüfung – 会議 1.m4a", "http:voice.m4a", "50%d.m4a", "-i.m4a"})
        EXPECT_EQ(decodedLengthOf(recorded(name, sound, sound)).frames, 5000) << name;
}

TEST_F(AacFileWriterTest, TwoFilesAtATimeDoNotDisturbEachOther) {
    const std::vector<float> one = noise(20000, 0.5F, 1);
    const std::vector<float> two = noise(20000, 0.5F, 2);
    {
        const auto first = createFile(folder / "first.m4a");
        const auto second = createFile(folder / "second.m4a");
        for (std::size_t at = 0; at < one.size(); at += 1000) {
            first->write(std::span(one).subspan(at, 1000), std::span(one).subspan(at, 1000));
            second->write(std::span(two).subspan(at, 1000), std::span(two).subspan(at, 1000));
        }
    }
    EXPECT_TRUE(contentOf(folder / "first.m4a") == contentOf(recorded("one.m4a", one, one)));
    EXPECT_TRUE(contentOf(folder / "second.m4a") == contentOf(recorded("two.m4a", two, two)));
}

/// One line of ffprobe's answer, such as "sample_rate=48000".
std::string probed(const std::filesystem::path& file, const std::string& entries) {
    const std::string command =
        "ffprobe -v error -of default=nw=1 -show_entries " + entries + " '" + file.string() + "' 2>&1";
    std::string answer;
    FILE* const pipe = popen(command.c_str(), "r");
    for (int c = std::fgetc(pipe); c != EOF; c = std::fgetc(pipe)) answer += static_cast<char>(c);
    pclose(pipe);
    return answer;
}

/// Counts how often everything about a file was brought to the disk.
class CountedSyncs : public FileCalls {
  public:
    int fdatasync(int) override { return 0; }
    int fsync(int) override {
        ++count;
        return 0;
    }
    std::atomic<int> count = 0;
};

TEST_F(AacFileWriterTest, FileOutlivesItsFactoryAndTheLastToGoWaitsForTheDisk) {
    CountedSyncs calls;
    auto factory = std::make_unique<AacFileWriterFactory>(nullptr, calls);
    auto first = factory->create(folder / "voice.m4a", {});
    auto second = factory->create(folder / "mix.m4a", {});
    factory.reset();
    const std::vector<float> sound = noise(100000);
    first->write(sound, sound);
    const int begun = calls.count;
    first.reset();
    second->write(sound, sound);
    second.reset();
    EXPECT_EQ(calls.count, begun + 2);
    EXPECT_EQ(decodedLengthOf(folder / "voice.m4a").frames, 100000);
    EXPECT_EQ(decodedLengthOf(folder / "mix.m4a").frames, 100000);
}

TEST_F(AacFileWriterTest, OtherProgramsSeeAnOrdinaryFile) {
    if (std::system("ffprobe -version > /dev/null 2>&1") != 0) GTEST_SKIP() << "ffprobe is not installed";
    const std::vector<float> left = noise(480000, 0.5F, 1);
    const std::vector<float> right = noise(480000, 0.5F, 2);
    const auto file = recorded("mix.m4a", left, right);
    EXPECT_EQ(probed(file, "stream=codec_name,profile,sample_rate,channels,start_pts,duration_ts"),
              "codec_name=aac\nprofile=LC\nsample_rate=48000\nchannels=2\nstart_pts=0\nduration_ts=480000\n");
    const std::string bitRate = probed(file, "stream=bit_rate");
    ASSERT_TRUE(bitRate.starts_with("bit_rate=")) << bitRate;
    EXPECT_NEAR(std::stod(bitRate.substr(9)), 128000.0, 6000.0);
}

} // namespace
