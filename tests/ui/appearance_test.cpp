#include "ui/appearance.h"

#include "support/qt_bus.h"
#include "ui/ui_fixture.h"

#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QFont>
#include <QPalette>

namespace {

/// The desktop's portal, as far as its settings go.
class SettingsPortal final : public QDBusVirtualObject {
  public:
    explicit SettingsPortal(const QDBusConnection& connection) : m_connection(connection) {
        m_connection.registerVirtualObject("/org/freedesktop/portal/desktop", this);
        m_connection.registerService("org.freedesktop.portal.Desktop");
    }
    void set(const QString& area, const QString& key, const QVariant& value) {
        m_values[area + ' ' + key] = value;
        QDBusMessage signal = QDBusMessage::createSignal("/org/freedesktop/portal/desktop",
                                                         "org.freedesktop.portal.Settings", "SettingChanged");
        signal.setArguments({area, key, QVariant::fromValue(QDBusVariant(value))});
        m_connection.send(signal);
    }

    int questions() const { return m_questions; }

    QString introspect(const QString& /*path*/) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        ++m_questions;
        const QString key = message.arguments().at(0).toString() + ' ' + message.arguments().at(1).toString();
        if (!m_values.contains(key)) return false;
        const QDBusVariant value(m_values[key]);
        return connection.send(
            message.createReply(QVariant::fromValue(QDBusVariant(QVariant::fromValue(value)))));
    }

  private:
    QDBusConnection m_connection;
    QMap<QString, QVariant> m_values;
    int m_questions = 0;
};

class AppearanceTest : public testing::Test {
  protected:
    void TearDown() override {
        QGuiApplication::setPalette(m_palette);
        QGuiApplication::setFont(m_font);
    }
    static void setWindowColour(const QColor& colour) {
        QPalette palette = QGuiApplication::palette();
        palette.setColor(QPalette::Window, colour);
        QGuiApplication::setPalette(palette);
    }
    static void setFontPixels(int pixels) {
        QFont font = QGuiApplication::font();
        font.setPixelSize(pixels);
        QGuiApplication::setFont(font);
    }

    const QPalette m_palette = QGuiApplication::palette();
    const QFont m_font = QGuiApplication::font();
    const QDBusConnection m_noBus{QStringLiteral("no bus")};
};

TEST_F(AppearanceTest, WithoutAPortalThePaletteSaysWhetherItIsDark) {
    const Appearance appearance(m_noBus);
    setWindowColour(Qt::black);
    EXPECT_TRUE(appearance.isDark());
    setWindowColour(Qt::white);
    EXPECT_FALSE(appearance.isDark());
}

TEST_F(AppearanceTest, TheApplicationsFontSetsTheTextScale) {
    const Appearance appearance(m_noBus);
    for (const auto& [pixels, scale] : {std::pair(8, 1.0), {12, 1.0}, {14, 1.0}, {22, 1.5}, {60, 2.0}}) {
        setFontPixels(pixels);
        EXPECT_NEAR(appearance.textScale(), scale, 0.001) << pixels;
    }
}

TEST_F(AppearanceTest, ChangesOfPaletteAndFontAreTold) {
    const Appearance appearance(m_noBus);
    int told = 0;
    QObject::connect(&appearance, &Appearance::changed, [&] { ++told; });
    setWindowColour(QColor(1, 2, 3));
    runEventLoop();
    EXPECT_GT(std::exchange(told, 0), 0);
    setFontPixels(31);
    runEventLoop();
    EXPECT_GT(told, 0);
}

TEST_F(AppearanceTest, TheThemeFollows) {
    Appearance appearance(m_noBus);
    Views views;
    views.follow(appearance);
    setWindowColour(Qt::black);
    setFontPixels(22);
    runEventLoop();
    EXPECT_TRUE(views.theme().property("dark").toBool());
    EXPECT_NEAR(views.theme().property("textScale").toDouble(), 1.5, 0.001);
    EXPECT_TRUE(views.theme().property("animated").toBool());
}

TEST_F(AppearanceTest, TheThemeStaysAsItWasWhenTheAppearanceGoes) {
    Views views;
    {
        const Appearance appearance(m_noBus);
        views.follow(appearance);
        setWindowColour(Qt::black);
    }
    EXPECT_FALSE(views.theme().property("dark").toBool()) << "nobody says so any more";
    {
        const Appearance appearance(m_noBus);
        views.follow(appearance);
        setWindowColour(QColor(1, 2, 3));
        runEventLoop();
        EXPECT_TRUE(views.theme().property("dark").toBool());
    }
    EXPECT_TRUE(views.theme().property("dark").toBool());
}

class AppearanceWithPortal : public AppearanceTest {
  protected:
    void expectSoon(const std::function<bool()>& condition) {
        EXPECT_TRUE(QTest::qWaitFor(condition, 30000));
    }

    PrivateBus m_bus;
    QtBus m_portalsBus{m_bus, "portal"};
    QtBus m_ourBus{m_bus, "ours"};
    SettingsPortal m_portal{m_portalsBus.connection()};
};

TEST_F(AppearanceWithPortal, ThePortalsWordStandsAboveThePalette) {
    setWindowColour(Qt::white);
    m_portal.set("org.freedesktop.appearance", "color-scheme", 1U);
    Appearance appearance(m_ourBus.connection());
    expectSoon([&] { return appearance.isDark(); });
    m_portal.set("org.freedesktop.appearance", "color-scheme", 2U);
    expectSoon([&] { return !appearance.isDark(); });
    setWindowColour(Qt::black);
    EXPECT_FALSE(appearance.isDark());
    m_portal.set("org.freedesktop.appearance", "color-scheme", 0U); // no preference
    expectSoon([&] { return appearance.isDark(); });
}

TEST_F(AppearanceWithPortal, AChangeIsFollowedAlsoWhenNobodyHasUsedTheBusBefore) {
    setWindowColour(Qt::white);
    Appearance appearance(m_ourBus.connection());
    expectSoon([&] { return m_portal.questions() == 2; });
    m_portal.set("org.freedesktop.appearance", "color-scheme", 1U);
    expectSoon([&] { return appearance.isDark(); });
}

TEST_F(AppearanceWithPortal, ThePortalSaysWhetherThingsMayMove) {
    m_portal.set("org.gnome.desktop.interface", "enable-animations", false);
    Appearance appearance(m_ourBus.connection());
    EXPECT_TRUE(appearance.isAnimated());
    expectSoon([&] { return !appearance.isAnimated(); });
    m_portal.set("org.gnome.desktop.interface", "enable-animations", true);
    expectSoon([&] { return appearance.isAnimated(); });
}

} // namespace
