#pragma once

#include "models/model_store.h"

#include <chrono>
#include <functional>
#include <stop_token>

/// What decides whether a model may be downloaded that the user has not asked for by name, and the clock.
struct DownloadConditions {
    /// Whether the user pays for what is transferred. Blocks for a few seconds at most.
    std::function<bool()> isMetered;
    /// Whether any Murmelo of this user records. At once.
    std::function<bool()> isRecording;
    /// Monotonic.
    std::function<std::chrono::nanoseconds()> now;
    /// Blocks the calling thread for so long; returns at once after a stop request.
    std::function<void(std::chrono::milliseconds, const std::stop_token&)> sleep;
};

/// Installs a model that the user has not asked for by name. While anything records it pauses, reports
/// InstallationProgress::Step::paused, and keeps nothing locked; then it goes on where it was. Both
/// conditions are looked at again while it runs: a pause begins within a quarter of a second of the first
/// bytes that come during a recording.
///
/// Blocks, for minutes or for the length of a recording; reports on the caller's thread. A stop request ends
/// it within a second. Throws Error as ModelStore::install does, and with ModelFailure::metered when the user
/// pays for what is transferred.
void downloadAutomatically(ModelStore& store, const Model& model, const DownloadConditions& conditions,
                           const ModelStore::ProgressHandler& progress, const std::stop_token& stop);
