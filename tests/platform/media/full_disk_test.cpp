#include "base/error.h"
#include "base/number_text.h"
#include "platform/media/media_fixture.h"
#include "support/file_size_limit.h"
#include "support/small_disk.h"

#include <cerrno>
#include <string>
#include <utility>

namespace {

/// A recording of three files on a disk that has room for about one minute of each.
class FullDiskTest : public MediaTest {
  protected:
    using Writer = std::unique_ptr<AudioFileWriter>;

    /// Writes a second; the errno with which that failed, or 0.
    int writeSecond(AudioFileWriter& writer) {
        try {
            writer.write(m_second, m_second);
        } catch (const Error& error) {
            EXPECT_EQ(error.domain(), "posix");
            return error.code();
        }
        return 0;
    }

    /// How many seconds went in, at most two minutes, and the errno with which they ended.
    std::pair<int, int> writeUntilFull(AudioFileWriter& writer) {
        for (int second = 0; second < 120; ++second)
            if (const int error = writeSecond(writer); error != 0) return {second, error};
        return {120, 0};
    }

    static std::ptrdiff_t openDescriptors() {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    }

    /// With one index behind all sound, as any program expects it.
    static bool isOrdinary(const std::filesystem::path& file) {
        return contentOf(file).substr(32, 8) == std::string("\0\0\0\x08"
                                                            "free",
                                                            8);
    }

    const std::vector<float> m_second = noise(48000);
    std::vector<std::string> notices;
};

TEST_F(FullDiskTest, FileIsClosedBeforeItsLargestSizeAndEveryLaterWriteFailsTheSame) {
    const std::ptrdiff_t before = openDescriptors();
    const auto file = folder / "voice.m4a";
    {
        const FileSizeLimit limit(1100000);
        AacFileWriterFactory factory([&](const std::string& sentence) { notices.push_back(sentence); });
        const Writer writer = factory.create(file, {});
        const auto [seconds, error] = writeUntilFull(*writer);
        EXPECT_EQ(error, EFBIG);
        EXPECT_GE(seconds, 55);
        EXPECT_TRUE(isOrdinary(file)) << "closed at once, not only at the end";
        EXPECT_EQ(writeUntilFull(*writer), std::pair(0, EFBIG));
    }
    EXPECT_EQ(openDescriptors(), before);
    const double length = static_cast<double>(decodedLengthOf(file).frames) / 48000;
    EXPECT_GE(length, 55.0);
    EXPECT_EQ(decodeAll(file).left.size(), static_cast<std::size_t>(decodedLengthOf(file).frames));
    const std::string end = minutesAndSeconds(length);
    EXPECT_EQ(log.messages(), std::vector{"[rec] voice.m4a ends at " + end +
                                          ": Error Domain=posix Code=27 \"File too large\""});
    EXPECT_EQ(notices, std::vector{"The disk is full. The recording ends at " + end +
                                   ", and everything up to there is saved."});
}

TEST_F(FullDiskTest, FileThatCannotEvenBeginIsRemoved) {
    const FileSizeLimit limit(8);
    try {
        createFile(folder / "voice.m4a");
        ADD_FAILURE() << "created";
    } catch (const Error& error) {
        EXPECT_EQ(error.code(), EFBIG);
    }
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST_F(FullDiskTest, LessRoomThanForAMinuteIsAnErrorAndLeavesNoFile) {
    const SmallDisk disk(folder / "disk", 900);
    if (!disk.mounted()) GTEST_SKIP() << "no file system can be mounted here: that takes root";
    try {
        createFile(disk / "voice.m4a");
        ADD_FAILURE() << "created";
    } catch (const Error& error) {
        EXPECT_EQ(error.printed(), "Error Domain=posix Code=28 \"No space left on device\"");
    }
    EXPECT_TRUE(std::filesystem::is_empty(folder / "disk"));
}

TEST_F(FullDiskTest, AllThreeFilesAreClosedOrdinaryAndPlayableBeforeTheDiskIsFullAndTheUserIsToldOnce) {
    const SmallDisk disk(folder / "disk", 3400);
    if (!disk.mounted()) GTEST_SKIP() << "no file system can be mounted here: that takes root";
    AacFileWriterFactory factory([&](const std::string& sentence) { notices.push_back(sentence); });
    const std::vector<std::string> names{"voice.m4a", "system.m4a", "mix.m4a"};
    std::vector<Writer> writers;
    writers.reserve(names.size());
    for (const std::string& name : names) writers.push_back(factory.create(disk / name, {}));
    for (int second = 0; second < 70; ++second)
        for (const Writer& writer : writers) writeSecond(*writer);
    for (const Writer& writer : writers) EXPECT_EQ(writeSecond(*writer), ENOSPC);

    for (const std::string& name : names) {
        EXPECT_TRUE(isOrdinary(disk / name)) << name;
        EXPECT_GE(decodedLengthOf(disk / name).frames, 55 * 48000) << name;
        EXPECT_EQ(decodeAll(disk / name).left.size(),
                  static_cast<std::size_t>(decodedLengthOf(disk / name).frames));
    }
    EXPECT_EQ(log.messages().size(), 3U);
    ASSERT_EQ(notices.size(), 1U);
    EXPECT_TRUE(notices[0].starts_with("The disk is full. The recording ends at 0")) << notices[0];
}

} // namespace
