#pragma once

#include "app/running_instance.h"

#include <QDBusConnection>
#include <QDBusMessage>

/// The running Murmelo by its name on the session bus. Never starts one.
class BusRunningInstance final : public RunningInstance {
  public:
    /// On a disconnected bus none runs. Needs Qt's application object.
    explicit BusRunningInstance(const QDBusConnection& sessionBus) : m_bus(sessionBus) {}

    std::optional<AppStatus> status() override;
    bool toggleRecording() override;

  private:
    std::optional<QDBusMessage> call(const QString& interface, const QString& method,
                                     const QVariantList& arguments);

    QDBusConnection m_bus;
};
