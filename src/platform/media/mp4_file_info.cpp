#include "platform/media/mp4_file_info.h"

#include "platform/media/mp4_audio_input.h"

AudioFileFacts Mp4FileInfo::open(const std::filesystem::path& file) {
    Mp4AudioInput input(file);
    std::int64_t frames = 0;
    while (const auto piece = input.next()) frames += piece->count;
    return {frames, static_cast<double>(input.sampleRate())};
}
