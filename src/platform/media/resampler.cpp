#include "platform/media/resampler.h"

#include <cstdint>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libswresample/swresample.h>
}

namespace {

constexpr const char* failed = "The audio file cannot be converted";

}

Resampler::Resampler(int fromRate, int toRate) {
    AVChannelLayout mono{};
    av_channel_layout_default(&mono, 1);
    SwrContext* resampler = nullptr;
    const int result = swr_alloc_set_opts2(&resampler, &mono, AV_SAMPLE_FMT_FLT, toRate, &mono,
                                           AV_SAMPLE_FMT_FLT, fromRate, 0, nullptr);
    m_resampler.reset(resampler);
    checked(result, failed);
    checked(swr_init(m_resampler.get()), failed);
}

void Resampler::convert(std::span<const float> samples, const Sink& sink) {
    if (!samples.empty()) run(samples.data(), samples.size(), sink);
}

void Resampler::finish(const Sink& sink) {
    run(nullptr, 0, sink);
}

void Resampler::run(const float* samples, std::size_t count, const Sink& sink) {
    const int room = checked(swr_get_out_samples(m_resampler.get(), static_cast<int>(count)), failed);
    m_output.resize(static_cast<std::size_t>(room));
    const auto* in = reinterpret_cast<const std::uint8_t*>(samples);
    auto* out = reinterpret_cast<std::uint8_t*>(m_output.data());
    const int made = checked(swr_convert(m_resampler.get(), &out, room, samples != nullptr ? &in : nullptr,
                                         static_cast<int>(count)),
                             failed);
    if (made > 0) sink(std::span<const float>(m_output).first(static_cast<std::size_t>(made)));
}
