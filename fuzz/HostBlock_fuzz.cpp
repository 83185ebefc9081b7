// A host's block, and what the host does while it is waited for, through attach, intake, controls and frame requests.
//
// The input is a FuzzHead, then settingsBytes bytes that lie over the settings, then the pixels of the block.
#include "src/platform/fake/BPFake.h"
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
    uint16_t spare;
};
static_assert(sizeof(FuzzHead) == 120);

constexpr uint32_t kHost = 500;
constexpr uint64_t kSlowPixels = 1u << 18, kRefusedPixels = uint64_t{1} << 27;

struct Host {
    FuzzHead head;
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
    const uint32_t value = step >> 3;
    switch (step & 7) {
    case 0: return;
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

void MakeBlock(const FuzzHead& head, const uint8_t* rest, size_t size)
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
    // Sizes that would only cost memory are cut; those that must be refused stay.
    const uint64_t pixels = uint64_t{block->frameWidth} * block->frameHeight;
    if (pixels > kSlowPixels && pixels <= kRefusedPixels) {
        block->frameWidth &= 511;
        block->frameHeight &= 511;
    }
    block->chunkBytes = head.chunkBytes;
    std::memcpy(&block->bytesRemaining, &head.bytesRemaining, 4);
    std::memcpy(&block->pixelAspect, &head.pixelAspect, 4);
    block->hostProcessHigh = head.hostProcess[0];
    block->hostProcessID = head.hostProcess[1] & 1 ? kHost : head.hostProcess[1];
    block->hostApp = head.hostApp;
    std::memcpy(&block->hostPixelAdjust, head.adjust, sizeof head.adjust);
    OCResetSettings(&block->settings, kOCResetAll, kOCResetAll, kOCResetDefaults);
    std::memcpy(&block->settings, rest, overlay);
    if (pixelBytes > 0) std::memcpy(block->pixels, rest + overlay, pixelBytes);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Host host = {};
    std::memcpy(&host.head, data, std::min(size, sizeof host.head));
    const size_t used = std::min(size, sizeof host.head);
    BPFakeReset();
    BPFakeCaptureLog();
    gBPFake.alive[kHost] = true;
    gBPFake.sleepLimit = 2000;
    gBPFake.hookContext = &host;
    gBPFake.onSleep = [](void* context, uint32_t) { Act(static_cast<Host*>(context)); };
    BPPlatform platform = {};
    BPFillFakePlatform(&platform);
    TKSession* session = nullptr;
    if (TKCreateSession(&platform, nullptr, &session) != bpNoErr) std::abort();
    gBPFake.stores[kTKPreferencesStore]["Multiprocessor Enable"] = {
        .kind = bpFakeNumber, .number = 0, .text = {}, .block = {}};

    MakeBlock(host.head, data + used, size - used);
    host.turn = sizeof host.head.script; // silent while the splash is shown
    gBPFake.onCall = [](void* context, BPFakeOp op) {
        auto* live = static_cast<Host*>(context);
        if (op == bpFakeScreenBounds) live->turn = 0;
    };
    const TKStartResult result = TKStartUp(session);
    if (result == tkStartRun) {
        TKStepFrames(session, 1);
        TKGoToLastFrame(session);
        TKTogglePlay(session, TKActiveTransport(session));
        for (int i = 0; i < 3; ++i) TKTick(session);
        TKEndSession(session, 59001);
        for (int i = 0; i < 3; ++i) TKTick(session);
        gBPFake.alive[kHost] = true;
        host.turn = 0;
        MakeBlock(host.head, data + used, size - used);
        for (int i = 0; i < 3; ++i) TKTick(session);
    }
    (void)TKFinish(session);
    TKDisposeSession(session);
    if (gBPFake.openMappings != 0 || gBPFake.openWatches != 0 || gBPFake.openStores != 0) std::abort();
    BPFakeReset();
    return 0;
}
