#pragma once

#include "app/mic_authorization.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QMap>
#include <QObject>
#include <QStringList>
#include <atomic>
#include <functional>
#include <vector>

/// The desktop's switches for the microphone: the one for all programs (org.gnome.desktop.privacy
/// disable-microphone, told by the settings portal) and the one for this program (the portals' permission
/// store, table "devices", id "microphone"). Where a desktop has neither, access is granted.
///
/// Both are read once at construction, for a second at most, and followed from then on. Made, asked for
/// access and destroyed on the thread of Qt's event loop.
class DesktopMicAuthorization final : public QObject, public MicAuthorization {
    Q_OBJECT

  public:
    /// `sessionBus` may be disconnected.
    explicit DesktopMicAuthorization(const QDBusConnection& sessionBus);

    MicStatus status() const override;
    void requestAccess(std::function<void(bool granted)> answered) override;

  private Q_SLOTS:
    void settingChanged(const QString& area, const QString& key, const QDBusVariant& value);
    void permissionsChanged(const QString& table, const QString& id, bool deleted, const QDBusVariant& data,
                            const QMap<QString, QStringList>& permissions);
    void requestAnswered(uint response, const QVariantMap& results);

  private:
    void serviceCame(const QString& service);
    void serviceWent(const QString& service);
    void readSwitch();
    void readPermissions();
    void takePermissions(const QMap<QString, QStringList>& permissions);
    bool askUser();
    void answer();

    QDBusConnection m_bus;
    QDBusServiceWatcher m_services;
    std::atomic<bool> m_switchedOff{false};
    std::atomic<MicStatus> m_permission{MicStatus::authorized};
    std::vector<std::function<void(bool)>> m_waiting; // for the user's answer
};
