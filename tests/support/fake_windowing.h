#pragma once

#include "app/windowing.h"
#include "support/call_journal.h"

/// A desktop with at most one onboarding window.
class FakeWindowing final : public Windowing {
  public:
    explicit FakeWindowing(CallJournal& journal) : m_journal(journal) {}

    void setPresence(Presence next) override {
        m_journal.note(next == Presence::taskBar ? "show in task bar" : "tray only");
        presence = next;
    }
    void activate() override { m_journal.note("activate"); }
    std::unique_ptr<OnboardingWindow> makeOnboardingWindow(AppState& /*state*/) override {
        m_journal.note("make window");
        return std::make_unique<Window>(*this);
    }

    /// The user closes the window by its title bar.
    void closeByTitleBar() { visible = false; }

    Presence presence = Presence::trayOnly;
    bool visible = false;

  private:
    class Window final : public OnboardingWindow {
      public:
        explicit Window(FakeWindowing& windowing) : m_windowing(windowing) {}
        ~Window() override {
            m_windowing.m_journal.note("close window");
            m_windowing.visible = false;
        }
        Window(const Window&) = delete;
        Window& operator=(const Window&) = delete;
        void showInFront() override {
            m_windowing.m_journal.note("window to front");
            m_windowing.visible = true;
        }

      private:
        FakeWindowing& m_windowing;
    };

    CallJournal& m_journal;
};
