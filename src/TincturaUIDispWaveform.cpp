// Waveform monitors: scale, layout, graticule. The trace is laid by the kernels.
#include "src/TincturaUIDispWaveform.h"

#include <algorithm>
#include <cstdio>

namespace {

constexpr int32_t kSetup75 = 200;        // stands for 7.5 IRE
constexpr int32_t kLevelLimit = 65535;   // levels beyond are no code values
constexpr int32_t kSetupLimit = 1000;    // IRE
constexpr int32_t kNTSC = 1;             // videoSystem
constexpr double kIrePer100mV = 14.2857; // graticule steps
constexpr double kMarginOfWidth = 0.016;

constexpr ScopeColor kMajor = {0xCE00, 0x6300, 0}, kMinor = {0x9800, 0x4900, 0};
constexpr ScopeColor kEnvelope = {0, 0x7FFF, 0x3FCB};

struct InkColors {
    ScopeColor increment, ceiling;
};
constexpr InkColors kLumaInk = {{0x0505, 0x3232, 0x1919}, {0x6D6D, 0xFFFF, 0xB9B9}};
constexpr InkColors kChannelInk[3] = {{{0x3535, 0, 0}, {0xD8D8, 0x6464, 0x3232}},
                                      {{0, 0x2B2B, 0}, {0x3232, 0xD8D8, 0x3232}},
                                      {{0, 0x1717, 0x3333}, {0x3232, 0x7575, 0xFFFF}}};
// These are not muted.
constexpr WaveformInk kWhiteInk = {{30, 30, 30}, {220, 220, 220}};
constexpr uint8_t kOverlayCeiling = 235;

/// Bytes of a muted colour.
void HighBytes(ScopeColor color, uint32_t saturation, uint8_t out[3])
{
    color = DesaturateColor(color, saturation);
    out[0] = static_cast<uint8_t>(color.red >> 8);
    out[1] = static_cast<uint8_t>(color.green >> 8);
    out[2] = static_cast<uint8_t>(color.blue >> 8);
}

WaveformInk InkOf(const InkColors& colors, uint32_t saturation)
{
    WaveformInk ink;
    HighBytes(colors.increment, saturation, ink.increment);
    HighBytes(colors.ceiling, saturation, ink.ceiling);
    return ink;
}

uint32_t SaturationOf(const WaveformParams& params)
{
    return static_cast<uint32_t>(std::max(params.uiSaturation, 0));
}

uint32_t EnvelopeWord(const WaveformParams& params)
{
    const ScopeColor color = DesaturateColor(kEnvelope, SaturationOf(params));
    const auto scaled = [&](uint16_t component) {
        const int64_t level = (int64_t{component} * params.traceGain >> 16) / 0x101;
        return static_cast<uint32_t>(std::clamp<int64_t>(level, 0, 255));
    };
    return 0xFFu | scaled(color.red) << 8 | scaled(color.green) << 16 | scaled(color.blue) << 24;
}

void FillInks(const WaveformParams& params, WaveformInk inks[kWaveformPanelLimit])
{
    const uint32_t saturation = SaturationOf(params);
    const WaveformInk luma = InkOf(kLumaInk, saturation);
    for (int i = 0; i < kWaveformPanelLimit; ++i) inks[i] = luma;
    if (params.mode == waveformSingle || params.mode == waveformYCbCr) return;
    const int first = params.mode == waveformYRGB ? 1 : 0;
    if (first == 1) inks[0] = kWhiteInk;
    for (int channel = 0; channel < 3; ++channel) {
        inks[first + channel] = InkOf(kChannelInk[channel], saturation);
        if (params.mode == waveformOverlay)
            for (uint8_t& ceiling : inks[first + channel].ceiling) ceiling = kOverlayCeiling;
    }
}

struct Graticule {
    ScopePort* port;
    const WaveformParams& params;
    const WaveformScale& scale;
    int32_t labelRight, left, oddLeft, right; ///< target columns

