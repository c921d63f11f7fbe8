#include "cli/transcription_job.h"

#include "base/number_text.h"

#include <future>
#include <stop_token>

namespace {

using namespace std::chrono_literals;

std::string progressText(const TranscriptionProgress& progress) {
    return "Transcribing " + progress.track + "  " + minutesAndSeconds(progress.secondsDone) + " of " +
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
