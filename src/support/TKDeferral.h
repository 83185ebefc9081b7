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

/// How often a hand that never pauses sees its picture, when the engine keeps up; and the ticks that it takes for it.
inline constexpr int32_t kTKPicturesPerSecond = 60;
inline constexpr int32_t kTKPacedTicksPerSecond = 100;

/// Where a drag stands between two pictures. All zero is a hand at rest.
struct TKDeferPace {
    bool moving;    ///< changes have followed each other
    int32_t credit; ///< of the next picture, which costs kTKPacedTicksPerSecond; a tick brings kTKPicturesPerSecond
    int32_t quiet;  ///< ticks in a row that found nothing to do
};

/// The tick of a drag, 100 a second. A change is due when its count has run out. Changes that follow each other, so that
/// it never does, are due after three ticks at first, and from then on 60 times a second: after 2, 2 and 1 ticks in turn.
inline bool TKDeferTickPaced(TKDeferral* deferral, TKDeferPace* pace)
{
    constexpr int32_t price = kTKPacedTicksPerSecond, income = kTKPicturesPerSecond;
    constexpr int32_t restedTicks = 2, firstTicks = 3;
    if (!deferral->pending) {
        // A mouse that reports no more often than the pictures come leaves a tick out now and then.
        if (++pace->quiet >= restedTicks) pace->moving = false;
        pace->credit = pace->credit + income < price - income ? pace->credit + income : price - income;
        return false;
    }
    pace->quiet = 0;
    if (!pace->moving) *pace = {.moving = true, .credit = price - firstTicks * income, .quiet = 0};
    pace->credit += income;
    if (pace->credit >= price) deferral->counter = 0;
    const bool due = TKDeferTick(deferral);
    if (due) pace->credit = pace->credit > price ? pace->credit - price : 0;
    return due;
}

/// The same for a key that is held: a change is also due when changes have waited for `most` ticks in a row.
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
