#include "platform/desktop/ini_settings_store.h"

#include "base/debug_log.h"
#include "base/home_folder.h"
#include "base/private_files.h"
#include "platform/posix/file_handle.h"

#include <QStringList>
#include <cstdlib>
#include <fcntl.h>

IniSettingsStore::IniSettingsStore(const std::filesystem::path& file)
    : m_settings(QString::fromStdString(file.string()), QSettings::IniFormat) {
    if (m_settings.status() != QSettings::NoError) logFault("could not be read in whole");
}

std::optional<std::string> IniSettingsStore::string(const std::string& key) const {
    const QVariant value = m_settings.value(QString::fromStdString(key));
    if (!value.isValid()) return std::nullopt;
    // An unquoted comma, written by hand, makes a list.
    return (value.typeId() == QMetaType::QStringList ? value.toStringList().join(QLatin1Char(','))
                                                     : value.toString())
        .toStdString();
}

bool IniSettingsStore::boolean(const std::string& key) const {
    const std::optional<std::string> value = string(key);
    return value == "true" || value == "1";
}

void IniSettingsStore::setString(const std::string& key, const std::optional<std::string>& value) {
    if (string(key) == value) return;
    if (value)
        m_settings.setValue(QString::fromStdString(key), QString::fromStdString(*value));
    else
        m_settings.remove(QString::fromStdString(key));
    write();
}

void IniSettingsStore::setBoolean(const std::string& key, bool value) {
    m_settings.setValue(QString::fromStdString(key), value);
    write();
}

void IniSettingsStore::write() {
    // QSettings replaces the file and gives the new one the permissions of the one before. It would create a
    // folder, and for a moment a file, with those of the umask.
    const std::filesystem::path file = m_settings.fileName().toStdString();
    createPrivateFolder(file.parent_path());
    const FileHandle created(openPrivateFile(file, O_WRONLY | O_CREAT));
    m_settings.sync();
    if (m_settings.status() == QSettings::AccessError) logFault("cannot be written");
}

void IniSettingsStore::logFault(const char* what) {
    if (m_faultLogged) return;
    m_faultLogged = true;
    DebugLog::log("[app] settings " + m_settings.fileName().toStdString() + " " + what);
}

std::filesystem::path settingsFile() {
    const char* configHome = std::getenv("XDG_CONFIG_HOME");
    const bool absolute = configHome != nullptr && *configHome == '/';
    return (absolute ? std::filesystem::path(configHome) : homeFolder() / ".config") / "murmelo" /
           "murmelo.conf";
}
