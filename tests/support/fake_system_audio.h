#pragma once

#include "capture/system_audio_source.h"
#include "support/call_journal.h"

#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

/// A tap whose statuses a test chooses and whose audio it delivers by hand.
class FakeSystemAudio final : public SystemAudioSourceFactory {
  public:
    explicit FakeSystemAudio(CallJournal& journal) : m_journal(journal) {}

    std::unique_ptr<SystemAudioSource> make() override { return std::make_unique<Source>(*this); }

    /// Buffers with data of their own, delivered as one call while the source runs. From any thread.
    struct Buffer {
        std::uint32_t channels;
        std::vector<float> samples;
        bool withData = true;
        int missingBytes = 0;
    };
    void deliver(std::vector<Buffer> buffers, std::chrono::nanoseconds start = {}) {
        const std::lock_guard lock(m_mutex);
        if (!m_running) return;
        m_queue->async([handler = m_handler, buffers = std::move(buffers), start] {
            std::vector<AudioBuffer> list;
            for (const Buffer& buffer : buffers)
                list.push_back({buffer.channels,
                                static_cast<std::uint32_t>(buffer.samples.size() * sizeof(float)) -
                                    static_cast<std::uint32_t>(buffer.missingBytes),
                                buffer.withData ? buffer.samples.data() : nullptr});
            (*handler)(list, start);
        });
    }
    void deliverStereo(std::vector<float> interleaved, std::chrono::nanoseconds start = {}) {
        deliver({{2, std::move(interleaved)}}, start);
    }

    SystemAudioSource::Created tap{0, 41};
    SystemAudioSource::Created device{0, 42};
    SystemAudioSource::Registered registered{0, 43};
    int startStatus = 0;
    TapDescription tapDescription;
    TapDeviceDescription deviceDescription;

  private:
    class Source final : public SystemAudioSource {
      public:
        explicit Source(FakeSystemAudio& fake) : m_fake(fake) {}
        Created createTap(const TapDescription& description) override {
            m_fake.m_journal.note("create tap");
            m_fake.tapDescription = description;
            return m_fake.tap;
        }
        Created createDevice(const TapDeviceDescription& description) override {
            m_fake.m_journal.note("create device");
            m_fake.deviceDescription = description;
            return m_fake.device;
        }
        Registered registerHandler(SerialQueue& queue, Handler handler) override {
            m_fake.m_journal.note("register handler");
            m_fake.m_queue = &queue;
            m_fake.m_handler = std::make_shared<Handler>(std::move(handler));
            return m_fake.registered;
        }
        int start() override {
            m_fake.m_journal.note("start audio");
            if (m_fake.startStatus == 0) m_fake.setRunning(true);
            return m_fake.startStatus;
        }
        void stop() noexcept override {
            m_fake.m_journal.note("stop audio");
            m_fake.setRunning(false);
            m_fake.m_queue->sync([] {});
        }
        void removeHandler() noexcept override { m_fake.m_journal.note("remove handler"); }
        void destroyDevice() noexcept override { m_fake.m_journal.note("destroy device"); }
        void destroyTap() noexcept override { m_fake.m_journal.note("destroy tap"); }

      private:
        FakeSystemAudio& m_fake;
    };

    void setRunning(bool running) {
        const std::lock_guard lock(m_mutex);
        m_running = running;
    }

    CallJournal& m_journal;
    std::mutex m_mutex;
    bool m_running = false;
    SerialQueue* m_queue = nullptr;
    std::shared_ptr<SystemAudioSource::Handler> m_handler;
};
