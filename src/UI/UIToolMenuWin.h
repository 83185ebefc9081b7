// Menus of the right button, from their tables.
#pragma once

#include "src/support/TKContextMenu.h"

#include <QMenu>
#include <functional>

/// Opens the menu at a place of the screen and returns at once; `choose` is called with the position of the item that
/// the user takes. The menu is a child of `parent` named "menu" and its number, and is gone when it closes.
QMenu* UIOpenToolMenu(const TKContextMenu& menu, const QPoint& place, QWidget* parent,
                      std::function<void(uint32_t)> choose);
