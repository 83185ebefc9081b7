// The menu bar as a table. What an item does and what stands in it comes from the command table.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

struct TKMenuRow {
    uint32_t depth;       ///< 0 a menu of the bar, 1 its items, 2 and 3 those of submenus
    const char* title;    ///< of a menu or submenu; null for an item and for a separator
    uint32_t command;     ///< of an item; 0 for menus and separators
    uint32_t firstOfList; ///< of a submenu that is filled at run time: the number of its first item; otherwise 0
};

std::span<const TKMenuRow> TKMenuRows();

/// The text of a menu or an item, exactly; null for a separator.
const char* TKMenuText(const TKMenuRow& row);

/// An item's text in its two columns: what it is called, and the name of its key, empty without one.
struct TKMenuColumns {
    std::string_view label, key;
};
TKMenuColumns TKSplitMenuText(std::string_view text);

/// Items of a menu that EnableAllMenus looks at.
inline constexpr int kTKMenuItemLimit = 30;
