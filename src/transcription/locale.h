#pragma once

#include <optional>
#include <string>

/// A language with its region, as the desktop names it.
class Locale {
  public:
    /// From a platform identifier such as "en_US" or "de".
    explicit Locale(std::string identifier);
    /// The user's: the first of LC_ALL, LC_MESSAGES and LANG that is not empty, without character set and
    /// modifier. "C", "POSIX" and nothing at all mean en_US.
    static Locale current();

    /// The platform's form, with underscores: "en_US".
    const std::string& identifier() const { return m_identifier; }
    /// BCP 47 (RFC 5646) form, with hyphens: "en-US".
    std::string bcp47() const;
    /// The language subtag, "en"; missing when there is none.
    std::optional<std::string> languageCode() const;

    bool operator==(const Locale&) const = default;

  private:
    std::string m_identifier;
};
