// The transport bar for screen readers: a tool bar of five buttons whose value is the position.
#pragma once

class UITransportWin;

/// Makes the bars known to assistive tools. Calling it again does nothing.   Thread: main.
void UIInstallTransportAccessibility();

/// Tells them that the position is another one.   Thread: main.
void UITransportMoved(UITransportWin* transport);
