#include "transcription/locale.h"

#include "support/environment.h"

#include <gtest/gtest.h>

namespace {

/// The user's locale with these variables; nothing means unset.
std::string current(const std::optional<std::string>& all, const std::optional<std::string>& messages,
                    const std::optional<std::string>& lang) {
    const ScopedEnvironment first("LC_ALL", all);
    const ScopedEnvironment second("LC_MESSAGES", messages);
    const ScopedEnvironment third("LANG", lang);
    return Locale::current().identifier();
}

TEST(Locale, Bcp47FormHasHyphens) {
    EXPECT_EQ(Locale("en_US").bcp47(), "en-US");
    EXPECT_EQ(Locale("zh_Hant_TW").bcp47(), "zh-Hant-TW");
    EXPECT_EQ(Locale("de").bcp47(), "de");
}

TEST(Locale, IdentifierIsThePlatformForm) {
    EXPECT_EQ(Locale("en_US").identifier(), "en_US");
}

TEST(Locale, LanguageCodeIsTheFirstSubtag) {
    EXPECT_EQ(Locale("en_US").languageCode(), "en");
    EXPECT_EQ(Locale("en-GB").languageCode(), "en");
    EXPECT_EQ(Locale("gsw").languageCode(), "gsw");
}

TEST(Locale, LanguageCodeMayBeMissing) {
    EXPECT_EQ(Locale("").languageCode(), std::nullopt);
    EXPECT_EQ(Locale("_US").languageCode(), std::nullopt);
}

TEST(CurrentLocale, IsTheFirstVariableThatIsNotEmpty) {
    EXPECT_EQ(current("fr_FR", "de_DE", "es_ES"), "fr_FR");
    EXPECT_EQ(current("", "de_DE", "es_ES"), "de_DE");
    EXPECT_EQ(current(std::nullopt, std::nullopt, "es_ES"), "es_ES");
}

TEST(CurrentLocale, DropsCharacterSetAndModifier) {
    EXPECT_EQ(current(std::nullopt, std::nullopt, "de_AT.UTF-8"), "de_AT");
    EXPECT_EQ(current(std::nullopt, std::nullopt, "sr_RS@latin"), "sr_RS");
    EXPECT_EQ(current(std::nullopt, std::nullopt, "ca_ES.UTF-8@valencia"), "ca_ES");
}

TEST(CurrentLocale, IsAmericanEnglishWithoutALanguage) {
    EXPECT_EQ(current(std::nullopt, std::nullopt, std::nullopt), "en_US");
    EXPECT_EQ(current("", "", ""), "en_US");
    EXPECT_EQ(current(std::nullopt, std::nullopt, "C.UTF-8"), "en_US");
    EXPECT_EQ(current(std::nullopt, "POSIX", std::nullopt), "en_US");
    EXPECT_EQ(current(std::nullopt, std::nullopt, ".UTF-8"), "en_US");
}

TEST(CurrentLocale, TheCLocaleHidesTheVariablesBehindIt) {
    EXPECT_EQ(current("C", "de_DE", "es_ES"), "en_US");
}

} // namespace
