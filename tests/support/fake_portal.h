#pragma once

#include "support/qt_bus.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QMap>
#include <QStringList>
#include <QThread>
#include <atomic>
#include <mutex>
#include <string>

/// The desktop's portal with its permission store, on a thread of its own. It tells of each change.
class FakePortal {
  public:
    explicit FakePortal(const PrivateBus& bus, bool disabled = false) : m_bus(bus, "portal") {
        qDBusRegisterMetaType<QMap<QString, QStringList>>();
        m_object.disabled = disabled;
        m_object.moveToThread(&m_thread);
        m_thread.start();
        QDBusConnection connection = m_bus.connection();
        for (const char* path : {"/org/freedesktop/portal/desktop", store})
            connection.registerVirtualObject(path, &m_object, QDBusConnection::SingleNode);
        for (const char* name : {"org.freedesktop.portal.Desktop", storeName})
            connection.registerService(name);
    }
    ~FakePortal() {
        QDBusConnection connection = m_bus.connection();
        for (const char* name : {"org.freedesktop.portal.Desktop", storeName})
            connection.unregisterService(name);
        m_thread.quit();
        m_thread.wait();
    }
    FakePortal(const FakePortal&) = delete;
    FakePortal& operator=(const FakePortal&) = delete;

    void setDisabled(bool disabled) {
        m_object.disabled = disabled;
        emitSignal(
            "/org/freedesktop/portal/desktop", "org.freedesktop.portal.Settings", "SettingChanged",
            {"org.gnome.desktop.privacy", "disable-microphone", QVariant::fromValue(QDBusVariant(disabled))});
    }
    void setPermission(const std::string& word) {
        m_object.setWord(word);
        emitSignal(
            store, storeName, "Changed",
            {"devices", "microphone", false, QVariant::fromValue(QDBusVariant(0)), m_object.permissions()});
    }
    /// How often the user was asked.
    int questions() const { return m_object.questions; }
    /// The user answers.
    void answer(const std::string& word) {
        setPermission(word);
        emitSignal(m_object.request(), "org.freedesktop.portal.Request", "Response",
                   {word == "yes" ? 0U : 1U, QVariantMap()});
    }

  private:
    static constexpr const char* store = "/org/freedesktop/impl/portal/PermissionStore";
    static constexpr const char* storeName = "org.freedesktop.impl.portal.PermissionStore";

    class Object final : public QDBusVirtualObject {
      public:
        std::atomic<bool> disabled{false};
        std::atomic<int> questions{0};

        void setWord(const std::string& word) {
            const std::lock_guard lock(m_mutex);
            m_word = QString::fromStdString(word);
        }
        QVariant permissions() const {
            const std::lock_guard lock(m_mutex);
            QMap<QString, QStringList> all;
            if (!m_word.isEmpty()) all.insert(QString(), {m_word});
            return QVariant::fromValue(all);
        }
        QString request() const {
            const std::lock_guard lock(m_mutex);
            return m_request;
        }

        QString introspect(const QString& /*path*/) const override { return {}; }
        bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
            QVariantList answer;
            if (message.member() == "Read")
                answer = {QVariant::fromValue(
                    QDBusVariant(QVariant::fromValue(QDBusVariant(QVariant(disabled.load())))))};
            else if (message.member() == "Lookup")
                answer = {permissions(), QVariant::fromValue(QDBusVariant(0))};
            else if (message.member() == "AccessDevice")
                answer = {QVariant::fromValue(QDBusObjectPath(ask(message)))};
            else
                return false;
            return connection.send(message.createReply(answer));
        }

      private:
        QString ask(const QDBusMessage& message) {
            ++questions;
            const auto options = qdbus_cast<QVariantMap>(message.arguments().at(2));
            const std::lock_guard lock(m_mutex);
            m_request = "/org/freedesktop/portal/desktop/request/" +
                        message.service().mid(1).replace('.', '_') + '/' +
                        options.value("handle_token").toString();
            return m_request;
        }

        mutable std::mutex m_mutex;
        QString m_word;    // guarded by m_mutex
        QString m_request; // guarded by m_mutex
    };

    void emitSignal(const QString& path, const QString& interface, const QString& name,
                    const QVariantList& arguments) {
        QDBusMessage signal = QDBusMessage::createSignal(path, interface, name);
        signal.setArguments(arguments);
        m_bus.connection().send(signal);
    }

    QtBus m_bus;
    QThread m_thread;
    Object m_object;
};
