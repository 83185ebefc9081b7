// Behaviour of the luma range editor. Every move ends in Apply, which knows the limits.
#include "src/UI/TKLumaRangeEditor.h"

#include "src/support/TKSession.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>

namespace {

constexpr double kFine = 0.1; // of the mouse's way, with shift

constexpr const char* kNames[kLumaRangeHandleCount] = {"Shadows", "Highlights"};

constexpr TKSliderRow kReadoutRows[2 * kLumaRangeHandleCount] = {
    {"Position", "shadowx", TK_FLOAT_FIELD(OCLumaRangeBlock, lumarange_shadowx), 0, 1, 0, 1, 0.3},
    {"Softness", "shadowy", TK_FLOAT_FIELD(OCLumaRangeBlock, lumarange_shadowy), 0, 1, 0, 1, 0.3831},
    {"Position", "highlightx", TK_FLOAT_FIELD(OCLumaRangeBlock, lumarange_highlightx), 0, 1, 0, 1, 0.7},
    {"Softness", "highlighty", TK_FLOAT_FIELD(OCLumaRangeBlock, lumarange_highlighty), 0, 1, 0, 1, 0.3831},
};
static_assert(TKSlidersAreSound(kReadoutRows, sizeof(OCLumaRangeBlock)));

OCLumaRangeBlock BlockIn(const LumaRangeVars& vars, const void* record)
{
    OCLumaRangeBlock block;
    std::memcpy(&block, static_cast<const uint8_t*>(record) + vars.blockOffset, sizeof block);
    return block;
}

/// Field of a handle: position or softness.
float& FieldOf(OCLumaRangeBlock* block, uint32_t handle, bool isSoftness)
{
    if (handle == lumaRangeShadows) return isSoftness ? block->lumarange_shadowy : block->lumarange_shadowx;
    return isSoftness ? block->lumarange_highlighty : block->lumarange_highlightx;
}

float Shown(float field, uint32_t row)
{
    if (std::isnan(field)) return static_cast<float>(kReadoutRows[row].neutral);
    return std::clamp(field, 0.0f, 1.0f);
}

/// Brings values, readouts and curves to a block. True when something differs.
bool ShowBlock(LumaRangeVars* vars, const OCLumaRangeBlock& block)
{
    bool changed = false;
    OCLumaRangeBlock copy = block;
    for (uint32_t row = 0; row < 2 * kLumaRangeHandleCount; ++row) {
        const uint32_t handle = row / 2;
        const bool isSoftness = row % 2 != 0;
        const float now = FieldOf(&copy, handle, isSoftness);
        float& kept = isSoftness ? vars->field[handle].y : vars->field[handle].x;
        changed = changed || std::memcmp(&now, &kept, sizeof now) != 0;
        kept = now;
        (isSoftness ? vars->value[handle].y : vars->value[handle].x) = Shown(now, row);
    }
    // The typing range is the handle's way, widened to whole track units.
    const auto units = [](float value) { return static_cast<double>(value) * 65536.0; };
    vars->readout[0].slider.typeMax = static_cast<int32_t>(std::ceil(units(vars->value[lumaRangeHighlights].x)));
    vars->readout[2].slider.typeMin = static_cast<int32_t>(std::floor(units(vars->value[lumaRangeShadows].x)));
    for (uint32_t row = 0; row < 2 * kLumaRangeHandleCount; ++row) {
        SliderVars* slider = &vars->readout[row].slider;
        slider->trackMin = slider->typeMin;
        slider->trackMax = slider->typeMax;
        const LumaRangePoint field = vars->field[row / 2];
        TKShowSliderValue(slider, static_cast<double>(row % 2 != 0 ? field.y : field.x));
    }
    BuildLumaRangeCurves(block, &vars->curves);
    return changed;
}

/// Where a handle ends up that is wanted somewhere.
LumaRangePoint Limited(const LumaRangeVars& vars, uint32_t handle, LumaRangePoint wanted)
{
    LumaRangePoint point = {std::clamp(wanted.x, 0.0f, 1.0f), std::clamp(wanted.y, 0.0f, 1.0f)};
    point.x = handle == lumaRangeShadows ? std::min(point.x, vars.value[lumaRangeHighlights].x)
                                         : std::max(point.x, vars.value[lumaRangeShadows].x);
    return point;
}

/// The block with a handle at a point. What the handle shows already stays as it is in the record, bit for bit.
OCLumaRangeBlock Moved(const LumaRangeVars& vars, uint32_t handle, LumaRangePoint point)
{
    OCLumaRangeBlock block = BlockIn(vars, vars.dataBase);
    if (point.x != vars.value[handle].x) FieldOf(&block, handle, false) = point.x;
    if (point.y != vars.value[handle].y) FieldOf(&block, handle, true) = point.y;
    return block;
}

bool WouldChange(const LumaRangeVars& vars, uint32_t handle, LumaRangePoint point)
{
    return point.x != vars.value[handle].x || point.y != vars.value[handle].y;
}

void Apply(LumaRangeVars* vars, const OCLumaRangeBlock& block)
{
    std::memcpy(vars->dataBase + vars->blockOffset, &block, sizeof block);
    (void)ShowBlock(vars, block);
}

/// Whether the newest step of undo is one of this editor.
bool OwnsStep(const TKSession* session, const LumaRangeVars& vars)
{
    const auto isLast = [&](const void* control) { return session->controls.lastTouched == control; };
    return isLast(&vars) || std::any_of(std::begin(vars.readout), std::end(vars.readout),
                                        [&](const LumaRangeReadout& readout) { return isLast(&readout); });
}

void Render(TKSession* session, LumaRangeVars* vars)
{
    MarkSectionActive(session, vars->section, true, true);
    RecomputeAndRefresh(session, true);
    if (OwnsStep(session, *vars)) TKStoreUndo(session);
}

/// A value was typed or reset: it stands in the field already.
void ReadoutChanged(TKSession*, SliderVars* slider, double typed, bool)
{
    const auto* readout = reinterpret_cast<const LumaRangeReadout*>(slider);
    LumaRangeVars* vars = readout->owner;
    LumaRangePoint wanted = vars->value[readout->handle];
    (readout->isSoftness ? wanted.y : wanted.x) = static_cast<float>(typed);
    OCLumaRangeBlock block = BlockIn(*vars, vars->dataBase);
    const LumaRangePoint point = Limited(*vars, readout->handle, wanted);
    FieldOf(&block, readout->handle, readout->isSoftness) = readout->isSoftness ? point.y : point.x;
    vars->active = readout->handle;
    Apply(vars, block);
    vars->deferral = {}; // the slider renders
}

bool IsWithinReach(const ScopeRect& plot, double x, double y)
{
    return x >= plot.left - kLumaRangeReach && x < plot.right + kLumaRangeReach && y >= plot.top - kLumaRangeReach &&
           y < plot.bottom + kLumaRangeReach;
}

} // namespace

