#include "app/app_state.h"

#include <algorithm>
#include <utility>

void AppState::startPreview() {
    if (isRecording || isStarting || m_hasQuit) return;
    if (m_preview || m_previewStarting) return;
    if (micStatus() != MicStatus::authorized) return;
    const std::optional<MicChoice> mic = selectedMic();
    if (!mic) return;

    const std::shared_ptr<CaptureEngine> engine = m_services.makeEngine();
    // No other hook: what goes wrong with a preview is not shown.
    engine->onLevels = onMain([](AppState& state, float micReport, float systemReport) {
        if (state.m_preview) state.showLevels(micReport, systemReport);
    });
    m_previewStarting = engine;
    m_services.jobs.async([engine, mic = *mic, weak = weak_from_this(), &main = m_services.main] {
        const bool started = engine->start(mic, std::nullopt);
        main.async([engine, started, weak] {
            if (const std::shared_ptr<AppState> state = weak.lock())
                state->previewStarted(engine, started);
            else
                engine->stop();
        });
    });
}

void AppState::previewStarted(const std::shared_ptr<CaptureEngine>& engine, bool started) {
    m_previewStarting.reset();
    if (started && !isRecording && !isStarting && !m_hasQuit)
        m_preview = engine;
    else
        closePreview(engine);
}

/// A preview that is still starting installs itself later, and the next stop ends it.
void AppState::stopPreview() {
    if (m_preview) closePreview(std::exchange(m_preview, nullptr));
    if (isRecording) return; // then the meters show the recording
    micLevel = 0;
    outputLevel = 0;
}

void AppState::restartPreview() {
    stopPreview();
    startPreview();
}

/// Quick to rise, slow to fall.
void AppState::showLevels(float mic, float system) {
    constexpr float release = 0.8F;
    micLevel = std::max(micLevel * release, mic);
    outputLevel = std::max(outputLevel * release, system);
}
