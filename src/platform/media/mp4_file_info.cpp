#include "platform/media/mp4_file_info.h"

#include "platform/media/mp4_audio_input.h"
#include "platform/posix/regular_file.h"

AudioFileFacts Mp4FileInfo::open(const std::filesystem::path& file) {
    Mp4AudioInput input(openRegularFile(file));
    std::int64_t frames = 0;
    while (const auto piece = input.next()) frames += piece->count;
    return {frames, static_cast<double>(input.sampleRate())};
}
