// Pictures through the engine, band by band.
#include "host/FrameRenderer.h"

#include "src/FBTransfer.h"
#include "src/platform/BPMemory.h"
#include "src/platform/BPThreads.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <new>

namespace {

constexpr uint64_t kBandBytes = 192 * 1024; // of a band's planes: beside the tables they stay in a core's own cache
constexpr uint32_t kBandRows = 64;
constexpr uint32_t kPlanes = 4;

enum : uint8_t { kRead = 1, kWrite = 2 };

struct FormatRow {
    FBPixelFormat format;
    uint8_t ways;
    uint8_t sourcePlanes, targetPlanes;
    uint8_t pixelBytes, alphaOffset, alphaBytes; ///< alphaBytes 0: no alpha to keep
};

constexpr FormatRow kFormats[] = {
    {pixFormatARGB8, kRead | kWrite, 1, 1, 4, 3, 1},
    {pixFormatARGB16_32K, kRead | kWrite, 1, 1, 8, 0, 2},
    {pixFormatYRGB32_Float, kRead | kWrite, 1, 1, 16, 0, 4},
    {pixFormatRGBA32_Float, kRead | kWrite, 1, 1, 16, 12, 4},
    {pixFormatRGBYPlanar_Float, kRead | kWrite, 3, 4, 4, 0, 0},
    {pixFormatABGR8, kWrite, 1, 1, 4, 0, 0},
    {pixFormatVUYA8, kRead | kWrite, 1, 1, 4, 3, 1},
    {pixFormatVUYA32_Float, kRead | kWrite, 1, 1, 16, 12, 4},
    {pixFormatYUYV10_601, kRead | kWrite, 1, 1, 4, 0, 0},
    {pixFormatYUYV10_709, kRead | kWrite, 1, 1, 4, 0, 0},
    {pixFormatBGRY32_Float, kRead | kWrite, 1, 1, 16, 12, 4},
    {pixFormatRGB16Planar, kRead, 3, 3, 2, 0, 0},
    {pixFormatBGRA8, kRead | kWrite, 1, 1, 4, 0, 1},
    {pixFormatUYVA8, kRead, 1, 1, 4, 0, 0},
    {pixFormatUYVA8R, kRead, 1, 1, 4, 0, 0},
};

const FormatRow* RowOf(FBPixelFormat format)
{
    for (const FormatRow& row : kFormats)
        if (row.format == format) return &row;
    return nullptr;
}

/// One picture on its way.
struct Job {
    uint32_t width, height, bandRows;
    RenderImage source, target;
    uint32_t rowBytesIn, rowBytesOut; ///< of the pixels alone
    bool keepAlpha;
};

/// A thread and what it works in.
struct Worker {
    FrameRenderer* renderer;
    BPThread thread; ///< none for the caller's own
    BPEvent start, done;
    FBFrame* band;
    uint8_t* spareRow; ///< a target row before it has its alpha
};

} // namespace

struct FrameRenderer {
    OCEngine* engine;
    Worker* workers;
    uint32_t threadCount;
    bool leave;
    Job job;
    std::atomic<uint32_t> nextBand;
};