    int32_t RowOf(int64_t level) const
    {
        const ScopeRect& b = *params.bounds;
        const int64_t row = b.bottom - scale.marginY - (level * scale.pixelsPerCode >> 16);
        const auto y = static_cast<int32_t>(std::clamp<int64_t>(row, INT16_MIN, INT16_MAX));
        return params.penSize == 2 ? y & ~1 : y;
    }
    void Line(int32_t y, int32_t from) const
    {
        ScopeMoveTo(port, from, y);
        ScopeLineTo(port, right, y);
    }
    void Label(int32_t y, int64_t value) const
    {
        char text[24];
        std::snprintf(text, sizeof text, "%lld", static_cast<long long>(value));
        ScopeMoveTo(port, labelRight, y + ScopeMetrics(*port).ascent / 2);
        ScopeDrawTextRight(port, text);
    }
};

void DrawMillivolts(const Graticule& g, ScopeColor minor)
{
    const WaveformScale& s = g.scale;
    const double last = static_cast<double>(s.ireRange) / kIrePer100mV + 0.5;
    for (int64_t i = 0; static_cast<double>(i) <= last; ++i) {
        const int32_t y = g.RowOf(i * s.span / 7);
        g.Line(y, g.left);
        // Deliberate: the lowest IRE times 100, then 100 a step; at the common full range the first label reads 0.
        g.Label(y, s.lowIre * 100 + 100 * i);
    }
    if (g.params.mode != waveformYCbCr) return;
    // 350 mV: what the centred panels rest on.
    const auto first = static_cast<int64_t>(static_cast<double>(s.lowIre) / kIrePer100mV - 0.5);
    const double level = (3.5 - static_cast<double>(first)) * static_cast<double>(s.span) / 7.0;
    g.port->color = minor;
    g.Line(g.RowOf(static_cast<int64_t>(level)), g.left);
}

void DrawIRE(const Graticule& g, ScopeColor minor)
{
    const WaveformScale& s = g.scale;
    for (int64_t k = s.lowIre; k <= s.highIre; k += 10) {
        const int32_t y = g.RowOf((k - s.lowIre) * s.span / 100);
        if (k % 20 == 0) {
            g.Line(y, g.left);
            g.Label(y, k);
        } else {
            g.Line(y, g.oddLeft); // into the label column
        }
    }
    if (g.params.videoSystem != kNTSC) return;
    g.port->color = minor;
    g.Line(g.RowOf((75 - 10 * s.lowIre) * s.span / 1000), g.left);
}

/// Clips a port to the bounds and to the context's own clip.
ScopeRect ClipOf(const ScopeSurface& target, const ScopeRect& bounds, const ScopeContext& context)
{
    ScopeRect clip = ScopeIntersection(ScopeBoundsOf(target), bounds);
    if (context.clip) clip = ScopeIntersection(clip, *context.clip);
    return clip;
}

} // namespace

bool WaveformScaleOf(const WaveformParams& params, int32_t height, WaveformScale* scale)
{
    const auto isLevel = [](int32_t level) { return level >= -kLevelLimit && level <= kLevelLimit; };
    if (!isLevel(params.whiteLevel) || !isLevel(params.blackLevel)) return false;
    if (params.setup < -kSetupLimit || params.setup > kSetupLimit) return false;
    WaveformScale s = {};
    const int64_t setup16 = params.setup == kSetup75 ? 0x78000 : int64_t{params.setup} * 65536;
    const int64_t range = int64_t{params.whiteLevel} - params.blackLevel;
    if (range == 0) return false;
    s.irePerCode = (0x640000 - setup16) / range;
    if (s.irePerCode == 0) return false;
    s.zeroCode = params.blackLevel - setup16 / s.irePerCode;
    s.span = params.whiteLevel - s.zeroCode;
    if (params.flags & waveformYC) {
        s.lowIre = -30;
        s.highIre = 130;
    } else {
        s.lowIre = (0x8000 - s.irePerCode * s.zeroCode) >> 16;
        s.highIre = ((255 - s.zeroCode) * s.irePerCode + 0x8000) >> 16;
    }
    if (params.videoSystem == kNTSC || (params.flags & waveformIRE)) {
        s.lowIre = (s.lowIre - 9) / 10 * 10;
        s.highIre = (s.highIre + 9) / 10 * 10;
    } else {
        s.lowIre = (s.lowIre * 7 - 99) / 100 * 100 / 7;
        s.highIre = (s.highIre * 7 + 99) / 100 * 100 / 7;
    }
    s.codeOffset = (-100 * s.zeroCode - s.lowIre * s.span + 50) / 100;
    s.ireRange = s.highIre - s.lowIre;
    const int64_t divisions = s.ireRange / 10;
    const int64_t codes = s.ireRange * s.span / 100;
    if (divisions == 0 || codes == 0) return false;
    s.traceHeight = (height - 2 * (height / 30)) / divisions * divisions;
    s.marginY = (height - s.traceHeight + 1) / 2;
    s.pixelsPerCode = s.traceHeight * 65536 / codes;
    if ((params.flags & waveformYC) && s.pixelsPerCode == 0) return false; // the envelope's top divides by it
    *scale = s;
    return true;
}

