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
        QString body;         ///< plain
        bool stays = false;   ///< until it is replaced, withdrawn or closed; else the desktop decides
        bool isQuiet = false; ///< of low urgency, as the next of many
        bool operator==(const Text&) const = default;
    };

    Notification(const QDBusConnection& sessionBus, Urgency urgency);

    void show(const Text& text);
    /// Takes it off the screen.
    void withdraw();
    bool isShown() const { return m_id != 0; }

    /// The label of what a click does; without one, the bubble only goes.
    QString action;
    /// The label of a button that asks to cancel what the bubble tells of; without one there is none.
    QString cancelAction;

  Q_SIGNALS:
    void clicked();
    void cancelClicked();
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
    bool m_hasChanged = false;  // while it was being sent
    bool m_isWithdrawn = false; // while it was being sent
    uint m_id = 0;              // 0: not on the screen
};
