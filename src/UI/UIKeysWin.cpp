// Key codes.
#include "src/UI/UIKeysWin.h"

#include "src/support/TKCommands.h"

uint32_t TKVirtualKey(const QKeyEvent& event)
{
    const int key = event.key();
    if ((key >= Qt::Key_A && key <= Qt::Key_Z) || (key >= Qt::Key_0 && key <= Qt::Key_9))
        return static_cast<uint32_t>(key);
    if (key >= Qt::Key_F1 && key <= Qt::Key_F8) return kTKKeyF1 + static_cast<uint32_t>(key - Qt::Key_F1);
    switch (key) {
    case Qt::Key_Space: return kTKKeySpace;
    case Qt::Key_Home: return kTKKeyHome;
    case Qt::Key_End: return kTKKeyEnd;
    case Qt::Key_Left: return kTKKeyLeft;
    case Qt::Key_Right: return kTKKeyRight;
    case Qt::Key_Up: return kTKKeyUp;
    case Qt::Key_Down: return kTKKeyDown;
    case Qt::Key_Return:
    case Qt::Key_Enter: return kTKKeyReturn;
    case Qt::Key_Tab:
    case Qt::Key_Backtab: return kTKKeyTab;
    case Qt::Key_Escape: return kTKKeyEscape;
    case Qt::Key_Backspace: return kTKKeyBack;
    default: return 0;
    }
}

uint32_t TKModifiersOf(Qt::KeyboardModifiers modifiers)
{
    uint32_t word = 0;
    if (modifiers & Qt::ShiftModifier) word |= bpShiftKey;
    if (modifiers & Qt::AltModifier) word |= bpAltKey;
    if (modifiers & Qt::ControlModifier) word |= bpControlKey;
    return word;
}
