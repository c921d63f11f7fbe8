#include "platform/media/audio_reader.h"

#include "base/debug_log.h"
#include "base/error.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <utility>

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace {

constexpr const char* cannotDecode = "The audio file cannot be decoded";
constexpr std::array<float, Mp4AudioInput::samplesPerPacket> silence{};

Error damaged(const char* sentence) {
    return {"ffmpeg", AVERROR_INVALIDDATA, sentence};
}

} // namespace

AudioReader::AudioReader(FileHandle file)
    : m_input(std::move(file)), m_frame(allocated<FrameHandle>(av_frame_alloc())),
      m_surplus(allocated<FrameHandle>(av_frame_alloc())) {
    const AVCodec* const aac = avcodec_find_decoder_by_name("aac");
    if (aac == nullptr)
        throw Error("ffmpeg", AVERROR_DECODER_NOT_FOUND, "The installed FFmpeg has no AAC decoder.");
    m_codec = allocated<CodecContextHandle>(avcodec_alloc_context3(aac));
    checked(avcodec_parameters_to_context(m_codec.get(), &m_input.codec()), cannotDecode);
    m_codec->thread_count = 1;
    m_codec->flags2 |= AV_CODEC_FLAG2_SKIP_MANUAL; // we cut the padding off ourselves
    checked(avcodec_open2(m_codec.get(), aac, nullptr), cannotDecode);
}

std::optional<AudioReader::Block> AudioReader::next() {
    constexpr int tolerated = 500; // packets, about ten seconds
    while (const auto piece = m_input.next()) {
        const bool good = decode(*piece->packet);
        ++(good ? m_decoded : m_failed);
        if (m_failed > tolerated)
            throw damaged("The audio file is damaged: too little of it can be decoded.");
        if (piece->count == 0) continue;
        const auto first = static_cast<std::size_t>(piece->first);
        const auto count = static_cast<std::size_t>(piece->count);
        const auto channel = [&](int index) {
            if (!good) return std::span<const float>(silence).first(count);
            auto* const samples = reinterpret_cast<float*>(m_frame->data[index]) + first;
            std::replace_if(samples, samples + count, [](float s) { return !std::isfinite(s); }, 0.0F);
            return std::span<const float>(samples, count);
        };
        const std::span<const float> left = channel(0);
        return Block{left, channels() == 2 ? channel(1) : left};
    }
    conclude();
    return std::nullopt;
}

void AudioReader::conclude() const {
    if (m_failed > 0 && m_decoded == 0)
        throw damaged("The audio file is damaged: nothing of it can be decoded.");
    if (m_failed > 0)
        DebugLog::log("[rec] " + std::to_string(m_failed) +
                      " damaged packets of an audio file were read as silence");
}

/// An AAC packet gives its one frame at once. True when m_frame holds it.
bool AudioReader::decode(const AVPacket& packet) {
    bool good = avcodec_send_packet(m_codec.get(), &packet) >= 0 &&
                avcodec_receive_frame(m_codec.get(), m_frame.get()) >= 0 && isAsAnnounced();
    // A damaged packet can hold more; left inside, that would be taken for the next packet's frame.
    while (avcodec_receive_frame(m_codec.get(), m_surplus.get()) >= 0) good = false;
    return good;
}

/// A damaged packet can decode to another rate or to other channels than the file's.
bool AudioReader::isAsAnnounced() const {
    return m_frame->format == AV_SAMPLE_FMT_FLTP && m_frame->sample_rate == sampleRate() &&
           m_frame->ch_layout.nb_channels == channels() &&
           m_frame->nb_samples == Mp4AudioInput::samplesPerPacket;
}

SpeechAudioReader::SpeechAudioReader(FileHandle file)
    : m_reader(std::move(file)), m_resampler(m_reader.sampleRate(), 16000) {}

std::span<const float> SpeechAudioReader::next() {
    m_block.clear();
    const auto keep = [this](std::span<const float> samples) {
        m_block.insert(m_block.end(), samples.begin(), samples.end());
    };
    while (m_block.empty() && !m_ended) { // the resampler holds the first samples back
        if (const auto block = m_reader.next()) {
            std::array<float, Mp4AudioInput::samplesPerPacket> mono;
            std::transform(block->left.begin(), block->left.end(), block->right.begin(), mono.begin(),
                           [](float l, float r) { return (l + r) * 0.5F; });
            m_resampler.convert(std::span<const float>(mono).first(block->left.size()), keep);
        } else {
            m_resampler.finish(keep);
            m_ended = true;
        }
    }
    return m_block;
}

void decodeTo16kMono(FileHandle file, const std::function<void(std::span<const float>)>& sink) {
    SpeechAudioReader reader(std::move(file));
    for (auto block = reader.next(); !block.empty(); block = reader.next()) sink(block);
}
