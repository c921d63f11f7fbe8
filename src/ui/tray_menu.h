#pragma once

#include <QDBusArgument>
#include <QDBusVariant>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantMap>
#include <functional>
#include <vector>

/// One line of the menu that the secondary click opens. Without a label it is a separator.
struct TrayMenuEntry {
    QString label = {};
    std::function<void()> chosen = {};
    bool isEnabled = true;
};

/// What com.canonical.dbusmenu sends: (ia{sv}av), the children as variants of the same kind.
struct TrayMenuLayout {
    int id = 0;
    QVariantMap properties;
    QList<TrayMenuLayout> children;
};
/// (ia{sv})
struct TrayMenuProperties {
    int id = 0;
    QVariantMap properties;
};
/// (isvu)
struct TrayMenuEvent {
    int id = 0;
    QString kind;
    QDBusVariant data;
    uint time = 0;
};
QDBusArgument& operator<<(QDBusArgument& out, const TrayMenuLayout& layout);
const QDBusArgument& operator>>(const QDBusArgument& in, TrayMenuLayout& layout);
QDBusArgument& operator<<(QDBusArgument& out, const TrayMenuProperties& entry);
const QDBusArgument& operator>>(const QDBusArgument& in, TrayMenuProperties& entry);
QDBusArgument& operator<<(QDBusArgument& out, const TrayMenuEvent& event);
const QDBusArgument& operator>>(const QDBusArgument& in, TrayMenuEvent& event);
Q_DECLARE_METATYPE(TrayMenuLayout)
Q_DECLARE_METATYPE(TrayMenuProperties)
Q_DECLARE_METATYPE(TrayMenuEvent)

/// A menu without submenus as hosts of a tray read it from the bus (com.canonical.dbusmenu, version 3): they
/// draw it themselves, in their own look and in the right place. The entry at index i has the id i + 1.
/// Main thread.
class TrayMenu final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.canonical.dbusmenu")
    Q_PROPERTY(uint Version READ version SCRIPTABLE true)
    Q_PROPERTY(QString Status READ status SCRIPTABLE true)
    Q_PROPERTY(QString TextDirection READ textDirection SCRIPTABLE true)
    Q_PROPERTY(QStringList IconThemePath READ iconThemePath SCRIPTABLE true)

  public:
    TrayMenu();

    /// Hosts read it again.
    void setEntries(std::vector<TrayMenuEntry> entries);

    uint version() const { return 3; }
    QString status() const { return QStringLiteral("normal"); }
    QString textDirection() const;
    QStringList iconThemePath() const { return {}; }

  public Q_SLOTS:
    // Named and shaped by the protocol. Properties that a host did not ask for do no harm.
    Q_SCRIPTABLE uint GetLayout(int parentId, int recursionDepth, const QStringList& propertyNames,
                                TrayMenuLayout& layout) const;
    Q_SCRIPTABLE QList<TrayMenuProperties> GetGroupProperties(const QList<int>& ids,
                                                              const QStringList& propertyNames) const;
    Q_SCRIPTABLE QDBusVariant GetProperty(int id, const QString& name) const;
    Q_SCRIPTABLE void Event(int id, const QString& eventId, const QDBusVariant& data, uint timestamp);
    /// Returns the ids that are not there.
    Q_SCRIPTABLE QList<int> EventGroup(const QList<TrayMenuEvent>& events);
    Q_SCRIPTABLE bool AboutToShow(int id) const;
    Q_SCRIPTABLE QList<int> AboutToShowGroup(const QList<int>& ids, QList<int>& idErrors) const;

  Q_SIGNALS:
    Q_SCRIPTABLE void LayoutUpdated(uint revision, int parent);

  private:
    bool isThere(int id) const;
    QVariantMap properties(int id) const;

    std::vector<TrayMenuEntry> m_entries;
    uint m_revision = 1;
};
