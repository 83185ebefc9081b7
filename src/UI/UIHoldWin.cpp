// Releases that are lost.
#include "src/UI/UIHoldWin.h"

#include <QMouseEvent>

bool UIEndsHold(const QEvent& event, Qt::MouseButton button)
{
    switch (event.type()) {
    case QEvent::Hide:
    case QEvent::UngrabMouse:
    case QEvent::WindowDeactivate: return true;
    case QEvent::MouseMove: return (static_cast<const QMouseEvent&>(event).buttons() & button) == 0;
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick: return static_cast<const QMouseEvent&>(event).button() == button; // once more
    default: return false;
    }
}
