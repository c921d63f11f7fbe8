#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

/// Carries blocks of samples, each with its time, from one real-time thread to one other thread, without
/// locks.
///
/// Blocks keep their boundaries: each is handed out whole and contiguous. Memory is taken in the constructor
/// and never again.
class PacketRing {
  public:
    using Time = std::chrono::nanoseconds;
    /// What a block takes besides its samples, in samples.
    static constexpr std::size_t headerSize = 3;

    /// Room for this many samples, including headerSize for each block.
    explicit PacketRing(std::size_t capacity) : m_samples(capacity) {}

    /// The real-time thread. Copies the block; false, and counted, when there is no room.
    bool push(Time time, std::span<const float> block) noexcept {
        const std::size_t need = block.size() + headerSize;
        const std::size_t write = m_write.load(std::memory_order_relaxed);
        const std::size_t read = m_read.load(std::memory_order_acquire);
        const std::size_t at = write % m_samples.size();
        // A block that does not fit before the end of the memory starts again at its beginning.
        const std::size_t skipped = at + need > m_samples.size() ? m_samples.size() - at : 0;
        if (write + skipped + need - read > m_samples.size()) {
            m_dropped.fetch_add(1, std::memory_order_relaxed);
            return false;
        }
        if (skipped > 0) setSize(at, wrapMark);
        const std::size_t begin = skipped > 0 ? 0 : at;
        setSize(begin, block.size());
        const Time::rep count = time.count();
        std::memcpy(&m_samples[begin + 1], &count, sizeof count);
        if (!block.empty()) std::memcpy(&m_samples[begin + headerSize], block.data(), block.size_bytes());
        m_write.store(write + skipped + need, std::memory_order_release);
        return true;
    }

    /// The other thread. Hands every block to `take(Time, std::span<const float>)`, oldest first; the block
    /// is valid during the call.
    template <typename Take>
    void drain(Take&& take) {
        std::size_t read = m_read.load(std::memory_order_relaxed);
        const std::size_t write = m_write.load(std::memory_order_acquire);
        while (read != write) {
            const std::size_t at = read % m_samples.size();
            const std::size_t size = sizeAt(at);
            if (size == wrapMark) {
                read += m_samples.size() - at;
                continue;
            }
            Time::rep time = 0;
            std::memcpy(&time, &m_samples[at + 1], sizeof time);
            take(Time(time), std::span<const float>(m_samples).subspan(at + headerSize, size));
            read += size + headerSize;
            m_read.store(read, std::memory_order_release);
        }
    }

    /// Blocks that found no room so far. Any thread.
    std::size_t dropped() const noexcept { return m_dropped.load(std::memory_order_relaxed); }

  private:
    // A header is the block's size in the place of one sample and its time in that of two.
    using Size = std::uint32_t;
    static_assert(sizeof(Size) + sizeof(Time::rep) == headerSize * sizeof(float));
    static constexpr std::size_t wrapMark = 0xffffffff;

    void setSize(std::size_t at, std::size_t size) noexcept {
        const auto value = static_cast<Size>(size);
        std::memcpy(&m_samples[at], &value, sizeof value);
    }
    std::size_t sizeAt(std::size_t at) const noexcept {
        Size value;
        std::memcpy(&value, &m_samples[at], sizeof value);
        return value;
    }

    std::vector<float> m_samples;
    // Positions count up for ever; the place in memory is the position modulo the capacity.
    alignas(64) std::atomic<std::size_t> m_write{0};
    alignas(64) std::atomic<std::size_t> m_read{0};
    std::atomic<std::size_t> m_dropped{0};
};
