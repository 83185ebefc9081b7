// Where everything stands on the screen, for programs that drive the interface: scripted edits, tests, assistive tools.
#pragma once

#include <QWidget>

/// True when the environment variable OCHRINE_LAYOUT_FILE names a file.
bool UILayoutReportWanted();

/// Writes one line "name x y width height" a visible named widget below `window`, in physical pixels of the screen, and
/// lines for the parts of sliders (name.track, name.value), tabs (name, name.switch) and transport bars. The file is
/// replaced whole.
void UIReportLayout(QWidget* window);

/// Writes the name of the widget with the keyboard's focus into the file beside that one that ends in ".focus".
void UIReportFocus();
