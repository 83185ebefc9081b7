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

/// What a misbehaving host remembers between steps.
struct MisbehaveState {
    bool headerIsWritten = false;
    uint64_t mappedAtMs = 0;   ///< when the application was seen to have mapped the block
    uint64_t pendingAtMs = 0;  ///< when the waiting request was first seen
    uint64_t attachedAtMs = 0; ///< when the application was up
    bool isDone = false;       ///< the deed in the middle of the session
};

/// One call a step of the session: late headers, deeds in the middle, ends. May end the process with exit code 9.
void MisbehaveInStep(Misbehave mode, OchrineHost* host, uint32_t applicationId, const OchrineEvent& event,
                     MisbehaveState* state);

/// A request waits. True when the mode has seen to it in its own way, or wants to be asked again in the next step; the
/// host then does nothing. May end the process with exit code 9.
bool MisbehaveInRequest(Misbehave mode, OchrineHost* host, std::vector<uint8_t>* pixels, MisbehaveState* state);
