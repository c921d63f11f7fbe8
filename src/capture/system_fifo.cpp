#include "capture/system_fifo.h"

#include <algorithm>

SystemFifo::SystemFifo() {
    m_left.reserve(fifoCap);
    m_right.reserve(fifoCap);
}

void SystemFifo::append(std::span<const float> left, std::span<const float> right) {
    const std::size_t kept = std::min(left.size(), fifoCap);
    const std::lock_guard lock(m_fifoLock);
    const std::size_t room = fifoCap - m_left.size();
    if (kept > room) removeOldest(kept - room);
    m_left.insert(m_left.end(), left.end() - static_cast<std::ptrdiff_t>(kept), left.end());
    m_right.insert(m_right.end(), right.end() - static_cast<std::ptrdiff_t>(kept), right.end());
}

std::size_t SystemFifo::take(std::span<float> left, std::span<float> right) {
    std::size_t taken = 0;
    {
        const std::lock_guard lock(m_fifoLock);
        taken = std::min(left.size(), m_left.size());
        std::copy_n(m_left.begin(), taken, left.begin());
        std::copy_n(m_right.begin(), taken, right.begin());
        removeOldest(taken);
    }
    std::ranges::fill(left.subspan(taken), 0.0F);
    std::ranges::fill(right.subspan(taken), 0.0F);
    return taken;
}

void SystemFifo::clear() {
    const std::lock_guard lock(m_fifoLock);
    removeOldest(m_left.size());
}

std::size_t SystemFifo::size() const {
    const std::lock_guard lock(m_fifoLock);
    return m_left.size();
}

void SystemFifo::removeOldest(std::size_t count) {
    const auto end = static_cast<std::ptrdiff_t>(count);
    m_left.erase(m_left.begin(), m_left.begin() + end);
    m_right.erase(m_right.begin(), m_right.begin() + end);
}
