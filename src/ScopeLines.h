// What of a picture a trace reads.
#pragma once

#include "src/ScopeSurface.h"

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

/// The number of lines that these are.
inline int64_t ScopeLineCount(const ScopeLines& lines)
{
    return (lines.end - lines.first + lines.step - 1) / lines.step;
}

/// How many tasks share a trace: what is laid in less than half a millisecond is laid before workers have woken.
inline uint32_t ScopeTasksFor(int64_t samples, uint32_t taskCount)
{
    constexpr int64_t kWorthSharing = 1 << 18;
    return samples < kWorthSharing ? 1 : taskCount;
}

/// Names a picture in the parameters of a waveform monitor or a vectorscope, and how many of its lines are read: half of
/// more than 576. Without a picture of 32 bits one of 720 x 486 gives the scale. Returns whether there is one.
template <class Params> bool ScopeSetSource(Params* params, const ScopeSurface* source)
{
    constexpr int32_t kDefaultWidth = 720, kDefaultHeight = 486, kManyLines = 576;
    const bool hasSource = source && source->pixels && source->depth == 32;
    params->sourcePixels = hasSource ? source->pixels : nullptr;
    params->sourceWidth = hasSource ? static_cast<int32_t>(source->width) : kDefaultWidth;
    params->sourceHeight = hasSource ? static_cast<int32_t>(source->height) : kDefaultHeight;
    params->sourceRowBytes = hasSource ? static_cast<int32_t>(source->rowBytes) : 0;
    params->lineCount = params->sourceHeight > kManyLines ? params->sourceHeight / 2 : 0;
    return hasSource;
}
