#include "ui/tray_icon.h"

#include "ui/tray_fixture.h"

#include <QAction>
#include <QGuiApplication>
#include <QPalette>
#include <optional>
#include <utility>

namespace {

using testing::ElementsAre;
using Host = TrayIcon::Host;

class TrayIconTest : public TrayFixture {
  protected:
    static AppStatus idle() {
        AppStatus status;
        status.canToggle = true;
        return status;
    }
    static AppStatus recording() {
        AppStatus status = idle();
        status.isRecording = true;
        return status;
    }
    static AppStatus starting() {
        AppStatus status;
        status.isStarting = true;
        return status;
    }

    /// Labels of the menu as a host reads it; in brackets what is disabled.
    std::vector<std::string> menuOf(FakeTray& tray) {
        std::vector<std::string> labels;
        const QDBusMessage answer = tray.callMenu("GetLayout", {0, -1, QStringList()});
        for (const TrayMenuLayout& entry : qdbus_cast<TrayMenuLayout>(answer.arguments().at(1)).children) {
            const std::string label = entry.properties["label"].toString().toStdString();
            labels.push_back(entry.properties.value("enabled", true).toBool() ? label : "[" + label + "]");
        }
        return labels;
    }
    /// Of the largest picture that a host without themes gets.
    static qsizetype opaquePixels(FakeTray& tray, const QColor& colour) {
        const auto pixmaps = qdbus_cast<TrayPixmaps>(tray.itemProperties()["IconPixmap"]);
        const char pixel[] = {'\xff', static_cast<char>(colour.red()), static_cast<char>(colour.green()),
                              static_cast<char>(colour.blue())};
        return pixmaps.last().pixels.count(QByteArray(pixel, sizeof pixel));
    }
    /// Of the desktop, with what is behind it.
    void setText(const QColor& text, const QColor& background) {
        QPalette palette = QGuiApplication::palette();
        palette.setColor(QPalette::WindowText, text);
        palette.setColor(QPalette::Window, background);
        QGuiApplication::setPalette(palette);
        QCoreApplication::processEvents();
    }
    void TearDown() override { QGuiApplication::setPalette(m_palette); }

    void choose(FakeTray& tray, int entry) {
        tray.callMenu("Event", {entry, "clicked", QVariant::fromValue(QDBusVariant(QString())), 0U});
    }

