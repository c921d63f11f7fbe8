#include "capture/capture_check.h"
#include "capture/test_tone.h"
#include "support/fake_system_audio.h"
#include "support/fake_tones.h"
#include "support/log_capture.h"
#include "support/manual_queue.h"

#include <cmath>
#include <gmock/gmock.h>
#include <limits>
#include <numbers>

namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

/// A check among fakes: what the tap hears, it hears while the check sleeps.
class CaptureCheckTest : public testing::Test {
  protected:
    CaptureCheck check() {
        return CaptureCheck({m_system, m_tones,
                             [this](const std::string& label) {
                                 EXPECT_EQ(label, "tapdeck.check");
                                 auto queue = std::make_unique<ManualQueue>();
                                 m_queue = queue.get();
                                 return queue;
                             },
                             [this](std::chrono::milliseconds time) {
                                 m_journal.note("sleep " + std::to_string(time.count()));
                                 for (const auto& buffers : m_heard) m_system.deliver(buffers);
                                 if (m_queue != nullptr) m_queue->runAll();
                             }});
    }
    /// Half a second of the test tone's frequency.
    static std::vector<float> tone(float amplitude) {
        std::vector<float> samples;
        samples.reserve(24000);
        for (int i = 0; i < 24000; ++i)
            samples.push_back(amplitude *
                              static_cast<float>(std::sin(2 * std::numbers::pi * i * 18000 / 48000)));
        return samples;
    }
    static std::vector<float> stereo(const std::vector<float>& samples) {
        std::vector<float> both;
        for (const float sample : samples) both.insert(both.end(), {sample, sample});
        return both;
    }
    bool hearing(std::vector<float> samples) {
        m_heard = {{{2, std::move(samples)}}};
        return check().systemAudioWorks();
    }

    LogCapture m_log;
    CallJournal m_journal;
    FakeSystemAudio m_system{m_journal};
    FakeTones m_tones{m_journal};
    ManualQueue* m_queue = nullptr;
    std::vector<std::vector<FakeSystemAudio::Buffer>> m_heard;
};

TEST_F(CaptureCheckTest, PlaysTheToneThroughTheTapAndReleasesEverythingInOrder) {
    EXPECT_TRUE(hearing({0, 0.25F}));
    EXPECT_THAT(m_journal.calls(),
                ElementsAre("create tap", "create device", "register handler", "start audio", "make player",
                            "play", "sleep 900", "stop player", "stop audio", "remove handler",
                            "destroy device", "destroy tap"));
    EXPECT_EQ(m_tones.file, testToneFile());
    EXPECT_EQ(m_tones.volume, 0.6F);
    EXPECT_EQ(m_system.tapDescription.name, "Tapdeck Permission Check");
    EXPECT_EQ(m_system.deviceDescription.name, "Tapdeck Check");
    EXPECT_THAT(m_system.deviceDescription.uid, testing::StartsWith("org.murmelo.Murmelo.check."));
    EXPECT_THAT(m_system.deviceDescription.tapUUIDs, ElementsAre(m_system.tapDescription.uuid));
}

TEST_F(CaptureCheckTest, ATapThatDeliversOnlyZerosYieldsFalse) {
    EXPECT_FALSE(hearing({0, 0, 0, 0}));
    EXPECT_THAT(m_log.messages(), ElementsAre("[check] systemAudioWorks maxAmp=0.0"));
}

TEST_F(CaptureCheckTest, AbsoluteValuesCount) {
    EXPECT_TRUE(hearing({0, -0.25F}));
    EXPECT_EQ(m_log.messages().front(), "[check] systemAudioWorks maxAmp=0.25");
}

TEST_F(CaptureCheckTest, ATapThatHearsTheToneLogsItsPeakAlone) {
    EXPECT_TRUE(hearing(stereo(tone(0.03F))));
    EXPECT_THAT(m_log.messages(), ElementsAre(testing::StartsWith("[check] systemAudioWorks maxAmp=0.0")));
}

