// The host's side of a session: a small state machine over the block.
//
// The block is shared with a process that nobody vouches for. So the library keeps its own copy of every number that it
// published, reads `status` once a step, and looks at the process before it looks at `status`: an application that
// stores 4 and leaves at once is done, not dead.
#include "host/HostSession.h"

#include "src/platform/BPLog.h"
#include "src/platform/BPMemory.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace {

/// The application reads bytesRemaining just after it stored 5 and then waits ten ticks (166 ms) before it looks at
/// `status`. A chunk that came at once could make it believe that the frame is complete.
constexpr uint64_t kChunkGraceMs = 30;
/// How long an application may leave a sent frame untaken.
constexpr uint64_t kTakeLimitMs = 5000;
/// How long a host may take between making its block and signing it.
constexpr uint32_t kUnfinishedBlockMs = 100;

OchrineResult ResultOf(BPStatus status)
{
    return static_cast<OchrineResult>(status);
}

/// 9 becomes 11, and nothing else: an application that has moved on keeps what it stored.
void RefuseRequest(OchrineBlock* block)
{
    uint32_t expected = kTKUIStatusRequestFrame;
    __atomic_compare_exchange_n(&block->status, &expected, uint32_t{kTKUIStatusRequestFailed}, false, __ATOMIC_ACQ_REL,
                                __ATOMIC_ACQUIRE);
}

void Disconnect(OchrineHost* host)
{
    if (host->connection.handle == 0) return;
    host->platform.frameChannel.disconnect(&host->connection);
    host->connection = {};
}

/// The bytes of one pixel, or 0 for a format whose rows cannot be judged by it.
uint32_t PixelBytes(uint32_t format)
{
    switch (format) {
    case ochrinePixFormatARGB8:
    case ochrinePixFormatVUYA8:
    case ochrinePixFormatBGRA8: return 4;
    case ochrinePixFormatARGB16_32K: return 8;
    case ochrinePixFormatYRGB32_Float:
    case ochrinePixFormatRGBA32_Float:
    case ochrinePixFormatBGRY32_Float: return 16;
    default: return 0;
    }
}

/// Whether a block belongs to somebody who lives, as far as can be known.
bool OwnerMayLive(const BPPlatform& platform, uint32_t owner)
{
    if (owner == 0) return true;
    BPProcessWatch watch = {};
    const bool lives = platform.process.watch(owner, &watch) == bpNoErr && platform.process.isAlive(&watch);
    platform.process.unwatch(&watch);
    return lives;
}

void PutChunk(OchrineHost* host)
{
    OchrineBlock* block = host->block;
    const uint64_t left = host->frameBytes - host->sentBytes;
    const uint64_t count = std::min<uint64_t>(left, uint64_t{host->chunkRows} * host->frame.rowBytes);
    std::memcpy(block->pixels, static_cast<const uint8_t*>(host->frame.pixels) + host->sentBytes, count);
    host->sentBytes += count;
    block->chunkBytes = static_cast<uint32_t>(count);
    block->bytesRemaining = static_cast<int32_t>(host->frameBytes - host->sentBytes);
}

void PumpChunks(OchrineHost* host)
{
    if (host->chunkRows == 0 || host->sentBytes >= host->frameBytes) return;
    const uint64_t now = host->platform.clock.monotonicMs();
    if (host->consumedAtMs == 0) {
        host->consumedAtMs = now;
        return;
    }
    if (now - host->consumedAtMs < kChunkGraceMs) return;
    host->consumedAtMs = 0;
    PutChunk(host);
    OchrineStoreStatus(host->block, kTKUIStatusChunkReady);
}

/// True while a frame that was sent is still on its way.
bool RequestIsInFlight(OchrineHost* host)
{
    if (host->connection.handle == 0) return false;
    if (host->platform.frameChannel.awaitEnd(&host->connection, 0) != bpNotFoundErr) {
        Disconnect(host);
        return false;
    }
    if (host->platform.clock.monotonicMs() - host->sentAtMs < kTakeLimitMs) return true;
    BPDebugLog("ochrine host: the application did not take its frame; refusing the request\n");
    RefuseRequest(host->block);
    Disconnect(host);
    return false;
}

