// A menu of the right button: its items in order, and which of them act now.
#pragma once

#include <cstdint>

struct TKContextMenuItem {
    const char* text; ///< exactly as shown
    bool enabled;
};

/// An item is called by its position.
struct TKContextMenu {
    static constexpr uint32_t kLimit = 8;
    uint32_t id; ///< number of the menu
    uint32_t itemCount;
    TKContextMenuItem item[kLimit];
};
