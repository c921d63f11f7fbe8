#include "platform/desktop/bus_running_instance.h"

#include "base/error.h"
#include "platform/desktop/instance_names.h"

#include <QDBusArgument>
#include <QDBusError>
#include <QVariantMap>
#include <cerrno>

namespace {

constexpr int longestAnswer = 5000; // milliseconds

} // namespace

std::optional<QDBusMessage> BusRunningInstance::call(const QString& interface, const QString& method,
                                                     const QVariantList& arguments) {
    if (!m_bus.isConnected()) return std::nullopt;
    QDBusMessage message = QDBusMessage::createMethodCall(QLatin1String(instance::name),
                                                          QLatin1String(instance::path), interface, method);
    message.setArguments(arguments);
    message.setAutoStartService(false);
    const QDBusMessage answer = m_bus.call(message, QDBus::Block, longestAnswer);
    if (answer.type() != QDBusMessage::ErrorMessage) return answer;
    const QDBusError::ErrorType error = QDBusError(answer).type();
    if (error == QDBusError::ServiceUnknown || error == QDBusError::Disconnected ||
        answer.errorName() == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner"))
        return std::nullopt;
    throw Error("posix", ETIMEDOUT, "Murmelo runs, but it does not answer.");
}

std::optional<AppStatus> BusRunningInstance::status() {
    const auto answer = call(QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("GetAll"),
                             {QLatin1String(instance::status)});
    if (!answer) return std::nullopt;
    const auto properties = qdbus_cast<QVariantMap>(answer->arguments().value(0));
    const auto property = [&](const char* name) { return properties.value(QLatin1String(name)); };
    AppStatus status;
    status.isRecording = property("IsRecording").toBool();
    status.isStarting = property("IsStarting").toBool();
    status.canToggle = property("CanToggle").toBool();
    status.elapsed = property("Elapsed").toDouble();
    status.microphone = property("Microphone").toString().toStdString();
    const std::string last = property("LastRecording").toString().toStdString();
    if (!last.empty()) status.lastRecording = last;
    status.text = property("Text").toString().toStdString();
    return status;
}

bool BusRunningInstance::toggleRecording() {
    return call(QLatin1String(instance::application), QStringLiteral("ActivateAction"),
                {QLatin1String(instance::toggleRecording), QVariantList(), QVariantMap()})
        .has_value();
}
