// Taking the host's pixels in: the frame in the block, inline or in chunks, and the frames that requests bring.
//
// A frame is described by a TKFrameShape that was read once and checked; the mapping's size is what the platform said
// when it was mapped. Nothing else of the block bounds an access.
#include "src/FBCopy.h"
#include "src/platform/BPLog.h"
#include "src/platform/BPMemory.h"
#include "src/support/TKTransport.h"
#include "src/support/TincturaCallback.h"

#include <algorithm>
#include <cinttypes>
#include <cmath>
#include <cstring>

namespace {

constexpr uint64_t kLargestFrameBytes = kScopeSurfacePixelLimit * 16; // padding of rows included
constexpr uint32_t kChunkWaitTicks = 10;
constexpr uint32_t kOrphanWaits = 60; // of 10 ticks: a host that gave no process id cannot be watched, only outwaited
constexpr uint32_t kSpareChunks = 64; // that a host may send beyond one a row

/// Bytes on which rows of a format must start.
uint32_t RowAlignment(FBPixelFormat format)
{
    switch (format) {
    case pixFormatA8: return 1;
    case pixFormatARGB16_32K:
    case pixFormatRGBY16_32K:
    case pixFormatRGB16Planar: return 2;
    default: return 4;
    }
}

bool SidesAreSound(uint32_t width, uint32_t height)
{
    return width != 0 && height != 0 && width <= kScopeSurfaceSideLimit && height <= kScopeSurfaceSideLimit &&
           uint64_t{width} * height <= kScopeSurfacePixelLimit;
}

/// Bytes of so many rows of a shape, the last one without padding.
uint64_t BytesOfRows(const TKFrameShape& shape, uint64_t rowCount)
{
    return rowCount == 0 ? 0 : (rowCount - 1) * shape.rowBytes + shape.leastRow;
}

uint64_t RoomForPixels(const TKSession* session)
{
    return session->commBlock.byteCount - offsetof(TKUIComm, pixels);
}

void Transfer(const TKSession* session, const void* pixels, const TKFrameShape& shape, const FBFrame* frame)
{
    const uint64_t planeBytes = uint64_t{shape.rowBytes} * shape.height;
    FBTransferPixToFBFrame(pixels, shape.rowBytes, static_cast<uint32_t>(std::min<uint64_t>(planeBytes, UINT32_MAX)),
                           shape.format, frame, session->taskCount, session->tasks);
}

void DisposeFrame(FBFrame** frame)
{
    if (*frame) FBDisposeFrameBuffer(*frame);
    *frame = nullptr;
}

bool FrameMatches(const FBFrame* frame, uint32_t width, uint32_t height)
{
    return frame && frame->width == width && frame->height == height;
}

BPStatus FitFrame(FBFrame** frame, uint32_t width, uint32_t height)
{
    if (FrameMatches(*frame, width, height)) return bpNoErr;
    DisposeFrame(frame);
    return FBCreateRGBFrameBuffer(width, height, frame, pixFormatRGBYPlanar_Float);
}

/// What has the size of the clip; a reference picture of another one could not be laid beside it.
void DisposeWorlds(TKSession* session)
{
    for (ScopeSurface* surface : {&session->resultSurface, &session->splitSurface, &session->splitMask,
                                  &session->secondarySurface, &session->views.referenceSurface})
        ScopeSurfaceDispose(surface);
}

BPStatus MakeWorlds(TKSession* session, uint32_t width, uint32_t height)
{
    if (BPStatus err = ScopeSurfaceCreate(width, height, &session->resultSurface); err != bpNoErr) return err;
    if (BPStatus err = ScopeSurfaceCreate(width, height, &session->splitSurface); err != bpNoErr) return err;
    if (BPStatus err = ScopeSurfaceCreateMask(width, height, &session->splitMask); err != bpNoErr) return err;
    return ScopeSurfaceCreate(width, height, &session->secondarySurface);
}

/// Whether the pixels of this host need adjusting, by the preference that lists such hosts.
bool IsListedHost(const TKSession* session, uint32_t hostApp)
{
    char hostStr[5] = {};
    std::memcpy(hostStr, &hostApp, 4);
    const char* hostList = session->prefs.adjustHostPixels;
    const bool found = std::strstr(hostList, hostStr) != nullptr;
    BPDebugLog("^^^^^^ hostApp = '%.4s', hostStr = \"%s\", hostList = \"%s\", strstr=%d\n", hostStr, hostStr, hostList,
               found ? 1 : 0);
    return hostStr[0] != 0 && found;
}

void ChooseAdjustment(TKSession* session)
{
    TKUIComm* block = TKBlockOf(session);
    session->storedPixelAdjust = {};
    if (!IsListedHost(session, TKReadOnce(block->hostApp))) return;
    const OCPixelAdjust adjust = {.adjustMode = ocAdjustOn | ocAdjustScaleGamma,
                                  .adjustBlack = 0,
                                  .adjustWhite = 255,
                                  .adjustGamma = 1.0f,
                                  .reserved = {}};
    std::memcpy(&block->hostPixelAdjust, &adjust, offsetof(OCPixelAdjust, reserved));
    session->storedPixelAdjust = adjust;
}

/// Where the next chunk goes and what has come so far.
struct ChunkIntake {
    TKFrameShape shape;
    FBFrame band;      // rows that are still missing
    int32_t remaining; // what the host said last
    uint32_t chunkCount;
};

/// Takes the chunk that lies in the block. bpParamErr, with a line in the log, for one that does not fit.
BPStatus TakeChunk(TKSession* session, ChunkIntake* intake)
{
    const TKUIComm* block = TKBlockOf(session);
    const uint32_t chunkBytes = TKReadOnce(block->chunkBytes);
    intake->remaining = TKReadOnce(block->bytesRemaining);
    const uint32_t rows = std::min(chunkBytes / intake->shape.rowBytes, intake->band.height);
    if (++intake->chunkCount > intake->shape.height + kSpareChunks ||
        BytesOfRows(intake->shape, rows) > RoomForPixels(session)) {
        BPDebugLog("A chunk of %u bytes of the host's frame is refused\n", chunkBytes);
        return bpParamErr;
    }
    if (rows == 0) return bpNoErr;
    const FBFrame part = FBBandOf(intake->band, 0, rows);
    Transfer(session, block->pixels, intake->shape, &part);
    intake->band.baseAddr += uint64_t{intake->band.rowBytes} * rows;
    intake->band.height -= rows;
    return bpNoErr;
}

/// Waits for the next chunk, or for the word that there is none. bpParamErr when neither will come.
BPStatus AwaitChunk(TKSession* session, ChunkIntake* intake)
{
    const TKUIComm* block = TKBlockOf(session);
    const uint32_t wanted =
        session->hostSwapped ? __builtin_bswap32(kTKUIStatusChunkReady) : uint32_t{kTKUIStatusChunkReady};
    const uint32_t failed =
        session->hostSwapped ? __builtin_bswap32(kTKUIStatusRequestFailed) : uint32_t{kTKUIStatusRequestFailed};
    const bool watched = session->hostProcessID != 0;
    for (uint32_t waits = 0; watched || waits < kOrphanWaits; ++waits) {
        session->platform->clock.sleepMs(BPTicksToMs(kChunkWaitTicks));
        const bool alive = TKHostIsAlive(session); // before the look: what it stored before its end still counts
        const uint32_t status = TKReadStatus(block);
        if (status == wanted) return bpNoErr;
        // Some hosts count the chunk that lies there and clear the count when it was taken. One that counts ahead still
        // owes rows.
        if (intake->band.height == 0 && TKReadOnce(block->bytesRemaining) == 0) {
            intake->remaining = 0;
            return bpNoErr;
        }
        if (session->platform->process.endRequested()) return bpParamErr;
        if (status == failed || !alive || TKHostTookItsBlock(session)) break;
    }
    BPDebugLog("The host ended before its frame was complete\n");
    return bpParamErr;
}

BPStatus TakeChunks(TKSession* session, const TKFrameShape& shape)
{
    TKUIComm* block = TKBlockOf(session);
    if (shape.planes != 1) {
        BPDebugLog("A planar frame cannot come in chunks\n");
        return bpParamErr;
    }
    ChunkIntake intake = {.shape = shape, .band = *session->sourceFrame, .remaining = 0, .chunkCount = 0};
    if (BPStatus err = TakeChunk(session, &intake); err != bpNoErr) return err;
    TKStoreStatus(block, kTKUIStatusChunkConsumed);
    TKSwapCommBlock(session, block);
    BPDebugLog("After swap, bytes remaining = %ld\n", static_cast<long>(TKReadOnce(block->bytesRemaining)));
    while (intake.remaining != 0) {
        if (BPStatus err = AwaitChunk(session, &intake); err != bpNoErr) {
            TKSwapCommBlock(session, block);
            return err;
        }
        if (intake.remaining == 0) break;
        TKSwapCommBlock(session, block);
        TKSwapPixels(session, block->pixels, std::min<uint64_t>(TKReadOnce(block->chunkBytes), RoomForPixels(session)));
        if (BPStatus err = TakeChunk(session, &intake); err != bpNoErr) return err;
        TKSwapCommBlock(session, block);
        TKStoreStatus(block, session->hostSwapped ? __builtin_bswap32(kTKUIStatusChunkConsumed)
                                                  : uint32_t{kTKUIStatusChunkConsumed});
    }
    TKSwapCommBlock(session, block);
    block->pixelFlags = TKReadOnce(block->pixelFlags) & ~uint32_t{kTKUIFlagPixelsChunked};
    TKStoreStatus(block, kTKUIStatusUIRunning);
    return bpNoErr;
}

/// How the pixels of the block come, decided from one reading of its flags.
enum class Intake { none, inlined, chunked, pointer };

struct IntakePlan {
    Intake kind;
    TKFrameShape shape;
    const void* pointer;
};

BPStatus PlanIntake(const TKSession* session, IntakePlan* plan)
{
    const TKUIComm* block = TKBlockOf(session);
    *plan = {};
    const uint32_t flags = TKReadOnce(block->pixelFlags);
    if (flags & kTKUIFlagPixelsChunked)
        plan->kind = Intake::chunked;
    else if (flags & kTKUIFlagPixelsInline)
        plan->kind = Intake::inlined;
    else if (plan->pointer = TKPixelAddress(session); plan->pointer) {
        plan->kind = Intake::pointer;
        if (!session->hostInProcess) {
            BPDebugLog("Pixels at an address of another process are refused\n");
            return bpParamErr;
        }
    }
    if (plan->kind == Intake::none) return bpNoErr;
    if (BPStatus err = TKReadFrameShape(block, &plan->shape); err != bpNoErr) return err;
    if (plan->kind == Intake::inlined && plan->shape.byteCount > RoomForPixels(session)) {
        BPDebugLog("A frame of %llu bytes does not fit the host's block of %llu\n",
                   static_cast<unsigned long long>(plan->shape.byteCount),
                   static_cast<unsigned long long>(session->commBlock.byteCount));
        return bpParamErr;
    }
    return bpNoErr;
}

/// Takes the pixels at an address of this process. Any address will do; one on which the format's components do not
/// stand straight costs a copy.
BPStatus TakePointed(TKSession* session, const IntakePlan& plan)
{
    if (reinterpret_cast<uintptr_t>(plan.pointer) % RowAlignment(plan.shape.format) == 0) {
        Transfer(session, plan.pointer, plan.shape, session->sourceFrame);
        return bpNoErr;
    }
    void* straight = BPAllocate(static_cast<size_t>(plan.shape.byteCount));
    if (!straight) return bpMemFullErr;
    std::memcpy(straight, plan.pointer, static_cast<size_t>(plan.shape.byteCount));
    Transfer(session, straight, plan.shape, session->sourceFrame);
    BPFree(straight);
    return bpNoErr;
}

BPStatus TakePixels(TKSession* session, const IntakePlan& plan)
{
    switch (plan.kind) {
    case Intake::none: return bpNoErr;
    case Intake::inlined:
        Transfer(session, TKBlockOf(session)->pixels, plan.shape, session->sourceFrame);
        return bpNoErr;
    case Intake::pointer: return TakePointed(session, plan);
    case Intake::chunked: return TakeChunks(session, plan.shape);
    }
    return bpNoErr;
}

/// The source frame as the panes show it. Deliberate: pixels at an address are converted as all others are. Those of
/// pixFormatARGB8 lie in memory the other way round than a surface's, so they could not be shown where they stand.
BPStatus ShowSource(TKSession* session)
{
    const FBFrame* frame = session->sourceFrame;
    ScopeSurface& surface = session->sourceSurface;
    if (!surface.pixels || surface.width != frame->width || surface.height != frame->height) {
        ScopeSurfaceDispose(&surface);
        if (BPStatus err = ScopeSurfaceCreate(frame->width, frame->height, &surface); err != bpNoErr) return err;
        TK_UI(session, surfacesReplaced);
    }
    FBTransferFBFrameToPix(frame, nullptr, surface.pixels, surface.rowBytes, pixFormatBGRA8, session->taskCount,
                           session->tasks);
    return bpNoErr;
}

/// The buffer's pixels become the source frame. False when they do not fit it.
bool TakeBuffer(TKSession* session, const uint8_t* buffer, uint32_t byteCount)
{
    TKFrameShape shape;
    if (!TKBlockOf(session) || !session->sourceFrame) return false;
    if (TKReadFrameShape(TKBlockOf(session), &shape) != bpNoErr) return false;
    if (!FrameMatches(session->sourceFrame, shape.width, shape.height) || byteCount < shape.byteCount) {
        BPDebugLog("A frame of %u bytes does not fit the clip's frames\n", byteCount);
        return false;
    }
    OCForgetStages(&session->stageCache);
    ++session->sourceVersion;
    Transfer(session, buffer, shape, session->sourceFrame);
    (void)OCApplyPixelAdjust(&session->imageTransfer, session->storedPixelAdjust, session->sourceFrame);
    return ShowSource(session) == bpNoErr;
}

} // namespace

