#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

/// A value of JSON (RFC 8259).
///
/// This room alone includes the JSON library: its templates take the compiler longer than any source of ours.
/// Any thread, as a plain value.
class Json {
  public:
    using Array = std::vector<Json>;
    /// Members in the order in which they are written.
    using Object = std::vector<std::pair<std::string, Json>>;

    Json(std::nullptr_t = nullptr);
    Json(bool value);
    Json(std::uint64_t value);
    /// JSON has no infinity and no NaN: they are written as null.
    Json(double value);
    Json(std::string value);
    Json(const char* value);
    Json(Array value);
    Json(Object value);
    Json(const Json& other);
    Json(Json&& other) noexcept;
    Json& operator=(const Json& other);
    Json& operator=(Json&& other) noexcept;
    ~Json();

    bool isNull() const { return std::holds_alternative<std::nullptr_t>(m_value); }
    /// The value when it is of this type, else null. T is bool, std::uint64_t, std::string, Array or Object.
    /// A number is a std::uint64_t when it is written as an integer from 0 to 2^64 - 1.
    template <typename T>
    const T* as() const {
        return std::get_if<T>(&m_value);
    }
    /// Any number, rounded to the nearest double.
    std::optional<double> number() const;
    /// The member of an object, the last one of several with that name; null when there is none, or this is
    /// no object.
    const Json* find(std::string_view key) const;

    enum class Layout {
        line,    ///< without any white space
        indented ///< a member or element on each line, indented by two spaces a level
    };
    /// Without a line feed at the end. Bytes that are no UTF-8 (a path may hold them) become U+FFFD.
    std::string text(Layout layout) const;

    /// Nothing when `text` is no JSON text, or one of more than 64 levels, which nobody writes in good faith.
    static std::optional<Json> parse(std::string_view text);

  private:
    std::variant<std::nullptr_t, bool, std::uint64_t, double, std::string, Array, Object> m_value;
};
