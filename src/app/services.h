#pragma once

#include "app/capture_engine.h"
#include "app/mic_authorization.h"
#include "app/self_tests.h"
#include "app/settings_store.h"
#include "app/windowing.h"
#include "app/workspace.h"
#include "base/serial_queue.h"
#include "capture/audio_devices.h"
#include "capture/notices.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>

/// What AppState works with. All of it outlives the state and the jobs that it started.
struct Services {
    SettingsStore& settings;
    AudioDevices& devices;
    MicAuthorization& micAuthorization;
    Workspace& workspace;
    Windowing& windowing;
    Notices& notices; ///< told what quitting could not save

    TimedQueue& main; ///< the main thread; its now() is the clock
    JobExecutor& jobs;

    /// Any thread may let go of the engine last, and does not wait for that.
    std::function<std::shared_ptr<CaptureEngine>()> makeEngine;
    /// Both block, on a job.
    std::function<void()> primeSystemAudioPermission;
    std::function<bool()> systemAudioWorks;
    /// Blocks, on a job; throws Error, also soon after a stop request. Returns the transcript's path.
    std::function<std::filesystem::path(const std::filesystem::path& folder, const std::stop_token& stop)>
        transcribeRecording;

    /// Blocks the calling thread.
    std::function<void(std::chrono::milliseconds)> sleep;
    std::function<std::chrono::system_clock::time_point()> wallClock;
    Environment environment;
    /// Ends the process at once with that status, leaving no child behind. Main thread.
    std::function<void(int status)> exit;
};
