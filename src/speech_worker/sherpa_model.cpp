#include "speech_worker/sherpa_model.h"

#include "base/error.h"

#include <algorithm>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

Error unusable(const std::filesystem::path& folder, const std::string& reason) {
    return {"engine", 1, "The speech model " + folder.string() + " can't be used: " + reason + "."};
}

SherpaModel::Kind kindOf(const std::filesystem::path& folder) {
    std::ifstream file(folder / "model.json");
    if (!file) throw unusable(folder, "it has no model.json");
    const auto description = nlohmann::json::parse(file, nullptr, false);
    const auto field = description.is_object() ? description.find("kind") : description.end();
    if (field == description.end() || !field->is_string())
        throw unusable(folder, "its model.json tells no kind");
    const auto kind = field->get<std::string>();
    if (kind == "nemo_ctc") return SherpaModel::Kind::nemoCtc;
    if (kind == "nemo_transducer") return SherpaModel::Kind::nemoTransducer;
    if (kind == "whisper") return SherpaModel::Kind::whisper;
    throw unusable(folder, "sherpa-onnx recognises no speech with the kind " + kind);
}

/// The first file in alphabetical order whose name contains `part` and ends with `end`; ".int8" goes first.
std::filesystem::path fileLike(const std::filesystem::path& folder, std::string_view part,
                               std::string_view end) {
    std::vector<std::pair<bool, std::filesystem::path>> found;
    std::error_code error;
    for (auto entry = std::filesystem::directory_iterator(folder, error);
         !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        const std::string name = entry->path().filename();
        if (name.find(part) == std::string::npos || !name.ends_with(end)) continue;
        found.emplace_back(name.find(".int8.") == std::string::npos, entry->path());
    }
    if (found.empty())
        throw unusable(folder, "it has no file like *" + std::string(part) + "*" + std::string(end));
    return std::min_element(found.begin(), found.end())->second;
}

} // namespace

SherpaModel::SherpaModel(std::filesystem::path modelFolder)
    : folder(std::move(modelFolder)), kind(kindOf(folder)), tokens(fileLike(folder, "tokens", ".txt")) {
    if (kind == Kind::nemoCtc) {
        model = fileLike(folder, "model", ".onnx");
        return;
    }
    encoder = fileLike(folder, "encoder", ".onnx");
    decoder = fileLike(folder, "decoder", ".onnx");
    if (kind == Kind::nemoTransducer) joiner = fileLike(folder, "joiner", ".onnx");
}
