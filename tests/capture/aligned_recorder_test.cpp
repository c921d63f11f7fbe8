#include "capture/aligned_recorder.h"
#include "capture/recorder_fixture.h"

#include <algorithm>

namespace {

using namespace std::chrono_literals;

/// A whole recorder with its sources on one time line, among fakes.
class AlignedRecorderTest : public RecorderFixture {
  protected:
    AlignedRecorderTest() {
        m_recorder.reset();
        m_aligned =
            std::make_unique<AlignedRecorder>(services(), AlignedCapture::Audience{"Desk Mic", nullptr});
        m_aligned->recorder.onFirstAudio = [this] { ++m_firstAudio; };
        m_aligned->recorder.onLevels = [this](float mic, float system) {
            m_levels.emplace_back(mic, system);
        };
    }
    void run() {
        for (int i = 0; i < 3; ++i) runQueues();
    }

    std::unique_ptr<AlignedRecorder> m_aligned;
};

TEST_F(AlignedRecorderTest, FirstBlockEndsTheWaitOfTheStart) {
    m_onSleep = [this] {
        if (m_sleeps == 3) m_mics.deliver(std::vector<float>(960, 0.1F), 300ms);
    };
    EXPECT_TRUE(m_aligned->recorder.start(m_mic, "/recordings/one"));
    EXPECT_EQ(m_sleeps, 3);
    EXPECT_EQ(m_firstAudio, 1);
    m_aligned->recorder.stop();
    EXPECT_EQ(file("voice.m4a").left.size(), 960U);
}

TEST_F(AlignedRecorderTest, SilenceForAMicrophoneThatNeverCameIsNoFirstAudio) {
    m_onSleep = [this] { m_queues.at("tapdeck.lookout")->advance(100ms); };
    EXPECT_TRUE(m_aligned->recorder.start(m_mic, "/recordings/one"));
    EXPECT_EQ(m_sleeps, 80) << "eight seconds";
    for (int i = 0; i < 150; ++i) {
        m_system.deliverStereo(std::vector<float>(1920, 0.25F), 8s + i * 20ms);
        run();
        m_queues.at("tapdeck.lookout")->advance(20ms);
    }
    m_aligned->recorder.stop();
    run();
    EXPECT_EQ(m_firstAudio, 0);
    EXPECT_EQ(log().back(), "[rec] stopped; micCallbacks=0 sysCallbacks=150");
    const std::vector<float>& mix = file("mix.m4a").left;
    EXPECT_GE(mix.size(), 96000U) << "the system audio is worth having";
    EXPECT_EQ(std::count(mix.begin(), mix.end(), 0.25F), std::ssize(mix));
    EXPECT_EQ(file("voice.m4a").left.size(), mix.size());
    EXPECT_FALSE(m_levels.empty());
}

TEST_F(AlignedRecorderTest, MicrophoneThatStandsStillAfterItsFirstBlockTakesNoSystemAudioFromTheMix) {
    m_onSleep = [this] { m_mics.deliver(std::vector<float>(960, 0.125F), 0ms); };
    EXPECT_TRUE(m_aligned->recorder.start(m_mic, "/recordings/one"));
    run();
    m_mics.presentID = "another"; // it cannot be opened again either
    for (int i = 1; i <= 600; ++i) {
        m_system.deliverStereo(std::vector<float>(1920, 0.25F), i * 20ms);
        run();
        m_queues.at("tapdeck.lookout")->advance(20ms);
    }
    m_aligned->recorder.stop();
    run();
    const std::vector<float>& mix = file("mix.m4a").left;
    EXPECT_GE(mix.size(), 11U * 48000) << "of twelve seconds";
    EXPECT_EQ(std::count(mix.begin() + 960, mix.end(), 0.25F), std::ssize(mix) - 960);
}

} // namespace
