// The worker pool: one thread a processor, one slot a thread, no queue.
//
// The main thread fills each slot, signals it and waits for all; but for MPRunEach it works on nothing in the meantime.
// The events give the only ordering. What the workers read (tables, parameters) therefore stays still while they run, by construction.
#pragma once

#include "src/FBTransfer.h"
#include "src/OCEngine.h"
#include "src/OCStageCache.h"
#include "src/platform/BPThreads.h"

enum MPCommand : uint32_t {
    mpDiagnostic = 1,
    mpProcessImage = 2,
    mpRenderLumaRanges = 3,
    mpTransferFrameToPix = 4,
    mpTransferPixToFrame = 5,
    mpTransferPixToFramePremultiplied = 6,
    mpTransferAlpha = 7,
    mpLeave = 8, ///< every unknown code too
    mpApplyLUT = 9,
    mpMedia = 10, ///< a function that the slot names: whatever is no operation on frames
    mpNothing = 11,
};

struct MPTask {
    BPThread thread;
    BPEvent startEvent, doneEvent;
    MPCommand command;
    uint32_t taskIndex;
    FBFrame source, destination; ///< the band's rows
    FBFrame start, keep;         ///< likewise, of command 2 with kept planes
    // Arguments; each command uses its own.
    const OCEngine* engine;
    const OCSettings* settings;
    OCBandRun run;     ///< command 2; its frames are those of this slot
    uint32_t argument; ///< flags word of command 2, the number of command 1
    uint8_t* pixels;
    const uint8_t* sourcePixels; ///< command 7
    uint32_t sourceRowBytes;
    uint32_t pixelRowBytes, pixelPlaneBytes, width, height;
    FBPixelFormat pixelFormat;
    const uint8_t* table;
    void (*each)(void* context, uint32_t index); ///< command 10; null: nothing to do
    void* eachContext;
};

/// Processors of the machine; the number that the splash shows.
uint32_t MPGetProcessorCount();

/// Starts the pool and returns the number of tasks: 1 with useThreads false, on one processor or after a failure, each
/// time with *tasks null.   Thread: main.
uint32_t MPStartTasks(MPTask** tasks, bool useThreads);

/// The same with a count of the caller's, for tools and benchmarks: 1 makes no threads.
uint32_t MPStartTaskCount(MPTask** tasks, uint32_t count);

/// Stops each worker, waits for it, frees the array and clears the pointer. A count of 0 only frees.
void MPDisposeTasks(uint32_t count, MPTask** tasks);

/// Hands `argument` to every worker, which logs it.
void MPDiagnose(uint32_t argument, uint32_t taskCount, MPTask* tasks);

/// Something that the calling thread does itself.
struct MPErrand {
    void (*run)(void* context); ///< null: nothing
    void* context;
};
/// The errand of a function object, which must outlive it.
template <class Run> MPErrand MPErrandOf(Run& run)
{
    return {.run = [](void* context) { (*static_cast<Run*>(context))(); },
            .context = const_cast<void*>(static_cast<const void*>(&run))};
}

/// Runs `each(context, index)` once for every index below taskCount. Workers and the calling thread, which runs its
/// errand first, take the next index when they are free; without workers (tasks null) all run on the calling thread, in
/// order.   Thread: main.
void MPRunEach(void (*each)(void* context, uint32_t index), void* context, uint32_t taskCount, MPTask* tasks,
               const MPErrand& errand = {});

// The dispatchers: the operation's own arguments, then the pool. A frame of at most taskCount rows, or below 8, runs on
// the calling thread. Thread: main.

/// Applies the grade of the engine's last update to a frame. Both frames are in format 203; each is banded by its own
/// height. `settings` and `flags` are carried along and not read.
void ProcessImage(const OCEngine* engine, const FBFrame* source, const FBFrame* destination, const OCSettings* settings,
                  uint32_t flags, uint32_t taskCount, MPTask* tasks);

/// The same with a stage cache (null: none) and with display pixels made beside the result (`pixels` null: none). The
/// bits of both are those of ProcessImage and FBTransferFBFrameToPix one after the other. `display` is as large as
/// `destination`.
void ProcessImageCached(const OCEngine* engine, OCStageCache* cache, const FBFrame* source, const FBFrame* destination,
                        const OCDisplay& display, const OCSettings* settings, uint32_t flags, uint32_t taskCount,
                        MPTask* tasks);

void FBTransferPixToFBFrame(const void* source, uint32_t sourceRowBytes, uint32_t sourcePlaneBytes,
                            FBPixelFormat sourceFormat, const FBFrame* frame, uint32_t taskCount, MPTask* tasks);

void FBTransferPixToFBFramePremultiplied(const void* source, uint32_t sourceRowBytes, FBPixelFormat sourceFormat,
                                         const FBFrame* frame, uint32_t taskCount, MPTask* tasks);

void FBTransferPixAlphaToPixAlpha(const void* source, uint32_t sourceRowBytes, void* destination,
                                  uint32_t destinationRowBytes, uint32_t width, uint32_t height, FBPixelFormat format,
                                  uint32_t taskCount, MPTask* tasks);

void FBTransferFBFrameToPix(const FBFrame* frame, const FBRect* rect, void* destination, uint32_t destinationRowBytes,
                            FBPixelFormat destinationFormat, uint32_t taskCount, MPTask* tasks);

void FBApplyLUT(uint8_t* baseAddr, uint32_t width, uint32_t height, uint32_t rowBytes, const uint8_t table[768],
                FBPixelFormat format, uint32_t taskCount, MPTask* tasks);

/// Paints the three luma ranges of plane 3 as greys into pixels of format 32 or BGRA.
void OCRenderLumaRanges(const OCEngine* engine, const FBFrame* source, void* destination, uint32_t rowBytes,
                        FBPixelFormat format, uint32_t taskCount, MPTask* tasks);
