// The window in front, and giving it the front back.
#pragma once

#include <cstdint>

/// The window that the user works in now, as the X window manager tells it; 0 where there is none, and always on Wayland,
/// which tells no application of the windows of others.   Thread: main.
uint64_t BPQtForegroundWindow();

/// Asks the window manager to bring a window to the front; 0 does nothing. A window that is gone by now is the window
/// manager's to ignore.   Thread: main.
void BPQtGiveForeground(uint64_t window);
