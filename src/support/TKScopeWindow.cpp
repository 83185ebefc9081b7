// The record of the displays' window, and the store of what the displays remember beside the preferences.
#include "src/support/TKScopeWindow.h"

#include "src/platform/BPLog.h"
#include "src/support/TKSession.h"

#include <algorithm>

namespace {

constexpr int32_t kMostZoom = 10;
constexpr char kGeometryName[] = "Window Geometry";

/// A number that is remembered: its name in the store, and what it may be.
struct NumberRow {
    const char* name;
    int32_t* (*field)(TKViews* views);
    int32_t least, most;
};

constexpr NumberRow kNumbers[] = {
    {"Window Open", [](TKViews* v) { return &v->window.isOpen; }, 0, 1},
    {"Window Display", [](TKViews* v) { return &v->window.analysisTab; }, scopeTabCombo, scopeTabToneCurve},
    {"Window Combo Upper Left", [](TKViews* v) { return &v->window.comboSelection[scopeUpperLeft]; }, 1,
     kScopeDisplayCount},
    {"Window Combo Upper Right", [](TKViews* v) { return &v->window.comboSelection[scopeUpperRight]; }, 1,
     kScopeDisplayCount},
    {"Window Combo Lower Left", [](TKViews* v) { return &v->window.comboSelection[scopeLowerLeft]; }, 1,
     kScopeDisplayCount},
    {"Window Combo Lower Right", [](TKViews* v) { return &v->window.comboSelection[scopeLowerRight]; }, 1,
     kScopeDisplayCount},
    {"Window Vectorscope Zoom", [](TKViews* v) { return &v->window.vectorscopeZoom; }, 1, kMostZoom},
    {"Window Combo Vectorscope Zoom", [](TKViews* v) { return &v->window.comboVectorscopeZoom; }, 1, kMostZoom},
    {"Vectorscope Zoom", [](TKViews* v) { return &v->vectorscopeZoom; }, 1, kMostZoom},
    {"Combo Vectorscope Zoom", [](TKViews* v) { return &v->comboVectorscopeZoom; }, 1, kMostZoom},
};

void ReadGeometry(const BPKeyedStoreOps& ops, BPKeyedStore* store, TKScopeWindow* window)
{
    uint32_t byteCount = 0;
    if (ops.readBlock(store, kGeometryName, window->geometry, kTKWindowGeometryLimit, &byteCount) == bpNoErr &&
        byteCount <= kTKWindowGeometryLimit)
        window->geometryBytes = byteCount;
}

} // namespace

void TKInitScopeWindow(TKScopeWindow* window)
{
    const ScopeSelection selection = ScopeDefaultSelection();
    *window = {};
    window->analysisTab = selection.analysisSelection;
    std::copy_n(selection.comboSelection, kScopeQuadrantCount, window->comboSelection);
    window->vectorscopeZoom = selection.vectorscopeZoom;
    window->comboVectorscopeZoom = selection.comboVectorscopeZoom;
}

void TKReadScopeWindow(TKSession* session)
{
    TKScopeWindow& window = session->views.window;
    TKInitScopeWindow(&window);
    session->views.vectorscopeZoom = session->views.comboVectorscopeZoom = 1;
    const BPKeyedStoreOps& ops = session->platform->keyedStore;
    BPKeyedStore store = {};
    if (ops.open(kTKScopeWindowStore, &store) != bpNoErr) return; // a first start, or told by the log
    for (const NumberRow& row : kNumbers) {
        uint32_t value = 0;
        const BPStatus err = ops.readNumber(&store, row.name, &value);
        if (err != bpNoErr && err != bpNotFoundErr) break; // each further value would wait as long as this one did
        if (err == bpNoErr && value >= static_cast<uint32_t>(row.least) && value <= static_cast<uint32_t>(row.most))
            *row.field(&session->views) = static_cast<int32_t>(value);
    }
    if (TKScopeWindowNumberOf(window.analysisTab) < 0) window.analysisTab = scopeTabCombo; // a pane of its own
    ReadGeometry(ops, &store, &window);
    ops.close(&store);
}

void TKWriteScopeWindow(TKSession* session)
{
    if (session->prefsUnread) return; // what is there is not known, and stays
    const BPKeyedStoreOps& ops = session->platform->keyedStore;
    TKScopeWindow& window = session->views.window;
    BPKeyedStore store = {};
    BPStatus err = ops.open(kTKScopeWindowStore, &store);
    if (err == bpNoErr) err = ops.begin(&store);
    if (err == bpNoErr) {
        for (const NumberRow& row : kNumbers)
            (void)ops.writeNumber(&store, row.name, static_cast<uint32_t>(*row.field(&session->views)));
        if (window.geometryBytes > 0)
            (void)ops.writeBlock(&store, kGeometryName, window.geometry, window.geometryBytes);
        err = ops.commit(&store);
    }
    if (store.handle != 0) ops.close(&store);
    if (err != bpNoErr) BPDebugLog("The displays' window and zooms could not be stored, error %d\n", err);
}

void TKOpenScopeWindow(TKSession* session, bool open)
{
    if ((session->views.window.isOpen != 0) == open) return;
    session->views.window.isOpen = open ? 1 : 0;
    TK_UI(session, scopeWindowOpened, open);
    TKWriteScopeWindow(session);
}

void UpdateScopeWindow(TKSession* session, bool force)
{
    if (session->views.window.isOpen == 0) return;
    session->views.port[tkScopesWindow].isStale = true;
    if (force) (void)TKDrawStaleAnalysis(session, tkScopesWindow);
    TK_UI(session, showScopeWindow, force);
}

int32_t TKScopeWindowTabAt(int32_t number)
{
    if (number < 0 || number >= kTKScopeWindowTabCount) return -1;
    return number < scopeTabReference ? number : number + 1; // the gallery is the last
}

int32_t TKScopeWindowNumberOf(int32_t tab)
{
    const ScopeTabRow* row = ScopeTabAt(tab);
    if (!row || row->isPane) return -1;
    return tab < scopeTabReference ? tab : tab - 1;
}
