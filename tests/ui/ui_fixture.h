#pragma once

#include "ui/appearance.h"
#include "ui/model_fixture.h"
#include "ui/views.h"

#include <QGuiApplication>
#include <QPointer>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTest>
#include <QVariant>
#include <optional>
#include <stdexcept>
#include <string>

/// The views of that state. `m_window` is the one that is being tested.
class UiFixture : public ModelFixture {
  protected:
    UiFixture() { m_views.follow(m_appearance); }
    void TearDown() override {
        m_model.reset(); // and with it all views
        QGuiApplication::setLayoutDirection(Qt::LeftToRight);
    }

    /// The model tells, and what follows of it is laid out and drawn.
    void runEventLoop() {
        for (int round = 0; round < 2; ++round) {
            ::runEventLoop();
            if (m_window != nullptr && m_window->isVisible()) m_window->grabWindow();
        }
    }
    /// What is on its way arrives, and so on.
    void show() {
        ModelFixture::show();
        runEventLoop();
    }

    QObject& theme() { return m_views.theme(); }

    /// The panel in a window of its size, on the screen and with the keyboard.
    void openPanel() {
        if (!m_ownWindow) {
            m_ownWindow.emplace();
            m_ownWindow->setColor(theme().property("window").value<QColor>());
            m_panel = m_views.makePanel(*m_model);
            m_panel->setParentItem(m_ownWindow->contentItem());
            fitWindow();
            QObject::connect(m_panel, &QQuickItem::implicitHeightChanged, m_panel, [this] { fitWindow(); });
        }
        bringUp(*m_ownWindow);
    }
    void closePanel() {
        m_ownWindow->hide();
        runEventLoop();
    }
    /// Made by the views; shown here, as its owner would.
    void openOnboarding() {
        if (!m_onboarding) m_onboarding = m_views.makeOnboardingWindow(*m_model);
        bringUp(*m_onboarding);
    }

    QQuickItem& item(const char* name) const {
        const QObject* const view = m_panel ? static_cast<QObject*>(m_panel) : m_window;
        auto* const found = view->findChild<QQuickItem*>(name);
        if (found == nullptr) throw std::runtime_error(std::string("no item ") + name);
        return *found;
    }
    static std::string textOf(const QObject& object) {
        return object.property("text").toString().toStdString();
    }
    std::string text(const char* name) const { return textOf(item(name)); }
    bool isVisible(const char* name) const { return item(name).isVisible(); }
    bool isEnabled(const char* name) const { return item(name).isEnabled(); }

    void click(const char* name) { click(item(name)); }
    void click(QQuickItem& target) {
        const QPointF centre(target.width() / 2, target.height() / 2);
        QTest::mouseClick(m_window, Qt::LeftButton, {}, target.mapToScene(centre).toPoint());
        runEventLoop();
    }
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
        QTest::keyClick(m_window, key, modifiers);
        runEventLoop();
    }
    void giveKeyboardTo(const char* name) { item(name).forceActiveFocus(Qt::TabFocusReason); }
    std::string keyboardIsAt() const {
        const QQuickItem* const focused = m_window->activeFocusItem();
        return focused == nullptr ? "" : focused->objectName().toStdString();
    }

    Appearance m_appearance{QDBusConnection(QStringLiteral("no bus"))};
    Views m_views;
    std::optional<QQuickWindow> m_ownWindow;
    QPointer<QQuickItem> m_panel;
    QPointer<QQuickWindow> m_onboarding;
    QPointer<QQuickWindow> m_window;

  private:
    void fitWindow() {
        m_panel->setSize({m_panel->implicitWidth(), m_panel->implicitHeight()});
        m_ownWindow->resize(m_panel->size().toSize());
    }
    void bringUp(QQuickWindow& window) {
        m_window = &window;
        window.show();
        window.requestActivate();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
        show();
    }
};
