// The fast trace of the waveform monitors, the same bytes as the readable one.
//
// Clamped sums do not depend on their order, and a sample's rows depend on its code alone. So samples are counted: a
// chunk of columns at a time, codes by columns, small enough for the cache. Then each code lights its two rows once,
// count times the increment. Where a sample carries a colour of its own, or the chroma envelope makes the order matter,
// the samples go one by one with everything that repeats taken from tables.
#include "src/TincturaUIDispWaveform.h"

#include "src/platform/BPMemory.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

void WaveformLight(uint8_t* pixels, const uint16_t* counts, size_t count, const uint8_t increment[3],
                   const uint8_t ceiling[3]); // TincturaUIDispKernels.cpp

namespace {

constexpr int64_t kChunk = 64;        // columns counted together
constexpr int64_t kMostLines = 65535; // that a count can hold
constexpr uint8_t kPictureCeiling = 235;
constexpr uint8_t kEnvelopeBelow = 0x60;
constexpr int64_t kCbFactor = 0x8FDC, kCrFactor = 0xB699;
constexpr int64_t kChromaCenter = 127;

// Codes of a counted trace: channels and luma as they are, chroma moved up by 64 to begin at 9 or above.
constexpr int64_t kCodes = 384;
constexpr int64_t kChromaShift = 64;

/// Where a code lands.
struct Landing {
    int64_t row;       ///< of the target, or kNowhere
    uint32_t fraction; ///< weight of the row above
};
constexpr int64_t kNowhere = INT64_MIN / 2;

Landing LandingOf(const WaveformTrace& t, int64_t level)
{
    const int64_t fixed = level * t.pixelsPerCode;
    const int64_t row = t.bottomRow - (fixed >> 16);
    // The row above may still be inside.
    if (row < t.clip.top || row > t.clip.bottom) return {kNowhere, 0};
    return {row, static_cast<uint32_t>(fixed & 0xFFFF)};
}

enum class Kind { luma, red, green, blue, cb, cr };

/// One counted trace.
struct Plane {
    Kind kind;
    int64_t column; ///< of the target, of the panel's first
    WaveformInk ink;
};

int64_t LevelOf(const WaveformTrace& t, Kind kind, int64_t code)
{
    const bool isChroma = kind == Kind::cb || kind == Kind::cr;
    return isChroma ? code - kChromaShift : code + t.codeOffset;
}

/// A chunk's columns, their places in a source line, and the counts of up to four planes.
struct Chunk {
    int64_t first, count;   ///< columns of a panel
    int32_t offset[kChunk]; ///< bytes from the start of a line
    uint16_t counts[kWaveformPanelLimit][kCodes * kChunk];
};

struct Bytes {
    uint32_t red, green, blue; ///< places in the word
};

Bytes BytesOf(const WaveformTrace& t)
{
    return t.alphaFirst ? Bytes{8, 16, 24} : Bytes{16, 8, 0};
}

uint32_t WordAt(const uint8_t* address)
{
    uint32_t word;
    std::memcpy(&word, address, sizeof word);
    return word;
}

/// Runs `use(column of the chunk, word)` over the samples of some lines.
template <class Use>
void ForSamples(const WaveformTrace& t, const Chunk& chunk, int64_t firstLine, int64_t endLine, Use use)
{
    for (int64_t line = firstLine; line < endLine; line += t.lineStep) {
        const uint8_t* pixels = t.source + line * t.sourceRowBytes;
        for (int64_t c = 0; c < chunk.count; ++c) use(c, WordAt(pixels + chunk.offset[c]));
    }
}

/// Counts the samples of lines [firstLine, endLine).
void Count(const WaveformTrace& t, Chunk* chunk, int64_t firstLine, int64_t endLine)
{
    const Bytes at = BytesOf(t);
    const uint8_t* luma = t.luma;
    auto& counts = chunk->counts;
    const auto lumaOf = [=](uint32_t word) {
        return uint32_t{luma[word >> at.red & 255]} + luma[256 + (word >> at.green & 255)] +
               luma[512 + (word >> at.blue & 255)];
    };
    switch (t.mode) {
    case waveformSingle:
        ForSamples(t, *chunk, firstLine, endLine,
                   [&](int64_t c, uint32_t word) { ++counts[0][lumaOf(word) * kChunk + c]; });
        break;
    case waveformYCbCr:
        ForSamples(t, *chunk, firstLine, endLine, [&](int64_t c, uint32_t word) {
            const int64_t y = lumaOf(word);
            const int64_t cb = ((int64_t{word & 255} - y) * kCbFactor >> 16) + kChromaCenter + kChromaShift;
            const int64_t cr = ((int64_t{word >> 16 & 255} - y) * kCrFactor >> 16) + kChromaCenter + kChromaShift;
            ++counts[0][y * kChunk + c];
            ++counts[1][cb * kChunk + c];
            ++counts[2][cr * kChunk + c];
        });
        break;
    case waveformRGB:
    case waveformGBR:
    case waveformOverlay:
        ForSamples(t, *chunk, firstLine, endLine, [&](int64_t c, uint32_t word) {
            ++counts[0][(word >> at.red & 255) * kChunk + c];
            ++counts[1][(word >> at.green & 255) * kChunk + c];
            ++counts[2][(word >> at.blue & 255) * kChunk + c];
        });
        break;
    case waveformYRGB:
        ForSamples(t, *chunk, firstLine, endLine, [&](int64_t c, uint32_t word) {
            ++counts[0][lumaOf(word) * kChunk + c];
            ++counts[1][(word >> at.red & 255) * kChunk + c];
            ++counts[2][(word >> at.green & 255) * kChunk + c];
            ++counts[3][(word >> at.blue & 255) * kChunk + c];
        });
        break;
    default: break;
    }
}

/// Lights one row of the target for one code.
void LightRow(const WaveformTrace& t, const Chunk& chunk, const Plane& plane, const uint16_t* counts, int64_t row,
              uint32_t weight)
{
    if (row < t.clip.top || row >= t.clip.bottom) return;
    const int64_t left = plane.column + chunk.first;
    const int64_t first = std::max<int64_t>(left, t.clip.left);
    const int64_t end = std::min<int64_t>(left + chunk.count, t.clip.right);
    if (first >= end) return;
    uint8_t increment[3];
    for (int i = 0; i < 3; ++i) increment[i] = static_cast<uint8_t>(weight * plane.ink.increment[i] >> 16);
    WaveformLight(t.target.pixels + row * t.target.rowBytes + first * 4, counts + (first - left),
                  static_cast<size_t>(end - first), increment, plane.ink.ceiling);
}

bool HasAny(const uint16_t* counts)
{
    uint64_t any = 0;
    for (int64_t i = 0; i < kChunk; i += 4) {
        uint64_t four;
        std::memcpy(&four, counts + i, sizeof four);
        any |= four;
    }
    return any != 0;
}

/// Empties the counts of a plane into the target.
void Resolve(const WaveformTrace& t, Chunk* chunk, const Plane& plane, uint16_t* counts)
{
    for (int64_t code = 0; code < kCodes; ++code) {
        uint16_t* row = counts + code * kChunk;
        if (!HasAny(row)) continue;
        const Landing landing = LandingOf(t, LevelOf(t, plane.kind, code));
        if (landing.row != kNowhere) {
            LightRow(t, *chunk, plane, row, landing.row, 0x10000 - landing.fraction);
            if (landing.fraction != 0) LightRow(t, *chunk, plane, row, landing.row - 1, landing.fraction);
        }
        std::memset(row, 0, kChunk * sizeof *row);
    }
}

/// A sample of its own colour.
struct Dot {
    const WaveformTrace& t;

