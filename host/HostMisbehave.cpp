// Broken blocks, broken answers, broken ends.
#include "host/HostMisbehave.h"

#include "src/platform/BPFiles.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace {

constexpr uint64_t kLateHeaderMs = 30, kTooLateHeaderMs = 200;
constexpr uint64_t kNeverAnswerMs = 1000, kLateAnswerMs = 2000;
constexpr uint64_t kMiddleMs = 500;
constexpr int kDeadExit = 9; // of a host that ends without a word

/// A number that belongs to no process.
uint32_t DeadProcess(const BPPlatform& platform)
{
    for (uint32_t id = 4'000'000; id > 300; --id) {
        BPProcessWatch watch = {};
        if (platform.process.watch(id, &watch) != bpNoErr) return id;
        platform.process.unwatch(&watch);
    }
    return 0;
}

bool HasMapped(uint32_t processId)
{
    std::ifstream maps("/proc/" + std::to_string(processId) + "/maps");
    for (std::string line; std::getline(maps, line);) {
        if (line.find(kOchrineBlockName) != std::string::npos) return true;
    }
    return false;
}

void WriteHeaderAfter(uint64_t delayMs, OchrineBlock* block, uint32_t applicationId, uint64_t now,
                      MisbehaveState* state)
{
    if (state->headerIsWritten) return;
    if (state->mappedAtMs == 0 && HasMapped(applicationId)) state->mappedAtMs = now;
    if (state->mappedAtMs == 0 || now - state->mappedAtMs < delayMs) return;
    block->version = kOchrineVersion;
    block->signature = kOchrineSignature;
    state->headerIsWritten = true;
}

/// Sends a message on a connection of its own, which ends at once; what was sent is delivered all the same.
void SendAside(OchrineHost* host, uint32_t dataWord, const std::vector<uint8_t>& bytes)
{
    char name[sizeof(host->block->commWindowName) + 1] = {};
    std::memcpy(name, host->block->commWindowName, sizeof(host->block->commWindowName));
    const BPFrameChannelOps& channel = host->platform.frameChannel;
    BPFrameConnection connection = {};
    if (channel.connect(name, &connection) != bpNoErr) return;
    (void)channel.send(&connection, dataWord, bytes.data(), static_cast<uint32_t>(bytes.size()));
    channel.disconnect(&connection);
}

} // namespace

OchrineResult LeaveStaleBlock(const BPPlatform& platform)
{
    BPSharedMemory memory = {};
    if (BPStatus err = platform.sharedMemory.create(kOchrineBlockName, kOchrineBlockBytes, &memory); err != bpNoErr) {
        return static_cast<OchrineResult>(err);
    }
    OchrineBlock* block = reinterpret_cast<OchrineBlock*>(memory.address);
    block->version = kOchrineVersion;
    block->signature = kOchrineSignature;
    block->hostProcessID = DeadProcess(platform);
    OchrineStoreStatus(block, kTKUIStatusUIRunning);
    platform.sharedMemory.close(&memory);
    return ochrineOk;
}

OchrineResult MakeShortObject(const BPPlatform& platform, BPSharedMemory* memory)
{
    if (OchrineResult err = OchrineRemoveStaleBlock(platform); err != ochrineOk) return err;
    return static_cast<OchrineResult>(platform.sharedMemory.create(kOchrineBlockName, 4096, memory));
}

void SpoilBlock(Misbehave mode, OchrineBlock* block)
{
    switch (mode) {
    case Misbehave::version6: block->version = 6; break;
    case Misbehave::wrongSignature: block->signature = 0x4F436334; break;
    case Misbehave::swapped:
        block->version = __builtin_bswap32(block->version);
        block->signature = __builtin_bswap32(block->signature);
        break;
    case Misbehave::lateHeader:
    case Misbehave::tooLateHeader: block->version = block->signature = 0; break;
    case Misbehave::wrongSizes:
        block->frameWidth = 16000;
        block->frameHeight = 16000;
        block->frameRowBytes = 0x10000;
        block->pixelFlags = kTKUIFlagPixelsInline;
        break;
    case Misbehave::clips250:
        block->clipCount = 250;
        for (uint32_t i = 0; i < kOchrineClipLimit; ++i) {
            std::snprintf(block->clipList[i].path, sizeof(block->clipList[i].path), "/clips/shot_%04u.mov", i);
        }
        break;
    case Misbehave::clipsNegative: block->clipCount = -1; break;
    case Misbehave::noProcess: block->hostProcessHigh = block->hostProcessID = 0; break;
    case Misbehave::noGrade: block->settings[0] = 0; break;
    case Misbehave::none:
    case Misbehave::shortObject:
    case Misbehave::staleBlock:
    case Misbehave::dieChunks:
    case Misbehave::status11:
    case Misbehave::diePending:
    case Misbehave::neverAnswer:
    case Misbehave::lateAnswer:
    case Misbehave::wrongWord:
    case Misbehave::twoFrames:
    case Misbehave::shortFrame:
    case Misbehave::longFrame:
    case Misbehave::strangeStatus:
    case Misbehave::unlinkBlock:
    case Misbehave::truncateBlock:
    case Misbehave::dieIdle: break;
    }
}

