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

/// Up to twenty turns, both at the same level. They speak in turn, or at once: the near end begins 0.6 s
/// after the far end.
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
        Turn{"The new printer stands beside the door of the kitchen.",
             "I would like to know what you think about the plan."},
        Turn{"Most of our visitors come from the south of the country.",
             "The company wants to open three new stores next year."},
        Turn{"He forgot to lock the gate before he went away.",
             "We will meet in the large conference room on the second floor."},
        Turn{"You could order some flowers for the party tomorrow.",
             "My father always reads the newspaper at breakfast."},
        Turn{"Somebody has taken the wrong umbrella from the hall.",
             "The doctor said that he should stay in bed for two weeks."},
        Turn{"Our neighbours are planting apple trees along the fence.",
             "There was not enough money to finish the bridge."},
        Turn{"The museum is closed every Tuesday during the winter.",
             "You can find more information on the last page."},
        Turn{"Nothing in that drawer belongs to the former owner.",
             "The bus stops right in front of the library."},
        Turn{"His uncle repairs old clocks and sells them in the market.",
             "She has worked for the bank since she was a student."},
        Turn{"Every engineer should understand how this machine works.",
             "The results of the test will be ready on Friday."},
        Turn{"They painted all the walls yellow while we were travelling.",
             "Nobody knew where the keys were, so we had to wait outside."},
        Turn{"Children under twelve can use the swimming pool for free.",
             "I think that we should ask the people what they need."},
        Turn{"A heavy truck is blocking the road behind the station.",
             "If it rains again, we will have to stay at home."},
        Turn{"Her grandmother used to bake wonderful chocolate cakes.",
             "It is easy to find a good place to eat in this city."},
        Turn{"Several passengers complained because the flight was late.",
             "The boy was still there when the others went to school."},
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
