// Behaviour of the curve editor.
#include "src/support/TKCurveEditor.h"

#include "src/platform/BPMemory.h"
#include "src/support/TKCommands.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

constexpr int32_t kPointLimit = kOCCurvePointLimit;
constexpr int32_t kDeletableCount = 3; // with fewer points none can go
constexpr uint32_t kCommandLoadCurves = 7, kCommandSaveCurves = 8;
constexpr uint32_t kAllRGBCurves = 30; // of the curve mask
constexpr char kNoData[] = "AddCurvePoint: No pointCount or curvePoints";

bool HasData(const CurveVars& vars)
{
    return vars.pointCount && vars.pointX && vars.pointY;
}

bool HasUndo(const TKSession* session)
{
    return session->undoRing && session->undoRing->undoSlotCount != 0;
}

/// A value of a record as it is shown and compared: 0 for what is no number.
float Number(float value)
{
    return std::isfinite(value) ? value : 0.0f;
}

void Redraw(const CurveVars& vars)
{
    if (vars.redraw) vars.redraw(vars.control);
}

bool IsPoint(const CurveVars& vars, int32_t index)
{
    return index >= 0 && index < TKCurvePointCount(vars);
}

/// When points came or went, the selection stays with its point, not with its number.
void FollowSelection(CurveVars* vars, const HCurvePoints& now, const HCurvePoints& before)
{
    const int32_t index = vars->selectedPoint;
    const int32_t limit = static_cast<int32_t>(std::size(now.x));
    if (now.pointCount == before.pointCount || index < 0 || index >= std::min<int32_t>(before.pointCount, limit))
        return;
    vars->selectedPoint = -1;
    for (int32_t i = 0; i < std::min<int32_t>(now.pointCount, limit); ++i)
        if (now.x[i] == before.x[index] && now.y[i] == before.y[index]) vars->selectedPoint = i;
}

/// A curve of fewer than two points is none to the engine, or a constant: it becomes the straight one.
void Straighten(CurveVars* vars)
{
    if (TKCurvePointCount(*vars) >= 2) return;
    *vars->pointCount = 2;
    vars->pointX[0] = vars->pointY[0] = 0;
    vars->pointX[1] = vars->pointY[1] = 1;
}

/// Where a point may go between its neighbours. Neighbours closer than two gaps leave it where it is.
void FixRange(CurveVars* vars, int32_t index)
{
    vars->lowX = index > 0 ? Number(vars->pointX[index - 1]) + kTKCurveGap : 0.0f;
    vars->highX = index + 1 < TKCurvePointCount(*vars) ? Number(vars->pointX[index + 1]) - kTKCurveGap : 1.0f;
    vars->lowX = std::clamp(vars->lowX, 0.0f, 1.0f);
    vars->highX = std::clamp(vars->highX, 0.0f, 1.0f);
    if (vars->lowX > vars->highX) vars->lowX = vars->highX = std::clamp(Number(vars->pointX[index]), 0.0f, 1.0f);
}

/// Moves a point inside the range that is fixed. True when a value changed.
bool MovePoint(CurveVars* vars, int32_t index, float x, float y)
{
    x = std::clamp(Number(x), vars->lowX, vars->highX);
    y = std::clamp(Number(y), 0.0f, 1.0f);
    if (vars->pointX[index] == x && vars->pointY[index] == y) return false;
    vars->pointX[index] = x;
    vars->pointY[index] = y;
    return true;
}

bool Contains(const ScopeRect& rect, double x, double y)
{
    return x >= rect.left && x < rect.right && y >= rect.top && y < rect.bottom;
}

void EndDrag(TKSession* session, CurveVars* vars)
{
    vars->dragging = false;
    vars->dragPoint = -1;
    vars->hovering = false; // a mouse that is still there says so with its next move
    vars->pace = {};
    TKSettleCurve(session, vars);
    if (session->controls.lastTouched == vars) session->controls.undoPending = false;
}

bool RemoveSelected(TKSession* session, CurveVars* vars)
{
    const int32_t index = vars->selectedPoint;
    if (!IsPoint(*vars, index) || TKCurvePointCount(*vars) < kDeletableCount) return false;
    if (vars->dragging) EndDrag(session, vars);
    TKCommandUndo(session);
    MarkSectionActive(session, vars->section, true, true);
    (void)DeleteCurvePoint(vars, index);
    TKStoreUndo(session);
    return true;
}

