// What every reader of tables owes: nothing beyond its table, nothing at all after an error, nothing but the curves.
#pragma once

#include "src/OCSampledCurves.h"
#include "src/platform/BPLog.h"

#include <cstdlib>
#include <cstring>

/// Feeds the bytes to the preview and the curve flavour of a reader; aborts where one breaks a rule.
inline void FuzzLUTReader(std::span<const uint8_t> bytes,
                          OCLUTRead (*readTable)(std::span<const uint8_t> bytes, OCPreviewTable table),
                          OCLUTRead (*readCurves)(std::span<const uint8_t> bytes, OCSettings* settings))
{
    BPSetLogSink([](void*, const char*, size_t) {}, nullptr);
    // A table between guards; after an error it is as it was.
    uint8_t memory[kOCPreviewTableBytes + 64];
    std::memset(memory, 0x5A, sizeof memory);
    const OCLUTRead read = readTable(bytes, memory + 32);
    for (size_t i = 0; i < sizeof memory; ++i) {
        const bool inside = i >= 32 && i < 32 + kOCPreviewTableBytes;
        if ((!inside || read.status != bpNoErr) && memory[i] != 0x5A) std::abort();
    }
    static OCSettings grade, before;
    std::memset(&grade, 0x3C, sizeof grade);
    before = grade;
    const OCLUTRead curves = readCurves(bytes, &grade);
    if (curves.status != bpNoErr && std::memcmp(&grade, &before, sizeof grade) != 0) std::abort();
    std::memcpy(grade.rgbCurve, before.rgbCurve, sizeof grade.rgbCurve);
    grade.curvesOn = before.curvesOn;
    grade.rgbCurvesOn = before.rgbCurvesOn;
    if (std::memcmp(&grade, &before, sizeof grade) != 0) std::abort();
    BPSetLogSink(nullptr, nullptr);
}
