// How long the writer's thread is busy with closing two hours of sound, which must not hold up the next
// start, and what a copy of the file at the end costs instead. Prints milliseconds.
//
//   close_recording FOLDER

#include "base/error.h"
#include "platform/media/aac_encoder.h"
#include "platform/media/mp4_track_writer.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

double millisecondsSince(Clock::time_point begin) {
    return std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("Name a folder on the disk to measure.\n", stderr);
        return 2;
    }
    const std::filesystem::path file = std::filesystem::path(argv[1]) / "close_recording.m4a";
    const std::filesystem::path copy = std::filesystem::path(argv[1]) / "close_recording.copy";
    constexpr std::int64_t packets = 2 * 3600 * 48000 / 1024;
    const std::vector<std::uint8_t> bytes(341, 0x55); // what 128 kbit/s come to
    std::filesystem::remove(file);

    SyncThread disk([](const std::filesystem::path&, const Error&) {});
    Mp4TrackWriter writer(systemFileCalls(), disk, file, AacEncoder().stream());
    double longestAppend = 0;
    for (std::int64_t i = 0; i < packets; ++i) {
        const Clock::time_point begin = Clock::now();
        writer.append({bytes, (i - 1) * 1024, 1024});
        longestAppend = std::max(longestAppend, millisecondsSince(begin));
    }
    Clock::time_point begin = Clock::now();
    writer.finish();
    const double closing = millisecondsSince(begin);
    begin = Clock::now();
    std::filesystem::copy_file(file, copy, std::filesystem::copy_options::overwrite_existing);
    const double copying = millisecondsSince(begin);

    std::printf("closing two hours (%.1f MB)    %8.1f ms\n",
                static_cast<double>(std::filesystem::file_size(file)) / 1e6, closing);
    std::printf("copying them instead           %8.1f ms  (%.0f times as long)\n", copying,
                copying / closing);
    std::printf("longest write on the way       %8.1f ms\n", longestAppend);
    std::filesystem::remove(file);
    std::filesystem::remove(copy);
    return 0;
}
