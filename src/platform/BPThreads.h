// Threads and auto-reset events: all that the worker pool needs.
#pragma once

#include "src/platform/BPStatus.h"

struct BPThread {
    uint64_t handle; ///< 0 when there is none
    uint32_t id;     ///< not 0, unique among the threads of this process that were made here
};

struct BPEvent {
    uint64_t handle; ///< 0 when there is none
};

/// Processors that this process may use, at least 1.   Thread: any.
uint32_t BPProcessorCount();

/// Makes an event, not signalled.
BPStatus BPCreateEvent(BPEvent* event);
void BPDisposeEvent(BPEvent* event);

/// Lets one waiter through, now or when it comes. What was written before is visible to that waiter.
void BPSignalEvent(BPEvent* event);
/// Waits without time limit and takes the signal.
void BPWaitEvent(BPEvent* event);

BPStatus BPStartThread(void (*routine)(void* argument), void* argument, BPThread* thread);
/// Waits for the thread's end without time limit.
void BPJoinThread(BPThread* thread);

/// Makes the n-th creation of an event or thread fail (1 is the next one); 0 lets all succeed. For tests. Thread: main.
void BPFailThreadCreation(uint64_t number);
