#pragma once

#include "support/leaking_room.h"
#include "support/synthetic_voice.h"
#include "support/word_error_rate.h"

#include <algorithm>
#include <array>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// Somebody at a computer (rms) talks to somebody far away (slt), whom the loudspeakers play.
struct Conversation {
    std::vector<float>
        near; ///< what reaches the microphone without the loudspeakers: the voice in a quiet room
    std::vector<float> far; ///< what the computer plays
    std::string nearText;
    std::string farText;
};

/// Up to five turns, both at the same level. They speak in turn, or at once: the near end begins 0.6 s after
/// the far end.
inline Conversation conversation(bool atOnce, std::size_t turns = 5) {
    struct Turn {
        const char* far;
        const char* near;
    };
    constexpr std::array said{
        Turn{"Yes, I can hear you very well, thank you.",
             "Please send me the report before the end of the week."},
        Turn{"I think that the new version is much better than the old one.",
             "How long did it take to drive from the airport to the hotel?"},
        Turn{"She said that nobody had told her about the changes.",
             "There is a small problem with the second page of the document."},
        Turn{"Let us talk about the budget first and then about the schedule.",
             "My brother lives in a little house by the sea."},
        Turn{"It was raining all day and the streets were full of water.",
             "Can we meet again on Monday morning?"},
    };
    const auto evenly = [](std::vector<float> speech) {
        const float gain = 0.05F / loudness(speech); // -26 dB
        for (float& sample : speech) sample *= gain;
        return speech;
    };
    Conversation made;
    double time = 1; // seconds
    for (const Turn& turn : std::span(said).first(turns)) {
        const std::vector<float> far = joined({silence(time), evenly(spoken("slt", turn.far))});
        const double farEnd = static_cast<double>(far.size()) / 16000;
        const double start = atOnce ? time + 0.6 : farEnd + 0.9;
        const std::vector<float> near = joined({silence(start), evenly(spoken("rms", turn.near))});
        made.far = mixed(std::move(made.far), far);
        made.near = mixed(std::move(made.near), near);
        made.farText += std::string(turn.far) + " ";
        made.nearText += std::string(turn.near) + " ";
        time = std::max(farEnd, static_cast<double>(near.size()) / 16000) + 0.9;
    }
    made.far.resize(static_cast<std::size_t>(time * 16000));
    made.near = mixed(std::move(made.near), hiss(time, 0.0008F)); // -62 dB
    return made;
}

/// How many of the heard words only the far end said.
inline std::size_t farWords(const Conversation& conversation, std::string_view heard) {
    const auto near = normalisedWords(conversation.nearText);
    const auto far = normalisedWords(conversation.farText);
    std::set<std::string> onlyFar(far.begin(), far.end());
    for (const std::string& word : near) onlyFar.erase(word);
    const auto words = normalisedWords(heard);
    return static_cast<std::size_t>(std::count_if(
        words.begin(), words.end(), [&](const std::string& word) { return onlyFar.contains(word); }));
}
