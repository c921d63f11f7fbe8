#include "base/program_part.h"

#include "support/temporary_folder.h"

#include <gtest/gtest.h>

namespace {

TEST(ProgramPart, IsBelowTheExecutablesFolderOrBesideIt) {
    const TemporaryFolder folder;
    EXPECT_EQ(programPart(folder / "bin", "share/x.json"), folder / "share/x.json");
    std::filesystem::create_directories(folder / "bin/share");
    writeFile(folder / "bin/share/x.json", "");
    EXPECT_EQ(programPart(folder / "bin", "share/x.json"), folder / "bin/share/x.json");
}

TEST(ProgramPart, ItsPathHasNoStepsBack) {
    const TemporaryFolder folder;
    EXPECT_EQ(programPart(folder / "libexec/murmelo/..", "lib/x.so"), folder / "lib/x.so");
}

} // namespace
