#pragma once

#include "app/capture_engine.h"
#include "base/serial_queue.h"
#include "capture/audio_devices.h"
#include "cli/exit_status.h"
#include "cli/status_line.h"
#include "cli/termination_signals.h"
#include "transcription/transcriber.h"

#include <chrono>
#include <functional>
#include <memory>

/// How the end of a recording is waited for.
struct RecordingEnd {
    JobExecutor& jobs; ///< runs what waits for the disk
    /// Monotonic.
    std::function<TimedQueue::Time()> now;
    /// Blocks the calling thread.
    std::function<void(std::chrono::milliseconds)> sleep;
    /// Ends the process at once, although a job still waits for the disk.
    std::function<void(ExitStatus)> exit;
};

/// murmelo record [--seconds N] [--mic ID] [--transcribe] [--folder DIR] [--json]
///
/// However the recording ends, its files are waited for as QuitPatience allows. Then they are left to
/// “murmelo recover”, a sentence says what is lost, and the process ends at once.
ExitStatus recordCommand(int argc, char** argv, const AudioDevices& devices,
                         const std::shared_ptr<CaptureEngine>& engine, Transcriber& transcriber,
                         TerminationSignals& signals, StatusLine& line, const RecordingEnd& end);
