#pragma once

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <numeric>
#include <string>
#include <string_view>
#include <vector>

/// The words of a text in small letters; everything but ASCII letters, digits and the apostrophe parts words.
inline std::vector<std::string> normalisedWords(std::string_view text) {
    std::vector<std::string> words(1);
    for (const char c : text) {
        const auto letter = static_cast<unsigned char>(c);
        if (std::isalnum(letter) != 0 || c == '\'')
            words.back() += static_cast<char>(std::tolower(letter));
        else if (!words.back().empty())
            words.emplace_back();
    }
    if (words.back().empty()) words.pop_back();
    return words;
}

/// The least number of words to substitute, delete or insert to turn what was heard into what was said
/// (Levenshtein, 1966).
inline std::size_t wordErrors(std::string_view said, std::string_view heard) {
    const std::vector<std::string> reference = normalisedWords(said);
    const std::vector<std::string> hypothesis = normalisedWords(heard);
    std::vector<std::size_t> row(hypothesis.size() + 1);
    std::iota(row.begin(), row.end(), 0U);
    for (std::size_t i = 0; i < reference.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i + 1;
        for (std::size_t j = 0; j < hypothesis.size(); ++j) {
            const std::size_t substituted = diagonal + (reference[i] == hypothesis[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({substituted, row[j] + 1, row[j + 1] + 1});
        }
    }
    return row.back();
}

/// Word errors over words said. More than 1 when more was heard than said; 0 when nothing was said or heard.
inline double wordErrorRate(std::string_view said, std::string_view heard) {
    const std::size_t words = normalisedWords(said).size();
    const std::size_t errors = wordErrors(said, heard);
    return errors == 0 ? 0
                       : static_cast<double>(errors) / static_cast<double>(std::max<std::size_t>(words, 1));
}
