// Which lines of a picture a trace reads.
#pragma once

#include <algorithm>
#include <cstdint>

struct ScopeLines {
    int64_t first, end, step; ///< all inside the picture
};

/// lineCount  0 all lines, negative `singleLine` alone, otherwise about as many, evenly
/// False where the single line is none of the picture.   Thread: any.
inline bool ScopeLinesOf(int32_t lineCount, int32_t singleLine, int32_t height, ScopeLines* lines)
{
    *lines = {.first = 0, .end = height, .step = 1};
    if (lineCount < 0) {
        if (singleLine < 0 || singleLine >= height) return false;
        lines->first = singleLine;
        lines->end = lines->first + 1;
    } else if (lineCount > 0) {
        const int64_t wanted = lineCount;
        lines->step = std::max<int64_t>(1, (wanted / 2 + height) / wanted);
    }
    return true;
}
