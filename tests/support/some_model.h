#pragma once

#include "models/model.h"

#include <string>
#include <utility>
#include <vector>

/// An entry of a catalogue that is right in every part.
inline Model someModel(std::string id = "small-en", std::vector<Locale> locales = {Locale("en_US")}) {
    Model model;
    model.id = std::move(id);
    model.engine = "sherpa-onnx";
    model.kind = Model::Kind::nemoCtc;
    model.locales = std::move(locales);
    model.bytes = 104337827;
    model.sha256 = std::string(64, 'a');
    model.url = "https://models.example/" + model.id + ".tar.bz2";
    model.archive = Model::Archive::tarBz2;
    model.licence = "CC-BY-4.0";
    model.isVerified = true;
    model.checksumSource = "two places";
    return model;
}
