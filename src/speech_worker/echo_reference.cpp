#include "speech_worker/echo_reference.h"

#include "base/error.h"
#include "base/recording_files.h"

#include <cstdio>
#include <new>
#include <utility>

namespace {

void complain(const std::string& reason) {
    std::fprintf(stderr, "What the loudspeakers played is not removed, because %s can't be used: %s\n",
                 systemFileName, reason.c_str());
}

} // namespace

EchoReference::EchoReference(FileHandle file) : m_file(std::move(file)) {}

std::span<const float> EchoReference::next() {
    if (m_ended) return {};
    try {
        if (!m_reader) m_reader.emplace(std::move(m_file));
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
