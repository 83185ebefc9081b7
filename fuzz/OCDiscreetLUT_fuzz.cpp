// Any bytes as a Discreet table, for a preview and for curves.
#include "src/OCSampledCurves.h"
#include "src/platform/BPLog.h"

#include <cstdlib>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    BPSetLogSink([](void*, const char*, size_t) {}, nullptr);
    // A table between guards; after an error it is as it was.
    uint8_t memory[kOCPreviewTableBytes + 64];
    std::memset(memory, 0x5A, sizeof memory);
    const OCLUTRead read = OCReadDiscreetLUT({data, size}, memory + 32);
    for (size_t i = 0; i < sizeof memory; ++i) {
        const bool inside = i >= 32 && i < 32 + kOCPreviewTableBytes;
        if ((!inside || read.status != bpNoErr) && memory[i] != 0x5A) std::abort();
    }
    static OCSettings grade, before;
    std::memset(&grade, 0x3C, sizeof grade);
    before = grade;
    const OCLUTRead curves = OCReadDiscreetCurves({data, size}, &grade);
    if (curves.status != bpNoErr && std::memcmp(&grade, &before, sizeof grade) != 0) std::abort();
    std::memcpy(grade.rgbCurve, before.rgbCurve, sizeof grade.rgbCurve);
    grade.curvesOn = before.curvesOn;
    grade.rgbCurvesOn = before.rgbCurvesOn;
    if (std::memcmp(&grade, &before, sizeof grade) != 0) std::abort();
    BPSetLogSink(nullptr, nullptr);
    return 0;
}
