#include "ui/tray_menu.h"

#include <QDBusMetaType>
#include <QGuiApplication>
#include <utility>

namespace {

constexpr int root = 0;

} // namespace

QDBusArgument& operator<<(QDBusArgument& out, const TrayMenuLayout& layout) {
    out.beginStructure();
    out << layout.id << layout.properties;
    out.beginArray(QMetaType::fromType<QDBusVariant>());
    for (const TrayMenuLayout& child : layout.children) out << QDBusVariant(QVariant::fromValue(child));
    out.endArray();
    out.endStructure();
    return out;
}
const QDBusArgument& operator>>(const QDBusArgument& in, TrayMenuLayout& layout) {
    in.beginStructure();
    in >> layout.id >> layout.properties;
    in.beginArray();
    while (!in.atEnd()) {
        QDBusVariant child;
        in >> child;
        layout.children.append(qdbus_cast<TrayMenuLayout>(child.variant()));
    }
    in.endArray();
    in.endStructure();
    return in;
}

QDBusArgument& operator<<(QDBusArgument& out, const TrayMenuProperties& entry) {
    out.beginStructure();
    out << entry.id << entry.properties;
    out.endStructure();
    return out;
}
const QDBusArgument& operator>>(const QDBusArgument& in, TrayMenuProperties& entry) {
    in.beginStructure();
    in >> entry.id >> entry.properties;
    in.endStructure();
    return in;
}

QDBusArgument& operator<<(QDBusArgument& out, const TrayMenuEvent& event) {
    out.beginStructure();
    out << event.id << event.kind << event.data << event.time;
    out.endStructure();
    return out;
}
const QDBusArgument& operator>>(const QDBusArgument& in, TrayMenuEvent& event) {
    in.beginStructure();
    in >> event.id >> event.kind >> event.data >> event.time;
    in.endStructure();
    return in;
}

TrayMenu::TrayMenu() {
    qDBusRegisterMetaType<TrayMenuLayout>();
    qDBusRegisterMetaType<TrayMenuProperties>();
    qDBusRegisterMetaType<QList<TrayMenuProperties>>();
    qDBusRegisterMetaType<TrayMenuEvent>();
    qDBusRegisterMetaType<QList<TrayMenuEvent>>();
}

void TrayMenu::setEntries(std::vector<TrayMenuEntry> entries) {
    m_entries = std::move(entries);
    Q_EMIT LayoutUpdated(++m_revision, root);
}

QString TrayMenu::textDirection() const {
    return QGuiApplication::isRightToLeft() ? QStringLiteral("rtl") : QStringLiteral("ltr");
}

bool TrayMenu::isThere(int id) const {
    return id >= root && std::cmp_less_equal(id, m_entries.size());
}

QVariantMap TrayMenu::properties(int id) const {
    if (!isThere(id)) return {};
    if (id == root) return {{QStringLiteral("children-display"), QStringLiteral("submenu")}};
    const TrayMenuEntry& entry = m_entries[static_cast<std::size_t>(id) - 1];
    if (entry.label.isEmpty()) return {{QStringLiteral("type"), QStringLiteral("separator")}};
    QString label = entry.label;
    label.replace(QLatin1Char('_'), QStringLiteral("__")); // one alone marks the key that chooses it
    return {{QStringLiteral("label"), label}, {QStringLiteral("enabled"), entry.isEnabled}};
}

uint TrayMenu::GetLayout(int parentId, int recursionDepth, const QStringList& /*propertyNames*/,
                         TrayMenuLayout& layout) const {
    layout = {parentId, properties(parentId), {}};
    if (parentId == root && recursionDepth != 0)
        for (int id = 1; isThere(id); ++id) layout.children.append({id, properties(id), {}});
    return m_revision;
}

QList<TrayMenuProperties> TrayMenu::GetGroupProperties(const QList<int>& ids,
                                                       const QStringList& /*propertyNames*/) const {
    QList<TrayMenuProperties> found;
    if (ids.isEmpty()) // all
        for (int id = root; isThere(id); ++id) found.append({id, properties(id)});
    for (const int id : ids)
        if (isThere(id)) found.append({id, properties(id)});
    return found;
}

QDBusVariant TrayMenu::GetProperty(int id, const QString& name) const {
    return QDBusVariant(properties(id).value(name, QString()));
}

void TrayMenu::Event(int id, const QString& eventId, const QDBusVariant& /*data*/, uint /*timestamp*/) {
    if (eventId != QLatin1String("clicked") || id == root || !isThere(id)) return;
    const TrayMenuEntry entry = m_entries[static_cast<std::size_t>(id) - 1]; // choosing may change the menu
    if (entry.isEnabled && entry.chosen) entry.chosen();
}

QList<int> TrayMenu::EventGroup(const QList<TrayMenuEvent>& events) {
    QList<int> missing;
    for (const TrayMenuEvent& event : events) {
        if (!isThere(event.id)) missing.append(event.id);
        Event(event.id, event.kind, event.data, event.time);
    }
    return missing;
}

bool TrayMenu::AboutToShow(int /*id*/) const {
    return false; // changes are told when they happen
}

QList<int> TrayMenu::AboutToShowGroup(const QList<int>& ids, QList<int>& idErrors) const {
    for (const int id : ids)
        if (!isThere(id)) idErrors.append(id);
    return {};
}
