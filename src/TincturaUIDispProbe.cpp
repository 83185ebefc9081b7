// Probe and ghost.
#include "src/TincturaUIDispProbe.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

namespace {

constexpr uint32_t kUniformWidth = 4096, kUniformHeight = 2; // wider than any pane: its trace has no gaps
constexpr int32_t kGhostOf256 = 110;

/// Lit pixels that hang together: rows above each other whose runs meet.
struct Blob {
    int32_t left, right; ///< inside
    int64_t rowSum, count;
    int32_t lastRow;
};

bool Differs(const ScopeSurface& a, const ScopeSurface& b, int32_t x, int32_t y)
{
    const size_t at = static_cast<size_t>(y) * a.rowBytes + static_cast<size_t>(x) * 4;
    return std::memcmp(a.pixels + at, b.pixels + at, 4) != 0;
}

/// Two surfaces of a rectangle's size.
struct Pair {
    ScopeSurface plain, lit;
    bool Make(uint32_t width, uint32_t height)
    {
        plain = lit = {};
        return ScopeSurfaceCreate(width, height, &plain) == bpNoErr &&
               ScopeSurfaceCreate(width, height, &lit) == bpNoErr;
    }
    void Dispose()
    {
        ScopeSurfaceDispose(&plain);
        ScopeSurfaceDispose(&lit);
    }
};

/// The blobs in which the two differ inside `area`; at most `limit`.
int32_t FindBlobs(const Pair& pair, const ScopeRect& area, Blob* blobs, int32_t limit)
{
    int32_t count = 0;
    for (int32_t y = area.top; y < area.bottom; ++y)
        for (int32_t x = area.left; x < area.right; ++x) {
            if (!Differs(pair.plain, pair.lit, x, y)) continue;
            const int32_t left = x;
            while (x + 1 < area.right && Differs(pair.plain, pair.lit, x + 1, y)) ++x;
            Blob* home = nullptr;
            for (int32_t i = 0; i < count && !home; ++i)
                if (y - blobs[i].lastRow <= 1 && left <= blobs[i].right + 2 && x >= blobs[i].left - 2) home = &blobs[i];
            if (!home && count == limit) continue;
            if (!home) {
                home = &blobs[count++];
                *home = {.left = left, .right = x, .rowSum = 0, .count = 0, .lastRow = y};
            }
            home->left = std::min(home->left, left);
            home->right = std::max(home->right, x);
            home->rowSum += int64_t{y} * (x - left + 1);
            home->count += x - left + 1;
            home->lastRow = y;
        }
    return count;
}

bool IsWaveform(int32_t display)
{
    return display >= scopeLumaWFM && display <= scopeOverlayWFM;
}

/// Marks from the two drawings.
int32_t MarksOf(const Pair& pair, const ScopeRect& area, int32_t display, double across, ScopeProbeMark* marks)
{
    Blob blobs[kScopeProbeMarkLimit];
    const int32_t count = FindBlobs(pair, area, blobs, kScopeProbeMarkLimit);
    for (int32_t i = 0; i < count; ++i) {
        const double place = IsWaveform(display) ? across : 0.5;
        marks[i].x = blobs[i].left + static_cast<int32_t>(std::lround(place * (blobs[i].right - blobs[i].left)));
        marks[i].y = static_cast<int32_t>(
            std::lround(static_cast<double>(blobs[i].rowSum) / static_cast<double>(blobs[i].count)));
    }
    return count;
}

/// The grey that stands nearest to the pixel's luma. A grey has no envelope, which is not the pixel's place.
ScopeProbe GreyOf(const ScopeProbe& probe, const uint8_t* luma)
{
    const auto lumaOf = [=](uint32_t red, uint32_t green, uint32_t blue) {
        return int32_t{luma[red]} + luma[256 + green] + luma[512 + blue];
    };
    const int32_t wanted = lumaOf(probe.red, probe.green, probe.blue);
    uint32_t nearest = 0;
    for (uint32_t grey = 1; grey < 256; ++grey) // the table's three roundings: a grey's luma may not be its own level
        if (std::abs(lumaOf(grey, grey, grey) - wanted) < std::abs(lumaOf(nearest, nearest, nearest) - wanted))
            nearest = grey;
    ScopeProbe grey = probe;
    grey.red = grey.green = grey.blue = static_cast<uint8_t>(nearest);
    return grey;
}

/// Nothing is drawn: a row holds the triangle of the row above it too, and a spike's height tells nothing of the pixel.
int32_t FindInHistograms(const ScopeRect& rect, const ScopeProbe& probe, const ScopeContext& context,
                         ScopeProbeMark* marks)
{
    const HistogramLayout layout = HistogramLayoutOf(rect, true, context);
    const uint8_t* luma = GetCurrentLumaTable(); // as the display's own counting takes it
    const uint32_t level[4] = {uint32_t{luma[probe.red]} + luma[256 + probe.green] + luma[512 + probe.blue], probe.red,
                               probe.green, probe.blue};
    int32_t count = 0;
    for (int i = 0; i < 4; ++i) {
        const ScopeRect& row = layout.row[i];
        const auto bin = static_cast<int32_t>(level[i] * layout.binCount / 256);
        const ScopeProbeMark mark = {.x = row.left + 1 + bin, .y = (row.top + row.bottom - 1) / 2};
        const bool isInside = mark.x >= rect.left && mark.x < rect.right && mark.y >= rect.top && mark.y < rect.bottom;
        if (isInside && ScopeHeightOf(row) > 2) marks[count++] = mark; // lower ones have no spikes
    }
    return count;
}

/// Letters that take their room and leave no pixels; null without letters.
const ScopeLetters* Mute(const ScopeLetters* letters, ScopeLetters* room)
{
    if (!letters) return nullptr;
    *room = *letters;
    room->draw = [](void*, const ScopeSurface&, const ScopeRect&, const ScopeFont&, ScopeColor, int32_t, int32_t,
                    const char*) {};
    return room;
}

} // namespace

