#include "platform/desktop/notification.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QStringList>
#include <QVariantMap>
#include <utility>

namespace {

const auto service = QStringLiteral("org.freedesktop.Notifications");
const auto path = QStringLiteral("/org/freedesktop/Notifications");
const auto defaultAction = QStringLiteral("default"); // a click on the bubble itself
const auto cancelKey = QStringLiteral("cancel");
constexpr int desktopDecides = -1;
constexpr int never = 0;

} // namespace

Notification::Notification(const QDBusConnection& sessionBus, Urgency urgency)
    : m_bus(sessionBus), m_urgency(urgency) {
    m_bus.connect(service, path, service, QStringLiteral("NotificationClosed"), this,
                  SLOT(notificationClosed(uint, uint)));
    m_bus.connect(service, path, service, QStringLiteral("ActionInvoked"), this,
                  SLOT(actionInvoked(uint, QString)));
    m_bus.connect(service, path, service, QStringLiteral("ActivationToken"), this,
                  SLOT(activationTokenGiven(uint, QString)));
}

void Notification::show(const Text& text) {
    m_text = text;
    m_isWithdrawn = false;
    if (m_isSending)
        m_hasChanged = true; // its id is needed first, or there would be two
    else
        send();
}

void Notification::send() {
    m_hasChanged = false;
    if (!m_bus.isConnected()) return Q_EMIT refused(QStringLiteral("there is no session bus"));
    m_isSending = true;
    QStringList actions;
    if (!action.isEmpty()) actions << defaultAction << action;
    if (!cancelAction.isEmpty()) actions << cancelKey << cancelAction;
    const Urgency urgency = m_text.isQuiet ? Urgency::low : m_urgency;
    const QVariantMap hints{{QStringLiteral("urgency"), QVariant::fromValue(static_cast<uchar>(urgency))},
                            {QStringLiteral("desktop-entry"), QStringLiteral("org.murmelo.Murmelo")}};
    QDBusMessage call = QDBusMessage::createMethodCall(service, path, service, QStringLiteral("Notify"));
    call.setArguments({QStringLiteral("Murmelo"), m_id, QStringLiteral("org.murmelo.Murmelo"), m_text.summary,
                       m_text.body.toHtmlEscaped(), actions, hints, m_text.stays ? never : desktopDecides});
    auto* const answer = new QDBusPendingCallWatcher(m_bus.asyncCall(call), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        answer->deleteLater();
        const QDBusPendingReply<uint> reply = *answer;
        if (reply.isError()) Q_EMIT refused(reply.error().message());
        answered(reply.isError() ? 0 : reply.value());
    });
}

void Notification::answered(uint id) {
    m_isSending = false;
    m_id = id;
    if (m_isWithdrawn)
        withdraw();
    else if (m_hasChanged)
        send();
}

void Notification::withdraw() {
    m_isWithdrawn = m_isSending; // its id is needed first
    m_hasChanged = false;
    if (m_isSending || m_id == 0) return;
    QDBusMessage call =
        QDBusMessage::createMethodCall(service, path, service, QStringLiteral("CloseNotification"));
    call.setArguments({m_id});
    m_bus.send(call);
    m_id = 0;
}

void Notification::notificationClosed(uint id, uint /*reason*/) {
    if (m_id == 0 || id != m_id) return;
    m_id = 0;
    Q_EMIT closed();
}

void Notification::actionInvoked(uint id, const QString& key) {
    if (m_id == 0 || id != m_id) return;
    if (key == defaultAction) Q_EMIT clicked();
    if (key == cancelKey) Q_EMIT cancelClicked();
}

void Notification::activationTokenGiven(uint id, const QString& token) {
    if (m_id != 0 && id == m_id) qputenv("XDG_ACTIVATION_TOKEN", token.toUtf8());
}