    void Add(uint8_t* pixel, uint64_t redBlue, uint32_t green, uint32_t weight) const
    {
        const uint64_t scaled = redBlue * weight; // red in the upper half, blue in the lower
        const auto sum = [](uint8_t have, uint64_t light) {
            return static_cast<uint8_t>(std::min<uint64_t>(have + light, kPictureCeiling));
        };
        pixel[0] = 0xFF;
        pixel[1] = sum(pixel[1], scaled >> 48);
        pixel[2] = sum(pixel[2], uint64_t{green} * weight >> 16);
        pixel[3] = sum(pixel[3], (scaled & 0xFFFFFFFF) >> 16);
    }
};

/// The luma trace in the picture's colours.
void PlotPicture(const WaveformTrace& t, const Chunk& chunk, const Landing landings[256])
{
    const Bytes at = BytesOf(t);
    const Dot dot = {t};
    const int64_t left = t.panelColumn[0] + chunk.first;
    ForSamples(t, chunk, t.firstLine, t.endLine, [&](int64_t c, uint32_t word) {
        const int64_t x = left + c;
        if (x < t.clip.left || x >= t.clip.right) return;
        const uint32_t red = word >> at.red & 255, green = word >> at.green & 255, blue = word >> at.blue & 255;
        const Landing& landing = landings[t.luma[red] + t.luma[256 + green] + t.luma[512 + blue]];
        if (landing.row == kNowhere) return;
        uint8_t* pixel = t.target.pixels + landing.row * t.target.rowBytes + x * 4;
        const uint64_t redBlue = uint64_t{red >> 1} << 32 | blue >> 1;
        if (landing.row < t.clip.bottom) dot.Add(pixel, redBlue, green >> 1, 0x10000 - landing.fraction);
        if (landing.fraction != 0 && landing.row > t.clip.top)
            dot.Add(pixel - t.target.rowBytes, redBlue, green >> 1, landing.fraction);
    });
}

/// One column of the Y/C display. Rows [cleanTop, cleanBottom] need no paint: each belongs to the trace or has the
/// envelope's colour already. So a line paints only what no line before it has, and what it has just plotted.
struct EnvelopeColumn {
    int64_t cleanTop, cleanBottom; ///< nothing when top is above bottom
};

struct EnvelopeTrace {
    const WaveformTrace& t;
    Landing landing[256];

