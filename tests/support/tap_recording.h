#pragma once

#include "base/thread_queue.h"
#include "platform/pipewire/process_tap.h"
#include "support/block_collector.h"

#include <gtest/gtest.h>

inline const TapDescription testTap{"Test Tap", "0F1E2D3C-0000-4000-8000-000000000001", true, false, {}};
inline const TapDeviceDescription testTapDevice{
    "Test Capture", "org.murmelo.test.sys", true, true, {testTap.uuid}};

/// Everything the computer plays, from construction until stop, as interleaved stereo.
class TapRecording {
  public:
    explicit TapRecording(PipeWireConnection& connection) : m_source(ProcessTapFactory(connection).make()) {
        EXPECT_EQ(m_source->createTap(testTap).status, 0);
        const auto device = m_source->createDevice(testTapDevice);
        EXPECT_EQ(device.status, 0);
        EXPECT_NE(device.id, 0U);
        const auto registered = m_source->registerHandler(m_queue, [this](AudioBufferList buffers, auto) {
            EXPECT_EQ(buffers.size(), 1U);
            EXPECT_EQ(buffers[0].channels, 2U);
            m_heard.add({static_cast<const float*>(buffers[0].data), buffers[0].byteSize / sizeof(float)});
        });
        EXPECT_EQ(registered.status, 0);
        EXPECT_EQ(m_source->start(), 0);
    }
    ~TapRecording() { stop(); }
    TapRecording(const TapRecording&) = delete;
    TapRecording& operator=(const TapRecording&) = delete;

    void stop() {
        m_source->stop();
        m_source->removeHandler();
        m_source->destroyDevice();
        m_source->destroyTap();
    }

    BlockCollector& heard() { return m_heard; }

  private:
    BlockCollector m_heard;
    ThreadQueue m_queue{"test.tap"};
    std::unique_ptr<SystemAudioSource> m_source;
};
