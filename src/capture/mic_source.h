#pragma once

#include "base/serial_queue.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

/// One delivery of a microphone: mono 32-bit float samples at 48 kHz. Valid during the call only.
struct MicBuffer {
    const float* samples;     ///< null when the delivery carries no data
    std::size_t byteCount;    ///< bytes behind `samples`
    std::int64_t sampleCount; ///< samples announced; more than byteCount holds means a damaged delivery
    std::chrono::nanoseconds start{}; ///< when the first sample was captured, on the monotonic clock
    bool isStandIn = false;           ///< silence in place of a microphone that has given nothing so far
};

/// Port: one microphone that is being captured. Used by one thread at a time.
class MicSource {
  public:
    using Handler = std::function<void(const MicBuffer&)>;

    /// Stops.
    virtual ~MicSource() = default;
    /// Says where the buffers go: `handler` runs on `queue`, which outlives this object. Call once, before
    /// start. False when the microphone cannot deliver this format.
    virtual bool attach(SerialQueue& queue, Handler handler) = 0;
    /// Asks for audio; does not wait for it.
    virtual void start() = 0;
    /// Waits, for a second at most, until audio can flow. False when it does not.
    virtual bool waitUntilRunning() = 0;
    /// After it returns the handler neither runs nor will run. Any number of times. Never from the handler.
    virtual void stop() noexcept = 0;
};

class MicSourceFactory {
  public:
    virtual ~MicSourceFactory() = default;
    /// The microphone with exactly that id, never another one; null when there is none. Throws Error when it
    /// is there but cannot be opened.
    virtual std::unique_ptr<MicSource> open(const std::string& id) = 0;
};