    uint8_t* PixelAt(int64_t x, int64_t row) const { return t.target.pixels + row * t.target.rowBytes + x * 4; }

    void Paint(int64_t x, int64_t top, int64_t bottom) const
    {
        if (top > bottom) return;
        uint8_t* pixel = PixelAt(x, top);
        for (int64_t row = top; row <= bottom; ++row, pixel += t.target.rowBytes)
            if (pixel[1] < kEnvelopeBelow) std::memcpy(pixel, &t.envelopeWord, sizeof t.envelopeWord);
    }

    /// A row was plotted and stays as it is: it is clean no more.
    static void Soil(EnvelopeColumn* column, int64_t row)
    {
        if (row < column->cleanTop || row > column->cleanBottom) return;
        if (row - column->cleanTop > column->cleanBottom - row)
            column->cleanBottom = row - 1;
        else
            column->cleanTop = row + 1;
    }

    void Fill(EnvelopeColumn* column, int64_t x, int64_t top, int64_t bottom) const
    {
        const bool isEmpty = column->cleanTop > column->cleanBottom;
        if (isEmpty || bottom < column->cleanTop - 1 || top > column->cleanBottom + 1) {
            Paint(x, top, bottom);
            *column = {top, bottom};
            return;
        }
        Paint(x, top, std::min(bottom, column->cleanTop - 1));
        Paint(x, std::max(top, column->cleanBottom + 1), bottom);
        *column = {std::min(top, column->cleanTop), std::max(bottom, column->cleanBottom)};
    }

    int32_t MagnitudeOf(uint32_t red, uint32_t green, uint32_t blue) const
    {
        const int32_t* c = t.chroma;
        const int32_t by = c[512 + blue] - c[256 + green] - c[red];
        const int32_t ry = c[768 + red] - c[1280 + blue] - c[1024 + green];
        const int32_t a = std::min((std::abs(by) + 0x8000) >> 16, kChromaMagnitudeSide - 1);
        const int32_t b = std::min((std::abs(ry) + 0x8000) >> 16, kChromaMagnitudeSide - 1);
        return t.magnitude[a * kChromaMagnitudeSide + b];
    }

    static void AddLight(uint8_t* pixel, const WaveformInk& ink, uint32_t weight)
    {
        pixel[0] = 0xFF;
        for (int i = 0; i < 3; ++i)
            pixel[i + 1] = static_cast<uint8_t>(
                std::min<uint32_t>(pixel[i + 1] + (weight * ink.increment[i] >> 16), ink.ceiling[i]));
    }

