// The worker pool and its dispatchers.
#include "src/MPTasks.h"

#include "src/platform/BPLog.h"
#include "src/platform/BPMemory.h"

#include <atomic>

namespace {

constexpr uint32_t kFewRows = 8; // below this a frame is not worth a worker

void RunCommand(MPTask* task)
{
    switch (task->command) {
    case mpDiagnostic:
        BPDebugLog("MP task %d was passed %d\n", static_cast<int>(task->thread.id), static_cast<int>(task->argument));
        break;
    case mpProcessImage: OCProcessImageRun(task->engine, task->run); break;
    case mpRenderLumaRanges:
        OCRenderLumaRangesBand(task->engine, &task->source, task->pixels, task->pixelRowBytes, task->pixelFormat);
        break;
    case mpTransferFrameToPix:
        FBTransferFBFrameToPixSSE(&task->source, nullptr, task->pixels, task->pixelRowBytes, task->pixelFormat);
        break;
    case mpTransferPixToFrame:
        FBTransferPixToFBFrameSSE(task->pixels, task->pixelRowBytes, task->pixelPlaneBytes, task->pixelFormat,
                                  &task->destination);
        break;
    case mpApplyLUT:
        FBApplyLUTBand(task->pixels, task->width, task->height, task->pixelRowBytes, task->table, task->pixelFormat);
        break;
    case mpTransferPixToFramePremultiplied:
        FBTransferPixToFBFramePremultipliedSSE(task->pixels, task->pixelRowBytes, task->pixelFormat,
                                               &task->destination);
        break;
    case mpTransferAlpha:
        FBTransferPixAlphaToPixAlphaWork(task->sourcePixels, task->sourceRowBytes, task->pixels, task->pixelRowBytes,
                                         task->width, task->height, task->pixelFormat);
        break;
    case mpMedia:
        if (task->each) task->each(task->eachContext, task->taskIndex);
        break;
    case mpNothing:
    case mpLeave: break;
    }
}

void Worker(void* argument)
{
    auto* task = static_cast<MPTask*>(argument);
    for (;;) {
        BPWaitEvent(&task->startEvent);
        const bool leave = task->command < mpDiagnostic || task->command == mpLeave || task->command > mpNothing;
        if (!leave) RunCommand(task);
        BPSignalEvent(&task->doneEvent);
        if (leave) return;
    }
}

bool OnCallingThread(uint32_t height, uint32_t taskCount)
{
    return taskCount < 2 || height <= taskCount || height < kFewRows;
}

/// Rows of a band: first and count.
struct Band {
    uint32_t first, count;
};

Band BandAt(uint32_t height, uint32_t taskCount, uint32_t index)
{
    const uint32_t band = height / taskCount;
    return {.first = index * band, .count = index + 1 < taskCount ? band : height - (taskCount - 1) * band};
}

/// The display pixels can be made in the pass that makes the result: every pixel of it is made, row by row.
bool IsDisplayOf(const FBFrame& source, const FBFrame& destination, const OCDisplay& display)
{
    return (display.format == pixFormatARGB8 || display.format == pixFormatBGRA8) &&
           source.pixelFormat == pixFormatRGBYPlanar_Float && destination.pixelFormat == pixFormatRGBYPlanar_Float &&
           source.height == destination.height && source.rowBytes == destination.rowBytes &&
           source.rowBytes % sizeof(float) == 0 && destination.width <= destination.rowBytes / sizeof(float) &&
           destination.width <= display.rowBytes / sizeof(uint32_t) && display.rowBytes % sizeof(uint32_t) == 0 &&
           reinterpret_cast<uintptr_t>(display.pixels) % alignof(uint32_t) == 0;
}

/// Fills each slot, signals it, and waits for all in slot order.
template <class Fill> void RunAll(uint32_t taskCount, MPTask* tasks, MPCommand command, Fill fill)
{
    for (uint32_t i = 0; i < taskCount; ++i) {
        MPTask& task = tasks[i];
        task.taskIndex = i;
        fill(&task, i);
        task.command = command;
        BPSignalEvent(&task.startEvent);
    }
    for (uint32_t i = 0; i < taskCount; ++i) BPWaitEvent(&tasks[i].doneEvent);
}

/// Work of which each thread takes the next share when it is free: one that wakes late finds less to do.
struct Shares {
    void (*each)(void* context, uint32_t index);
    void* context;
    uint32_t count;
    std::atomic<uint32_t> next;
};

void TakeShares(void* context, uint32_t)
{
    auto& shares = *static_cast<Shares*>(context);
    for (uint32_t i; (i = shares.next.fetch_add(1, std::memory_order_relaxed)) < shares.count;)
        shares.each(shares.context, i);
}

} // namespace

