#pragma once

#include <atomic>
#include <cstddef>
#include <optional>
#include <utility>

/// Bounds what waits to be written of one stream of blocks, so that a disk or a processor that falls behind
/// costs sound and not the machine's memory. What had to be dropped becomes silence of the same length, so
/// that later sound keeps its place; where no sound follows the file simply ends.
class WriterBacklog {
  public:
    static constexpr std::size_t mostFrames = std::size_t{60} * 48000; ///< a minute

    /// The thread that makes the blocks. How many frames of silence have to be written before this block, or
    /// nothing when it has to be dropped.
    std::optional<std::size_t> add(std::size_t frames) {
        if (m_waiting + frames > mostFrames) {
            m_dropped += frames;
            return std::nullopt;
        }
        m_waiting += frames;
        return std::exchange(m_dropped, 0);
    }
    /// The thread that writes: a block that was added has been written.
    void remove(std::size_t frames) { m_waiting -= frames; }

  private:
    std::atomic<std::size_t> m_waiting{0};
    std::size_t m_dropped = 0; // since the last block that was added
};
