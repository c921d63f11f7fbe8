#pragma once

#include <algorithm>
#include <cstddef>
#include <span>
#include <vector>

/// The last samples of a stream, found by their place in it.
class SampleHistory {
  public:
    void append(std::span<const float> samples) {
        m_samples.insert(m_samples.end(), samples.begin(), samples.end());
    }
    /// Place of the first sample that has not come yet.
    std::size_t end() const { return m_forgotten + m_samples.size(); }
    /// Silence where nothing is known, which may be before 0.
    float at(std::ptrdiff_t place) const {
        const std::ptrdiff_t index = place - static_cast<std::ptrdiff_t>(m_forgotten);
        return index < 0 || index >= std::ssize(m_samples) ? 0.0F
                                                           : m_samples[static_cast<std::size_t>(index)];
    }
    /// Those from `begin` on, which must not be forgotten; fewer than `count` at the end. Valid until the
    /// history changes.
    std::span<const float> from(std::size_t begin, std::size_t count) const {
        const std::span<const float> samples(m_samples);
        const std::size_t index = std::min(begin - m_forgotten, samples.size());
        return samples.subspan(index, std::min(count, samples.size() - index));
    }
    void forgetBefore(std::size_t place) {
        if (place <= m_forgotten) return;
        const std::size_t count = std::min(place - m_forgotten, m_samples.size());
        m_samples.erase(m_samples.begin(), m_samples.begin() + static_cast<std::ptrdiff_t>(count));
        m_forgotten += count;
    }

  private:
    std::vector<float> m_samples;
    std::size_t m_forgotten = 0;
};
