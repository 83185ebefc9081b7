// A host's block, and what the host does while it is waited for, through attach, intake, controls and frame requests.
//
// The input is a FuzzHead, with one of its flags a FuzzMore behind it, then settingsBytes bytes that lie over the
// settings, then the pixels of the block.
#include "src/platform/fake/BPFake.h"
#include "src/support/TKRecovery.h"
#include "src/support/TKStartup.h"
#include "src/support/TKTransport.h"
#include "src/support/TincturaCallback.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {

struct FuzzHead {
    uint32_t pixelFlags;
    uint32_t geometry[8]; // the words from frameWidth to framePixelFormat
    uint32_t chunkBytes, bytesRemaining;
    uint32_t pixelAspect;
    uint8_t time[8]; // the bytes from timeDisplayFormat to startFrame
    uint32_t hostProcess[2];
    uint32_t hostApp;
    uint32_t adjust[8];
    uint8_t script[16]; // what the host does at each sleep; then it dies
    uint16_t settingsBytes;
    uint16_t flags;
};
static_assert(sizeof(FuzzHead) == 120);

/// Bits of `flags`.
enum : uint32_t {
    kHasMore = 1,    ///< a FuzzMore follows
    kSwapped = 2,    ///< the host is of the other byte order: the block is adopted as it lies
    kHasJournal = 4, ///< an earlier session left a grade
    kRecovers = 8,   ///< the user takes it; otherwise drops it
    kLeavesOpen = 16 ///< or does not answer
};

/// Fields that few inputs need, and the geometry of the second visit.
struct FuzzMore {
    int32_t clipCount;
    uint8_t firstClip, pathBytes; ///< where the path goes, and how much of it
    uint8_t reservedFill, nameFill;
    uint32_t version, signature; ///< of the second visit; 0 for the right ones
    uint32_t secondGeometry[8];
    uint32_t secondFlags;
    char path[44];
};
static_assert(sizeof(FuzzMore) == 96);

constexpr uint32_t kHost = 500;
constexpr uint64_t kSlowPixels = 1u << 18, kRefusedPixels = uint64_t{1} << 27;

struct Host {
    FuzzHead head;
    FuzzMore more;
    TKSession* session;
    uint32_t turn;
};

TKUIComm* Block()
{
    return reinterpret_cast<TKUIComm*>(gBPFake.blocks.at(kTKCommBlockName).bytes.get());
}

/// One step of the host's script: the low bits say what, the high bits with what.
void Act(Host* host)
{
    if (host->turn >= sizeof host->head.script) {
        gBPFake.alive[kHost] = false;
        return;
    }
    const uint8_t step = host->head.script[host->turn++];
    if (!gBPFake.blocks.contains(kTKCommBlockName)) return;
    const uint32_t value = step >> 3;
    switch (step & 7) {
    case 0: // takes its block back
        if (value == 31) gBPFake.blocks.erase(kTKCommBlockName);
        if (value == 30) gBPFake.blocks[kTKCommBlockName].byteCount = 1000;
        return;
    case 1: Block()->status = kTKUIStatusChunkReady; return;
    case 2: Block()->status = value; return;
    case 3: {
        const std::vector<uint8_t> bytes(value * 64, static_cast<uint8_t>(value));
        BPFakeQueueMessage(value & 1 ? 9 : value, bytes.data(), static_cast<uint32_t>(bytes.size()));
        return;
    }
    case 4: Block()->bytesRemaining = static_cast<int32_t>(value) - 3; return;
    case 5: Block()->chunkBytes = value << (value & 15); return;
    case 6: Block()->frameHeight = value; return;
    default: gBPFake.alive[kHost] = value & 1; return;
    }
}

