#include "ui/panel_window.h"

#include "support/fake_tray.h"
#include "support/manual_queue.h"
#include "ui/views.h"

#include <QGuiApplication>
#include <QQmlComponent>
#include <QScreen>
#include <QTest>
#include <gmock/gmock.h>

namespace {

using namespace std::chrono_literals;

class PanelWindowTest : public testing::Test {
  protected:
    PanelWindowTest() {
        m_content.setImplicitWidth(320);
        m_content.setImplicitHeight(400);
        m_panel.emplace(m_content, m_views.makePanelBackground(), m_clock);
    }

    QQuickWindow& window() { return m_panel->window(); }
    static QRect available() { return QGuiApplication::primaryScreen()->availableGeometry(); }
    static PanelAnchor click() { return ClickPoint{{available().center().x(), 5}}; }
    void openAndActivate() {
        m_panel->open(click());
        waitUntil([&] { return window().isActive(); });
    }
    /// Another window gets the keyboard.
    void clickOutside() {
        m_other.show();
        m_other.requestActivate();
        waitUntil([&] { return m_other.isActive() && !window().isActive(); });
        QCoreApplication::processEvents();
    }

    Views m_views;
    ManualQueue m_clock;
    QQuickItem m_content;
    QWindow m_other;
    std::optional<PanelWindow> m_panel;
};

TEST_F(PanelWindowTest, OpensAtTheAnchorInTheSizeOfItsContent) {
    m_panel->open(click());
    EXPECT_TRUE(m_panel->isOpen());
    EXPECT_EQ(window().size(), QSize(320, 400));
    EXPECT_EQ(m_content.size(), QSizeF(320, 400));
    EXPECT_EQ(window().position(), QPoint(available().center().x() - 160, 12));
    EXPECT_TRUE(window().flags() & Qt::FramelessWindowHint);
    EXPECT_EQ(window().flags() & Qt::WindowType_Mask, Qt::Tool) << "no place in the task bar";
}

TEST_F(PanelWindowTest, FollowsItsContentAndStaysOnTheScreen) {
    m_panel->open(ClickPoint{{available().center().x(), available().bottom() - 5}});
    const int bottom = window().geometry().bottom();
    m_content.setImplicitHeight(450);
    EXPECT_EQ(window().size(), QSize(320, 450));
    EXPECT_EQ(window().geometry().bottom(), bottom) << "it grows away from the bar";
}

TEST_F(PanelWindowTest, HasItsSizeBeforeTheFirstFrame) {
    QQmlComponent component(&m_views.engine());
    component.setData(R"(
        import QtQuick
        import QtQuick.Layouts
        Item {
            implicitWidth: 200
            implicitHeight: column.implicitHeight
            ColumnLayout {
                id: column
                width: parent.width
                RowLayout {
                    Text {
                        Layout.fillWidth: true
                        wrapMode: Text.Wrap
                        text: "Much more than fits into one line of two hundred pixels"
                    }
                }
            }
        })",
                      {});
    const std::unique_ptr<QObject> content(component.create());
    ASSERT_TRUE(content) << component.errorString().toStdString();
    PanelWindow panel(*qobject_cast<QQuickItem*>(content.get()), m_views.makePanelBackground(), m_clock);
    panel.open(click());
    const QSize size = panel.window().size();
    panel.window().grabWindow();
    QCoreApplication::processEvents();
    EXPECT_EQ(panel.window().size(), size);
}

TEST_F(PanelWindowTest, ASecondClickCloses) {
    m_panel->toggle(click());
    EXPECT_TRUE(m_panel->isOpen());
    m_panel->toggle(click());
    EXPECT_FALSE(m_panel->isOpen());
    m_panel->toggle(click());
    EXPECT_TRUE(m_panel->isOpen());
}

TEST_F(PanelWindowTest, AClickOutsideCloses) {
    openAndActivate();
    clickOutside();
    EXPECT_FALSE(m_panel->isOpen());
}

TEST_F(PanelWindowTest, TheIconsMenuClosesItButNotAnOrdinaryWindow) {
    m_panel->open(click());
    m_panel->closeAtIcon();
    EXPECT_FALSE(m_panel->isOpen());
    m_panel->openAsOrdinaryWindow();
    m_panel->closeAtIcon();
    EXPECT_TRUE(m_panel->isOpen());
}

TEST_F(PanelWindowTest, TheClickOnTheIconThatTookTheKeyboardDoesNotOpenItAgain) {
    openAndActivate();
    clickOutside();
    m_clock.advance(100ms);
    m_panel->toggle(click());
    EXPECT_FALSE(m_panel->isOpen());
    m_panel->toggle(click());
    EXPECT_TRUE(m_panel->isOpen()) << "the next one does";
}