const char* LumaRangeHandleName(uint32_t handle)
{
    return handle < kLumaRangeHandleCount ? kNames[handle] : "";
}

uint32_t LumaRangeActiveCurve(const LumaRangeVars& vars)
{
    switch (vars.active) {
    case lumaRangeShadows: return lumaRangeShadowCurve;
    case lumaRangeHighlights: return lumaRangeHighlightCurve;
    default: return kLumaRangeCurveCount;
    }
}

void InitLumaRange(LumaRangeVars* vars, void* base, uint32_t blockOffset, TKSectionID section, const char* objectName)
{
    *vars = {};
    vars->dataBase = static_cast<uint8_t*>(base);
    vars->blockOffset = blockOffset;
    vars->section = section;
    vars->objectName = objectName;
    vars->active = kLumaRangeHandleCount;
    TKTabChain chain;
    ResetTabChain(&chain);
    for (uint32_t row = 0; row < 2 * kLumaRangeHandleCount; ++row) {
        LumaRangeReadout& readout = vars->readout[row];
        TKCreateSlider(&readout.slider, kReadoutRows[row], base, blockOffset, nullptr, section);
        readout.slider.changeProc = ReadoutChanged;
        readout.owner = vars;
        readout.handle = row / 2;
        readout.isSoftness = row % 2 != 0;
        TKChainSlider(&chain, &readout.slider);
    }
    TKCloseTabChain(&chain);
    LayOutLumaRange(vars, 552, LumaRangeNaturalHeight(552));
    (void)ShowBlock(vars, BlockIn(*vars, base));
}

bool UpdateLumaRange(LumaRangeVars* vars, const void* settings)
{
    if (!ShowBlock(vars, BlockIn(*vars, settings))) return false;
    vars->tracking = false;
    vars->deferral = {};
    return true;
}

LumaRangePoint LumaRangePixel(const LumaRangeVars& vars, LumaRangePoint values)
{
    const ScopeRect& plot = vars.layout.plot;
    return {static_cast<float>(plot.left) + values.x * static_cast<float>(ScopeWidthOf(plot) - 1),
            static_cast<float>(plot.top) + (1 - values.y) * static_cast<float>(ScopeHeightOf(plot) - 1)};
}

LumaRangePoint LumaRangeHandlePixel(const LumaRangeVars& vars, uint32_t handle)
{
    return LumaRangePixel(vars, vars.value[handle]);
}

