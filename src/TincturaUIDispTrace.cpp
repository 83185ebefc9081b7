// The readable trace of the waveform monitors: every sample adds light to the pixel it lands on and to the one above.
#include "src/TincturaUIDispWaveform.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {

constexpr uint8_t kPictureCeiling = 235;
constexpr uint8_t kEnvelopeBelow = 0x60; // a pixel with this much red belongs to the trace

// Of the second and third panel of the YCbCr parade.
constexpr int64_t kCbFactor = 0x8FDC, kCrFactor = 0xB699;
constexpr int64_t kChromaCenter = 127;

struct Sample {
    uint32_t word; ///< as it lies in memory, little-endian
    uint8_t red, green, blue;
    int32_t y;
};

Sample SampleAt(const WaveformTrace& t, int64_t line, int64_t column)
{
    const uint8_t* pixel = t.source + line * t.sourceRowBytes + (column * t.xStep >> 16) * 4;
    Sample s;
    std::memcpy(&s.word, pixel, sizeof s.word);
    s.red = pixel[t.alphaFirst ? 1 : 2];
    s.green = pixel[t.alphaFirst ? 2 : 1];
    s.blue = pixel[t.alphaFirst ? 3 : 0];
    s.y = t.luma[s.red] + t.luma[256 + s.green] + t.luma[512 + s.blue];
    return s;
}

bool IsInside(const WaveformTrace& t, int64_t x, int64_t row)
{
    return row >= t.clip.top && row < t.clip.bottom && x >= t.clip.left && x < t.clip.right;
}

uint8_t* PixelAt(const WaveformTrace& t, int64_t x, int64_t row)
{
    return t.target.pixels + row * t.target.rowBytes + x * 4;
}

/// `weight` is 16.16, 1 at most.
void AddLight(const WaveformTrace& t, int64_t x, int64_t row, const WaveformInk& ink, uint32_t weight)
{
    if (!IsInside(t, x, row)) return;
    uint8_t* pixel = PixelAt(t, x, row);
    pixel[0] = 0xFF;
    for (int channel = 0; channel < 3; ++channel) {
        const uint32_t light = pixel[channel + 1] + (weight * ink.increment[channel] >> 16);
        pixel[channel + 1] = static_cast<uint8_t>(std::min<uint32_t>(light, ink.ceiling[channel]));
    }
}

void Plot(const WaveformTrace& t, int64_t x, int64_t level, const WaveformInk& ink)
{
    const int64_t fixed = level * t.pixelsPerCode;
    const int64_t row = t.bottomRow - (fixed >> 16);
    const auto fraction = static_cast<uint32_t>(fixed & 0xFFFF);
    AddLight(t, x, row, ink, 0x10000 - fraction);
    if (fraction != 0) AddLight(t, x, row - 1, ink, fraction); // a hit without a fraction leaves the row above alone
}

void PlotLuma(const WaveformTrace& t, int64_t x, const Sample& s)
{
    WaveformInk ink = t.panelInk[0];
    if (t.pictureColor)
        ink = {
            {static_cast<uint8_t>(s.red >> 1), static_cast<uint8_t>(s.green >> 1), static_cast<uint8_t>(s.blue >> 1)},
            {kPictureCeiling, kPictureCeiling, kPictureCeiling}};
    Plot(t, x, s.y + t.codeOffset, ink);
}

/// The column between luma plus and minus the chroma, behind the trace.
void FillEnvelope(const WaveformTrace& t, int64_t x, const Sample& s)
{
    const int32_t* c = t.chroma;
    const int32_t by = c[512 + s.blue] - c[256 + s.green] - c[s.red];
    const int32_t ry = c[768 + s.red] - c[1280 + s.blue] - c[1024 + s.green];
    const int32_t a = std::min((std::abs(by) + 0x8000) >> 16, kChromaMagnitudeSide - 1);
    const int32_t b = std::min((std::abs(ry) + 0x8000) >> 16, kChromaMagnitudeSide - 1);
    const int32_t magnitude = t.magnitude[a * kChromaMagnitudeSide + b];
    if (magnitude == 0) return;
    const int64_t level = s.y + t.codeOffset;
    const int64_t high = std::min(level + magnitude, t.maxCode), low = std::max<int64_t>(level - magnitude, 0);
    const int64_t top = std::max<int64_t>(t.bottomRow - (high * t.pixelsPerCode >> 16), t.clip.top);
    const int64_t bottom = std::min<int64_t>(t.bottomRow - (low * t.pixelsPerCode >> 16), t.clip.bottom - 1);
    for (int64_t row = top; row <= bottom; ++row) {
        if (!IsInside(t, x, row)) continue;
        uint8_t* pixel = PixelAt(t, x, row);
        if (pixel[1] < kEnvelopeBelow) std::memcpy(pixel, &t.envelopeWord, sizeof t.envelopeWord);
    }
}

void PlotSample(const WaveformTrace& t, int64_t column, const Sample& s)
{
    const auto x = [&](int panel) { return t.panelColumn[panel] + column; };
    switch (t.mode) {
    case waveformSingle:
        PlotLuma(t, x(0), s);
        if (t.envelope) FillEnvelope(t, x(0), s);
        break;
    case waveformYCbCr: {
        // Deliberate: fixed places in the pixel's word, whatever the order of its bytes; in the order in use they hold
        // alpha and green.
        const int64_t cb = s.word & 255, cr = s.word >> 16 & 255;
        PlotLuma(t, x(0), s);
        Plot(t, x(1), ((cb - s.y) * kCbFactor >> 16) + kChromaCenter, t.panelInk[1]);
        Plot(t, x(2), ((cr - s.y) * kCrFactor >> 16) + kChromaCenter, t.panelInk[2]);
        break;
    }
    case waveformRGB:
    case waveformGBR:
    case waveformOverlay:
        Plot(t, x(0), s.red + t.codeOffset, t.panelInk[0]);
        Plot(t, x(1), s.green + t.codeOffset, t.panelInk[1]);
        Plot(t, x(2), s.blue + t.codeOffset, t.panelInk[2]);
        break;
    case waveformYRGB:
        Plot(t, x(0), s.y + t.codeOffset, t.panelInk[0]);
        Plot(t, x(1), s.red + t.codeOffset, t.panelInk[1]);
        Plot(t, x(2), s.green + t.codeOffset, t.panelInk[2]);
        Plot(t, x(3), s.blue + t.codeOffset, t.panelInk[3]);
        break;
    default: break;
    }
}

} // namespace

void DrawWaveformTraceScalar(const WaveformTrace& trace)
{
    for (int64_t line = trace.lines.first; line < trace.lines.end; line += trace.lines.step)
        for (int64_t column = 0; column < trace.columnCount; ++column)
            PlotSample(trace, column, SampleAt(trace, line, column));
}
