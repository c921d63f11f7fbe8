#include "platform/media/recorded_length.h"

#include "base/error.h"
#include "platform/media/media_fixture.h"

#include <algorithm>
#include <cerrno>
#include <sys/stat.h>

namespace {

class RecordedLengthTest : public MediaTest {
  protected:
    /// -1 where nothing is known.
    static std::int64_t framesOf(const std::filesystem::path& file) {
        const auto facts = recordedLength(file);
        if (facts) {
            EXPECT_EQ(facts->sampleRate, 48000.0);
        }
        return facts ? facts->frames : -1;
    }
    static int errorNumberOf(const std::filesystem::path& file) {
        try {
            recordedLength(file);
        } catch (const Error& error) {
            EXPECT_EQ(error.domain(), "posix");
            return error.code();
        }
        return 0;
    }
};

TEST_F(RecordedLengthTest, AClosedFileTellsItsLengthToTheSample) {
    for (const std::size_t frames : {0U, 1U, 1023U, 1024U, 5000U, 100000U}) {
        const std::vector<float> sound = noise(frames);
        EXPECT_EQ(framesOf(recorded(std::to_string(frames), sound, sound)),
                  static_cast<std::int64_t>(frames));
    }
}

TEST_F(RecordedLengthTest, AFileThatIsBeingRecordedTellsTheLengthOfItsFragments) {
    const auto file = folder / "voice.m4a";
    const auto writer = createFile(file);
    EXPECT_EQ(framesOf(file), 0);
    const std::vector<float> sound = noise(100000);
    writer->write(sound, sound);
    EXPECT_EQ(framesOf(file), decodedLengthOf(file).frames);
    EXPECT_GT(framesOf(file), 48000);
}

TEST_F(RecordedLengthTest, NoByteOfSoundIsLookedAt) {
    std::string content = contentOf(recorded("voice.m4a", noise(30000), noise(30000)));
    const std::size_t begin = content.find("mdat") + 1000;
    std::fill(content.begin() + static_cast<std::ptrdiff_t>(begin),
              content.begin() + static_cast<std::ptrdiff_t>(begin) + 3000, '\xff');
    writeFile(folder / "damaged.m4a", content);
    EXPECT_EQ(framesOf(folder / "damaged.m4a"), 30000);
}

TEST_F(RecordedLengthTest, OfFilesOfOtherProgramsNothingIsKnown) {
    if (ffmpegIsMissing()) GTEST_SKIP() << "ffmpeg is not installed";
    const auto file = recorded("voice.m4a", noise(30000), noise(30000));
    const std::string source = "-i '" + file.string() + "' -c copy ";
    for (const char* options : {"", "-movflags faststart", "-movflags frag_keyframe+empty_moov"})
        EXPECT_EQ(framesOf(foreign("foreign.m4a", source + options)), -1) << options;
}

TEST_F(RecordedLengthTest, OfDamagedFilesNothingIsKnown) {
    const std::string whole = contentOf(recorded("voice.m4a", noise(30000), noise(30000)));
    const auto file = folder / "damaged.m4a";
    for (const std::string& content : {std::string(), std::string("rubbish"), std::string(100000, '\0'),
                                       whole.substr(0, 20), whole.substr(0, whole.size() / 2),
                                       whole.substr(0, whole.size() - 1), whole + "x", whole.substr(1)}) {
        writeFile(file, content);
        EXPECT_EQ(framesOf(file), -1) << content.size();
    }
    std::string changed = whole;
    ++changed[whole.rfind("stsz") + 17];
    writeFile(file, changed);
    EXPECT_EQ(framesOf(file), -1) << "another size in the index";
}

TEST_F(RecordedLengthTest, OfEnormousFilesNothingIsKnownAtOnce) {
    const auto file = recorded("voice.m4a", noise(30000), noise(30000));
    std::filesystem::resize_file(file, std::uintmax_t{1} << 40);
    EXPECT_EQ(framesOf(file), -1);
    writeFile(folder / "zeros", "");
    std::filesystem::resize_file(folder / "zeros", std::uintmax_t{1} << 40);
    EXPECT_EQ(framesOf(folder / "zeros"), -1);
}

TEST_F(RecordedLengthTest, WhatIsNoFileIsAnErrorAtOnce) {
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(errorNumberOf(folder / "missing.m4a"), ENOENT);
    EXPECT_EQ(errorNumberOf(folder / "pipe"), EINVAL);
    EXPECT_EQ(errorNumberOf(folder.path()), EISDIR);
    EXPECT_EQ(errorNumberOf("/dev/zero"), EINVAL);
}

} // namespace