uint32_t MPGetProcessorCount()
{
    return BPProcessorCount();
}

uint32_t MPStartTasks(MPTask** tasks, bool useThreads)
{
    *tasks = nullptr;
    if (!useThreads) return 1;
    return MPStartTaskCount(tasks, MPGetProcessorCount());
}

uint32_t MPStartTaskCount(MPTask** tasks, uint32_t count)
{
    *tasks = nullptr;
    if (count < 2) return count;
    auto* made = static_cast<MPTask*>(BPAllocate(sizeof(MPTask) * count));
    if (!made) return 1;
    for (uint32_t i = 0; i < count; ++i) {
        MPTask& task = made[i];
        task.taskIndex = i;
        BPStatus err = BPCreateEvent(&task.startEvent);
        if (err == bpNoErr) err = BPCreateEvent(&task.doneEvent);
        if (err == bpNoErr) err = BPStartThread(Worker, &task, &task.thread);
        if (err != bpNoErr) {
            MPDisposeTasks(count, &made);
            return 1;
        }
    }
    *tasks = made;
    return count;
}

void MPDisposeTasks(uint32_t count, MPTask** tasks)
{
    if (!*tasks) return;
    for (uint32_t i = 0; i < count; ++i) {
        MPTask& task = (*tasks)[i];
        if (task.thread.handle) {
            task.command = mpLeave;
            BPSignalEvent(&task.startEvent);
            BPJoinThread(&task.thread);
        }
        if (task.startEvent.handle) BPDisposeEvent(&task.startEvent);
        if (task.doneEvent.handle) BPDisposeEvent(&task.doneEvent);
    }
    BPFree(*tasks);
    *tasks = nullptr;
}

void MPDiagnose(uint32_t argument, uint32_t taskCount, MPTask* tasks)
{
    if (!tasks) return;
    RunAll(taskCount, tasks, mpDiagnostic, [=](MPTask* task, uint32_t) { task->argument = argument; });
}

void MPRunEach(void (*each)(void* context, uint32_t index), void* context, uint32_t taskCount, MPTask* tasks,
               const MPErrand& errand)
{
    if (!tasks || taskCount < 2) {
        if (errand.run) errand.run(errand.context);
        for (uint32_t i = 0; i < taskCount; ++i) each(context, i);
        return;
    }
    Shares shares = {.each = each, .context = context, .count = taskCount, .next = 0};
    for (uint32_t i = 0; i + 1 < taskCount; ++i) {
        tasks[i].taskIndex = i;
        tasks[i].each = TakeShares;
        tasks[i].eachContext = &shares;
        tasks[i].command = mpMedia;
        BPSignalEvent(&tasks[i].startEvent);
    }
    if (errand.run) errand.run(errand.context);
    TakeShares(&shares, 0);
    for (uint32_t i = 0; i + 1 < taskCount; ++i) {
        BPWaitEvent(&tasks[i].doneEvent);
        tasks[i].each = nullptr;
    }
}

