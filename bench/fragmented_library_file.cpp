#include "fragmented_library_file.h"

#include "platform/posix/file_handle.h"

#include <algorithm>
#include <fcntl.h>
#include <utility>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace {

/// A new file with one stream, ready for packets.
AVFormatContext* begun(const std::filesystem::path& path, const AVCodecParameters& parameters,
                       bool fragmented) {
    AVFormatContext* output = nullptr;
    checked(avformat_alloc_output_context2(&output, nullptr, "ipod", path.c_str()), "output");
    AVStream* const stream = avformat_new_stream(output, nullptr);
    checked(avcodec_parameters_copy(stream->codecpar, &parameters), "parameters");
    stream->codecpar->codec_tag = 0;
    stream->time_base = {1, parameters.sample_rate};
    checked(avio_open(&output->pb, path.c_str(), AVIO_FLAG_WRITE), "open");
    AVDictionary* options = nullptr;
    if (fragmented) {
        av_dict_set(&options, "movflags", "+empty_moov+delay_moov+default_base_moof", 0);
        av_dict_set(&options, "frag_duration", "1000000", 0);
    }
    output->flush_packets = 1; // a fragment goes to the system when it is whole
    checked(avformat_write_header(output, &options), "header");
    av_dict_free(&options);
    return output;
}

void end(AVFormatContext* output) {
    checked(av_write_trailer(output), "trailer");
    avio_closep(&output->pb);
    avformat_free_context(output);
}

} // namespace

FragmentedLibraryFile::FragmentedLibraryFile(std::filesystem::path path, const AacStream& stream)
    : m_path(std::move(path)), m_packet(av_packet_alloc()) {
    AVCodecParameters* parameters = avcodec_parameters_alloc();
    parameters->codec_type = AVMEDIA_TYPE_AUDIO;
    parameters->codec_id = AV_CODEC_ID_AAC;
    parameters->sample_rate = stream.sampleRate;
    parameters->frame_size = 1024;
    parameters->initial_padding = stream.initialPadding;
    av_channel_layout_default(&parameters->ch_layout, stream.channels);
    parameters->extradata_size = static_cast<int>(stream.audioSpecificConfig.size());
    parameters->extradata = static_cast<std::uint8_t*>(
        av_mallocz(stream.audioSpecificConfig.size() + AV_INPUT_BUFFER_PADDING_SIZE));
    std::copy(stream.audioSpecificConfig.begin(), stream.audioSpecificConfig.end(), parameters->extradata);
    m_output = begun(m_path, *parameters, true);
    avcodec_parameters_free(&parameters);
}

FragmentedLibraryFile::~FragmentedLibraryFile() {
    if (m_output != nullptr) end(m_output);
}

void FragmentedLibraryFile::append(const AacPacket& packet) {
    m_packet->data = const_cast<std::uint8_t*>(packet.bytes.data()); // the muxer copies what it keeps
    m_packet->size = static_cast<int>(packet.bytes.size());
    m_packet->pts = m_packet->dts = packet.pts;
    m_packet->duration = packet.duration;
    m_packet->flags = AV_PKT_FLAG_KEY;
    m_packet->stream_index = 0;
    av_packet_rescale_ts(m_packet.get(), {1, AacEncoder::sampleRate}, m_output->streams[0]->time_base);
    checked(av_write_frame(m_output, m_packet.get()), "packet");
}

void FragmentedLibraryFile::finish() {
    end(std::exchange(m_output, nullptr));
    const std::filesystem::path copy = m_path.string() + ".copy";
    copyTo(copy);
    const FileHandle file(open(copy.c_str(), O_RDONLY | O_CLOEXEC));
    fsync(file.get());
    std::filesystem::rename(copy, m_path);
}

void FragmentedLibraryFile::copyTo(const std::filesystem::path& copy) const {
    AVFormatContext* opened = nullptr;
    checked(avformat_open_input(&opened, m_path.c_str(), nullptr, nullptr), "input");
    const FormatInputHandle input(opened);
    checked(avformat_find_stream_info(input.get(), nullptr), "input");
    AVFormatContext* const output = begun(copy, *input->streams[0]->codecpar, false);
    while (av_read_frame(input.get(), m_packet.get()) >= 0) {
        av_packet_rescale_ts(m_packet.get(), input->streams[0]->time_base, output->streams[0]->time_base);
        m_packet->pos = -1;
        checked(av_write_frame(output, m_packet.get()), "packet");
        av_packet_unref(m_packet.get());
    }
    end(output);
}
