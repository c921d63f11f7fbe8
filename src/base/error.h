#pragma once

#include <exception>
#include <string>
#include <system_error>
#include <utility>

/// The one exception type that crosses a port.
///
/// `domain` says whose `code` it is: "rec", "transcriber" and "models" are ours, "posix" holds an errno,
/// "ffmpeg" an AVERROR, "engine" a speech engine's failure. `description` is one sentence for the user.
class Error : public std::exception {
  public:
    Error(std::string domain, int code, std::string description)
        : m_domain(std::move(domain)), m_code(code), m_description(std::move(description)),
          m_printed("Error Domain=" + m_domain + " Code=" + std::to_string(m_code) + " \"" + m_description +
                    "\"") {}

    /// An errno with the system's own words for it, such as "No space left on device".
    static Error posix(int errorNumber) {
        return {"posix", errorNumber, std::generic_category().message(errorNumber)};
    }

    const std::string& domain() const { return m_domain; }
    int code() const { return m_code; }
    /// What the user reads.
    const std::string& localizedDescription() const { return m_description; }
    /// What the log holds: Error Domain=<domain> Code=<code> "<description>".
    const std::string& printed() const { return m_printed; }
    const char* what() const noexcept override { return m_printed.c_str(); }

  private:
    std::string m_domain;
    int m_code;
    std::string m_description;
    std::string m_printed;
};
