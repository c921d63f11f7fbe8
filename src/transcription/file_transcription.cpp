#include "transcription/file_transcription.h"

#include "base/debug_log.h"
#include "transcription/white_space.h"

#include <cmath>

namespace {

void provisionModel(SpeechModule& module, const Locale& locale, const WorkLimits& limits) {
    const auto request = module.installationRequest();
    if (!request) return;
    DebugLog::log("[ts] downloading speech model for " + locale.identifier());
    request->downloadAndInstall(limits);
}

/// Unknown starts count as the beginning of the file. So do absurd ones that no clock could show; infinities
/// and not-a-number compare false here, too.
double usableStart(double seconds) {
    return std::abs(seconds) < 0x1p63 ? seconds : 0;
}

} // namespace

std::vector<Segment> transcribeFile(SpeechEngine& engine, AudioFileInfo& audioFiles, const SpokenFile& spoken,
                                    const WorkLimits& limits,
                                    const std::function<void(const Segment&)>& onSegment) {
    std::vector<Segment> segments; // outlives the module, whose handler fills it
    const auto module = engine.module(spoken.locale);
    provisionModel(*module, spoken.locale, limits);
    audioFiles.open(spoken.file); // one that cannot be read fails here, before any analysis

    module->collectResults([&](const SpeechResult& result) { // before the analysis: no result is missed
        const std::string_view text = trimWhiteSpace(result.text);
        if (text.empty()) return;
        segments.push_back({usableStart(result.start), spoken.speaker, std::string(text)});
        onSegment(segments.back());
    });
    if (const auto lastSampleTime = module->analyse(spoken.file, limits.stop))
        module->finalizeAndFinish(*lastSampleTime);
    else
        module->cancelAndFinishNow();
    module->waitForResults();
    return segments;
}
