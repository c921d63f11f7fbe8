// The longest time for which the writer's thread is held up while another program fills the disk: by three of
// our files, and by three fragmented files of libavformat that are copied at the end. Both write the same
// packets, at the same time, on a thread of their own each, after an hour of sound. Prints milliseconds.
//
//   busy_disk FOLDER [SECONDS]

#include "fragmented_library_file.h"

#include "base/error.h"
#include "platform/media/mp4_track_writer.h"
#include "platform/posix/child_process.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <memory>
#include <random>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr std::int64_t packetsPerHour = 3600 * 48000 / 1024;
constexpr auto packetTime = std::chrono::nanoseconds(1024LL * 1000000000 / 48000);

/// Some seconds of sound, to be written again and again.
std::vector<std::vector<std::uint8_t>> encodedNoise() {
    std::vector<float> noise(480000);
    std::minstd_rand random;
    std::uniform_real_distribution<float> loudness(-0.3F, 0.3F);
    std::generate(noise.begin(), noise.end(), [&] { return loudness(random); });
    std::vector<std::vector<std::uint8_t>> packets;
    AacEncoder().encode(noise, noise, [&](const AacPacket& packet) {
        packets.emplace_back(packet.bytes.begin(), packet.bytes.end());
    });
    return packets;
}

struct Stalls {
    Milliseconds writing{0};
    Milliseconds closing{0};
    Milliseconds longest() const { return std::max(writing, closing); }
};

/// What a writer's thread does with the three files of a recording.
template <typename File>
class Writer {
  public:
    template <typename Make>
    Writer(const std::vector<std::vector<std::uint8_t>>& packets, const Make& make)
        : m_packets(packets), m_files{make("voice.m4a"), make("system.m4a"), make("mix.m4a")} {}

    void writeAnHour() {
        while (m_next < packetsPerHour) writePacket();
    }
    /// Writes in real time for so long and closes.
    Stalls record(std::chrono::seconds time) {
        Stalls stalls;
        Clock::time_point due = Clock::now();
        for (const Clock::time_point end = due + time; due < end; due += packetTime) {
            std::this_thread::sleep_until(due);
            stalls.writing = std::max(stalls.writing, timeOf([this] { writePacket(); }));
        }
        stalls.closing = timeOf([this] {
            for (const auto& file : m_files) file->finish();
        });
        return stalls;
    }

  private:
    template <typename Work>
    static Milliseconds timeOf(const Work& work) {
        const Clock::time_point begin = Clock::now();
        work();
        return Clock::now() - begin;
    }
    void writePacket() {
        const auto& bytes = m_packets[static_cast<std::size_t>(m_next) % m_packets.size()];
        for (const auto& file : m_files) file->append({bytes, (m_next - 1) * 1024, 1024});
        ++m_next;
    }

    const std::vector<std::vector<std::uint8_t>>& m_packets;
    std::vector<std::shared_ptr<File>> m_files;
    std::int64_t m_next = 0;
};

/// Fills the disk with 4 GB again and again.
std::jthread fill(const std::filesystem::path& file) {
    return std::jthread([file](const std::stop_token& stop) {
        while (!stop.stop_requested())
            ChildProcess("/usr/bin/dd", {"if=/dev/zero", "of=" + file.string(), "bs=1M", "count=4096"})
                .run([](std::string_view) {}, stop);
    });
}

void print(const char* what, const Stalls& ours, const Stalls& theirs, Milliseconds Stalls::* stall) {
    std::printf("  %-22s %10.1f %14.1f %8.1f\n", what, (ours.*stall).count(), (theirs.*stall).count(),
                theirs.*stall / (ours.*stall));
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fputs("Name a folder on the disk to measure.\n", stderr);
        return 2;
    }
    const std::filesystem::path folder = std::filesystem::path(argv[1]) / "busy_disk";
    const std::chrono::seconds time(argc > 2 ? std::atoi(argv[2]) : 30);
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder / "ours");
    std::filesystem::create_directories(folder / "theirs");

    const auto packets = encodedNoise();
    const AacStream stream = AacEncoder().stream();
    Stalls ours;
    Stalls theirs;
    {
        SyncThread disk([](const std::filesystem::path&, const Error&) {});
        Writer<Mp4TrackWriter> writer(packets, [&](const char* name) {
            return std::make_shared<Mp4TrackWriter>(systemFileCalls(), disk, folder / "ours" / name, stream);
        });
        Writer<FragmentedLibraryFile> rival(packets, [&](const char* name) {
            return std::make_shared<FragmentedLibraryFile>(folder / "theirs" / name, stream);
        });
        writer.writeAnHour();
        rival.writeAnHour();
        const std::jthread filling = fill(folder / "fill");
        auto rivals = std::async(std::launch::async, [&] { return rival.record(time); });
        ours = writer.record(time);
        theirs = rivals.get();
    }
    std::printf(
        "longest stall, ms             murmelo    libavformat    ratio   (%lld s, disk being filled)\n",
        static_cast<long long>(time.count()));
    print("while recording", ours, theirs, &Stalls::writing);
    print("closing after an hour", ours, theirs, &Stalls::closing);
    std::printf("  %-22s %10.1f %14.1f %8.1f   (goal: 20 ms)\n", "of the two", ours.longest().count(),
                theirs.longest().count(), theirs.longest() / ours.longest());
    std::filesystem::remove_all(folder);
    return 0;
}
