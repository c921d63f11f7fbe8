#include "capture/pcm_block.h"
#include "capture/recorder.h"

#include "base/debug_log.h"
#include "base/error.h"

#include <algorithm>
#include <array>
#include <chrono>

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

std::optional<std::size_t> Recorder::admit(WriterBacklog& backlog, std::size_t frames) {
    const std::optional<std::size_t> missing = backlog.add(frames);
    if (!missing && m_hasFiles && !m_fallenBehind.exchange(true)) {
        m_services.notices.tell("The disk has not kept up with the recording for a minute. Until it does, "
                                "silence is recorded.");
        // The log is on a disk too: the captures must not wait for it.
        m_services.timers.async(
            [] { DebugLog::log("[rec] a minute of sound waits to be written; what comes now is dropped"); });
    }
    return missing;
}

void Recorder::write(const std::unique_ptr<AudioFileWriter>& file, const AudioFormat& format,
                     std::size_t missing, std::span<const float> left, std::span<const float> right) {
    if (!file) return;
    const std::array channels{left, right};
    const std::optional<PcmBlock> block = makePcmBlock(channels, format);
    if (!block || block->channels.size() < 2) return;
    try {
        writeSilence(*file, missing);
        file->write(block->channels[0], block->channels[1]);
    } catch (const Error&) { // this block is lost, the recording goes on
        return;
    }
}

bool Recorder::bringToDisk(std::chrono::milliseconds atMost) {
    using Answers = std::vector<std::future<bool>>;
    if (!m_hasFiles) return true;
    const auto deadline = std::chrono::steady_clock::now() + atMost;
    const auto asked = std::make_shared<std::promise<Answers>>();
    std::future<Answers> answers = asked->get_future();
    m_writerQueue->async([this, asked] {
        Answers ofFiles;
        for (AudioFileWriter* file : {m_voiceFile.get(), m_systemFile.get(), m_mixFile.get()}) {
            if (file == nullptr) continue; // stopped meanwhile: closed
            try {
                ofFiles.push_back(file->bringToDisk());
            } catch (const Error&) { // it has ended, and everything up to there is saved
                continue;
            }
        }
        asked->set_value(std::move(ofFiles));
    });
    const auto inTime = [&](const auto& future) {
        return future.wait_until(deadline) == std::future_status::ready;
    };
    if (!inTime(answers)) return false;
    Answers ofFiles = answers.get();
    return std::all_of(ofFiles.begin(), ofFiles.end(),
                       [&](std::future<bool>& onDisk) { return inTime(onDisk) && onDisk.get(); });
}