void* TKPixelAddress(const TKSession* session)
{
    const uint8_t* word = TKBlockOf(session)->pixels;
    uint32_t low = 0;
    uint64_t whole = 0;
    std::memcpy(&low, word, sizeof low);
    if (RoomForPixels(session) >= sizeof whole && (low != 0 || session->hostInProcess))
        std::memcpy(&whole, word, sizeof whole);
    else
        whole = low;
    return reinterpret_cast<void*>(static_cast<uintptr_t>(whole));
}

BPStatus TKReadFrameShape(const TKUIComm* block, TKFrameShape* shape)
{
    *shape = {};
    const uint32_t width = TKReadOnce(block->frameWidth), height = TKReadOnce(block->frameHeight);
    const uint32_t rowBytes = TKReadOnce(block->frameRowBytes);
    const auto format = static_cast<FBPixelFormat>(static_cast<int32_t>(TKReadOnce(block->framePixelFormat)));
    const uint64_t leastRow = SidesAreSound(width, height) ? FBPixelRowBytes(width, format) : 0;
    const uint32_t planes = format == pixFormatRGB16Planar ? 3 : format == pixFormatRGBYPlanar_Float ? 4 : 1;
    if (leastRow == 0 || rowBytes < leastRow || rowBytes % RowAlignment(format) != 0 ||
        uint64_t{rowBytes} * height * planes > kLargestFrameBytes) {
        BPDebugLog("A frame of %u x %u pixels with rows of %u bytes in format %d is refused\n", width, height, rowBytes,
                   static_cast<int>(format));
        return bpParamErr;
    }
    shape->width = width;
    shape->height = height;
    shape->rowBytes = rowBytes;
    shape->format = format;
    shape->planes = planes;
    shape->leastRow = leastRow;
    shape->byteCount = uint64_t{rowBytes} * height * (planes - 1) + BytesOfRows(*shape, height);
    return bpNoErr;
}

