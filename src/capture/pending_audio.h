#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

/// Mono samples that wait for their delivery. Silence is only counted, so that hours of it cost nothing.
class PendingAudio {
  public:
    /// The most that is handed out in one piece: 100 ms at 48 kHz.
    static constexpr std::int64_t longestPiece = 4800;

    void append(std::span<const float> samples) {
        if (samples.empty()) return;
        m_samples.insert(m_samples.end(), samples.begin(), samples.end());
        extend(false, static_cast<std::int64_t>(samples.size()));
    }
    void appendSilence(std::int64_t count) {
        if (count > 0) extend(true, count);
    }

    /// Hands the oldest `count` samples, which must be there, to `piece(std::span<const float>)`.
    template <typename Piece>
    void take(std::int64_t count, Piece&& piece) {
        static constexpr std::array<float, longestPiece> silence{};
        std::size_t doneRuns = 0;
        std::size_t doneSamples = 0;
        while (count > 0) {
            Run& run = m_runs[doneRuns];
            const std::int64_t length = std::min({count, run.length, longestPiece});
            const auto size = static_cast<std::size_t>(length);
            if (run.silent) {
                piece(std::span(silence).first(size));
            } else {
                piece(std::span<const float>(m_samples).subspan(doneSamples, size));
                doneSamples += size;
            }
            run.length -= length;
            count -= length;
            if (run.length == 0) ++doneRuns;
        }
        m_runs.erase(m_runs.begin(), m_runs.begin() + static_cast<std::ptrdiff_t>(doneRuns));
        m_samples.erase(m_samples.begin(), m_samples.begin() + static_cast<std::ptrdiff_t>(doneSamples));
    }

  private:
    struct Run {
        bool silent;
        std::int64_t length;
    };

    void extend(bool silent, std::int64_t count) {
        if (!m_runs.empty() && m_runs.back().silent == silent)
            m_runs.back().length += count;
        else
            m_runs.push_back({silent, count});
    }

    std::vector<Run> m_runs;
    std::vector<float> m_samples; // of the runs that are not silent, in order
};
