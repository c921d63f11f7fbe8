#include "capture/system_fifo.h"

#include <algorithm>

void SystemFifo::Ring::write(std::size_t position, std::span<const float> samples) {
    const std::size_t at = position % fifoCap;
    const std::size_t beforeWrap = std::min(samples.size(), fifoCap - at);
    std::copy_n(samples.begin(), beforeWrap, m_samples.begin() + static_cast<std::ptrdiff_t>(at));
    std::copy(samples.begin() + static_cast<std::ptrdiff_t>(beforeWrap), samples.end(), m_samples.begin());
}

void SystemFifo::Ring::read(std::size_t position, std::span<float> samples) const {
    const std::size_t at = position % fifoCap;
    const std::size_t beforeWrap = std::min(samples.size(), fifoCap - at);
    std::copy_n(m_samples.begin() + static_cast<std::ptrdiff_t>(at), beforeWrap, samples.begin());
    std::copy_n(m_samples.begin(), samples.size() - beforeWrap,
                samples.begin() + static_cast<std::ptrdiff_t>(beforeWrap));
}

void SystemFifo::append(std::span<const float> left, std::span<const float> right) {
    const std::size_t kept = std::min(left.size(), fifoCap);
    const std::lock_guard lock(m_fifoLock);
    m_left.write(m_end, left.last(kept));
    m_right.write(m_end, right.last(kept));
    m_end += kept;
    m_begin = std::max(m_begin, m_end - std::min(m_end, fifoCap));
}

std::size_t SystemFifo::take(std::span<float> left, std::span<float> right) {
    std::size_t taken = 0;
    {
        const std::lock_guard lock(m_fifoLock);
        taken = std::min(left.size(), m_end - m_begin);
        m_left.read(m_begin, left.first(taken));
        m_right.read(m_begin, right.first(taken));
        m_begin += taken;
    }
    std::ranges::fill(left.subspan(taken), 0.0F);
    std::ranges::fill(right.subspan(taken), 0.0F);
    return taken;
}

void SystemFifo::clear() {
    const std::lock_guard lock(m_fifoLock);
    m_begin = m_end;
}

std::size_t SystemFifo::size() const {
    const std::lock_guard lock(m_fifoLock);
    return m_end - m_begin;
}
