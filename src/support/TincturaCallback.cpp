// Attaching to a host and asking it for frames.
//
// Each field of the block is read once, by TKReadOnce, into a local: the host may change it between two looks. The rest of
// the code sees only locals that were checked.
#include "src/support/TincturaCallback.h"

#include "src/platform/BPLog.h"
#include "src/platform/BPMemory.h"
#include "src/support/TKRecovery.h"
#include "src/support/TKStartup.h"

#include <algorithm>
#include <atomic>
#include <cinttypes>
#include <cstdio>
#include <cstring>

namespace {

constexpr char kTag[] = "Ochrine 3 UI";
constexpr uint32_t kHeaderWaitMs = 50;
constexpr uint32_t kFrameWaitMs = 15;
constexpr uint32_t kOrphanWaits = 2000;          // of kFrameWaitMs: a host that cannot be watched is only outwaited
constexpr uint32_t kSpareAnswerBytes = 1u << 20; // that a host may send beyond the frame
constexpr uint32_t kFrameWord = 9;               // data word of a message that brings a frame
constexpr uint32_t kTitleTries = 5;
constexpr uint32_t kMessagesAPoll = 64; // a host that floods the channel does not hold the main thread

bool HeaderMatches(const TKUIComm* block)
{
    return TKReadOnce(block->signature) == kTKUISignature && TKReadOnce(block->version) == kTKUIVersion;
}

/// Signature, version and status of a block that is not taken, for whoever looks for the reason.
void LogHeader(const TKUIComm* block)
{
    const uint32_t signature = TKReadOnce(block->signature);
    char text[5] = {};
    std::memcpy(text, &signature, 4);
    BPDebugLog("sig/ver = %x ('%.4s') / %d; should be %x / %d\n", signature, text,
               static_cast<int>(TKReadOnce(block->version)), kTKUISignature, static_cast<int>(kTKUIVersion));
    BPDebugLog("initializing = %d\n", static_cast<int>(TKReadStatus(block)));
    BPDebugLog("returning NULL\n");
}

/// Swaps the pixels of the block, as far as they lie in it, or those at the address that it holds.
void SwapBlockPixels(TKSession* session)
{
    TKUIComm* block = TKBlockOf(session);
    const uint64_t room = session->commBlock.byteCount - offsetof(TKUIComm, pixels);
    const uint32_t flags = TKReadOnce(block->pixelFlags);
    uint64_t byteCount = uint64_t{TKReadOnce(block->frameRowBytes)} * TKReadOnce(block->frameHeight);
    if (flags & kTKUIFlagPixelsChunked)
        byteCount = TKReadOnce(block->chunkBytes);
    else if (!(flags & kTKUIFlagPixelsInline)) {
        // A frame that will be refused is left as it is, and so is memory that nobody vouches for.
        TKFrameShape shape;
        auto* pixels = static_cast<uint8_t*>(TKPixelAddress(session));
        if (session->hostInProcess && session->hostSwapped && pixels && TKReadFrameShape(block, &shape) == bpNoErr)
            TKSwapPixels(session, pixels, uint64_t{shape.rowBytes} * shape.height);
        return;
    }
    TKSwapPixels(session, block->pixels, byteCount < room ? byteCount : room);
}

/// Remembers who the host is and takes a hold on its process.
void TakeHostIdentity(TKSession* session)
{
    const BPProcessOps& process = session->platform->process;
    if (session->hostWatch.handle != 0) process.unwatch(&session->hostWatch);
    session->hostWatch = {};
    session->hostIsSilent = false;
    const TKUIComm* block = TKBlockOf(session);
    session->hostProcessHigh = TKReadOnce(block->hostProcessHigh);
    session->hostProcessID = TKReadOnce(block->hostProcessID);
    if (session->hostProcessID != 0 && process.watch(session->hostProcessID, &session->hostWatch) != bpNoErr)
        session->hostWatch = {};
}

/// Announces the application. A failure is no error.
void PublishUIBlock(TKSession* session)
{
    const BPPlatform& platform = *session->platform;
    BPSharedMemory memory = {};
    if (platform.sharedMemory.create(kTKUIBlockName, sizeof(UIBlock), &memory) != bpNoErr &&
        platform.sharedMemory.open(kTKUIBlockName, sizeof(UIBlock), &memory) != bpNoErr)
        return;
    const UIBlock block = {.mappingHandle = static_cast<uint32_t>(memory.handle),
                           .processID = platform.process.currentId()};
    std::memcpy(memory.address, &block, sizeof block);
    session->uiBlock = memory;
}

uint32_t NextRandom(TKSession* session)
{
    session->randomState = session->randomState * 6364136223846793005u + 1442695040888963407u;
    return static_cast<uint32_t>(session->randomState >> 49); // 15 bits
}

/// Whether a process of this id lives now. What cannot be watched is taken as alive.
bool ProcessLives(const BPProcessOps& process, uint32_t id)
{
    BPProcessWatch watch = {};
    const BPStatus err = process.watch(id, &watch);
    if (err != bpNoErr) return err != bpNotFoundErr;
    const bool alive = process.isAlive(&watch);
    process.unwatch(&watch);
    return alive;
}

/// Opens the block, in our byte order. A block outlives a host that was killed; it counts for nothing then.
TKUIComm* OpenBlockOfALivingHost(TKSession* session)
{
    TKUIComm* block = TKOpenCommBlock(session);
    if (!block) return nullptr;
    TKSwapCommBlock(session, block);
    const uint32_t owner = TKReadOnce(block->hostProcessID);
    if (owner == 0 || ProcessLives(session->platform->process, owner)) return block;
    TKSwapCommBlock(session, block);
    TKCloseCommBlock(session);
    return nullptr;
}

void RefuseBlock(TKSession* session)
{
    TKStoreStatus(TKBlockOf(session), kTKUIStatusUIFailed);
    TKSwapCommBlock(session, TKBlockOf(session));
    TKCloseCommBlock(session);
}

/// The bytes that one answer of the host may have: none at all when the block describes no frame that could be taken.
TKAnswerRange AnswersToTake(const TKSession* session)
{
    TKFrameShape shape;
    if (!session->sourceFrame || TKReadFrameShape(TKBlockOf(session), &shape) != bpNoErr) return {};
    const uint64_t most = std::min<uint64_t>(shape.byteCount + kSpareAnswerBytes, UINT32_MAX);
    return {.minimumBytes = static_cast<uint32_t>(shape.byteCount), .maximumBytes = static_cast<uint32_t>(most)};
}

void ForgetReceivedFrame(TKSession* session)
{
    BPFree(session->receivedFrame);
    session->receivedFrame = nullptr;
    session->receivedBytes = 0;
}

/// Waits for the answer to status 9; one that cannot be used is none. False when the host refused or ended, or when we
/// are asked to end.
bool AwaitFrame(TKSession* session, TKAnswerRange range)
{
    const TKUIComm* block = TKBlockOf(session);
    for (uint32_t waits = 0; !session->receivedFrame; ++waits) {
        if (TKReadStatus(block) == kTKUIStatusRequestFailed || TKHostTookItsBlock(session)) return false;
        if (session->platform->process.endRequested()) return false;
        if (session->hostProcessID == 0 && waits == kOrphanWaits) {
            session->hostIsSilent = true; // one such wait is enough: while it lasts nobody can do anything
            return false;
        }
        session->platform->clock.sleepMs(kFrameWaitMs);
        const bool alive = TKHostIsAlive(session); // before the look: what it sent before its end is then waiting
        TKCommWindowPoll(session, range);
        if (!alive && !session->receivedFrame) return false;
    }
    return true;
}

} // namespace

