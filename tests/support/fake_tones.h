#pragma once

#include "capture/tone_player.h"
#include "support/call_journal.h"

#include <functional>
#include <vector>

/// Players that play nothing and keep what they should have played.
class FakeTones final : public TonePlayerFactory {
  public:
    explicit FakeTones(CallJournal& journal) : m_journal(journal) {}

    std::unique_ptr<TonePlayer> make(std::span<const std::uint8_t> wavFile, float volumeFactor) override {
        m_journal.note("make player");
        if (!available) return nullptr;
        file.assign(wavFile.begin(), wavFile.end());
        volume = volumeFactor;
        return std::make_unique<Player>(*this);
    }

    bool available = true;
    std::vector<std::uint8_t> file;
    float volume = 0;

  private:
    class Player final : public TonePlayer {
      public:
        explicit Player(FakeTones& tones) : m_tones(tones) {}
        void play() override { m_tones.m_journal.note("play"); }
        void stop() noexcept override { m_tones.m_journal.note("stop player"); }

      private:
        FakeTones& m_tones;
    };

    CallJournal& m_journal;
};
