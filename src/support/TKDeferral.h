// A render that waits until the hand pauses. Wheel, curve editor and levels put off what a drag asks for: each change
// starts the count anew, each tick of the control's timer counts down, and the last value is the one that is rendered.
//
// Thread: main.
#pragma once

#include <cstdint>

struct TKDeferral {
    bool pending;    ///< a change waits
    int32_t counter; ///< ticks until it is due; 0 or less with the next tick
};

/// A change waits for `ticks` ticks from now on, whatever waited before.
inline void TKDefer(TKDeferral* deferral, int32_t ticks)
{
    deferral->pending = true;
    deferral->counter = ticks;
}

/// A tick of the timer. True once, when the change that waits is due.
inline bool TKDeferTick(TKDeferral* deferral)
{
    if (!deferral->pending || --deferral->counter > 0) return false;
    deferral->pending = false;
    return true;
}

/// The gesture has ended: true when a change was held back, which is then due now.
inline bool TKDeferFlush(TKDeferral* deferral)
{
    const bool pending = deferral->pending;
    *deferral = {};
    return pending;
}

/// The same tick for a hand that never pauses: a change is also due when changes have waited for `most` ticks in a row.
/// `waited` counts them and belongs to the caller.
inline bool TKDeferTickAtMost(TKDeferral* deferral, int32_t* waited, int32_t most)
{
    if (!deferral->pending) {
        *waited = 0;
        return false;
    }
    if (++*waited >= most) deferral->counter = 0;
    const bool due = TKDeferTick(deferral);
    if (due) *waited = 0;
    return due;
}
