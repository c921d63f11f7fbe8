#include "ui/panel_placement.h"

#include <gtest/gtest.h>
#include <random>

namespace {

constexpr QSize panel(320, 400);
const PanelScreen topBar{{0, 0, 1280, 800}, {0, 30, 1280, 770}};
const PanelScreen bottomBar{{0, 0, 1280, 800}, {0, 0, 1280, 770}};
const PanelScreen leftBar{{0, 0, 1280, 800}, {40, 0, 1240, 800}};
const PanelScreen rightBar{{0, 0, 1280, 800}, {0, 0, 1240, 800}};
const PanelScreen noBar{{0, 0, 1280, 800}, {0, 0, 1280, 800}};

ClickPoint click(int x, int y) {
    return {QPoint(x, y)};
}
IconArea icon(int x, int y, int size = 22) {
    return {QRect(x, y, size, size)};
}

TEST(PanelPlacementTest, BelowABarAtTheTop) {
    EXPECT_EQ(panelPosition(icon(600, 4), {topBar}, panel), QPoint(610 - 160, 36));
    EXPECT_EQ(panelPosition(click(600, 15), {topBar}, panel), QPoint(440, 36));
}

TEST(PanelPlacementTest, AboveABarAtTheBottom) {
    EXPECT_EQ(panelPosition(icon(600, 774), {bottomBar}, panel), QPoint(450, 770 - 6 - 400));
}

TEST(PanelPlacementTest, BesideABarAtASide) {
    EXPECT_EQ(panelPosition(icon(9, 390), {leftBar}, panel), QPoint(46, 200));
    EXPECT_EQ(panelPosition(icon(1249, 390), {rightBar}, panel), QPoint(1240 - 6 - 320, 200));
}

TEST(PanelPlacementTest, InACornerThePanelIsMovedInside) {
    EXPECT_EQ(panelPosition(icon(1255, 4), {topBar}, panel), QPoint(1280 - 6 - 320, 36));
    EXPECT_EQ(panelPosition(icon(3, 4), {topBar}, panel), QPoint(6, 36));
    EXPECT_EQ(panelPosition(icon(1255, 774), {bottomBar}, panel), QPoint(954, 364));
    EXPECT_EQ(panelPosition(icon(9, 775), {leftBar}, panel), QPoint(46, 800 - 6 - 400));
}

TEST(PanelPlacementTest, ABarThatTakesNoRoomIsAtTheNearestEdge) {
    EXPECT_EQ(panelPosition(icon(600, 4), {noBar}, panel), QPoint(450, 32));
    EXPECT_EQ(panelPosition(icon(600, 774), {noBar}, panel), QPoint(450, 774 - 6 - 400));
    EXPECT_EQ(panelPosition(icon(9, 390), {noBar}, panel), QPoint(9 + 22 + 6, 200));
    EXPECT_EQ(panelPosition(icon(1249, 390), {noBar}, panel), QPoint(1249 - 6 - 320, 200));
    EXPECT_EQ(panelPosition(click(1276, 15), {noBar}, panel), QPoint(954, 22));
}

TEST(PanelPlacementTest, OnTheScreenThatWasClicked) {
    const PanelScreen second{{1280, 0, 1920, 1080}, {1280, 0, 1920, 1040}};
    EXPECT_EQ(panelPosition(click(3100, 1060), {bottomBar, second}, panel),
              QPoint(3200 - 6 - 320, 1040 - 6 - 400));
    EXPECT_EQ(panelPosition(click(1200, 790), {bottomBar, second}, panel), QPoint(954, 364));
    const PanelScreen leftOfFirst{{-1920, -200, 1920, 1080}, {-1920, -170, 1920, 1050}};
    EXPECT_EQ(panelPosition(icon(-1001, -195), {topBar, leftOfFirst}, panel), QPoint(-990 - 160, -164));
}

TEST(PanelPlacementTest, AClickIsInPhysicalPixels) {
    const PanelScreen dense{{0, 0, 1280, 800}, {0, 0, 1280, 770}, 2};
    EXPECT_EQ(panelPosition(click(1200, 1580), {dense}, panel), QPoint(600 - 160, 364));
    // Beside it one of the ordinary kind, whose corner is where the dense one ends in physical pixels.
    const PanelScreen ordinary{{2560, 0, 1920, 1080}, {2560, 0, 1920, 1050}};
    EXPECT_EQ(panelPosition(click(3000, 1070), {dense, ordinary}, panel), QPoint(3000 - 160, 1050 - 6 - 400));
    const PanelScreen fractional{{0, 0, 1536, 864}, {0, 32, 1536, 832}, 1.25};
    EXPECT_EQ(panelPosition(click(1000, 20), {fractional}, panel), QPoint(800 - 160, 38));
}

TEST(PanelPlacementTest, WithoutAnAnchorAtTheTopRightOfTheFirstScreen) {
    const PanelScreen second{{1280, 0, 1920, 1080}, {1280, 0, 1920, 1080}};
    EXPECT_EQ(panelPosition(NoAnchor(), {topBar, second}, panel), QPoint(954, 36));
    EXPECT_EQ(panelPosition(click(0, 0), {topBar, second}, panel), QPoint(954, 36))
        << "the host knows no point";
    EXPECT_EQ(panelPosition(icon(0, 0, 0), {topBar, second}, panel), QPoint(954, 36));
    EXPECT_EQ(panelPosition(click(9000, 9000), {topBar, second}, panel), QPoint(954, 36));
}

TEST(PanelPlacementTest, APanelThatIsTooLargeShowsItsUpperLeft) {
    const PanelScreen small{{0, 0, 300, 200}, {0, 20, 300, 180}};
    EXPECT_EQ(panelPosition(click(280, 10), {small}, panel), QPoint(0, 20));
    const PanelScreen tight{{0, 0, 324, 424}, {0, 20, 324, 404}};
    EXPECT_EQ(panelPosition(click(280, 10), {tight}, panel), QPoint(2, 22))
        << "what room there is, on both sides";
}

TEST(PanelPlacementTest, WhereverTheAnchorIsThePanelIsOnTheScreen) {
    std::mt19937 random(1);
    const auto between = [&](int low, int high) { return std::uniform_int_distribution(low, high)(random); };
    for (int round = 0; round < 20000; ++round) {
        const double scale = between(4, 12) / 4.0;
        const QRect geometry(between(-3000, 3000), between(-3000, 3000), between(700, 3000),
                             between(700, 2000));
        const QRect available =
            geometry.adjusted(between(0, 90), between(0, 90), -between(0, 90), -between(0, 90));
        const PanelScreen screen{geometry, available, scale};
        const PanelAnchor anchor =
            round % 2 == 0 ? PanelAnchor(click(between(-6000, 6000), between(-6000, 6000)))
                           : PanelAnchor(icon(between(-6000, 6000), between(-6000, 6000), between(0, 60)));
        EXPECT_TRUE(available.contains(QRect(panelPosition(anchor, {screen}, panel), panel)));
    }
}

} // namespace
