#include "platform/media/media_fixture.h"
#include "platform/media/mp4_recovery.h"
#include "platform/media/mp4_track_writer.h"
#include "platform/media/recorded_length.h"
#include "support/file_journal.h"

#include <cstring>
#include <string>

namespace {

/// Leaves the packets of fragments out: a file of any size costs next to nothing.
class SparseCalls : public UnsyncedCalls {
  public:
    ssize_t pwrite(int file, const void* bytes, std::size_t count, off_t at) override {
        constexpr std::size_t headOfFragment = 512;
        const bool isFragment =
            count > headOfFragment && std::memcmp(static_cast<const char*>(bytes) + 4, "moof", 4) == 0;
        if (!isFragment) return FileCalls::pwrite(file, bytes, count, at);
        const char last = static_cast<const char*>(bytes)[count - 1];
        if (FileCalls::pwrite(file, bytes, headOfFragment, at) != headOfFragment ||
            FileCalls::pwrite(file, &last, 1, at + static_cast<off_t>(count) - 1) != 1)
            return -1;
        return static_cast<ssize_t>(count);
    }
    int fallocate(int, int, off_t, off_t) override { return 0; }
};

TEST_F(MediaTest, FileAboveFourGibibytesIsClosedAndMendedLikeAnyOther) {
    const auto file = folder / "voice.m4a";
    SparseCalls calls;
    constexpr std::int64_t packets = 3070 * packetsInFragment; // of the largest size
    constexpr std::int64_t frames = (packets - 1) * 1024;
    {
        SyncThread disk([](const std::filesystem::path&, const Error&) {});
        Mp4TrackWriter writer(calls, disk, file, AacEncoder().stream());
        const std::vector<std::uint8_t> bytes(65535);
        for (std::int64_t i = 0; i < packets; ++i) writer.append({bytes, (i - 1) * 1024, 1024});
    } // not finished, as after a crash
    EXPECT_GT(std::filesystem::file_size(file), std::uintmax_t{1} << 32);
    EXPECT_EQ(recordedLength(file).value().frames, frames) << "open";
    Mp4Recovery recovery(calls);
    const RecoveredFile mended = recovery.recoverFile(file, RecordingRecovery::Mode::mend);
    EXPECT_EQ(mended.state, RecoveredFile::State::mended);
    EXPECT_EQ(mended.seconds, frames / 48000.0);
    EXPECT_EQ(recovery.recoverFile(file, RecordingRecovery::Mode::mend).state, RecoveredFile::State::whole);
    EXPECT_EQ(decodedLengthOf(file).frames, frames);
    EXPECT_EQ(recordedLength(file).value().frames, frames) << "closed";
}

} // namespace
