#include "ui/panel_placement.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace {

constexpr int gap = 6;           // between the panel and what is around it
constexpr int thickestBar = 100; // an icon that far from an edge may be in a bar there

/// An anchor in logical pixels and the screen that it is on.
struct Place {
    QRect anchor;
    const PanelScreen* screen;
};

QPoint logicalPoint(const QPoint& physical, const PanelScreen& screen) {
    const QPoint corner = screen.geometry.topLeft();
    const QPointF inside = QPointF(physical - corner) / screen.scale;
    return corner +
           QPoint(static_cast<int>(std::floor(inside.x())), static_cast<int>(std::floor(inside.y())));
}

std::optional<Place> placeOf(const PanelAnchor& anchor, const std::vector<PanelScreen>& screens) {
    const auto* const click = std::get_if<ClickPoint>(&anchor);
    const auto* const icon = std::get_if<IconArea>(&anchor);
    if (click != nullptr && click->physical.isNull()) return std::nullopt;
    if (icon != nullptr && icon->logical.isEmpty()) return std::nullopt;
    for (const PanelScreen& screen : screens) {
        if (click != nullptr) {
            const QPoint point = logicalPoint(click->physical, screen);
            if (screen.geometry.contains(point)) return Place{QRect(point, QSize(1, 1)), &screen};
        }
        if (icon != nullptr && screen.geometry.contains(icon->logical.center()))
            return Place{icon->logical, &screen};
    }
    return std::nullopt;
}

/// The edge of the screen whose bar holds the anchor.
Qt::Edge edgeOf(const QRect& anchor, const PanelScreen& screen) {
    const QPoint point = anchor.center();
    const QRect& free = screen.available;
    if (point.y() < free.top()) return Qt::TopEdge;
    if (point.y() > free.bottom()) return Qt::BottomEdge;
    if (point.x() < free.left()) return Qt::LeftEdge;
    if (point.x() > free.right()) return Qt::RightEdge;
    // A bar that hides itself, or lies above windows, takes no room. In a corner it is a horizontal one.
    const int top = point.y() - screen.geometry.top();
    const int bottom = screen.geometry.bottom() - point.y();
    const int sideways = std::min(point.x() - screen.geometry.left(), screen.geometry.right() - point.x());
    if (std::min(top, bottom) > thickestBar && sideways <= thickestBar)
        return point.x() < screen.geometry.center().x() ? Qt::LeftEdge : Qt::RightEdge;
    return top <= bottom ? Qt::TopEdge : Qt::BottomEdge;
}

/// Moves [at, at + length) between the two ends (the second is beyond the last pixel), with a gap where there
/// is room for it.
int fitted(int at, int length, int first, int beyond) {
    const int margin = std::clamp((beyond - first - length) / 2, 0, gap);
    return std::max(first + margin, std::min(at, beyond - margin - length));
}

QPoint fitted(const QPoint& at, const QSize& panel, const QRect& free) {
    return {fitted(at.x(), panel.width(), free.left(), free.left() + free.width()),
            fitted(at.y(), panel.height(), free.top(), free.top() + free.height())};
}

QPoint beside(const QRect& anchor, Qt::Edge edge, const QRect& free, const QSize& panel) {
    const QPoint centred(anchor.center().x() - panel.width() / 2, anchor.center().y() - panel.height() / 2);
    switch (edge) {
    case Qt::TopEdge:
        return {centred.x(), std::max(anchor.bottom() + 1, free.top()) + gap};
    case Qt::BottomEdge:
        return {centred.x(), std::min(anchor.top(), free.bottom() + 1) - gap - panel.height()};
    case Qt::LeftEdge:
        return {std::max(anchor.right() + 1, free.left()) + gap, centred.y()};
    case Qt::RightEdge:
        return {std::min(anchor.left(), free.right() + 1) - gap - panel.width(), centred.y()};
    }
    return centred;
}

} // namespace

QPoint panelPosition(const PanelAnchor& anchor, const std::vector<PanelScreen>& screens, const QSize& panel) {
    const std::optional<Place> place = placeOf(anchor, screens);
    if (!place) {
        const QRect& free = screens.front().available;
        return fitted({free.right() + 1 - panel.width(), free.top()}, panel, free);
    }
    const QRect& free = place->screen->available;
    return fitted(beside(place->anchor, edgeOf(place->anchor, *place->screen), free, panel), panel, free);
}
