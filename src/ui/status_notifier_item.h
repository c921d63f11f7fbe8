#pragma once

#include "ui/tray_menu.h"

#include <QByteArray>
#include <QDBusConnection>
#include <QDBusObjectPath>
#include <QDBusServiceWatcher>
#include <QIcon>
#include <QList>
#include <QObject>
#include <QPoint>
#include <QString>
#include <functional>

/// (iiay): 32 bits a pixel, alpha first, in network byte order.
struct TrayPixmap {
    int width = 0;
    int height = 0;
    QByteArray pixels;
};
using TrayPixmaps = QList<TrayPixmap>;
/// (sa(iiay)ss)
struct TrayToolTip {
    QString iconName;
    TrayPixmaps icon;
    QString title;
    QString text;
};
QDBusArgument& operator<<(QDBusArgument& out, const TrayPixmap& pixmap);
const QDBusArgument& operator>>(const QDBusArgument& in, TrayPixmap& pixmap);
QDBusArgument& operator<<(QDBusArgument& out, const TrayToolTip& tip);
const QDBusArgument& operator>>(const QDBusArgument& in, TrayToolTip& tip);
Q_DECLARE_METATYPE(TrayPixmap)
Q_DECLARE_METATYPE(TrayToolTip)

/// Our icon in the desktop's tray, on the bus (org.kde.StatusNotifierItem, as on freedesktop.org). A watcher
/// keeps the list of such items, a host draws them. Either may come late, go and come again; the item then
/// announces itself again. A click reaches us with its position, which is where the panel opens.
///
/// Main thread. Whatever the bus does, nothing here blocks.
class StatusNotifierItem final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierItem")
    Q_PROPERTY(QString Category READ category SCRIPTABLE true)
    Q_PROPERTY(QString Id READ id SCRIPTABLE true)
    Q_PROPERTY(QString Title READ title SCRIPTABLE true)
    Q_PROPERTY(QString Status READ status SCRIPTABLE true)
    Q_PROPERTY(int WindowId READ windowId SCRIPTABLE true)
    Q_PROPERTY(QString IconName READ iconName SCRIPTABLE true)
    Q_PROPERTY(QString IconThemePath READ iconThemePath SCRIPTABLE true)
    Q_PROPERTY(TrayPixmaps IconPixmap READ iconPixmap SCRIPTABLE true)
    Q_PROPERTY(TrayToolTip ToolTip READ toolTip SCRIPTABLE true)
    Q_PROPERTY(bool ItemIsMenu READ itemIsMenu SCRIPTABLE true)
    Q_PROPERTY(QDBusObjectPath Menu READ menuPath SCRIPTABLE true)

  public:
    enum class Place {
        unknown, ///< the bus has not answered yet
        none,    ///< nobody shows it
        tray     ///< a host shows it
    };

    /// `sessionBus` may be disconnected. `iconThemePath` holds the theme "hicolor" with our icons.
    StatusNotifierItem(const QDBusConnection& sessionBus, const QString& iconThemePath);
    ~StatusNotifierItem() override;
    StatusNotifierItem(const StatusNotifierItem&) = delete;
    StatusNotifierItem& operator=(const StatusNotifierItem&) = delete;

    Place place() const { return m_place; }
    /// The icon of that name in the theme, and what hosts without themes show instead: drawn when one asks.
    void setIcon(const QString& name, std::function<QIcon()> draw);
    void setToolTip(const QString& text);
    TrayMenu& menu() { return m_menu; }

    QString category() const { return QStringLiteral("ApplicationStatus"); }
    QString id() const { return QStringLiteral("murmelo"); }
    QString title() const { return QStringLiteral("Murmelo"); }
    QString status() const { return QStringLiteral("Active"); }
    int windowId() const { return 0; }
    QString iconName() const { return m_iconName; }
    QString iconThemePath() const { return m_iconThemePath; }
    TrayPixmaps iconPixmap() const;
    TrayToolTip toolTip() const { return {{}, {}, title(), m_toolTip}; }
    bool itemIsMenu() const { return false; } // a click is ours, not the menu's
    QDBusObjectPath menuPath() const;

  public Q_SLOTS:
    // Named and shaped by the protocol. Positions are physical pixels.
    Q_SCRIPTABLE void Activate(int x, int y);
    Q_SCRIPTABLE void SecondaryActivate(int x, int y);
    /// Of hosts that don't draw menus.
    Q_SCRIPTABLE void ContextMenu(int x, int y);
    Q_SCRIPTABLE void Scroll(int delta, const QString& orientation);
    /// The right to take the keyboard with the next window (Wayland).
    Q_SCRIPTABLE void ProvideXdgActivationToken(const QString& token);

  Q_SIGNALS:
    Q_SCRIPTABLE void NewTitle();
    Q_SCRIPTABLE void NewIcon();
    Q_SCRIPTABLE void NewToolTip();
    Q_SCRIPTABLE void NewStatus(const QString& status);

    void clicked(const QPoint& physical);
    void menuWanted(const QPoint& physical);
    void placeChanged();

  private Q_SLOTS:
    void askForHost();
    void busLost();

  private:
    void announce();
    void setPlace(Place place);

    QDBusConnection m_bus;
    const QString m_iconThemePath;
    QDBusServiceWatcher m_watcher;
    TrayMenu m_menu;
    Place m_place = Place::unknown;
    bool m_isAnnounced = false; // to the watcher that is there now
    QString m_iconName;
    std::function<QIcon()> m_drawIcon;
    QString m_toolTip;
};
