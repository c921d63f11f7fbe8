#pragma once

#include "app/mic_authorization.h"
#include "app/settings_store.h"
#include "app/windowing.h"
#include "app/workspace.h"
#include "platform/desktop/qt_main_queue.h"

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

/// Qt's event loop as the main queue, each of whose tasks is timed.
class MeasuredMain final : public TimedQueue {
  public:
    void async(Task task) override { m_queue.async(timed(std::move(task))); }
    void asyncAfter(Time delay, Task task) override { m_queue.asyncAfter(delay, timed(std::move(task))); }
    Time now() const override { return m_queue.now(); }

    /// Milliseconds; main thread.
    double longestBlock() const { return std::chrono::duration<double, std::milli>(m_longest).count(); }
    void forget() { m_longest = {}; }

  private:
    using Clock = std::chrono::steady_clock;

    Task timed(Task task) {
        return [this, task = std::move(task)] {
            const Clock::time_point begin = Clock::now();
            task();
            m_longest = std::max(m_longest, Clock::now() - begin);
        };
    }

    Clock::duration m_longest{0};
    QtMainQueue m_queue;
};

/// A desktop that allows everything and shows nothing.
class NoDesktop final : public SettingsStore, public MicAuthorization, public Workspace, public Windowing {
  public:
    std::optional<std::string> string(const std::string& /*key*/) const override { return std::nullopt; }
    bool boolean(const std::string& key) const override { return key == "onboarded"; }
    void setString(const std::string& /*key*/, const std::optional<std::string>& /*value*/) override {}
    void setBoolean(const std::string& /*key*/, bool /*value*/) override {}
    MicStatus status() const override { return MicStatus::authorized; }
    void requestAccess(std::function<void(bool)> answered) override { answered(true); }
    void open(const std::filesystem::path& /*file*/) override {}
    void openSettings(SettingsPage /*page*/) override {}
    void setPresence(Presence /*presence*/) override {}
    void activate() override {}
    std::unique_ptr<OnboardingWindow> makeOnboardingWindow(AppState& /*state*/) override { return nullptr; }
};
