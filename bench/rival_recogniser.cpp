#include "rival_recogniser.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <pocketsphinx.h>
#include <sphinxbase/err.h>
#include <stdexcept>
#include <vector>

void RivalRecogniser::Release::operator()(cmd_ln_t* configuration) const noexcept {
    cmd_ln_free_r(configuration);
}

void RivalRecogniser::Release::operator()(ps_decoder_t* decoder) const noexcept {
    ps_free(decoder);
}

RivalRecogniser::RivalRecogniser(const std::filesystem::path& modelFolder) {
    err_set_logfp(nullptr);
    const std::string acoustic = modelFolder / "en-us";
    const std::string language = modelFolder / "en-us.lm.bin";
    const std::string dictionary = modelFolder / "cmudict-en-us.dict";
    m_configuration.reset(cmd_ln_init(nullptr, ps_args(), TRUE, "-hmm", acoustic.c_str(), "-lm",
                                      language.c_str(), "-dict", dictionary.c_str(), nullptr));
    if (m_configuration) m_decoder.reset(ps_init(m_configuration.get()));
    if (!m_decoder) throw std::runtime_error("no speech model in " + modelFolder.string());
}

std::string RivalRecogniser::words(std::span<const float> samples) {
    std::vector<std::int16_t> pcm(samples.size());
    std::transform(samples.begin(), samples.end(), pcm.begin(), [](float sample) {
        return static_cast<std::int16_t>(std::lrint(std::clamp(sample * 32768.0F, -32768.0F, 32767.0F)));
    });
    ps_decoder_t* const decoder = m_decoder.get();
    std::string all;
    const auto endUtterance = [&] {
        ps_end_utt(decoder);
        if (const char* words = ps_get_hyp(decoder, nullptr)) all += std::string(words) + " ";
    };
    ps_start_stream(decoder);
    ps_start_utt(decoder);
    bool speaking = false;
    constexpr std::size_t block = 1600;
    for (std::size_t at = 0; at < pcm.size(); at += block) {
        ps_process_raw(decoder, pcm.data() + at, std::min(block, pcm.size() - at), FALSE, FALSE);
        const bool speaks = ps_get_in_speech(decoder) != 0;
        if (speaking && !speaks) { // a pause: as the library's own example does
            endUtterance();
            ps_start_utt(decoder);
        }
        speaking = speaks;
    }
    endUtterance();
    return all;
}
