#include "capture/recorded_file.h"

#include "base/error.h"
#include "capture/pcm_block.h"

#include <algorithm>
#include <array>

namespace {

/// In pieces, so that hours take no memory.
constexpr std::array<float, 4096> silence{};

void writeSilence(AudioFileWriter& file, std::size_t frames) {
    while (frames > 0) {
        const auto piece = std::span(silence).first(std::min(frames, silence.size()));
        file.write(piece, piece);
        frames -= piece.size();
    }
}

} // namespace

void RecordedFile::open(AudioFileWriterFactory& files, const std::filesystem::path& path,
                        const AudioFileSettings& settings) {
    m_file = files.create(path, settings);
    m_format = m_file->processingFormat();
    m_isOpen = true;
}

void RecordedFile::write(std::size_t missing, std::span<const float> left, std::span<const float> right) {
    if (!m_file) return;
    tryToWrite(missing, left, right);
    m_stored = m_file->storedFrames();
}

void RecordedFile::tryToWrite(std::size_t missing, std::span<const float> left,
                              std::span<const float> right) {
    const std::array channels{left, right};
    const std::optional<PcmBlock> block = makePcmBlock(channels, m_format);
    if (!block || block->channels.size() < 2) return;
    try {
        writeSilence(*m_file, missing);
        m_file->write(block->channels[0], block->channels[1]);
    } catch (const Error&) { // this block is lost, the recording goes on
        return;
    }
}

std::optional<std::future<bool>> RecordedFile::bringToDisk() {
    if (!m_file) return std::nullopt;
    try {
        return m_file->bringToDisk();
    } catch (const Error&) { // it has ended, and everything up to there is saved
        return std::nullopt;
    }
}

void RecordedFile::close() {
    m_file.reset();
    m_isOpen = false;
}

std::uint64_t RecordedFile::unsavedFrames() const {
    const std::uint64_t stored = m_stored; // first: more may be captured meanwhile, never less than stored
    const std::uint64_t captured = m_captured;
    return captured - std::min(stored, captured);
}
