// Behaviour of the hue offset wheel.
#include "src/support/TKHueWheel.h"

#include "src/platform/BPLog.h"
#include "src/support/TKCommands.h"
#include "src/support/TKHueWheelImage.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

namespace {

constexpr int kUsualSide = 150; // of a wheel that was never laid out

constexpr double kPi = 3.14159265358979323846;
constexpr double kFineDrag = 0.1; // of the pointer's way, with shift
constexpr uint32_t kSliderFlags = 7;

constexpr TKSliderRow kHueRow = {.label = "Hue",
                                 .objectName = "tintangle",
                                 .offset = 0,
                                 .low = 0,
                                 .high = 360,
                                 .entryLow = 0,
                                 .entryHigh = 360,
                                 .neutral = 0,
                                 .flags = kSliderFlags};
constexpr TKSliderRow kStrengthRow = {.label = "Strength",
                                      .objectName = "strength",
                                      .offset = 0,
                                      .low = 0,
                                      .high = 1,
                                      .entryLow = 0,
                                      .entryHigh = 1,
                                      .neutral = 0,
                                      .flags = kSliderFlags};

struct Point {
    double x, y; // from the centre, y downward
};

/// An angle in degrees and a strength.
struct Tint {
    float angle, strength;
};

float Finite(float value)
{
    return std::isfinite(value) ? value : 0.0f;
}

float FieldIn(const void* record, uint32_t offset)
{
    float value;
    std::memcpy(&value, static_cast<const uint8_t*>(record) + offset, sizeof value);
    return value;
}

void WriteField(const HueOffsetVars& vars, uint32_t offset, float value)
{
    std::memcpy(vars.dataBase + offset, &value, sizeof value);
}

/// The handle without loss of parts of pixels. Angle 360 and angle 0 are one place.
Point HandlePoint(float angle, float strength, int32_t radius)
{
    const double turned = std::fmod(static_cast<double>(Finite(angle)), 360.0) - kTKWheelTurn;
    const double length = radius * static_cast<double>(Finite(strength));
    const double radians = turned * kPi / 180.0;
    return {std::cos(radians) * length, std::sin(radians) * length};
}

int16_t Cut(double value)
{
    return static_cast<int16_t>(std::clamp(std::trunc(value), -32768.0, 32767.0));
}

void PlaceHandle(HueOffsetVars* vars)
{
    const TKWheelPlace place = TKHueOffsetHandle(vars->angle, vars->strength, vars->radius);
    vars->handleX = place.x;
    vars->handleY = place.y;
}

void Redraw(const HueOffsetVars& vars)
{
    if (vars.redraw) vars.redraw(vars.control);
}

/// Pulls the target back to the circle at the same angle, and tells its tint.
Tint ClampTarget(Point* target, int32_t radius)
{
    double distance = std::hypot(target->x, target->y);
    const double angle = std::atan2(target->y, target->x);
    if (distance > radius) {
        *target = {std::cos(angle) * radius, std::sin(angle) * radius};
        distance = radius;
    }
    double turned = angle + kTKWheelTurnRadians;
    if (turned < 0) turned += 2 * kPi;
    if (turned > 2 * kPi) turned -= 2 * kPi;
    return {static_cast<float>(turned * 180.0 / kPi), static_cast<float>(distance / radius)};
}

Point FromCentre(const HueOffsetVars& vars, double x, double y)
{
    const ScopeRect& rect = vars.wheelRect;
    return {x - (rect.left + ScopeWidthOf(rect) / 2), y - (rect.top + ScopeHeightOf(rect) / 2)};
}

void ShowSliders(TKSession* session, HueOffsetVars* vars)
{
    for (SliderVars* slider : {&vars->hueSlider, &vars->strengthSlider}) {
        TKShowSliderValue(slider, GetSliderValue(*slider));
        TK_UI(session, sliderChanged, slider);
    }
}

bool Holds(const HueOffsetVars& vars, const Tint& tint)
{
    return FieldIn(vars.dataBase, vars.hoco) == tint.angle && FieldIn(vars.dataBase, vars.hoso) == tint.strength;
}

/// Fields, handle and sliders take the tint; nothing is rendered yet.
void Take(TKSession* session, HueOffsetVars* vars, const Tint& tint)
{
    SetHueOffsetAngle(vars, tint.angle, false);
    SetHueOffsetStrength(vars, tint.strength, false);
    NotifyHueOffset(session, vars, tint.angle, tint.strength, false);
    ShowSliders(session, vars);
    Redraw(*vars);
}

/// A drag with shift goes on from where the handle stands now.
void AimAtHandle(HueOffsetVars* vars)
{
    const Point handle = HandlePoint(vars->angle, vars->strength, vars->radius);
    vars->targetX = handle.x;
    vars->targetY = handle.y;
}

void Defer(HueOffsetVars* vars)
{
    TKDefer(&vars->deferral, kTKWheelTicks);
}

HueOffsetVars* WheelOf(const SliderVars* slider)
{
    auto* HOVH = static_cast<HueOffsetVars*>(slider->reference);
    constexpr BPStatus noErr = bpNoErr; // as the failed assertion has to read
    const BPStatus err = HOVH ? noErr : bpParamErr;
    BP_ASSERT(err == noErr, "UIHueOffsetWin");
    BP_ASSERT(HOVH != 0, "UIHueOffsetWin");
    return HOVH;
}

void HueSliderChanged(TKSession*, SliderVars* slider, double value, bool)
{
    if (HueOffsetVars* vars = WheelOf(slider)) SetHueOffsetAngle(vars, static_cast<float>(value), true);
}

void StrengthSliderChanged(TKSession*, SliderVars* slider, double value, bool)
{
    if (HueOffsetVars* vars = WheelOf(slider)) SetHueOffsetStrength(vars, static_cast<float>(value), true);
}

/// A move of the mouse; the first one is that of the press. True when fields changed.
bool Drag(TKSession* session, HueOffsetVars* vars, Point mouse, uint32_t modifiers)
{
    Point target = mouse;
    const bool isFirst = vars->firstEvent;
    vars->firstEvent = false;
    const bool isFine = modifiers & bpShiftKey;
    if (isFine && isFirst) {
        target = HandlePoint(vars->angle, vars->strength, vars->radius);
    } else if (isFine) {
        target = {vars->targetX + kFineDrag * (mouse.x - vars->mouseX),
                  vars->targetY + kFineDrag * (mouse.y - vars->mouseY)};
    }
    const bool moved = mouse.x != vars->mouseX || mouse.y != vars->mouseY;
    vars->mouseX = mouse.x;
    vars->mouseY = mouse.y;
    const Tint tint = ClampTarget(&target, vars->radius);
    vars->targetX = target.x;
    vars->targetY = target.y;
    // A base is where the handle stands: to compute its tint back would only move it by a rounding.
    if (isFine && (isFirst || !moved)) return false;
    if (Holds(*vars, tint)) return false;
    // An undo in the middle of a drag took the step away; what follows is a new one.
    (void)TKGestureUndo(session, vars);
    Take(session, vars, tint);
    return true;
}

void EndCapture(TKSession* session, HueOffsetVars* vars)
{
    vars->captured = false;
    vars->firstEvent = false;
    vars->pace = {};
    TKSettleHueOffset(session, vars);
    if (session->controls.lastTouched == vars) session->controls.undoPending = false;
}

} // namespace

