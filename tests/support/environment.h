#pragma once

#include <cstdlib>
#include <optional>
#include <string>

/// Sets an environment variable, or removes it, for this scope.
class ScopedEnvironment {
  public:
    ScopedEnvironment(std::string name, const std::optional<std::string>& value) : m_name(std::move(name)) {
        if (const char* previous = std::getenv(m_name.c_str())) m_previous = previous;
        apply(value);
    }
    ~ScopedEnvironment() { apply(m_previous); }
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

  private:
    void apply(const std::optional<std::string>& value) {
        if (value)
            setenv(m_name.c_str(), value->c_str(), 1);
        else
            unsetenv(m_name.c_str());
    }

    std::string m_name;
    std::optional<std::string> m_previous;
};