void MisbehaveInStep(Misbehave mode, OchrineHost* host, uint32_t applicationId, const OchrineEvent& event,
                     MisbehaveState* state)
{
    const uint64_t now = host->platform.clock.monotonicMs();
    if (mode == Misbehave::lateHeader) WriteHeaderAfter(kLateHeaderMs, host->block, applicationId, now, state);
    if (mode == Misbehave::tooLateHeader) WriteHeaderAfter(kTooLateHeaderMs, host->block, applicationId, now, state);
    if (mode == Misbehave::dieChunks && event.status == kTKUIStatusChunkConsumed) std::_Exit(kDeadExit);
    // The application names its channel when its window is up.
    if (event.status == kTKUIStatusUIRunning && state->attachedAtMs == 0 && host->block->commWindowName[0] != 0)
        state->attachedAtMs = now;
    if (state->isDone || state->attachedAtMs == 0 || now - state->attachedAtMs < kMiddleMs) return;
    state->isDone = true;
    if (mode == Misbehave::dieIdle) std::_Exit(kDeadExit);
    if (mode == Misbehave::unlinkBlock) (void)host->platform.sharedMemory.remove(kOchrineBlockName);
    if (mode == Misbehave::truncateBlock) {
        std::error_code ignored;
        std::filesystem::resize_file(BPRuntimeFolder() + "/" + kOchrineBlockName, 0, ignored);
    }
}

bool MisbehaveInRequest(Misbehave mode, OchrineHost* host, std::vector<uint8_t>* pixels, MisbehaveState* state)
{
    const uint64_t now = host->platform.clock.monotonicMs();
    if (state->pendingAtMs == 0) state->pendingAtMs = now;
    const uint64_t waitedMs = now - state->pendingAtMs;
    switch (mode) {
    case Misbehave::status11: OchrineHostRefuse(host); return true;
    case Misbehave::diePending: std::_Exit(kDeadExit);
    case Misbehave::neverAnswer:
        if (waitedMs >= kNeverAnswerMs) std::_Exit(kDeadExit);
        return true;
    case Misbehave::lateAnswer:
        if (waitedMs < kLateAnswerMs) return true;
        break;
    case Misbehave::wrongWord: SendAside(host, kOchrineFrameWord - 1, *pixels); break;
    case Misbehave::twoFrames: SendAside(host, kOchrineFrameWord, std::vector<uint8_t>(pixels->size())); break;
    case Misbehave::shortFrame:
        SendAside(host, kOchrineFrameWord, {pixels->begin(), pixels->end() - host->frame.rowBytes});
        OchrineHostRefuse(host); // a frame that cannot be used is no answer
        return true;
    case Misbehave::longFrame: {
        std::vector<uint8_t> longer = *pixels;
        longer.resize(longer.size() + host->frame.rowBytes);
        SendAside(host, kOchrineFrameWord, longer);
        return true;
    }
    case Misbehave::strangeStatus:
        for (const uint32_t status : {7u, 8u, 10u, 12u, 0xFFFFFFFFu}) {
            OchrineStoreStatus(host->block, status);
            host->platform.clock.sleepMs(20); // longer than between two looks of the application
        }
        break;
    case Misbehave::none:
    case Misbehave::version6:
    case Misbehave::wrongSignature:
    case Misbehave::swapped:
    case Misbehave::lateHeader:
    case Misbehave::tooLateHeader:
    case Misbehave::shortObject:
    case Misbehave::wrongSizes:
    case Misbehave::clips250:
    case Misbehave::clipsNegative:
    case Misbehave::noProcess:
    case Misbehave::noGrade:
    case Misbehave::staleBlock:
    case Misbehave::dieChunks:
    case Misbehave::unlinkBlock:
    case Misbehave::truncateBlock:
    case Misbehave::dieIdle: break;
    }
    state->pendingAtMs = 0;
    return false;
}
