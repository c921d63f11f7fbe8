#pragma once

#include "cli/exit_status.h"

#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

/// What a subcommand wrote, and how it ended.
struct CommandRun {
    ExitStatus status;
    std::string output;
    std::string errors;
};

/// Calls command(argc, argv) with these words, the subcommand's name first.
template <typename Command>
CommandRun runCommand(std::vector<std::string> words, const Command& command) {
    std::vector<char*> argv;
    argv.reserve(words.size() + 1);
    for (std::string& word : words) argv.push_back(word.data());
    argv.push_back(nullptr);
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const ExitStatus status = command(static_cast<int>(words.size()), argv.data());
    std::string output = testing::internal::GetCapturedStdout();
    return {status, std::move(output), testing::internal::GetCapturedStderr()};
}
