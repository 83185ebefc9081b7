// Frame copy: straight, with another format, or with another size.
#pragma once

#include "src/MPTasks.h"

/// Makes one frame hold the picture of another.
///
/// Equal size and format: one block copy, padding included. Equal size: the transfer into the destination's format, over
/// the pool. Equal format: resampled, on the calling thread; planes one by one, luma and alpha among them. What else is
/// asked for is reported to the log and left undone; failures of the resampler are printed to standard output.
/// Thread: main (a scratch block is shared).
void FBCopyFrameBuffer(const FBFrame* source, const FBFrame* destination, uint32_t taskCount, MPTask* tasks);

/// Releases the scratch block, which otherwise only grows. For tests and the end of the process.   Thread: main.
void FBReleaseCopyScratch();
