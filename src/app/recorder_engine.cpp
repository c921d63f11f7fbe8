#include "app/recorder_engine.h"

#include "base/debug_log.h"

#include <utility>

RecorderEngine::RecorderEngine(RecorderServices services, std::unique_ptr<SleepGuard> sleepGuard,
                               MakeMark makeMark)
    : m_services(std::move(services)), m_makeMark(std::move(makeMark)), m_sleepGuard(std::move(sleepGuard)) {}

RecorderEngine::~RecorderEngine() {
    endProtection();
}

bool RecorderEngine::start(const MicChoice& mic, const std::optional<std::filesystem::path>& baseURL) {
    Recorder* const prepared = prepare(mic, !baseURL);
    if (prepared == nullptr) return false;
    if (baseURL) protect(*prepared);
    const bool started = prepared->start(mic, baseURL);
    if (!started) endProtection();
    return started;
}

void RecorderEngine::stop() {
    {
        const std::lock_guard lock(m_mutex);
        m_stopRequested = true;
    }
    if (Recorder* const running = recorder()) running->stop();
    endProtection();
}

std::optional<Recorder::Result> RecorderEngine::result() const {
    const Recorder* const made = recorder();
    return made != nullptr ? made->result() : std::nullopt;
}

Unsaved RecorderEngine::unsaved() const {
    const Recorder* const made = recorder();
    return made != nullptr ? made->unsaved() : Unsaved();
}

/// Null once a stop has been requested.
Recorder* RecorderEngine::prepare(const MicChoice& mic, bool isPreview) {
    const std::lock_guard lock(m_mutex);
    if (m_stopRequested) return nullptr;
    m_recorder = std::make_unique<AlignedRecorder>(
        m_services, AlignedCapture::Audience{mic.name, isPreview ? nullptr : &m_services.notices});
    m_recorder->recorder.onLevels = onLevels;
    m_recorder->recorder.onError = onError;
    m_recorder->recorder.onFirstAudio = onFirstAudio;
    return &m_recorder->recorder;
}

Recorder* RecorderEngine::recorder() const {
    const std::lock_guard lock(m_mutex);
    return m_recorder ? &m_recorder->recorder : nullptr;
}

void RecorderEngine::protect(Recorder& recorder) {
    const std::lock_guard lock(m_protectionMutex);
    if (m_protectionEnded) return;
    m_mark = m_makeMark();
    m_sleepGuard->start([&recorder] {
        if (!recorder.bringToDisk(SleepGuard::patience))
            DebugLog::log("[rec] the computer sleeps, and the disk does not have all of the recording yet");
    });
}

void RecorderEngine::endProtection() {
    const std::lock_guard lock(m_protectionMutex);
    if (!std::exchange(m_protectionEnded, true)) m_sleepGuard->stop();
    m_mark.reset();
}
