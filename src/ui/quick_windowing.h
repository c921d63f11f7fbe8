#pragma once

#include "app/windowing.h"

#include <QObject>
#include <QPointer>
#include <QQuickWindow>
#include <functional>

class AppStateModel;
class Views;

/// The program's windows on the desktop. The onboarding window has a place in the task bar, the panel has
/// none: that alone makes the difference between the two kinds of presence, so there is nothing to switch.
class QuickWindowing final : public Windowing {
  public:
    /// `modelOf` gives the model of a state, which is made after the windowing. Both outlive it.
    QuickWindowing(Views& views, std::function<AppStateModel&(AppState&)> modelOf);

    void setPresence(Presence presence) override;
    void activate() override;
    std::unique_ptr<OnboardingWindow> makeOnboardingWindow(AppState& state) override;

    /// Runs `action` once no onboarding window is on the screen: at once, or in a turn of the event loop
    /// after it has closed. Never after this windowing is gone.
    void afterOnboarding(std::function<void()> action);

  private:
    Views& m_views;
    const std::function<AppStateModel&(AppState&)> m_modelOf;
    QPointer<QQuickWindow> m_onboardingWindow; // the latest
    QObject m_context;                         // ends the connections
};
