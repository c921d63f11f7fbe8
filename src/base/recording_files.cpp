#include "base/recording_files.h"

#include "base/home_folder.h"
#include "base/private_files.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <optional>
#include <string_view>

namespace {

/// The value of a line XDG_MUSIC_DIR="…", with $HOME and the shell's backslashes resolved.
std::optional<std::filesystem::path> musicEntry(std::string_view line, const std::filesystem::path& home) {
    constexpr std::string_view blanks = " \t";
    line.remove_prefix(std::min(line.find_first_not_of(blanks), line.size()));
    constexpr std::string_view key = "XDG_MUSIC_DIR=\"";
    if (!line.starts_with(key)) return std::nullopt;
    line.remove_prefix(key.size());

    std::string value;
    if (constexpr std::string_view homeWord = "$HOME"; line.starts_with(homeWord)) {
        value = home.string();
        line.remove_prefix(homeWord.size());
        if (!line.starts_with('/') && !line.starts_with('"')) return std::nullopt;
    } else if (!line.starts_with('/')) {
        return std::nullopt; // the convention knows only these two beginnings
    }
    for (std::size_t i = 0; i < line.size(); ++i) {
        if (line[i] == '"') return value;
        if (line[i] == '\\' && i + 1 < line.size()) ++i;
        value += line[i];
    }
    return std::nullopt; // no closing quotation mark
}

std::filesystem::path withoutTrailingSlash(const std::filesystem::path& path) {
    return path.has_filename() || path == path.root_path() ? path : path.parent_path();
}

} // namespace

std::filesystem::path musicFolder(const std::filesystem::path& home,
                                  const std::filesystem::path& configHome) {
    std::ifstream file(configHome / "user-dirs.dirs");
    std::filesystem::path music = home;
    for (std::string line; std::getline(file, line);)
        if (auto entry = musicEntry(line, home)) music = withoutTrailingSlash(*entry);
    return music;
}

std::filesystem::path placeOfRecordings() {
    const std::filesystem::path home = homeFolder();
    const char* configHome = std::getenv("XDG_CONFIG_HOME");
    const bool absolute = configHome != nullptr && *configHome == '/';
    return musicFolder(home, absolute ? std::filesystem::path(configHome) : home / ".config") / "Murmelo";
}

std::filesystem::path recordingsFolder() {
    std::filesystem::path folder = placeOfRecordings();
    createPrivateFolder(folder);
    return folder;
}

std::string recordingFolderName(std::chrono::system_clock::time_point start) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(start);
    std::tm local{};
    // Of its own accord localtime_r() reads the time zone only once in the life of a process, and a program
    // that stays in the tray sees the user travel. tzset() reads it anew. Both take a lock of the C library,
    // so other threads may convert times meanwhile; the variable TZ that it reads never changes while there
    // are threads.
    tzset();
    localtime_r(&seconds, &local);
    char text[64];
    std::snprintf(text, sizeof text, "recording-%04d-%02d-%02d-%02d%02d%02d", local.tm_year + 1900,
                  local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
    return text;
}
