#pragma once

#include "ui/app_state_model.h"
#include "ui/appearance.h"
#include "ui/panel_window.h"
#include "ui/quick_windowing.h"
#include "ui/tray_icon.h"
#include "ui/views.h"

#include <QDBusConnection>
#include <QObject>
#include <memory>

/// What there is of the program on the desktop: the tray icon, the panel that it opens, the onboarding
/// window.
///
/// Main thread, after the application object, which is one with widgets.
class Face {
  public:
    /// `sessionBus` may be disconnected. Views and workspace outlive the face.
    Face(Views& views, const QDBusConnection& sessionBus, Workspace& workspace);

    /// For the state, which is made after it and goes before it.
    Windowing& windowing() { return m_windowing; }

    /// Puts the icon into the tray, and opens the panel as an ordinary window where there is no tray, after
    /// the first-run window has closed. Once. State and clock last until forgetState.
    void show(AppState& state, const TimedQueue& clock);
    /// The user has asked for the program, but not by a click on the icon.
    void openPanel();
    /// Everything that shows the state goes; then the state can.
    void forgetState();

  private:
    AppStateModel& modelOf(AppState& state);
    void connectTray(AppState& state);

    Views& m_views;
    Workspace& m_workspace;
    QDBusConnection m_sessionBus;
    Appearance m_appearance;
    QuickWindowing m_windowing;
    std::unique_ptr<AppStateModel> m_model;
    std::unique_ptr<PanelWindow> m_panel;
    std::unique_ptr<TrayIcon> m_tray;
    QObject m_context; // ends the connections
};
