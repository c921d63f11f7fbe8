#pragma once

/// Whether what a window leaves transparent shows what is behind it. Under Wayland always; in X11 only while
/// a compositing manager runs, which may start and end at any time: ask before each opening of a window.
///
/// Main thread, after the application object. Asks the X server and waits for its answer.
bool isComposited();
