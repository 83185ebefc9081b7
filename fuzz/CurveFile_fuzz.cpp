// A curve file of any bytes: it is refused with the record untouched, or it changes only the four curves and their
// switches; each curve has a legal number of points, and what is saved then is read back as the same file.
#include "src/OCCurveFile.h"

#include <cstdlib>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    OCSettings before;
    std::memset(&before, 0x3C, sizeof before);
    OCSettings settings = before;
    if (OCLoadCurveBytes(data, size, &settings) != bpNoErr) {
        if (std::memcmp(&settings, &before, sizeof settings) != 0) std::abort();
        return 0;
    }
    for (HCurve& curve : settings.rgbCurve) {
        const int32_t count = curve.points.xy.pointCount;
        if (count < 0 || count > 16) std::abort();
        // Behind the points nothing is written.
        for (uint32_t i = 33; i < kOCCurveSampleCount; ++i)
            if (std::memcmp(&curve.points.samples[i], &before.rgbCurve[0].points.samples[i], 4) != 0) std::abort();
    }
    const std::vector<uint8_t> saved = OCSaveCurveBytes(settings);
    OCSettings again = before;
    if (OCLoadCurveBytes(saved.data(), saved.size(), &again) != bpNoErr) std::abort();
    if (OCSaveCurveBytes(again) != saved) std::abort();

    std::memcpy(settings.rgbCurve, before.rgbCurve, sizeof before.rgbCurve);
    settings.curvesOn = before.curvesOn;
    settings.rgbCurvesOn = before.rgbCurvesOn;
    if (std::memcmp(&settings, &before, sizeof settings) != 0) std::abort();
    return 0;
}
