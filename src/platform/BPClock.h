// Time. Waits are plain sleeps: they never run an event loop. Tests move the clock themselves.
#pragma once

#include <cstdint>

struct BPClockOps {
    double (*wallSeconds)();   ///< seconds since 1970
    uint64_t (*monotonicMs)(); ///< milliseconds since some point, never going back
    void (*sleepMs)(uint32_t milliseconds);
};

/// Milliseconds of a wait told in ticks of 1/60 second.
constexpr uint32_t BPTicksToMs(uint32_t ticks)
{
    return ticks * 1000u / 60u;
}
