// What the parent makes of any output of a worker whatsoever: each line is refused, or is a message that the
// worker could have written.

#include "platform/speech/worker_answer.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <variant>

namespace {

bool same(double a, double b) {
    return a == b || (std::isnan(a) && std::isnan(b));
}

bool same(const protocol::Utterance& a, const protocol::Utterance& b) {
    return same(a.start, b.start) && same(a.end, b.end) && a.text == b.text;
}

bool same(const protocol::End& a, const protocol::End& b) {
    return a.lastSampleTime == b.lastSampleTime;
}

bool same(const protocol::Failure& a, const protocol::Failure& b) {
    return a.description == b.description;
}

bool same(const protocol::Length& a, const protocol::Length& b) {
    return a.frames == b.frames && a.sampleRate == b.sampleRate;
}

void expectThatItReadsBack(const protocol::Message& message) {
    std::string line = protocol::line(message);
    if (line.find('\n') != line.size() - 1) std::abort();
    line.pop_back();
    std::visit(
        [&](const auto& written) {
            using Kind = std::decay_t<decltype(written)>;
            const protocol::Message read = protocol::parse(line);
            if (!std::holds_alternative<Kind>(read) || !same(written, std::get<Kind>(read))) std::abort();
        },
        message);
}

void read(std::string_view output) {
    std::size_t results = 0;
    const SpeechModule::ResultHandler handler = [&results](const SpeechResult&) { ++results; };
    WorkerAnswer answer(handler);
    std::size_t utterances = 0;
    while (!output.empty()) {
        const std::string_view line = output.substr(0, output.find('\n'));
        output.remove_prefix(std::min(output.size(), line.size() + 1));
        answer.read(line);
        const protocol::Message message = protocol::parse(line);
        expectThatItReadsBack(message);
        utterances += std::holds_alternative<protocol::Utterance>(message) ? 1 : 0;
        if (results != utterances) std::abort();
    }
    if (answer.end() && answer.failure()) std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    try {
        read({reinterpret_cast<const char*>(bytes), count});
    } catch (const protocol::Violation&) { // refused
    }
    return 0;
}
