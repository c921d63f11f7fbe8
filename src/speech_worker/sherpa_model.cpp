#include "speech_worker/sherpa_model.h"

#include "base/error.h"
#include "base/folder_entries.h"
#include "json/json.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <optional>
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
    const std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    const std::optional<Json> description = Json::parse(text);
    const Json* const field = description ? description->find("kind") : nullptr;
    if (field == nullptr || field->as<std::string>() == nullptr)
        throw unusable(folder, "its model.json tells no kind");
    const std::string& kind = *field->as<std::string>();
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
    for (const std::filesystem::path& entry : folderEntries(folder, error)) {
        const std::string name = entry.filename();
        if (name.find(part) == std::string::npos || !name.ends_with(end)) continue;
        found.emplace_back(name.find(".int8.") == std::string::npos, entry);
    }
    if (error)
        throw unusable(folder,
                       "its folder cannot be read: " + Error::posix(error.value()).localizedDescription());
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
