#include "platform/media/decoded_length.h"

#include "platform/media/mp4_audio_input.h"

#include <utility>

AudioFileFacts decodedLength(FileHandle file) {
    Mp4AudioInput input(std::move(file));
    std::int64_t frames = 0;
    while (const auto piece = input.next()) frames += piece->count;
    return {frames, static_cast<double>(input.sampleRate())};
}
