#include "ui/tray_icon.h"

#include <QCursor>
#include <QGuiApplication>
#include <chrono>
#include <utility>

namespace {

using namespace std::chrono_literals;

const auto idleName = QStringLiteral("org.murmelo.Murmelo-symbolic");
const auto recordingName = QStringLiteral("org.murmelo.Murmelo-recording");

QIcon iconOf(const QString& themePath, const QString& folder, const QString& name) {
    return QIcon(QStringLiteral("%1/hicolor/%2/apps/%3.svg").arg(themePath, folder, name));
}

} // namespace

TrayIcon::TrayIcon(const QDBusConnection& sessionBus, const QString& iconThemePath)
    : m_item(sessionBus, iconThemePath), m_idle(iconOf(iconThemePath, QStringLiteral("symbolic"), idleName)),
      m_recording(iconOf(iconThemePath, QStringLiteral("scalable"), recordingName)) {
    connect(&m_item, &StatusNotifierItem::placeChanged, this, &TrayIcon::chooseHost);
    connect(&m_item, &StatusNotifierItem::clicked, this,
            [this](const QPoint& physical) { Q_EMIT clicked(ClickPoint{physical}); });
    connect(&m_item, &StatusNotifierItem::menuWanted, this, [this] { m_menu.popup(QCursor::pos()); });
    connect(&m_menu, &QMenu::aboutToShow, this, &TrayIcon::menuOpening);
    m_lookout.setInterval(3s);
    connect(&m_lookout, &QTimer::timeout, this, &TrayIcon::chooseHost);
    show({});
    // Whoever made this has connected itself by then.
    QMetaObject::invokeMethod(this, "chooseHost", Qt::QueuedConnection);
}

// --- where it is
// -----------------------------------------------------------------------------------------------------

void TrayIcon::chooseHost() {
    using Place = StatusNotifierItem::Place;
    if (m_item.place() == Place::unknown) return;
    if (m_item.place() == Place::tray) {
        m_lookout.stop();
        m_x11Icon.reset();
        return setHost(Host::statusNotifier);
    }
    // Only now: as long as there is a watcher, Qt would make an item of its own.
    if (QGuiApplication::platformName() == QLatin1String("xcb")) m_lookout.start();
    const bool hasX11Tray = QSystemTrayIcon::isSystemTrayAvailable();
    if (hasX11Tray && !m_x11Icon) makeX11Icon();
    if (!hasX11Tray) m_x11Icon.reset();
    setHost(hasX11Tray ? Host::x11Tray : Host::none);
}

void TrayIcon::setHost(Host host) {
    if (std::exchange(m_host, host) != host) Q_EMIT hostChanged();
}

void TrayIcon::makeX11Icon() {
    m_x11Icon = std::make_unique<QSystemTrayIcon>();
    m_x11Icon->setContextMenu(&m_menu);
    connect(m_x11Icon.get(), &QSystemTrayIcon::activated, this,
            [this](QSystemTrayIcon::ActivationReason reason) {
                if (reason != QSystemTrayIcon::Trigger && reason != QSystemTrayIcon::MiddleClick) return;
                const QRect area = m_x11Icon->geometry();
                Q_EMIT clicked(IconArea{area.isEmpty() ? QRect(QCursor::pos(), QSize(1, 1)) : area});
            });
    draw();
    m_x11Icon->show();
}

// --- how it looks
// --------------------------------------------------------------------------------------------------

void TrayIcon::show(const AppStatus& status) {
    const Look look{status.isRecording, status.isStarting, status.canToggle};
    if (m_look == look) return;
    m_look = look;
    draw();
    drawMenu();
}

void TrayIcon::draw() {
    const bool isRecording = m_look->isRecording;
    const QString name = isRecording ? recordingName : idleName;
    const QIcon& icon = isRecording ? m_recording : m_idle;
    if (m_item.iconName() != name) {
        m_item.setIcon(name, icon);
        m_item.setToolTip(isRecording ? tr("Recording") : QString());
    }
    if (!m_x11Icon) return;
    m_x11Icon->setIcon(icon);
    m_x11Icon->setToolTip(isRecording ? tr("Murmelo: Recording") : QStringLiteral("Murmelo"));
}

void TrayIcon::drawMenu() {
    const QString record = m_look->isRecording  ? tr("Stop")
                           : m_look->isStarting ? tr("Starting…")
                                                : tr("Start Recording");
    std::vector<TrayMenuEntry> entries;
    entries.push_back({tr("Open Murmelo"), [this] { Q_EMIT openChosen(); }});
    entries.push_back({record, [this] { Q_EMIT toggleChosen(); }, m_look->canToggle});
    entries.push_back({});
    entries.push_back({tr("Quit"), [this] { Q_EMIT quitChosen(); }});

    m_menu.clear();
    for (const TrayMenuEntry& entry : entries) {
        if (entry.label.isEmpty()) {
            m_menu.addSeparator();
            continue;
        }
        QAction* const action = m_menu.addAction(entry.label);
        action->setEnabled(entry.isEnabled);
        connect(action, &QAction::triggered, this, entry.chosen);
    }
    m_item.menu().setEntries(std::move(entries));
}

QString iconThemePath(const std::filesystem::path& executableFolder) {
    std::error_code ignored;
    const std::filesystem::path inBuildTree = executableFolder / "share" / "icons";
    const std::filesystem::path found =
        std::filesystem::exists(inBuildTree, ignored)
            ? inBuildTree
            : (executableFolder / ".." / "share" / "icons").lexically_normal();
    return QString::fromStdString(found.string());
}
