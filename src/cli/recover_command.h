#pragma once

#include "capture/recording_recovery.h"
#include "cli/exit_status.h"

/// murmelo recover [FOLDER…] [--dry-run] [--json]
ExitStatus recoverCommand(int argc, char** argv, RecordingRecovery& recovery);
