#include "transcription/locale_choice.h"

// Each pass looks at the whole list: an exact match at its end beats a language match at its beginning.
Locale pickLocale(const Locale& current, const std::vector<Locale>& supported) {
    for (const Locale& locale : supported)
        if (locale.bcp47() == current.bcp47()) return locale;
    for (const Locale& locale : supported)
        if (locale.languageCode() == current.languageCode()) return locale; // two missing codes are equal
    for (const Locale& locale : supported)
        if (locale.bcp47().starts_with("en")) return locale;
    return Locale("en_US");
}