namespace {

float* PlaneRow(const FBFrame& frame, uint32_t plane, uint32_t row)
{
    return reinterpret_cast<float*>(frame.baseAddr + size_t{plane} * frame.planeBytes + size_t{row} * frame.rowBytes);
}

const uint8_t* RowAt(const RenderImage& image, uint32_t row)
{
    return image.firstRow + static_cast<ptrdiff_t>(row) * image.step;
}

/// Pixels that a transfer reads or computes beyond the width have one value whatever was rendered before.
void ClearPadding(const FBFrame& frame, uint32_t row)
{
    const uint32_t floats = frame.rowBytes / sizeof(float);
    for (uint32_t plane = 0; plane < kPlanes; ++plane)
        std::fill(PlaneRow(frame, plane, row) + frame.width, PlaneRow(frame, plane, row) + floats, 0.0f);
}

void BringIn(const Job& job, uint32_t row, const FBFrame& band, uint32_t bandRow)
{
    ClearPadding(band, bandRow);
    const uint8_t* pixels = RowAt(job.source, row);
    if (job.source.format == pixFormatRGBYPlanar_Float) {
        for (uint32_t plane = 0; plane < 3; ++plane)
            std::memcpy(PlaneRow(band, plane, bandRow), pixels + plane * job.source.planeBytes, job.rowBytesIn);
        return;
    }
    const FBFrame line = FBBandOf(band, bandRow, 1);
    FBTransferPixToFBFrameSSE(pixels, job.rowBytesIn, static_cast<uint32_t>(job.source.planeBytes), job.source.format,
                              &line);
}

void KeepAlpha(const Job& job, const uint8_t* source, uint8_t* target)
{
    const FormatRow& format = *RowOf(job.target.format);
    source += format.alphaOffset;
    target += format.alphaOffset;
    for (uint32_t i = 0; i < job.width; ++i, source += format.pixelBytes, target += format.pixelBytes)
        std::memcpy(target, source, format.alphaBytes);
}

void CarryOut(const Job& job, const Worker& worker, uint32_t bandRow, uint32_t row)
{
    auto* pixels = const_cast<uint8_t*>(RowAt(job.target, row));
    if (job.target.format == pixFormatRGBYPlanar_Float) {
        for (uint32_t plane = 0; plane < kPlanes; ++plane)
            std::memcpy(pixels + plane * job.target.planeBytes, PlaneRow(*worker.band, plane, bandRow),
                        job.rowBytesOut);
        return;
    }
    const FBFrame line = FBBandOf(*worker.band, bandRow, 1);
    uint8_t* out = job.keepAlpha ? worker.spareRow : pixels;
    FBTransferFBFrameToPixSSE(&line, nullptr, out, job.rowBytesOut, job.target.format);
    if (!job.keepAlpha) return;
    // The target may be the source: its alpha is taken before it is written over.
    KeepAlpha(job, RowAt(job.source, row), out);
    std::memcpy(pixels, out, job.rowBytesOut);
}

/// Takes bands until none is left.
void WorkOn(Worker* worker)
{
    FrameRenderer& renderer = *worker->renderer;
    const Job& job = renderer.job;
    for (;;) {
        const uint64_t first = uint64_t{renderer.nextBand.fetch_add(1, std::memory_order_relaxed)} * job.bandRows;
        if (first >= job.height) return;
        const auto top = static_cast<uint32_t>(first);
        const uint32_t rows = std::min(job.bandRows, job.height - top);
        for (uint32_t i = 0; i < rows; ++i) BringIn(job, top + i, *worker->band, i);
        const FBFrame band = FBBandOf(*worker->band, 0, rows);
        OCBandRun run = OCPlainRun(&band, &band);
        run.quiet = true; // RenderFrame speaks for all bands
        OCProcessImageRun(renderer.engine, run);
        for (uint32_t i = 0; i < rows; ++i) CarryOut(job, *worker, i, top + i);
    }
}

void Run(void* argument)
{
    auto* worker = static_cast<Worker*>(argument);
    for (;;) {
        BPWaitEvent(&worker->start);
        if (worker->renderer->leave) return;
        WorkOn(worker);
        BPSignalEvent(&worker->done);
    }
}

void ReleaseBand(Worker* worker)
{
    if (worker->band) FBDisposeFrameBuffer(worker->band);
    BPFree(worker->spareRow);
    worker->band = nullptr;
    worker->spareRow = nullptr;
}

/// Gives every thread that will work a band of the job's size; one that fits is kept.
BPStatus PrepareBands(FrameRenderer* renderer, const Job& job, uint32_t threads)
{
    for (uint32_t i = 0; i < threads; ++i) {
        Worker& worker = renderer->workers[i];
        if (worker.band && worker.band->width == job.width && worker.band->height >= job.bandRows) continue;
        ReleaseBand(&worker);
        if (BPStatus err = FBCreateRGBFrameBuffer(job.width, job.bandRows, &worker.band, pixFormatRGBYPlanar_Float);
            err != bpNoErr)
            return err;
        worker.spareRow = static_cast<uint8_t*>(BPAllocate(size_t{job.width} * 16));
        if (!worker.spareRow) {
            ReleaseBand(&worker);
            return bpMemFullErr;
        }
    }
    return bpNoErr;
}

uint32_t BandRowsFor(uint32_t width, uint32_t height, uint32_t threads)
{
    const uint64_t rowBytes = FBLayoutOf(width, pixFormatRGBYPlanar_Float).rowBytes * kPlanes;
    const auto cached = static_cast<uint32_t>(std::clamp<uint64_t>(kBandBytes / rowBytes, 1, kBandRows));
    // Enough bands that no thread waits long for the last one.
    const uint32_t shared = std::max<uint32_t>(height / (threads * 4), 1);
    return std::min(cached, threads > 1 ? shared : cached);
}

} // namespace

