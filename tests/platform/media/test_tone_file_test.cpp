#include "capture/test_tone.h"

#include "support/temporary_folder.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <gtest/gtest.h>
#include <memory>
#include <numbers>
#include <string>
#include <vector>

namespace {

/// The file of the test tone, read by FFmpeg's programs.
class TestToneFile : public testing::Test {
  protected:
    void SetUp() override {
        const std::vector<std::uint8_t> bytes = testToneFile();
        writeFile(m_file, std::string(bytes.begin(), bytes.end()));
    }

    /// What a shell command prints; it finds the file in $1.
    std::string printed(const std::string& command) const {
        struct Close {
            void operator()(FILE* pipe) const { pclose(pipe); }
        };
        const std::unique_ptr<FILE, Close> pipe(
            popen(("set -- '" + m_file.string() + "'; " + command).c_str(), "r"));
        std::string text;
        std::array<char, 4096> buffer;
        while (const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), pipe.get()))
            text.append(buffer.data(), count);
        return text;
    }

  private:
    TemporaryFolder m_folder;
    std::filesystem::path m_file = m_folder / "tone.wav";
};

TEST_F(TestToneFile, IsHalfASecondOfMonoWith16BitsAt48KilohertzToAStandardReader) {
    EXPECT_EQ(
        printed("ffprobe -v error -of default=nokey=1:noprint_wrappers=1 -show_entries "
                "format=format_name:stream=codec_name,sample_rate,channels,bits_per_sample,duration \"$1\""),
        "pcm_s16le\n48000\n1\n16\n0.500000\nwav\n");
}

TEST_F(TestToneFile, ItsSamplesAreAToneOf18KilohertzAtFivePercentToAStandardReader) {
    const std::string bytes = printed("ffmpeg -v error -i \"$1\" -f s16le -");
    ASSERT_EQ(bytes.size(), 2U * 24000);
    for (std::size_t i = 0; i < 24000; ++i) {
        const auto sample = static_cast<std::int16_t>(static_cast<unsigned char>(bytes[2 * i]) |
                                                      static_cast<unsigned char>(bytes[2 * i + 1]) << 8);
        const double exact =
            0.05 * 32767 * std::sin(2 * std::numbers::pi * 18000 * static_cast<double>(i) / 48000);
        ASSERT_NEAR(sample, exact, 1) << i;
    }
}

} // namespace
