#include "transcription/locale_choice.h"

#include <gtest/gtest.h>
#include <initializer_list>

namespace {

std::string pick(const char* current, std::initializer_list<const char*> supported) {
    std::vector<Locale> locales;
    for (const char* identifier : supported) locales.emplace_back(identifier);
    return pickLocale(Locale(current), locales).identifier();
}

TEST(LocaleChoice, ExactMatchBeatsAnEarlierLocaleOfTheSameLanguage) {
    EXPECT_EQ(pick("en_GB", {"de_DE", "en_US", "en_GB"}), "en_GB");
}

TEST(LocaleChoice, LanguageMatchBeatsAnEarlierEnglishLocale) {
    EXPECT_EQ(pick("de_AT", {"en_US", "de_DE"}), "de_DE");
}

TEST(LocaleChoice, FirstEnglishLocaleInListOrderServesAnUnsupportedLanguage) {
    EXPECT_EQ(pick("pt_BR", {"fr_FR", "en_AU", "en_US"}), "en_AU");
}

TEST(LocaleChoice, WithoutEnglishItIsAmericanEnglishAllTheSame) {
    EXPECT_EQ(pick("pt_BR", {"fr_FR"}), "en_US");
}

TEST(LocaleChoice, EmptyListYieldsAmericanEnglish) {
    EXPECT_EQ(pick("de_DE", {}), "en_US");
}

TEST(LocaleChoice, ExactMatchIsLookedForInTheWholeListBeforeAnyOther) {
    EXPECT_EQ(pick("de_AT", {"en_US", "de_DE", "de_CH", "de_AT"}), "de_AT");
}

TEST(LocaleChoice, LanguageMatchIsLookedForInTheWholeListBeforeEnglish) {
    EXPECT_EQ(pick("de_AT", {"en_US", "en_GB", "fr_FR", "de_CH", "de_DE"}), "de_CH");
}

TEST(LocaleChoice, EnglishIsLookedForInTheWholeListBeforeTheFallback) {
    EXPECT_EQ(pick("pt_BR", {"fr_FR", "it_IT", "en_IN"}), "en_IN");
}

TEST(LocaleChoice, FormsOfOneLocaleMatchExactly) {
    EXPECT_EQ(pick("en_GB", {"en_US", "en-GB"}), "en-GB");
}

TEST(LocaleChoice, ExactMatchMindsCase) {
    EXPECT_EQ(pick("en_GB", {"en_us", "en_gb"}), "en_us"); // by language
    EXPECT_EQ(pick("de_AT", {"EN_US"}), "en_US");          // by nothing
}

TEST(LocaleChoice, TwoMissingLanguageCodesMatch) {
    EXPECT_EQ(pick("", {"en_US", "_CH"}), "_CH");
}

TEST(LocaleChoice, MissingAndPresentLanguageCodesDoNotMatch) {
    EXPECT_EQ(pick("", {"de_DE"}), "en_US");
    EXPECT_EQ(pick("de_DE", {"_CH"}), "en_US");
}

} // namespace
