// The vectorscope: its display and its trace. Brightness is a ladder of six greens held in the pixels themselves; each
// hit lifts a pixel by one rung.
#include "src/TincturaUIDispVectorscope.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr double kMarginOfWidth = 0.016;
constexpr int32_t kDefaultWidth = 720, kDefaultHeight = 486;
constexpr int32_t kManyLines = 576;

constexpr ScopeColor kRungs[6] = {{0x6D6D, 0xFFFF, 0xB9B9}, {0, 0xFFFF, 0x8484}, {0, 0xCCCC, 0x6A6A},
                                  {0, 0x9898, 0x4E4E},      {0, 0x6666, 0x3535}, {0, 0x3232, 0x1919}};
// Deliberate: the blue bytes before muting; a muted ladder is climbed in other steps.
constexpr uint8_t kThresholds[5] = {0x84, 0x6A, 0x4E, 0x35, 0x19};

/// Spreads equal chroma over neighbouring pixels. Pairs: row, column.
constexpr int64_t kJitter[14] = {0x2D73, 0x840C, 0x15D2, 0xCD96, 0x48AF, 0x133A, 0xD89D,
                                 0x386E, 0xACE6, 0xBAA9, 0x2D44, 0x87A8, 0x7996, 0xD0CA};
constexpr int64_t kJitterPairs = 7;

uint32_t WordAt(const uint8_t* address)
{
    uint32_t word;
    std::memcpy(&word, address, sizeof word);
    return word;
}

int64_t SamplesOfLine(const VectorscopeTrace& t)
{
    return (t.sourceWidth + t.columnStep - 1) / t.columnStep;
}

} // namespace

uint32_t VectorscopeRung(const VectorscopeTrace& trace, uint8_t blue)
{
    for (int rung = 0; rung < 5; ++rung)
        if (blue >= kThresholds[rung]) return trace.rung[rung];
    return trace.rung[5];
}

bool VectorscopeTraceOf(const VectorscopeParams& params, const ScopeRect& clip, VectorscopeTrace* trace)
{
    VectorscopeScale scale;
    if (!(params.flags & vectorscopeTrace) || !params.sourcePixels) return false;
    if (params.sourceWidth < 1 || params.sourceHeight < 1 || !VectorscopeScaleOf(params, &scale)) return false;
    const ScopeRect& b = *params.bounds;
    VectorscopeTrace t = {};
    t.target = *params.target;
    t.clip = ScopeIntersection(ScopeIntersection(clip, b), ScopeBoundsOf(t.target));
    t.left = b.left;
    t.top = b.top;
    t.width = scale.width;
    t.height = scale.height;
    t.source = params.sourcePixels;
    t.sourceRowBytes = params.sourceRowBytes;
    t.sourceWidth = params.sourceWidth;
    t.alphaFirst = params.flags & vectorscopeAlphaFirst;
    if (!ScopeLinesOf(params.lineCount, params.singleLine, params.sourceHeight, &t.lines)) return false;
    t.columnStep = std::max<int64_t>(1, (int64_t{params.sourceWidth} + scale.width / 2) / scale.width);
    t.zoom = std::clamp(params.zoom, 1, 10);
    t.gainX = scale.gainX;
    t.gainY = scale.gainY;
    t.gamma = GetVectorscopeGamma();
    t.chroma = GetChromaTable(params.matrix);
    const auto saturation = static_cast<uint32_t>(std::max(params.uiSaturation, 0));
    for (int i = 0; i < 6; ++i) t.rung[i] = ScopeWordOf(DesaturateColor(kRungs[i], saturation), 0);
    *trace = t;
    return t.clip.right > t.clip.left;
}

