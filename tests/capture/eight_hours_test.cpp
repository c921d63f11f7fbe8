// A recording of eight hours in virtual time, from the sources' blocks to the files, by a seeded script of
// stalls and losses. Sanitizers get fewer hours (see the build).

#include "capture/aligned_recorder.h"
#include "support/fake_mic.h"
#include "support/fake_notices.h"
#include "support/fake_system_audio.h"
#include "support/log_capture.h"
#include "support/manual_queue.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <malloc.h>
#include <map>
#include <random>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
/// Of the sanitizers' common run-time library, for which GCC brings no header.
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();
#endif

namespace {

using namespace std::chrono_literals;

constexpr std::int64_t second = 48000;
constexpr std::int64_t length = second * 60 * MURMELO_RECORDED_MINUTES;
constexpr std::int64_t longestBlock = 2048;
constexpr float micPulse = 0.25F;
constexpr float tapPulse = 0.5F;

/// Counts frames instead of keeping them, and looks at them.
class CountingFiles final : public AudioFileWriterFactory {
  public:
    using Look = std::function<void(std::span<const float> left)>;

    std::unique_ptr<AudioFileWriter> create(const std::filesystem::path& path,
                                            const AudioFileSettings& /*settings*/) override {
        return std::make_unique<Writer>(frames[path.filename()], looks[path.filename()]);
    }
    std::map<std::string, std::int64_t> frames;
    std::map<std::string, Look> looks;

  private:
    class Writer final : public AudioFileWriter {
      public:
        Writer(std::int64_t& frames, const Look& look) : m_frames(frames), m_look(look) {}
        AudioFormat processingFormat() const override { return {48000.0, 2}; }
        void write(std::span<const float> left, std::span<const float> /*right*/) override {
            if (m_look) m_look(left);
            m_frames += std::ssize(left);
        }
        std::uint64_t storedFrames() const override { return 0; }
        std::future<bool> bringToDisk() override { return {}; } // nobody asks

      private:
        std::int64_t& m_frames;
        const Look& m_look;
    };
};

/// One source: it gives blocks of any size by a clock that is a little fast or slow.
class Device {
  public:
    Device(double partsPerMillion, std::minstd_rand& random)
        : m_speed(1 + partsPerMillion * 1e-6), m_random(random) {
        chooseBlock();
    }
    /// In frames of the true clock.
    std::int64_t start() const { return std::llround(static_cast<double>(m_given) / m_speed); }
    std::int64_t end() const { return std::llround(static_cast<double>(m_given + m_block) / m_speed); }

    /// The block from start() to end(), every frame `channels` times: silence in pauses, quiet sound, and a
    /// pulse at each full second.
    std::vector<float> block(std::size_t channels, float pulse, bool pauses) const {
        const std::int64_t first = start();
        const bool isPause = pauses && first / second % 4 == 3;
        std::vector<float> samples(static_cast<std::size_t>(m_block) * channels,
                                   isPause ? 0.0F : pulse / 256);
        const std::int64_t place = (first + second - 1) / second * second - first;
        if (place < m_block && !isPause)
            std::fill_n(samples.begin() + place * static_cast<std::int64_t>(channels), channels, pulse);
        return samples;
    }
    void next() {
        m_given += m_block;
        chooseBlock();
    }

  private:
    void chooseBlock() { m_block = 128 * std::uniform_int_distribution<std::int64_t>(1, 16)(m_random); }

    double m_speed;
    std::minstd_rand& m_random;
    std::int64_t m_given = 0; // by its own clock
    std::int64_t m_block = 0;
};

class EightHours : public testing::TestWithParam<std::pair<double, double>> {
  protected:
    EightHours() {
        m_files.looks["mix.m4a"] = [this](std::span<const float> mix) { lookAtMix(mix); };
        m_files.looks["system.m4a"] = [this](std::span<const float> system) {
            const std::int64_t waiting =
                m_files.frames["system.m4a"] + std::ssize(system) - m_files.frames["mix.m4a"];
            m_mostWaiting = std::max(m_mostWaiting, waiting);
        };
    }

