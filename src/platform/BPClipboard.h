// The clipboard: one block of bytes under a named format.
#pragma once

#include "src/platform/BPStatus.h"

struct BPClipboardOps {
    BPStatus (*put)(const char* format, const void* bytes, uint32_t byteCount);
    bool (*has)(const char* format);

    /// Copies at most `capacity` bytes; the block's full size goes to byteCount. bpNotFoundErr without the format.
    BPStatus (*get)(const char* format, void* bytes, uint32_t capacity, uint32_t* byteCount);
};
