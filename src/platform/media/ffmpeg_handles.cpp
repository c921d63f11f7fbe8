#include "platform/media/ffmpeg_handles.h"

#include "base/error.h"

#include <string>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/tx.h>
#include <libswresample/swresample.h>
}

void FfmpegDeleter::operator()(AVCodecContext* codec) const noexcept {
    avcodec_free_context(&codec);
}

void FfmpegDeleter::operator()(AVFrame* frame) const noexcept {
    av_frame_free(&frame);
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

int checked(int result, std::string_view what) {
    if (result >= 0) return result;
    char words[AV_ERROR_MAX_STRING_SIZE] = "";
    av_strerror(result, words, sizeof words);
    throw Error("ffmpeg", result, std::string(what) + ": " + words);
}