BPStatus TKCreateHueOffset(TKSession* session, HueOffsetVars* vars, const char* label, const char* objectName,
                           uint32_t hoco, uint32_t hoso, TKSectionID section)
{
    *vars = {};
    vars->enabled = true;
    vars->dataBase = reinterpret_cast<uint8_t*>(&session->liveSettings);
    vars->hoco = hoco;
    vars->hoso = hoso;
    vars->section = section;
    vars->repaint = true;
    vars->label = label;
    vars->objectName = objectName;
    TKCreateSlider(&vars->hueSlider, kHueRow, vars->dataBase, hoco, &session->defaultSettings, section);
    TKCreateSlider(&vars->strengthSlider, kStrengthRow, vars->dataBase, hoso, &session->defaultSettings, section);
    vars->hueSlider.changeProc = HueSliderChanged;
    vars->strengthSlider.changeProc = StrengthSliderChanged;
    vars->hueSlider.reference = vars->strengthSlider.reference = vars;
    TKPlaceHueOffset(vars, ScopeRectOf(0, 0, kUsualSide, kUsualSide)); // vectors need a radius
    (void)TKUpdateHueOffset(vars, &session->liveSettings, nullptr, true);
    if (BPStatus err = TKRegisterSlider(session, &vars->hueSlider); err != bpNoErr) return err;
    return TKRegisterSlider(session, &vars->strengthSlider);
}

void TKDisposeHueOffset(HueOffsetVars* vars)
{
    TKReleaseHueWheelImage(vars);
}

void TKPlaceHueOffset(HueOffsetVars* vars, const ScopeRect& frame)
{
    vars->frame = frame;
    vars->wheelRect = ScopeInset(frame, 2);
    vars->radius = std::max(ScopeWidthOf(vars->wheelRect) / 2 - 5, 0);
    PlaceHandle(vars);
}

TKWheelPlace TKHueOffsetHandle(float angle, float strength, int32_t radius)
{
    const Point point = HandlePoint(angle, strength, radius);
    return {Cut(point.x), Cut(point.y)};
}

