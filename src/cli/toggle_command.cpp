#include "cli/toggle_command.h"

#include "base/error.h"
#include "cli/arguments.h"
#include "cli/output.h"

namespace {

/// As the record button, which can't be pressed in vain.
std::string reasonAgainst(const AppStatus& status) {
    if (status.isRecording) return "Murmelo is still saving the recording.";
    return status.isStarting ? "Murmelo is starting a recording already."
                             : "Murmelo has no microphone chosen to record.";
}

} // namespace

ExitStatus toggleCommand(int argc, char** argv, RunningInstance& running) {
    const Arguments arguments(argc, argv, {});
    if (!arguments.fault().empty()) return reportUsage(arguments.fault());
    if (!arguments.operands().empty()) return reportUsage("“toggle” takes no names.");
    try {
        const std::optional<AppStatus> status = running.status();
        if (!status) return reportFailure(noneRuns);
        if (!status->canToggle) return reportFailure(reasonAgainst(*status));
        return running.toggleRecording() ? ExitStatus::done : reportFailure(noneRuns);
    } catch (const Error& error) {
        return reportFailure(error.localizedDescription());
    }
}
