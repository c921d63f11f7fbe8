#pragma once

#include "app/running_instance.h"
#include "cli/exit_status.h"

/// murmelo status [--json]
ExitStatus statusCommand(int argc, char** argv, RunningInstance& running);