void ProcessImage(const OCEngine* engine, const FBFrame* source, const FBFrame* destination, const OCSettings* settings,
                  uint32_t flags, uint32_t taskCount, MPTask* tasks)
{
    ProcessImageCached(engine, nullptr, source, destination, {}, settings, flags, taskCount, tasks);
}

void ProcessImageCached(const OCEngine* engine, OCStageCache* cache, const FBFrame* source, const FBFrame* destination,
                        const OCDisplay& display, const OCSettings* settings, uint32_t flags, uint32_t taskCount,
                        MPTask* tasks)
{
    BPDebugLog("ProcessImage: %d\n", static_cast<int>(taskCount));
    OCBandRun run = cache ? OCPlanRun(cache, engine, source, destination) : OCPlainRun(source, destination);
    const bool fused = destination && display.pixels && IsDisplayOf(*source, *destination, display);
    if (fused) run.display = display;
    if (!destination || !tasks || OnCallingThread(source->height, taskCount) ||
        OnCallingThread(destination->height, taskCount)) {
        OCProcessImageRun(engine, run);
    } else {
        RunAll(taskCount, tasks, mpProcessImage, [=](MPTask* task, uint32_t i) {
            const Band from = BandAt(source->height, taskCount, i);
            const Band to = BandAt(destination->height, taskCount, i);
            task->source = FBBandOf(*source, from.first, from.count);
            task->destination = FBBandOf(*destination, to.first, to.count);
            task->run = run;
            task->run.source = &task->source;
            task->run.destination = &task->destination;
            if (run.start) {
                task->start = FBBandOf(*run.start, from.first, from.count);
                task->run.start = &task->start;
            }
            if (run.keep) {
                task->keep = FBBandOf(*run.keep, from.first, from.count);
                task->run.keep = &task->keep;
            }
            if (fused) task->run.display.pixels += size_t{to.first} * display.rowBytes;
            task->engine = engine;
            task->settings = settings;
            task->argument = flags;
        });
    }
    if (destination && display.pixels && !fused)
        FBTransferFBFrameToPix(destination, nullptr, display.pixels, display.rowBytes, display.format, taskCount,
                               tasks);
}

void FBTransferPixToFBFrame(const void* source, uint32_t sourceRowBytes, uint32_t sourcePlaneBytes,
                            FBPixelFormat sourceFormat, const FBFrame* frame, uint32_t taskCount, MPTask* tasks)
{
    if (!tasks || OnCallingThread(frame->height, taskCount)) {
        FBTransferPixToFBFrameSSE(source, sourceRowBytes, sourcePlaneBytes, sourceFormat, frame);
        return;
    }
    // The slot's address serves sources too; command 5 only reads through it.
    auto* pixels = const_cast<uint8_t*>(static_cast<const uint8_t*>(source));
    RunAll(taskCount, tasks, mpTransferPixToFrame, [=](MPTask* task, uint32_t i) {
        const Band band = BandAt(frame->height, taskCount, i);
        task->destination = FBBandOf(*frame, band.first, band.count);
        task->pixels = pixels + size_t{band.first} * sourceRowBytes;
        task->pixelRowBytes = sourceRowBytes;
        task->pixelPlaneBytes = sourcePlaneBytes;
        task->pixelFormat = sourceFormat;
    });
}

void FBTransferPixToFBFramePremultiplied(const void* source, uint32_t sourceRowBytes, FBPixelFormat sourceFormat,
                                         const FBFrame* frame, uint32_t taskCount, MPTask* tasks)
{
    if (!tasks || OnCallingThread(frame->height, taskCount)) {
        FBTransferPixToFBFramePremultipliedSSE(source, sourceRowBytes, sourceFormat, frame);
        return;
    }
    auto* pixels = const_cast<uint8_t*>(static_cast<const uint8_t*>(source)); // read only, as above
    RunAll(taskCount, tasks, mpTransferPixToFramePremultiplied, [=](MPTask* task, uint32_t i) {
        const Band band = BandAt(frame->height, taskCount, i);
        task->destination = FBBandOf(*frame, band.first, band.count);
        task->pixels = pixels + size_t{band.first} * sourceRowBytes;
        task->pixelRowBytes = sourceRowBytes;
        task->pixelFormat = sourceFormat;
    });
}

