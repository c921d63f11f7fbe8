// Records one file after the other, as fast as it can, until it is killed.
//
//   endless_recorder FOLDER PROGRESS SEED

#include "platform/media/aac_file_writer.h"
#include "platform/posix/file_handle.h"
#include "support/audio_signals.h"
#include "support/recorder_progress.h"

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <random>
#include <string>
#include <sys/mman.h>

int main(int, char** argv) {
    const std::filesystem::path folder = argv[1];
    const FileHandle file(open(argv[2], O_RDWR | O_CLOEXEC));
    void* const memory =
        mmap(nullptr, sizeof(RecorderProgress), PROT_READ | PROT_WRITE, MAP_SHARED, file.get(), 0);
    if (memory == MAP_FAILED) return EXIT_FAILURE;
    auto& progress = *static_cast<RecorderProgress*>(memory);
    std::minstd_rand random(static_cast<unsigned>(std::stoul(argv[3])));

    const std::vector<float> sound = noise(1024 + 256);
    AacFileWriterFactory factory;
    for (int number = 0; number < RecorderProgress::mostFiles; ++number) {
        progress.file = number;
        const auto writer = factory.create(folder / (std::to_string(number) + ".m4a"), {});
        const std::int64_t length = random() % 384000;
        while (progress.frames[number] < length) {
            const std::span<const float> block(sound.data(), 256 + random() % 1024);
            writer->write(block, block);
            progress.frames[number] += static_cast<std::int64_t>(block.size());
        }
    }
    return EXIT_SUCCESS;
}