/// The part of a step that depends on whose turn it is.
OchrineEventKind Serve(OchrineHost* host, uint32_t* status)
{
    if (RequestIsInFlight(host)) return ochrineEventNone;
    *status = OchrineLoadStatus(host->block);
    switch (*status) {
    case kTKUIStatusUIDone: return ochrineEventDone;
    case kTKUIStatusUIFailed: return ochrineEventFailed;
    case kTKUIStatusChunkConsumed: PumpChunks(host); return ochrineEventNone;
    case kTKUIStatusRequestFrame: return ochrineEventFrameWanted;
    case kTKUIStatusUIRunning:
        if (host->isAttached) return ochrineEventNone;
        // Between attach and the first taken chunk the word is 3 too; the frame is not over then.
        if (host->sentBytes < host->frameBytes) return ochrineEventNone;
        host->isAttached = true;
        return ochrineEventAttached;
    default: return ochrineEventNone;
    }
}

} // namespace

OchrineResult OchrineHostOpenOn(const BPPlatform& platform, uint64_t pixelBytes, OchrineHost** host)
{
    if (host == nullptr) return ochrineParamErr;
    *host = nullptr;
    if (pixelBytes > INT32_MAX) return ochrineParamErr;
    if (OchrineResult err = OchrineRemoveStaleBlock(platform); err != ochrineOk) return err;

    void* memory = BPAllocate(sizeof(OchrineHost));
    if (memory == nullptr) return ochrineMemFullErr;
    OchrineHost* made = new (memory) OchrineHost{};
    made->platform = platform;
    const uint64_t byteCount = std::max<uint64_t>(kOchrineBlockBytes, kOchrinePixelOffset + pixelBytes);
    if (BPStatus err = platform.sharedMemory.create(kOchrineBlockName, byteCount, &made->memory); err != bpNoErr) {
        BPFree(made);
        return ResultOf(err);
    }
    made->block = reinterpret_cast<OchrineBlock*>(made->memory.address);
    made->block->version = kOchrineVersion;
    made->block->hostProcessID = platform.process.currentId();
    made->block->pixelAspect = 1.0f;
    // Whoever sees the signature sees the process id.
    __atomic_store_n(&made->block->signature, kOchrineSignature, __ATOMIC_RELEASE);
    *host = made;
    return ochrineOk;
}

OchrineResult OchrineHostOpen(uint64_t pixelBytes, OchrineHost** host)
{
    BPPlatform platform = {};
    BPFillLinuxPlatform(&platform);
    return OchrineHostOpenOn(platform, pixelBytes, host);
}

void OchrineHostClose(OchrineHost* host)
{
    if (host == nullptr) return;
    Disconnect(host);
    host->platform.process.unwatch(&host->watch);
    if (host->platform.sharedMemory.removeMapped(kOchrineBlockName, &host->memory) != bpNoErr) {
        BPDebugLog("ochrine host: the block was gone already\n");
    }
    host->platform.sharedMemory.close(&host->memory);
    BPFree(host);
}

OchrineBlock* OchrineHostBlock(OchrineHost* host)
{
    return host == nullptr ? nullptr : host->block;
}