uint32_t LumaRangeHitTest(const LumaRangeVars& vars, double x, double y)
{
    if (!IsWithinReach(vars.layout.plot, x, y)) return kLumaRangeHandleCount;
    double distance[kLumaRangeHandleCount];
    for (uint32_t handle = 0; handle < kLumaRangeHandleCount; ++handle) {
        const LumaRangePoint at = LumaRangeHandlePixel(vars, handle);
        distance[handle] = std::hypot(x - static_cast<double>(at.x), y - static_cast<double>(at.y));
    }
    if (distance[lumaRangeShadows] != distance[lumaRangeHighlights])
        return distance[lumaRangeShadows] < distance[lumaRangeHighlights] ? lumaRangeShadows : lumaRangeHighlights;
    const double between = 0.5 * (static_cast<double>(LumaRangeHandlePixel(vars, lumaRangeShadows).x) +
                                  static_cast<double>(LumaRangeHandlePixel(vars, lumaRangeHighlights).x));
    if (x != between) return x < between ? lumaRangeShadows : lumaRangeHighlights;
    return vars.value[lumaRangeShadows].x > 0.5f ? lumaRangeShadows : lumaRangeHighlights;
}

// --- Gestures ---------------------------------------------------------------------------------------------------------

uint32_t PressLumaRange(TKSession* session, LumaRangeVars* vars, double x, double y)
{
    (void)CommitOpenEdit(session, true);
    (void)ReleaseLumaRange(session, vars);
    (void)FlushLumaRange(session, vars);
    const uint32_t handle = LumaRangeHitTest(*vars, x, y);
    if (handle == kLumaRangeHandleCount) return handle;
    vars->active = handle;
    vars->tracking = true;
    vars->mouseX = x;
    vars->mouseY = y;
    vars->travelledX = vars->travelledY = 0;
    vars->pressedValue = vars->value[handle];
    session->controls.lastTouched = nullptr; // each drag is a step of its own
    return handle;
}

TKEffect TrackLumaRangeHandle(TKSession* session, LumaRangeVars* vars, double x, double y, uint32_t modifiers)
{
    if (!vars->tracking || !std::isfinite(x) || !std::isfinite(y)) return {};
    const double pace = modifiers & bpShiftKey ? kFine : 1.0;
    vars->travelledX += (x - vars->mouseX) * pace;
    vars->travelledY += (y - vars->mouseY) * pace;
    vars->mouseX = x;
    vars->mouseY = y;
    const ScopeRect& plot = vars->layout.plot;
    const LumaRangePoint wanted = {
        vars->pressedValue.x + static_cast<float>(vars->travelledX / (ScopeWidthOf(plot) - 1)),
        vars->pressedValue.y - static_cast<float>(vars->travelledY / (ScopeHeightOf(plot) - 1))};
    const LumaRangePoint point = Limited(*vars, vars->active, wanted);
    if (!WouldChange(*vars, vars->active, point)) return {};
    // An undo in the middle of a drag took the step away; what follows is a new one.
    const TKEffect effect = {.changed = true, .opensUndo = TKGestureUndo(session, vars), .rerenders = true};
    Apply(vars, Moved(*vars, vars->active, point));
    session->controls.undoPending = true;
    TKDefer(&vars->deferral, kLumaRangeDeferTicks);
    return effect;
}

TKEffect ReleaseLumaRange(TKSession* session, LumaRangeVars* vars)
{
    if (!vars->tracking) return {};
    vars->tracking = false;
    const TKEffect effect = {.changed = false, .opensUndo = false, .rerenders = FlushLumaRange(session, vars)};
    if (session->controls.lastTouched == vars) {
        session->controls.undoPending = false;
        TKStoreUndo(session);
    }
    return effect;
}

TKEffect MoveLumaRangeHandle(TKSession* session, LumaRangeVars* vars, uint32_t handle, LumaRangePoint wanted)
{
    if (handle >= kLumaRangeHandleCount || std::isnan(wanted.x) || std::isnan(wanted.y)) return {};
    (void)CommitOpenEdit(session, true);
    (void)ReleaseLumaRange(session, vars);
    vars->active = handle;
    const LumaRangePoint point = Limited(*vars, handle, wanted);
    if (!WouldChange(*vars, handle, point)) return {};
    const TKEffect effect = {
        .changed = true, .opensUndo = TKGestureUndo(session, &vars->readout[2 * handle]), .rerenders = true};
    Apply(vars, Moved(*vars, handle, point));
    TKStoreUndo(session);
    TKDefer(&vars->deferral, kLumaRangeDeferTicks);
    return effect;
}

bool LumaRangeTick(TKSession* session, LumaRangeVars* vars)
{
    if (vars->tracking && !session->platform->keyboard.mouseButtonDown())
        return ReleaseLumaRange(session, vars).rerenders;
    if (!TKDeferTick(&vars->deferral)) return false;
    Render(session, vars);
    return true;
}

bool LumaRangeNeedsTick(const LumaRangeVars& vars)
{
    return vars.tracking || vars.deferral.pending;
}

bool FlushLumaRange(TKSession* session, LumaRangeVars* vars)
{
    if (!TKDeferFlush(&vars->deferral)) return false;
    Render(session, vars);
    return true;
}
