#include "cli/transcribe_command.h"

#include "base/error.h"
#include "cli/arguments.h"
#include "cli/output.h"
#include "cli/transcription_job.h"

ExitStatus transcribeCommand(int argc, char** argv, RecordingRecovery& recovery, Transcriber& transcriber,
                             TerminationSignals& signals, StatusLine& line) {
    const Arguments arguments(argc, argv, {{"json", Arguments::Value::none}});
    if (!arguments.fault().empty()) return reportUsage(arguments.fault());
    if (arguments.operands().size() != 1) return reportUsage("Which recording? Name its folder.");

    const std::filesystem::path folder = std::filesystem::absolute(arguments.operands().front());
    std::error_code ignored;
    if (!std::filesystem::is_directory(folder, ignored))
        return reportFailure("There is no folder “" + folder.string() + "”.");
    recovery.recover(folder, RecordingRecovery::Mode::mend); // what cannot be mended may still be readable
    try {
        const std::filesystem::path transcript = transcribeOnTerminal(transcriber, signals, line, folder);
        return printResult(arguments.has("json")
                               ? jsonResult(Json::Object{{"transcript", transcript.string()}})
                               : transcript.string() + "\n");
    } catch (const Error& error) {
        return reportFailure("Transcription failed: " + error.localizedDescription());
    }
}
