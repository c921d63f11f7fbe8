#include "cli/status_command.h"

#include "base/error.h"
#include "base/number_text.h"
#include "cli/arguments.h"
#include "cli/output.h"
#include "cli/toggle_command.h"

namespace {

std::string asJson(const AppStatus& status) {
    const Json microphone = status.microphone.empty() ? Json() : Json(status.microphone);
    const Json lastRecording = status.lastRecording ? Json(status.lastRecording->string()) : Json();
    return jsonResult(Json::Object{{"recording", status.isRecording},
                                   {"starting", status.isStarting},
                                   {"seconds", status.elapsed},
                                   {"microphone", microphone},
                                   {"lastRecording", lastRecording},
                                   {"status", status.text}});
}

std::string asText(const AppStatus& status) {
    std::string text = status.isRecording  ? "Recording: " + minutesAndSeconds(status.elapsed)
                       : status.isStarting ? "Starting"
                                           : "Not recording";
    text += "\nMicrophone: " + (status.microphone.empty() ? "none" : status.microphone) + "\n";
    if (status.lastRecording) text += "Last recording: " + status.lastRecording->string() + "\n";
    if (!status.text.empty()) text += "Status: " + status.text + "\n";
    return text;
}

} // namespace

ExitStatus statusCommand(int argc, char** argv, RunningInstance& running) {
    const Arguments arguments(argc, argv, {{"json", Arguments::Value::none}});
    if (!arguments.fault().empty()) return reportUsage(arguments.fault());
    if (!arguments.operands().empty()) return reportUsage("“status” takes no names.");
    try {
        const std::optional<AppStatus> status = running.status();
        if (!status) return reportFailure(noneRuns);
        return printResult(arguments.has("json") ? asJson(*status) : asText(*status));
    } catch (const Error& error) {
        return reportFailure(error.localizedDescription());
    }
}
