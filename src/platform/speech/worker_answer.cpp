#include "platform/speech/worker_answer.h"

#include <utility>
#include <variant>

void WorkerAnswer::read(std::string_view line) {
    if (m_end || m_failure || m_length) throw protocol::Violation("a line behind the last one");
    std::visit([this](auto&& message) { take(std::forward<decltype(message)>(message)); },
               protocol::parse(line));
}

void WorkerAnswer::take(protocol::Utterance&& utterance) {
    if (m_handler) m_handler({std::move(utterance.text), utterance.start});
}
