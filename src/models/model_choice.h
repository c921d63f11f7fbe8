#pragma once

#include "models/model_store.h"

#include <vector>

/// The installed model that recognises the locale; null when there is none. Of several it is the last: those
/// further down in the catalogue are larger, and there because the user wanted them.
const Model* installedModel(const std::vector<ListedModel>& models, const Locale& locale);

/// The model to install for the locale when there is none: the first whose checksum is verified, or null.
const Model* modelToInstall(const std::vector<ListedModel>& models, const Locale& locale);

/// The installed model that finds speech, or null.
const Model* installedVoiceActivity(const std::vector<ListedModel>& models);

/// What installed models and those that may be installed without being asked for recognise, each locale once.
std::vector<Locale> recognisedLocales(const std::vector<ListedModel>& models);