bool RenderReads(FBPixelFormat format)
{
    const FormatRow* row = RowOf(format);
    return row && (row->ways & kRead);
}

bool RenderWrites(FBPixelFormat format)
{
    const FormatRow* row = RowOf(format);
    return row && (row->ways & kWrite);
}

uint64_t RenderRowBytes(uint32_t width, FBPixelFormat format)
{
    if (format == pixFormatRGBYPlanar_Float) return uint64_t{width} * sizeof(float);
    return RowOf(format) ? FBPixelRowBytes(width, format) : 0;
}

uint32_t RenderSourcePlanes(FBPixelFormat format)
{
    const FormatRow* row = RowOf(format);
    return row ? row->sourcePlanes : 0;
}

uint32_t RenderTargetPlanes(FBPixelFormat format)
{
    const FormatRow* row = RowOf(format);
    return row ? row->targetPlanes : 0;
}

bool RenderHasAlpha(FBPixelFormat format)
{
    const FormatRow* row = RowOf(format);
    return row && row->alphaBytes != 0;
}

BPStatus CreateFrameRenderer(uint32_t threads, FrameRenderer** renderer)
{
    *renderer = nullptr;
    if (threads < 1) threads = 1;
    void* memory = BPAllocate(sizeof(FrameRenderer));
    if (!memory) return bpMemFullErr;
    auto* made = new (memory) FrameRenderer{};
    made->workers = static_cast<Worker*>(BPAllocate(sizeof(Worker) * threads));
    BPStatus err = made->workers ? OCCreateEngine(&made->engine) : bpMemFullErr;
    made->threadCount = err == bpNoErr ? threads : 0;
    for (uint32_t i = 0; i < made->threadCount && err == bpNoErr; ++i) {
        Worker& worker = made->workers[i];
        worker.renderer = made;
        if (i == 0) continue; // the caller's thread
        err = BPCreateEvent(&worker.start);
        if (err == bpNoErr) err = BPCreateEvent(&worker.done);
        if (err == bpNoErr) err = BPStartThread(Run, &worker, &worker.thread);
    }
    if (err != bpNoErr) {
        DisposeFrameRenderer(made);
        return bpMemFullErr;
    }
    *renderer = made;
    return bpNoErr;
}

void DisposeFrameRenderer(FrameRenderer* renderer)
{
    if (!renderer) return;
    renderer->leave = true;
    for (uint32_t i = 0; i < renderer->threadCount; ++i) {
        Worker& worker = renderer->workers[i];
        if (worker.thread.handle) {
            BPSignalEvent(&worker.start);
            BPJoinThread(&worker.thread);
        }
        if (worker.start.handle) BPDisposeEvent(&worker.start);
        if (worker.done.handle) BPDisposeEvent(&worker.done);
        ReleaseBand(&worker);
    }
    OCDisposeEngine(renderer->engine);
    BPFree(renderer->workers);
    renderer->~FrameRenderer();
    BPFree(renderer);
}

BPStatus SetRendererGrade(FrameRenderer* renderer, const OCSettings& grade)
{
    OCUpdateParameters(renderer->engine, &grade);
    return OCUpdateStatus(renderer->engine);
}

BPStatus RenderFrame(FrameRenderer* renderer, uint32_t width, uint32_t height, const RenderImage& source,
                     const RenderImage& target, bool keepAlpha)
{
    const Job job = {.width = width,
                     .height = height,
                     .bandRows = BandRowsFor(width, height, renderer->threadCount),
                     .source = source,
                     .target = target,
                     .rowBytesIn = static_cast<uint32_t>(RenderRowBytes(width, source.format)),
                     .rowBytesOut = static_cast<uint32_t>(RenderRowBytes(width, target.format)),
                     .keepAlpha = keepAlpha};
    const uint32_t bands = height / job.bandRows + (height % job.bandRows != 0);
    const uint32_t threads = std::min(renderer->threadCount, bands);
    if (BPStatus err = PrepareBands(renderer, job, threads); err != bpNoErr) return err;
    OCLogLimiter(renderer->engine);
    renderer->job = job;
    renderer->nextBand.store(0, std::memory_order_relaxed);
    for (uint32_t i = 1; i < threads; ++i) BPSignalEvent(&renderer->workers[i].start);
    WorkOn(&renderer->workers[0]);
    for (uint32_t i = 1; i < threads; ++i) BPWaitEvent(&renderer->workers[i].done);
    return bpNoErr;
}
