// Files of the application's own state, such as journals, in the user's state folder: $XDG_STATE_HOME/ochrine, or
// ~/.local/state/ochrine without that variable.
//
// An open file is held for this process alone. A write goes to the system at once, so it outlives the end of the process,
// however that comes; it is not flushed to the disk.
#pragma once

#include "src/platform/BPStatus.h"

struct BPStateFile {
    uint64_t handle; ///< 0 when closed
};

/// Thread: one at a time for each file.
struct BPStateFileOps {
    /// Opens the file `name` (at most 63 characters, no slash) for reading and writing; with `create` it is made when
    /// missing. bpFileNotFoundErr when there is none, or no regular file of ours alone; bpFileBusyErr while another
    /// process holds it; bpPermissionErr when the folder cannot be had; bpDiskFullErr, bpMemFullErr.
    BPStatus (*open)(const char* name, bool create, BPStateFile* file);

    /// Copies at most `capacity` bytes from the front; the file's full size, as far as 32 bits tell it, goes to
    /// byteCount.
    BPStatus (*read)(BPStateFile* file, void* bytes, uint32_t capacity, uint32_t* byteCount);

    /// Writes at a position, which may lie beyond the end. After an error some of the bytes may have been written.
    BPStatus (*write)(BPStateFile* file, uint64_t position, const void* bytes, uint32_t byteCount);

    /// Closes the file and clears the record; it stays where it is. A closed record is left alone.
    void (*close)(BPStateFile* file);

    /// Removes the file, then closes it.
    void (*discard)(BPStateFile* file);

    /// Removes the oldest of the files whose names end in `suffix` until at most `limit` are left. Those that a process
    /// holds stay.
    void (*prune)(const char* suffix, uint32_t limit);
};
