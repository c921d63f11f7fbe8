#pragma once

#include "base/thread_queue.h"
#include "platform/pipewire/pipewire_mic_source.h"
#include "support/block_collector.h"

#include <gtest/gtest.h>
#include <string>

/// What one microphone gives, from construction until stop.
class MicRecording {
  public:
    MicRecording(PipeWireConnection& connection, const std::string& id)
        : m_source(PipeWireMicSourceFactory(connection).open(id)) {
        if (!m_source) {
            ADD_FAILURE() << "there is no microphone " << id;
            return;
        }
        EXPECT_TRUE(m_source->attach(m_queue, [this](const MicBuffer& buffer) {
            EXPECT_EQ(buffer.byteCount, static_cast<std::size_t>(buffer.sampleCount) * sizeof(float));
            m_heard.add({buffer.samples, buffer.byteCount / sizeof(float)});
        }));
        m_source->start();
        EXPECT_TRUE(m_source->waitUntilRunning());
    }
    ~MicRecording() { stop(); }
    MicRecording(const MicRecording&) = delete;
    MicRecording& operator=(const MicRecording&) = delete;

    void stop() {
        if (m_source) m_source->stop();
        m_source.reset();
    }
    MicSource& source() { return *m_source; }
    BlockCollector& heard() { return m_heard; }
    ThreadQueue& queue() { return m_queue; }

  private:
    BlockCollector m_heard;
    ThreadQueue m_queue{"test.mic"};
    std::unique_ptr<MicSource> m_source;
};
