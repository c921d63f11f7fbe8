#pragma once

#include "capture/capture_timeline.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <vector>

using namespace std::chrono_literals;

/// A timeline in virtual time whose deliveries are kept. Unless a test says otherwise a sample's value is its
/// number on the monotonic clock plus one, so that places are seen and nothing but silence is zero.
class TimelineFixture : public testing::Test {
  protected:
    using Time = CaptureTimeline::Time;
    using Samples = std::vector<float>;

    static constexpr std::int64_t block = 960; // 20 ms
    static constexpr std::int64_t second = 48000;

    static Samples numbered(std::int64_t first, std::int64_t count, int channels) {
        Samples samples;
        for (std::int64_t i = first; i < first + count; ++i)
            samples.insert(samples.end(), static_cast<std::size_t>(channels), static_cast<float>(i + 1));
        return samples;
    }
    static Time at(std::int64_t frame) { return Time(BlockClock::duration(frame)); }

    void mic(std::int64_t frame, std::int64_t count = block) {
        m_timeline.micBlock(at(frame), numbered(frame, count, 1));
    }
    void tap(std::int64_t frame, std::int64_t count = block) {
        m_timeline.tapBlock(at(frame), numbered(frame, count, 2));
    }
    void silentTap(std::int64_t frame, std::int64_t count = block) {
        m_timeline.tapBlock(at(frame), Samples(static_cast<std::size_t>(2 * count)));
    }
    /// Both sources in step, from one place to another.
    void both(std::int64_t from, std::int64_t to) {
        for (std::int64_t frame = from; frame < to; frame += block) {
            mic(frame);
            tap(frame);
        }
    }
    /// The recording runs: the tap began with the microphone's second block. Next is frame 4 * block.
    void begin() {
        mic(0);
        both(block, 4 * block);
        ASSERT_EQ(m_mic, numbered(0, 4 * block, 1));
        ASSERT_EQ(m_tap, numbered(block, 3 * block, 1));
    }

    static std::int64_t zeros(const Samples& samples) {
        return std::count(samples.begin(), samples.end(), 0.0F);
    }
    static Samples withSilence(Samples samples, std::int64_t from, std::int64_t to) {
        std::fill(samples.begin() + from, samples.begin() + to, 0.0F);
        return samples;
    }
    /// What was delivered for that place of the microphone's count.
    float micAt(std::int64_t index) const { return m_mic.at(static_cast<std::size_t>(index)); }
    float tapAt(std::int64_t index) const { return m_tap.at(static_cast<std::size_t>(index - m_tapBegin)); }
    std::int64_t micEnd() const { return std::ssize(m_mic); }
    std::int64_t tapEnd() const { return m_tapBegin + std::ssize(m_tap); }

    Samples m_mic;
    Samples m_tap; // left; right is checked to be equal
    std::int64_t m_tapBegin = 0;
    std::int64_t m_longestLead = 0; // how far the tap's deliveries were ever ahead
    bool m_tapIsDue = true;         // no microphone sample before the tap's

    CaptureTimeline m_timeline{{[this](std::span<const float> mono) {
                                    m_mic.insert(m_mic.end(), mono.begin(), mono.end());
                                    EXPECT_TRUE(!m_tapIsDue || m_tap.empty() || micEnd() <= tapEnd());
                                },
                                [this](std::span<const float> stereo) {
                                    if (m_tap.empty()) m_tapBegin = micEnd();
                                    for (std::size_t i = 0; i < stereo.size(); i += 2) {
                                        ASSERT_EQ(stereo[i], stereo[i + 1]);
                                        m_tap.push_back(stereo[i]);
                                    }
                                    m_longestLead = std::max(m_longestLead, tapEnd() - micEnd());
                                }}};
};
