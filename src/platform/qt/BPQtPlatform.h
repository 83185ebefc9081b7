// The operations that need the window system: keyboard, alerts, clipboard, screens.
#pragma once

#include "src/platform/BPPlatform.h"

/// Fills the operations that Qt serves. A QApplication must exist when they are called.   Thread: main.
void BPFillQtPlatform(BPPlatform* platform);