    RecorderServices services() {
        return {m_mics,
                m_system,
                m_files,
                m_notices,
                [this](const std::string& label) {
                    auto queue = std::make_unique<ManualQueue>();
                    m_queues[label] = queue.get();
                    return queue;
                },
                m_timers,
                [this](std::chrono::milliseconds) { giveNext(); }};
    }

    // --- the script ---

    enum class Fault {
        none,
        micStalls, // gives nothing and what it heard meanwhile is lost
        tapStalls,
        bothStall,
        late, // everybody's blocks come late
        micLost,
        tapLost,
        standstill // of the process
    };

    /// Both losses come in however short a recording.
    Fault nextFault() {
        ++m_faults;
        if (m_faults <= 2) return m_faults == 1 ? Fault::micLost : Fault::tapLost;
        return static_cast<Fault>(std::uniform_int_distribution(1, 7)(m_random));
    }

    void chooseFault() {
        const auto between = [this](double from, double to) {
            return static_cast<std::int64_t>(std::uniform_real_distribution(from, to)(m_random) * second);
        };
        m_faultEnd = m_now;
        m_fault = m_fault == Fault::none ? nextFault() : Fault::none;
        switch (m_fault) {
        case Fault::none:
            m_until = m_now + between(20, 60);
            break;
        case Fault::late:
            m_until = m_now + between(0.01, 0.2);
            break;
        case Fault::standstill:
            m_until = m_now + between(0.5, 10);
            break;
        case Fault::micLost:
        case Fault::tapLost:
            ++m_losses;
            m_until = m_now + between(2, 60);
            break;
        default:
            m_until = m_now + between(0.02, 0.9);
            break;
        }
        const bool micIsThere = m_fault != Fault::micLost;
        const bool tapIsThere = m_fault != Fault::tapLost;
        m_mics.presentID = micIsThere ? "mic" : "unplugged";
        m_system.tap = tapIsThere ? SystemAudioSource::Created{0, 41} : SystemAudioSource::Created{-5, 0};
        if (m_fault == Fault::standstill) {
            m_queues.at("tapdeck.lookout")->standStill(BlockClock::duration(m_until - m_now));
            while (m_micDevice.end() < m_until) m_micDevice.next();
            while (m_tapDevice.end() < m_until) m_tapDevice.next();
            m_now = m_until;
        }
    }

    void giveNext() {
        Device& device = m_micDevice.end() <= m_tapDevice.end() ? m_micDevice : m_tapDevice;
        const bool isMic = &device == &m_micDevice;
        const auto silent =
            isMic ? std::pair(Fault::micStalls, Fault::micLost) : std::pair(Fault::tapStalls, Fault::tapLost);
        m_now = std::max(m_now, device.end());
        const auto start = BlockClock::duration(device.start());
        if (m_fault == silent.first || m_fault == silent.second || m_fault == Fault::bothStall) {
        } else if (isMic) {
            m_mics.deliver(device.block(1, micPulse, false), start);
        } else {
            m_system.deliverStereo(device.block(2, tapPulse, true), start);
        }
        device.next();
        ManualQueue& lookout = *m_queues.at("tapdeck.lookout");
        const auto now = BlockClock::duration(m_now);
        if (m_fault != Fault::late) runQueues();
        if (now > lookout.now()) lookout.advance(now - lookout.now());
    }

    void runQueues() {
        ManualQueue& io = *m_queues.at("tapdeck.io");
        do {
            io.runAll();
            m_queues.at("tapdeck.mic")->runAll();
        } while (!io.idle());
        m_queues.at("tapdeck.writer")->runAll();
    }

    // --- what comes out ---

