#pragma once

#include "ui/appearance.h"

#include <QObject>
#include <QPointer>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QString>
#include <QVariantMap>
#include <memory>

class AppStateModel;
class QQuickItem;
class QQuickWindow;

/// Makes the program's views: one QML engine with the symbols, and the theme as the user wants it.
///
/// From their making on the panel's types are loaded on a thread of the engine's, so that whoever makes them
/// early has less to wait for later.
///
/// What it makes goes with the model that it shows, or earlier when its owner destroys it; and all of it goes
/// before the Views do. Windows are drawn by the software renderer, which the first Views choose: make them
/// before any window. Main thread, after the application object.
class Views final {
  public:
    Views();

    /// The theme is as the user wants it for as long as there is an `appearance`. Before anything is made.
    void follow(const Appearance& appearance);

    /// What the tray icon shows: as large as its implicit size, on the panel's background. While its window
    /// is on the screen the meters move; Escape closes the window.
    QQuickItem* makePanel(AppStateModel& model);
    /// For behind the panel. Where its property "framed" is true it has round corners and a border; it is the
    /// caller's.
    std::unique_ptr<QQuickItem> makePanelBackground();
    /// A hidden window with everything that the user is asked for at the beginning.
    QQuickWindow* makeOnboardingWindow(AppStateModel& model);

    QQmlEngine& engine() { return m_engine; }
    /// The singleton Theme.qml. The first call waits until it is loaded.
    QObject& theme();

  private:
    QObject* create(const QString& type, const QVariantMap& properties);
    QObject* make(const QString& type, AppStateModel& model);
    void applyAppearance();

    QPointer<const Appearance> m_appearance;
    QQmlEngine m_engine;
    QQmlComponent m_panelTypes{&m_engine}; // only loads them; makes nothing
    QObject* m_theme = nullptr;            // the engine's, once it is needed: it comes with the types
    QObject m_context;                     // ends the connections
};
