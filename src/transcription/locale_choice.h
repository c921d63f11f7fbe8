#pragma once

#include "transcription/locale.h"

#include <vector>

/// The locale to recognise speech in: the first of `supported` that is the user's own, else the first in the
/// user's language, else the first English one. Without any of them it is en_US, supported or not: the
/// recogniser then says itself what it is missing.
Locale pickLocale(const Locale& current, const std::vector<Locale>& supported);
