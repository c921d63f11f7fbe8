// Apart from the other handles: a program that only writes files then needs no libavformat.

#include "platform/media/ffmpeg_handles.h"

extern "C" {
#include <libavformat/avformat.h>
}

void FfmpegDeleter::operator()(AVIOContext* io) const noexcept {
    av_freep(&io->buffer);
    avio_context_free(&io);
}

void FormatInputDeleter::operator()(AVFormatContext* format) const noexcept {
    avformat_close_input(&format);
}