void DrawVectorscopeTraceScalar(const VectorscopeTrace& t)
{
    int64_t jitter = 0;
    for (int64_t line = t.lines.first; line < t.lines.end; line += t.lines.step) {
        for (int64_t column = 0; column < t.sourceWidth; column += t.columnStep) {
            const uint8_t* pixel = t.source + line * t.sourceRowBytes + column * 4;
            const uint8_t red = t.gamma[pixel[t.alphaFirst ? 1 : 2]], green = t.gamma[pixel[t.alphaFirst ? 2 : 1]],
                          blue = t.gamma[pixel[t.alphaFirst ? 3 : 0]];
            const int32_t* c = t.chroma;
            const int64_t by = (int64_t{c[512 + blue]} - c[256 + green] - c[red]) * t.zoom;
            const int64_t ry = (int64_t{c[768 + red]} - c[1280 + blue] - c[1024 + green]) * -t.zoom;
            const int64_t row =
                ((((ry * t.gainY + 0x8000) >> 16) + kJitter[jitter] + 0x8000) >> 16) + t.height / 2 + t.top;
            const int64_t x =
                ((((by * t.gainX + 0x8000) >> 16) + kJitter[jitter + 1] + 0x8000) >> 16) + t.width / 2 + t.left;
            jitter += 2;
            if (jitter > 12) jitter = 0;
            if (row < t.clip.top || row >= t.clip.bottom || x < t.clip.left || x >= t.clip.right) continue;
            uint8_t* hit = t.target.pixels + row * t.target.rowBytes + x * 4;
            const uint32_t word = VectorscopeRung(t, hit[3]);
            std::memcpy(hit, &word, sizeof word);
        }
    }
}

namespace {

/// Row and column side by side: one load, one sum.
using Pair = int64_t __attribute__((vector_size(16)));

/// Gamma, matrix, zoom and gain of each channel in one lookup; 32.32 pixels.
struct Contributions {
    Pair channel[3][256];
};

void Fill(const VectorscopeTrace& t, Contributions* out)
{
    const int64_t down = -t.zoom * t.gainY, across = t.zoom * t.gainX;
    for (int i = 0; i < 256; ++i) {
        const size_t g = t.gamma[i];
        const int32_t* c = t.chroma;
        out->channel[0][i] = Pair{c[768 + g] * down, -c[g] * across};
        out->channel[1][i] = Pair{-c[1024 + g] * down, -c[256 + g] * across};
        out->channel[2][i] = Pair{-c[1280 + g] * down, c[512 + g] * across};
    }
}

/// Two roundings of 16 bits with the jitter between them are one floor of 32 bits over the sum of all that they add.
int64_t Bias(int64_t jitter, int64_t origin)
{
    return 0x8000 + ((jitter + 0x8000) << 16) + origin * (int64_t{1} << 32);
}

} // namespace

void DrawVectorscopeTrace(const VectorscopeTrace& trace)
{
    const VectorscopeTrace t = trace;
    Contributions from;
    Fill(t, &from);
    uint32_t next[256]; // by the blue byte of the pixel that is hit
    for (int blue = 0; blue < 256; ++blue) next[blue] = VectorscopeRung(t, static_cast<uint8_t>(blue));
    Pair bias[kJitterPairs]; // relative to the clip's corner
    for (int64_t i = 0; i < kJitterPairs; ++i)
        bias[i] = Pair{Bias(kJitter[2 * i], t.height / 2 + t.top - t.clip.top),
                       Bias(kJitter[2 * i + 1], t.width / 2 + t.left - t.clip.left)};
    const uint32_t red = t.alphaFirst ? 8 : 16, green = t.alphaFirst ? 16 : 8, blue = t.alphaFirst ? 24 : 0;
    const auto rows = static_cast<uint64_t>(ScopeHeightOf(t.clip)),
               columns = static_cast<uint64_t>(ScopeWidthOf(t.clip));
    uint8_t* const corner = t.target.pixels + int64_t{t.clip.top} * t.target.rowBytes + int64_t{t.clip.left} * 4;
    const int64_t samples = SamplesOfLine(t), step = t.columnStep * 4;
    int64_t pair = 0;
    for (int64_t line = t.lines.first; line < t.lines.end; line += t.lines.step) {
        const uint8_t* pixel = t.source + line * t.sourceRowBytes;
        for (int64_t i = 0; i < samples; ++i, pixel += step) {
            const uint32_t word = WordAt(pixel);
            const uint32_t r = word >> red & 255, g = word >> green & 255, b = word >> blue & 255;
            const Pair at = from.channel[0][r] + from.channel[1][g] + from.channel[2][b] + bias[pair];
            const auto row = static_cast<uint64_t>(at[0] >> 32), x = static_cast<uint64_t>(at[1] >> 32);
            pair = pair + 1 == kJitterPairs ? 0 : pair + 1;
            if (row >= rows || x >= columns) continue; // below zero counts as far outside
            uint8_t* hit = corner + row * t.target.rowBytes + x * 4;
            std::memcpy(hit, &next[hit[3]], sizeof next[0]);
        }
    }
}

