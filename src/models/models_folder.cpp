#include "models/models_folder.h"

#include "base/home_folder.h"

#include <cstdlib>

std::filesystem::path modelsFolder() {
    const char* dataHome = std::getenv("XDG_DATA_HOME");
    const bool absolute = dataHome != nullptr && *dataHome == '/';
    return (absolute ? std::filesystem::path(dataHome) : homeFolder() / ".local/share") / "murmelo/models";
}
