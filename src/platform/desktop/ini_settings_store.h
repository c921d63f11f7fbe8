#pragma once

#include "app/settings_store.h"

#include <QSettings>
#include <filesystem>

/// Settings in an INI file that only its owner may read; so is its folder when it is created here. Each
/// change is written at once, a text that is stored already is not. Of a damaged file counts what can be
/// read; changes of one that cannot be written last as long as the program. The log says so, once.
class IniSettingsStore final : public SettingsStore {
  public:
    explicit IniSettingsStore(const std::filesystem::path& file);

    std::optional<std::string> string(const std::string& key) const override;
    bool boolean(const std::string& key) const override;
    void setString(const std::string& key, const std::optional<std::string>& value) override;
    void setBoolean(const std::string& key, bool value) override;

  private:
    void write();
    void logFault(const char* what);

    QSettings m_settings;
    bool m_faultLogged = false;
};

/// $XDG_CONFIG_HOME/murmelo/murmelo.conf (the base directories of freedesktop.org).
std::filesystem::path settingsFile();
