// An application that plays playedMarks (see time_marks.h) until it is ended.

#include "support/playing_application.h"
#include "support/time_marks.h"

#include <algorithm>
#include <spa/param/audio/raw.h>

namespace {

constexpr double frameNanoseconds = 1e9 / 48000;

class ClickingPlayer final : public PlayingApplication {
    void fill(std::span<float> block) override {
        followClock();
        for (auto sample = block.begin(); sample != block.end(); m_next += frameNanoseconds)
            sample = std::fill_n(sample, channels(), playedMarks.at(m_next));
    }

    /// Smoothly, except after a gap.
    void followClock() {
        pw_time time{};
        if (pw_stream_get_time_n(stream(), &time, sizeof time) < 0) return;
        const double late = static_cast<double>(time.now) - m_next;
        constexpr double gap = 15e6;
        m_next += late > gap || late < -gap ? late : late / 16;
    }

    double m_next = 0; // time of the next frame, nanoseconds
};

} // namespace

int main() {
    return ClickingPlayer().run("clicking player", {SPA_AUDIO_CHANNEL_FL, SPA_AUDIO_CHANNEL_FR});
}
