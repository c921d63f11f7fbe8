#pragma once

#include "app/mic_authorization.h"

#include <utility>
#include <vector>

/// A desktop whose user answers when the test says so.
class FakeMicAuthorization final : public MicAuthorization {
  public:
    MicStatus status() const override { return current; }
    void requestAccess(std::function<void(bool granted)> answered) override {
        requests.push_back(std::move(answered));
    }

    /// The user's answer to the oldest request. Without one there is nothing to answer.
    void answer(MicStatus status) {
        if (requests.empty()) return;
        current = status;
        const auto answered = std::move(requests.front());
        requests.erase(requests.begin());
        answered(status == MicStatus::authorized);
    }

    MicStatus current = MicStatus::authorized;
    std::vector<std::function<void(bool)>> requests;
};
