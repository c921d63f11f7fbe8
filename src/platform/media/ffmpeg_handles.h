#pragma once

#include <memory>
#include <new>
#include <string_view>

// Declared, not included: FFmpeg's headers stay inside this room.
struct AVCodecContext;
struct AVFormatContext;
struct AVFrame;
struct AVIOContext;
struct AVPacket;
struct AVTXContext;
struct SwrContext;

/// Every object of FFmpeg's C interfaces has exactly one owner.
struct FfmpegDeleter {
    void operator()(AVCodecContext* codec) const noexcept;
    void operator()(AVFrame* frame) const noexcept;
    /// Frees the buffer as well, which FFmpeg may have replaced meanwhile.
    void operator()(AVIOContext* io) const noexcept;
    void operator()(AVPacket* packet) const noexcept;
    void operator()(AVTXContext* transform) const noexcept;
    void operator()(SwrContext* resampler) const noexcept;
};
/// Of a file that is read: one that is written has the same type and another end.
struct FormatInputDeleter {
    void operator()(AVFormatContext* format) const noexcept;
};

using CodecContextHandle = std::unique_ptr<AVCodecContext, FfmpegDeleter>;
using FrameHandle = std::unique_ptr<AVFrame, FfmpegDeleter>;
using IoContextHandle = std::unique_ptr<AVIOContext, FfmpegDeleter>;
using PacketHandle = std::unique_ptr<AVPacket, FfmpegDeleter>;
using ResamplerHandle = std::unique_ptr<SwrContext, FfmpegDeleter>;
using TransformHandle = std::unique_ptr<AVTXContext, FfmpegDeleter>;
using FormatInputHandle = std::unique_ptr<AVFormatContext, FormatInputDeleter>;

/// Hands a result that is not negative through; turns an AVERROR into Error{"ffmpeg", code, "<what>:
/// <FFmpeg's words for it>"}.
int checked(int result, std::string_view what);

/// For FFmpeg's allocators: throws std::bad_alloc for null.
template <typename Handle>
Handle allocated(typename Handle::pointer object) {
    if (object == nullptr) throw std::bad_alloc();
    return Handle(object);
}
