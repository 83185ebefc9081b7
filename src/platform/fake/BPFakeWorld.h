// What the files of the fake share: what stands behind the handles, and the way into each operation.
#pragma once

#include "src/platform/fake/BPFake.h"

/// A keyed store that is open.
struct BPFakeOpenStore {
    std::string name;
    bool inTransaction = false;
    BPStatus firstError = bpNoErr;
    BPFakeStore before{}; ///< as it was at begin
};

/// What stands behind the handles. Handles are never used twice, so a stale one is found out.
struct BPFakeHandles {
    uint64_t last = 0;
    std::map<uint64_t, std::pair<std::string, BPFakeBlock>> mappings{};
    std::map<uint64_t, uint32_t> watches{};
    std::map<uint64_t, BPFakeOpenStore> stores{};
    std::map<uint64_t, std::string> stateFiles{}; ///< names
    std::map<uint64_t, uint32_t> connections{};   ///< requestEnds when it was made: more since then have ended it
    uint32_t requestEnds = 0;                     ///< releases, and closings of the channel
    uint64_t channel = 0;
};

extern BPFakeHandles gBPFakeHandles; ///< Thread: the test's

/// Counts the call and lets the test's hook run.
void BPFakeEnter(BPFakeOp op);

/// The same, and tells the scripted failure of this call, bpNoErr when there is none.
BPStatus BPFakeEnter(BPFakeOp op, BPStatus usualError);

/// Whether a name is one that the operations with names take.
bool BPFakeIsPlainName(const char* name);

/// Moves the clock and lets the test's other side run.
void BPFakeSleep(uint32_t milliseconds);

// Each file's share of the tables.
void BPFillFakeHost(BPPlatform* platform);  ///< shared memory, channel, processes, clock
void BPFillFakeFiles(BPPlatform* platform); ///< keyed stores, state files
void BPFillFakeDesk(BPPlatform* platform);  ///< keyboard, alerts, clipboard, screens, shell, dialogs
