// Named shared memory: the block in which a host hands over a frame and a grade.
//
// The object is a file of its name in the runtime folder ($XDG_RUNTIME_DIR/ochrine, 0700, owner checked; without that
// variable a private folder below the temporary folder). Whoever maps it must expect the other side to cut it short at
// any time: pages that vanish read as zero instead of ending the process.
#pragma once

#include "src/platform/BPStatus.h"

struct BPSharedMemory {
    uint64_t handle;    ///< 0 when closed
    uint8_t* address;   ///< first byte, null when closed
    uint64_t byteCount; ///< all of the object, as it was when mapped
};

struct BPSharedMemoryOps {
    /// For hosts: makes the object, zeroed, and maps it. bpFileExistsErr when the name is taken.
    BPStatus (*create)(const char* name, uint64_t byteCount, BPSharedMemory* memory);

    /// Maps the whole of an existing object for reading and writing; never makes, sizes or removes one.
    /// bpFileNotFoundErr when there is none (or it is not ours), bpParamErr when it is below minimumBytes.
    BPStatus (*open)(const char* name, uint64_t minimumBytes, BPSharedMemory* memory);

    /// Unmaps and clears the record; a closed record is left alone. Nobody may touch the memory afterwards.
    void (*close)(BPSharedMemory* memory);

    /// Whether the object still is what was mapped: it has its name, and all its bytes. Somebody who removed it, or cut
    /// it short, has taken it back, also when it grows again after a vanished page was touched. A closed record is not whole.
    bool (*isWhole)(const BPSharedMemory* memory);

    /// For hosts: removes the name. Mappings live on.
    BPStatus (*remove)(const char* name);

    /// Removes the name only while it belongs to the object that is mapped here; nobody else's object of that name is
    /// touched, whoever removes and makes it at the same time. bpFileNotFoundErr when it belongs to another one, to
    /// none, or is being removed by somebody else. The mapping lives on.
    BPStatus (*removeMapped)(const char* name, const BPSharedMemory* memory);
};
