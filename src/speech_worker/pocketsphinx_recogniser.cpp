#include "speech_worker/pocketsphinx_recogniser.h"

#include "base/error.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <pocketsphinx.h>
#if __has_include(<sphinxbase/cmd_ln.h>) // PocketSphinx 0.8; version 5 has one library and other calls
#include <sphinxbase/cmd_ln.h>
#include <sphinxbase/err.h>
#define MURMELO_HAS_SPHINXBASE 1
#else
#define MURMELO_HAS_SPHINXBASE 0
#endif

namespace {

constexpr double framesPerSecond = 100;

struct SegmentRelease {
    void operator()(ps_seg_t* segment) const noexcept { ps_seg_free(segment); }
};
using Segment = std::unique_ptr<ps_seg_t, SegmentRelease>;

std::vector<std::int16_t> asPcm16(std::span<const float> samples) {
    std::vector<std::int16_t> pcm(samples.size());
    std::transform(samples.begin(), samples.end(), pcm.begin(), [](float sample) {
        return static_cast<std::int16_t>(std::lrint(std::clamp(sample * 32768.0F, -32768.0F, 32767.0F)));
    });
    return pcm;
}

/// The library takes what is left of a damaged dictionary, which is in alphabetical order.
bool knowsCommonWords(ps_decoder_t* decoder) {
    return std::ranges::all_of(std::array{"and", "the", "you"}, [decoder](const char* word) {
        char* const phones = ps_lookup_word(decoder, word);
        std::free(phones);
        return phones != nullptr;
    });
}

std::vector<RecognisedWord> wordsOf(ps_decoder_t* decoder) {
    logmath_t* const logarithms = ps_get_logmath(decoder);
    std::vector<RecognisedWord> words;
    Segment segment(ps_seg_iter(decoder));
    while (segment) {
        int first = 0;
        int last = 0;
        int acoustic = 0; // relative to the best sound of each frame
        ps_seg_frames(segment.get(), &first, &last);
        const int posterior = ps_seg_prob(segment.get(), &acoustic, nullptr, nullptr);
        const int frames = last + 1 - first;
        words.push_back({.text = ps_seg_word(segment.get()),
                         .start = first / framesPerSecond,
                         .end = (last + 1) / framesPerSecond,
                         .score = WordScore{logmath_exp(logarithms, posterior),
                                            -logmath_log_to_ln(logarithms, acoustic) / frames}});
        segment.reset(ps_seg_next(segment.release())); // frees the one that it leaves
    }
    return words;
}

/// Null when the library refuses one of the names.
cmd_ln_s* configuration(const std::string& acoustic, const std::string& language,
                        const std::string& dictionary) {
#if MURMELO_HAS_SPHINXBASE
    // Its own removal of silence would shift the times, and the cuts have none. Version 5 has no such step.
    return cmd_ln_init(nullptr, ps_args(), 1, "-hmm", acoustic.c_str(), "-lm", language.c_str(), "-dict",
                       dictionary.c_str(), "-remove_silence", "no", nullptr);
#else
    cmd_ln_s* const made = ps_config_init(nullptr);
    if (made == nullptr) return nullptr;
    ps_config_set_str(made, "hmm", acoustic.c_str());
    ps_config_set_str(made, "lm", language.c_str());
    ps_config_set_str(made, "dict", dictionary.c_str());
    return made;
#endif
}

} // namespace

void PocketSphinxRecogniser::Release::operator()(cmd_ln_s* configuration) const noexcept {
#if MURMELO_HAS_SPHINXBASE
    cmd_ln_free_r(configuration);
#else
    ps_config_free(configuration);
#endif
}

void PocketSphinxRecogniser::Release::operator()(ps_decoder_t* decoder) const noexcept {
    ps_free(decoder);
}

PocketSphinxRecogniser::PocketSphinxRecogniser(const std::filesystem::path& modelFolder) {
    err_set_logfp(nullptr);
    m_configuration.reset(configuration(modelFolder / "en-us", modelFolder / "en-us.lm.bin",
                                        modelFolder / "cmudict-en-us.dict"));
    if (m_configuration) m_decoder.reset(ps_init(m_configuration.get()));
    if (!m_decoder || !knowsCommonWords(m_decoder.get()))
        throw Error("engine", 1, "The speech model in " + modelFolder.string() + " can't be loaded.");
}

std::vector<RecognisedWord> PocketSphinxRecogniser::recognise(std::span<const float> cut) {
    ps_decoder_t* decoder = m_decoder.get();
    const std::vector<std::int16_t> pcm = asPcm16(cut);
    ps_start_stream(decoder); // forgets the noise of the cut before
    const bool done = ps_start_utt(decoder) == 0 &&
                      ps_process_raw(decoder, pcm.data(), pcm.size(), 0, 1) >= 0 && ps_end_utt(decoder) == 0;
    if (!done) throw Error("engine", 1, "The speech recogniser failed.");
    return wordsOf(decoder);
}
