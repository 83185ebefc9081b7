// The fast trace of the waveform monitors, the same bytes as the readable one.
//
// Clamped sums do not depend on their order, and a sample's rows depend on its code alone. So samples are counted: a
// chunk of columns at a time, codes by columns, small enough for the cache. Then each code lights its two rows once,
// count times the increment. Where a sample carries a colour of its own, or the chroma envelope makes the order matter,
// the samples go one by one (TincturaUIDispSamples.cpp). Columns know nothing of each other, so workers share them.
#include "src/TincturaUIDispSamples.h"

#include "src/platform/BPMemory.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

void WaveformLight(uint8_t* pixels, const uint16_t* counts, size_t count, const uint8_t increment[3],
                   const uint8_t ceiling[3]); // TincturaUIDispKernels.cpp

namespace {

constexpr int64_t kChunk = 64;        // columns counted together
constexpr int64_t kMostLines = 65535; // that a count can hold
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

/// Runs `use(words, luma codes)` over the chunk's samples of some lines, while the line after the next comes into the
/// cache.
template <bool kLuma, class Use>
void ForLines(const WaveformTrace& t, const Chunk& chunk, const WaveformLumaFactors& factors, int64_t firstLine,
              int64_t endLine, Use use)
{
    constexpr int64_t kAhead = 2, kCacheLine = 64;
    const int64_t firstByte = chunk.offset[0], lastByte = chunk.offset[chunk.count - 1];
    uint32_t words[kChunk] = {}, turned[kChunk] = {};
    uint16_t luma[kChunk] = {};
    for (int64_t line = firstLine; line < endLine; line += t.lines.step) {
        const uint8_t* pixels = t.source + line * t.sourceRowBytes;
        if (const int64_t next = line + kAhead * t.lines.step; next < endLine) {
            const uint8_t* ahead = t.source + next * t.sourceRowBytes;
            for (int64_t byte = firstByte; byte <= lastByte; byte += kCacheLine) __builtin_prefetch(ahead + byte);
        }
        for (int64_t c = 0; c < chunk.count; ++c) words[c] = WordAt(pixels + chunk.offset[c]);
        if (kLuma && !t.alphaFirst)
            for (int64_t c = 0; c < chunk.count; ++c) turned[c] = __builtin_bswap32(words[c]);
        if (kLuma)
            WaveformLumaOfPixels(reinterpret_cast<const uint8_t*>(t.alphaFirst ? words : turned), kChunk, factors,
                                 luma);
        use(words, luma);
    }
}

/// Counts the samples of lines [firstLine, endLine).
void Count(const WaveformTrace& t, Chunk* chunk, const WaveformLumaFactors& factors, int64_t firstLine, int64_t endLine)
{
    const Bytes at = BytesOf(t);
    const int64_t columns = chunk->count;
    auto& counts = chunk->counts;
    const auto countChannels = [&](int first, const uint32_t* words) {
        for (int64_t c = 0; c < columns; ++c) {
            ++counts[first][(words[c] >> at.red & 255) * kChunk + c];
            ++counts[first + 1][(words[c] >> at.green & 255) * kChunk + c];
            ++counts[first + 2][(words[c] >> at.blue & 255) * kChunk + c];
        }
    };
    const auto countLuma = [&](const uint16_t* luma) {
        for (int64_t c = 0; c < columns; ++c) ++counts[0][luma[c] * kChunk + c];
    };
    switch (t.mode) {
    case waveformSingle:
        ForLines<true>(t, *chunk, factors, firstLine, endLine,
                       [&](const uint32_t*, const uint16_t* luma) { countLuma(luma); });
        break;
    case waveformYCbCr:
        ForLines<true>(t, *chunk, factors, firstLine, endLine, [&](const uint32_t* words, const uint16_t* luma) {
            countLuma(luma);
            for (int64_t c = 0; c < columns; ++c) {
                const int64_t y = luma[c], cb = words[c] & 255, cr = words[c] >> 16 & 255;
                ++counts[1][(((cb - y) * kCbFactor >> 16) + kChromaCenter + kChromaShift) * kChunk + c];
                ++counts[2][(((cr - y) * kCrFactor >> 16) + kChromaCenter + kChromaShift) * kChunk + c];
            }
        });
        break;
    case waveformRGB:
    case waveformGBR:
    case waveformOverlay:
        ForLines<false>(t, *chunk, factors, firstLine, endLine,
                        [&](const uint32_t* words, const uint16_t*) { countChannels(0, words); });
        break;
    case waveformYRGB:
        ForLines<true>(t, *chunk, factors, firstLine, endLine, [&](const uint32_t* words, const uint16_t* luma) {
            countLuma(luma);
            countChannels(1, words);
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

/// What a draw needs; each worker has a chunk and a tile of its own.
struct Work {
    const WaveformTrace& t;
    Plane planes[kWaveformPanelLimit];
    int32_t planeCount;
    bool bySamples; ///< the luma panel
    WaveformLumaFactors factors;
    WaveformSamples* samples;
    Chunk* chunks;
    uint8_t* tiles;
    size_t tileBytes;
    uint32_t taskCount;
};

void CountAndLight(const Work& work, Chunk* chunk)
{
    const WaveformTrace& t = work.t;
    for (int64_t line = t.lines.first; line < t.lines.end; line += kMostLines * t.lines.step) {
        Count(t, chunk, work.factors, line, std::min(t.lines.end, line + kMostLines * t.lines.step));
        if (work.bySamples) std::memset(chunk->counts[0], 0, sizeof chunk->counts[0]);
        for (int32_t i = work.bySamples ? 1 : 0; i < work.planeCount; ++i)
            Resolve(t, chunk, work.planes[i], chunk->counts[i]);
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

/// The columns of one task: whole chunks, the last task the rest.
void RunTask(void* context, uint32_t index)
{
    const Work& work = *static_cast<const Work*>(context);
    const WaveformTrace& t = work.t;
    const int64_t chunks = (t.columnCount + kChunk - 1) / kChunk;
    const int64_t from = chunks * index / work.taskCount * kChunk;
    const int64_t end = std::min(chunks * (index + 1) / work.taskCount * kChunk, t.columnCount);
    if (work.bySamples) WaveformPlotSamples(t, *work.samples, from, end, work.tiles + work.tileBytes * index);
    if (work.bySamples && t.mode == waveformSingle) return;
    Chunk* chunk = work.chunks + index;
    for (int64_t first = from; first < end; first += kChunk) {
        Place(t, chunk, first, kChunk);
        CountAndLight(work, chunk);
    }
}

/// Memory for a draw, from one request. False without it, or where the trace is not for these kernels.
bool Prepare(Work* work, uint8_t** memory)
{
    const WaveformTrace& t = work->t;
    work->planeCount = PlanesOf(t, work->planes);
    const bool picture = t.pictureColor && (t.mode == waveformSingle || t.mode == waveformYCbCr);
    work->bySamples = t.envelope || picture;
    if (PanelsMeet(t, work->planes, work->planeCount) || !WaveformLumaFactorsOf(t.luma, &work->factors)) return false;
    const size_t chunkBytes = (sizeof(Chunk) * work->taskCount + 63) / 64 * 64;
    work->tileBytes = work->bySamples ? WaveformTileBytes(t) : 0;
    const size_t samplesBytes = work->bySamples ? WaveformSamplesBytes() : 0;
    *memory = static_cast<uint8_t*>(BPAllocate(chunkBytes + samplesBytes + work->tileBytes * work->taskCount));
    if (!*memory) return false;
    work->chunks = reinterpret_cast<Chunk*>(*memory);
    work->samples = reinterpret_cast<WaveformSamples*>(*memory + chunkBytes);
    work->tiles = *memory + chunkBytes + samplesBytes;
    return !work->bySamples || WaveformSamplesOf(t, work->samples);
}

} // namespace

void DrawWaveformTrace(const WaveformTrace& trace, uint32_t taskCount, MPTask* tasks)
{
    const WaveformTrace t = trace; // a copy of our own: no store to the target changes it
    Work work = {.t = t,
                 .planes = {},
                 .planeCount = 0,
                 .bySamples = false,
                 .factors = {},
                 .samples = nullptr,
                 .chunks = nullptr,
                 .tiles = nullptr,
                 .tileBytes = 0,
                 .taskCount = tasks ? std::max(taskCount, 1u) : 1};
    uint8_t* memory = nullptr;
    if (Prepare(&work, &memory))
        MPRunEach(RunTask, &work, work.taskCount, tasks);
    else
        DrawWaveformTraceScalar(t);
    BPFree(memory);
}
