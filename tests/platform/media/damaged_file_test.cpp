#include "base/error.h"
#include "platform/media/media_fixture.h"
#include "platform/media/recorded_length.h"

#include <chrono>
#include <cmath>
#include <iostream>
#include <random>
#include <string>

namespace {

/// Files that were cut off, overwritten or made to harm: they are read or refused, and nothing else happens.
class DamagedFileTest : public MediaTest {
  protected:
    /// Length and sound of a file with that content; -1 when it is refused.
    std::int64_t framesOf(const std::string& content) {
        const auto file = folder / "damaged.m4a";
        writeFile(file, content);
        std::int64_t announced = -1;
        try {
            announced = decodedLengthOf(file).frames;
            std::int64_t decoded = 0;
            AudioReader reader(openRegularFile(file));
            while (const auto block = reader.next()) {
                EXPECT_EQ(block->left.size(), block->right.size());
                for (const float sample : block->left) EXPECT_TRUE(std::isfinite(sample));
                decoded += static_cast<std::int64_t>(block->left.size());
            }
            EXPECT_EQ(decoded, announced);
            if (const auto recorded = recordedLength(file)) {
                EXPECT_EQ(recorded->frames, announced);
            }
            decodeTo16kMono(openRegularFile(file), [](std::span<const float>) {});
        } catch (const Error& error) {
            EXPECT_FALSE(error.localizedDescription().empty());
        } catch (const std::bad_alloc&) { // an index of gigabytes was announced
            return -1;
        }
        return announced;
    }

    std::string smallFile(std::size_t frames) {
        return contentOf(recorded("whole.m4a", noise(frames, 0.5F, 1), noise(frames, 0.5F, 2)));
    }
};

TEST_F(DamagedFileTest, EveryTruncationIsReadOrRefused) {
    const std::string whole = smallFile(2000);
    for (std::size_t size = 0; size < whole.size(); ++size)
        EXPECT_LE(framesOf(whole.substr(0, size)), 2000) << size;
}

TEST_F(DamagedFileTest, FileWithItsIndexInFrontEndsWithItsLastWholePacket) {
    if (ffmpegIsMissing()) GTEST_SKIP() << "ffmpeg is not installed";
    writeFile(folder / "ordinary.m4a", smallFile(4000));
    const std::string whole =
        contentOf(foreign("front.m4a", "-i '" + (folder / "ordinary.m4a").string() +
                                           "' -c copy -movie_timescale 48000 -movflags faststart"));
    std::int64_t longest = 0;
    for (std::size_t size = whole.find("mdat") + 4; size <= whole.size(); ++size) {
        const std::int64_t frames = framesOf(whole.substr(0, size));
        EXPECT_GE(frames, longest) << size;
        EXPECT_TRUE(frames % 1024 == 0 || frames == 4000) << frames;
        longest = frames;
    }
    EXPECT_EQ(longest, 4000);
}

TEST_F(DamagedFileTest, EverySingleWrongByteIsReadOrRefused) {
    const std::string whole = smallFile(10000);
    const int given = testing::UnitTest::GetInstance()->random_seed();
    const unsigned seed = given != 0 ? static_cast<unsigned>(given) : std::random_device()() % 99999 + 1;
    std::cout << "again with --gtest_random_seed=" << seed << "\n";
    std::minstd_rand generator(seed);
    const std::size_t index = whole.rfind("moov");
    ASSERT_NE(index, std::string::npos);
    const auto begun = std::chrono::steady_clock::now();
    for (int i = 0; i < 2000; ++i) {
        std::string damaged = whole;
        // Every other one in the index, where a byte does most.
        const std::size_t at =
            i % 2 == 0 ? generator() % whole.size() : index + generator() % (whole.size() - index);
        damaged[at] = static_cast<char>(generator());
        EXPECT_LE(framesOf(damaged), 20 * 1024) << "byte " << at;
    }
    EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(100));
}

TEST_F(DamagedFileTest, DamagedPacketIsSilenceAndWhatFollowsStaysInItsPlace) {
    const std::vector<float> sound = chirp(96000, 200.0, 6000.0, 48000.0);
    std::string content = contentOf(recorded("voice.m4a", sound, sound));
    const std::size_t begin = content.find("mdat") + 10000;
    std::fill_n(content.begin() + static_cast<std::ptrdiff_t>(begin), 1500, '\xff');
    writeFile(folder / "damaged.m4a", content);
    const std::vector<float> decoded = decodeAll(folder / "damaged.m4a").left;
    ASSERT_EQ(decoded.size(), sound.size());
    const std::size_t later = sound.size() / 2;
    EXPECT_EQ(align(std::span(sound).subspan(later), std::span(decoded).subspan(later), 1200).offset, 0);
    ASSERT_FALSE(log.messages().empty());
    EXPECT_TRUE(log.messages().back().ends_with(" damaged packets of an audio file were read as silence"))
        << log.messages().back();
}

TEST_F(DamagedFileTest, FileOfDamagedPacketsAloneIsAnError) {
    std::string content = smallFile(30000);
    const std::size_t begin = content.find("mdat") + 4;
    std::fill(content.begin() + static_cast<std::ptrdiff_t>(begin),
              content.begin() + static_cast<std::ptrdiff_t>(content.rfind("moov")) - 4, '\xff');
    writeFile(folder / "damaged.m4a", content);
    EXPECT_THROW(decodeAll(folder / "damaged.m4a"), Error);
}

TEST_F(DamagedFileTest, IndexThatAnnouncesBillionsOfPacketsTakesNeitherMemoryNorTime) {
    std::string content = smallFile(2000);
    const auto put = [&](std::size_t at, unsigned value) {
        for (int i = 0; i < 4; ++i)
            content[at + static_cast<std::size_t>(i)] = static_cast<char>(value >> (24 - 8 * i));
    };
    const std::size_t sizes = content.rfind("stsz");
    put(sizes + 8, 1);           // every packet has one byte
    put(sizes + 12, 0xfffffff0); // and there are that many
    const std::size_t chunks = content.rfind("stsc");
    put(chunks + 16, 0xfffffff0); // all in one chunk
    const auto begun = std::chrono::steady_clock::now();
    framesOf(content);
    EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(20));
}

TEST_F(DamagedFileTest, SampleRateOfZeroIsRefused) {
    std::string content = smallFile(2000);
    // Sample entry (ISO/IEC 14496-12, 12.2.3), time scale of the track, and the decoder's configuration.
    const std::size_t entry = content.rfind("mp4a");
    content.replace(entry + 28, 4, 4, '\0');
    content.replace(content.rfind("mdhd") + 16, 4, 4, '\0');
    const std::size_t config = content.find(std::string("\x05\x80\x80\x80", 4), entry) + 5;
    content[config] = '\x17'; // AAC-LC with the explicit rate that follows:
    content.replace(config + 1, 3, std::string("\x80\x00\x00", 3));
    EXPECT_EQ(framesOf(content), -1);
}

} // namespace
