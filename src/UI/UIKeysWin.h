// From Qt's keys and modifiers to the codes that the logic knows.
#pragma once

#include "src/support/TKKeys.h"

#include <QKeyEvent>
#include <QWidget>

/// The virtual key code of an event, or 0 for a key that the logic does not know. On a layout without Latin letters the
/// place of the key tells the letter, and on one with signs in the row of digits the digit.
uint32_t TKVirtualKey(const QKeyEvent& event);

/// Shift, control and alt of an event, without caps lock.
uint32_t TKModifiersOf(Qt::KeyboardModifiers modifiers);

/// The one character that the key gives, or 0.
uint32_t TKCharacterOf(const QKeyEvent& event);

/// A control that moves by arrow keys, Home and End sets this property to true.
inline constexpr char kUITakesArrows[] = "takesArrowKeys";

/// Whether the space bar presses a widget that has the focus: a button, a checkbox, a popup, a tab with a switch.
bool TKTakesSpace(const QWidget* widget);

/// What the keys have to know about the widget that has the focus; null is nothing.
TKKeyFocus TKFocusOf(const QWidget* widget);
