#include "platform/media/mp4_recovery.h"
#include "platform/posix/file_handle.h"
#include "support/decoded_audio.h"
#include "support/environment.h"
#include "support/log_capture.h"
#include "support/recorder_progress.h"
#include "support/running_program.h"
#include "support/temporary_folder.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <iostream>
#include <random>
#include <string>
#include <sys/mman.h>
#include <thread>
#include <vector>

namespace {

using State = RecoveredFile::State;

/// Kills a recording program at any moment: while it begins a file, records, or closes.
class KillTest : public testing::Test {
  protected:
    KillTest() {
        const FileHandle file(open(progressFile.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
        EXPECT_EQ(ftruncate(file.get(), sizeof(RecorderProgress)), 0);
        m_memory = mmap(nullptr, sizeof(RecorderProgress), PROT_READ, MAP_SHARED, file.get(), 0);
        EXPECT_NE(m_memory, MAP_FAILED);
    }
    ~KillTest() override { munmap(m_memory, sizeof(RecorderProgress)); }
    KillTest(const KillTest&) = delete;
    KillTest& operator=(const KillTest&) = delete;

    const RecorderProgress& progress() const { return *static_cast<const RecorderProgress*>(m_memory); }

    /// What the ffmpeg program decodes; -1 when it cannot.
    static std::int64_t framesForFfmpeg(const std::filesystem::path& file) {
        const std::string command = "ffmpeg -v error -i '" + file.string() + "' -f s16le - | wc -c";
        FILE* const pipe = popen(command.c_str(), "r");
        long bytes = -4;
        if (std::fscanf(pipe, "%ld", &bytes) != 1) bytes = -4;
        pclose(pipe);
        return bytes / 4;
    }

    /// The frames that are lost of the file that was being recorded.
    std::int64_t recordKillAndRecover(unsigned seed, std::chrono::microseconds life) {
        const auto place = folder / std::to_string(seed);
        std::filesystem::create_directory(place);
        std::filesystem::resize_file(progressFile, 0); // zeros again
        std::filesystem::resize_file(progressFile, sizeof(RecorderProgress));
        {
            RunningProgram recorder({MURMELO_ENDLESS_RECORDER, place, progressFile, std::to_string(seed)});
            std::this_thread::sleep_for(life);
            recorder.end(SIGKILL);
        }
        std::int64_t lost = 0;
        for (int number = 0; number <= progress().file; ++number) {
            const auto file = place / (std::to_string(number) + ".m4a");
            const std::int64_t recorded = progress().frames[number];
            const bool last = number == progress().file;
            if (!std::filesystem::exists(file)) {
                EXPECT_TRUE(last && recorded == 0);
                continue;
            }
            const RecoveredFile result = recovery.recoverFile(file, RecordingRecovery::Mode::mend);
            if (last && recorded == 0 && result.state == State::foreign) continue; // not even begun
            EXPECT_TRUE(result.state == State::whole || (last && result.state == State::mended))
                << file << result.reason;
            const std::int64_t frames = std::llround(result.seconds * 48000);
            EXPECT_EQ(decodedLengthOf(file).frames, frames);
            EXPECT_TRUE(last || frames == recorded) << file;
            if (!last) continue;
            lost = std::max<std::int64_t>(recorded - frames, 0);
            if (!ffmpegIsMissing) { // it gives out the last packet in whole
                EXPECT_EQ(framesForFfmpeg(file), (frames + 1023) / 1024 * 1024) << file;
            }
        }
        std::filesystem::remove_all(place);
        return lost;
    }

    LogCapture log;
    TemporaryFolder folder;
    const ScopedEnvironment home{"HOME", folder.path()}; // of the recording program
    const std::filesystem::path progressFile = folder / "progress";
    Mp4Recovery recovery;
    const bool ffmpegIsMissing = std::system("ffmpeg -version > /dev/null 2>&1") != 0;

  private:
    void* m_memory = nullptr;
};

int kills() {
    const char* const wanted = std::getenv("MURMELO_KILLS"); // more by hand
    return wanted != nullptr ? std::atoi(wanted) : 50;
}

TEST_F(KillTest, EveryFileCanBeReadAndLacksAtMostItsLastSecond) {
    std::minstd_rand random(static_cast<unsigned>(testing::UnitTest::GetInstance()->random_seed()) + 1);
    std::vector<std::int64_t> lost;
    for (int i = 0; i < kills(); ++i) {
        const std::chrono::microseconds life(20000 + random() % 300000);
        lost.push_back(recordKillAndRecover(static_cast<unsigned>(i + 1), life));
    }
    std::sort(lost.begin(), lost.end());
    const auto seconds = [](std::int64_t frames) { return static_cast<double>(frames) / 48000; };
    std::cout << lost.size() << " kills, lost: median " << seconds(lost[lost.size() / 2]) << " s, most "
              << seconds(lost.back()) << " s" << std::endl;
    EXPECT_LE(seconds(lost.back()), 1.2);
}

} // namespace