/// A point halfway to the next one, on the straight line between the two; behind the last one, halfway back.
bool InsertBesideSelected(TKSession* session, CurveVars* vars)
{
    const int32_t count = TKCurvePointCount(*vars);
    if (count < 2 || count >= kPointLimit) return false;
    int32_t left = IsPoint(*vars, vars->selectedPoint) ? vars->selectedPoint : 0;
    left = std::min(left, count - 2);
    const float x = (Number(vars->pointX[left]) + Number(vars->pointX[left + 1])) / 2;
    const float y = (Number(vars->pointY[left]) + Number(vars->pointY[left + 1])) / 2;
    TKCommandUndo(session);
    MarkSectionActive(session, vars->section, true, true);
    AddCurvePoint(session, vars, y, x);
    vars->dragPoint = -1; // a key drags nothing
    TKStoreUndo(session);
    return true;
}

/// An arrow: one undo step for pushes in a row. What it does not push stays as it is, even beside a neighbour that is
/// closer than the gap.
void NudgeSelected(TKSession* session, CurveVars* vars, float dx, float dy)
{
    const int32_t index = vars->selectedPoint;
    if (vars->dragging || !IsPoint(*vars, index)) return; // the range is that of the point in the hand
    FixRange(vars, index);
    float x = vars->pointX[index], y = vars->pointY[index];
    if (dx != 0) x = std::clamp(Number(x) + dx, vars->lowX, vars->highX);
    if (dy != 0) y = std::clamp(Number(y) + dy, 0.0f, 1.0f);
    if (!(x != vars->pointX[index] || y != vars->pointY[index])) return;
    (void)TKGestureUndo(session, vars);
    MarkSectionActive(session, vars->section, true, true);
    vars->pointX[index] = x;
    vars->pointY[index] = y;
    TKStoreUndo(session);
    TKDefer(&vars->deferral, kTKCurveKeyTicks);
    Redraw(*vars);
}

void SelectBeside(TKSession* session, CurveVars* vars, int32_t step)
{
    const int32_t count = TKCurvePointCount(*vars);
    if (vars->dragging || count == 0) return;
    const bool none = !IsPoint(*vars, vars->selectedPoint);
    vars->selectedPoint = none ? (step > 0 ? 0 : count - 1) : std::clamp(vars->selectedPoint + step, 0, count - 1);
    if (session->controls.lastTouched == vars) session->controls.lastTouched = nullptr; // another point is another step
    Redraw(*vars);
}

/// The curve that a section names, and its channel.
HCurve* CurveOf(OCSettings* settings, TKSectionID section, int32_t* channel)
{
    if (section >= tkSectionCurveMaster && section <= tkSectionCurveBlue) {
        *channel = static_cast<int32_t>(section - tkSectionCurveMaster);
        return &settings->rgbCurve[section - tkSectionCurveMaster];
    }
    *channel = kTKCurveHSLChannel;
    if (section >= tkSectionCurveHue && section <= tkSectionCurveLightness)
        return &settings->hslCurve[section - tkSectionCurveHue];
    return nullptr;
}

} // namespace

void TKCreateCurve(TKSession* session, CurveVars* vars, const char* label, const char* objectName, TKSectionID section)
{
    *vars = {};
    vars->dragPoint = vars->selectedPoint = vars->hoverPoint = -1;
    vars->section = section;
    vars->label = label;
    vars->objectName = objectName;
    vars->curve = CurveOf(&session->liveSettings, section, &vars->channel);
    if (!vars->curve) return;
    vars->readOnlyFlags = &vars->curve->curveKind;
    HCurvePoints& points = vars->curve->points.xy;
    vars->pointCount = &points.pointCount;
    vars->pointX = points.x;
    vars->pointY = points.y;
}

void TKDisposeCurve(CurveVars* vars)
{
    if (vars->gradientSource) FBDisposeFrameBuffer(vars->gradientSource);
    vars->gradientSource = nullptr;
}

void TKPlaceCurve(CurveVars* vars, const ScopeRect& frame, const ScopeRect& plot)
{
    vars->frame = frame;
    vars->plot = plot;
}

bool TKCurveIsReadOnly(const CurveVars& vars)
{
    return vars.readOnlyFlags && (*vars.readOnlyFlags & kTKCurveReadOnly);
}

int32_t TKCurvePointCount(const CurveVars& vars)
{
    if (!HasData(vars) || TKCurveIsReadOnly(vars)) return 0;
    return std::clamp(*vars.pointCount, 0, kPointLimit);
}

