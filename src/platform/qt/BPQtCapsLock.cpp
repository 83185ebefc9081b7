// Caps lock by way of the X keyboard extension. A file of its own: the X headers define common words as macros.
#include "src/platform/qt/BPQtCapsLock.h"

#include <QGuiApplication>

#include <X11/XKBlib.h>

bool BPQtCapsLockIsOn()
{
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (!x11 || !x11->display()) return false;
    XkbStateRec state = {};
    if (XkbGetState(x11->display(), XkbUseCoreKbd, &state) != 0) return false;
    return (state.locked_mods & LockMask) != 0;
}