bool WaveformLayoutOf(const WaveformParams& params, int32_t width, WaveformLayout* layout)
{
    WaveformLayout l = {};
    l.margin = width / 11;
    const int32_t plotWidth = width - l.margin / 3 - l.margin;
    if (plotWidth < 1 || params.sourceWidth < 1) return false;
    int32_t gap = 0, graticuleWidth = plotWidth;
    l.panelCount = 1;
    l.panelWidth = plotWidth;
    switch (params.mode) {
    case waveformSingle:
    case waveformOverlay: break;
    case waveformYCbCr:
    case waveformRGB:
    case waveformGBR:
        gap = l.margin / 5;
        l.panelCount = 3;
        l.panelWidth = (plotWidth - 2 * gap) / 3;
        break;
    case waveformYRGB:
        gap = l.margin / 6;
        l.panelCount = 4;
        l.panelWidth = (plotWidth - 3 * gap) / 4;
        // Deliberate: the wider right end is the graticule's alone; the panels keep the other one.
        graticuleWidth = width - l.margin / 4 - l.margin;
        break;
    default: return false;
    }
    if (l.panelWidth < 1) return false;
    for (int32_t i = 0; i < l.panelCount; ++i) l.panelLeft[i] = i * (gap + l.panelWidth);
    const int64_t source16 = int64_t{params.sourceWidth} * 65536;
    l.xStep = source16 / l.panelWidth;
    l.columnCount = source16 / l.xStep;
    l.graticuleRight = source16 / (source16 / graticuleWidth) - 1 + l.margin;
    *layout = l;
    return true;
}

bool WaveformTraceOf(const WaveformParams& params, const ScopeRect& clip, WaveformTrace* trace)
{
    const ScopeRect& b = *params.bounds;
    WaveformScale scale;
    WaveformLayout layout;
    if (!(params.flags & waveformTrace) || !params.sourcePixels || params.sourceHeight < 1) return false;
    if (!WaveformLayoutOf(params, ScopeWidthOf(b), &layout) || !WaveformScaleOf(params, ScopeHeightOf(b), &scale))
        return false;
    WaveformTrace t = {};
    t.target = *params.target;
    t.clip = ScopeIntersection(clip, ScopeBoundsOf(t.target));
    t.source = params.sourcePixels;
    t.sourceRowBytes = params.sourceRowBytes;
    t.alphaFirst = params.flags & waveformAlphaFirst;
    if (!ScopeLinesOf(params.lineCount, params.singleLine, params.sourceHeight, &t.lines)) return false;
    t.xStep = layout.xStep;
    t.columnCount = layout.columnCount;
    t.mode = params.mode;
    t.envelope = (params.flags & waveformYC) && params.mode == waveformSingle;
    t.pictureColor = params.flags & waveformPictureColor;
    t.bottomRow = b.bottom - scale.marginY;
    t.pixelsPerCode = scale.pixelsPerCode;
    t.codeOffset = scale.codeOffset;
    if (t.envelope) t.maxCode = (scale.traceHeight * 65536 + 0x7FFF) / scale.pixelsPerCode;
    for (int i = 0; i < kWaveformPanelLimit; ++i) t.panelColumn[i] = b.left + layout.margin + layout.panelLeft[i];
    if (t.mode == waveformGBR) { // the inks are in the order red, green, blue; so are the panels' columns
        const int64_t green = t.panelColumn[0], blue = t.panelColumn[1], red = t.panelColumn[2];
        t.panelColumn[0] = red;
        t.panelColumn[1] = green;
        t.panelColumn[2] = blue;
    }
    if (t.mode == waveformOverlay) t.panelColumn[1] = t.panelColumn[2] = t.panelColumn[0];
    FillInks(params, t.panelInk);
    t.envelopeWord = EnvelopeWord(params);
    t.luma = GetLumaTable(params.matrix);
    t.chroma = GetChromaTable(params.matrix);
    t.magnitude = GetChromaMagnitudeTable();
    *trace = t;
    return t.clip.right > t.clip.left;
}

