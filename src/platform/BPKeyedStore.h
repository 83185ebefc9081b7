// A keyed store of numbers, strings and blocks that lives between runs, safe when two processes use it and when one is
// killed in a write.
#pragma once

#include "src/platform/BPStatus.h"

struct BPKeyedStore {
    uint64_t handle; ///< 0 when closed
};

/// Errors besides those told below: bpParamErr for a closed store or a null; bpFileBusyErr when another process held
/// the store for two seconds; bpDiskFullErr; bpPermissionErr; bpIOErr; bpInvalidSettingsErr when the file turned out
/// damaged after it was opened. Only bpNotFoundErr means that a value is missing.   Thread: one at a time for each store.
struct BPKeyedStoreOps {
    /// Opens, and where needed makes, the store `name` (at most 63 characters, no slash) of the current user. A damaged
    /// file is put aside under another name and replaced by an empty store; the log tells both names. Where nothing can
    /// be written, an existing store opens for reading alone, and the log tells that.
    BPStatus (*open)(const char* name, BPKeyedStore* store);
    /// Closes; what was begun and not committed is undone.
    void (*close)(BPKeyedStore* store);

    // Reading. bpNotFoundErr when the value is missing or of another kind; the output is then untouched.
    BPStatus (*readNumber)(BPKeyedStore* store, const char* name, uint32_t* value);
    /// Copies the text and its end; what is longer than capacity - 1 is cut.
    BPStatus (*readString)(BPKeyedStore* store, const char* name, char* text, uint32_t capacity);
    /// Copies at most `capacity` bytes; the full size goes to byteCount (capacity 0 asks for the size alone).
    BPStatus (*readBlock)(BPKeyedStore* store, const char* name, void* bytes, uint32_t capacity, uint32_t* byteCount);

    BPStatus (*writeNumber)(BPKeyedStore* store, const char* name, uint32_t value);
    BPStatus (*writeString)(BPKeyedStore* store, const char* name, const char* text);
    BPStatus (*writeBlock)(BPKeyedStore* store, const char* name, const void* bytes, uint32_t byteCount);

    /// What lies between `begin` and `commit` is stored whole or not at all: after a failed write commit stores nothing
    /// and returns that write's error. Each lone write waits for the disk, so many belong between these two. They do
    /// not nest: bpParamErr.
    BPStatus (*begin)(BPKeyedStore* store);
    BPStatus (*commit)(BPKeyedStore* store);
};
