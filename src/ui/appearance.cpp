#include "ui/appearance.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QEvent>
#include <QFontInfo>
#include <QGuiApplication>
#include <QPalette>
#include <algorithm>
#include <array>

namespace {

const auto portal = QStringLiteral("org.freedesktop.portal.Desktop");
const auto portalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const auto settings = QStringLiteral("org.freedesktop.portal.Settings");

const auto appearanceArea = QStringLiteral("org.freedesktop.appearance");
const auto colorScheme = QStringLiteral("color-scheme"); // 0 no preference, 1 dark, 2 light
const auto accentColor = QStringLiteral("accent-color"); // sRGB, each from 0 to 1; outside: none
const auto contrastKey = QStringLiteral("contrast");     // 0 no preference, 1 higher
const auto interfaceArea = QStringLiteral("org.gnome.desktop.interface");
const auto enableAnimations = QStringLiteral("enable-animations");

/// The largest font among those that desktops come with (11 points at 96 dots per inch): up to here the
/// sizes of the drawings hold.
constexpr double ordinaryFontPixels = 11 * 96 / 72.0;

/// (ddd)
std::optional<QColor> colorOf(const QVariant& value) {
    if (value.userType() != qMetaTypeId<QDBusArgument>()) return std::nullopt;
    const auto argument = value.value<QDBusArgument>();
    if (argument.currentSignature() != QStringLiteral("(ddd)")) return std::nullopt;
    std::array<double, 3> parts{};
    argument.beginStructure();
    for (double& part : parts) argument >> part;
    argument.endStructure();
    if (!std::all_of(parts.begin(), parts.end(), [](double part) { return part >= 0 && part <= 1; }))
        return std::nullopt; // also when one is not a number
    return QColor::fromRgbF(static_cast<float>(parts[0]), static_cast<float>(parts[1]),
                            static_cast<float>(parts[2]));
}

bool isDarkPalette() {
    return QGuiApplication::palette().color(QPalette::Window).lightness() < 128;
}

} // namespace

Appearance::Appearance(const QDBusConnection& sessionBus) : m_bus(sessionBus) {
    qGuiApp->installEventFilter(this);
    if (!m_bus.isConnected()) return;
    // Makes Qt know the types of D-Bus; until it has been asked for one, it connects no signal that carries
    // one.
    QDBusMetaType::typeToSignature(QMetaType::fromType<QDBusVariant>());
    m_bus.connect(portal, portalPath, settings, QStringLiteral("SettingChanged"), this,
                  SLOT(settingChanged(QString, QString, QDBusVariant)));
    read(appearanceArea, colorScheme);
    read(appearanceArea, accentColor);
    read(appearanceArea, contrastKey);
    read(interfaceArea, enableAnimations);
}

bool Appearance::isDark() const {
    return m_prefersDark.value_or(isDarkPalette());
}

QColor Appearance::accent() const {
    return m_accent.value_or(QGuiApplication::palette().color(QPalette::Highlight));
}

QColor Appearance::text() const {
    return QGuiApplication::palette().color(isDark() == isDarkPalette() ? QPalette::WindowText
                                                                        : QPalette::Window);
}

QColor Appearance::textBackground() const {
    return QGuiApplication::palette().color(isDark() == isDarkPalette() ? QPalette::Window
                                                                        : QPalette::WindowText);
}

double Appearance::textScale() const {
    return std::clamp(QFontInfo(QGuiApplication::font()).pixelSize() / ordinaryFontPixels, 1.0, 2.0);
}

bool Appearance::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::ApplicationPaletteChange || event->type() == QEvent::ApplicationFontChange)
        Q_EMIT changed();
    return QObject::eventFilter(watched, event);
}

void Appearance::read(const QString& area, const QString& key) {
    QDBusMessage question =
        QDBusMessage::createMethodCall(portal, portalPath, settings, QStringLiteral("Read"));
    question.setArguments({area, key});
    auto* const answer = new QDBusPendingCallWatcher(m_bus.asyncCall(question), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, area, key, answer] {
        answer->deleteLater();
        const QDBusPendingReply<QDBusVariant> reply = *answer;
        if (!reply.isError()) settingChanged(area, key, reply.value());
    });
}

void Appearance::settingChanged(const QString& area, const QString& key, const QDBusVariant& value) {
    QVariant inner = value.variant(); // the answer to Read is wrapped twice
    if (inner.canConvert<QDBusVariant>()) inner = inner.value<QDBusVariant>().variant();
    if (area == appearanceArea && key == colorScheme)
        m_prefersDark = inner.toUInt() == 0 ? std::nullopt : std::optional(inner.toUInt() == 1);
    else if (area == appearanceArea && key == accentColor)
        m_accent = colorOf(inner);
    else if (area == appearanceArea && key == contrastKey)
        m_hasHighContrast = inner.toUInt() == 1;
    else if (area == interfaceArea && key == enableAnimations)
        m_isAnimated = inner.toBool();
    else
        return;
    Q_EMIT changed();
}
