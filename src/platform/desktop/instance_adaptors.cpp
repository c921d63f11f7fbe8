#include "platform/desktop/instance_adaptors.h"

#include "platform/desktop/instance_names.h"

#include <utility>

namespace {

/// Leaves the right to take the keyboard where Qt looks for it when a window is activated.
void keepActivationToken(const QVariantMap& platformData) {
    const QString token = platformData.value(QStringLiteral("activation-token")).toString();
    if (!token.isEmpty()) qputenv("XDG_ACTIVATION_TOKEN", token.toUtf8());
}

} // namespace

ApplicationAdaptor::ApplicationAdaptor(QObject* parent, Handlers handlers)
    : QDBusAbstractAdaptor(parent), m_handlers(std::move(handlers)) {}

void ApplicationAdaptor::Activate(const QVariantMap& platformData) {
    keepActivationToken(platformData);
    m_handlers.activate();
}

void ApplicationAdaptor::Open(const QStringList& /*uris*/, const QVariantMap& /*platformData*/) {}

void ApplicationAdaptor::ActivateAction(const QString& name, const QVariantList& /*parameters*/,
                                        const QVariantMap& platformData) {
    keepActivationToken(platformData);
    if (name == QLatin1String(instance::toggleRecording)) m_handlers.toggleRecording();
    if (name == QLatin1String("quit")) m_handlers.quit();
}

StatusAdaptor::StatusAdaptor(QObject* parent, std::function<AppStatus()> status)
    : QDBusAbstractAdaptor(parent), m_status(std::move(status)) {}

QString StatusAdaptor::microphone() const {
    return QString::fromStdString(m_status().microphone);
}

QString StatusAdaptor::lastRecording() const {
    const AppStatus status = m_status();
    return status.lastRecording ? QString::fromStdString(status.lastRecording->string()) : QString();
}

QString StatusAdaptor::text() const {
    return QString::fromStdString(m_status().text);
}
