#include "models/model_catalogue.h"

#include "base/error.h"
#include "models/model_store.h"
#include "json/json.h"

#include <algorithm>
#include <array>
#include <utility>

namespace {

constexpr std::size_t longestId = 100;
constexpr std::uint64_t mostBytes = 100'000'000'000;

constexpr std::array<std::pair<std::string_view, Model::Kind>, 4> kinds{{
    {"nemo_ctc", Model::Kind::nemoCtc},
    {"nemo_transducer", Model::Kind::nemoTransducer},
    {"whisper", Model::Kind::whisper},
    {"silero_vad", Model::Kind::sileroVad},
}};
constexpr std::array<std::pair<std::string_view, Model::Archive>, 2> archives{{
    {"tar.bz2", Model::Archive::tarBz2},
    {"file", Model::Archive::file},
}};

Error fault(const std::string& what) {
    return {"models", static_cast<int>(ModelFailure::catalogue),
            "The catalogue of models is damaged: " + what + "."};
}

Json document(std::string_view text) {
    std::optional<Json> json = Json::parse(text);
    if (!json || json->as<Json::Object>() == nullptr) throw fault("it is no JSON object");
    return std::move(*json);
}

/// Reads the keys of one entry, whose id is in every complaint once it is known.
class Entry {
  public:
    explicit Entry(const Json& json) : m_json(json) {
        if (json.as<Json::Object>() == nullptr) throw fault("a model is no JSON object");
    }

    std::string id() {
        std::string id = text("id");
        const auto allowed = [](char c) {
            return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
                   c == '-' || c == '.';
        };
        if (id.size() > longestId || id.front() == '.' || !std::all_of(id.begin(), id.end(), allowed))
            throw wrong("id");
        m_name = "the model “" + id + "”";
        return id;
    }
    std::string engine() const {
        if (std::string engine = text("engine"); engine == "sherpa-onnx") return engine;
        throw wrong("engine");
    }
    std::string url() const {
        std::string url = text("url");
        if (url.find("://") == std::string::npos || url.back() == '/') throw wrong("url");
        return url;
    }
    std::string sha256() const {
        std::string digits = text("sha256");
        const auto isDigit = [](char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'); };
        if (digits.size() != 64 || !std::all_of(digits.begin(), digits.end(), isDigit)) throw wrong("sha256");
        return digits;
    }
    std::uint64_t bytes() const {
        const auto* bytes = at("bytes").as<std::uint64_t>();
        if (bytes == nullptr || *bytes == 0 || *bytes > mostBytes) throw wrong("bytes");
        return *bytes;
    }
    std::vector<Locale> locales(Model::Kind kind) const {
        const auto* list = at("locales").as<Json::Array>();
        if (list == nullptr || list->empty() != (kind == Model::Kind::sileroVad)) throw wrong("locales");
        std::vector<Locale> locales;
        for (const Json& each : *list) {
            const auto* identifier = each.as<std::string>();
            if (identifier == nullptr || !Locale(*identifier).languageCode()) throw wrong("locales");
            locales.emplace_back(*identifier);
        }
        return locales;
    }
    bool flag(const char* key) const {
        const auto* value = at(key).as<bool>();
        if (value == nullptr) throw wrong(key);
        return *value;
    }
    std::string text(const char* key) const {
        const auto* value = at(key).as<std::string>();
        if (value == nullptr || value->empty()) throw wrong(key);
        return *value;
    }
    template <typename Names>
    auto oneOf(const Names& names, const char* key) const {
        const std::string name = text(key);
        for (const auto& [known, value] : names)
            if (known == name) return value;
        throw wrong(key);
    }

  private:
    const Json& at(const char* key) const {
        const Json* const found = m_json.find(key);
        if (found == nullptr) throw fault(m_name + " has no “" + key + "”");
        return *found;
    }
    Error wrong(const char* key) const { return fault(m_name + " has a wrong “" + key + "”"); }

    const Json& m_json;
    std::string m_name = "a model";
};

template <typename Names, typename Value>
std::string nameOf(const Names& names, Value value) {
    for (const auto& [name, known] : names)
        if (known == value) return std::string(name);
    return {};
}

Model modelOf(const Json& json) {
    Entry entry(json);
    Model model;
    model.id = entry.id();
    model.engine = entry.engine();
    model.kind = entry.oneOf(kinds, "kind");
    model.locales = entry.locales(model.kind);
    model.bytes = entry.bytes();
    model.sha256 = entry.sha256();
    model.url = entry.url();
    model.archive = entry.oneOf(archives, "archive");
    model.licence = entry.text("licence");
    model.isVerified = entry.flag("verified");
    model.checksumSource = entry.text("checksumSource");
    return model;
}

} // namespace

std::vector<Model> parseCatalogue(std::string_view json) {
    const Json catalogue = document(json);
    const Json* const member = catalogue.find("models");
    const auto* list = member != nullptr ? member->as<Json::Array>() : nullptr;
    if (list == nullptr) throw fault("it has no list “models”");
    std::vector<Model> models;
    for (const Json& entry : *list) {
        Model model = modelOf(entry);
        const auto same = [&](const Model& other) { return other.id == model.id; };
        if (std::any_of(models.begin(), models.end(), same))
            throw fault("there are two models “" + model.id + "”");
        models.push_back(std::move(model));
    }
    return models;
}

Model parseModel(std::string_view json) {
    return modelOf(document(json));
}

std::string modelText(const Model& model) {
    Json::Array locales;
    for (const Locale& locale : model.locales) locales.push_back(locale.identifier());
    const Json json = Json::Object{{"id", model.id},
                                   {"engine", model.engine},
                                   {"kind", nameOf(kinds, model.kind)},
                                   {"locales", std::move(locales)},
                                   {"bytes", model.bytes},
                                   {"sha256", model.sha256},
                                   {"url", model.url},
                                   {"archive", nameOf(archives, model.archive)},
                                   {"licence", model.licence},
                                   {"verified", model.isVerified},
                                   {"checksumSource", model.checksumSource}};
    return json.text(Json::Layout::indented) + "\n";
}