    void lookAtMix(std::span<const float> mix) {
        for (std::size_t i = 0; i < mix.size(); ++i) {
            if (mix[i] < micPulse / 2) continue;
            const std::int64_t place = m_files.frames["mix.m4a"] + static_cast<std::int64_t>(i);
            if (mix[i] < (micPulse + tapPulse) / 2)
                m_lastMicPulse = place;
            else if (mix[i] < tapPulse + micPulse * 3 / 4)
                m_lastTapPulse = place;
            else
                m_lastMicPulse = m_lastTapPulse = place;
            const std::int64_t lag = std::abs(m_lastMicPulse - m_lastTapPulse);
            if (lag > second / 2) continue; // of different seconds
            ++m_pulsePairs;
            // What a fault leaves is corrected in the next pause.
            const bool isCalm = m_fault == Fault::none && m_now - m_faultEnd > 10 * second;
            if (isCalm) m_greatestLag = std::max(m_greatestLag, lag);
        }
    }

    /// Bytes that are allocated now.
    static std::size_t memory() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
        return __sanitizer_get_current_allocated_bytes(); // sanitizers have a heap of their own
#else
        return mallinfo2().uordblks;
#endif
    }

    int toldLosses() const {
        return static_cast<int>(std::ranges::count_if(m_notices.told(), [](const std::string& sentence) {
            return sentence.find(" is gone: ") != sentence.npos;
        }));
    }

    const unsigned m_seed = std::random_device()();
    std::minstd_rand m_random{m_seed};
    LogCapture m_log;
    CallJournal m_journal;
    FakeMics m_mics{m_journal};
    FakeSystemAudio m_system{m_journal};
    CountingFiles m_files;
    FakeNotices m_notices;
    ManualQueue m_timers;
    std::map<std::string, ManualQueue*> m_queues;
    AlignedRecorder m_aligned{services(), {"Desk Mic", &m_notices}};
    Device m_micDevice{GetParam().first, m_random};
    Device m_tapDevice{GetParam().second, m_random};

    std::int64_t m_now = 0; // true frames
    Fault m_fault = Fault::none;
    int m_faults = 0;
    int m_losses = 0;
    std::int64_t m_until = 60 * second;
    std::int64_t m_faultEnd = 0;

    std::int64_t m_mostWaiting = 0; // system audio in the files before the mix has it: what the FIFO holds
    std::int64_t m_lastMicPulse = 0, m_lastTapPulse = 0;
    std::int64_t m_pulsePairs = 0;
    std::int64_t m_greatestLag = 0;
};

TEST_P(EightHours, FilesStayInStepAndMemoryFlat) {
    SCOPED_TRACE("seed " + std::to_string(m_seed));
    RecordProperty("seed", std::to_string(m_seed));
    ASSERT_TRUE(m_aligned.recorder.start({"mic", "Desk Mic"}, "/recordings/long"));
    std::size_t early = 0;
    while (m_now < length) {
        giveNext();
        if (m_now < m_until) continue;
        chooseFault();
        m_journal.clear();
        if (early == 0 && m_now > length / 8 && m_fault == Fault::none) early = memory();
    }
    while (m_fault != Fault::none) {
        giveNext();
        if (m_now >= m_until) chooseFault();
    }
    for (const std::int64_t end = m_now + 2 * second; m_now < end;) giveNext();
    const std::size_t late = memory();
    m_aligned.recorder.stop();

    const std::int64_t voice = m_files.frames["voice.m4a"];
    EXPECT_EQ(m_files.frames["mix.m4a"], voice);
    EXPECT_NEAR(m_files.frames["system.m4a"], voice, longestBlock) << "the first block";
    EXPECT_NEAR(voice, m_now, 2e-4 * static_cast<double>(m_now) + second)
        << "the microphone's count is the time";
    EXPECT_LE(m_mostWaiting, 3 * second) << "the FIFO holds five seconds";
    EXPECT_GE(m_pulsePairs, length / second / 3);
    EXPECT_LE(m_greatestLag, 5 * 48 + 90) << "the limit of the correction, and the drift of one sentence";
    ASSERT_GT(early, 0U);
    EXPECT_LE(late, early + (1U << 20));
    EXPECT_EQ(toldLosses(), m_losses) << "each is told once";
}

INSTANTIATE_TEST_SUITE_P(Clocks, EightHours, testing::Values(std::pair(200.0, -200.0)));

} // namespace
