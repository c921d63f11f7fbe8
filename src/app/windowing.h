#pragma once

#include <memory>

class AppState;

/// A window that exists until it is destroyed, closed by its title bar or not.
class OnboardingWindow {
  public:
    virtual ~OnboardingWindow() = default;
    /// Shows it in front of the others, with the keyboard.
    virtual void showInFront() = 0;
};

/// Port: how the program appears on the desktop. Main thread.
class Windowing {
  public:
    enum class Presence {
        taskBar, ///< an entry in the task bar
        trayOnly ///< nothing but the tray icon
    };

    virtual ~Windowing() = default;
    virtual void setPresence(Presence presence) = 0;
    /// Comes to the front, ignoring other programs.
    virtual void activate() = 0;
    /// "Set up Murmelo", 460 x 320, title and close button only, centred, showing that state. Closing it by
    /// its title bar only hides it.
    virtual std::unique_ptr<OnboardingWindow> makeOnboardingWindow(AppState& state) = 0;
};
