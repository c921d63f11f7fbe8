#include "ui/compositing.h"

#include <QGuiApplication>
#include <X11/Xlib.h>
#include <string>

bool isComposited() {
    const auto* const x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    Display* const display =
        x11 != nullptr ? x11->display() : nullptr; // off the screen there may be no display
    if (display == nullptr) return true;
    // Extended Window Manager Hints: who blends the windows of a screen owns this selection.
    const std::string name = "_NET_WM_CM_S" + std::to_string(DefaultScreen(display));
    return XGetSelectionOwner(display, XInternAtom(display, name.c_str(), False)) != None;
}