void AddCurvePoint(TKSession* session, CurveVars* vars, float y, float x)
{
    if (!HasData(*vars)) {
        session->platform->alert.alert(bpStop, kNoData);
        return;
    }
    const int32_t count = TKCurvePointCount(*vars);
    if (count >= kPointLimit || TKCurveIsReadOnly(*vars)) return;
    int32_t at = 0;
    while (at < count && !(vars->pointX[at] > x)) ++at;
    std::copy_backward(vars->pointX + at, vars->pointX + count, vars->pointX + count + 1);
    std::copy_backward(vars->pointY + at, vars->pointY + count, vars->pointY + count + 1);
    vars->pointX[at] = x;
    vars->pointY[at] = y;
    *vars->pointCount = count + 1;
    vars->dragPoint = vars->selectedPoint = at;
    Redraw(*vars);
}

bool DeleteCurvePoint(CurveVars* vars, int32_t index)
{
    const int32_t count = TKCurvePointCount(*vars);
    if (count < kDeletableCount || index < 0 || index >= count) return false;
    std::copy(vars->pointX + index + 1, vars->pointX + count, vars->pointX + index);
    std::copy(vars->pointY + index + 1, vars->pointY + count, vars->pointY + index);
    *vars->pointCount = count - 1;
    vars->dragPoint = vars->selectedPoint = vars->hoverPoint = -1;
    Redraw(*vars);
    return true;
}

void NotifyCurveChange(TKSession* session, CurveVars* vars, bool repaint)
{
    MarkSectionActive(session, vars->section, true, true);
    if (repaint) RecomputeAndRefresh(session, true);
}

// --- Places -----------------------------------------------------------------------------------------------------------

TKPlotPoint TKCurveFromPixels(const CurveVars& vars, double x, double y)
{
    const double width = std::max(ScopeWidthOf(vars.plot) - 1, 1), height = std::max(ScopeHeightOf(vars.plot) - 1, 1);
    return {static_cast<float>((x - vars.plot.left) / width), static_cast<float>(1 - (y - vars.plot.top) / height)};
}

double TKCurvePixelX(const CurveVars& vars, double x)
{
    return vars.plot.left + x * (ScopeWidthOf(vars.plot) - 1);
}

double TKCurvePixelY(const CurveVars& vars, double y)
{
    return vars.plot.top + (1 - y) * (ScopeHeightOf(vars.plot) - 1);
}

int32_t TKCurvePointNear(const CurveVars& vars, TKPlotPoint place)
{
    const int32_t count = TKCurvePointCount(vars);
    if (count >= kPointLimit) return -1;
    int32_t nearest = -1;
    double least = static_cast<double>(kTKCurveReach);
    for (int32_t i = 0; i < count; ++i) {
        const double distance = std::hypot(static_cast<double>(Number(vars.pointX[i]) - place.x),
                                           static_cast<double>(Number(vars.pointY[i]) - place.y));
        if (nearest < 0 ? distance > least : distance >= least) continue;
        least = distance;
        nearest = i;
    }
    return nearest;
}

// --- Gestures ---------------------------------------------------------------------------------------------------------

void TKCurveHover(CurveVars* vars, double x, double y)
{
    if (vars->dragging) return;
    if (!Contains(vars->plot, x, y)) {
        TKCurveLeave(vars);
        return;
    }
    const TKPlotPoint place = TKCurveFromPixels(*vars, x, y);
    vars->hovering = true;
    vars->hoverX = place.x;
    vars->hoverY = place.y;
    vars->hoverPoint = TKCurvePointNear(*vars, place);
    const bool isFull = TKCurvePointCount(*vars) >= kPointLimit;
    vars->cursor = TKCurveIsReadOnly(*vars)          ? tkCursorArrow
                   : isFull || vars->hoverPoint >= 0 ? tkCursorCurvePoint
                                                     : tkCursorAddPoint;
    Redraw(*vars);
}

void TKCurveLeave(CurveVars* vars)
{
    if (vars->dragging || (!vars->hovering && vars->cursor == tkCursorArrow)) return;
    vars->hovering = false;
    vars->hoverPoint = -1;
    vars->cursor = tkCursorArrow;
    Redraw(*vars);
}

bool TKCurveHit(const CurveVars& vars, double x, double y)
{
    return Contains(vars.plot, x, y);
}

