#include "json/json.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace {

using Library = nlohmann::ordered_json;

constexpr std::size_t mostLevels = 64;

/// Builds a value from what the library's parser reports. A function that returns false ends the parse.
class Builder : public nlohmann::json_sax<Library> {
  public:
    Json result;

    bool null() override { return add(nullptr); }
    bool boolean(bool value) override { return add(value); }
    bool number_integer(std::int64_t value) override { return add(static_cast<double>(value)); }
    bool number_unsigned(std::uint64_t value) override { return add(value); }
    bool number_float(double value, const std::string& /*text*/) override { return add(value); }
    bool string(std::string& value) override { return add(std::move(value)); }
    bool binary(Library::binary_t& /*value*/) override { return false; } // not in JSON
    bool key(std::string& name) override {
        m_open.back().name = std::move(name);
        return true;
    }
    bool start_object(std::size_t /*members*/) override { return open(true); }
    bool start_array(std::size_t /*elements*/) override { return open(false); }
    bool end_object() override { return close(); }
    bool end_array() override { return close(); }
    bool parse_error(std::size_t /*position*/, const std::string& /*token*/,
                     const nlohmann::detail::exception& /*error*/) override {
        return false;
    }

  private:
    struct Open {
        bool isObject = false;
        Json::Array elements = {};
        Json::Object members = {};
        std::string name = {}; ///< of the member that comes next
    };

    bool add(Json value) {
        if (m_open.empty())
            result = std::move(value);
        else if (Open& open = m_open.back(); !open.isObject)
            open.elements.push_back(std::move(value));
        else
            open.members.emplace_back(std::move(open.name), std::move(value));
        return true;
    }
    bool open(bool isObject) {
        if (m_open.size() == mostLevels) return false;
        m_open.push_back({isObject});
        return true;
    }
    bool close() {
        Open closed = std::move(m_open.back());
        m_open.pop_back();
        return closed.isObject ? add(std::move(closed.members)) : add(std::move(closed.elements));
    }

    std::vector<Open> m_open;
};

Library inLibrary(const Json& json) {
    if (const bool* value = json.as<bool>()) return *value;
    if (const std::uint64_t* value = json.as<std::uint64_t>()) return *value;
    if (const std::string* value = json.as<std::string>()) return *value;
    if (const Json::Array* elements = json.as<Json::Array>()) {
        Library array = Library::array();
        for (const Json& element : *elements) array.push_back(inLibrary(element));
        return array;
    }
    if (const Json::Object* members = json.as<Json::Object>()) {
        Library object = Library::object();
        for (const auto& [name, value] : *members) object[name] = inLibrary(value);
        return object;
    }
    if (const std::optional<double> value = json.number()) return *value;
    return nullptr;
}

} // namespace

Json::Json(std::nullptr_t) {}
Json::Json(bool value) : m_value(value) {}
Json::Json(std::uint64_t value) : m_value(value) {}
Json::Json(double value) : m_value(value) {}
Json::Json(std::string value) : m_value(std::move(value)) {}
Json::Json(const char* value) : m_value(std::string(value)) {}
Json::Json(Array value) : m_value(std::move(value)) {}
Json::Json(Object value) : m_value(std::move(value)) {}
Json::Json(const Json& other) = default;
Json::Json(Json&& other) noexcept = default;
Json& Json::operator=(const Json& other) = default;
Json& Json::operator=(Json&& other) noexcept = default;
Json::~Json() = default;

std::optional<double> Json::number() const {
    if (const double* value = std::get_if<double>(&m_value)) return *value;
    if (const std::uint64_t* value = as<std::uint64_t>()) return static_cast<double>(*value);
    return std::nullopt;
}

const Json* Json::find(std::string_view key) const {
    const Object* members = as<Object>();
    if (members == nullptr) return nullptr;
    const auto found = std::find_if(members->rbegin(), members->rend(),
                                    [key](const auto& member) { return member.first == key; });
    return found != members->rend() ? &found->second : nullptr;
}

std::string Json::text(Layout layout) const {
    return inLibrary(*this).dump(layout == Layout::indented ? 2 : -1, ' ', false,
                                 Library::error_handler_t::replace);
}

std::optional<Json> Json::parse(std::string_view text) {
    Builder builder;
    if (!Library::sax_parse(text, &builder)) return std::nullopt;
    return std::move(builder.result);
}
