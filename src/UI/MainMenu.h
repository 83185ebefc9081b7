// The menu bar as a table.
#pragma once

#include <cstdint>
#include <span>

struct TKMenuRow {
    uint32_t depth;      ///< 0 a menu of the bar, 1 its items, 2 and 3 those of submenus
    const char* text;    ///< as it is shown, the key's name left out; null is a separator
    const char* keyText; ///< shown at the right, or null
    uint32_t command;    ///< 0 for menus and submenus
};

std::span<const TKMenuRow> TKMenuRows();
