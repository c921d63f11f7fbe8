#include "speech_worker/pocketsphinx_recogniser.h"

#include "base/error.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <pocketsphinx.h>
#include <sphinxbase/ckd_alloc.h>
#include <sphinxbase/err.h>

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
        ckd_free(phones);
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

} // namespace

void PocketSphinxRecogniser::Release::operator()(cmd_ln_t* configuration) const noexcept {
    cmd_ln_free_r(configuration);
}

void PocketSphinxRecogniser::Release::operator()(ps_decoder_t* decoder) const noexcept {
    ps_free(decoder);
}

PocketSphinxRecogniser::PocketSphinxRecogniser(const std::filesystem::path& modelFolder) {
    err_set_logfp(nullptr);
    const std::string acoustic = modelFolder / "en-us";
    const std::string language = modelFolder / "en-us.lm.bin";
    const std::string dictionary = modelFolder / "cmudict-en-us.dict";
    // Its own removal of silence would shift the times, and the cuts have none.
    m_configuration.reset(cmd_ln_init(nullptr, ps_args(), TRUE, "-hmm", acoustic.c_str(), "-lm",
                                      language.c_str(), "-dict", dictionary.c_str(), "-remove_silence", "no",
                                      nullptr));
    if (m_configuration) m_decoder.reset(ps_init(m_configuration.get()));
    if (!m_decoder || !knowsCommonWords(m_decoder.get()))
        throw Error("engine", 1, "The speech model in " + modelFolder.string() + " can't be loaded.");
}

std::vector<RecognisedWord> PocketSphinxRecogniser::recognise(std::span<const float> cut) {
    ps_decoder_t* decoder = m_decoder.get();
    const std::vector<std::int16_t> pcm = asPcm16(cut);
    ps_start_stream(decoder); // forgets the noise of the cut before
    const bool done = ps_start_utt(decoder) == 0 &&
                      ps_process_raw(decoder, pcm.data(), pcm.size(), FALSE, TRUE) >= 0 &&
                      ps_end_utt(decoder) == 0;
    if (!done) throw Error("engine", 1, "The speech recogniser failed.");
    return wordsOf(decoder);
}
