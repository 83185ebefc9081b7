// Composing the pictures of the panes, and the order of a refresh.
#include "src/support/TKViews.h"

#include "src/OCLumaRangesPreview.h"
#include "src/support/TKSession.h"
#include "src/support/TKStartup.h"

#include <algorithm>
#include <cstdio>

namespace {

int32_t DisplayOr(uint32_t stored, int32_t otherwise)
{
    return stored >= 1 && stored <= static_cast<uint32_t>(kScopeDisplayCount) ? static_cast<int32_t>(stored)
                                                                              : otherwise;
}

bool IsSameSize(const FBFrame* frame, const ScopeSurface& surface)
{
    return frame && surface.pixels && frame->width == surface.width && frame->height == surface.height;
}

/// A split of two pictures, or the picture of the luma ranges.
void ComposeSplit(TKSession* session, const ScopeSurface* first)
{
    TKDrawSplitMask(session);
    DrawSplitView(&session->splitSurface, first, &session->resultSurface, session->splitMask);
}

/// Makes the picture of the image pane's mode; returns the bits of the panes that have other pixels now.
uint32_t ComposePicture(TKSession* session)
{
    const FBFrame* source = session->sourceFrame;
    switch (session->imagePaneMode) {
    case tkImageSource:
        if (IsSameSize(source, session->sourceSurface))
            FBTransferFBFrameToPix(source, nullptr, session->sourceSurface.pixels, session->sourceSurface.rowBytes,
                                   pixFormatBGRA8, session->taskCount, session->tasks);
        return tkPaneSource;
    case tkImageSplitSource: ComposeSplit(session, &session->sourceSurface); return tkPaneSplitSource;
    case tkImageSplitReference: ComposeSplit(session, &session->views.referenceSurface); return tkPaneSplitReference;
    case tkImageLumaRanges:
        (void)LumaRangesPreview(session->engine, source, session->splitSurface, session->taskCount, session->tasks);
        return tkPaneLumaRanges;
    default: return 0;
    }
}

bool AnalysisIsSeen(const TKSession* session)
{
    return session->viewMode == tkViewNormal && session->views.analysisTab >= 0;
}

/// From step 3 on.
void ShowPanes(TKSession* session, uint32_t mask, bool force)
{
    if (session->views.analysisTab == scopeTabReference) mask |= tkPaneAnalysisReference;
    TK_UI(session, repaintPicture, force);
    if (AnalysisIsSeen(session)) UpdateAnalysisPane(session, force);
    UpdateScopeWindow(session, force);
    TK_UI(session, repaintPanes, mask, force);
    TK_UI(session, feedPreviews);
}

} // namespace

void TKInitViews(TKViews* views)
{
    *views = {};
    views->analysisTab = -1;
    views->vectorscopeZoom = views->comboVectorscopeZoom = 1;
    views->split = ScopeDefaultSplitLine();
    TKInitScopeWindow(&views->window);
}

void TKDrawSplitMask(TKSession* session)
{
    ScopeFillMask(&session->splitMask, ScopeSplitPolygonOf(ComputeSplitEnds(session->views.split)));
}

bool TKModeShowsResult(int32_t mode)
{
    return mode != tkImageSource && mode != tkImageLumaRanges;
}

ScopeSelection TKSelectionOf(const TKSession* session, TKScopePlace place)
{
    const TKPreferences& prefs = session->prefs;
    const ScopeSelection defaults = ScopeDefaultSelection();
    const uint32_t stored[kScopeQuadrantCount] = {prefs.comboUpperLeft, prefs.comboUpperRight, prefs.comboLowerLeft,
                                                  prefs.comboLowerRight};
    ScopeSelection selection = {};
    selection.imageSelection = std::clamp(session->imagePaneMode, 0, kTKImageModeCount - 1);
    selection.analysisSelection = std::clamp(session->views.analysisTab, 0, kScopeTabCount - 1);
    for (int32_t i = 0; i < kScopeQuadrantCount; ++i)
        selection.comboSelection[i] = DisplayOr(stored[i], defaults.comboSelection[i]);
    selection.vectorscopeZoom = session->views.vectorscopeZoom;
    selection.comboVectorscopeZoom = session->views.comboVectorscopeZoom;
    selection.isPlaying = session->views.previewBuilding || session->views.previewPlaying;
    if (place == tkScopesWindow) {
        const TKScopeWindow& window = session->views.window;
        selection.analysisSelection = window.analysisTab;
        std::copy_n(window.comboSelection, kScopeQuadrantCount, selection.comboSelection);
        selection.vectorscopeZoom = window.vectorscopeZoom;
        selection.comboVectorscopeZoom = window.comboVectorscopeZoom;
    }
    return selection;
}

