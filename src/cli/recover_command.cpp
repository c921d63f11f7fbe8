#include "cli/recover_command.h"

#include "base/number_text.h"
#include "base/recording_files.h"
#include "cli/arguments.h"
#include "cli/output.h"
#include "cli/readable_recordings.h"

#include <cstddef>
#include <cstdio>

namespace {

using State = RecoveredFile::State;

const char* name(State state) {
    switch (state) {
    case State::whole:
        return "whole";
    case State::mended:
        return "mended";
    case State::mendable:
        return "mendable";
    case State::inUse:
        return "in use";
    case State::foreign:
        return "foreign";
    case State::failed:
        return "failed";
    }
    return "";
}

bool hasLength(const RecoveredFile& file) {
    return file.state == State::whole || file.state == State::mended || file.state == State::mendable;
}

std::string asJson(const std::vector<RecoveredFile>& files) {
    Json::Array list;
    for (const RecoveredFile& file : files) {
        Json::Object entry{{"path", file.path.string()}, {"state", name(file.state)}};
        if (hasLength(file)) entry.emplace_back("seconds", file.seconds);
        if (!file.reason.empty()) entry.emplace_back("reason", file.reason);
        entry.emplace_back("readableByOthers", isReadableByOthers(file.path));
        list.push_back(std::move(entry));
    }
    return jsonResult(std::move(list));
}

std::string asTable(const std::vector<RecoveredFile>& files) {
    std::string table;
    for (const RecoveredFile& file : files) {
        char columns[64];
        std::snprintf(columns, sizeof columns, "%-8s  %7s  ", name(file.state),
                      hasLength(file) ? minutesAndSeconds(file.seconds).c_str() : "");
        table += columns + file.path.string() + (file.reason.empty() ? "" : "  " + file.reason) + "\n";
    }
    return table;
}

std::string count(std::ptrdiff_t number, const std::string& things) {
    return number == 1 ? "One " + things : std::to_string(number) + " " + things + "s";
}

/// Empty when nothing failed.
std::string failureText(const std::vector<RecoveredFile>& files) {
    std::ptrdiff_t failedFolders = 0;
    std::ptrdiff_t failedFiles = 0;
    for (const RecoveredFile& file : files) {
        if (file.state != State::failed) continue;
        std::error_code ignored;
        ++(std::filesystem::is_directory(file.path, ignored) ? failedFolders : failedFiles);
    }
    std::string text;
    if (failedFolders > 0) text = count(failedFolders, "folder") + " could not be read.";
    if (failedFiles > 0)
        text += (text.empty() ? "" : " ") + count(failedFiles, "file") + " could not be mended.";
    return text;
}

} // namespace

ExitStatus recoverCommand(int argc, char** argv, RecordingRecovery& recovery) {
    const Arguments arguments(argc, argv,
                              {{"dry-run", Arguments::Value::none}, {"json", Arguments::Value::none}});
    if (!arguments.fault().empty()) return reportUsage(arguments.fault());

    std::vector<std::filesystem::path> folders;
    for (const std::string& folder : arguments.operands()) {
        folders.push_back(std::filesystem::absolute(folder));
        std::error_code ignored;
        if (!std::filesystem::is_directory(folders.back(), ignored))
            return reportFailure("There is no folder “" + folders.back().string() + "”.");
    }
    if (folders.empty()) folders.push_back(placeOfRecordings());

    const auto mode =
        arguments.has("dry-run") ? RecordingRecovery::Mode::onlyLook : RecordingRecovery::Mode::mend;
    std::vector<RecoveredFile> files;
    for (const std::filesystem::path& folder : folders) {
        const std::vector<RecoveredFile> found = recovery.recover(folder, mode);
        files.insert(files.end(), found.begin(), found.end());
    }
    const bool json = arguments.has("json");
    const ExitStatus printed = printResult(json ? asJson(files) : asTable(files));
    if (printed != ExitStatus::done) return printed;
    if (const std::string notice = readableRecordingsNotice(files); !json && !notice.empty())
        std::fputs((notice + "\n").c_str(), stderr);
    const std::string failures = failureText(files);
    return failures.empty() ? ExitStatus::done : reportFailure(failures);
}
