// How sliders are announced: name, value, range; and a value that an assistive tool may set.
#pragma once

class UISliderWin;

/// Makes sliders known to Qt's accessibility; once is enough.   Thread: main.
void UIInstallSliderAccess();

/// Tells assistive tools that the value changed, when there are any.
void UIAnnounceSlider(UISliderWin* slider);