    void Plot(EnvelopeColumn* column, int64_t x, uint32_t red, uint32_t green, uint32_t blue) const
    {
        const int64_t y = t.luma[red] + t.luma[256 + green] + t.luma[512 + blue];
        const int32_t magnitude = MagnitudeOf(red, green, blue);
        const int64_t level = y + t.codeOffset;
        const int64_t high = std::min(level + magnitude, t.maxCode), low = std::max<int64_t>(level - magnitude, 0);
        const int64_t top = std::max<int64_t>(t.bottomRow - (high * t.pixelsPerCode >> 16), t.clip.top);
        const int64_t bottom = std::min<int64_t>(t.bottomRow - (low * t.pixelsPerCode >> 16), t.clip.bottom - 1);
        const bool fills = magnitude != 0 && top <= bottom;

        WaveformInk ink = t.panelInk[0];
        if (t.pictureColor)
            ink = {{static_cast<uint8_t>(red >> 1), static_cast<uint8_t>(green >> 1), static_cast<uint8_t>(blue >> 1)},
                   {kPictureCeiling, kPictureCeiling, kPictureCeiling}};
        const Landing& at = landing[y];
        const int64_t rows[2] = {at.row, at.fraction != 0 ? at.row - 1 : kNowhere};
        const uint32_t weights[2] = {0x10000 - at.fraction, at.fraction};
        for (int i = 0; i < 2; ++i) {
            if (rows[i] < t.clip.top || rows[i] >= t.clip.bottom) continue;
            uint8_t* pixel = PixelAt(x, rows[i]);
            AddLight(pixel, ink, weights[i]);
            if (fills && rows[i] >= top && rows[i] <= bottom) {
                // What this line's envelope would do to it; the other row's light does not reach here.
                if (pixel[1] < kEnvelopeBelow) std::memcpy(pixel, &t.envelopeWord, sizeof t.envelopeWord);
            } else {
                Soil(column, rows[i]);
            }
        }
        if (fills) Fill(column, x, top, bottom);
    }
};

void PlotEnvelope(const EnvelopeTrace& e, const Chunk& chunk)
{
    const WaveformTrace& t = e.t;
    const Bytes at = BytesOf(t);
    const int64_t left = t.panelColumn[0] + chunk.first;
    EnvelopeColumn columns[kChunk];
    for (EnvelopeColumn& column : columns) column = {1, 0};
    ForSamples(t, chunk, t.firstLine, t.endLine, [&](int64_t c, uint32_t word) {
        const int64_t x = left + c;
        if (x < t.clip.left || x >= t.clip.right) return;
        e.Plot(&columns[c], x, word >> at.red & 255, word >> at.green & 255, word >> at.blue & 255);
    });
}

/// The counted traces of a mode.
int32_t PlanesOf(const WaveformTrace& t, Plane planes[kWaveformPanelLimit])
{
    static constexpr Kind kSingle[] = {Kind::luma}, kYCbCr[] = {Kind::luma, Kind::cb, Kind::cr},
                          kRGB[] = {Kind::red, Kind::green, Kind::blue},
                          kYRGB[] = {Kind::luma, Kind::red, Kind::green, Kind::blue};
    const Kind* kinds = kRGB;
    int32_t count = 3;
    if (t.mode == waveformSingle) {
        kinds = kSingle;
        count = 1;
    } else if (t.mode == waveformYCbCr) {
        kinds = kYCbCr;
    } else if (t.mode == waveformYRGB) {
        kinds = kYRGB;
        count = 4;
    }
    for (int32_t i = 0; i < count; ++i) planes[i] = {kinds[i], t.panelColumn[i], t.panelInk[i]};
    return count;
}

void CountAndLight(const WaveformTrace& t, Chunk* chunk, const Plane* planes, int32_t planeCount)
{
    const bool lumaApart = t.pictureColor && (t.mode == waveformSingle || t.mode == waveformYCbCr);
    for (int64_t line = t.firstLine; line < t.endLine; line += kMostLines * t.lineStep) {
        Count(t, chunk, line, std::min(t.endLine, line + kMostLines * t.lineStep));
        if (lumaApart) std::memset(chunk->counts[0], 0, sizeof chunk->counts[0]);
        for (int32_t i = lumaApart ? 1 : 0; i < planeCount; ++i) Resolve(t, chunk, planes[i], chunk->counts[i]);
    }
}

/// A source much narrower than its panels can run into the next panel. Where panels with different ceilings meet, the
/// order of the hits matters.
bool PanelsMeet(const WaveformTrace& t, const Plane* planes, int32_t count)
{
    if (t.mode == waveformOverlay) return false; // one ceiling for all
    for (int32_t i = 0; i < count; ++i)
        for (int32_t k = 0; k < i; ++k)
            if (std::abs(planes[i].column - planes[k].column) < t.columnCount) return true;
    return false;
}

} // namespace

void DrawWaveformTrace(const WaveformTrace& trace)
{
    const WaveformTrace t = trace; // a copy of our own: no store to the target changes it
    const bool picture = t.pictureColor && (t.mode == waveformSingle || t.mode == waveformYCbCr);
    EnvelopeTrace envelope = {.t = t, .landing = {}};
    for (int64_t code = 0; code < 256; ++code) envelope.landing[code] = LandingOf(t, code + t.codeOffset);
    Plane planes[kWaveformPanelLimit];
    const int32_t planeCount = PlanesOf(t, planes);
    auto* chunk = PanelsMeet(t, planes, planeCount) ? nullptr : static_cast<Chunk*>(BPAllocate(sizeof(Chunk)));
    if (!chunk) {
        DrawWaveformTraceScalar(t);
        return;
    }
    for (chunk->first = 0; chunk->first < t.columnCount; chunk->first += kChunk) {
        chunk->count = std::min(kChunk, t.columnCount - chunk->first);
        for (int64_t c = 0; c < chunk->count; ++c)
            chunk->offset[c] = static_cast<int32_t>(((chunk->first + c) * t.xStep >> 16) * 4);
        if (t.envelope) {
            PlotEnvelope(envelope, *chunk);
            continue;
        }
        if (picture) PlotPicture(t, *chunk, envelope.landing);
        if (!picture || t.mode != waveformSingle) CountAndLight(t, chunk, planes, planeCount);
    }
    BPFree(chunk);
}
