#include "capture/test_tone.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>

namespace {

template <typename Number>
Number at(const std::vector<std::uint8_t>& file, std::size_t offset) {
    Number number{};
    std::memcpy(&number, file.data() + offset, sizeof number); // little-endian like the machines we run on
    return number;
}

std::string tagAt(const std::vector<std::uint8_t>& file, std::size_t offset) {
    return {file.begin() + static_cast<std::ptrdiff_t>(offset),
            file.begin() + static_cast<std::ptrdiff_t>(offset + 4)};
}

std::int16_t sampleAt(const std::vector<std::uint8_t>& file, std::size_t index) {
    return at<std::int16_t>(file, 44 + 2 * index);
}

} // namespace

TEST(TestToneTest, IsAWavFileOfHalfASecondMono) {
    const auto file = testToneFile();
    ASSERT_EQ(file.size(), 48044U);
    EXPECT_EQ(tagAt(file, 0), "RIFF");
    EXPECT_EQ(at<std::uint32_t>(file, 4), 48036U);
    EXPECT_EQ(tagAt(file, 8), "WAVE");
    EXPECT_EQ(tagAt(file, 12), "fmt ");
    EXPECT_EQ(at<std::uint32_t>(file, 16), 16U);
    EXPECT_EQ(at<std::uint16_t>(file, 20), 1U);
    EXPECT_EQ(at<std::uint16_t>(file, 22), 1U);
    EXPECT_EQ(at<std::uint32_t>(file, 24), 48000U);
    EXPECT_EQ(at<std::uint32_t>(file, 28), 96000U);
    EXPECT_EQ(at<std::uint16_t>(file, 32), 2U);
    EXPECT_EQ(at<std::uint16_t>(file, 34), 16U);
    EXPECT_EQ(tagAt(file, 36), "data");
    EXPECT_EQ(at<std::uint32_t>(file, 40), 48000U);
}

TEST(TestToneTest, BeginsWithTheThreeSamplesOfTheFormula) {
    const auto file = testToneFile();
    EXPECT_EQ(sampleAt(file, 0), 0);
    EXPECT_EQ(sampleAt(file, 1), 1158);
    EXPECT_EQ(sampleAt(file, 2), -1638);
}

TEST(TestToneTest, RepeatsEveryEightSamples) {
    const auto file = testToneFile();
    for (std::size_t i = 8; i < 24000; ++i) ASSERT_EQ(sampleAt(file, i), sampleAt(file, i % 8)) << i;
}
