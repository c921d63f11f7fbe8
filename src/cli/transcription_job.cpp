#include "cli/transcription_job.h"

#include "base/number_text.h"

#include <algorithm>
#include <cmath>
#include <future>
#include <stop_token>

namespace {

using namespace std::chrono_literals;

/// An utterance can be said to begin behind the end of its track.
std::string progressText(const TranscriptionProgress& progress) {
    const double share = std::clamp(progress.secondsDone / progress.duration, 0.0, 1.0);
    return "Transcribing " + progress.track + "  " + std::to_string(std::lround(share * 100)) + " % of " +
           minutesAndSeconds(progress.duration);
}

} // namespace

std::filesystem::path transcribeOnTerminal(Transcriber& transcriber, TerminationSignals& signals,
                                           StatusLine& line, const std::filesystem::path& folder) {
    transcriber.onProgress = [&line](const TranscriptionProgress& progress) {
        line.show(progressText(progress));
    };
    std::stop_source stop;
    auto transcript = std::async(std::launch::async,
                                 [&] { return transcriber.transcribeRecording(folder, stop.get_token()); });
    while (transcript.wait_for(0s) != std::future_status::ready)
        if (signals.wait(20ms)) stop.request_stop();
    line.show("");
    return transcript.get();
}