void SetHueOffsetAngle(HueOffsetVars* vars, float angle, bool redraw)
{
    vars->angle = Finite(angle);
    PlaceHandle(vars);
    if (redraw) Redraw(*vars);
}

void SetHueOffsetStrength(HueOffsetVars* vars, float strength, bool redraw)
{
    vars->strength = Finite(strength);
    PlaceHandle(vars);
    if (redraw) Redraw(*vars);
}

void NotifyHueOffset(TKSession* session, HueOffsetVars* vars, float angle, float strength, bool repaint)
{
    WriteField(*vars, vars->hoco, angle);
    WriteField(*vars, vars->hoso, strength);
    if (!repaint) return;
    MarkSectionActive(session, vars->section, true, true);
    if (vars->repaint) RecomputeAndRefresh(session, true);
}

TKEffect RotateHueOffset(TKSession* session, HueOffsetVars* vars, float delta, bool repaint)
{
    if (!std::isfinite(delta) || delta == 0) return {};
    double angle = std::fmod(static_cast<double>(vars->angle) + static_cast<double>(delta), 3600.0); // ends soon
    while (angle < 0) angle += 360;
    while (angle > 360) angle -= 360;
    const Tint tint = {static_cast<float>(angle), vars->strength};
    if (Holds(*vars, tint)) return {};
    Take(session, vars, tint);
    AimAtHandle(vars);
    if (repaint) NotifyHueOffset(session, vars, tint.angle, tint.strength, true);
    return {.changed = true, .opensUndo = false, .rerenders = repaint};
}

TKEffect OffsetHueOffset(TKSession* session, HueOffsetVars* vars, float dx, float dy, bool repaint)
{
    if (!std::isfinite(dx) || !std::isfinite(dy) || vars->radius == 0) return {};
    const Point handle = HandlePoint(vars->angle, vars->strength, vars->radius);
    Point target = {handle.x + static_cast<double>(dx), handle.y + static_cast<double>(dy)};
    const Tint tint = ClampTarget(&target, vars->radius);
    BPDebugLog("offsetting %1.4f %1.4f at %1.4f, %1.4f, angle=%1.2f, dist=%1.2f\n", static_cast<double>(dx),
               static_cast<double>(dy), handle.x, handle.y, static_cast<double>(tint.angle),
               std::hypot(target.x, target.y));
    if ((dx == 0 && dy == 0) || Holds(*vars, tint)) return {};
    Take(session, vars, tint);
    AimAtHandle(vars);
    if (repaint) NotifyHueOffset(session, vars, tint.angle, tint.strength, true);
    return {.changed = true, .opensUndo = false, .rerenders = repaint};
}

// --- Gestures ---------------------------------------------------------------------------------------------------------

bool TKHueOffsetHit(const HueOffsetVars& vars, double x, double y)
{
    const ScopeRect& rect = vars.wheelRect;
    return vars.radius > 0 && x >= rect.left && x < rect.right && y >= rect.top && y < rect.bottom;
}

TKEffect TKHueOffsetPress(TKSession* session, HueOffsetVars* vars, double x, double y, uint32_t modifiers)
{
    if (!vars->enabled || vars->captured || !TKHueOffsetHit(*vars, x, y)) return {};
    (void)CommitOpenEdit(session, true);
    TK_UI(session, focusMainWindow);
    vars->captured = true;
    vars->firstEvent = true;
    session->controls.lastTouched = nullptr; // each press is a step of its own
    const bool opened = TKGestureUndo(session, vars);
    session->controls.undoPending = true;
    const bool marked = MarkSectionActive(session, vars->section, true, true);
    const bool changed = Drag(session, vars, FromCentre(*vars, x, y), modifiers);
    vars->deferral = {.pending = vars->deferral.pending, .counter = kTKWheelTicks};
    if (marked || changed) Defer(vars); // a section that goes on shows too
    return {.changed = changed, .opensUndo = opened, .rerenders = false};
}

TKEffect TKHueOffsetMove(TKSession* session, HueOffsetVars* vars, double x, double y, uint32_t modifiers)
{
    if (!vars->captured || vars->radius == 0) return {};
    if (!Drag(session, vars, FromCentre(*vars, x, y), modifiers)) return {};
    Defer(vars);
    return {.changed = true, .opensUndo = false, .rerenders = false};
}

TKEffect TKHueOffsetRelease(TKSession* session, HueOffsetVars* vars)
{
    if (!vars->captured) return {};
    const bool held = vars->deferral.pending;
    EndCapture(session, vars);
    return {.changed = false, .opensUndo = false, .rerenders = held};
}

