#pragma once

#include "capture/mic_choice.h"
#include "capture/recorder.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

/// Port: a Recorder with everything that stands below it, as the state uses it: for one start and one stop.
class CaptureEngine {
  public:
    virtual ~CaptureEngine() = default;

    // Hooks, set before start. They run on the engine's threads and must neither block nor call start or
    // stop.
    std::function<void(float mic, float system)> onLevels; ///< each level 0 to 1
    std::function<void(std::string message)> onError;      ///< at most once, a sentence for the user
    std::function<void()> onFirstAudio;                    ///< once

    /// Blocks for up to about 8 s. With a folder it records into it, without one it only gives levels.
    virtual bool start(const MicChoice& mic, const std::optional<std::filesystem::path>& baseURL) = 0;
    /// Any number of times, also while start runs on another thread. Blocks until the files are closed: as
    /// long as the disk or a step of the start takes.
    virtual void stop() = 0;
    /// Set once the three files exist; survives stop. May wait as long as start or stop does.
    virtual std::optional<Recorder::Result> result() const = 0;
    /// Any thread, at once, also while start or stop runs.
    virtual Unsaved unsaved() const = 0;
};