BPStatus TKPrepareFrameWorlds(TKSession* session)
{
    const TKUIComm* block = TKBlockOf(session);
    const uint32_t width = TKReadOnce(block->frameWidth), height = TKReadOnce(block->frameHeight);
    if (!SidesAreSound(width, height)) {
        BPDebugLog("A frame of %u x %u pixels is refused\n", width, height);
        return bpParamErr;
    }
    if (session->resultSurface.width != width || session->resultSurface.height != height) {
        DisposeWorlds(session);
        const BPStatus err = MakeWorlds(session, width, height);
        if (err != bpNoErr) DisposeWorlds(session);
        TK_UI(session, surfacesReplaced);
        if (err != bpNoErr) return err;
    }
    const float aspect = TKReadOnce(block->pixelAspect);
    session->pixelAspect = aspect >= 0.01f && aspect <= 100.0f ? aspect : 1.0f;
    TK_UI(session, pixelAspectChanged, session->pixelAspect);
    return bpNoErr;
}

BPStatus TKLoadFrameFromHost(TKSession* session)
{
    ChooseAdjustment(session);
    const TKUIComm* block = TKBlockOf(session);
    IntakePlan plan;
    if (BPStatus err = PlanIntake(session, &plan); err != bpNoErr) return err;
    // The surfaces were fitted to one reading of the sides; the frames follow them, whatever the block says by now.
    const uint32_t width = session->resultSurface.width, height = session->resultSurface.height;
    if (width == 0 || (plan.kind != Intake::none && (plan.shape.width != width || plan.shape.height != height))) {
        BPDebugLog("The frame of the host changed its size while it was taken\n");
        return bpParamErr;
    }

    OCForgetStages(&session->stageCache);
    ++session->sourceVersion;
    if (!FrameMatches(session->comparisonFrame, width, height)) DisposeFrame(&session->comparisonFrame);
    BPStatus err = FitFrame(&session->sourceFrame, width, height);
    if (err == bpNoErr) err = FitFrame(&session->resultFrame, width, height);
    TK_UI(session, surfacesReplaced);
    if (err != bpNoErr) return err;

    if (err = TakePixels(session, plan); err != bpNoErr) return err;
    if (session->comparisonFrame)
        FBCopyFrameBuffer(session->sourceFrame, session->comparisonFrame, session->taskCount, session->tasks);
    // Deliberate: without a frame the buffer stays as it is, for a listed host too. Its pixels were adjusted when they
    // came; once more would shift the picture with each attach.
    if (plan.kind != Intake::none) {
        OCPixelAdjust adjust;
        std::memcpy(&adjust, &block->hostPixelAdjust, sizeof adjust);
        if (err = OCApplyPixelAdjust(&session->imageTransfer, adjust, session->sourceFrame); err != bpNoErr) return err;
    }
    if (err = ShowSource(session); err != bpNoErr) return err;
    TK_UI(session, refreshSource);
    TKRenderResult(session);
    RefreshAfterRender(session, true);
    TKUpdatePositionText(session);
    return bpNoErr;
}

void TKTakeFrame(TKSession* session, uint8_t* buffer, uint32_t byteCount, const char* caller)
{
    const bool taken = buffer && TakeBuffer(session, buffer, byteCount);
    if (buffer && caller)
        BPDebugLog("%s: freeing pixel buffer at 0x%08" PRIXPTR "\n", caller, reinterpret_cast<uintptr_t>(buffer));
    BPFree(buffer);
    if (taken) {
        session->resultIsStale = true;
        TKRefreshSource(session);
        if (TKModeShowsResult(session->imagePaneMode)) {
            TKRenderFrame(session);
            RefreshAfterRender(session, true);
        }
    }
    TKUpdatePositionText(session);
}

void TKRequestAndTakeFrame(TKSession* session)
{
    uint8_t* buffer = nullptr;
    uint32_t byteCount = 0;
    (void)OCCB_GetClipFrame(session, &buffer, &byteCount);
    TKTakeFrame(session, buffer, byteCount);
}
