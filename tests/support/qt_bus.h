#pragma once

#include "support/private_bus.h"

#include <QDBusConnection>
#include <QString>
#include <chrono>
#include <stdexcept>
#include <string>

/// One of Qt's connections to a private bus; a name makes it another one.
class QtBus {
  public:
    QtBus(const PrivateBus& bus, const std::string& name) : m_name(QString::fromStdString(name)) {
        const QString address = QString::fromStdString(bus.address());
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (!QDBusConnection::connectToBus(address, m_name).isConnected()) { // the bus is starting
            QDBusConnection::disconnectFromBus(m_name);
            if (std::chrono::steady_clock::now() > end) throw std::runtime_error("the bus does not start");
        }
    }
    ~QtBus() { QDBusConnection::disconnectFromBus(m_name); }
    QtBus(const QtBus&) = delete;
    QtBus& operator=(const QtBus&) = delete;

    QDBusConnection connection() const { return QDBusConnection(m_name); }

  private:
    const QString m_name;
};
