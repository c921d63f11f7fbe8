#include "speech_worker/echo_reference.h"

#include "base/error.h"

#include <cstdio>
#include <new>
#include <utility>

EchoReference::EchoReference(std::filesystem::path file) : m_file(std::move(file)) {}

std::span<const float> EchoReference::next() {
    if (m_ended) return {};
    try {
        if (!m_reader) m_reader.emplace(m_file);
        const std::span<const float> samples = m_reader->next();
        if (samples.empty() && !m_begun) complain("It is empty.");
        m_begun = true;
        m_ended = samples.empty();
        return samples;
    } catch (const Error& error) {
        complain(error.localizedDescription());
    } catch (const std::bad_alloc&) { // an index of gigabytes was announced
        complain("It is damaged.");
    }
    m_ended = true;
    return {};
}

void EchoReference::complain(const std::string& reason) const {
    std::fprintf(stderr, "What the loudspeakers played is not removed, because %s can't be used: %s\n",
                 m_file.filename().c_str(), reason.c_str());
}
