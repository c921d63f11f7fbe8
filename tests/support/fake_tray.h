#pragma once

#include "support/qt_bus.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QEventLoop>
#include <string>
#include <vector>

/// Lets the event loop run until `holds`.
template <typename Condition>
void waitUntil(Condition holds) {
    while (!holds()) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

/// A desktop's tray: the watcher that keeps the list of items, and, unless told otherwise, a host that shows
/// them. It works on the test's thread, in waitUntil.
class FakeTray {
  public:
    enum class Host { present, absent };

    explicit FakeTray(const PrivateBus& bus, Host host = Host::present) : m_bus(bus, nextName()) {
        m_watcher.host = host;
        m_bus.connection().registerVirtualObject(path, &m_watcher, QDBusConnection::SingleNode);
        m_bus.connection().registerService(name);
    }
    ~FakeTray() { m_bus.connection().unregisterService(name); }
    FakeTray(const FakeTray&) = delete;
    FakeTray& operator=(const FakeTray&) = delete;

    /// Bus names of the items that announced themselves, in order.
    const std::vector<std::string>& items() const { return m_watcher.items; }
    void setHost(Host host) {
        m_watcher.host = host;
        m_bus.connection().send(QDBusMessage::createSignal(
            path, name,
            host == Host::present ? "StatusNotifierHostRegistered" : "StatusNotifierHostUnregistered"));
    }

    /// Calls the last item and waits for its answer.
    QDBusMessage call(const QString& object, const QString& interface, const QString& method,
                      const QVariantList& arguments) {
        QDBusMessage message = QDBusMessage::createMethodCall(QString::fromStdString(m_watcher.items.back()),
                                                              object, interface, method);
        message.setArguments(arguments);
        QDBusPendingCallWatcher pending(m_bus.connection().asyncCall(message));
        waitUntil([&] { return pending.isFinished(); });
        return pending.reply();
    }
    QDBusMessage callItem(const QString& method, const QVariantList& arguments) {
        return call("/StatusNotifierItem", "org.kde.StatusNotifierItem", method, arguments);
    }
    QDBusMessage callMenu(const QString& method, const QVariantList& arguments) {
        return call("/MenuBar", "com.canonical.dbusmenu", method, arguments);
    }
    QVariantMap itemProperties() {
        return qdbus_cast<QVariantMap>(call("/StatusNotifierItem", "org.freedesktop.DBus.Properties",
                                            "GetAll", {"org.kde.StatusNotifierItem"})
                                           .arguments()
                                           .value(0));
    }

  private:
    static constexpr const char* name = "org.kde.StatusNotifierWatcher";
    static constexpr const char* path = "/StatusNotifierWatcher";

    static std::string nextName() {
        static int made = 0;
        return "tray " + std::to_string(++made);
    }

    class Watcher final : public QDBusVirtualObject {
      public:
        std::vector<std::string> items;
        Host host = Host::present;

        QString introspect(const QString& /*path*/) const override { return {}; }
        bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
            if (message.member() == "RegisterStatusNotifierItem") {
                items.push_back(message.arguments().at(0).toString().toStdString());
                return connection.send(message.createReply());
            }
            if (message.member() == "Get")
                return connection.send(
                    message.createReply(QVariant::fromValue(QDBusVariant(host == Host::present))));
            return false;
        }
    };

    QtBus m_bus;
    Watcher m_watcher;
};
