#include "platform/media/mp4_audio_input.h"

#include "base/error.h"
#include "platform/media/ffmpeg_log.h"
#include "platform/posix/regular_file.h"

#include <algorithm>
#include <cerrno>
#include <unistd.h>
#include <utility>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/mathematics.h>
#include <libavutil/mem.h>
}

namespace {

constexpr const char* cannotOpen = "The audio file cannot be opened";

FileHandle beginningOf(FileHandle file) {
    requireRegularFile(file);
    if (::lseek(file.get(), 0, SEEK_SET) < 0) throw Error::posix(errno);
    return file;
}

Error refusal(const char* sentence) {
    return {"ffmpeg", AVERROR_INVALIDDATA, sentence};
}

bool isPicture(const AVStream& stream) {
    return (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) != 0; // cover art, kept as a "video"
}

/// Nothing that a file refers to is ever opened.
int refuseToOpen(AVFormatContext*, AVIOContext**, const char*, int, AVDictionary**) noexcept {
    return AVERROR(EPERM);
}

} // namespace

Mp4AudioInput::Mp4AudioInput(FileHandle file)
    : m_io(beginningOf(std::move(file))), m_packet(allocated<PacketHandle>(av_packet_alloc())) {
    sendFfmpegLogToDebugLog();
    // A few bytes can announce an index of gigabytes. This leaves room for a recording of several days.
    av_max_alloc(std::size_t{1} << 30);

    AVFormatContext* format = avformat_alloc_context();
    if (format == nullptr) throw std::bad_alloc();
    format->pb = m_io.context();
    format->flags |= AVFMT_FLAG_CUSTOM_IO;
    format->io_open = refuseToOpen;
    // Naming the format means no guessing: a file of any other kind is refused.
    const int result = avformat_open_input(&format, nullptr, av_find_input_format("mov"), nullptr);
    m_format.reset(format); // null after a failure
    if (m_io.error() != 0) throw Error::posix(m_io.error());
    checked(result, cannotOpen);
    findTrack();
}

void Mp4AudioInput::findTrack() {
    for (unsigned i = 0; i < m_format->nb_streams; ++i) {
        const AVStream& stream = *m_format->streams[i];
        if (isPicture(stream)) continue;
        if (stream.codecpar->codec_id != AV_CODEC_ID_AAC || m_track >= 0)
            throw refusal("The audio file cannot be opened: it holds more than one AAC track.");
        m_track = static_cast<int>(i);
    }
    if (m_track < 0) throw refusal("The audio file cannot be opened: it holds no AAC track.");
    if (sampleRate() < 1 || sampleRate() > 96000)
        throw refusal("The audio file cannot be opened: its sample rate is missing or out of range.");
    if (channels() < 1 || channels() > 2)
        throw refusal("The audio file cannot be opened: it is neither mono nor stereo.");
}

int Mp4AudioInput::sampleRate() const {
    return codec().sample_rate;
}

int Mp4AudioInput::channels() const {
    return codec().ch_layout.nb_channels;
}

const AVCodecParameters& Mp4AudioInput::codec() const {
    return *m_format->streams[m_track]->codecpar;
}

std::optional<Mp4AudioInput::Piece> Mp4AudioInput::next() {
    constexpr int tolerated = 500; // about ten seconds
    while (m_unreadable <= tolerated) {
        av_packet_unref(m_packet.get());
        const int result = av_read_frame(m_format.get(), m_packet.get());
        if (m_io.error() != 0) throw Error::posix(m_io.error());
        if (result == AVERROR_EOF) return std::nullopt;
        if (result == AVERROR(ENOMEM)) throw std::bad_alloc();
        const bool whole = result >= 0 && (m_packet->flags & AV_PKT_FLAG_CORRUPT) == 0 &&
                           m_packet->size > 0 && m_packet->pts != AV_NOPTS_VALUE;
        if (!whole)
            ++m_unreadable;
        else if (m_packet->stream_index == m_track)
            return pieceOfPacket();
    }
    throw refusal("The audio file is damaged: too many of its packets cannot be read.");
}

/// FFmpeg has applied the edit list to the times: sample 0 of the recording has time 0, padding lies before
/// it.
Mp4AudioInput::Piece Mp4AudioInput::pieceOfPacket() {
    const AVStream& track = *m_format->streams[m_track];
    const auto inSamples = [&](std::int64_t time) {
        return av_rescale_q(time, track.time_base, {1, sampleRate()});
    };
    constexpr std::int64_t whole = samplesPerPacket;
    const std::int64_t first = -std::clamp<std::int64_t>(inSamples(m_packet->pts), -whole, 0);
    // Fragments (ISO/IEC 14496-12, 8.8) come without durations.
    const std::int64_t end = m_packet->duration > 0 ? std::min(inSamples(m_packet->duration), whole) : whole;
    std::int64_t count = std::max<std::int64_t>(end - first, 0);
    if ((m_packet->flags & AV_PKT_FLAG_DISCARD) != 0) count = 0;
    if (track.duration >= 0) // AV_NOPTS_VALUE is negative
        count = std::clamp<std::int64_t>(inSamples(track.duration) - m_frames, 0, count);
    m_frames += count;
    return {m_packet.get(), static_cast<int>(first), static_cast<int>(count)};
}