OchrineResult OchrineHostPrepare(OchrineHost* host, const OchrineFrame* frame, uint32_t chunkRows)
{
    if (host == nullptr || frame == nullptr || frame->pixels == nullptr) return ochrineParamErr;
    OchrineBlock* block = host->block;
    const uint64_t frameBytes = uint64_t{frame->rowBytes} * frame->height;
    const uint64_t room = host->memory.byteCount - kOchrinePixelOffset;
    const uint32_t rows = std::min(chunkRows, frame->height);
    const uint64_t needed = chunkRows == 0 ? frameBytes : uint64_t{rows} * frame->rowBytes;
    if (frame->width == 0 || frame->height == 0 || frame->rowBytes == 0 || frameBytes > INT32_MAX || needed > room ||
        uint64_t{frame->width} * PixelBytes(frame->pixelFormat) > frame->rowBytes || block->frameStep < 1 ||
        block->frameTimeMax < 0) {
        return ochrineParamErr;
    }
    host->frame = *frame;
    host->frameBytes = frameBytes;
    host->chunkRows = rows;
    host->sentBytes = rows == 0 ? frameBytes : 0;
    host->frameStep = block->frameStep;
    host->frameTimeMax = block->frameTimeMax;
    host->isAttached = false;
    host->consumedAtMs = 0;
    host->ended = {};

    block->frameWidth = frame->width;
    block->frameHeight = frame->height;
    block->frameRowBytes = frame->rowBytes;
    block->framePixelFormat = frame->pixelFormat;
    if (rows != 0) {
        block->pixelFlags = kTKUIFlagPixelsChunked;
        PutChunk(host);
    } else {
        block->pixelFlags = kTKUIFlagPixelsInline;
        std::memcpy(block->pixels, frame->pixels, frameBytes);
        block->chunkBytes = 0;
        block->bytesRemaining = 0;
    }
    return ochrineOk;
}

OchrineResult OchrineHostPublish(OchrineHost* host, const OchrineFrame* frame, uint32_t chunkRows)
{
    if (OchrineResult err = OchrineHostPrepare(host, frame, chunkRows); err != ochrineOk) return err;
    OchrineStoreStatus(host->block, kTKUIStatusDataReady);
    return ochrineOk;
}

OchrineResult OchrineHostWatch(OchrineHost* host, uint32_t processId)
{
    if (host == nullptr || processId == 0) return ochrineParamErr;
    host->platform.process.unwatch(&host->watch);
    host->watch = {};
    if (host->ended.kind == ochrineEventDied) host->ended = {};
    BPStatus err = host->platform.process.watch(processId, &host->watch);
    return err == bpNoErr ? OchrineResult{ochrineOk} : OchrineResult{ochrineNotFoundErr};
}

void OchrineHostStep(OchrineHost* host, OchrineEvent* event)
{
    *event = {};
    if (host == nullptr) return;
    if (host->ended.kind != ochrineEventNone) {
        *event = host->ended;
        return;
    }
    // In this order: an application that stores 4 and ends between the two reads is done.
    const bool isDead = host->watch.handle != 0 && !host->platform.process.isAlive(&host->watch);
    uint32_t status = OchrineLoadStatus(host->block);

    if (status == kTKUIStatusUIDone) {
        event->kind = ochrineEventDone;
    } else if (status == kTKUIStatusUIFailed) {
        event->kind = ochrineEventFailed;
    } else if (isDead) {
        event->kind = ochrineEventDied;
    } else {
        event->kind = Serve(host, &status);
    }
    event->status = status;
    if (event->kind == ochrineEventFrameWanted) {
        event->frameTime = std::clamp(host->block->frameTime, 0, host->frameTimeMax);
        event->frameNumber = event->frameTime / host->frameStep;
    }
    if (event->kind == ochrineEventDone || event->kind == ochrineEventFailed || event->kind == ochrineEventDied) {
        Disconnect(host);
        host->ended = *event;
    }
}

OchrineResult OchrineHostAnswer(OchrineHost* host, const void* pixels, uint32_t byteCount)
{
    if (host == nullptr || pixels == nullptr || byteCount != host->frameBytes) return ochrineParamErr;
    Disconnect(host);
    // The name is the application's: bounded here, and the platform refuses slashes.
    char name[sizeof(host->block->commWindowName) + 1] = {};
    std::memcpy(name, host->block->commWindowName, sizeof(host->block->commWindowName));
    BPStatus err = std::strlen(name) < sizeof(host->block->commWindowName) && name[0] != 0
                       ? host->platform.frameChannel.connect(name, &host->connection)
                       : bpFileNotFoundErr;
    if (err == bpNoErr) err = host->platform.frameChannel.send(&host->connection, kOchrineFrameWord, pixels, byteCount);
    if (err != bpNoErr) {
        Disconnect(host);
        RefuseRequest(host->block);
        return ResultOf(err);
    }
    host->sentAtMs = host->platform.clock.monotonicMs();
    return ochrineOk;
}

