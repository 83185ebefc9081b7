// Screens, and which application is in front.
#pragma once

#include "src/platform/BPStatus.h"

struct BPRect {
    int32_t left, top, right, bottom; ///< physical pixels; right and bottom are outside
};

struct BPScreenOps {
    uint32_t (*count)();                                ///< at least 1 with a display
    BPStatus (*bounds)(uint32_t index, BPRect* bounds); ///< 0 is the primary screen
    BPStatus (*workArea)(BPRect* area);                 ///< of the primary screen

    /// Allows the process to take the foreground from us, where the system wants to be told.
    void (*allowForeground)(uint32_t processId);
};
