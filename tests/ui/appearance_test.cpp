#include "ui/appearance.h"

#include "support/qt_bus.h"
#include "ui/contrast.h"
#include "ui/ui_fixture.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusVirtualObject>
#include <QFont>
#include <QPalette>
#include <limits>

namespace {

/// (ddd)
struct PortalColour {
    double red;
    double green;
    double blue;
};
QDBusArgument& operator<<(QDBusArgument& out, const PortalColour& colour) {
    out.beginStructure();
    out << colour.red << colour.green << colour.blue;
    out.endStructure();
    return out;
}
const QDBusArgument& operator>>(const QDBusArgument& in, PortalColour& colour) {
    in.beginStructure();
    in >> colour.red >> colour.green >> colour.blue;
    in.endStructure();
    return in;
}

/// The desktop's portal, as far as its settings go.
class SettingsPortal final : public QDBusVirtualObject {
  public:
    explicit SettingsPortal(const QDBusConnection& connection) : m_connection(connection) {
        qDBusRegisterMetaType<PortalColour>();
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

    void setAccent(double red, double green, double blue) {
        set("org.freedesktop.appearance", "accent-color",
            QVariant::fromValue(PortalColour{red, green, blue}));
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
    static void setColour(QPalette::ColorRole role, const QColor& colour) {
        QPalette palette = QGuiApplication::palette();
        palette.setColor(role, colour);
        QGuiApplication::setPalette(palette);
    }
    static void setWindowColour(const QColor& colour) { setColour(QPalette::Window, colour); }
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

TEST_F(AppearanceTest, WithoutAPortalTheAccentColourIsThePalettesHighlight) {
    const Appearance appearance(m_noBus);
    for (const QColor colour : {QColor("#e66100"), QColor("#9141ac")}) {
        setColour(QPalette::Highlight, colour);
        EXPECT_EQ(appearance.accent(), colour);
    }
    EXPECT_FALSE(appearance.hasHighContrast());
}

TEST_F(AppearanceTest, TextHasThePalettesColours) {
    const Appearance appearance(m_noBus);
    setColour(QPalette::WindowText, "#fcfcfc");
    setWindowColour("#202326");
    EXPECT_EQ(appearance.text(), QColor("#fcfcfc"));
    EXPECT_EQ(appearance.textBackground(), QColor("#202326"));
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
    EXPECT_FALSE(views.theme().property("highContrast").toBool());
    setColour(QPalette::Highlight, "#9141ac");
    runEventLoop();
    EXPECT_EQ(views.theme().property("accent").value<QColor>(), QColor("#9141ac"));
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
    expectSoon([&] { return m_portal.questions() == 4; });
    m_portal.set("org.freedesktop.appearance", "color-scheme", 1U);
    expectSoon([&] { return appearance.isDark(); });
}

TEST_F(AppearanceWithPortal, TextIsLightWhereThePortalPrefersDarkAndThePaletteIsLight) {
    setColour(QPalette::WindowText, "#101010");
    setWindowColour("#f0f0f0");
    Appearance appearance(m_ourBus.connection());
    EXPECT_EQ(appearance.text(), QColor("#101010"));
    m_portal.set("org.freedesktop.appearance", "color-scheme", 1U);
    expectSoon([&] { return appearance.text() == QColor("#f0f0f0"); });
    EXPECT_EQ(appearance.textBackground(), QColor("#101010"));
}

TEST_F(AppearanceWithPortal, ThePortalsAccentColourStandsAboveThePalettesAndIsFollowed) {
    setColour(QPalette::Highlight, "#9141ac");
    m_portal.setAccent(1, 0.6, 0);
    Appearance appearance(m_ourBus.connection());
    EXPECT_EQ(appearance.accent(), QColor("#9141ac")) << "until the portal has answered";
    expectSoon([&] { return appearance.accent().name() == "#ff9900"; });
    m_portal.setAccent(0, 0.2, 1);
    expectSoon([&] { return appearance.accent().name() == "#0033ff"; });
    setColour(QPalette::Highlight, "#26a269");
    EXPECT_EQ(appearance.accent().name(), "#0033ff");
}

TEST_F(AppearanceWithPortal, AnAccentColourThatIsNoneLeavesThePalettes) {
    setColour(QPalette::Highlight, "#9141ac");
    Appearance appearance(m_ourBus.connection());
    const auto expectNone = [&](const std::function<void()>& tell) {
        m_portal.setAccent(0, 0.2, 1);
        expectSoon([&] { return appearance.accent().name() == "#0033ff"; });
        tell();
        expectSoon([&] { return appearance.accent().name() == "#9141ac"; });
    };
    const double notANumber = std::numeric_limits<double>::quiet_NaN();
    for (const PortalColour& none : {PortalColour{-1, -1, -1}, PortalColour{0.5, 1.1, 0.5},
                                     PortalColour{0.5, 0.5, -0.1}, PortalColour{notANumber, 0.5, 0.5}})
        expectNone([&] { m_portal.setAccent(none.red, none.green, none.blue); });
    for (const QVariant& none :
         {QVariant("#0033ff"), QVariant(0.5), QVariant::fromValue(QList<double>{0.1, 0.2, 0.3})})
        expectNone([&] { m_portal.set("org.freedesktop.appearance", "accent-color", none); });
}

TEST_F(AppearanceWithPortal, ThePortalSaysWhetherContrastIsToBeHigh) {
    m_portal.set("org.freedesktop.appearance", "contrast", 1U);
    Appearance appearance(m_ourBus.connection());
    EXPECT_FALSE(appearance.hasHighContrast());
    expectSoon([&] { return appearance.hasHighContrast(); });
    m_portal.set("org.freedesktop.appearance", "contrast", 0U);
    expectSoon([&] { return !appearance.hasHighContrast(); });
    m_portal.set("org.freedesktop.appearance", "contrast", 1U);
    expectSoon([&] { return appearance.hasHighContrast(); });
    m_portal.set("org.freedesktop.appearance", "contrast", 2U); // unknown: no preference
    expectSoon([&] { return !appearance.hasHighContrast(); });
}

TEST_F(AppearanceWithPortal, TheThemesAccentColourFollowsThePortal) {
    Appearance appearance(m_ourBus.connection());
    Views views;
    views.follow(appearance);
    const auto accent = [&] { return views.theme().property("accent").value<QColor>(); };
    m_portal.setAccent(0, 0.2, 1);
    expectSoon([&] { return accent().name() == "#0033ff"; });
    m_portal.setAccent(1, 0.8, 0); // too light for white text
    expectSoon([&] { return accent().hueF() < 0.2F && contrast(accent(), Qt::white) >= 4.5; });
    m_portal.set("org.freedesktop.appearance", "contrast", 1U);
    expectSoon([&] { return contrast(accent(), Qt::white) >= 7; });
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