bool TKHueOffsetKey(TKSession* session, HueOffsetVars* vars, uint32_t virtualKey, uint32_t modifiers)
{
    if (modifiers & (bpControlKey | bpAltKey)) return false;
    Point step = {0, 0};
    switch (virtualKey) {
    case kTKKeyBack:
    case kTKKeyDelete: (void)TKHueOffsetMenuSelect(session, vars, tkWheelReset); return true;
    case kTKKeyLeft: step.x = -1; break;
    case kTKKeyRight: step.x = 1; break;
    case kTKKeyUp: step.y = -1; break;
    case kTKKeyDown: step.y = 1; break;
    default: return false;
    }
    if (!vars->enabled || vars->captured || vars->radius == 0) return true;
    (void)CommitOpenEdit(session, true);
    const float nudge = modifiers & bpShiftKey ? kTKWheelFineNudge : kTKWheelNudge;
    const double length = static_cast<double>(nudge) * vars->radius;
    const Point handle = HandlePoint(vars->angle, vars->strength, vars->radius);
    Point target = {handle.x + step.x * length, handle.y + step.y * length};
    const Tint tint = ClampTarget(&target, vars->radius);
    if (Holds(*vars, tint)) return true;
    (void)TKGestureUndo(session, vars);
    MarkSectionActive(session, vars->section, true, true);
    Take(session, vars, tint);
    TKStoreUndo(session);
    Defer(vars);
    return true;
}

void TKHueOffsetTick(TKSession* session, HueOffsetVars* vars)
{
    if (TKDeferTickPaced(&vars->deferral, &vars->pace))
        NotifyHueOffset(session, vars, vars->angle, vars->strength, true);
    if (vars->captured && !session->platform->keyboard.mouseButtonDown()) EndCapture(session, vars);
}

void TKSettleHueOffset(TKSession* session, HueOffsetVars* vars)
{
    if (TKDeferFlush(&vars->deferral)) NotifyHueOffset(session, vars, vars->angle, vars->strength, true);
    if (session->controls.lastTouched == vars) TKStoreUndo(session); // otherwise the newest step is somebody else's
}

bool TKHueOffsetWantsTicks(const HueOffsetVars& vars)
{
    return vars.captured || vars.deferral.pending;
}

// --- Menu 201 ---------------------------------------------------------------------------------------------------------

TKContextMenu TKHueOffsetMenu(const HueOffsetVars& vars)
{
    return {.id = 201,
            .itemCount = 2,
            .item = {{.text = "Reset Hue Wheel", .enabled = vars.enabled},
                     {.text = "Reset All Hue Wheels", .enabled = vars.enabled}}};
}

TKEffect TKHueOffsetMenuSelect(TKSession* session, HueOffsetVars* vars, uint32_t item)
{
    if (!vars->enabled || item > tkWheelResetAll) return {};
    if (vars->captured) EndCapture(session, vars);
    (void)CommitOpenEdit(session, true);
    const bool opened = session->undoRing && session->undoRing->undoSlotCount != 0;
    if (item == tkWheelResetAll) {
        // The reset takes the section's mark off with the values.
        TKResetGroups(session, kOCResetHueOffset, 0);
        return {.changed = true, .opensUndo = opened, .rerenders = true};
    }
    // A neutral wheel has nothing to reset: marking its section would only turn the tool on.
    if (Holds(*vars, {0, 0})) return {};
    TKCommandUndo(session);
    Take(session, vars, {0, 0});
    vars->deferral = {};
    NotifyHueOffset(session, vars, 0, 0, true);
    TKStoreUndo(session);
    return {.changed = true, .opensUndo = opened, .rerenders = vars->repaint};
}

// --- From the record --------------------------------------------------------------------------------------------------

bool TKUpdateHueOffset(HueOffsetVars* vars, const OCSettings* settings, const OCSettings* previous, bool force)
{
    // A new record is rendered by who brings it: what is held back here would mark a section that an undo took off.
    vars->deferral = {};
    vars->pace = {};
    const Tint tint = {FieldIn(settings, vars->hoco), FieldIn(settings, vars->hoso)};
    if (previous && !force && FieldIn(previous, vars->hoco) == tint.angle &&
        FieldIn(previous, vars->hoso) == tint.strength)
        return false;
    vars->angle = Finite(tint.angle);
    vars->strength = Finite(tint.strength);
    PlaceHandle(vars);
    AimAtHandle(vars);
    Redraw(*vars);
    return true;
}

void TKHueOffsetText(const HueOffsetVars& vars, char* text, uint32_t length)
{
    char angle[64], strength[64];
    FormatSliderValue(vars.hueSlider, static_cast<double>(vars.angle), angle, sizeof angle);
    FormatSliderValue(vars.strengthSlider, static_cast<double>(vars.strength), strength, sizeof strength);
    if (length > 0) (void)std::snprintf(text, length, "Hue %s, Strength %s", angle, strength);
}
