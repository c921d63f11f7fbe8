#include "capture/mixdown.h"
#include "capture/recorder.h"

#include "base/debug_log.h"

#include <algorithm>
#include <utility>

void Recorder::captureOutput(const MicBuffer& buffer) {
    // Silence for a microphone that never came keeps the files in step; it is no sign of life.
    if (!buffer.isStandIn && ++m_counters->micCallbacks == 1) {
        DebugLog::log("[rec] first MIC callback");
        if (!std::exchange(m_firstAudioSent, true) && onFirstAudio) onFirstAudio();
    }
    if (buffer.samples == nullptr || buffer.sampleCount < 1) return;
    const auto count = static_cast<std::size_t>(buffer.sampleCount);
    if (buffer.byteCount / sizeof(float) < count) return;

    std::vector<float> mic(buffer.samples, buffer.samples + count);
    std::vector<float> mixLeft(count);
    std::vector<float> mixRight(count);
    m_sysFifo.take(mixLeft, mixRight); // missing system audio is silence: the microphone never waits
    mixDown(mic, mixLeft, mixLeft);
    mixDown(mic, mixRight, mixRight);

    if (onLevels) onLevels(audioLevel(mic), m_lastSysLevel);
    m_lastSysLevel = m_lastSysLevel * 0.9F; // falls to zero when system audio stops arriving
    writeVoiceAndMix(std::move(mic), std::move(mixLeft), std::move(mixRight));
}

void Recorder::writeVoiceAndMix(std::vector<float> mic, std::vector<float> mixLeft,
                                std::vector<float> mixRight) {
    for (RecordedFile* const file : {&m_voiceFile, &m_mixFile}) file->addCaptured(mic.size());
    const std::optional<std::size_t> missing = admit(m_micBacklog, mic.size());
    if (!missing) return;
    m_writerQueue->async([this, missing = *missing, mic = std::move(mic), left = std::move(mixLeft),
                          right = std::move(mixRight)] {
        m_voiceFile.write(missing, mic, mic);
        m_mixFile.write(missing, left, right);
        m_micBacklog.remove(mic.size());
    });
}
