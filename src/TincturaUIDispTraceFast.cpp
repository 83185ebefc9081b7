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
constexpr int64_t kTile = 16;         // columns whose rows lie side by side
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

/// Runs `use(column of the chunk, word)` over the samples of some lines, while the line after the next comes into the
/// cache.
template <class Use>
void ForSamples(const WaveformTrace& t, const Chunk& chunk, int64_t firstLine, int64_t endLine, Use use)
{
    constexpr int64_t kAhead = 2, kCacheLine = 64;
    const int64_t firstByte = chunk.offset[0], lastByte = chunk.offset[chunk.count - 1];
    for (int64_t line = firstLine; line < endLine; line += t.lines.step) {
        const uint8_t* pixels = t.source + line * t.sourceRowBytes;
        if (const int64_t next = line + kAhead * t.lines.step; next < endLine) {
            const uint8_t* ahead = t.source + next * t.sourceRowBytes;
            for (int64_t byte = firstByte; byte <= lastByte; byte += kCacheLine) __builtin_prefetch(ahead + byte);
        }
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

/// The columns of a chunk, turned: each column's rows lie side by side, from the clip's top to its bottom. What goes
/// sample by sample works here, in the cache.
struct Tile {
    uint32_t* words;
    int64_t height;           ///< rows of the clip
    int64_t left, first, end; ///< target columns: of the chunk's first, and those inside the clip

    uint32_t* ColumnAt(int64_t x) const { return words + (x - left) * height; }
};

enum class Way { in, out };

/// Copies the target's part of a tile in or out, a few rows at a time.
void Move(const WaveformTrace& t, const Tile& tile, Way way)
{
    for (int64_t row = 0; row < tile.height; ++row) {
        uint8_t* pixel = t.target.pixels + (row + t.clip.top) * t.target.rowBytes + tile.first * 4;
        uint32_t* word = tile.ColumnAt(tile.first) + row;
        for (int64_t x = tile.first; x < tile.end; ++x, pixel += 4, word += tile.height) {
            if (way == Way::in)
                std::memcpy(word, pixel, sizeof *word);
            else
                std::memcpy(pixel, word, sizeof *word);
        }
    }
}

/// A pixel's word with light added.
uint32_t Lit(uint32_t word, const WaveformInk& ink, uint32_t weight)
{
    const auto channel = [&](int i, uint32_t shift) {
        const uint32_t sum = (word >> shift & 255) + (weight * ink.increment[i] >> 16);
        return std::min<uint32_t>(sum, ink.ceiling[i]) << shift;
    };
    return 0xFFu | channel(0, 8) | channel(1, 16) | channel(2, 24);
}

WaveformInk PictureInk(uint32_t red, uint32_t green, uint32_t blue)
{
    return {{static_cast<uint8_t>(red >> 1), static_cast<uint8_t>(green >> 1), static_cast<uint8_t>(blue >> 1)},
            {kPictureCeiling, kPictureCeiling, kPictureCeiling}};
}

/// The luma trace in the picture's colours.
void PlotPicture(const WaveformTrace& t, const Chunk& chunk, const Tile& tile, const Landing landings[256])
{
    const Bytes at = BytesOf(t);
    const int64_t top = t.clip.top;
    ForSamples(t, chunk, t.lines.first, t.lines.end, [&](int64_t c, uint32_t word) {
        const int64_t x = tile.left + c;
        if (x < tile.first || x >= tile.end) return;
        const uint32_t red = word >> at.red & 255, green = word >> at.green & 255, blue = word >> at.blue & 255;
        const Landing& landing = landings[t.luma[red] + t.luma[256 + green] + t.luma[512 + blue]];
        if (landing.row == kNowhere) return;
        const WaveformInk ink = PictureInk(red, green, blue);
        uint32_t* pixel = tile.ColumnAt(x) + (landing.row - top);
        if (landing.row < t.clip.bottom) *pixel = Lit(*pixel, ink, 0x10000 - landing.fraction);
        if (landing.fraction != 0 && landing.row > top) pixel[-1] = Lit(pixel[-1], ink, landing.fraction);
    });
}

/// One column of the Y/C display. Rows [cleanTop, cleanBottom] need no paint: each belongs to the trace or has the
/// envelope's colour already. So a line paints only what no line before it has, and what it has just plotted. Rows
/// count from the clip's top.
struct EnvelopeColumn {
    uint32_t* rows;
    int64_t cleanTop, cleanBottom; ///< nothing when top is above bottom
};

struct EnvelopeTrace {
    const WaveformTrace& t;
    Landing landing[256];

    void Paint(const EnvelopeColumn& column, int64_t top, int64_t bottom) const
    {
        for (int64_t row = top; row <= bottom; ++row)
            if ((column.rows[row] >> 8 & 255) < kEnvelopeBelow) column.rows[row] = t.envelopeWord;
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

    void Fill(EnvelopeColumn* column, int64_t top, int64_t bottom) const
    {
        const bool isEmpty = column->cleanTop > column->cleanBottom;
        if (isEmpty || bottom < column->cleanTop - 1 || top > column->cleanBottom + 1) {
            Paint(*column, top, bottom);
            column->cleanTop = top;
            column->cleanBottom = bottom;
            return;
        }
        Paint(*column, top, std::min(bottom, column->cleanTop - 1));
        Paint(*column, std::max(top, column->cleanBottom + 1), bottom);
        column->cleanTop = std::min(top, column->cleanTop);
        column->cleanBottom = std::max(bottom, column->cleanBottom);
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

    void Plot(EnvelopeColumn* column, uint32_t red, uint32_t green, uint32_t blue) const
    {
        const int64_t y = t.luma[red] + t.luma[256 + green] + t.luma[512 + blue];
        const int32_t magnitude = MagnitudeOf(red, green, blue);
        const int64_t level = y + t.codeOffset;
        const int64_t high = std::min(level + magnitude, t.maxCode), low = std::max<int64_t>(level - magnitude, 0);
        const int64_t last = t.clip.bottom - t.clip.top - 1;
        const int64_t top = std::max<int64_t>(t.bottomRow - t.clip.top - (high * t.pixelsPerCode >> 16), 0);
        const int64_t bottom = std::min<int64_t>(t.bottomRow - t.clip.top - (low * t.pixelsPerCode >> 16), last);
        const bool fills = magnitude != 0 && top <= bottom;

        const WaveformInk ink = t.pictureColor ? PictureInk(red, green, blue) : t.panelInk[0];
        const Landing& at = landing[y];
        const int64_t lower = at.row - t.clip.top;
        const auto light = [&](int64_t row, uint32_t weight) {
            if (row < 0 || row > last) return;
            uint32_t word = Lit(column->rows[row], ink, weight);
            if (fills && row >= top && row <= bottom) {
                // What this line's envelope would do to it; the other row's light does not reach here.
                if ((word >> 8 & 255) < kEnvelopeBelow) word = t.envelopeWord;
            } else {
                Soil(column, row);
            }
            column->rows[row] = word;
        };
        light(lower, 0x10000 - at.fraction);
        if (at.fraction != 0) light(lower - 1, at.fraction);
        if (fills) Fill(column, top, bottom);
    }
};

void PlotEnvelope(const EnvelopeTrace& e, const Chunk& chunk, const Tile& tile)
{
    const WaveformTrace& t = e.t;
    const Bytes at = BytesOf(t);
    EnvelopeColumn columns[kChunk];
    for (int64_t c = 0; c < chunk.count; ++c)
        columns[c] = {.rows = tile.words + c * tile.height, .cleanTop = 1, .cleanBottom = 0};
    ForSamples(t, chunk, t.lines.first, t.lines.end, [&](int64_t c, uint32_t word) {
        const int64_t x = tile.left + c;
        if (x < tile.first || x >= tile.end) return;
        e.Plot(&columns[c], word >> at.red & 255, word >> at.green & 255, word >> at.blue & 255);
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
    for (int64_t line = t.lines.first; line < t.lines.end; line += kMostLines * t.lines.step) {
        Count(t, chunk, line, std::min(t.lines.end, line + kMostLines * t.lines.step));
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

/// Sets a chunk on the columns from `first`.
void Place(const WaveformTrace& t, Chunk* chunk, int64_t first, int64_t width)
{
    chunk->first = first;
    chunk->count = std::min(width, t.columnCount - first);
    for (int64_t c = 0; c < chunk->count; ++c)
        chunk->offset[c] = static_cast<int32_t>(((first + c) * t.xStep >> 16) * 4);
}

/// The luma panel where samples go one by one. False without memory for the tile, with nothing drawn.
bool DrawBySamples(const WaveformTrace& t, Chunk* chunk)
{
    EnvelopeTrace envelope = {.t = t, .landing = {}};
    for (int64_t code = 0; code < 256; ++code) envelope.landing[code] = LandingOf(t, code + t.codeOffset);
    const int64_t height = ScopeHeightOf(t.clip);
    auto* words = static_cast<uint32_t*>(BPAllocate(static_cast<size_t>(kTile * height) * sizeof(uint32_t)));
    if (!words) return false;
    for (int64_t first = 0; first < t.columnCount; first += kTile) {
        Place(t, chunk, first, kTile);
        const int64_t left = t.panelColumn[0] + first;
        const Tile tile = {.words = words,
                           .height = height,
                           .left = left,
                           .first = std::max<int64_t>(left, t.clip.left),
                           .end = std::min<int64_t>(left + chunk->count, t.clip.right)};
        if (tile.first >= tile.end) continue;
        Move(t, tile, Way::in);
        if (t.envelope)
            PlotEnvelope(envelope, *chunk, tile);
        else
            PlotPicture(t, *chunk, tile, envelope.landing);
        Move(t, tile, Way::out);
    }
    BPFree(words);
    return true;
}

} // namespace

void DrawWaveformTrace(const WaveformTrace& trace)
{
    const WaveformTrace t = trace; // a copy of our own: no store to the target changes it
    const bool picture = t.pictureColor && (t.mode == waveformSingle || t.mode == waveformYCbCr);
    const bool bySamples = t.envelope || picture;
    Plane planes[kWaveformPanelLimit];
    const int32_t planeCount = PlanesOf(t, planes);
    auto* chunk = PanelsMeet(t, planes, planeCount) ? nullptr : static_cast<Chunk*>(BPAllocate(sizeof(Chunk)));
    if (!chunk || (bySamples && !DrawBySamples(t, chunk))) {
        BPFree(chunk);
        DrawWaveformTraceScalar(t);
        return;
    }
    if (!bySamples || t.mode != waveformSingle)
        for (int64_t first = 0; first < t.columnCount; first += kChunk) {
            Place(t, chunk, first, kChunk);
            CountAndLight(t, chunk, planes, planeCount);
        }
    BPFree(chunk);
}
