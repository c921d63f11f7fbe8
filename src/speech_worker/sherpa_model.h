#pragma once

#include <filesystem>

/// The files of an installed speech model. Its folder holds model.json, which tells its kind ("kind", a
/// text), and the model's files as its publisher named them: of several that fit, the one with 8-bit weights
/// (".int8.onnx") is taken, because it is faster.
struct SherpaModel {
    enum class Kind {
        nemoCtc,        ///< "nemo_ctc": model*.onnx
        nemoTransducer, ///< "nemo_transducer": encoder*, decoder* and joiner*.onnx
        whisper,        ///< "whisper": *encoder*.onnx and *decoder*.onnx
    };

    /// Throws Error "engine" with a sentence that says what the folder lacks.
    explicit SherpaModel(std::filesystem::path modelFolder);

    std::filesystem::path folder;
    Kind kind;
    std::filesystem::path tokens; ///< *tokens.txt
    std::filesystem::path model;  ///< of the CTC kind; the others have the rest
    std::filesystem::path encoder;
    std::filesystem::path decoder;
    std::filesystem::path joiner;
};
