// The vectorscope: its display and its trace. Brightness is a ladder of six greens held in the pixels themselves; each
// hit lifts a pixel by one rung.
#include "src/TincturaUIDispVectorscope.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr double kMarginOfWidth = 0.016;

constexpr ScopeColor kRungs[6] = {{0x6D6D, 0xFFFF, 0xB9B9}, {0, 0xFFFF, 0x8484}, {0, 0xCCCC, 0x6A6A},
                                  {0, 0x9898, 0x4E4E},      {0, 0x6666, 0x3535}, {0, 0x3232, 0x1919}};
// Deliberate: the blue bytes before muting; a muted ladder is climbed in other steps.
constexpr uint8_t kThresholds[5] = {0x84, 0x6A, 0x4E, 0x35, 0x19};

constexpr auto& kJitter = kVectorscopeJitter;

} // namespace

int32_t VectorscopeRung(uint8_t blue)
{
    for (int32_t rung = 0; rung < 5; ++rung)
        if (blue >= kThresholds[rung]) return rung;
    return 5;
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
            const uint32_t word = t.rung[VectorscopeRung(hit[3])];
            std::memcpy(hit, &word, sizeof word);
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
    const auto drawGraticule = [&] { DrawVectorscopeGraticule(&port, params, scale, b.left, b.top); };
    VectorscopeTrace trace;
    const bool hasTrace = VectorscopeTraceOf(params, port.clip, &trace);
    if (!hasTrace || context.readable) {
        drawGraticule();
        if (hasTrace) DrawVectorscopeTraceScalar(trace);
        return;
    }
    const int64_t samples = ScopeLineCount(trace.lines) * (trace.sourceWidth / trace.columnStep);
    DrawVectorscopeTrace(trace, ScopeTasksFor(samples, context.taskCount), context.tasks, MPErrandOf(drawGraticule));
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
    VectorscopeParams params = {};
    params.target = target;
    params.bounds = &bounds;
    const bool hasSource = ScopeSetSource(&params, source);
    params.flags = vectorscopeAlphaFirst;
    if (hasSource && !s.updateSuspended) params.flags |= vectorscopeTrace;
    params.traceScale = 1;
    params.videoSystem = ScopeVideoSystem(s.videoSystem);
    params.matrix = ScopeMatrix(s.videoSystem);
    params.zoom = std::clamp(s.vectorscopeZoom, 1, 10);
    params.whiteLevel = s.videoWhiteLevel;
    params.blackLevel = s.videoBlackLevel;
    params.setup = s.videoBlackSetupPresent > 0 ? 200 : 0;
    params.calibration75 = s.vsCalibration100 == 0 ? 1 : 0;
    params.traceGain = 0x10000;
    params.uiSaturation = static_cast<int32_t>(std::min<uint32_t>(s.uiSaturation, INT32_MAX));
    DrawVectorscope(params, context);
}
