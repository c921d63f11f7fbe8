#include "capture/recorder.h"

#include "base/debug_log.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace {

constexpr double framesPerSecond = 48000;

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

bool Recorder::bringToDisk(std::chrono::milliseconds atMost) {
    using Answers = std::vector<std::future<bool>>;
    if (!m_hasFiles) return true;
    const auto deadline = std::chrono::steady_clock::now() + atMost;
    const auto asked = std::make_shared<std::promise<Answers>>();
    std::future<Answers> answers = asked->get_future();
    m_writerQueue->async([this, asked] {
        Answers ofFiles;
        for (RecordedFile* const file : {&m_voiceFile, &m_systemFile, &m_mixFile})
            if (auto onDisk = file->bringToDisk()) ofFiles.push_back(std::move(*onDisk));
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

Unsaved Recorder::unsaved() const {
    Unsaved all;
    for (const RecordedFile* const file : {&m_voiceFile, &m_systemFile, &m_mixFile}) {
        if (!file->isOpen()) continue;
        all.seconds = std::max(all.seconds, static_cast<double>(file->unsavedFrames()) / framesPerSecond);
        ++all.openFiles;
    }
    return all;
}
