// Caps lock, which Qt does not tell.
#pragma once

/// Whether caps lock is toggled on. False where no X server is behind the application.   Thread: main.
bool BPQtCapsLockIsOn();