void TKStoreSelection(TKSession* session, const ScopeSelection& selection, TKScopePlace place)
{
    if (place == tkScopesWindow) {
        TKScopeWindow& window = session->views.window;
        if (TKScopeWindowNumberOf(selection.analysisSelection) >= 0) window.analysisTab = selection.analysisSelection;
        std::copy_n(selection.comboSelection, kScopeQuadrantCount, window.comboSelection);
        window.vectorscopeZoom = selection.vectorscopeZoom;
        window.comboVectorscopeZoom = selection.comboVectorscopeZoom;
        return;
    }
    TKPreferences& prefs = session->prefs;
    session->views.analysisTab = selection.analysisSelection;
    session->views.vectorscopeZoom = selection.vectorscopeZoom;
    session->views.comboVectorscopeZoom = selection.comboVectorscopeZoom;
    prefs.leftPaneDefault = static_cast<uint32_t>(selection.analysisSelection) + 1;
    prefs.comboUpperLeft = static_cast<uint32_t>(selection.comboSelection[scopeUpperLeft]);
    prefs.comboUpperRight = static_cast<uint32_t>(selection.comboSelection[scopeUpperRight]);
    prefs.comboLowerLeft = static_cast<uint32_t>(selection.comboSelection[scopeLowerLeft]);
    prefs.comboLowerRight = static_cast<uint32_t>(selection.comboSelection[scopeLowerRight]);
}

ScopeContext TKScopeContextOf(const TKSession* session)
{
    const TKPreferences& prefs = session->prefs;
    ScopeContext context = ScopeDefaultContext();
    context.settings.wfmColor = prefs.wfmColor;
    context.settings.wfmUnitsMV = prefs.wfmUnitsMV;
    context.settings.vsCalibration100 = prefs.vsCalibration100;
    context.settings.videoSystem = prefs.videoSystem;
    context.settings.videoBlackLevel = prefs.videoBlackLevel;
    context.settings.videoWhiteLevel = prefs.videoWhiteLevel;
    context.settings.videoBlackSetupPresent = static_cast<int32_t>(prefs.videoBlackSetupPresent);
    context.settings.uiSaturation = prefs.uiSaturation;
    context.settings.updateSuspended = session->updateSuspended;
    context.letters = session->views.letters;
    context.engine = session->engine;
    context.liveSettings = &session->liveSettings;
    context.taskCount = session->taskCount;
    context.tasks = session->tasks;
    return context;
}

ScopePictures TKScopePicturesOf(const TKSession* session)
{
    const auto seen = [](const ScopeSurface& surface) { return surface.pixels ? &surface : nullptr; };
    return {.result = seen(session->resultSurface),
            .source = seen(session->sourceSurface),
            .reference = seen(session->views.referenceSurface)};
}

const ScopeSurface* TKSurfaceOfMode(const TKSession* session, int32_t mode)
{
    const ScopeSurface* surface = nullptr;
    switch (mode) {
    case tkImageResult: surface = &session->resultSurface; break;
    case tkImageSource: surface = &session->sourceSurface; break;
    case tkImageReference: surface = &session->views.referenceSurface; break;
    case tkImageSplitSource:
    case tkImageSplitReference:
    case tkImageLumaRanges: surface = &session->splitSurface; break;
    default: break;
    }
    return surface && surface->pixels ? surface : nullptr;
}

