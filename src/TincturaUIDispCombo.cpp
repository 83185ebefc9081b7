// Which display is drawn when and where.
#include "src/TincturaUIDispCombo.h"

namespace {

constexpr ScopeColor kSeparator = {0x2000, 0x2000, 0x2000};
constexpr double kInsetOfHeight = 0.012;
constexpr int32_t kNarrowFrom = 241, kNarrowTo = 269, kWideEnough = 270;

constexpr ScopeTabRow kTabs[kScopeTabCount] = {
    {.title = "Combo", .display = 0, .isPane = false},
    {.title = "Reference", .display = 0, .isPane = true},
    {.title = "Luma WFM", .display = scopeLumaWFM, .isPane = false},
    {.title = "YC WFM", .display = scopeYCWFM, .isPane = false},
    {.title = "RGB WFM", .display = scopeRGBWFM, .isPane = false},
    {.title = "GBR WFM", .display = scopeGBRWFM, .isPane = false},
    {.title = "YRGB WFM", .display = scopeYRGBWFM, .isPane = false},
    {.title = "YCbCr WFM", .display = scopeYCbCrWFM, .isPane = false},
    {.title = "Overlay WFM", .display = scopeOverlayWFM, .isPane = false},
    {.title = "Vectorscope", .display = scopeVectorscope, .isPane = false},
    {.title = "Histograms", .display = scopeHistograms, .isPane = false},
    {.title = "Tone Curve", .display = scopeToneCurve, .isPane = false},
    {.title = "Gallery", .display = 0, .isPane = true},
};

} // namespace

const ScopeTabRow* ScopeTabAt(int32_t tab)
{
    return tab >= 0 && tab < kScopeTabCount ? &kTabs[tab] : nullptr;
}

ScopeSelection ScopeDefaultSelection()
{
    return {.imageSelection = scopeImageResult,
            .analysisSelection = scopeTabCombo,
            .comboSelection = {scopeLumaWFM, scopeVectorscope, scopeToneCurve, scopeHistograms},
            .vectorscopeZoom = 1,
            .comboVectorscopeZoom = 1,
            .isPlaying = false};
}

const ScopeSurface* ScopePictureOf(const ScopeSelection& selection, const ScopePictures& pictures)
{
    if (selection.imageSelection == scopeImageSource) return pictures.source;
    if (selection.imageSelection == scopeImageReference) return pictures.reference;
    return selection.isPlaying ? nullptr : pictures.result;
}

ComboLayout ComboLayoutOf(const ScopeRect& rect)
{
    const int32_t width = ScopeWidthOf(rect), height = ScopeHeightOf(rect);
    ComboLayout layout = {};
    layout.halfHeight = height / 2;
    layout.rightWidth = width / 2;
    if (layout.rightWidth >= kNarrowFrom && layout.rightWidth <= kNarrowTo) layout.rightWidth = kWideEnough;
    layout.leftWidth = width - layout.rightWidth;
    layout.inset = static_cast<int32_t>(layout.halfHeight * kInsetOfHeight);
    const int32_t middleX = rect.left + layout.leftWidth, middleY = rect.top + layout.halfHeight;
    layout.quadrant[scopeUpperLeft] = ScopeRectOf(rect.top, rect.left, middleY, middleX);
    layout.quadrant[scopeUpperRight] = ScopeRectOf(rect.top, middleX, middleY, rect.right);
    layout.quadrant[scopeLowerLeft] = ScopeRectOf(middleY, rect.left, rect.bottom, middleX);
    layout.quadrant[scopeLowerRight] = ScopeRectOf(middleY, middleX, rect.bottom, rect.right);
    for (int32_t i = 0; i < kScopeQuadrantCount; ++i) layout.display[i] = ScopeInset(layout.quadrant[i], layout.inset);
    return layout;
}

void DrawComboQuadrant(ScopeSurface* target, const ScopeRect& rect, const ScopeSurface* source, int32_t display,
                       const ScopeContext& context)
{
    switch (display) {
    case scopeLumaWFM:
    case scopeYCWFM:
    case scopeRGBWFM:
    case scopeGBRWFM:
    case scopeYRGBWFM:
    case scopeYCbCrWFM:
    case scopeOverlayWFM: DrawWaveformDisplay(target, &rect, source, display, context); break;
    case scopeVectorscope: DrawVectorscopeDisplay(target, &rect, source, context); break;
    case scopeHistograms: DrawHistograms(target, &rect, source, true, context); break;
    case scopeToneCurve: DrawToneCurve(target, &rect, source, context); break;
    default: break;
    }
}

void DrawComboDisplay(ScopeSurface* target, const ScopeRect* rect, const ScopeSurface* source,
                      const int32_t comboSelection[kScopeQuadrantCount], int32_t zoom, const ScopeContext& context)
{
    const ScopeRect pane = rect ? *rect : ScopeBoundsOf(*target);
    const ComboLayout layout = ComboLayoutOf(pane);
    ScopePort port = ScopePortOn(target, context.letters);
    port.witness = context.witness;
    port.clip = ScopeIntersection(port.clip, pane);
    if (context.clip) port.clip = ScopeIntersection(port.clip, *context.clip);
    port.color = kSeparator;
    ScopeMoveTo(&port, pane.left + layout.leftWidth, pane.top);
    ScopeLineTo(&port, pane.left + layout.leftWidth, pane.bottom - 1);
    ScopeMoveTo(&port, pane.left, pane.top + layout.halfHeight);
    ScopeLineTo(&port, pane.right - 1, pane.top + layout.halfHeight);

    ScopeContext inner = context;
    inner.settings.vectorscopeZoom = zoom;
    for (int32_t i = 0; i < kScopeQuadrantCount; ++i) {
        const ScopeRect clip = ScopeIntersection(port.clip, layout.quadrant[i]);
        inner.clip = &clip;
        DrawComboQuadrant(target, layout.display[i], source, comboSelection[i], inner);
    }
}

void DrawAnalysisPane(ScopeSurface* target, const ScopeSelection& selection, const ScopePictures& pictures,
                      const ScopeContext& context)
{
    ScopePort port = ScopePortOn(target, nullptr);
    port.witness = context.witness;
    if (context.clip) port.clip = ScopeIntersection(port.clip, *context.clip);
    ScopePaintRect(&port, ScopeBoundsOf(*target));
    const ScopeTabRow* tab = ScopeTabAt(selection.analysisSelection);
    if (!tab || tab->isPane) return;
    const ScopeSurface* picture = ScopePictureOf(selection, pictures);
    ScopeContext inner = context;
    inner.settings.vectorscopeZoom = selection.vectorscopeZoom;
    inner.resultSurface = pictures.result;
    if (selection.analysisSelection == scopeTabCombo)
        DrawComboDisplay(target, nullptr, picture, selection.comboSelection, selection.comboVectorscopeZoom, inner);
    else
        DrawComboQuadrant(target, ScopeBoundsOf(*target), picture, tab->display, inner);
}
