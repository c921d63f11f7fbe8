#pragma once

#include "app/running_instance.h"
#include "base/error.h"

/// A Murmelo that runs, unless its status is missing.
class FakeRunningInstance final : public RunningInstance {
  public:
    std::optional<AppStatus> status() override {
        if (fault) throw *fault;
        return current;
    }
    bool toggleRecording() override {
        ++toggles;
        return current.has_value();
    }

    std::optional<AppStatus> current;
    std::optional<Error> fault;
    int toggles = 0;
};