    const QPalette m_palette = QGuiApplication::palette();
    Appearance m_appearance{QDBusConnection(QStringLiteral("no such connection"))};
};

TEST_F(TrayIconTest, WithoutAnyTrayItSaysSoOnce) {
    TrayIcon icon(m_ours.connection(), MURMELO_ICONS, m_appearance);
    int changes = 0;
    QObject::connect(&icon, &TrayIcon::hostChanged, [&] { ++changes; });
    EXPECT_EQ(icon.host(), Host::unknown);
    waitUntil([&] { return icon.host() == Host::none; });
    EXPECT_EQ(changes, 1);
}

TEST_F(TrayIconTest, WithoutABusItSaysSoOnceItsMakerCanHearIt) {
    TrayIcon icon(QDBusConnection("no such connection"), MURMELO_ICONS, m_appearance);
    int changes = 0;
    QObject::connect(&icon, &TrayIcon::hostChanged, [&] { ++changes; });
    waitUntil([&] { return changes == 1; });
    EXPECT_EQ(icon.host(), Host::none);
}

TEST_F(TrayIconTest, ATrayMayComeLateAndGo) {
    TrayIcon icon(m_ours.connection(), MURMELO_ICONS, m_appearance);
    waitUntil([&] { return icon.host() == Host::none; });
    std::optional<FakeTray> tray(m_bus);
    waitUntil([&] { return icon.host() == Host::statusNotifier; });
    tray.reset();
    waitUntil([&] { return icon.host() == Host::none; });
}

TEST_F(TrayIconTest, TheIconIsRedWhileARecordingRunsAndNotWhileItStarts) {
    FakeTray tray(m_bus);
    TrayIcon icon(m_ours.connection(), MURMELO_ICONS, m_appearance);
    waitUntil([&] { return icon.host() == Host::statusNotifier; });
    const auto name = [&] { return tray.itemProperties()["IconName"].toString().toStdString(); };
    EXPECT_EQ(name(), "org.murmelo.Murmelo-symbolic");
    icon.show(starting());
    EXPECT_EQ(name(), "org.murmelo.Murmelo-symbolic");
    icon.show(recording());
    EXPECT_EQ(name(), "org.murmelo.Murmelo-recording");
    icon.show(idle());
    EXPECT_EQ(name(), "org.murmelo.Murmelo-symbolic");
}

TEST_F(TrayIconTest, HostsWithoutThemesGetPicturesInTheColourOfText) {
    FakeTray tray(m_bus);
    TrayIcon icon(m_ours.connection(), MURMELO_ICONS, m_appearance);
    waitUntil([&] { return icon.host() == Host::statusNotifier; });
    setText("#232629", "#eff0f1");
    EXPECT_GT(opaquePixels(tray, "#232629"), 48);
    setText("#fcfcfc", "#000000");
    EXPECT_GT(opaquePixels(tray, "#fcfcfc"), 48);
    EXPECT_EQ(opaquePixels(tray, "#232629"), 0);
    icon.show(recording());
    EXPECT_GT(opaquePixels(tray, "#e5342b"), 48);
    EXPECT_EQ(opaquePixels(tray, "#fcfcfc"), 0);
}

TEST_F(TrayIconTest, ThePictureCanBeSeenOnABarThatHasTheColourOfText) {
    FakeTray tray(m_bus);
    const TrayIcon icon(m_ours.connection(), MURMELO_ICONS, m_appearance);
    waitUntil([&] { return icon.host() == Host::statusNotifier; });
    setText("#232629", "#eff0f1");
    EXPECT_GT(opaquePixels(tray, "#eff0f1"), 48) << "its edge";
}

TEST_F(TrayIconTest, HostsAreToldOfAPictureInOtherColours) {
    TrayIcon icon(m_ours.connection(), MURMELO_ICONS, m_appearance);
    int icons = 0;
    QObject::connect(&icon.item(), &StatusNotifierItem::NewIcon, [&] { ++icons; });
    setText("#fcfcfc", "#000000");
    EXPECT_EQ(std::exchange(icons, 0), 1);
    Q_EMIT m_appearance.changed(); // of something else
    EXPECT_EQ(icons, 0);
}

TEST_F(TrayIconTest, OnlyWhatCanBeSeenIsSentAgain) {
    TrayIcon icon(m_ours.connection(), MURMELO_ICONS, m_appearance);
    int icons = 0;
    int menus = 0;
    QObject::connect(&icon.item(), &StatusNotifierItem::NewIcon, [&] { ++icons; });
    QObject::connect(&icon.item().menu(), &TrayMenu::LayoutUpdated, [&] { ++menus; });
    AppStatus status = recording();
    icon.show(status);
    EXPECT_EQ(icons, 1);
    EXPECT_EQ(menus, 1);
    status.elapsed = 1;
    icon.show(status);
    EXPECT_EQ(icons, 1);
    EXPECT_EQ(menus, 1);
}

TEST_F(TrayIconTest, TheMenuFollowsTheRecordButton) {
    FakeTray tray(m_bus);
    TrayIcon icon(m_ours.connection(), MURMELO_ICONS, m_appearance);
    waitUntil([&] { return icon.host() == Host::statusNotifier; });
    EXPECT_THAT(menuOf(tray), ElementsAre("Open Murmelo", "[Start Recording]", "", "Quit"));
    icon.show(idle());
    EXPECT_THAT(menuOf(tray), ElementsAre("Open Murmelo", "Start Recording", "", "Quit"));
    icon.show(starting());
    EXPECT_THAT(menuOf(tray), ElementsAre("Open Murmelo", "[Starting…]", "", "Quit"));
    icon.show(recording());
    EXPECT_THAT(menuOf(tray), ElementsAre("Open Murmelo", "Stop", "", "Quit"));
    AppStatus saving = recording();
    saving.canToggle = false;
    icon.show(saving);
    EXPECT_THAT(menuOf(tray), ElementsAre("Open Murmelo", "[Stop]", "", "Quit"));
}

TEST_F(TrayIconTest, WhatIsChosenIsPassedOn) {
    FakeTray tray(m_bus);
    TrayIcon icon(m_ours.connection(), MURMELO_ICONS, m_appearance);
    icon.show(idle());
    waitUntil([&] { return icon.host() == Host::statusNotifier; });
    std::vector<std::string> heard;
    QObject::connect(&icon, &TrayIcon::openChosen, [&] { heard.emplace_back("open"); });
    QObject::connect(&icon, &TrayIcon::toggleChosen, [&] { heard.emplace_back("toggle"); });
    QObject::connect(&icon, &TrayIcon::quitChosen, [&] { heard.emplace_back("quit"); });
    for (const int entry : {1, 2, 4}) choose(tray, entry);
    EXPECT_THAT(heard, ElementsAre("open", "toggle", "quit"));
    QObject::connect(&icon, &TrayIcon::menuOpening, [&] { heard.emplace_back("menu"); });
    icon.menu().popup({});
    EXPECT_EQ(heard.back(), "menu") << "an X11 tray's";
    icon.menu().hide();
    heard.pop_back();
    for (QAction* const action : icon.menu().actions()) action->trigger();
    EXPECT_THAT(heard, ElementsAre("open", "toggle", "quit", "open", "toggle", "quit"));
}

TEST_F(TrayIconTest, AClickIsAnAnchor) {
    FakeTray tray(m_bus);
    TrayIcon icon(m_ours.connection(), MURMELO_ICONS, m_appearance);
    waitUntil([&] { return icon.host() == Host::statusNotifier; });
    std::optional<PanelAnchor> anchor;
    QObject::connect(&icon, &TrayIcon::clicked, [&](const PanelAnchor& at) { anchor = at; });
    tray.callItem("Activate", {1200, 15});
    ASSERT_TRUE(anchor);
    EXPECT_EQ(std::get<ClickPoint>(*anchor).physical, QPoint(1200, 15));
}

TEST(IconThemePathTest, IsBesideAProgramOrWhereItIsInstalled) {
    const TemporaryFolder folder;
    const std::filesystem::path program = folder / "bin";
    EXPECT_EQ(iconThemePath(program).toStdString(), (folder / "share" / "icons").string());
    std::filesystem::create_directories(program / "share" / "icons");
    EXPECT_EQ(iconThemePath(program).toStdString(), (program / "share" / "icons").string());
}

} // namespace
