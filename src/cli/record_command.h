#pragma once

#include "capture/aligned_recorder.h"
#include "capture/sleep_guard.h"
#include "cli/exit_status.h"
#include "cli/status_line.h"
#include "cli/termination_signals.h"
#include "transcription/transcriber.h"

/// murmelo record [--seconds N] [--mic ID] [--transcribe] [--folder DIR] [--json]
ExitStatus recordCommand(int argc, char** argv, const AudioDevices& devices, const RecorderServices& services,
                         SleepGuard& sleepGuard, Transcriber& transcriber, TerminationSignals& signals,
                         StatusLine& line);