uint32_t TKReadStatus(const TKUIComm* block)
{
    return std::atomic_ref<uint32_t>(const_cast<uint32_t&>(block->status)).load(std::memory_order_acquire);
}

void TKStoreStatus(TKUIComm* block, uint32_t status)
{
    std::atomic_ref<uint32_t>(block->status).store(status, std::memory_order_release);
}

TKUIComm* TKOpenCommBlock(TKSession* session)
{
    const BPPlatform& platform = *session->platform;
    if (platform.sharedMemory.open(kTKCommBlockName, kTKUICommBytes, &session->commBlock) != bpNoErr) {
        session->commBlock = {};
        return nullptr;
    }
    TKUIComm* block = TKBlockOf(session);
    if (!HeaderMatches(block)) {
        platform.clock.sleepMs(kHeaderWaitMs); // a host that is still writing the header gets time to finish
        BPDebugLog("sig/ver failed; tried wait\n");
    }
    if (HeaderMatches(block)) return block;
    LogHeader(block);
    TKCloseCommBlock(session);
    return nullptr;
}

void TKCloseCommBlock(TKSession* session)
{
    if (session->commBlock.address) session->platform->sharedMemory.close(&session->commBlock);
    session->commBlock = {};
}

TKAttachResult TKAttachHost(TKSession* session)
{
    if (!TKOpenCommBlock(session)) {
        session->platform->alert.alert(bpStop, "No data passed to UI. This application is meant to be called by other "
                                               "applications, not run directly.");
        BPDebugLogTagged(kTag, "No data passed to UI.\n");
        return tkNoHost;
    }
    return TKAdoptBlock(session);
}

