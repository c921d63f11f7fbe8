#pragma once

#include "app/app_status.h"
#include "ui/appearance.h"
#include "ui/panel_placement.h"
#include "ui/status_notifier_item.h"

#include <QColor>
#include <QIcon>
#include <QMenu>
#include <QObject>
#include <QString>
#include <QSystemTrayIcon>
#include <QTimer>
#include <filesystem>
#include <memory>
#include <optional>
#include <vector>

/// The program's icon on the desktop: a StatusNotifierItem where there is a host for it, else an icon in an
/// X11 tray, else none. Both kinds of tray may come and go at any time. The icon is a waveform in the colour
/// of the bar's text, and red while a recording runs. Hosts that find it by its name give it their bar's
/// colour; the others get a picture in the colour that text has on the desktop.
///
/// Main thread, after the application object, which is one with widgets.
class TrayIcon final : public QObject {
    Q_OBJECT

  public:
    enum class Host {
        unknown, ///< until the first hostChanged
        none,
        statusNotifier,
        x11Tray
    };

    /// `sessionBus` may be disconnected. `iconThemePath` holds the theme "hicolor" with our icons. The
    /// appearance outlives the icon.
    TrayIcon(const QDBusConnection& sessionBus, const QString& iconThemePath, const Appearance& appearance);

    Host host() const { return m_host; }
    /// Icon, tool tip and menu follow. Cheap when nothing of it has changed.
    void show(const AppStatus& status);

    /// What the secondary click offers, for a host that cannot draw it.
    QMenu& menu();
    StatusNotifierItem& item() { return m_item; }

  Q_SIGNALS:
    void hostChanged();
    /// The primary click, which opens the panel or closes it.
    void clicked(const PanelAnchor& anchor);
    // The menu; it is told in time when we draw it ourselves.
    void menuOpening();
    void openChosen();
    void toggleChosen();
    void quitChosen();

  private Q_SLOTS:
    void chooseHost();

  private:
    /// What can be seen of the status.
    struct Look {
        bool isRecording;
        bool isStarting;
        bool canToggle;
        bool operator==(const Look&) const = default;
    };

    struct Picture {
        bool isRecording;
        QColor text;
        QColor textBackground;
        bool operator==(const Picture&) const = default;
    };

    void setHost(Host host);
    void makeX11Icon();
    void draw();
    void drawInX11Tray();
    QIcon icon() const;
    std::vector<TrayMenuEntry> entries();
    void fillMenu();

    const Appearance& m_appearance;
    StatusNotifierItem m_item;
    QTimer m_lookout; // for an X11 tray, whose coming nobody tells
    Host m_host = Host::unknown;
    std::optional<Look> m_look;
    std::optional<Picture> m_picture;
    std::unique_ptr<QMenu> m_menu; // once someone needs it: widgets take long to load
    std::unique_ptr<QSystemTrayIcon> m_x11Icon;
};

/// Where our icons are: beside a program that is not installed in share/icons, else in ../share/icons.
QString iconThemePath(const std::filesystem::path& executableFolder);
