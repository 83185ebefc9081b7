// How the interface looks: Qt's colours from the palette record, and the few shades that our own painting needs.
#pragma once

#include "src/support/TKPalette.h"

#include <QColor>

/// The shades of our own widgets, all neutral but for one accent. Made from the palette.
struct UIShades {
    QColor window;  ///< behind everything, and around pictures
    QColor panel;   ///< tab pages
    QColor groove;  ///< edits, empty parts of plots
    QColor track;   ///< of sliders, darker than the window on either palette
    QColor line;    ///< hairlines between areas
    QColor control; ///< buttons, thumbs
    QColor hover;   ///< a control under the pointer
    QColor pressed;
    QColor text, dimText;
    QColor accent; ///< what differs from neutral, and what has the focus
};

/// The shades in force.   Thread: main.
const UIShades& UIShadesNow();

/// Sets shades, application palette, style and font from a palette record.   Thread: main.
void UIApplyPalette(const TKPalette& palette);
