#include "ui/status_notifier_item.h"

#include "ui/tray_fixture.h"

#include <QPixmap>
#include <optional>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using Place = StatusNotifierItem::Place;

class StatusNotifierItemTest : public TrayFixture {
  protected:
    std::string ownName() const { return m_ours.connection().baseService().toStdString(); }
    static QIcon square(const QColor& colour) {
        QPixmap pixmap(48, 48);
        pixmap.fill(colour);
        return QIcon(pixmap);
    }
};

TEST_F(StatusNotifierItemTest, WithoutABusThereIsNoPlaceForIt) {
    const StatusNotifierItem item(QDBusConnection("no such connection"), "/icons");
    EXPECT_EQ(item.place(), Place::none);
}

TEST_F(StatusNotifierItemTest, WithoutAWatcherThereIsNoPlaceForIt) {
    const StatusNotifierItem item(m_ours.connection(), "/icons");
    EXPECT_EQ(item.place(), Place::unknown);
    waitUntil([&] { return item.place() == Place::none; });
}

TEST_F(StatusNotifierItemTest, ItAnnouncesItselfToTheWatcher) {
    const FakeTray tray(m_bus);
    const StatusNotifierItem item(m_ours.connection(), "/icons");
    waitUntil([&] { return item.place() == Place::tray; });
    EXPECT_THAT(tray.items(), ElementsAre(ownName()));
}

TEST_F(StatusNotifierItemTest, AWatcherThatComesLateIsToldToo) {
    const StatusNotifierItem item(m_ours.connection(), "/icons");
    waitUntil([&] { return item.place() == Place::none; });
    const FakeTray tray(m_bus);
    waitUntil([&] { return item.place() == Place::tray; });
    EXPECT_THAT(tray.items(), ElementsAre(ownName()));
}

TEST_F(StatusNotifierItemTest, AWatcherThatIsStartedAgainIsToldAgain) {
    std::optional<FakeTray> tray(m_bus);
    const StatusNotifierItem item(m_ours.connection(), "/icons");
    waitUntil([&] { return item.place() == Place::tray; });
    tray.reset();
    waitUntil([&] { return item.place() == Place::none; });
    tray.emplace(m_bus);
    waitUntil([&] { return item.place() == Place::tray; });
    EXPECT_THAT(tray->items(), ElementsAre(ownName()));
}

TEST_F(StatusNotifierItemTest, AWatcherWithoutAHostShowsNothing) {
    FakeTray tray(m_bus, FakeTray::Host::absent);
    const StatusNotifierItem item(m_ours.connection(), "/icons");
    waitUntil([&] { return item.place() == Place::none; });
    tray.setHost(FakeTray::Host::present);
    waitUntil([&] { return item.place() == Place::tray; });
    tray.setHost(FakeTray::Host::absent);
    waitUntil([&] { return item.place() == Place::none; });
    EXPECT_THAT(tray.items(), SizeIs(1));
}

TEST_F(StatusNotifierItemTest, WithTheBusItsPlaceIsGone) {
    const FakeTray tray(m_bus);
    StatusNotifierItem item(m_ours.connection(), "/icons");
    waitUntil([&] { return item.place() == Place::tray; });
    m_bus.end();
    waitUntil([&] { return item.place() == Place::none; });
    item.setToolTip("Recording"); // and nothing breaks
}

TEST_F(StatusNotifierItemTest, AClickComesWithItsPosition) {
    FakeTray tray(m_bus);
    StatusNotifierItem item(m_ours.connection(), "/icons");
    waitUntil([&] { return item.place() == Place::tray; });
    std::vector<QPoint> clicks;
    std::vector<QPoint> menus;
    QObject::connect(&item, &StatusNotifierItem::clicked, [&](const QPoint& at) { clicks.push_back(at); });
    QObject::connect(&item, &StatusNotifierItem::menuWanted, [&](const QPoint& at) { menus.push_back(at); });
    tray.callItem("Activate", {1200, 15});
    tray.callItem("SecondaryActivate", {-7, 8});
    EXPECT_THAT(clicks, ElementsAre(QPoint(1200, 15), QPoint(-7, 8)));
    EXPECT_THAT(menus, IsEmpty());
    tray.callItem("ContextMenu", {3, 4});
    EXPECT_THAT(menus, ElementsAre(QPoint(3, 4)));
    EXPECT_EQ(tray.callItem("Scroll", {120, "vertical"}).type(), QDBusMessage::ReplyMessage);
}

TEST_F(StatusNotifierItemTest, TheRightToTheKeyboardIsKeptForTheNextWindow) {
    FakeTray tray(m_bus);
    const StatusNotifierItem item(m_ours.connection(), "/icons");
    waitUntil([&] { return item.place() == Place::tray; });
    tray.callItem("ProvideXdgActivationToken", {"token-7"});
    EXPECT_EQ(qgetenv("XDG_ACTIVATION_TOKEN"), "token-7");
    qunsetenv("XDG_ACTIVATION_TOKEN");
}