void FBTransferPixAlphaToPixAlpha(const void* source, uint32_t sourceRowBytes, void* destination,
                                  uint32_t destinationRowBytes, uint32_t width, uint32_t height, FBPixelFormat format,
                                  uint32_t taskCount, MPTask* tasks)
{
    if (!tasks || OnCallingThread(height, taskCount)) {
        FBTransferPixAlphaToPixAlphaWork(source, sourceRowBytes, destination, destinationRowBytes, width, height,
                                         format);
        return;
    }
    RunAll(taskCount, tasks, mpTransferAlpha, [=](MPTask* task, uint32_t i) {
        const Band band = BandAt(height, taskCount, i);
        task->sourcePixels = static_cast<const uint8_t*>(source) + size_t{band.first} * sourceRowBytes;
        task->sourceRowBytes = sourceRowBytes;
        task->pixels = static_cast<uint8_t*>(destination) + size_t{band.first} * destinationRowBytes;
        task->pixelRowBytes = destinationRowBytes;
        task->width = width;
        task->height = band.count;
        task->pixelFormat = format;
    });
}

void FBTransferFBFrameToPix(const FBFrame* frame, const FBRect* rect, void* destination, uint32_t destinationRowBytes,
                            FBPixelFormat destinationFormat, uint32_t taskCount, MPTask* tasks)
{
    if (rect || !tasks || OnCallingThread(frame->height, taskCount)) {
        FBTransferFBFrameToPixSSE(frame, rect, destination, destinationRowBytes, destinationFormat);
        return;
    }
    auto* pixels = static_cast<uint8_t*>(destination);
    RunAll(taskCount, tasks, mpTransferFrameToPix, [=](MPTask* task, uint32_t i) {
        const Band band = BandAt(frame->height, taskCount, i);
        task->source = FBBandOf(*frame, band.first, band.count);
        task->pixels = pixels + size_t{band.first} * destinationRowBytes;
        task->pixelRowBytes = destinationRowBytes;
        task->pixelFormat = destinationFormat;
    });
}

void FBApplyLUT(uint8_t* baseAddr, uint32_t width, uint32_t height, uint32_t rowBytes, const uint8_t table[768],
                FBPixelFormat format, uint32_t taskCount, MPTask* tasks)
{
    if (!tasks || OnCallingThread(height, taskCount)) {
        FBApplyLUTBand(baseAddr, width, height, rowBytes, table, format);
        return;
    }
    RunAll(taskCount, tasks, mpApplyLUT, [=](MPTask* task, uint32_t i) {
        const Band band = BandAt(height, taskCount, i);
        task->pixels = baseAddr + size_t{band.first} * rowBytes;
        task->pixelRowBytes = rowBytes;
        task->width = width;
        task->height = band.count;
        task->table = table;
        task->pixelFormat = format;
    });
}

void OCRenderLumaRanges(const OCEngine* engine, const FBFrame* source, void* destination, uint32_t rowBytes,
                        FBPixelFormat format, uint32_t taskCount, MPTask* tasks)
{
    if (!tasks || OnCallingThread(source->height, taskCount)) {
        OCRenderLumaRangesBand(engine, source, destination, rowBytes, format);
        return;
    }
    auto* pixels = static_cast<uint8_t*>(destination);
    RunAll(taskCount, tasks, mpRenderLumaRanges, [=](MPTask* task, uint32_t i) {
        const Band band = BandAt(source->height, taskCount, i);
        task->source = FBBandOf(*source, band.first, band.count);
        task->engine = engine;
        task->pixels = pixels + size_t{band.first} * rowBytes;
        task->pixelRowBytes = rowBytes;
        task->pixelFormat = format;
    });
}