void AddMore(const FuzzMore& more, TKUIComm* block)
{
    block->clipCount = more.clipCount;
    char* path = block->clipList[more.firstClip % kTKUIClipLimit].path;
    std::memset(path, 'p', std::min<size_t>(more.pathBytes, sizeof(TKClipRecord))); // as far as beyond the field
    std::memcpy(path, more.path, sizeof more.path);
    std::memset(block->commWindowName, more.nameFill, sizeof block->commWindowName);
    for (uint32_t* word : {&block->reserved16, &block->reserved20, &block->reserved24, &block->reserved52852,
                           &block->reserved52856, &block->reserved52884, &block->reserved52892, &block->reserved52904,
                           &block->reserved52908, &block->reserved52924, &block->reserved53040})
        std::memset(word, more.reservedFill, sizeof *word);
    std::memset(block->reserved36, more.reservedFill, sizeof block->reserved36);
    std::memset(block->reserved86600, more.reservedFill, sizeof block->reserved86600);
}

/// Sizes that would only cost memory are cut; those that must be refused stay.
void CutMonsters(TKUIComm* block)
{
    const uint64_t pixels = uint64_t{block->frameWidth} * block->frameHeight;
    if (pixels <= kSlowPixels || pixels > kRefusedPixels) return;
    block->frameWidth &= 511;
    block->frameHeight &= 511;
}

void MakeBlock(const FuzzHead& head, const FuzzMore& more, const uint8_t* rest, size_t size)
{
    const size_t overlay = std::min<size_t>({head.settingsBytes, size, sizeof(OCSettings)});
    const size_t pixelBytes = size - overlay;
    BPFakeMakeBlock(kTKCommBlockName, std::max<uint64_t>(kTKUICommBytes, offsetof(TKUIComm, pixels) + pixelBytes));
    TKUIComm* block = Block();
    block->version = kTKUIVersion;
    block->signature = kTKUISignature;
    block->status = kTKUIStatusDataReady;
    block->pixelFlags = head.pixelFlags;
    std::memcpy(&block->timeDisplayFormat, head.time, sizeof head.time);
    std::memcpy(&block->frameWidth, head.geometry, sizeof head.geometry);
    CutMonsters(block);
    block->chunkBytes = head.chunkBytes;
    std::memcpy(&block->bytesRemaining, &head.bytesRemaining, 4);
    std::memcpy(&block->pixelAspect, &head.pixelAspect, 4);
    block->hostProcessHigh = head.hostProcess[0];
    block->hostProcessID = head.hostProcess[1] & 1 ? kHost : head.hostProcess[1];
    block->hostApp = head.hostApp;
    std::memcpy(&block->hostPixelAdjust, head.adjust, sizeof head.adjust);
    if (head.flags & kHasMore) AddMore(more, block);
    OCResetSettings(&block->settings, kOCResetAll, kOCResetAll, kOCResetDefaults);
    std::memcpy(&block->settings, rest, overlay);
    if (pixelBytes > 0) std::memcpy(block->pixels, rest + overlay, pixelBytes);
}

} // namespace

