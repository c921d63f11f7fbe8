#include "platform/media/ffmpeg_handles.h"

#include "base/error.h"

#include <string>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/tx.h>
#include <libswresample/swresample.h>
}

void FfmpegDeleter::operator()(AVCodecContext* codec) const noexcept {
    avcodec_free_context(&codec);
}

void FfmpegDeleter::operator()(AVFrame* frame) const noexcept {
    av_frame_free(&frame);
}

void FfmpegDeleter::operator()(AVIOContext* io) const noexcept {
    av_freep(&io->buffer);
    avio_context_free(&io);
}

void FfmpegDeleter::operator()(AVPacket* packet) const noexcept {
    av_packet_free(&packet);
}

void FfmpegDeleter::operator()(AVTXContext* transform) const noexcept {
    av_tx_uninit(&transform);
}

void FfmpegDeleter::operator()(SwrContext* resampler) const noexcept {
    swr_free(&resampler);
}

void FormatInputDeleter::operator()(AVFormatContext* format) const noexcept {
    avformat_close_input(&format);
}

int checked(int result, std::string_view what) {
    if (result >= 0) return result;
    char words[AV_ERROR_MAX_STRING_SIZE] = "";
    av_strerror(result, words, sizeof words);
    throw Error("ffmpeg", result, std::string(what) + ": " + words);
}
