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

/// Most rows are the same in both.
bool RowDiffers(const Pair& pair, int32_t y)
{
    const size_t at = static_cast<size_t>(y) * pair.plain.rowBytes;
    return std::memcmp(pair.plain.pixels + at, pair.lit.pixels + at, size_t{pair.plain.width} * 4) != 0;
}

/// The blobs in which the two differ.
int32_t FindBlobs(const Pair& pair, Blob blobs[kScopeProbeMarkLimit])
{
    const auto width = static_cast<int32_t>(pair.plain.width), height = static_cast<int32_t>(pair.plain.height);
    int32_t count = 0;
    for (int32_t y = 0; y < height; ++y) {
        if (!RowDiffers(pair, y)) continue;
        for (int32_t x = 0; x < width; ++x) {
            if (!Differs(pair.plain, pair.lit, x, y)) continue;
            const int32_t left = x;
            while (x + 1 < width && Differs(pair.plain, pair.lit, x + 1, y)) ++x;
            Blob* home = nullptr;
            for (int32_t i = 0; i < count && !home; ++i)
                if (y - blobs[i].lastRow <= 1 && left <= blobs[i].right + 2 && x >= blobs[i].left - 2) home = &blobs[i];
            if (!home && count == kScopeProbeMarkLimit) continue;
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
    }
    return count;
}

bool IsWaveform(int32_t display)
{
    return display >= scopeLumaWFM && display <= scopeOverlayWFM;
}

/// A picture of one colour in a display of this size. False when there is no memory for the drawings.
bool FindSpans(int32_t width, int32_t height, int32_t display, const uint8_t pixel[4], const ScopeContext& context,
               ScopeProbeSpan spans[kScopeProbeMarkLimit], int32_t* count)
{
    ScopeSurface uniform = {};
    Pair pair;
    const bool isMade = pair.Make(static_cast<uint32_t>(width), static_cast<uint32_t>(height)) &&
                        ScopeSurfaceCreate(kUniformWidth, kUniformHeight, &uniform) == bpNoErr;
    *count = 0;
    if (isMade) {
        for (uint32_t i = 0; i < kUniformWidth * kUniformHeight; ++i)
            std::memcpy(uniform.pixels + size_t{i / kUniformWidth} * uniform.rowBytes + size_t{i % kUniformWidth} * 4,
                        pixel, 4);
        ScopeContext plain = context;
        plain.letters = nullptr;
        plain.witness = nullptr;
        plain.clip = nullptr;
        plain.settings.wfmColor = 0; // a black pixel's trace is to be seen
        const ScopeRect whole = ScopeBoundsOf(pair.plain);
        DrawComboQuadrant(&pair.plain, whole, nullptr, display, plain);
        DrawComboQuadrant(&pair.lit, whole, &uniform, display, plain);
        Blob blobs[kScopeProbeMarkLimit];
        *count = FindBlobs(pair, blobs);
        for (int32_t i = 0; i < *count; ++i)
            spans[i] = {.left = blobs[i].left,
                        .right = blobs[i].right,
                        .y = static_cast<int32_t>(
                            std::lround(static_cast<double>(blobs[i].rowSum) / static_cast<double>(blobs[i].count)))};
    }
    pair.Dispose();
    ScopeSurfaceDispose(&uniform);
    return isMade;
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

/// As ScopeFindProbe. `found` is what is known and will be.
int32_t FindMarks(const ScopeRect& rect, int32_t display, const ScopeProbe& probe, const ScopeContext& context,
                  ScopeProbeMark* marks, ScopeProbeMemory::Found* found)
{
    const int32_t width = ScopeWidthOf(rect), height = ScopeHeightOf(rect);
    if (width <= 0 || height <= 0 || display == scopeToneCurve || context.settings.updateSuspended) return 0;
    if (display == scopeHistograms) return FindInHistograms(rect, probe, context, marks);
    const ScopeProbe seen =
        display == scopeYCWFM ? GreyOf(probe, GetLumaTable(ScopeMatrix(context.settings.videoSystem))) : probe;
    const uint8_t pixel[4] = {seen.alpha, seen.red, seen.green, seen.blue};
    const bool isKnown = found->isKnown && found->width == width && found->height == height &&
                         found->display == display && std::memcmp(found->pixel, pixel, sizeof pixel) == 0 &&
                         found->settings == context.settings;
    if (!isKnown) {
        *found = {.isKnown = false,
                  .width = width,
                  .height = height,
                  .display = display,
                  .pixel = {pixel[0], pixel[1], pixel[2], pixel[3]},
                  .settings = context.settings,
                  .count = 0,
                  .spans = {}};
        found->isKnown = FindSpans(width, height, display, pixel, context, found->spans, &found->count);
    }
    const double place = IsWaveform(display) ? std::clamp(probe.across, 0.0, 1.0) : 0.5;
    for (int32_t i = 0; i < found->count; ++i) {
        const ScopeProbeSpan& span = found->spans[i];
        marks[i].x = rect.left + span.left + static_cast<int32_t>(std::lround(place * (span.right - span.left)));
        marks[i].y = rect.top + span.y;
    }
    return found->count;
}

} // namespace

int32_t ScopeFindProbe(const ScopeRect& rect, int32_t display, const ScopeProbe& probe, const ScopeContext& context,
                       ScopeProbeMark marks[kScopeProbeMarkLimit])
{
    ScopeProbeMemory::Found none = {};
    return FindMarks(rect, display, probe, context, marks, &none);
}

int32_t ScopeFindProbes(uint32_t width, uint32_t height, const ScopeSelection& selection, const ScopeProbe& probe,
                        const ScopeContext& context, ScopeProbeMark marks[kScopePaneMarkLimit],
                        ScopeProbeMemory* memory)
{
    const ScopeTabRow* tab = ScopeTabAt(selection.analysisSelection);
    if (!tab || tab->isPane) return 0;
    const ScopeRect whole = ScopeRectOf(0, 0, static_cast<int32_t>(std::min(height, 32767u)),
                                        static_cast<int32_t>(std::min(width, 32767u)));
    ScopeProbeMemory none = {};
    if (!memory) memory = &none;
    ScopeContext inner = context;
    inner.settings.vectorscopeZoom = selection.vectorscopeZoom;
    if (selection.analysisSelection != scopeTabCombo)
        return FindMarks(whole, tab->display, probe, inner, marks, &memory->found[0]);
    inner.settings.vectorscopeZoom = selection.comboVectorscopeZoom;
    const ComboLayout layout = ComboLayoutOf(whole);
    int32_t count = 0;
    for (int32_t i = 0; i < kScopeQuadrantCount; ++i)
        count +=
            FindMarks(layout.display[i], selection.comboSelection[i], probe, inner, marks + count, &memory->found[i]);
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
