#include "base/error.h"
#include "platform/media/media_fixture.h"

#include <cerrno>
#include <csignal>
#include <string>
#include <sys/mount.h>
#include <sys/resource.h>
#include <utility>

namespace {

class FullDiskTest : public MediaTest {
  protected:
    /// Writes until it fails; the errno, 0 when a minute of sound found its place.
    static int writeUntilFull(AudioFileWriter& writer) {
        const std::vector<float> sound = noise(48000);
        for (int second = 0; second < 60; ++second) {
            try {
                writer.write(sound, sound);
            } catch (const Error& error) {
                EXPECT_EQ(error.domain(), "posix");
                return error.code();
            }
        }
        return 0;
    }

    static std::ptrdiff_t openDescriptors() {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    }
};

/// The largest file that this process may write, for a scope; without the signal that comes with it.
class FileSizeLimit {
  public:
    explicit FileSizeLimit(rlim_t bytes) : m_handler(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &m_previous);
        const rlimit limit{bytes, m_previous.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() {
        setrlimit(RLIMIT_FSIZE, &m_previous);
        std::signal(SIGXFSZ, m_handler);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

  private:
    rlimit m_previous{};
    void (*m_handler)(int);
};

TEST_F(FullDiskTest, EveryWriteAfterTheFirstFailureFailsTheSameAndClosingIsQuiet) {
    const std::ptrdiff_t before = openDescriptors();
    {
        const FileSizeLimit limit(100000);
        const auto writer = createFile(folder / "voice.m4a");
        EXPECT_EQ(writeUntilFull(*writer), EFBIG);
        EXPECT_EQ(writeUntilFull(*writer), EFBIG);
    }
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_TRUE(log.messages().empty());
    EXPECT_EQ(std::filesystem::file_size(folder / "voice.m4a"), 100000U);
    EXPECT_THROW(Mp4FileInfo().open(folder / "voice.m4a"), Error); // the index comes last
}

TEST_F(FullDiskTest, FailureThatShowsOnlyAtTheEndIsLogged) {
    {
        const FileSizeLimit limit(1000);
        const std::vector<float> sound = noise(2000); // stays inside the encoder until the end
        createFile(folder / "voice.m4a")->write(sound, sound);
    }
    ASSERT_EQ(log.messages().size(), 1U);
    EXPECT_EQ(log.messages().front(),
              "[rec] closing voice.m4a failed: Error Domain=posix Code=27 \"File too large\"");
}

TEST_F(FullDiskTest, FileThatCannotEvenBeginIsRemoved) {
    const FileSizeLimit limit(8);
    try {
        createFile(folder / "voice.m4a");
        ADD_FAILURE() << "created";
    } catch (const Error& error) {
        EXPECT_EQ(error.code(), EFBIG);
    }
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

/// A file system of 64 KiB, for a scope; where this process may mount one.
class SmallDisk {
  public:
    explicit SmallDisk(std::filesystem::path place) : m_place(std::move(place)) {
        std::filesystem::create_directory(m_place);
        m_mounted = mount("murmelo-test", m_place.c_str(), "tmpfs", 0, "size=65536") == 0;
    }
    ~SmallDisk() {
        if (m_mounted) umount2(m_place.c_str(), MNT_DETACH);
    }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;

    bool mounted() const { return m_mounted; }

  private:
    std::filesystem::path m_place;
    bool m_mounted = false;
};

TEST_F(FullDiskTest, FullFileSystemIsNamedByTheSystem) {
    const SmallDisk disk(folder / "disk");
    if (!disk.mounted()) GTEST_SKIP() << "only root may mount a small file system";
    const auto writer = createFile(folder / "disk" / "voice.m4a");
    EXPECT_EQ(writeUntilFull(*writer), ENOSPC);
}

} // namespace
