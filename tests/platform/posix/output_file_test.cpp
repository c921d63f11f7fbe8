#include "platform/posix/output_file.h"

#include "base/error.h"
#include "support/temporary_folder.h"
#include "support/with_umask.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <gtest/gtest.h>

namespace {

TEST(OutputFile, NewFileIsForItsOwnerAloneAndCanBeOpenedAgainWhateverTheUmask) {
    for (const mode_t mask : testedUmasks) {
        const TemporaryFolder folder;
        const std::filesystem::path path = folder / "voice.m4a";
        withUmask(mask, [&] {
            constexpr std::array<std::uint8_t, 3> bytes{1, 2, 3};
            OutputFile::create(systemFileCalls(), path).write(bytes, 0);
        });
        EXPECT_EQ(modeOf(path), 0600U) << mask;
        EXPECT_EQ(OutputFile::open(systemFileCalls(), path).size(), 3U) << mask;
    }
}

TEST(OutputFile, FileThatExistsIsNotCreatedAndKeepsItsMode) {
    const TemporaryFolder folder;
    writeFile(folder / "voice.m4a", "a recording");
    std::filesystem::permissions(folder / "voice.m4a", std::filesystem::perms(0644));
    try {
        OutputFile::create(systemFileCalls(), folder / "voice.m4a");
        FAIL() << "created";
    } catch (const Error& error) {
        EXPECT_EQ(error.code(), EEXIST);
    }
    EXPECT_EQ(modeOf(folder / "voice.m4a"), 0644U);
    EXPECT_EQ(contentOf(folder / "voice.m4a"), "a recording");
}

} // namespace