void DrawVectorscope(const VectorscopeParams& params, const ScopeContext& context)
{
    VectorscopeScale scale;
    if (!VectorscopeScaleOf(params, &scale)) return;
    const ScopeRect& b = *params.bounds;
    // The graticule is black where nothing is drawn, so drawing it in place is drawing it aside and copying it.
    ScopePort port = ScopePortOn(params.target, context.letters);
    port.witness = context.witness;
    port.clip = ScopeIntersection(port.clip, b);
    if (context.clip) port.clip = ScopeIntersection(port.clip, *context.clip);
    DrawVectorscopeGraticule(&port, params, scale, b.left, b.top);
    VectorscopeTrace trace;
    if (!VectorscopeTraceOf(params, port.clip, &trace)) return;
    if (context.readable)
        DrawVectorscopeTraceScalar(trace);
    else
        DrawVectorscopeTrace(trace);
}

void DrawVectorscopeDisplay(ScopeSurface* target, const ScopeRect* rect, const ScopeSurface* source,
                            const ScopeContext& context)
{
    const ScopeSettings& s = context.settings;
    const ScopeRect whole = rect ? *rect : ScopeBoundsOf(*target);
    const ScopeRect inner = ScopeInset(whole, static_cast<int32_t>(ScopeWidthOf(whole) * kMarginOfWidth));
    const int32_t width = ScopeHeightOf(inner) / 3 * 4;
    const int32_t left = inner.left + (ScopeWidthOf(inner) - width) / 2;
    const ScopeRect bounds = ScopeRectOf(inner.top, left, inner.bottom, left + width);
    const bool hasSource = source && source->pixels && source->depth == 32;
    VectorscopeParams params = {};
    params.target = target;
    params.bounds = &bounds;
    params.sourcePixels = hasSource ? source->pixels : nullptr;
    params.sourceWidth = hasSource ? static_cast<int32_t>(source->width) : kDefaultWidth;
    params.sourceHeight = hasSource ? static_cast<int32_t>(source->height) : kDefaultHeight;
    params.sourceRowBytes = hasSource ? static_cast<int32_t>(source->rowBytes) : 0;
    params.flags = vectorscopeAlphaFirst;
    if (hasSource && !s.updateSuspended) params.flags |= vectorscopeTrace;
    params.traceScale = 1;
    params.videoSystem = ScopeVideoSystem(s.videoSystem);
    params.matrix = ScopeMatrix(s.videoSystem);
    params.zoom = std::clamp(s.vectorscopeZoom, 1, 10);
    params.lineCount = params.sourceHeight > kManyLines ? params.sourceHeight / 2 : 0;
    params.whiteLevel = s.videoWhiteLevel;
    params.blackLevel = s.videoBlackLevel;
    params.setup = s.videoBlackSetupPresent > 0 ? 200 : 0;
    params.calibration75 = s.vsCalibration100 == 0 ? 1 : 0;
    params.traceGain = 0x10000;
    params.uiSaturation = static_cast<int32_t>(std::min<uint32_t>(s.uiSaturation, INT32_MAX));
    DrawVectorscope(params, context);
}
