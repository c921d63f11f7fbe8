#include "ui/tray_icon.h"

#include "base/program_part.h"
#include "ui/tinted_svg.h"

#include <QCursor>
#include <QGuiApplication>
#include <chrono>
#include <utility>

namespace {

using namespace std::chrono_literals;

const auto idleName = QStringLiteral("org.murmelo.Murmelo-symbolic");
const auto recordingName = QStringLiteral("org.murmelo.Murmelo-recording");

} // namespace

TrayIcon::TrayIcon(const QDBusConnection& sessionBus, const QString& iconThemePath,
                   const Appearance& appearance)
    : m_appearance(appearance), m_item(sessionBus, iconThemePath) {
    connect(&m_item, &StatusNotifierItem::placeChanged, this, &TrayIcon::chooseHost);
    connect(&m_item, &StatusNotifierItem::clicked, this,
            [this](const QPoint& physical) { Q_EMIT clicked(ClickPoint{physical}); });
    connect(&m_item, &StatusNotifierItem::menuWanted, this, [this] { menu().popup(QCursor::pos()); });
    connect(&m_appearance, &Appearance::changed, this, &TrayIcon::draw);
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
    m_x11Icon->setContextMenu(&menu());
    connect(m_x11Icon.get(), &QSystemTrayIcon::activated, this,
            [this](QSystemTrayIcon::ActivationReason reason) {
                if (reason != QSystemTrayIcon::Trigger && reason != QSystemTrayIcon::MiddleClick) return;
                const QRect area = m_x11Icon->geometry();
                Q_EMIT clicked(IconArea{area.isEmpty() ? QRect(QCursor::pos(), QSize(1, 1)) : area});
            });
    drawInX11Tray();
    m_x11Icon->show();
}

// --- how it looks
// --------------------------------------------------------------------------------------------------

void TrayIcon::show(const AppStatus& status) {
    const Look look{status.isRecording, status.isStarting, status.canToggle};
    if (m_look == look) return;
    m_look = look;
    draw();
    m_item.menu().setEntries(entries());
    if (m_menu) fillMenu();
}

void TrayIcon::draw() {
    const Picture picture{m_look->isRecording, m_appearance.text(), m_appearance.textBackground()};
    if (m_picture == picture) return;
    m_picture = picture;
    m_item.setIcon(picture.isRecording ? recordingName : idleName, [this] { return icon(); });
    m_item.setToolTip(picture.isRecording ? tr("Recording") : QString());
    if (m_x11Icon) drawInX11Tray();
}

void TrayIcon::drawInX11Tray() {
    m_x11Icon->setIcon(icon());
    m_x11Icon->setToolTip(m_picture->isRecording ? tr("Murmelo: Recording") : QStringLiteral("Murmelo"));
}

/// For whoever does not look for it by its name.
QIcon TrayIcon::icon() const {
    const auto file = [this](const QString& folder, const QString& name) {
        return QStringLiteral("%1/hicolor/%2/apps/%3.svg").arg(m_item.iconThemePath(), folder, name);
    };
    if (m_picture->isRecording) return QIcon(file(QStringLiteral("scalable"), recordingName));
    return tintedIcon(file(QStringLiteral("symbolic"), idleName), m_picture->text, m_picture->textBackground);
}

std::vector<TrayMenuEntry> TrayIcon::entries() {
    const QString record = m_look->isRecording  ? tr("Stop")
                           : m_look->isStarting ? tr("Starting…")
                                                : tr("Start Recording");
    return {{tr("Open Murmelo"), [this] { Q_EMIT openChosen(); }},
            {record, [this] { Q_EMIT toggleChosen(); }, m_look->canToggle},
            {},
            {tr("Quit"), [this] { Q_EMIT quitChosen(); }}};
}

QMenu& TrayIcon::menu() {
    if (m_menu) return *m_menu;
    m_menu = std::make_unique<QMenu>();
    connect(m_menu.get(), &QMenu::aboutToShow, this, &TrayIcon::menuOpening);
    fillMenu();
    return *m_menu;
}

void TrayIcon::fillMenu() {
    m_menu->clear();
    for (const TrayMenuEntry& entry : entries()) {
        if (entry.label.isEmpty()) {
            m_menu->addSeparator();
            continue;
        }
        QAction* const action = m_menu->addAction(entry.label);
        action->setEnabled(entry.isEnabled);
        connect(action, &QAction::triggered, this, entry.chosen);
    }
}

QString iconThemePath(const std::filesystem::path& executableFolder) {
    return QString::fromStdString(programPart(executableFolder, "share/icons").string());
}
