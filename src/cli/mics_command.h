#pragma once

#include "capture/audio_devices.h"
#include "cli/exit_status.h"

/// murmelo mics [--json]
ExitStatus micsCommand(int argc, char** argv, const AudioDevices& devices);