TEST_F(StatusNotifierItemTest, ItsPropertiesSayWhatAHostNeeds) {
    FakeTray tray(m_bus);
    StatusNotifierItem item(m_ours.connection(), "/icons");
    item.setIcon("some-icon", [] { return square(QColor(0x11, 0x22, 0x33)); });
    item.setToolTip("Recording");
    waitUntil([&] { return item.place() == Place::tray; });
    const QVariantMap properties = tray.itemProperties();
    EXPECT_EQ(properties["ItemIsMenu"], false) << "a click is for the panel";
    EXPECT_EQ(properties["IconName"], "some-icon");
    EXPECT_EQ(properties["IconThemePath"], "/icons");
    EXPECT_EQ(properties["Id"], "murmelo");
    EXPECT_EQ(properties["Title"], "Murmelo");
    EXPECT_EQ(properties["Status"], "Active");
    EXPECT_EQ(properties["Category"], "ApplicationStatus");
    EXPECT_EQ(properties["Menu"].value<QDBusObjectPath>().path(), "/MenuBar");
    const auto tip = qdbus_cast<TrayToolTip>(properties["ToolTip"]);
    EXPECT_EQ(tip.title, "Murmelo");
    EXPECT_EQ(tip.text, "Recording");
    const auto pixmaps = qdbus_cast<TrayPixmaps>(properties["IconPixmap"]);
    ASSERT_THAT(pixmaps, SizeIs(5));
    EXPECT_EQ(pixmaps[1].width, 22);
    EXPECT_EQ(pixmaps[1].height, 22);
    EXPECT_EQ(pixmaps[1].pixels.size(), 22 * 22 * 4);
    EXPECT_EQ(pixmaps[1].pixels.left(4), QByteArray("\xff\x11\x22\x33", 4)) << "alpha, red, green, blue";
}

TEST_F(StatusNotifierItemTest, MenuCallsReachTheirEntries) {
    FakeTray tray(m_bus);
    StatusNotifierItem item(m_ours.connection(), "/icons");
    std::vector<std::string> chosen;
    item.menu().setEntries({{"Open", [&] { chosen.emplace_back("open"); }},
                            {"Start_now", [&] { chosen.emplace_back("start"); }, false},
                            {},
                            {"Quit", [&] { chosen.emplace_back("quit"); }}});
    waitUntil([&] { return item.place() == Place::tray; });

    const QDBusMessage answer = tray.callMenu("GetLayout", {0, -1, QStringList()});
    EXPECT_EQ(answer.signature(), "u(ia{sv}av)");
    const auto layout = qdbus_cast<TrayMenuLayout>(answer.arguments().at(1));
    ASSERT_THAT(layout.children, SizeIs(4));
    EXPECT_EQ(layout.children[0].properties["label"], "Open");
    EXPECT_EQ(layout.children[0].properties["enabled"], true);
    EXPECT_EQ(layout.children[1].properties["label"], "Start__now") << "no mark for a key";
    EXPECT_EQ(layout.children[1].properties["enabled"], false);
    EXPECT_EQ(layout.children[2].properties["type"], "separator");

    const QVariant nothing = QVariant::fromValue(QDBusVariant(QString()));
    const auto click = [&](int id) { tray.callMenu("Event", {id, "clicked", nothing, 0U}); };
    for (const int id : {0, 1, 2, 3, 5, -1}) click(id);
    EXPECT_THAT(chosen, ElementsAre("open"))
        << "the root, a disabled one, a separator and strangers do nothing";
    tray.callMenu("Event", {4, "hovered", nothing, 0U});
    EXPECT_THAT(chosen, SizeIs(1));
    click(4);
    EXPECT_THAT(chosen, ElementsAre("open", "quit"));
}

TEST_F(StatusNotifierItemTest, MenuEventsMayComeInGroups) {
    FakeTray tray(m_bus);
    StatusNotifierItem item(m_ours.connection(), "/icons");
    int quits = 0;
    item.menu().setEntries({{"Quit", [&] { ++quits; }}});
    waitUntil([&] { return item.place() == Place::tray; });
    const QList<TrayMenuEvent> events{{1, "clicked", QDBusVariant(QString()), 0},
                                      {9, "clicked", QDBusVariant(QString()), 0}};
    const QDBusMessage answer = tray.callMenu("EventGroup", {QVariant::fromValue(events)});
    EXPECT_THAT(qdbus_cast<QList<int>>(answer.arguments().at(0)), ElementsAre(9));
    EXPECT_EQ(quits, 1);
}

TEST_F(StatusNotifierItemTest, SinglePropertiesOfTheMenuCanBeRead) {
    FakeTray tray(m_bus);
    StatusNotifierItem item(m_ours.connection(), "/icons");
    item.menu().setEntries({{"Open", {}}, {"Quit", {}}});
    waitUntil([&] { return item.place() == Place::tray; });
    const auto properties = qdbus_cast<QList<TrayMenuProperties>>(
        tray.callMenu("GetGroupProperties", {QVariant::fromValue(QList<int>{2, 7}), QStringList()})
            .arguments()
            .at(0));
    ASSERT_THAT(properties, SizeIs(1));
    EXPECT_EQ(properties[0].id, 2);
    EXPECT_EQ(properties[0].properties["label"], "Quit");
    EXPECT_EQ(tray.callMenu("GetProperty", {1, "label"}).arguments().at(0).value<QDBusVariant>().variant(),
              "Open");
    EXPECT_EQ(tray.callMenu("AboutToShow", {0}).arguments().at(0), false);
}

} // namespace
