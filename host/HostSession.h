// What stands behind the C interface of ochrine_host.h, for the command line host and for tests: the session's record,
// and the calls that take the platform's operations from the caller.
#pragma once

#include "host/ochrine_host.h"
#include "src/platform/BPPlatform.h"

struct OchrineHost {
    BPPlatform platform;
    BPSharedMemory memory;
    OchrineBlock* block;          ///< = memory.address
    BPProcessWatch watch;         ///< of the application
    BPFrameConnection connection; ///< of the frame that is on its way
    uint64_t sentAtMs;            ///< when it was sent
    OchrineEvent ended;           ///< the event that ended the session

    // Copies of what was published: the block belongs to the application as much as to us.
    OchrineFrame frame;
    uint64_t frameBytes;
    uint64_t sentBytes;    ///< of a chunked frame
    uint64_t consumedAtMs; ///< when the last 5 was first seen; 0 while none waits
    uint32_t chunkRows;    ///< 0: inline
    int32_t frameStep, frameTimeMax;
    bool isAttached;
};

/// OchrineHostOpen on a platform of the caller's.   Thread: any, one a session.
OchrineResult OchrineHostOpenOn(const BPPlatform& platform, uint64_t pixelBytes, OchrineHost** host);

/// OchrineHostPublish without its last step, the status word.
OchrineResult OchrineHostPrepare(OchrineHost* host, const OchrineFrame* frame, uint32_t chunkRows);

/// Removes the block that a dead host left behind, or that nobody signed within 100 ms; waits for that long at most.
/// ochrineOk when the name is free now, ochrineExistsErr when its host lives.
OchrineResult OchrineRemoveStaleBlock(const BPPlatform& platform);

/// OchrineFindResident on a platform of the caller's.
OchrineResult OchrineFindResidentOn(const BPPlatform& platform, uint32_t* processId);
