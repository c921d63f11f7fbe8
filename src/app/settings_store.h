#pragma once

#include <optional>
#include <string>

/// Port: the settings that survive the program. Main thread; nothing throws. What cannot be read is absent,
/// what cannot be written is lost and logged.
class SettingsStore {
  public:
    virtual ~SettingsStore() = default;
    virtual std::optional<std::string> string(const std::string& key) const = 0;
    /// False when absent.
    virtual bool boolean(const std::string& key) const = 0;
    /// Nothing removes the key.
    virtual void setString(const std::string& key, const std::optional<std::string>& value) = 0;
    virtual void setBoolean(const std::string& key, bool value) = 0;
};
