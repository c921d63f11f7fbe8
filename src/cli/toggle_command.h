#pragma once

#include "app/running_instance.h"
#include "cli/exit_status.h"

/// murmelo toggle
ExitStatus toggleCommand(int argc, char** argv, RunningInstance& running);

inline constexpr const char* noneRuns = "Murmelo is not running on this desktop.";
