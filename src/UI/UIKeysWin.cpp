// Key codes.
#include "src/UI/UIKeysWin.h"

#include "src/UI/UIHorizTabWin.h"
#include "src/UI/UISliderWin.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QLineEdit>

namespace {

/// Letters and digits by the place of their key, as the X server and Wayland number them.
struct KeyRow {
    quint32 first;
    const char* keys;
};
constexpr KeyRow kKeyRows[] = {{10, "1234567890"}, {24, "QWERTYUIOP"}, {38, "ASDFGHJKL"}, {52, "ZXCVBNM"}};

uint32_t KeyByPlace(quint32 place)
{
    for (const KeyRow& row : kKeyRows)
        for (quint32 i = 0; row.keys[i] != 0; ++i)
            if (row.first + i == place) return static_cast<uint32_t>(row.keys[i]);
    return 0;
}

} // namespace

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
    case Qt::Key_PageUp: return kTKKeyPageUp;
    case Qt::Key_PageDown: return kTKKeyPageDown;
    case Qt::Key_Insert: return kTKKeyInsert;
    case Qt::Key_Delete: return kTKKeyDelete;
    default: break;
    }
    // A sign of a Latin layout that stands where others have a letter is that sign; only digits go by their place.
    const uint32_t byPlace = KeyByPlace(event.nativeScanCode());
    return key > 0 && key < 0x80 && byPlace >= 'A' ? 0 : byPlace;
}

uint32_t TKModifiersOf(Qt::KeyboardModifiers modifiers)
{
    uint32_t word = 0;
    if (modifiers & Qt::ShiftModifier) word |= bpShiftKey;
    if (modifiers & Qt::AltModifier) word |= bpAltKey;
    if (modifiers & Qt::ControlModifier) word |= bpControlKey;
    return word;
}

uint32_t TKCharacterOf(const QKeyEvent& event)
{
    const QString text = event.text();
    return text.size() == 1 ? text.at(0).unicode() : 0;
}

bool TKTakesSpace(const QWidget* widget)
{
    if (qobject_cast<const QAbstractButton*>(widget) || qobject_cast<const QComboBox*>(widget)) return true;
    const auto* tabs = dynamic_cast<const UIHorizTabWin*>(widget);
    return tabs && tabs->tabCount() > 0 && tabs->hasSwitch(tabs->current());
}

TKKeyFocus TKFocusOf(const QWidget* widget)
{
    if (!widget) return tkFocusElsewhere;
    if (widget->property(kUITakesArrows).toBool()) return tkFocusArrows;
    // The edit of a slider or of a readout is known to the session, which lets the keys of slots and of playing through.
    const bool ofSlider = dynamic_cast<const UISliderEditWin*>(widget) != nullptr;
    return dynamic_cast<const QLineEdit*>(widget) && !ofSlider ? tkFocusText : tkFocusElsewhere;
}
