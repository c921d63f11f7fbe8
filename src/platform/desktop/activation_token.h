#pragma once

/// Makes room for the environment variable XDG_ACTIVATION_TOKEN. To be called before there is another thread.
///
/// The variable is how a token, with which a Wayland compositor lets a window take the keyboard, reaches Qt:
/// Qt 6 reads it when a window is activated, removes it afterwards, and has no other interface for it. So
/// this one variable changes while other threads read the environment, which POSIX does not allow in general:
/// setenv() may move the list that they read, and unsetenv() moves the entries behind the one that it
/// removes. After this call the list is large enough to stay where it is, and the variable is its last entry,
/// if it is set. This holds for the GNU C library as long as nobody sets another new variable.
void reserveActivationToken();
