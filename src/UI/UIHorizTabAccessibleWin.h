// What a screen reader learns of a row of tabs: a list of page tabs, each with its name, place, whether it is selected
// and, where it has a switch, whether it is checked.   Thread: main.
#pragma once

class UIHorizTabWin;

/// Once for all rows; further calls do nothing.
void UIInstallTabAccessibility();

/// Tells who listens that another tab is selected, or that a tab's switch changed.
void UITabWasSelected(UIHorizTabWin* tabs, int index);
void UITabSwitchChanged(UIHorizTabWin* tabs, int index);
