#include "platform/desktop/desktop_mic_authorization.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <unistd.h>
#include <utility>

namespace {

using Permissions = QMap<QString, QStringList>; // of each application: "yes", "no" or "ask"

constexpr int longestRead = 500; // milliseconds

const auto portal = QStringLiteral("org.freedesktop.portal.Desktop");
const auto portalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const auto settingsInterface = QStringLiteral("org.freedesktop.portal.Settings");
const auto deviceInterface = QStringLiteral("org.freedesktop.portal.Device");
const auto requestInterface = QStringLiteral("org.freedesktop.portal.Request");
const auto store = QStringLiteral("org.freedesktop.impl.portal.PermissionStore");
const auto storePath = QStringLiteral("/org/freedesktop/impl/portal/PermissionStore");

const auto switchArea = QStringLiteral("org.gnome.desktop.privacy");
const auto switchKey = QStringLiteral("disable-microphone");
const auto devicesTable = QStringLiteral("devices");
const auto microphone = QStringLiteral("microphone");
const auto requestToken = QStringLiteral("murmelo_microphone");

/// Does not start a service that does not run: it would not know more than we do.
QDBusMessage call(const QString& service, const QString& path, const QString& interface,
                  const QString& method, const QVariantList& arguments) {
    QDBusMessage message = QDBusMessage::createMethodCall(service, path, interface, method);
    message.setArguments(arguments);
    message.setAutoStartService(false);
    return message;
}

bool isReply(const QDBusMessage& message) {
    return message.type() == QDBusMessage::ReplyMessage && !message.arguments().isEmpty();
}

/// Without the variants around it.
QVariant innermost(QVariant value) {
    while (value.canConvert<QDBusVariant>()) value = value.value<QDBusVariant>().variant();
    return value;
}

} // namespace

DesktopMicAuthorization::DesktopMicAuthorization(const QDBusConnection& sessionBus) : m_bus(sessionBus) {
    if (!m_bus.isConnected()) return;
    qDBusRegisterMetaType<Permissions>();
    // Makes Qt know the types of D-Bus; until it has been asked for one, it connects no signal that carries
    // one.
    QDBusMetaType::typeToSignature(QMetaType::fromType<QDBusVariant>());
    m_bus.connect(portal, portalPath, settingsInterface, QStringLiteral("SettingChanged"), this,
                  SLOT(settingChanged(QString, QString, QDBusVariant)));
    m_bus.connect(store, storePath, store, QStringLiteral("Changed"), this,
                  SLOT(permissionsChanged(QString, QString, bool, QDBusVariant, QMap<QString, QStringList>)));
    m_services.setConnection(m_bus);
    m_services.addWatchedService(portal);
    m_services.addWatchedService(store);
    connect(&m_services, &QDBusServiceWatcher::serviceRegistered, this,
            &DesktopMicAuthorization::serviceCame);
    connect(&m_services, &QDBusServiceWatcher::serviceUnregistered, this,
            &DesktopMicAuthorization::serviceWent);
    readSwitch();
    readPermissions();
}

MicStatus DesktopMicAuthorization::status() const {
    return m_switchedOff ? MicStatus::restricted : m_permission.load();
}

// --- what the desktop says
// ------------------------------------------------------------------------------------

void DesktopMicAuthorization::serviceCame(const QString& service) {
    if (service == portal) readSwitch();
    if (service == store) readPermissions();
}

/// What it said last holds; but the user can no longer answer it.
void DesktopMicAuthorization::serviceWent(const QString& service) {
    if (service == portal) answer();
}

void DesktopMicAuthorization::readSwitch() {
    const QDBusMessage reply = m_bus.call(
        call(portal, portalPath, settingsInterface, QStringLiteral("Read"), {switchArea, switchKey}),
        QDBus::Block, longestRead);
    if (isReply(reply)) m_switchedOff = innermost(reply.arguments().first()).toBool();
}

void DesktopMicAuthorization::readPermissions() {
    const QDBusMessage reply =
        m_bus.call(call(store, storePath, store, QStringLiteral("Lookup"), {devicesTable, microphone}),
                   QDBus::Block, longestRead);
    if (isReply(reply)) takePermissions(qdbus_cast<Permissions>(reply.arguments().first()));
}

void DesktopMicAuthorization::takePermissions(const Permissions& permissions) {
    // Programs that are not in a sandbox share the empty name unless they have been told apart.
    QStringList own = permissions.value(QStringLiteral("org.murmelo.Murmelo"));
    if (own.isEmpty()) own = permissions.value(QString());
    const QString word = own.value(0);
    m_permission = word == QLatin1String("no")    ? MicStatus::denied
                   : word == QLatin1String("ask") ? MicStatus::notDetermined
                                                  : MicStatus::authorized;
}

void DesktopMicAuthorization::settingChanged(const QString& area, const QString& key,
                                             const QDBusVariant& value) {
    if (area == switchArea && key == switchKey) m_switchedOff = innermost(value.variant()).toBool();
}

void DesktopMicAuthorization::permissionsChanged(const QString& table, const QString& id, bool deleted,
                                                 const QDBusVariant& /*data*/,
                                                 const Permissions& permissions) {
    if (table == devicesTable && id == microphone) takePermissions(deleted ? Permissions() : permissions);
}

// --- asking for access
// ------------------------------------------------------------------------------------

void DesktopMicAuthorization::requestAccess(std::function<void(bool)> answered) {
    m_waiting.push_back(std::move(answered));
    if (m_waiting.size() > 1) return; // the question is on the screen
    if (status() != MicStatus::notDetermined || !askUser()) answer();
}

bool DesktopMicAuthorization::askUser() {
    QString sender = m_bus.baseService().mid(1);
    sender.replace(QLatin1Char('.'), QLatin1Char('_'));
    const QString request =
        portalPath + QStringLiteral("/request/") + sender + QLatin1Char('/') + requestToken;
    m_bus.connect(portal, request, requestInterface, QStringLiteral("Response"), this,
                  SLOT(requestAnswered(uint, QVariantMap)));
    const QVariantMap options{{QStringLiteral("handle_token"), requestToken}};
    return isReply(m_bus.call(call(portal, portalPath, deviceInterface, QStringLiteral("AccessDevice"),
                                   {static_cast<uint>(getpid()), QStringList{microphone}, options}),
                              QDBus::Block, longestRead));
}

void DesktopMicAuthorization::requestAnswered(uint /*response*/, const QVariantMap& /*results*/) {
    readPermissions();
    answer();
}

void DesktopMicAuthorization::answer() {
    for (const auto& answered : std::exchange(m_waiting, {})) answered(status() == MicStatus::authorized);
}
