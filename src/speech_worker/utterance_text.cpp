#include "speech_worker/utterance_text.h"

namespace {

std::string_view withoutPronunciationMark(std::string_view word) {
    return word.substr(0, word.find('('));
}

bool isPronounI(std::string_view word) {
    return word == "i" || word.starts_with("i'"); // i'm, i'll, i've, i'd
}

char upper(char letter) {
    return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
}

} // namespace

bool isFiller(std::string_view word) {
    return word.empty() || word.front() == '<' || word.front() == '[' || word.starts_with("++");
}

std::string utteranceText(std::span<const RecognisedWord> words) {
    std::string text;
    for (const RecognisedWord& recognised : words) {
        const std::string_view word = withoutPronunciationMark(recognised.text);
        if (isFiller(word)) continue;
        const std::size_t begin = text.empty() ? 0 : text.size() + 1;
        if (!text.empty()) text += ' ';
        text += word;
        if (begin == 0 || isPronounI(word)) text[begin] = upper(text[begin]);
    }
    return text;
}
