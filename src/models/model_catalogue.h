#pragma once

#include "models/model.h"

#include <string>
#include <string_view>
#include <vector>

/// The catalogue of models, a JSON document (RFC 8259):
///
///     {"models": [{"id": "...", "engine": "sherpa-onnx", "kind": "nemo_ctc", "locales": ["en_US"],
///                  "bytes": 104337827, "sha256": "...", "url": "https://...", "archive": "tar.bz2",
///                  "licence": "CC-BY-4.0", "verified": true, "checksumSource": "..."}]}
///
/// Kinds are nemo_ctc, nemo_transducer, whisper and silero_vad, archives tar.bz2 and file. Unknown keys are
/// ignored; every other fault throws Error "models" with ModelFailure::catalogue, whose sentence names the
/// model and the key.
std::vector<Model> parseCatalogue(std::string_view json);

/// One entry of the catalogue, also the content of the file model.json in an installed model's folder.
Model parseModel(std::string_view json);
std::string modelText(const Model& model);