int32_t ScopeFindProbe(const ScopeRect& rect, int32_t display, const ScopeProbe& probe, const ScopeContext& context,
                       ScopeProbeMark marks[kScopeProbeMarkLimit])
{
    const int32_t width = ScopeWidthOf(rect), height = ScopeHeightOf(rect);
    if (width <= 0 || height <= 0 || display == scopeToneCurve || context.settings.updateSuspended) return 0;
    if (display == scopeHistograms) return FindInHistograms(rect, probe, context, marks);
    ScopeSurface uniform = {};
    Pair pair;
    int32_t count = 0;
    if (pair.Make(static_cast<uint32_t>(width), static_cast<uint32_t>(height)) &&
        ScopeSurfaceCreate(kUniformWidth, kUniformHeight, &uniform) == bpNoErr) {
        const int32_t matrix = ScopeMatrix(context.settings.videoSystem);
        const ScopeProbe seen = display == scopeYCWFM ? GreyOf(probe, GetLumaTable(matrix)) : probe;
        const uint8_t pixel[4] = {seen.alpha, seen.red, seen.green, seen.blue};
        for (uint32_t i = 0; i < kUniformWidth * kUniformHeight; ++i)
            std::memcpy(uniform.pixels + size_t{i / kUniformWidth} * uniform.rowBytes + size_t{i % kUniformWidth} * 4,
                        pixel, sizeof pixel);
        ScopeContext plain = context;
        plain.letters = nullptr;
        plain.witness = nullptr;
        plain.clip = nullptr;
        plain.settings.wfmColor = 0; // a black pixel's trace is to be seen
        const ScopeRect whole = ScopeBoundsOf(pair.plain);
        DrawComboQuadrant(&pair.plain, whole, nullptr, display, plain);
        DrawComboQuadrant(&pair.lit, whole, &uniform, display, plain);
        count = MarksOf(pair, whole, display, std::clamp(probe.across, 0.0, 1.0), marks);
    }
    pair.Dispose();
    ScopeSurfaceDispose(&uniform);
    for (int32_t i = 0; i < count; ++i) {
        marks[i].x += rect.left;
        marks[i].y += rect.top;
    }
    return count;
}

int32_t ScopeFindProbes(uint32_t width, uint32_t height, const ScopeSelection& selection, const ScopeProbe& probe,
                        const ScopeContext& context, ScopeProbeMark marks[kScopePaneMarkLimit])
{
    const ScopeTabRow* tab = ScopeTabAt(selection.analysisSelection);
    if (!tab || tab->isPane) return 0;
    const ScopeRect whole = ScopeRectOf(0, 0, static_cast<int32_t>(std::min(height, 32767u)),
                                        static_cast<int32_t>(std::min(width, 32767u)));
    ScopeContext inner = context;
    inner.settings.vectorscopeZoom = selection.vectorscopeZoom;
    if (selection.analysisSelection != scopeTabCombo) return ScopeFindProbe(whole, tab->display, probe, inner, marks);
    inner.settings.vectorscopeZoom = selection.comboVectorscopeZoom;
    const ComboLayout layout = ComboLayoutOf(whole);
    int32_t count = 0;
    for (int32_t i = 0; i < kScopeQuadrantCount; ++i)
        count += ScopeFindProbe(layout.display[i], selection.comboSelection[i], probe, inner, marks + count);
    return count;
}

void DrawScopeGhost(ScopeSurface* target, const ScopeSelection& selection, const ScopeSurface* picture,
                    const ScopeContext& context)
{
    if (!target->pixels || !picture || !picture->pixels) return;
    ScopeSurface ghost = {};
    if (ScopeSurfaceCreate(target->width, target->height, &ghost) != bpNoErr) return;
    ScopeSelection behind = selection;
    behind.imageSelection = scopeImageReference;
    ScopeContext plain = context;
    ScopeLetters muted;
    plain.letters = Mute(context.letters, &muted); // texts are the live picture's; their room is both's
    DrawAnalysisPane(&ghost, behind, {nullptr, nullptr, picture}, plain);
    for (uint32_t y = 0; y < target->height; ++y) {
        uint8_t* out = target->pixels + size_t{y} * target->rowBytes;
        const uint8_t* in = ghost.pixels + size_t{y} * ghost.rowBytes;
        for (size_t i = 0; i < size_t{target->width} * 4; ++i)
            out[i] = std::max(out[i], static_cast<uint8_t>(in[i] * kGhostOf256 / 256));
    }
    ScopeSurfaceDispose(&ghost);
}
