#pragma once

#include "base/serial_queue.h"
#include "ui/panel_placement.h"

#include <QObject>
#include <QPointer>
#include <QQuickItem>
#include <QQuickWindow>
#include <memory>
#include <optional>

/// The panel's window. At the tray icon it has no frame and no place in the task bar, stays in front, and
/// closes when the keyboard goes elsewhere (so does a click outside), by Escape and by a second click on the
/// icon. Where there is no tray it is an ordinary window.
///
/// Its corners are round: transparent where windows are blended, else cut off.
///
/// Its size is the content's implicit one, always. Under Wayland the compositor decides where it is: only its
/// fixed size tells that it is not to be tiled.
///
/// Main thread, after the application object.
class PanelWindow final : public QObject {
    Q_OBJECT

  public:
    /// Shows `content`, which someone else owns and which may go first. `clock` outlives the window.
    /// `background` is one of Views.
    PanelWindow(QQuickItem& content, std::unique_ptr<QQuickItem> background, const TimedQueue& clock);
    ~PanelWindow() override;
    PanelWindow(const PanelWindow&) = delete;
    PanelWindow& operator=(const PanelWindow&) = delete;

    /// A click on the tray icon: opens the panel there, or closes it.
    void toggle(const PanelAnchor& anchor);
    void open(const PanelAnchor& anchor);
    void openAsOrdinaryWindow();
    void close();
    /// As when the keyboard goes elsewhere: not the ordinary window.
    void closeAtIcon();
    /// Now there is a tray: the ordinary window goes, unless the user has clicked or typed in it.
    void closeUnusedOrdinaryWindow();
    bool isOpen() const;

    QQuickWindow& window() { return *m_window; }

    bool eventFilter(QObject* watched, QEvent* event) override;

  private Q_SLOTS:
    void colourWindow();

  private:
    void show();
    void chooseTransparency();
    void fit();
    void lostKeyboard();

    const TimedQueue& m_clock;
    const std::unique_ptr<QQuickWindow> m_window;
    const std::unique_ptr<QQuickItem> m_background;
    bool m_isTransparent = true; // else the corners are cut off
    const QPointer<QQuickItem> m_content;
    std::optional<PanelAnchor> m_anchor;                 // nothing: an ordinary window
    bool m_isUsed = false;                               // since it was opened
    std::optional<TimedQueue::Time> m_closedByFocusLoss; // when
};
