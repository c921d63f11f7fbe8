#include "cli/output.h"

#include <cerrno>
#include <cstdio>
#include <system_error>

ExitStatus printResult(const std::string& text) {
    errno = 0;
    if (std::fputs(text.c_str(), stdout) != EOF && std::fflush(stdout) == 0) return ExitStatus::done;
    return reportFailure("Could not write to standard output: " + std::generic_category().message(errno) +
                         ".");
}

std::string jsonResult(const Json& value) {
    return value.text(Json::Layout::indented) + "\n";
}

ExitStatus reportFailure(const std::string& sentence) {
    std::fputs((sentence + "\n").c_str(), stderr);
    return ExitStatus::failed;
}

ExitStatus reportUsage(const std::string& sentence) {
    std::fputs((sentence + "\nTry “murmelo --help”.\n").c_str(), stderr);
    return ExitStatus::usage;
}
