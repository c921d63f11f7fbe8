#include "base/home_folder.h"

#include <array>
#include <cstdlib>
#include <pwd.h>
#include <unistd.h>

std::filesystem::path homeFolder() {
    if (const char* home = std::getenv("HOME"); home != nullptr && *home != '\0') return home;
    std::array<char, 16384> buffer{};
    passwd entry{};
    passwd* found = nullptr;
    if (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found != nullptr)
        return found->pw_dir;
    return "/";
}