TEST_F(PanelWindowTest, LaterClicksOpenItAgain) {
    openAndActivate();
    clickOutside();
    m_clock.advance(250ms);
    m_panel->toggle(click());
    EXPECT_TRUE(m_panel->isOpen());
}

TEST_F(PanelWindowTest, EscapeCloses) {
    openAndActivate();
    QTest::keyClick(&window(), Qt::Key_A);
    EXPECT_TRUE(m_panel->isOpen());
    QTest::keyClick(&window(), Qt::Key_Escape);
    EXPECT_FALSE(m_panel->isOpen());
}

/// As an open list in the panel does.
class EscapeTaker final : public QQuickItem {
  public:
    explicit EscapeTaker(QQuickItem& parent) : QQuickItem(&parent) { setFocus(true); }
    int taken = 0;

  protected:
    void keyPressEvent(QKeyEvent* event) override {
        ++taken;
        event->accept();
    }
};

TEST_F(PanelWindowTest, EscapeThatTheContentTakesDoesNotClose) {
    EscapeTaker taker(m_content);
    openAndActivate();
    taker.forceActiveFocus();
    QTest::keyClick(&window(), Qt::Key_Escape);
    EXPECT_EQ(taker.taken, 1);
    EXPECT_TRUE(m_panel->isOpen());
}

TEST_F(PanelWindowTest, WithoutATrayItIsAnOrdinaryWindowThatStays) {
    m_panel->openAsOrdinaryWindow();
    waitUntil([&] { return window().isActive(); });
    EXPECT_EQ(window().flags() & Qt::WindowType_Mask, Qt::Window);
    EXPECT_FALSE(window().flags() & Qt::FramelessWindowHint);
    EXPECT_EQ(window().minimumSize(), window().maximumSize()) << "no tiling compositor stretches it";
    clickOutside();
    EXPECT_TRUE(m_panel->isOpen());
}

TEST_F(PanelWindowTest, AfterATrayHasComeItIsAPanelAgain) {
    m_panel->openAsOrdinaryWindow();
    m_panel->toggle(click());
    EXPECT_FALSE(m_panel->isOpen());
    m_panel->toggle(click());
    EXPECT_TRUE(window().flags() & Qt::FramelessWindowHint);
}

TEST_F(PanelWindowTest, WhenATrayComesAnOrdinaryWindowThatNobodyHasUsedGoes) {
    m_panel->openAsOrdinaryWindow();
    m_panel->closeUnusedOrdinaryWindow();
    EXPECT_FALSE(m_panel->isOpen());
    m_panel->openAsOrdinaryWindow();
    QTest::mouseClick(&window(), Qt::LeftButton);
    m_panel->closeUnusedOrdinaryWindow();
    EXPECT_TRUE(m_panel->isOpen());
    m_panel->openAsOrdinaryWindow();
    QTest::keyClick(&window(), Qt::Key_Tab);
    m_panel->closeUnusedOrdinaryWindow();
    EXPECT_TRUE(m_panel->isOpen());
    m_panel->open(click());
    m_panel->closeUnusedOrdinaryWindow();
    EXPECT_TRUE(m_panel->isOpen()) << "it is at the icon already";
}

TEST_F(PanelWindowTest, BackgroundAndBorderAreDrawnBehindTheContent) {
    const auto background = [this] { return m_views.theme().property("window").value<QColor>(); };
    for (const bool dark : {false, true}) {
        m_views.theme().setProperty("dark", dark);
        openAndActivate();
        const QImage image = window().grabWindow();
        EXPECT_EQ(image.pixelColor(160, 200), background());
        EXPECT_NE(image.pixelColor(0, 200), background()) << "the border";
        EXPECT_NE(image.pixelColor(0, 0), background()) << "the corners are round";
        EXPECT_NE(image.pixelColor(0, 0), image.pixelColor(0, 200));
        m_panel->close();
        m_panel->openAsOrdinaryWindow();
        waitUntil([&] { return window().isExposed(); });
        EXPECT_EQ(window().grabWindow().pixelColor(0, 0), background());
        EXPECT_EQ(window().grabWindow().pixelColor(0, 200), background());
        m_panel->close();
    }
}

TEST_F(PanelWindowTest, TheContentMayGoFirst) {
    auto content = std::make_unique<QQuickItem>();
    content->setImplicitWidth(10);
    content->setImplicitHeight(20);
    PanelWindow panel(*content, m_views.makePanelBackground(), m_clock);
    panel.open(click());
    content.reset();
    panel.toggle(click());
    panel.toggle(click());
    EXPECT_TRUE(panel.isOpen());
}

TEST_F(PanelWindowTest, TheWindowMayGoFirst) {
    m_panel.reset();
    EXPECT_EQ(m_content.parentItem(), nullptr);
    m_content.setImplicitHeight(10);
}

} // namespace
