// What the operating system calls itself.
#pragma once

#include <cstdint>

struct BPSystemVersion {
    uint32_t major, minor;
};

/// The first two numbers of the system's release, such as 6 and 1; zeros where it tells none.   Thread: any.
BPSystemVersion BPGetSystemVersion();
