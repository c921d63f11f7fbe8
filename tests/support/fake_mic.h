#pragma once

#include "base/error.h"
#include "capture/mic_source.h"
#include "support/call_journal.h"

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// Microphones by id. A test delivers buffers by hand; they reach the handler through the queue as long as
/// the microphone runs.
class FakeMics final : public MicSourceFactory {
  public:
    explicit FakeMics(CallJournal& journal) : m_journal(journal) {}

    std::unique_ptr<MicSource> open(const std::string& id) override {
        m_journal.note("mic open " + id);
        if (openError) throw Error(*openError);
        if (id != presentID) return nullptr;
        return std::make_unique<Mic>(*this);
    }

    /// From any thread; does nothing while no microphone runs.
    void deliver(std::vector<float> samples, std::chrono::nanoseconds start = {}) {
        const auto count = static_cast<std::int64_t>(samples.size());
        deliverRaw(std::move(samples), count, true, start);
    }
    /// A delivery whose announcement need not match its data.
    void deliverRaw(std::vector<float> samples, std::int64_t announced, bool withData,
                    std::chrono::nanoseconds start = {}) {
        const std::lock_guard lock(m_mutex);
        if (!m_running) return;
        m_queue->async([handler = m_handler, samples = std::move(samples), announced, withData, start] {
            (*handler)(
                {withData ? samples.data() : nullptr, samples.size() * sizeof(float), announced, start});
        });
    }
    bool running() const {
        const std::lock_guard lock(m_mutex);
        return m_running;
    }

    std::string presentID = "mic";
    std::optional<Error> openError;
    bool acceptsOutput = true;
    bool getsRunning = true;
    std::function<void()> onStart; ///< on the thread that starts it, while it runs already

  private:
    class Mic final : public MicSource {
      public:
        explicit Mic(FakeMics& mics) : m_mics(mics) {}
        ~Mic() override {
            stop();
            m_mics.m_journal.note("mic close");
        }
        Mic(const Mic&) = delete;
        Mic& operator=(const Mic&) = delete;
        bool attach(SerialQueue& queue, Handler handler) override {
            m_mics.m_queue = &queue;
            m_mics.m_handler = std::make_shared<Handler>(std::move(handler));
            return m_mics.acceptsOutput;
        }
        void start() override {
            m_mics.m_journal.note("mic start");
            m_mics.setRunning(true);
            if (m_mics.onStart) m_mics.onStart();
        }
        bool waitUntilRunning() override { return m_mics.getsRunning; }
        void stop() noexcept override {
            if (!m_mics.setRunning(false)) return;
            m_mics.m_journal.note("mic stop");
            m_mics.m_queue->sync([] {});
        }

      private:
        FakeMics& m_mics;
    };

    bool setRunning(bool running) {
        const std::lock_guard lock(m_mutex);
        return std::exchange(m_running, running);
    }

    CallJournal& m_journal;
    mutable std::mutex m_mutex;
    bool m_running = false;
    SerialQueue* m_queue = nullptr;
    std::shared_ptr<MicSource::Handler> m_handler;
};
