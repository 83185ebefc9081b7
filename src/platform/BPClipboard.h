// The clipboard: one block of bytes under a named format. The name is all that tells one kind of block from another, and
// what stands under it may come from any program: whoever reads checks size and content.
#pragma once

#include "src/platform/BPStatus.h"

struct BPClipboardOps {
    /// Replaces whatever the clipboard holds. bpMemFullErr, bpParamErr; the clipboard is then empty.   Thread: main.
    BPStatus (*put)(const char* format, const void* bytes, uint32_t byteCount);

    bool (*has)(const char* format);

    /// Copies at most `capacity` bytes; the block's full size goes to byteCount. bpNotFoundErr without the format.
    BPStatus (*get)(const char* format, void* bytes, uint32_t capacity, uint32_t* byteCount);
};
