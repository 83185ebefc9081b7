// A mouse button that is held down, and the ways in which its release never comes.
#pragma once

#include <QEvent>

/// Whether what `button` holds in a widget ends with this event, although the widget has not seen the release: it is
/// hidden, its window loses the mouse or stops being the active one, or the mouse does something that it cannot do with
/// the button held. The release went to a menu, to a question or to another program then. False for the release itself.
bool UIEndsHold(const QEvent& event, Qt::MouseButton button);
