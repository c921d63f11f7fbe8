#pragma once

#include "cli/exit_status.h"
#include "cli/termination_signals.h"
#include "transcription/transcriber.h"

/// murmelo transcribe FOLDER [--json]
ExitStatus transcribeCommand(int argc, char** argv, Transcriber& transcriber, TerminationSignals& signals);