TKAttachResult TKAdoptBlock(TKSession* session)
{
    TKUIComm* block = TKBlockOf(session);
    session->hostPresent = true;
    session->hostSwapped = false;
    if (const uint32_t version = TKReadOnce(block->version); version != kTKUIVersion) {
        if (version != kTKUIVersionSwapped) {
            BPDebugLogTagged(
                kTag,
                "Wrong TKUIComm structure version; received 0x%lx, expected 0x%lx; Mis-matched plug-in and "
                "UI versions?\n",
                static_cast<unsigned long>(version), static_cast<unsigned long>(kTKUIVersion));
            RefuseBlock(session);
            return tkVersionMismatch;
        }
        session->hostSwapped = true;
        TKSwapCommBlock(session, block);
        SwapBlockPixels(session);
    }
    TakeHostIdentity(session);
    TKStoreStatus(block, kTKUIStatusUIRunning);
    PublishUIBlock(session);
    return tkAttached;
}

bool TKReattachHost(TKSession* session)
{
    // A host that comes between the request to close and the close itself must find nobody, not a window that ends.
    if (session->quitting) return false;
    TKUIComm* block = OpenBlockOfALivingHost(session);
    if (!block) {
        // Without a process id nobody could tell when such a host is gone: it counts as gone.
        if (session->hostProcessID == 0 || !TKHostIsAlive(session)) TKDetachAndQuit(session);
        if (session->platform->clock.wallSeconds() < session->uiDeadline) return false;
        TKDetachAndQuit(session);
        return false;
    }
    if (TKReadStatus(block) != kTKUIStatusDataReady) {
        const bool isOurHosts = TKReadOnce(block->hostProcessID) == session->hostProcessID;
        TKSwapCommBlock(session, block);
        TKCloseCommBlock(session);
        if (isOurHosts && !TKHostIsAlive(session)) TKDetachAndQuit(session);
        return false;
    }
    TakeHostIdentity(session);
    TKStoreStatus(block, kTKUIStatusUIRunning);
    SwapBlockPixels(session);
    if (TKPrepareFrameWorlds(session) != bpNoErr) {
        RefuseBlock(session);
        return false;
    }
    // A gesture of this visit never joins an undo step of the last one, and no drag goes on in it.
    session->controls.lastTouched = nullptr;
    session->controls.undoPending = false;
    session->controls.updatePending = false;
    session->updateSuspended = false;
    if (TKTakeSettingsFromBlock(session))
        UpdateAllControls(session, &session->liveSettings, kOCResetAll, kOCResetAll, nullptr, false);
    if (TKLoadFrameFromHost(session) != bpNoErr) {
        RefuseBlock(session);
        return false;
    }
    TK_UI(session, showMainWindow);
    TK_UI(session, raiseMainWindow);
    TK_UI(session, refreshSource);
    RefreshAfterRender(session, true);
    TK_UI(session, enableMenus, true);
    TKRecoveryBegin(session);
    session->tickCount = 0;
    return true;
}

bool TKTakeSettingsFromBlock(TKSession* session)
{
    OCSettings incoming;
    std::memcpy(&incoming, &TKBlockOf(session)->settings, sizeof incoming);
    if (incoming.signature != kOCSettingsSignature) {
        incoming = session->liveSettings;
        OCResetSettings(&incoming, kOCResetAll, kOCResetAll, PrefsResetDefaults(session->prefs));
    }
    if (std::memcmp(&incoming, &session->liveSettings, sizeof incoming) == 0) return false;
    session->liveSettings = incoming;
    return true;
}

void TKDetachAndQuit(TKSession* session)
{
    TKWritePreferences(session);
    if (TKUIComm* block = TKBlockOf(session)) TKSwapCommBlock(session, block);
    TKCloseCommBlock(session);
    session->quitting = true;
    TK_UI(session, closeMainWindow);
}

bool TKHostTookItsBlock(const TKSession* session)
{
    return session->commBlock.address && !session->platform->sharedMemory.isWhole(&session->commBlock);
}

uint32_t TKAddHostClips(TKSession* session)
{
    const TKUIComm* block = TKBlockOf(session);
    if (!block) return 0;
    const int32_t clipCount = TKReadOnce(block->clipCount);
    BP_ASSERT(clipCount >= 0, "UIGalleryWin");
    uint32_t added = 0;
    for (int32_t i = 0; i < clipCount && i < static_cast<int32_t>(kTKUIClipLimit); ++i) {
        char path[sizeof TKClipRecord::path + 1] = {};
        std::memcpy(path, block->clipList[i].path, sizeof TKClipRecord::path);
        if (path[0] == 0) continue;
        TK_UI(session, addClip, "Project footage", path);
        ++added;
    }
    return added;
}

