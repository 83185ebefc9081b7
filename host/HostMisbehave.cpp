// Broken blocks.
#include "host/HostMisbehave.h"

#include <cstdio>
#include <fstream>

namespace {

constexpr uint64_t kLateHeaderMs = 30;

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
    case Misbehave::lateHeader: block->version = block->signature = 0; break;
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
    case Misbehave::none:
    case Misbehave::shortObject:
    case Misbehave::status11:
    case Misbehave::diePending:
    case Misbehave::neverAnswer:
    case Misbehave::staleBlock: break;
    }
}

void WriteLateHeader(const BPPlatform& platform, uint32_t processId, OchrineBlock* block, LateHeader* late)
{
    if (late->isWritten) return;
    const uint64_t now = platform.clock.monotonicMs();
    if (late->mappedAtMs == 0 && HasMapped(processId)) late->mappedAtMs = now;
    if (late->mappedAtMs == 0 || now - late->mappedAtMs < kLateHeaderMs) return;
    block->version = kOchrineVersion;
    block->signature = kOchrineSignature;
    late->isWritten = true;
}
