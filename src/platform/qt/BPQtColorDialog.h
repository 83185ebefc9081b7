// The dialog for a colour.
#pragma once

#include <cstdint>

/// Asks for a colour of 8 bits a component, beginning with the one in `rgb`, in a window over the active one, and waits;
/// the event loop goes on meanwhile. True with the answer in `rgb`; on Cancel `rgb` is as it was.   Thread: main.
bool BPQtChooseColor(const char* title, uint8_t rgb[3]);