bool TKHostIsAlive(const TKSession* session)
{
    if (session->hostProcessID == 0) return true;
    const BPProcessOps& process = session->platform->process;
    if (session->hostWatch.handle != 0) return process.isAlive(&session->hostWatch);
    return ProcessLives(process, session->hostProcessID);
}

BPStatus TKCommWindowCreate(TKSession* session, TKUIComm* block)
{
    if (!block) {
        BPAssertFailed("TKUICP != 0", "TincturaCallbackWin", 69);
        return bpNoErr;
    }
    BPStatus err = bpFileExistsErr; // another application may have drawn the same numbers
    for (uint32_t i = 0; i < kTitleTries && err == bpFileExistsErr; ++i) {
        const int first = static_cast<int>(NextRandom(session)), second = static_cast<int>(NextRandom(session));
        std::memset(session->commWindowName, 0, sizeof session->commWindowName);
        std::snprintf(session->commWindowName, sizeof session->commWindowName, "Comm%d", first * second);
        std::memcpy(block->commWindowName, session->commWindowName, sizeof block->commWindowName);
        err = session->platform->frameChannel.listen(session->commWindowName, &session->frameChannel);
    }
    if (err == bpNoErr) return bpNoErr;
    session->frameChannel = {};
    return bpParamErr;
}

void TKCommWindowClose(TKSession* session)
{
    if (session->frameChannel.handle != 0) session->platform->frameChannel.close(&session->frameChannel);
    session->frameChannel = {};
}

void TKCommWindowPoll(TKSession* session, TKAnswerRange range)
{
    if (session->frameChannel.handle == 0) return;
    const BPFrameChannelOps& ops = session->platform->frameChannel;
    for (uint32_t i = 0; i < kMessagesAPoll; ++i) {
        BPFrameMessage message = {};
        if (ops.receive(&session->frameChannel, kFrameWord, range.maximumBytes, &message) != bpNoErr) break;
        if (message.dataWord != kFrameWord) {
            BPFree(message.bytes);
            continue;
        }
        BPDebugLog("CommWindowEventProc: returning pixel buffer of %d bytes at 0x%08" PRIXPTR,
                   static_cast<int>(message.byteCount), reinterpret_cast<uintptr_t>(message.bytes));
        if (!message.bytes || message.byteCount < range.minimumBytes) {
            if (range.maximumBytes != 0)
                BPDebugLog("A frame of %u bytes does not fit the clip's frames\n", message.byteCount);
            BPFree(message.bytes);
            continue;
        }
        ForgetReceivedFrame(session);
        session->receivedFrame = message.bytes;
        session->receivedBytes = message.byteCount;
    }
}

BPStatus OCCB_GetClipFrame(TKSession* session, uint8_t** buffer, uint32_t* byteCount)
{
    *buffer = nullptr;
    *byteCount = 0;
    TKUIComm* block = TKBlockOf(session);
    if (!block) return bpNoErr;
    if (TKReadOnce(block->hostProcessHigh) == 0 && TKReadOnce(block->hostProcessID) == 0) return bpNoErr;
    if (session->hostProcessHigh == 0 && session->hostProcessID == 0) return bpNoErr;
    if (session->hostIsSilent) return bpNoErr;
    const TKAnswerRange range = AnswersToTake(session);
    if (range.maximumBytes == 0) return bpNoErr;

    std::memcpy(block->commWindowName, session->commWindowName, sizeof block->commWindowName);
    if (session->frameChannel.handle != 0) { // answers to older requests are answers to nothing
        TKCommWindowPoll(session, {});
        session->platform->frameChannel.release(&session->frameChannel);
    }
    ForgetReceivedFrame(session);
    TKRecoveryFlush(session); // the wait may be long
    TKStoreStatus(block, kTKUIStatusRequestFrame);
    if (!AwaitFrame(session, range) && TKReadStatus(block) == kTKUIStatusRequestFailed)
        BPDebugLog("OCCB_GetClipFrame: host returned kTKUIStatusRequestFailed\n");
    TKStoreStatus(block, kTKUIStatusUIRunning);
    // Only now: the end of the connection tells the host that its frame was taken and that status is 3.
    if (session->frameChannel.handle != 0) session->platform->frameChannel.release(&session->frameChannel);
    *buffer = session->receivedFrame;
    *byteCount = session->receivedBytes;
    session->receivedFrame = nullptr;
    session->receivedBytes = 0;
    return bpNoErr;
}
