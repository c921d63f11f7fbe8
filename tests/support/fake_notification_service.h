#pragma once

#include "support/qt_bus.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QStringList>
#include <QVariantMap>
#include <string>
#include <vector>

/// The desktop's bubbles. Works on the test's thread, while the event loop runs.
class FakeNotificationService {
  public:
    struct Shown {
        uint id;
        uint replaces;
        std::string summary;
        std::string body;
        QStringList actions;
        QVariantMap hints;
        int expiry; ///< milliseconds; 0: never, -1: the desktop decides
    };

    explicit FakeNotificationService(const PrivateBus& bus) : m_bus(bus, "notifications") {
        m_bus.connection().registerVirtualObject(path, &m_object, QDBusConnection::SingleNode);
        m_bus.connection().registerService(name);
    }

    /// In the order of the calls.
    const std::vector<Shown>& shown() const { return m_object.shown; }
    void click(uint id) { press(id, "default"); }
    void press(uint id, const char* key) { send("ActionInvoked", {id, key}); }
    /// Which the program itself took off the screen.
    const std::vector<uint>& withdrawn() const { return m_object.withdrawn; }
    /// The user has seen it.
    void close(uint id) { send("NotificationClosed", {id, 2U}); }

  private:
    static constexpr const char* name = "org.freedesktop.Notifications";
    static constexpr const char* path = "/org/freedesktop/Notifications";

    class Object final : public QDBusVirtualObject {
      public:
        std::vector<Shown> shown;
        std::vector<uint> withdrawn;

        QString introspect(const QString& /*path*/) const override { return {}; }
        bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
            if (message.member() == "CloseNotification" && message.signature() == "u") {
                withdrawn.push_back(message.arguments()[0].toUInt());
                return true;
            }
            if (message.member() != "Notify" || message.signature() != "susssasa{sv}i") return false;
            const QVariantList arguments = message.arguments();
            const uint replaced = arguments[1].toUInt();
            const uint id = replaced != 0 ? replaced : ++m_lastId;
            shown.push_back({id, replaced, arguments[3].toString().toStdString(),
                             arguments[4].toString().toStdString(), arguments[5].toStringList(),
                             qdbus_cast<QVariantMap>(arguments[6]), arguments[7].toInt()});
            return connection.send(message.createReply(id));
        }

      private:
        uint m_lastId = 0;
    };

    void send(const char* signal, const QVariantList& arguments) {
        QDBusMessage message = QDBusMessage::createSignal(path, name, signal);
        message.setArguments(arguments);
        m_bus.connection().send(message);
    }

    QtBus m_bus;
    Object m_object;
};
