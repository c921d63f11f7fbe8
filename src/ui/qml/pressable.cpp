#include "ui/qml/pressable.h"

#include <utility>

namespace {

bool isByKeyboard(Qt::FocusReason reason) {
    return reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason ||
           reason == Qt::ShortcutFocusReason;
}

} // namespace

Pressable::Pressable(QQuickItem* parent) : QQuickItem(parent) {
    setActiveFocusOnTab(true);
    setAcceptedMouseButtons(Qt::LeftButton);
    setAcceptHoverEvents(true);
    connect(this, &QQuickItem::focusChanged, this, [this](bool hasFocus) {
        if (!hasFocus) m_focusIsByKeyboard = false;
        showFocus();
    });
}

// --- keyboard

void Pressable::keyPressEvent(QKeyEvent* event) {
    const bool isSpace = event->key() == Qt::Key_Space;
    const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    event->setAccepted(isSpace || isReturn);
    if (event->isAutoRepeat()) return;
    if (isSpace) setDown(true);
    if (isReturn) Q_EMIT clicked();
}

void Pressable::keyReleaseEvent(QKeyEvent* event) {
    event->setAccepted(event->key() == Qt::Key_Space);
    if (event->isAccepted() && !event->isAutoRepeat()) release();
}

void Pressable::focusInEvent(QFocusEvent* event) {
    QQuickItem::focusInEvent(event);
    if (isByKeyboard(event->reason())) m_focusIsByKeyboard = true;
    if (event->reason() == Qt::MouseFocusReason) m_focusIsByKeyboard = false;
    showFocus();
}

void Pressable::focusOutEvent(QFocusEvent* event) {
    QQuickItem::focusOutEvent(event);
    showFocus();
    setDown(false);
}

// --- mouse

void Pressable::mousePressEvent(QMouseEvent* event) {
    event->accept();
    forceActiveFocus(Qt::MouseFocusReason);
    setDown(true);
}

void Pressable::mouseMoveEvent(QMouseEvent* event) {
    setDown(contains(event->position()));
}

void Pressable::mouseReleaseEvent(QMouseEvent* event) {
    event->accept();
    setDown(m_down && contains(event->position()));
    release();
}

void Pressable::mouseUngrabEvent() {
    setDown(false);
}

void Pressable::hoverEnterEvent(QHoverEvent* event) {
    QQuickItem::hoverEnterEvent(event);
    setHovered(true);
}

void Pressable::hoverLeaveEvent(QHoverEvent* event) {
    QQuickItem::hoverLeaveEvent(event);
    setHovered(false);
}

// --- state

void Pressable::itemChange(ItemChange change, const ItemChangeData& value) {
    if (change == ItemVisibleHasChanged && !value.boolValue) setHovered(false);
    if (change == ItemEnabledHasChanged) {
        if (!value.boolValue) setDown(false);
        showFocus();
    }
    QQuickItem::itemChange(change, value);
}

void Pressable::release() {
    const bool wasDown = m_down;
    setDown(false);
    if (wasDown) Q_EMIT clicked();
}

void Pressable::setDown(bool down) {
    if (std::exchange(m_down, down) != down) Q_EMIT downChanged();
}

void Pressable::setHovered(bool hovered) {
    if (std::exchange(m_hovered, hovered) != hovered) Q_EMIT hoveredChanged();
}

void Pressable::showFocus() {
    const bool isKept = m_visualFocus && !isEnabled();
    const bool visualFocus = m_focusIsByKeyboard && (hasActiveFocus() || isKept);
    if (std::exchange(m_visualFocus, visualFocus) != visualFocus) Q_EMIT visualFocusChanged();
}
