#include "ui/status_notifier_item.h"

#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QImage>
#include <QPixmap>
#include <QSize>
#include <QtEndian>
#include <utility>

namespace {

const auto watcherName = QStringLiteral("org.kde.StatusNotifierWatcher");
const auto watcherPath = QStringLiteral("/StatusNotifierWatcher");
const auto itemPath = QStringLiteral("/StatusNotifierItem"); // where watchers look
const auto menuObject = QStringLiteral("/MenuBar");

/// Does not start a watcher that does not run: without a tray nobody needs it.
QDBusMessage callOfWatcher(const QString& interface, const QString& method, const QVariantList& arguments) {
    QDBusMessage call = QDBusMessage::createMethodCall(watcherName, watcherPath, interface, method);
    call.setArguments(arguments);
    call.setAutoStartService(false);
    return call;
}

TrayPixmap trayPixmap(const QImage& drawn) {
    const QImage image = drawn.convertToFormat(QImage::Format_ARGB32);
    TrayPixmap pixmap{image.width(), image.height(), {}};
    for (int y = 0; y < image.height(); ++y) {
        const auto* const line = reinterpret_cast<const quint32*>(image.constScanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            const quint32 pixel = qToBigEndian(line[x]);
            pixmap.pixels.append(reinterpret_cast<const char*>(&pixel), sizeof pixel);
        }
    }
    return pixmap;
}

} // namespace

QDBusArgument& operator<<(QDBusArgument& out, const TrayPixmap& pixmap) {
    out.beginStructure();
    out << pixmap.width << pixmap.height << pixmap.pixels;
    out.endStructure();
    return out;
}
const QDBusArgument& operator>>(const QDBusArgument& in, TrayPixmap& pixmap) {
    in.beginStructure();
    in >> pixmap.width >> pixmap.height >> pixmap.pixels;
    in.endStructure();
    return in;
}

QDBusArgument& operator<<(QDBusArgument& out, const TrayToolTip& tip) {
    out.beginStructure();
    out << tip.iconName << tip.icon << tip.title << tip.text;
    out.endStructure();
    return out;
}
const QDBusArgument& operator>>(const QDBusArgument& in, TrayToolTip& tip) {
    in.beginStructure();
    in >> tip.iconName >> tip.icon >> tip.title >> tip.text;
    in.endStructure();
    return in;
}

StatusNotifierItem::StatusNotifierItem(const QDBusConnection& sessionBus, const QString& iconThemePath)
    : m_bus(sessionBus), m_iconThemePath(iconThemePath) {
    qDBusRegisterMetaType<TrayPixmap>();
    qDBusRegisterMetaType<TrayPixmaps>();
    qDBusRegisterMetaType<TrayToolTip>();
    if (!m_bus.isConnected()) {
        m_place = Place::none;
        return;
    }
    constexpr auto whatTheProtocolNames = QDBusConnection::ExportScriptableContents;
    m_bus.registerObject(itemPath, this, whatTheProtocolNames);
    m_bus.registerObject(menuObject, &m_menu, whatTheProtocolNames);
    for (const char* const signal : {"StatusNotifierHostRegistered", "StatusNotifierHostUnregistered"})
        m_bus.connect(watcherName, watcherPath, watcherName, QLatin1String(signal), this, SLOT(askForHost()));
    m_watcher.setConnection(m_bus);
    m_watcher.setWatchMode(QDBusServiceWatcher::WatchForOwnerChange);
    connect(&m_watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString&, const QString&, const QString& owner) {
                m_isAnnounced = false;
                if (owner.isEmpty())
                    setPlace(Place::none);
                else
                    announce();
            });
    m_watcher.addWatchedService(watcherName);
    m_bus.connect({}, QStringLiteral("/org/freedesktop/DBus/Local"),
                  QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"), this,
                  SLOT(busLost()));
    announce();
}

StatusNotifierItem::~StatusNotifierItem() {
    m_bus.unregisterObject(itemPath);
    m_bus.unregisterObject(menuObject);
}

QDBusObjectPath StatusNotifierItem::menuPath() const {
    return QDBusObjectPath(menuObject);
}

// --- to be seen
// ----------------------------------------------------------------------------------------------------

void StatusNotifierItem::announce() {
    const QDBusMessage call =
        callOfWatcher(watcherName, QStringLiteral("RegisterStatusNotifierItem"), {m_bus.baseService()});
    auto* const answer = new QDBusPendingCallWatcher(m_bus.asyncCall(call), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        answer->deleteLater();
        m_isAnnounced = !answer->isError();
        if (m_isAnnounced)
            askForHost();
        else
            setPlace(Place::none);
    });
}

/// The watcher alone shows nothing.
void StatusNotifierItem::askForHost() {
    const QDBusMessage call =
        callOfWatcher(QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"),
                      {watcherName, QStringLiteral("IsStatusNotifierHostRegistered")});
    auto* const answer = new QDBusPendingCallWatcher(m_bus.asyncCall(call), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        answer->deleteLater();
        if (!m_isAnnounced) return; // that watcher is gone
        const QDBusPendingReply<QDBusVariant> reply = *answer;
        const bool isSeen = reply.isError() || reply.value().variant().toBool(); // one that won't say has one
        setPlace(isSeen ? Place::tray : Place::none);
    });
}

/// For good: there is no way back to a bus that has ended.
void StatusNotifierItem::busLost() {
    m_isAnnounced = false;
    setPlace(Place::none);
}

void StatusNotifierItem::setPlace(Place place) {
    if (std::exchange(m_place, place) != place) Q_EMIT placeChanged();
}

// --- how it looks
// --------------------------------------------------------------------------------------------------

void StatusNotifierItem::setIcon(const QString& name, std::function<QIcon()> draw) {
    m_iconName = name;
    m_drawIcon = std::move(draw);
    Q_EMIT NewIcon();
}

TrayPixmaps StatusNotifierItem::iconPixmap() const {
    TrayPixmaps pixmaps;
    const QIcon icon = m_drawIcon ? m_drawIcon() : QIcon();
    for (const int size : {16, 22, 24, 32, 48})
        pixmaps.append(trayPixmap(icon.pixmap(QSize(size, size), 1.0).toImage()));
    return pixmaps;
}

void StatusNotifierItem::setToolTip(const QString& text) {
    m_toolTip = text;
    Q_EMIT NewToolTip();
}

// --- what is done to it
// --------------------------------------------------------------------------------------------

void StatusNotifierItem::Activate(int x, int y) {
    Q_EMIT clicked({x, y});
}

void StatusNotifierItem::SecondaryActivate(int x, int y) {
    Q_EMIT clicked({x, y}); // the middle button, which has no meaning of its own here
}

void StatusNotifierItem::ContextMenu(int x, int y) {
    Q_EMIT menuWanted({x, y});
}

void StatusNotifierItem::Scroll(int /*delta*/, const QString& /*orientation*/) {}

void StatusNotifierItem::ProvideXdgActivationToken(const QString& token) {
    qputenv("XDG_ACTIVATION_TOKEN", token.toUtf8()); // where Qt looks when a window is activated
}