TEST_F(CaptureCheckTest, ATapThatHearsSomethingElseWorksAndASecondLineSaysSo) {
    EXPECT_TRUE(hearing({0, 0.25F}));
    EXPECT_THAT(m_log.messages(), ElementsAre("[check] systemAudioWorks maxAmp=0.25",
                                              "[check] what was heard does not contain the test tone"));
}

TEST_F(CaptureCheckTest, ATapThatHearsNothingDoesNotMissTheTone) {
    EXPECT_FALSE(hearing(stereo(tone(0.0004F))));
    EXPECT_EQ(m_log.messages().size(), 1U);
}

TEST_F(CaptureCheckTest, APeakOfExactlyTheLimitYieldsFalse) {
    EXPECT_FALSE(hearing({0.0005F, 0}));
    EXPECT_TRUE(hearing({std::nextafter(0.0005F, 1.0F), 0}));
}

TEST_F(CaptureCheckTest, TheLargestPeakOfAllBuffersAndCallsCounts) {
    m_heard = {{{1, {0.1F}}, {1, {0.5F}}}, {{2, {0.2F, 0.3F}}}};
    EXPECT_TRUE(check().systemAudioWorks());
    EXPECT_EQ(m_log.messages().front(), "[check] systemAudioWorks maxAmp=0.5");
}

TEST_F(CaptureCheckTest, BuffersWithoutDataAreSkipped) {
    m_heard = {{{2, {0.5F, 0.5F}, false}, {1, {0.5F}, true, 1}}};
    EXPECT_FALSE(check().systemAudioWorks());
}

TEST_F(CaptureCheckTest, SamplesThatAreNoNumberAreNoSound) {
    EXPECT_FALSE(hearing({std::numeric_limits<float>::quiet_NaN(), 0}));
}

TEST_F(CaptureCheckTest, WithoutATapThereIsNothingToRelease) {
    m_system.tap = {-13, 0};
    EXPECT_FALSE(check().systemAudioWorks());
    m_system.tap = {0, 0};
    EXPECT_FALSE(check().systemAudioWorks());
    EXPECT_THAT(m_journal.calls(), ElementsAre("create tap", "create tap"));
}

TEST_F(CaptureCheckTest, WithoutADeviceTheTapIsDestroyed) {
    m_system.device = {-19, 0};
    EXPECT_FALSE(check().systemAudioWorks());
    EXPECT_THAT(m_journal.calls(), ElementsAre("create tap", "create device", "destroy tap"));
}

TEST_F(CaptureCheckTest, WithoutAProcDeviceAndTapAreDestroyed) {
    m_system.registered = {-5, std::nullopt};
    EXPECT_FALSE(check().systemAudioWorks());
    EXPECT_THAT(m_journal.calls(), ElementsAre("create tap", "create device", "register handler",
                                               "destroy device", "destroy tap"));
}

TEST_F(CaptureCheckTest, WithoutAPlayerEverythingIsReleased) {
    m_tones.available = false;
    EXPECT_FALSE(check().systemAudioWorks());
    EXPECT_THAT(m_journal.calls(),
                ElementsAre("create tap", "create device", "register handler", "start audio", "make player",
                            "stop audio", "remove handler", "destroy device", "destroy tap"));
    EXPECT_TRUE(m_log.messages().empty());
}

TEST_F(CaptureCheckTest, AStartThatFailsIsHeardAsSilence) {
    m_system.startStatus = -32;
    EXPECT_FALSE(hearing({0.5F, 0.5F}));
    EXPECT_THAT(m_log.messages(), ElementsAre("[check] systemAudioWorks maxAmp=0.0"));
}

TEST_F(CaptureCheckTest, TheProbeHoldsATapForAMoment) {
    check().primeSystemAudioPermission();
    EXPECT_THAT(m_journal.calls(), ElementsAre("create tap", "sleep 200", "destroy tap"));
    EXPECT_EQ(m_system.tapDescription.name, "Tapdeck Permission Probe");
    EXPECT_TRUE(m_log.messages().empty());
}

TEST_F(CaptureCheckTest, AProbeThatGetsNoTapDoesNothingMore) {
    m_system.tap = {-1, 0};
    check().primeSystemAudioPermission();
    EXPECT_THAT(m_journal.calls(), ElementsAre("create tap"));
}

} // namespace
