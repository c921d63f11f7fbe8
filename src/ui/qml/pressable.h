#pragma once

#include <QQuickItem>
#include <QtQml/qqmlregistration.h>

/// What the mouse and the keyboard can press, without anything to see. The types that Qt has for it are in a
/// module that takes longer to load than the panel to be drawn.
///
/// A click is a press and a release of the left button inside, or of Space; Return clicks at once. It takes
/// the keyboard when it is pressed and when Tab comes to it.
class Pressable : public QQuickItem {
    Q_OBJECT
    QML_ELEMENT

    Q_PROPERTY(bool down READ isDown NOTIFY downChanged)
    Q_PROPERTY(bool hovered READ isHovered NOTIFY hoveredChanged)
    Q_PROPERTY(bool visualFocus READ hasVisualFocus NOTIFY visualFocusChanged)

  public:
    explicit Pressable(QQuickItem* parent = nullptr);

    bool isDown() const { return m_down; }
    bool isHovered() const { return m_hovered; }
    /// The keyboard is here and came by itself: the mouse needs no one to show where it is.
    bool hasVisualFocus() const { return m_visualFocus; }

  signals:
    void clicked();
    void downChanged();
    void hoveredChanged();
    void visualFocusChanged();

  protected:
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseUngrabEvent() override;
    void hoverEnterEvent(QHoverEvent* event) override;
    void hoverLeaveEvent(QHoverEvent* event) override;
    void itemChange(ItemChange change, const ItemChangeData& value) override;

  private:
    void setDown(bool down);
    void setHovered(bool hovered);
    void setVisualFocus(bool visualFocus);
    void release();

    bool m_down = false;
    bool m_hovered = false;
    bool m_visualFocus = false;
};
