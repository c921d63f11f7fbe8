#pragma once

#include "capture/aligned_capture.h"
#include "support/fake_mic.h"
#include "support/fake_notices.h"
#include "support/fake_system_audio.h"
#include "support/log_capture.h"
#include "support/manual_queue.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <string>
#include <vector>

using namespace std::chrono_literals;

/// The sources of one recorder among fakes, in virtual time. A sample's value is its place on the monotonic
/// clock plus one, so that only silence is zero.
class AlignedCaptureFixture : public testing::Test {
  protected:
    using Lines = std::vector<std::string>;
    using Samples = std::vector<float>;
    static constexpr std::int64_t block = 960; // 20 ms
    static constexpr std::int64_t second = 48000;
    static constexpr std::int64_t round = second / 4;

    AlignedCaptureFixture() : AlignedCaptureFixture(true) {}
    explicit AlignedCaptureFixture(bool tells) {
        auto lookout = std::make_unique<ManualQueue>();
        m_lookout = lookout.get();
        m_capture = std::make_unique<AlignedCapture>(
            m_mics, m_system, std::move(lookout),
            AlignedCapture::Audience{"Desk Mic", tells ? &m_notices : nullptr});
    }

    void startMic() {
        m_mic = m_capture->open("mic");
        ASSERT_TRUE(m_mic);
        ASSERT_TRUE(m_mic->attach(m_micQueue, [this](const MicBuffer& buffer) {
            ASSERT_EQ(buffer.byteCount, static_cast<std::size_t>(buffer.sampleCount) * sizeof(float));
            if (buffer.isStandIn) m_standIns += buffer.sampleCount;
            m_voice.insert(m_voice.end(), buffer.samples, buffer.samples + buffer.sampleCount);
            if (m_heard.empty()) m_voiceAlone = std::ssize(m_voice);
            m_lead = std::max(m_lead, std::ssize(m_heard) - (std::ssize(m_voice) - m_voiceAlone));
            m_order.push_back('m');
        }));
        m_mic->start();
    }
    void startTap() {
        m_tap = m_capture->make();
        m_tap->createTap({"Tap", "uuid", true, false, {}});
        m_tap->createDevice({"Device", "uid", true, true, {"uuid"}});
        m_tap->registerHandler(m_ioQueue, [this](AudioBufferList buffers, auto) {
            ASSERT_EQ(buffers.size(), 1U);
            ASSERT_EQ(buffers[0].channels, 2U);
            const auto* const samples = static_cast<const float*>(buffers[0].data);
            for (std::size_t i = 0; i < buffers[0].byteSize / sizeof(float); i += 2)
                m_heard.push_back(samples[i]);
            m_order.push_back('t');
        });
        m_tap->start();
    }

    enum class Gives { sound, zeros, nothing };
    /// Both sources, or what of them gives something, until that place on the clock.
    void run(std::int64_t until, Gives mic = Gives::sound, Gives tap = Gives::sound) {
        for (; m_now < until; m_now += block) {
            giveMic(mic);
            giveTap(tap);
            lookOut(m_now + block);
        }
    }
    /// Nobody runs for so long, the lookout included.
    void standStill(std::int64_t frames) {
        m_lookout->standStill(at(frames));
        m_now += frames;
    }
    void giveMic(Gives what) {
        if (what != Gives::nothing) m_mics.deliver(samples(what, 1), at(m_now));
        runQueues();
    }
    void giveTap(Gives what) {
        if (what != Gives::nothing) m_system.deliverStereo(samples(what, 2), at(m_now));
        runQueues();
    }
    void lookOut(std::int64_t until) {
        m_lookout->advance(at(until) - m_lookout->now());
        runQueues();
    }
    void runQueues() {
        do { // what the one posts to the other
            m_ioQueue.runAll();
            m_micQueue.runAll();
        } while (!m_ioQueue.idle());
    }

    static std::chrono::nanoseconds at(std::int64_t frame) { return BlockClock::duration(frame); }
    Samples samples(Gives what, int channels) const {
        Samples made;
        for (std::int64_t i = m_now; i < m_now + block; ++i)
            made.insert(made.end(), static_cast<std::size_t>(channels),
                        what == Gives::sound ? static_cast<float>(i + 1) : 0.0F);
        return made;
    }
    static std::int64_t zeros(const Samples& samples) {
        return std::count(samples.begin(), samples.end(), 0.0F);
    }
    std::int64_t opens() const {
        const Lines calls = m_journal.calls();
        return std::count(calls.begin(), calls.end(), "mic open mic");
    }
    std::int64_t tapsMade() const {
        const Lines calls = m_journal.calls();
        return std::count(calls.begin(), calls.end(), "create tap");
    }

    LogCapture m_log;
    CallJournal m_journal;
    FakeMics m_mics{m_journal};
    FakeSystemAudio m_system{m_journal};
    FakeNotices m_notices;
    ManualQueue m_micQueue, m_ioQueue;
    ManualQueue* m_lookout = nullptr;
    std::int64_t m_now = 0;
    Samples m_voice;
    Samples m_heard; // left
    std::int64_t m_voiceAlone = 0;
    std::int64_t m_standIns = 0;
    std::int64_t m_lead = 0; // how far the tap's deliveries were ever ahead
    std::string m_order;
    std::unique_ptr<AlignedCapture> m_capture;
    std::unique_ptr<MicSource> m_mic;
    std::unique_ptr<SystemAudioSource> m_tap;
};
