#pragma once

#include <QPoint>
#include <QRect>
#include <QSize>
#include <variant>
#include <vector>

/// One screen as the window system describes it. Logical pixels; the screen's corner is the same point in
/// physical ones.
struct PanelScreen {
    QRect geometry;
    QRect available;  ///< less bars and docks
    double scale = 1; ///< physical pixels for a logical one
};

/// The tray icon was clicked here: physical pixels of the whole desktop, as the host of a tray tells it.
/// Hosts that don't know it say 0, 0.
struct ClickPoint {
    QPoint physical;
};
/// Where the tray icon is, in logical pixels.
struct IconArea {
    QRect logical;
};
struct NoAnchor {};
/// What the panel opens at.
using PanelAnchor = std::variant<NoAnchor, ClickPoint, IconArea>;

/// Where the panel's upper left corner goes, in logical pixels: beside the anchor, on the side that faces
/// into the screen and off the bar that holds the anchor; without an anchor (also one that lies on no screen)
/// at the top right of the first screen. All of the panel is on the screen; one that is larger shows its
/// upper left. `screens` has one at least.
QPoint panelPosition(const PanelAnchor& anchor, const std::vector<PanelScreen>& screens, const QSize& panel);
