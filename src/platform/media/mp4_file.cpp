#include "platform/media/mp4_file.h"

#include "base/error.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <new>
#include <system_error>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/dict.h>
}

namespace {

FileHandle createNew(const std::filesystem::path& path) {
    FileHandle file(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    if (!file) throw Error::posix(errno);
    return file;
}

struct Options {
    AVDictionary* entries = nullptr;

    Options() = default;
    ~Options() { av_dict_free(&entries); }
    Options(const Options&) = delete;
    Options& operator=(const Options&) = delete;
};

} // namespace

Mp4File::Mp4File(const std::filesystem::path& path, const AacStream& stream)
    : m_io(createNew(path), DescriptorIo::Direction::write) {
    try {
        writeHead(stream);
    } catch (...) {
        std::error_code ignored;
        std::filesystem::remove(path, ignored); // O_EXCL: it is ours
        throw;
    }
}

void Mp4File::writeHead(const AacStream& stream) {
    m_packet = allocated<PacketHandle>(av_packet_alloc());
    AVFormatContext* format = nullptr;
    confirm(avformat_alloc_output_context2(&format, nullptr, "ipod", nullptr)); // "ipod" is .m4a
    m_format.reset(format);
    format->pb = m_io.context();
    format->flags |= AVFMT_FLAG_CUSTOM_IO;

    AVStream* const track = avformat_new_stream(format, nullptr);
    if (track == nullptr) throw std::bad_alloc();
    track->time_base = {1, stream.sampleRate};
    AVCodecParameters& codec = *track->codecpar;
    codec.codec_type = AVMEDIA_TYPE_AUDIO;
    codec.codec_id = AV_CODEC_ID_AAC;
    codec.sample_rate = stream.sampleRate;
    codec.bit_rate = stream.bitRate;
    codec.frame_size = 1024;
    codec.initial_padding = stream.initialPadding;
    av_channel_layout_default(&codec.ch_layout, stream.channels);
    const std::size_t configSize = stream.audioSpecificConfig.size();
    codec.extradata = static_cast<std::uint8_t*>(av_mallocz(configSize + AV_INPUT_BUFFER_PADDING_SIZE));
    if (codec.extradata == nullptr) throw std::bad_alloc();
    std::copy(stream.audioSpecificConfig.begin(), stream.audioSpecificConfig.end(), codec.extradata);
    codec.extradata_size = static_cast<int>(configSize);

    Options options;
    // The edit list counts in this unit; milliseconds, the usual one, would cut to the nearest 48 samples.
    confirm(av_dict_set_int(&options.entries, "movie_timescale", stream.sampleRate, 0));
    confirm(avformat_write_header(format, &options.entries));
    avio_flush(format->pb); // a disk that is full already says so now
    confirm(0);
}

void Mp4File::append(const AacPacket& packet) {
    // Borrowed: without a buffer of its own the packet is written or copied before the call returns.
    m_packet->data = const_cast<std::uint8_t*>(packet.bytes.data());
    m_packet->size = static_cast<int>(packet.bytes.size());
    m_packet->pts = packet.pts;
    m_packet->dts = packet.pts;
    m_packet->duration = packet.duration;
    m_packet->stream_index = 0;
    m_packet->flags = AV_PKT_FLAG_KEY;
    confirm(av_write_frame(m_format.get(), m_packet.get()));
}

void Mp4File::finish() {
    confirm(av_write_trailer(m_format.get()));
    avio_flush(m_format->pb);
    m_io.close();
    confirm(0);
}

/// The system's error comes first: FFmpeg may report it late, as another one, or not at all.
void Mp4File::confirm(int result) {
    if (m_io.error() != 0) throw Error::posix(m_io.error());
    checked(result, "The audio file could not be written");
}
