// Processes: who we are, how many processors there are, and whether a peer still lives.
#pragma once

#include "src/platform/BPStatus.h"

struct BPProcessWatch {
    uint64_t handle; ///< 0 when not watching
};

struct BPProcessOps {
    uint32_t (*currentId)();

    /// Processors that this process may use, at least 1.
    uint32_t (*processorCount)();

    /// Whether the processor has what the engine is built for: on x86 the SSE instructions, not emulated.
    bool (*processorSuffices)();

    /// Takes a hold on the process with this id, immune to reuse of the number. bpNotFoundErr when there is none.
    BPStatus (*watch)(uint32_t processId, BPProcessWatch* watch);

    /// False once the process has ended; a zombie has ended, a process that we may not signal lives. Does not wait.
    bool (*isAlive)(const BPProcessWatch* watch);

    void (*unwatch)(BPProcessWatch* watch);

    /// Starts a program with this argument vector, ended by null; its streams are ours. Its id goes to processId.
    BPStatus (*spawn)(const char* const* arguments, uint32_t* processId);

    /// Takes the exit code of a child that has ended: bpNoErr, or bpNotFoundErr while it runs or is not ours. A signal
    /// n counts as 128 + n.
    BPStatus (*reap)(uint32_t processId, int32_t* exitCode);

    /// Whether somebody outside has asked this process to end; stays true. Long waits look at it.
    bool (*endRequested)();
};
