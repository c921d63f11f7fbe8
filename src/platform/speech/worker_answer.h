#pragma once

#include "speech_worker/protocol.h"
#include "transcription/speech_engine.h"

#include <optional>
#include <string_view>
#include <utility>

/// What a worker said, collected line by line; utterances are handed on at once. Trusts nothing.
class WorkerAnswer {
  public:
    /// The handler may be empty; it is called inside read().
    explicit WorkerAnswer(SpeechModule::ResultHandler handler) : m_handler(std::move(handler)) {}

    /// One line without its line feed. Throws protocol::Violation when it is no message, or comes behind the
    /// last one.
    void read(std::string_view line);

    const std::optional<protocol::End>& end() const { return m_end; }
    const std::optional<protocol::Failure>& failure() const { return m_failure; }
    const std::optional<protocol::Length>& length() const { return m_length; }

  private:
    void take(protocol::Utterance&& utterance);
    void take(protocol::End end) { m_end = end; }
    void take(protocol::Failure&& failure) { m_failure = std::move(failure); }
    void take(protocol::Length length) { m_length = length; }

    const SpeechModule::ResultHandler m_handler;
    std::optional<protocol::End> m_end;
    std::optional<protocol::Failure> m_failure;
    std::optional<protocol::Length> m_length;
};
