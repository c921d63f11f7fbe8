#include "ui/panel_window.h"

#include "ui/compositing.h"

#include <QEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QPainterPath>
#include <QRegion>
#include <QScreen>
#include <QSurfaceFormat>
#include <chrono>
#include <utility>

namespace {

using namespace std::chrono_literals;

/// A click on the tray icon takes the keyboard from the panel, and only then tells us.
constexpr auto clickAfterFocusLoss = 250ms;

constexpr Qt::WindowFlags panelFlags = Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint;
constexpr Qt::WindowFlags ordinaryFlags =
    Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowCloseButtonHint;

class Window final : public QQuickWindow {
  protected:
    /// What the content leaves of the keys.
    void keyPressEvent(QKeyEvent* event) override {
        event->ignore();
        QQuickWindow::keyPressEvent(event);
        if (event->isAccepted() || event->key() != Qt::Key_Escape) return;
        event->accept();
        close();
    }
};

QRegion roundedRegion(const QSize& size, qreal cornerRadius) {
    QPainterPath path;
    path.addRoundedRect(QRectF(QPointF(), size), cornerRadius, cornerRadius);
    return QRegion(path.toFillPolygon().toPolygon());
}

/// Layouts and wrapped texts have their sizes only then. The first frame would do it too late for the size of
/// the window.
void polish(QQuickItem& item) {
    item.ensurePolished();
    for (QQuickItem* const child : item.childItems()) polish(*child);
}

std::vector<PanelScreen> allScreens() {
    std::vector<PanelScreen> screens;
    for (const QScreen* const screen : QGuiApplication::screens())
        screens.push_back({screen->geometry(), screen->availableGeometry(), screen->devicePixelRatio()});
    return screens;
}

} // namespace

PanelWindow::PanelWindow(QQuickItem& content, std::unique_ptr<QQuickItem> background, const TimedQueue& clock)
    : m_clock(clock), m_window(std::make_unique<Window>()), m_background(std::move(background)),
      m_content(&content) {
    m_window->setTitle(QStringLiteral("Murmelo"));
    connect(m_background.get(), SIGNAL(colorChanged()), SLOT(colourWindow()));
    colourWindow();
    m_background->setParentItem(m_window->contentItem());
    content.setParentItem(m_window->contentItem());
    content.setFocus(true);
    m_window->installEventFilter(this);
    connect(&content, &QQuickItem::implicitWidthChanged, this, &PanelWindow::fit);
    connect(&content, &QQuickItem::implicitHeightChanged, this, &PanelWindow::fit);
    connect(m_window.get(), &QWindow::activeChanged, this, &PanelWindow::lostKeyboard, Qt::QueuedConnection);
    fit();
}

PanelWindow::~PanelWindow() {
    if (m_content) m_content->setParentItem(nullptr); // not the window's to destroy
}

/// The colour shows at the corners. Whatever it is, the desktop's window has an alpha channel: Qt goes on
/// drawing into the same kind of image when that window is made anew.
void PanelWindow::colourWindow() {
    m_window->setColor(m_isTransparent ? Qt::transparent : m_background->property("color").value<QColor>());
    QSurfaceFormat format = m_window->requestedFormat();
    format.setAlphaBufferSize(8);
    m_window->setFormat(format);
}

// --- opening and closing
// -------------------------------------------------------------------------------------------

void PanelWindow::toggle(const PanelAnchor& anchor) {
    if (isOpen()) return close();
    const bool hasJustClosedIt =
        m_closedByFocusLoss && m_clock.now() - *m_closedByFocusLoss < clickAfterFocusLoss;
    m_closedByFocusLoss.reset();
    if (!hasJustClosedIt) open(anchor);
}

void PanelWindow::open(const PanelAnchor& anchor) {
    m_anchor = anchor;
    m_window->setFlags(panelFlags);
    show();
}

void PanelWindow::openAsOrdinaryWindow() {
    m_anchor.reset();
    m_window->setFlags(ordinaryFlags);
    show();
}

void PanelWindow::show() {
    m_isUsed = false;
    m_closedByFocusLoss.reset();
    chooseTransparency();
    m_background->setProperty("framed", m_anchor.has_value());
    if (m_content) polish(*m_content);
    fit();
    m_window->show();
    m_window->raise();
    m_window->requestActivate();
}

void PanelWindow::chooseTransparency() {
    m_isTransparent = isComposited();
    colourWindow();
}

void PanelWindow::close() {
    m_window->hide();
}

void PanelWindow::closeAtIcon() {
    if (m_anchor) close();
}

void PanelWindow::closeUnusedOrdinaryWindow() {
    if (!m_anchor && !m_isUsed) close();
}

bool PanelWindow::eventFilter(QObject* watched, QEvent* event) {
    const QEvent::Type type = event->type();
    if (type == QEvent::KeyPress || type == QEvent::MouseButtonPress || type == QEvent::TouchBegin)
        m_isUsed = true;
    return QObject::eventFilter(watched, event);
}

bool PanelWindow::isOpen() const {
    return m_window->isVisible();
}

void PanelWindow::lostKeyboard() {
    if (!m_anchor || !isOpen() || m_window->isActive()) return;
    m_closedByFocusLoss = m_clock.now();
    close();
}

// --- size and place
// ------------------------------------------------------------------------------------------------

void PanelWindow::fit() {
    if (!m_content) return;
    const QSize size(qCeil(m_content->implicitWidth()), qCeil(m_content->implicitHeight()));
    if (size.isEmpty()) return;
    m_content->setSize(size);
    m_background->setSize(size);
    m_window->setMinimumSize(size);
    m_window->setMaximumSize(size);
    m_window->resize(size);
    const qreal cornerRadius = m_background->property("radius").toReal();
    m_window->setMask(m_isTransparent ? QRegion() : roundedRegion(size, cornerRadius));
    if (!m_anchor) return;
    const QPoint position = panelPosition(*m_anchor, allScreens(), size);
    if (QScreen* const screen = QGuiApplication::screenAt(position)) m_window->setScreen(screen);
    m_window->setPosition(position);
}
