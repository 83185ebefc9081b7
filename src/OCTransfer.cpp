// The host's pixel adjustment.
#include "src/OCTransfer.h"

#include "src/BPMath.h"
#include "src/OCStages.h"
#include "src/platform/BPMemory.h"

#include <cmath>
#include <cstring>

namespace {

float VideoToLight(float x)
{
    return x < 0.081f ? x / 4.5f : BPPower((x + 0.099f) / 1.099f, 2.2222f);
}

/// Light from the camera's log code: 230 is black, two decades above it white.
float FilmLogToLight(float x)
{
    return (BPPower(10, (x * 1023 - 1023) / 500) - BPPower(10, -793.0f / 500)) / (1 - BPPower(10, -793.0f / 500));
}

float AdjustValue(const OCPixelAdjust& adjust, float x, OCCineonScale cineon)
{
    const auto black = static_cast<float>(adjust.adjustBlack);
    const auto white = static_cast<float>(adjust.adjustWhite);
    const float scaled = (x * 255 - black) / (white - black);
    if (adjust.adjustMode & ocAdjustScale) return scaled;
    if (adjust.adjustMode & ocAdjustScaleGamma) return scaled > 0 ? BPPower(scaled, 1 / adjust.adjustGamma) : 0;
    if (adjust.adjustMode & (ocAdjustVideoA | ocAdjustVideoB)) return VideoToLight(x);
    if (adjust.adjustMode & ocAdjustCineon) return OCCineonToLight(x * 1023, black, white, cineon);
    if (adjust.adjustMode & ocAdjustFilmLog) return FilmLogToLight(x);
    return x;
}

bool IsIdentity(const OCPixelAdjust& adjust)
{
    if (!(adjust.adjustMode & ocAdjustOn)) return true;
    constexpr uint32_t all =
        ocAdjustScale | ocAdjustScaleGamma | ocAdjustVideoA | ocAdjustVideoB | ocAdjustCineon | ocAdjustFilmLog;
    if (!(adjust.adjustMode & all)) return true;
    const bool whole = adjust.adjustBlack == 0 && adjust.adjustWhite == 255;
    if (adjust.adjustMode & ocAdjustScale) return whole;
    return (adjust.adjustMode & ocAdjustScaleGamma) && whole && adjust.adjustGamma == 1;
}

float Read(const float* table, float x)
{
    const float scaled = x * 16384.0f;
    if (!(scaled > 0)) return table[0];
    constexpr float last = kOCTransferEntries - 1;
    return table[static_cast<uint32_t>(scaled < last ? scaled : last)];
}

} // namespace

OCCineonScale OCCineonScaleOf(float refBlack, float refWhite)
{
    // Deliberate: the power of ten is taken before the multiplication, so that the usual references give a gain of 1.
    const float range = 1 - BPPower(10, refBlack - refWhite) * 0.002f / 0.6f;
    const float gain = 1 / BPPower(range, 1 / 1.7f);
    return {.gain = gain, .offset = gain - 1};
}

float OCCineonToLight(float code, float refBlack, float refWhite, OCCineonScale scale)
{
    // Deliberate: the black reference is compared as a signal with a code, so that only the lowest codes read 0.
    if (refBlack / 1023 > code) return 0;
    return BPPower(BPPower(10, (code - refWhite) * 0.002f / 0.6f), 0.588235f) * scale.gain - scale.offset;
}

void OCCineonToLightArray(float* codes, size_t count, float refBlack, float refWhite, OCCineonScale scale)
{
    size_t dark = 0; // codes rise, so those that read 0 come first
    while (dark < count && refBlack / 1023 > codes[dark]) codes[dark++] = 0;
    float* bright = codes + dark;
    count -= dark;
    for (size_t i = 0; i < count; ++i) bright[i] = BPPower(10, (bright[i] - refWhite) * 0.002f / 0.6f);
    BPPowerArray(bright, static_cast<double>(0.588235f), bright, count);
    for (size_t i = 0; i < count; ++i) bright[i] = bright[i] * scale.gain - scale.offset;
}

BPStatus OCPrepareImageTransfer(OCImageTransfer* transfer, const OCPixelAdjust& adjust, bool* isIdentity)
{
    *isIdentity = IsIdentity(adjust);
    if (*isIdentity) return bpNoErr;
    if (transfer->table && std::memcmp(&transfer->adjust, &adjust, sizeof adjust) == 0) return bpNoErr;
    if (!transfer->table) {
        transfer->table = static_cast<float*>(BPAllocate(sizeof(float) * kOCTransferEntries));
        if (!transfer->table) return bpMemFullErr;
    }
    transfer->adjust = adjust;
    const OCCineonScale cineon =
        OCCineonScaleOf(static_cast<float>(adjust.adjustBlack), static_cast<float>(adjust.adjustWhite));
    for (uint32_t i = 0; i < kOCTransferEntries; ++i)
        transfer->table[i] = AdjustValue(adjust, static_cast<float>(i) / 16384.0f, cineon);
    return bpNoErr;
}

BPStatus OCApplyPixelAdjust(OCImageTransfer* transfer, const OCPixelAdjust& adjust, const FBFrame* frame)
{
    if (frame->pixelFormat != pixFormatRGBYPlanar_Float) return bpParamErr;
    bool isIdentity = true;
    if (BPStatus err = OCPrepareImageTransfer(transfer, adjust, &isIdentity); err != bpNoErr) return err;
    if (isIdentity) return bpNoErr;
    for (uint32_t row = 0; row < frame->height; ++row) {
        auto* r = reinterpret_cast<float*>(frame->baseAddr + size_t{row} * frame->rowBytes);
        auto* g = r + frame->planeBytes / sizeof(float);
        auto* b = g + frame->planeBytes / sizeof(float);
        auto* y = b + frame->planeBytes / sizeof(float);
        for (uint32_t column = 0; column < frame->width; ++column) {
            r[column] = Read(transfer->table, r[column]);
            g[column] = Read(transfer->table, g[column]);
            b[column] = Read(transfer->table, b[column]);
            y[column] = OCLuma(r[column], g[column], b[column]);
        }
    }
    return bpNoErr;
}

void OCDisposeImageTransfer(OCImageTransfer* transfer)
{
    BPFree(transfer->table);
    *transfer = {};
}
