#include "speech_worker/echo_canceller.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <new>
#include <speex/speex_echo.h>

namespace {

constexpr int frame = 320; // samples, 20 ms
constexpr int tail = 4096; // 256 ms: rooms ring
constexpr int sampleRate = 16000;

/// 16-bit samples in whole frames.
std::vector<std::int16_t> asFrames(std::span<const float> samples) {
    std::vector<std::int16_t> pcm((samples.size() + frame - 1) / frame * frame);
    std::transform(samples.begin(), samples.end(), pcm.begin(), [](float sample) {
        return static_cast<std::int16_t>(std::lrint(std::clamp(sample * 32768.0F, -32768.0F, 32767.0F)));
    });
    return pcm;
}

} // namespace

void EchoCanceller::Release::operator()(SpeexEchoState_* state) const noexcept {
    speex_echo_state_destroy(state);
}

EchoCanceller::EchoCanceller() : m_state(speex_echo_state_init(frame, tail)) {
    if (!m_state) throw std::bad_alloc();
    int rate = sampleRate;
    speex_echo_ctl(m_state.get(), SPEEX_ECHO_SET_SAMPLING_RATE, &rate);
}

std::vector<float> EchoCanceller::cancel(std::span<const float> microphone, std::span<const float> reference,
                                         std::size_t skipped) {
    const std::vector<std::int16_t> heard = asFrames(microphone);
    const std::vector<std::int16_t> played = asFrames(reference);
    std::vector<std::int16_t> left(heard.size());
    for (int pass = 0; pass < 2; ++pass)
        for (std::size_t at = 0; at < heard.size(); at += frame)
            speex_echo_cancellation(m_state.get(), &heard[at], &played[at], &left[at]);
    std::vector<float> result(microphone.size() - skipped);
    std::transform(left.begin() + static_cast<std::ptrdiff_t>(skipped),
                   left.begin() + static_cast<std::ptrdiff_t>(microphone.size()), result.begin(),
                   [](std::int16_t sample) { return static_cast<float>(sample) / 32768.0F; });
    return result;
}
