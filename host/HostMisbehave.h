// The ways in which the host breaks the protocol on purpose. Only tests of the application use them.
#pragma once

#include "host/HostOptions.h"
#include "host/HostSession.h"

/// Leaves a signed block behind whose host is no process.
OchrineResult LeaveStaleBlock(const BPPlatform& platform);

/// Makes an object of 4,096 bytes under the block's name.
OchrineResult MakeShortObject(const BPPlatform& platform, BPSharedMemory* memory);

/// Spoils a block that is complete but for its status word.
void SpoilBlock(Misbehave mode, OchrineBlock* block);

/// Late header: writes version and signature 30 ms after the process has mapped the block. One call a step.
struct LateHeader {
    bool isWritten = false;
    uint64_t mappedAtMs = 0;
};
void WriteLateHeader(const BPPlatform& platform, uint32_t processId, OchrineBlock* block, LateHeader* late);
