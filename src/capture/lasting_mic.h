#pragma once

#include "capture/mic_source.h"
#include "capture/revival_plan.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <span>
#include <string>

/// A microphone that is opened again, by its id, whenever it has stopped giving anything: it was unplugged,
/// the sound server or the session manager was started again, the stream failed.
///
/// Opening may be slow and holds up the lookout's thread only.
class LastingMic {
  public:
    /// A block with samples; on the queue.
    using Take = std::function<void(std::chrono::nanoseconds start, std::span<const float> mono)>;

    LastingMic(MicSourceFactory& factory, std::string id, std::unique_ptr<MicSource> source)
        : m_factory(factory), m_id(std::move(id)), m_source(std::move(source)) {}

    // As the port says.
    bool attach(SerialQueue& queue, Take take);
    void start();
    bool waitUntilRunning();
    void stop() noexcept;

    struct Round {
        bool wanted;  ///< between start and stop
        bool gave;    ///< since the last round
        bool sounded; ///< not only zeros
    };
    /// The lookout, four times a second.
    Round round();
    /// The lookout, after a round: opens it again when it is time.
    void revive(const Round& round);

  private:
    void reopen();
    void take(const MicBuffer& buffer);

    MicSourceFactory& m_factory;
    const std::string m_id;
    SerialQueue* m_queue = nullptr;
    Take m_take; // on the queue
    std::atomic<bool> m_gave = false;
    std::atomic<bool> m_sounded = false;

    std::mutex m_mutex; // never held while opening; the queue's tasks never take it
    bool m_wanted = false;
    std::shared_ptr<MicSource> m_source; // null while it cannot be opened; shared with who waits for it

    // The lookout's.
    RevivalPlan m_plan;
    bool m_failureLogged = false;
};
