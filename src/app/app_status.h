#pragma once

#include <filesystem>
#include <optional>
#include <string>

class AppState;

/// What the state says to those outside the panel: the tray icon, and other programs that ask.
struct AppStatus {
    bool isRecording = false;
    bool isStarting = false;
    /// The record button's rule: a recording can be stopped until it is being saved, and started with a
    /// microphone chosen.
    bool canToggle = false;
    double elapsed = 0;          ///< seconds of the running recording; 0 while there is none
    std::string microphone = {}; ///< the chosen one's name; empty: none
    /// Folder of the last recording that was completed since the start of the program.
    std::optional<std::filesystem::path> lastRecording = {};
    std::string text = {}; ///< the status line; empty: nothing to report

    bool operator==(const AppStatus&) const = default;
};

/// Main thread.
AppStatus statusOf(const AppState& state);
