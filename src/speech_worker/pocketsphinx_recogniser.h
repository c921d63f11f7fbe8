#pragma once

#include "speech_worker/recogniser.h"

#include <filesystem>
#include <memory>

struct cmd_ln_s;
struct ps_decoder_s;

/// CMU PocketSphinx with its own defaults, which are its best. A whole cut is one utterance, so the spectral
/// mean is taken over all of it. Silent on standard error.
class PocketSphinxRecogniser final : public Recogniser {
  public:
    /// The folder holds en-us/ (acoustic model), en-us.lm.bin and cmudict-en-us.dict. Throws Error when the
    /// model cannot be loaded; the library ends the process when a file of it is damaged.
    explicit PocketSphinxRecogniser(const std::filesystem::path& modelFolder);

    std::vector<RecognisedWord> recognise(std::span<const float> cut) override;

  private:
    struct Release {
        void operator()(cmd_ln_s* configuration) const noexcept;
        void operator()(ps_decoder_s* decoder) const noexcept;
    };
    std::unique_ptr<cmd_ln_s, Release> m_configuration;
    std::unique_ptr<ps_decoder_s, Release> m_decoder;
};
