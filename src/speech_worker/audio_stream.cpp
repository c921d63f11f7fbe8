#include "speech_worker/audio_stream.h"

#include "platform/media/audio_reader.h"

void decodeFile(int descriptor, const AudioSink& sink) {
    decodeTo16kMono(FileHandle(descriptor), sink);
}
