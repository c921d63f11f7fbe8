#include "speech_worker/timed_words.h"

#include <algorithm>
#include <string_view>

namespace {

constexpr double longestToken = 0.5; // seconds
constexpr double longestWord = 0.7;
// Thai. The scripts before it write spaces, in the order of Unicode, which is also that of UTF-8's bytes.
constexpr std::string_view firstWithoutSpaces = "\u0E00";

std::string_view withoutLeadingSpaces(std::string_view text) {
    return text.substr(std::min(text.size(), text.find_first_not_of(' ')));
}

} // namespace

std::vector<RecognisedWord> wordsOf(std::span<const TimedToken> tokens, double length) {
    std::vector<RecognisedWord> words; // each one's end is the beginning of its last token, for now
    for (const TimedToken& token : tokens) {
        const double start = std::clamp(token.start, 0.0, length);
        const std::string_view letters = withoutLeadingSpaces(token.text);
        const bool spaced = letters.size() < token.text.size();
        const bool parted = !words.empty() && start - words.back().start > longestWord &&
                            letters >= firstWithoutSpaces; // which the middle of a character is not
        if (words.empty() || spaced || parted) words.push_back({"", start, start, !spaced && !words.empty()});
        RecognisedWord& word = words.back();
        if (word.text.empty()) word.start = start;
        word.text += letters;
        word.end = start;
    }
    std::erase_if(words, [](const RecognisedWord& word) { return word.text.empty(); });
    for (std::size_t i = 0; i < words.size(); ++i) {
        const double next = i + 1 < words.size() ? words[i + 1].start : length;
        words[i].end = std::min(std::max(words[i].start, next), words[i].end + longestToken);
    }
    return words;
}

std::string asWritten(std::span<const RecognisedWord> words) {
    std::string text;
    for (const RecognisedWord& word : words) {
        if (!text.empty() && !word.joined) text += ' ';
        text += word.text;
    }
    return text;
}
