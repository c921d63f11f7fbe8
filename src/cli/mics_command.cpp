#include "cli/mics_command.h"

#include "capture/recorder.h"
#include "cli/arguments.h"
#include "cli/microphone_option.h"
#include "cli/output.h"

#include <algorithm>

namespace {

std::string asJson(const std::vector<MicChoice>& mics, const std::optional<std::string>& automatic) {
    Json::Array list;
    for (const MicChoice& mic : mics)
        list.push_back(Json::Object{{"id", mic.id}, {"name", mic.name}, {"automatic", mic.id == automatic}});
    return jsonResult(std::move(list));
}

std::string asTable(const std::vector<MicChoice>& mics, const std::optional<std::string>& automatic) {
    std::size_t width = 0;
    for (const MicChoice& mic : mics) width = std::max(width, mic.id.size());
    std::string table;
    for (const MicChoice& mic : mics)
        table += (mic.id == automatic ? "* " : "  ") + mic.id + std::string(width + 2 - mic.id.size(), ' ') +
                 mic.name + "\n";
    return table;
}

} // namespace

ExitStatus micsCommand(int argc, char** argv, const AudioDevices& devices) {
    const Arguments arguments(argc, argv, {{"json", Arguments::Value::none}});
    if (!arguments.fault().empty()) return reportUsage(arguments.fault());
    if (!arguments.operands().empty()) return reportUsage("“mics” takes no names.");

    const std::vector<MicChoice> mics = offeredMics(Recorder::availableMics(devices));
    const std::optional<std::string> automatic = automaticMicID(mics, Recorder::defaultMicID(devices));
    const ExitStatus printed =
        printResult(arguments.has("json") ? asJson(mics, automatic) : asTable(mics, automatic));
    return mics.empty() && printed == ExitStatus::done ? reportFailure(noMicrophone) : printed;
}
