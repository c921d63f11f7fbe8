#pragma once

#include "capture/recording_recovery.h"
#include "cli/exit_status.h"
#include "cli/status_line.h"
#include "cli/termination_signals.h"
#include "transcription/transcriber.h"

/// murmelo transcribe FOLDER [--json]
ExitStatus transcribeCommand(int argc, char** argv, RecordingRecovery& recovery, Transcriber& transcriber,
                             TerminationSignals& signals, StatusLine& line);