namespace {

/// The clip's journal as a session would have left it.
void LeaveJournal()
{
    TKJournalClip clip;
    TKJournalClipOf(Block(), &clip);
    TKJournalHeader header;
    TKJournalMakeHeader(clip, &header);
    static TKJournalRecord record;
    OCSettings grade = Block()->settings;
    grade.signature = kOCSettingsSignature;
    grade.hsl.master.gain += 1;
    TKJournalMakeRecord(grade, 1, 1, &record);
    char name[64];
    TKJournalName(clip, name, sizeof name);
    std::vector<uint8_t>& file = gBPFake.stateFiles[name];
    file.resize(TKJournalPosition(1) + sizeof record);
    std::memcpy(file.data(), &header, sizeof header);
    std::memcpy(file.data() + TKJournalPosition(1), &record, sizeof record);
}

TKUserInterface Interface(Host* host)
{
    TKUserInterface ui = {};
    ui.context = host;
    ui.addClip = [](void*, const char*, const char* path) {
        if (std::strlen(path) > sizeof TKClipRecord::path) std::abort();
    };
    ui.askRecovery = [](void* context, const char* text, const char*) {
        auto* asked = static_cast<Host*>(context);
        if (std::strncmp(text, "Recover the grade of ", 21) != 0) std::abort();
        if (!(asked->head.flags & kLeavesOpen)) TKRecoveryAnswer(asked->session, asked->head.flags & kRecovers);
    };
    return ui;
}

/// What a user does in a visit.
void Visit(TKSession* session)
{
    TKTick(session);
    session->liveSettings.hsl.master.gain = 1.5f; // a change for the journal
    TKStepFrames(session, 1);
    TKGoToLastFrame(session);
    TKTogglePlay(session, TKActiveTransport(session));
    for (int i = 0; i < 3; ++i) TKTick(session);
}

/// A block of the other byte order, past the look at its header that lets none through.
void Swapped(TKSession* session)
{
    static_cast<Host*>(gBPFake.hookContext)->turn = 0;
    if (!TKOpenCommBlock(session)) return;
    Block()->version = kTKUIVersionSwapped;
    if (TKAdoptBlock(session) != tkAttached) return;
    if (TKPrepareFrameWorlds(session) == bpNoErr && TKLoadFrameFromHost(session) == bpNoErr) {
        (void)TKTakeSettingsFromBlock(session);
        TKStepFrames(session, 1);
    }
    TKTearDown(session);
}

/// Another host comes to the resident application.
void SecondHost(Host* host, const uint8_t* rest, size_t size)
{
    gBPFake.alive[kHost] = true;
    host->turn = 0;
    MakeBlock(host->head, host->more, rest, size);
    if (!(host->head.flags & kHasMore)) return;
    TKUIComm* block = Block();
    std::memcpy(&block->frameWidth, host->more.secondGeometry, sizeof host->more.secondGeometry);
    block->pixelFlags = host->more.secondFlags;
    if (host->more.version) block->version = host->more.version;
    if (host->more.signature) block->signature = host->more.signature;
    CutMonsters(block);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Host host = {};
    std::memcpy(&host.head, data, std::min(size, sizeof host.head));
    size_t used = std::min(size, sizeof host.head);
    if (host.head.flags & kHasMore) {
        const size_t more = std::min(size - used, sizeof host.more);
        std::memcpy(&host.more, data + used, more);
        used += more;
    }
    BPFakeReset();
    BPFakeCaptureLog();
    gBPFake.alive[kHost] = true;
    gBPFake.sleepLimit = 5000; // in each of two visits a host that cannot be watched is outwaited once
    gBPFake.hookContext = &host;
    gBPFake.onSleep = [](void* context, uint32_t) { Act(static_cast<Host*>(context)); };
    BPPlatform platform = {};
    BPFillFakePlatform(&platform);
    TKSession* session = nullptr;
    const TKUserInterface ui = Interface(&host);
    if (TKCreateSession(&platform, &ui, &session) != bpNoErr) std::abort();
    gBPFake.stores[kTKPreferencesStore]["Multiprocessor Enable"] = {
        .kind = bpFakeNumber, .number = 0, .text = {}, .block = {}};

    host.session = session;
    MakeBlock(host.head, host.more, data + used, size - used);
    if (host.head.flags & kHasJournal) LeaveJournal();
    host.turn = sizeof host.head.script; // silent while the splash is shown
    gBPFake.onCall = [](void* context, BPFakeOp op) {
        auto* live = static_cast<Host*>(context);
        if (op == bpFakeScreenBounds) live->turn = 0;
    };
    if (host.head.flags & kSwapped) {
        Swapped(session);
        TKDisposeSession(session);
        BPFakeReset();
        return 0;
    }
    const TKStartResult result = TKStartUp(session);
    if (result == tkStartRun) {
        Visit(session);
        TKEndSession(session, 59001);
        for (int i = 0; i < 3; ++i) TKTick(session);
        SecondHost(&host, data + used, size - used);
        for (int i = 0; i < 3; ++i) TKTick(session);
    }
    (void)TKFinish(session);
    TKDisposeSession(session);
    if (gBPFake.openMappings != 0 || gBPFake.openWatches != 0 || gBPFake.openStores != 0 || gBPFake.openStateFiles != 0)
        std::abort();
    BPFakeReset();
    return 0;
}
