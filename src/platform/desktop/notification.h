#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <functional>

/// One bubble of the desktop (org.freedesktop.Notifications, Desktop Notifications Specification 1.2): as
/// long as it is on the screen its text is replaced in place, so there are never two of a kind.
///
/// Main thread. Never blocks.
class Notification final : public QObject {
    Q_OBJECT

  public:
    enum class Urgency : unsigned char { low = 0, normal = 1, critical = 2 };
    struct Text {
        QString summary;
        QString body; ///< plain
        bool operator==(const Text&) const = default;
    };

    Notification(const QDBusConnection& sessionBus, Urgency urgency);

    void show(const Text& text);
    bool isShown() const { return m_id != 0; }

    /// The label of what a click does; without one, the bubble only goes.
    QString action;

  Q_SIGNALS:
    void clicked();
    void closed();
    /// The desktop does not show it.
    void refused(const QString& reason);

  private Q_SLOTS:
    void notificationClosed(uint id, uint reason);
    void actionInvoked(uint id, const QString& key);
    void activationTokenGiven(uint id, const QString& token);

  private:
    void send();
    void answered(uint id);

    QDBusConnection m_bus;
    const Urgency m_urgency;
    Text m_text;
    bool m_isSending = false;
    bool m_hasChanged = false; // while it was being sent
    uint m_id = 0;             // 0: not on the screen
};
