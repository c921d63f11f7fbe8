#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <pipewire/pipewire.h>
#include <span>

/// Owners of the sound server's C objects. Everything that belongs to a loop is made and destroyed under the
/// loop's lock.
namespace pipewire {

/// Keeps the library ready; counted, so several may exist.
class Library {
  public:
    Library() { pw_init(nullptr, nullptr); }
    ~Library() { pw_deinit(); }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
};

struct Deleter {
    void operator()(pw_thread_loop* loop) const { pw_thread_loop_destroy(loop); }
    void operator()(pw_context* context) const { pw_context_destroy(context); }
    void operator()(pw_core* core) const { pw_core_disconnect(core); }
    void operator()(pw_properties* properties) const { pw_properties_free(properties); }
    void operator()(pw_stream* stream) const { pw_stream_destroy(stream); }
};

using ThreadLoopHandle = std::unique_ptr<pw_thread_loop, Deleter>;
using ContextHandle = std::unique_ptr<pw_context, Deleter>;
using CoreHandle = std::unique_ptr<pw_core, Deleter>;
using PropertiesHandle = std::unique_ptr<pw_properties, Deleter>;
using StreamHandle = std::unique_ptr<pw_stream, Deleter>;

/// The server's side of a registry, node, link...: they all are proxies.
template <typename Interface>
struct ProxyDeleter {
    void operator()(Interface* object) const { pw_proxy_destroy(reinterpret_cast<pw_proxy*>(object)); }
};
template <typename Interface>
using ProxyHandle = std::unique_ptr<Interface, ProxyDeleter<Interface>>;

/// A listener's place in an object's list. Declare it after the object: it leaves the list first.
class Hook {
  public:
    Hook() = default;
    ~Hook() { spa_hook_remove(&m_hook); }
    Hook(const Hook&) = delete;
    Hook& operator=(const Hook&) = delete;

    spa_hook* get() { return &m_hook; }

  private:
    spa_hook m_hook{};
};

/// Holds the loop's thread off. The lock is recursive, and the loop's own callbacks hold it.
class LoopLock {
  public:
    explicit LoopLock(pw_thread_loop* loop) : m_loop(loop) { pw_thread_loop_lock(m_loop); }
    ~LoopLock() { pw_thread_loop_unlock(m_loop); }
    LoopLock(const LoopLock&) = delete;
    LoopLock& operator=(const LoopLock&) = delete;

  private:
    pw_thread_loop* m_loop;
};

/// A buffer on loan from a stream; goes back at the end of the scope. Real-time safe.
class DequeuedBuffer {
  public:
    explicit DequeuedBuffer(pw_stream* stream) noexcept
        : m_stream(stream), m_buffer(pw_stream_dequeue_buffer(stream)) {}
    ~DequeuedBuffer() {
        if (m_buffer != nullptr) pw_stream_queue_buffer(m_stream, m_buffer);
    }
    DequeuedBuffer(const DequeuedBuffer&) = delete;
    DequeuedBuffer& operator=(const DequeuedBuffer&) = delete;

    explicit operator bool() const noexcept { return m_buffer != nullptr; }

    /// The buffer's interleaved samples, whole frames only; empty when it carries none.
    std::span<const float> samples(std::size_t channels) const noexcept {
        const spa_data& data = m_buffer->buffer->datas[0];
        if (data.data == nullptr || data.chunk == nullptr || data.chunk->offset > data.maxsize) return {};
        const std::size_t bytes = std::min(data.chunk->size, data.maxsize - data.chunk->offset);
        const std::size_t frames = bytes / sizeof(float) / channels;
        const auto* const begin = static_cast<const std::byte*>(data.data) + data.chunk->offset;
        return {reinterpret_cast<const float*>(begin), frames * channels};
    }

    /// Where a playing stream puts interleaved samples: as many as are asked for, whole frames only.
    std::span<float> room(std::size_t channels) const noexcept {
        const spa_data& data = m_buffer->buffer->datas[0];
        if (data.data == nullptr) return {};
        std::size_t frames = data.maxsize / sizeof(float) / channels;
        if (m_buffer->requested != 0) frames = std::min<std::size_t>(frames, m_buffer->requested);
        return {static_cast<float*>(data.data), frames * channels};
    }
    /// These samples are to be played.
    void filled(std::span<const float> samples, std::size_t channels) const noexcept {
        if (m_buffer->buffer->datas[0].chunk == nullptr) return;
        spa_chunk& chunk = *m_buffer->buffer->datas[0].chunk;
        chunk.offset = 0;
        chunk.stride = static_cast<std::int32_t>(channels * sizeof(float));
        chunk.size = static_cast<std::uint32_t>(samples.size_bytes());
    }

  private:
    pw_stream* m_stream;
    pw_buffer* m_buffer;
};

} // namespace pipewire