TKEffect TKCurvePress(TKSession* session, CurveVars* vars, double x, double y)
{
    if (vars->dragging || !HasData(*vars) || TKCurveIsReadOnly(*vars) || !Contains(vars->plot, x, y)) return {};
    (void)CommitOpenEdit(session, true);
    TK_UI(session, focusMainWindow);
    TKCurveHover(vars, x, y);
    // Deliberate: with 16 points the mouse takes none, so that a press has nothing to do.
    if (vars->hoverPoint < 0 && TKCurvePointCount(*vars) >= kPointLimit) return {};
    session->controls.lastTouched = nullptr; // each press is a step of its own
    const bool opened = TKGestureUndo(session, vars);
    session->controls.undoPending = true;
    const bool marked = MarkSectionActive(session, vars->section, true, true);
    const bool straightens = TKCurvePointCount(*vars) < 2;
    if (straightens) {
        Straighten(vars);
        vars->hoverPoint = TKCurvePointNear(*vars, {vars->hoverX, vars->hoverY});
    }
    const bool isNew = vars->hoverPoint < 0;
    if (isNew) {
        AddCurvePoint(session, vars, std::clamp(vars->hoverY, 0.0f, 1.0f), std::clamp(vars->hoverX, 0.0f, 1.0f));
        vars->hoverPoint = vars->dragPoint;
        vars->cursor = tkCursorCurvePoint;
    } else {
        vars->dragPoint = vars->selectedPoint = vars->hoverPoint;
    }
    vars->dragging = true;
    FixRange(vars, vars->dragPoint);
    vars->deferral = {.pending = vars->deferral.pending, .counter = kTKCurveTicks};
    if (isNew || straightens || marked) TKDefer(&vars->deferral, kTKCurveTicks); // a section that goes on shows too
    Redraw(*vars);
    return {.changed = isNew || straightens, .opensUndo = opened, .rerenders = false};
}

TKEffect TKCurveMove(TKSession* session, CurveVars* vars, double x, double y)
{
    if (!vars->dragging || !IsPoint(*vars, vars->dragPoint)) return {};
    const TKPlotPoint place = TKCurveFromPixels(*vars, x, y);
    const float toX = std::clamp(place.x, vars->lowX, vars->highX), toY = std::clamp(place.y, 0.0f, 1.0f);
    vars->hoverX = toX; // the readouts tell where the point goes
    vars->hoverY = toY;
    if (vars->pointX[vars->dragPoint] == toX && vars->pointY[vars->dragPoint] == toY) return {};
    // An undo in the middle of a drag took the step away; what follows is a new one.
    (void)TKGestureUndo(session, vars);
    (void)MovePoint(vars, vars->dragPoint, toX, toY);
    TKDefer(&vars->deferral, kTKCurveTicks);
    Redraw(*vars);
    return {.changed = true, .opensUndo = false, .rerenders = false};
}

TKEffect TKCurveRelease(TKSession* session, CurveVars* vars)
{
    if (!vars->dragging) return {};
    const bool held = vars->deferral.pending;
    EndDrag(session, vars);
    return {.changed = false, .opensUndo = false, .rerenders = held};
}

bool TKCurveKey(TKSession* session, CurveVars* vars, uint32_t virtualKey, uint32_t modifiers)
{
    if (modifiers & (bpControlKey | bpAltKey) || !HasData(*vars) || TKCurveIsReadOnly(*vars)) return false;
    (void)CommitOpenEdit(session, true);
    switch (virtualKey) {
    case kTKKeyLeft: NudgeSelected(session, vars, -kTKCurveNudge, 0); return true;
    case kTKKeyRight: NudgeSelected(session, vars, kTKCurveNudge, 0); return true;
    case kTKKeyUp: NudgeSelected(session, vars, 0, kTKCurveNudge); return true;
    case kTKKeyDown: NudgeSelected(session, vars, 0, -kTKCurveNudge); return true;
    case kTKKeyPageUp: SelectBeside(session, vars, -1); return true;
    case kTKKeyPageDown: SelectBeside(session, vars, 1); return true;
    case kTKKeyBack:
    case kTKKeyDelete:
        if (RemoveSelected(session, vars)) TKDefer(&vars->deferral, kTKCurveKeyTicks);
        return true;
    case kTKKeyInsert:
        if (!vars->dragging && InsertBesideSelected(session, vars)) TKDefer(&vars->deferral, kTKCurveKeyTicks);
        return true;
    default: return false;
    }
}

