// The modifier word that all keyboard logic reads.
#pragma once

#include <cstdint>

enum : uint32_t {
    bpShiftKey = 0x200,
    bpCapsLock = 0x400, ///< toggled on, not held
    bpAltKey = 0x800,
    bpControlKey = 0x1000,
};

struct BPKeyboardOps {
    uint32_t (*modifierWord)();
    bool (*mouseButtonDown)(); ///< the left button
};