void DrawWaveformMonitor(const WaveformParams& params, const ScopeContext& context)
{
    const ScopeRect& b = *params.bounds;
    const int32_t width = ScopeWidthOf(b), height = ScopeHeightOf(b);
    WaveformScale scale;
    WaveformLayout layout;
    if (!WaveformLayoutOf(params, width, &layout) || !WaveformScaleOf(params, height, &scale)) return;

    ScopePort port = ScopePortOn(params.target, context.letters);
    port.witness = context.witness;
    port.clip = ClipOf(*params.target, b, context);
    ScopeSelectFamily(&port, "Arial", "Geneva");
    port.font.bold = true;
    port.font.size = std::min(height / 22, 16);
    ScopePaintRect(&port, b);

    const uint32_t saturation = SaturationOf(params);
    const ScopeColor minor = DesaturateColor(kMinor, saturation);
    port.penSize = std::max(params.penSize, 1);
    port.color = DesaturateColor(kMajor, saturation);
    const auto right = static_cast<int32_t>(layout.graticuleRight);
    const Graticule graticule = {.port = &port,
                                 .params = params,
                                 .scale = scale,
                                 .labelRight = b.left + layout.margin - 2,
                                 .left = b.left + layout.margin,
                                 .oddLeft = b.left + width - right,
                                 .right = b.left + right};
    if (params.flags & waveformIRE)
        DrawIRE(graticule, minor);
    else
        DrawMillivolts(graticule, minor);

    WaveformTrace trace;
    if (!WaveformTraceOf(params, port.clip, &trace)) return;
    if (context.readable) {
        DrawWaveformTraceScalar(trace);
        return;
    }
    const int64_t weight = trace.envelope ? 4 : layout.panelCount; // about what a sample costs
    const int64_t samples = ScopeLineCount(trace.lines) * trace.columnCount * weight;
    DrawWaveformTrace(trace, ScopeTasksFor(samples, context.taskCount), context.tasks);
}

void DrawWaveformDisplay(ScopeSurface* target, const ScopeRect* rect, const ScopeSurface* source, int32_t display,
                         const ScopeContext& context)
{
    const ScopeSettings& s = context.settings;
    const ScopeRect whole = rect ? *rect : ScopeBoundsOf(*target);
    const ScopeRect bounds = ScopeInset(whole, static_cast<int32_t>(ScopeWidthOf(whole) * kMarginOfWidth));
    WaveformParams params = {};
    params.target = target;
    params.bounds = &bounds;
    const bool hasSource = ScopeSetSource(&params, s.updateSuspended ? nullptr : source);
    params.flags = waveformAlphaFirst;
    if (hasSource) params.flags |= waveformTrace;
    if (display == scopeYCWFM) params.flags |= waveformYC;
    if (s.wfmColor) params.flags |= waveformPictureColor;
    if (!s.wfmUnitsMV) params.flags |= waveformIRE;
    switch (display) {
    case scopeLumaWFM:
    case scopeYCWFM: params.mode = waveformSingle; break;
    case scopeRGBWFM: params.mode = waveformRGB; break;
    case scopeGBRWFM: params.mode = waveformGBR; break;
    case scopeYRGBWFM: params.mode = waveformYRGB; break;
    case scopeYCbCrWFM: params.mode = waveformYCbCr; break;
    case scopeOverlayWFM: params.mode = waveformOverlay; break;
    default: return;
    }
    params.videoSystem = ScopeVideoSystem(s.videoSystem);
    params.matrix = ScopeMatrix(s.videoSystem);
    params.penSize = 1;
    params.whiteLevel = s.videoWhiteLevel;
    params.blackLevel = s.videoBlackLevel;
    params.setup = s.videoBlackSetupPresent > 0 ? kSetup75 : 0;
    params.traceGain = 0x10000;
    params.uiSaturation = static_cast<int32_t>(std::min<uint32_t>(s.uiSaturation, INT32_MAX));
    DrawWaveformMonitor(params, context);
}
