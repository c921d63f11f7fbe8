#include "cli/status_command.h"

#include "base/error.h"
#include "base/number_text.h"
#include "cli/arguments.h"
#include "cli/json_text.h"
#include "cli/output.h"
#include "cli/toggle_command.h"

namespace {

std::string asJson(const AppStatus& status) {
    nlohmann::ordered_json object{{"recording", status.isRecording}, {"starting", status.isStarting},
                                  {"seconds", status.elapsed},       {"microphone", nullptr},
                                  {"lastRecording", nullptr},        {"status", status.text}};
    if (!status.microphone.empty()) object["microphone"] = status.microphone;
    if (status.lastRecording) object["lastRecording"] = status.lastRecording->string();
    return jsonText(object) + "\n";
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
