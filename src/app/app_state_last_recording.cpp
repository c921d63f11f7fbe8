#include "app/app_state.h"

#include "base/recording_files.h"

#include <system_error>

std::optional<std::filesystem::path> AppState::lastTranscriptURL() const {
    if (!lastRecording.get()) return std::nullopt;
    const std::filesystem::path transcript = lastRecording.get()->mix.parent_path() / transcriptFileName;
    std::error_code ignored;
    if (!std::filesystem::exists(transcript, ignored)) return std::nullopt;
    return transcript;
}

void AppState::revealLastRecording() {
    m_services.workspace.open(lastRecording.get() ? lastRecording.get()->mix.parent_path()
                                                  : recordingsFolder());
}