void OchrineHostRefuse(OchrineHost* host)
{
    if (host != nullptr) RefuseRequest(host->block);
}

OchrineResult OchrineHostReadGrade(const OchrineHost* host, void* grade)
{
    if (host == nullptr || grade == nullptr) return ochrineParamErr;
    std::memcpy(grade, host->block->settings, kOchrineGradeBytes);
    uint32_t signature = 0;
    std::memcpy(&signature, grade, sizeof(signature));
    return signature == kOchrineGradeSignature ? OchrineResult{ochrineOk} : OchrineResult{ochrineNoGradeErr};
}

OchrineResult OchrineRemoveStaleBlock(const BPPlatform& platform)
{
    for (uint32_t waitedMs = 0;; waitedMs += 10) {
        BPSharedMemory memory = {};
        BPStatus err = platform.sharedMemory.open(kOchrineBlockName, 1, &memory);
        if (err == bpFileNotFoundErr) return ochrineOk;
        bool isSigned = false;
        uint32_t owner = 0;
        if (err == bpNoErr && memory.byteCount >= kOchrineBlockBytes) {
            const OchrineBlock* block = reinterpret_cast<const OchrineBlock*>(memory.address);
            isSigned = __atomic_load_n(&block->signature, __ATOMIC_ACQUIRE) == kOchrineSignature;
            owner = block->hostProcessID;
        }
        if (err != bpNoErr && err != bpParamErr) return ResultOf(err);
        if (!isSigned && waitedMs < kUnfinishedBlockMs) {
            platform.sharedMemory.close(&memory);
            platform.clock.sleepMs(10);
            continue;
        }
        if (isSigned && OwnerMayLive(platform, owner)) {
            platform.sharedMemory.close(&memory);
            return ochrineExistsErr;
        }
        BPDebugLog("ochrine host: replacing the block of a host that is gone (process %u)\n", owner);
        // What was judged is removed, and not what another host has put in its place since.
        const bool isMapped = memory.handle != 0;
        err = isMapped ? platform.sharedMemory.removeMapped(kOchrineBlockName, &memory)
                       : platform.sharedMemory.remove(kOchrineBlockName); // an empty one, which nobody can map
        platform.sharedMemory.close(&memory);
        return err == bpFileNotFoundErr ? OchrineResult{ochrineOk} : ResultOf(err);
    }
}

OchrineResult OchrineFindResidentOn(const BPPlatform& platform, uint32_t* processId)
{
    if (processId == nullptr) return ochrineParamErr;
    *processId = 0;
    BPSharedMemory memory = {};
    if (platform.sharedMemory.open(kOchrineResidentName, sizeof(OchrineResidentBlock), &memory) != bpNoErr) {
        return ochrineNotFoundErr;
    }
    const uint32_t found = reinterpret_cast<const OchrineResidentBlock*>(memory.address)->processId;
    platform.sharedMemory.close(&memory);
    BPProcessWatch watch = {};
    const bool lives =
        found != 0 && platform.process.watch(found, &watch) == bpNoErr && platform.process.isAlive(&watch);
    platform.process.unwatch(&watch);
    if (!lives) return ochrineNotFoundErr;
    *processId = found;
    return ochrineOk;
}

OchrineResult OchrineFindResident(uint32_t* processId)
{
    BPPlatform platform = {};
    BPFillLinuxPlatform(&platform);
    return OchrineFindResidentOn(platform, processId);
}
