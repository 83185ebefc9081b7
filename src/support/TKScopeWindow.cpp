// The record of the displays' window, and its store.
#include "src/support/TKScopeWindow.h"

#include "src/platform/BPLog.h"
#include "src/support/TKSession.h"

#include <algorithm>

namespace {

constexpr int32_t kMostZoom = 10;
constexpr char kGeometryName[] = "Window Geometry";

/// A number of the record: its name in the store, and what it may be.
struct NumberRow {
    const char* name;
    int32_t* (*field)(TKScopeWindow* window);
    int32_t least, most;
};

constexpr NumberRow kNumbers[] = {
    {"Window Open", [](TKScopeWindow* w) { return &w->isOpen; }, 0, 1},
    {"Window Display", [](TKScopeWindow* w) { return &w->analysisTab; }, scopeTabCombo, scopeTabToneCurve},
    {"Window Combo Upper Left", [](TKScopeWindow* w) { return &w->comboSelection[scopeUpperLeft]; }, 1,
     kScopeDisplayCount},
    {"Window Combo Upper Right", [](TKScopeWindow* w) { return &w->comboSelection[scopeUpperRight]; }, 1,
     kScopeDisplayCount},
    {"Window Combo Lower Left", [](TKScopeWindow* w) { return &w->comboSelection[scopeLowerLeft]; }, 1,
     kScopeDisplayCount},
    {"Window Combo Lower Right", [](TKScopeWindow* w) { return &w->comboSelection[scopeLowerRight]; }, 1,
     kScopeDisplayCount},
    {"Window Vectorscope Zoom", [](TKScopeWindow* w) { return &w->vectorscopeZoom; }, 1, kMostZoom},
    {"Window Combo Vectorscope Zoom", [](TKScopeWindow* w) { return &w->comboVectorscopeZoom; }, 1, kMostZoom},
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
    const BPKeyedStoreOps& ops = session->platform->keyedStore;
    BPKeyedStore store = {};
    if (ops.open(kTKScopeWindowStore, &store) != bpNoErr) return; // a first start, or told by the log
    for (const NumberRow& row : kNumbers) {
        uint32_t value = 0;
        const BPStatus err = ops.readNumber(&store, row.name, &value);
        if (err != bpNoErr && err != bpNotFoundErr) break; // each further value would wait as long as this one did
        if (err == bpNoErr && value >= static_cast<uint32_t>(row.least) && value <= static_cast<uint32_t>(row.most))
            *row.field(&window) = static_cast<int32_t>(value);
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
            (void)ops.writeNumber(&store, row.name, static_cast<uint32_t>(*row.field(&window)));
        if (window.geometryBytes > 0)
            (void)ops.writeBlock(&store, kGeometryName, window.geometry, window.geometryBytes);
        err = ops.commit(&store);
    }
    if (store.handle != 0) ops.close(&store);
    if (err != bpNoErr) BPDebugLog("The window of the displays could not be stored, error %d\n", err);
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
