#include "models/models_folder.h"

#include "support/environment.h"

#include <gtest/gtest.h>
#include <optional>
#include <string>

namespace {

TEST(ModelsFolder, IsInTheFolderOfTheUsersData) {
    const ScopedEnvironment home("HOME", "/home/someone");
    for (const std::optional<std::string>& none : {std::optional<std::string>(), {""}, {"relative"}}) {
        const ScopedEnvironment data("XDG_DATA_HOME", none);
        EXPECT_EQ(modelsFolder(), "/home/someone/.local/share/murmelo/models");
    }
    const ScopedEnvironment data("XDG_DATA_HOME", "/data");
    EXPECT_EQ(modelsFolder(), "/data/murmelo/models");
}

} // namespace
