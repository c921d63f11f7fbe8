#pragma once

#include <filesystem>
#include <memory>
#include <span>
#include <string>

struct cmd_ln_s;
struct ps_decoder_s;

/// CMU PocketSphinx as it comes: it finds and cuts speech itself, in a stream.
class RivalRecogniser {
  public:
    explicit RivalRecogniser(const std::filesystem::path& modelFolder);

    /// 16 kHz mono, full scale 1.
    std::string words(std::span<const float> samples);

  private:
    struct Release {
        void operator()(cmd_ln_s* configuration) const noexcept;
        void operator()(ps_decoder_s* decoder) const noexcept;
    };
    std::unique_ptr<cmd_ln_s, Release> m_configuration;
    std::unique_ptr<ps_decoder_s, Release> m_decoder;
};
