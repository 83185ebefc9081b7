// What the application says to its user in boxes. Answers come from scripts in tests.
#pragma once

#include <cstdint>

enum BPSeverity : uint32_t { bpCaution = 1, bpStop = 2, bpNote = 3 };

struct BPAlertOps {
    /// Shows the text with the system's own caption and waits for the user.
    void (*alert)(BPSeverity severity, const char* text);

    /// The same under a title of its own, with the stop icon.
    void (*messageBox)(const char* title, const char* text);

    void (*beep)();
};