void TKDrawDisplays(TKSession* session, ScopeSurface* target, const ScopeSelection& selection)
{
    const ScopePictures pictures = TKScopePicturesOf(session);
    const ScopeContext context = TKScopeContextOf(session);
    DrawAnalysisPane(target, selection, pictures, context);
    const ScopeSurface* seen = ScopePictureOf(selection, pictures);
    if (session->views.ghostOn && seen && seen != pictures.reference)
        DrawScopeGhost(target, selection, pictures.reference, context);
}

bool TKDrawStaleAnalysis(TKSession* session, TKScopePlace place)
{
    TKScopePort& port = session->views.port[place];
    if (!port.isStale || !port.surface || !port.surface->pixels) return false;
    port.isStale = false;
    TKDrawDisplays(session, port.surface, TKSelectionOf(session, place));
    return true;
}

void TKShowSelection(TKSession* session, TKScopePlace place, const ScopeSelection& selection, bool writes, bool force)
{
    const ScopeSelection before = TKSelectionOf(session, place);
    TKStoreSelection(session, selection, place);
    const bool zooms = selection.vectorscopeZoom != before.vectorscopeZoom ||
                       selection.comboVectorscopeZoom != before.comboVectorscopeZoom;
    if (zooms || (writes && place == tkScopesWindow)) TKWriteScopeWindow(session);
    if (place == tkScopesWindow) {
        UpdateScopeWindow(session, force);
    } else {
        if (writes) TKWritePreferences(session);
        UpdateAnalysisPane(session, force);
    }
}

void TKDisplaysText(const TKSession* session, TKScopePlace place, char* text, uint32_t length)
{
    if (length == 0) return;
    const ScopeSelection selection = TKSelectionOf(session, place);
    const ScopeTabRow* tab = ScopeTabAt(selection.analysisSelection);
    const int32_t* four = selection.comboSelection;
    char probe[192];
    TKProbeText(TKReadProbe(session), probe, sizeof probe);
    const char* gap = probe[0] != 0 ? "; " : "";
    if (selection.analysisSelection == scopeTabCombo)
        std::snprintf(text, length, "%s, %s, %s, %s%s%s", ScopeDisplayName(four[scopeUpperLeft]),
                      ScopeDisplayName(four[scopeUpperRight]), ScopeDisplayName(four[scopeLowerLeft]),
                      ScopeDisplayName(four[scopeLowerRight]), gap, probe);
    else
        std::snprintf(text, length, "%s%s%s", tab ? tab->title : "", gap, probe);
}

void UpdateAnalysisPane(TKSession* session, bool force)
{
    session->views.port[tkScopesPane].isStale = true;
    if (force) (void)TKDrawStaleAnalysis(session);
    TK_UI(session, showAnalysis, force);
}

void RefreshAfterRender(TKSession* session, bool force)
{
    const uint32_t mask = tkPaneResult | ComposePicture(session);
    TK_UI(session, refreshResult, force);
    ShowPanes(session, mask, force);
}

void RefreshDisplaysOnly(TKSession* session, bool force)
{
    TK_UI(session, refreshDisplays, force);
    ShowPanes(session, 0, force);
}

void TKRefreshSource(TKSession* session)
{
    TK_UI(session, refreshSource);
    if (TKModeShowsResult(session->imagePaneMode)) return; // a render follows
    const uint32_t mask = ComposePicture(session) | tkPaneSource;
    ShowPanes(session, mask, true);
}

void SelectImageDisplay(TKSession* session, int32_t value)
{
    if (value < 0 || value >= kTKImageModeCount) return;
    const bool showedNoResult = !TKModeShowsResult(session->imagePaneMode);
    session->imagePaneMode = value;
    session->prefs.rightPaneDefault = static_cast<uint32_t>(value) + 1;
    if (showedNoResult) { // frames taken meanwhile were not rendered, and every view has displays that read the result
        TKRenderFrame(session);
        RefreshAfterRender(session, true);
        return;
    }
    const uint32_t mask = ComposePicture(session);
    TK_UI(session, refreshDisplays, true);
    ShowPanes(session, mask, true);
}
