#pragma once

#include "app/capture_engine.h"
#include "capture/audio_devices.h"
#include "cli/exit_status.h"
#include "cli/status_line.h"
#include "cli/termination_signals.h"
#include "transcription/transcriber.h"

/// murmelo record [--seconds N] [--mic ID] [--transcribe] [--folder DIR] [--json]
ExitStatus recordCommand(int argc, char** argv, const AudioDevices& devices, CaptureEngine& engine,
                         Transcriber& transcriber, TerminationSignals& signals, StatusLine& line);
