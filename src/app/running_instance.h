#pragma once

#include "app/app_status.h"

#include <optional>

/// Port: the Murmelo that already runs in this session, as another process sees it. One thread; each call
/// waits for a few seconds at most, and throws Error (domain "posix") when it does not answer.
class RunningInstance {
  public:
    virtual ~RunningInstance() = default;
    /// Nothing: none runs.
    virtual std::optional<AppStatus> status() = 0;
    /// Presses the record button. False: none runs.
    virtual bool toggleRecording() = 0;
};
