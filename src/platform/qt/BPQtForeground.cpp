// The window in front by way of the X window manager. A file of its own: the X headers define common words as macros.
#include "src/platform/qt/BPQtForeground.h"

#include <QGuiApplication>

#include <X11/Xatom.h>
#include <X11/Xlib.h>

namespace {

Display* XDisplay()
{
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 ? x11->display() : nullptr;
}

} // namespace

uint64_t BPQtForegroundWindow()
{
    Display* display = XDisplay();
    if (!display) return 0;
    const Atom active = XInternAtom(display, "_NET_ACTIVE_WINDOW", True);
    if (active == None) return 0; // there is no window manager that would know
    Atom type = None;
    int format = 0;
    unsigned long count = 0, left = 0;
    unsigned char* value = nullptr;
    const int result = XGetWindowProperty(display, DefaultRootWindow(display), active, 0, 1, False, XA_WINDOW, &type,
                                          &format, &count, &left, &value);
    // A property of 32 bits comes as longs.
    const bool found = result == Success && type == XA_WINDOW && format == 32 && count == 1 && value;
    const uint64_t window = found ? *reinterpret_cast<const unsigned long*>(value) : 0;
    if (value) XFree(value);
    return window;
}

void BPQtGiveForeground(uint64_t window)
{
    Display* display = XDisplay();
    if (!display || window == 0) return;
    XEvent event = {};
    event.xclient.type = ClientMessage;
    event.xclient.window = static_cast<Window>(window);
    event.xclient.message_type = XInternAtom(display, "_NET_ACTIVE_WINDOW", False);
    event.xclient.format = 32;
    event.xclient.data.l[0] = 2; // the user's own wish: OK or Cancel was clicked
    event.xclient.data.l[1] = CurrentTime;
    XSendEvent(display, DefaultRootWindow(display), False, SubstructureRedirectMask | SubstructureNotifyMask, &event);
    XFlush(display);
}
