#include "ui/compositing.h"

#include <QGuiApplication>
#include <X11/Xlib.h>
#include <string>

bool isComposited() {
    if (QGuiApplication::platformName() != QLatin1String("xcb")) return true;
    Display* const display = qGuiApp->nativeInterface<QNativeInterface::QX11Application>()->display();
    // Extended Window Manager Hints: who blends the windows of a screen owns this selection.
    const std::string name = "_NET_WM_CM_S" + std::to_string(DefaultScreen(display));
    return XGetSelectionOwner(display, XInternAtom(display, name.c_str(), False)) != None;
}