float TKCurveOutput(const CurveVars& vars)
{
    return IsPoint(vars, vars.selectedPoint) ? Number(vars.pointY[vars.selectedPoint]) : 0;
}

void TKCurveSetOutput(TKSession* session, CurveVars* vars, float output)
{
    if (!std::isfinite(output) || TKCurveIsReadOnly(*vars)) return;
    (void)CommitOpenEdit(session, true);
    NudgeSelected(session, vars, 0, output - TKCurveOutput(*vars));
}

void TKCurveTick(TKSession* session, CurveVars* vars)
{
    const bool due = vars->dragging ? TKDeferTickPaced(&vars->deferral, &vars->pace)
                                    : TKDeferTickAtMost(&vars->deferral, &vars->waited, kTKCurveKeyTicks);
    if (due) NotifyCurveChange(session, vars, true);
    if (vars->dragging && !session->platform->keyboard.mouseButtonDown()) EndDrag(session, vars);
}

void TKSettleCurve(TKSession* session, CurveVars* vars)
{
    if (TKDeferFlush(&vars->deferral)) NotifyCurveChange(session, vars, true);
    if (session->controls.lastTouched == vars) TKStoreUndo(session); // otherwise the newest step is somebody else's
}

bool TKCurveWantsTicks(const CurveVars& vars)
{
    return vars.dragging || vars.deferral.pending;
}

// --- Menu 200 ---------------------------------------------------------------------------------------------------------

TKContextMenu TKCurveMenu(const CurveVars& vars)
{
    const bool canEdit = HasData(vars) && !TKCurveIsReadOnly(vars);
    const bool canDelete = canEdit && IsPoint(vars, vars.selectedPoint) && TKCurvePointCount(vars) >= kDeletableCount;
    return {.id = 200,
            .itemCount = 5,
            .item = {{.text = "Delete Point", .enabled = canDelete},
                     {.text = "Reset Curve", .enabled = canEdit},
                     {.text = "Reset All Curves", .enabled = true},
                     {.text = "Load Curves", .enabled = true},
                     {.text = "Save Curves", .enabled = canEdit}}};
}

TKEffect TKCurveMenuSelect(TKSession* session, CurveVars* vars, uint32_t item)
{
    const TKContextMenu menu = TKCurveMenu(*vars);
    if (item >= menu.itemCount || !menu.item[item].enabled) return {};
    if (vars->dragging) EndDrag(session, vars);
    (void)CommitOpenEdit(session, true);
    const TKEffect stepped = {.changed = true, .opensUndo = HasUndo(session), .rerenders = true};
    switch (static_cast<TKCurveMenuItem>(item)) {
    case tkCurveDelete: {
        if (!RemoveSelected(session, vars)) return {};
        vars->deferral = {};
        NotifyCurveChange(session, vars, true);
        return stepped;
    }
    case tkCurveReset: {
        const TKSection& section = TKSections()[vars->section];
        TKResetGroups(session, section.toolMask, section.curveMask);
        return stepped;
    }
    case tkCurveResetAll: TKResetGroups(session, 0, kAllRGBCurves); return stepped;
    case tkCurveLoad: DoMenuCommand(session, kCommandLoadCurves, nullptr); return stepped;
    case tkCurveSave: DoMenuCommand(session, kCommandSaveCurves, nullptr); return {};
    }
    return {};
}

// --- From the record --------------------------------------------------------------------------------------------------

bool TKUpdateCurve(CurveVars* vars, const OCSettings* settings, const OCSettings* previous, bool force)
{
    if (!vars->curve) return false;
    // A new record is rendered by who brings it: what is held back here would mark a section that an undo took off.
    vars->deferral = {};
    vars->pace = {};
    vars->waited = 0;
    int32_t channel = 0;
    if (previous && !force) {
        const HCurve* now = CurveOf(const_cast<OCSettings*>(settings), vars->section, &channel);
        const HCurve* before = CurveOf(const_cast<OCSettings*>(previous), vars->section, &channel);
        if (std::memcmp(now, before, sizeof *now) == 0) return false;
        if (!vars->dragging) FollowSelection(vars, now->points.xy, before->points.xy);
    }
    if (!IsPoint(*vars, vars->selectedPoint)) vars->selectedPoint = -1;
    if (!IsPoint(*vars, vars->hoverPoint)) vars->hoverPoint = -1;
    // The points are others now: a drag that went on would take whichever has the index of the one it held.
    vars->dragging = false;
    vars->dragPoint = -1;
    Redraw(*vars);
    return true;
}
