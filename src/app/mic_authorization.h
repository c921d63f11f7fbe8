#pragma once

#include <functional>

/// May this program hear the microphone?
enum class MicStatus {
    notDetermined = 0, ///< the desktop asks when it is wanted
    restricted = 1,    ///< switched off for all programs
    denied = 2,
    authorized = 3
};

/// Port: the desktop's answer.
class MicAuthorization {
  public:
    virtual ~MicAuthorization() = default;
    /// Any thread, at once.
    virtual MicStatus status() const = 0;
    /// Asks for access; `answered` runs afterwards on any thread, also when it was decided already.
    virtual void requestAccess(std::function<void(bool granted)> answered) = 0;
};
