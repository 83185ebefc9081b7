// From Qt's keys and modifiers to the codes that the logic knows.
#pragma once

#include "src/platform/BPKeyboard.h"

#include <QKeyEvent>

/// The virtual key code of an event, or 0 for a key that the logic does not know.
uint32_t TKVirtualKey(const QKeyEvent& event);

/// Shift, control and alt of an event, without caps lock.
uint32_t TKModifiersOf(Qt::KeyboardModifiers modifiers);
