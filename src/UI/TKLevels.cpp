// Behaviour of the levels control. Every move ends in Apply, which knows the limits, so no road leads around them.
#include "src/UI/TKLevels.h"

#include "src/platform/BPLog.h"
#include "src/support/TKSession.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <iterator>

namespace {

constexpr float kMiddle = 0.5f; // the ratio of handles that lie on each other
constexpr double kFine = 0.1;   // of the mouse's way, with shift

constexpr const char* kNames[kLevelsHandleCount] = {"Input Black",  "Input Gray",  "Input White",
                                                    "Output Black", "Output Gray", "Output White"};

constexpr TKSliderRow kReadoutRows[kLevelsHandleCount] = {
    {"Black", "inblack", TK_FLOAT_FIELD(OCLevelsBlock, inblackpt), 0, 1, 0, 1, 0},
    {"Gray", "ingray", TK_FLOAT_FIELD(OCLevelsBlock, ingraypt), 0, 1, 0, 1, 0.5},
    {"White", "inwhite", TK_FLOAT_FIELD(OCLevelsBlock, inwhitept), 0, 1, 0, 1, 1},
    {"Black", "outblack", TK_FLOAT_FIELD(OCLevelsBlock, outblackpt), 0, 1, 0, 1, 0},
    {"Gray", "outgray", TK_FLOAT_FIELD(OCLevelsBlock, outgraypt), 0, 1, 0, 1, 0.5},
    {"White", "outwhite", TK_FLOAT_FIELD(OCLevelsBlock, outwhitept), 0, 1, 0, 1, 1},
};
static_assert(TKSlidersAreSound(kReadoutRows, sizeof(OCLevelsBlock)));

enum Part : uint32_t { black, gray, white };

Part PartOf(uint32_t handle)
{
    return static_cast<Part>(handle % 3);
}

/// The black handle of a handle's bar.
uint32_t BarOf(uint32_t handle)
{
    return handle - handle % 3;
}

float FieldIn(const LevelsVars& vars, const uint8_t* record, uint32_t handle)
{
    float value;
    std::memcpy(&value, record + vars.handleOffset[handle], sizeof value);
    return value;
}

void WriteField(const LevelsVars& vars, uint32_t handle, float value)
{
    std::memcpy(vars.dataBase + vars.handleOffset[handle], &value, sizeof value);
}

/// What is shown of a field: a NaN counts as the handle's neutral value.
float Shown(float field, uint32_t handle)
{
    if (std::isnan(field)) return static_cast<float>(kReadoutRows[handle].neutral);
    return std::clamp(field, 0.0f, 1.0f);
}

/// The three handles of a bar.
struct Trio {
    float value[3];
};

/// Where the handles of a bar stand, and the fields behind them, which may lie beyond the scale.
struct Bar {
    Trio shown, field;
};

Bar BarIn(const LevelsVars& vars, uint32_t bar)
{
    Bar result = {};
    for (uint32_t part = 0; part < 3; ++part) {
        const float field = FieldIn(vars, vars.dataBase, bar + part);
        result.shown.value[part] = vars.value[bar + part];
        result.field.value[part] = std::isfinite(field) ? field : vars.value[bar + part];
    }
    return result;
}

/// Where gray lies between black and white. Handles on each other, and fields that are no numbers, count as the middle.
/// A gray beyond its neighbours, as the automatic corrections leave it, keeps its ratio.
float RatioOf(const LevelsVars& vars, uint32_t bar)
{
    const float first = FieldIn(vars, vars.dataBase, bar), last = FieldIn(vars, vars.dataBase, bar + 2);
    const float ratio = (FieldIn(vars, vars.dataBase, bar + 1) - first) / (last - first);
    return std::isfinite(ratio) && std::isfinite(first) && std::isfinite(last) ? ratio : kMiddle;
}

/// A gray of this ratio; between its neighbours to the last bit when the ratio says so.
float GrayAt(float first, float last, float ratio)
{
    const float value = first + ratio * (last - first);
    if (!std::isfinite(value)) return first;
    return ratio >= 0 && ratio <= 1 ? std::clamp(value, std::min(first, last), std::max(first, last)) : value;
}

/// What the bar becomes when one handle is wanted somewhere. Handles stop where the others are seen; gray keeps its ratio
/// between the fields, which is what the engine makes its curve of.
Trio Moved(const Bar& bar, Part part, float wanted, float ratio)
{
    Trio trio = bar.shown;
    float(&v)[3] = trio.value;
    wanted = std::clamp(wanted, 0.0f, 1.0f);
    switch (part) {
    case black:
        v[black] = std::min(wanted, v[white]);
        v[gray] = GrayAt(v[black], bar.field.value[white], ratio);
        break;
    case gray: v[gray] = std::clamp(wanted, std::min(v[black], v[white]), std::max(v[black], v[white])); break;
    case white:
        v[white] = std::max(wanted, v[black]);
        v[gray] = GrayAt(bar.field.value[black], v[white], ratio);
        break;
    }
    return trio;
}

/// Shows a value on the handle and in its readout. The typing range is the handle's way, widened to whole track units.
void ShowHandle(LevelsVars* vars, uint32_t handle, float field)
{
    vars->field[handle] = field;
    vars->value[handle] = Shown(field, handle);
    TKShowSliderValue(&vars->readout[handle].slider, static_cast<double>(field));
}

void ShowLimits(LevelsVars* vars)
{
    for (uint32_t bar = 0; bar < kLevelsHandleCount; bar += 3) {
        const auto least = static_cast<int32_t>(std::floor(static_cast<double>(vars->value[bar]) * 65536.0));
        const auto most = static_cast<int32_t>(std::ceil(static_cast<double>(vars->value[bar + 2]) * 65536.0));
        SliderVars* const slider[3] = {&vars->readout[bar].slider, &vars->readout[bar + 1].slider,
                                       &vars->readout[bar + 2].slider};
        slider[black]->typeMax = most;
        slider[gray]->typeMin = std::min(least, most);
        slider[gray]->typeMax = std::max(least, most);
        slider[white]->typeMin = least;
        for (SliderVars* one : slider) {
            one->trackMin = one->typeMin;
            one->trackMax = one->typeMax;
            one->position = std::clamp(one->position, one->trackMin, one->trackMax);
        }
    }
}

/// Whether the handle would have another value.
bool WouldChange(const LevelsVars& vars, uint32_t handle, const Trio& trio)
{
    return !(FieldIn(vars, vars.dataBase, handle) == trio.value[PartOf(handle)]);
}

/// Writes the handle, and with black or white the gray.
void Apply(LevelsVars* vars, uint32_t handle, const Trio& trio)
{
    const uint32_t bar = BarOf(handle);
    for (const Part part : {black, gray, white}) {
        const bool follows = part == gray && PartOf(handle) != gray;
        if (bar + part != handle && !follows) continue;
        WriteField(*vars, bar + part, trio.value[part]);
        ShowHandle(vars, bar + part, trio.value[part]);
    }
    ShowLimits(vars);
}

/// Whether the newest step of undo is one of this control.
bool OwnsStep(const TKSession* session, const LevelsVars& vars)
{
    const auto isLast = [&](const void* control) { return session->controls.lastTouched == control; };
    return isLast(&vars) || std::any_of(std::begin(vars.readout), std::end(vars.readout),
                                        [&](const LevelsReadout& readout) { return isLast(&readout); });
}

void Render(TKSession* session, LevelsVars* vars)
{
    MarkSectionActive(session, vars->section, true, true);
    RecomputeAndRefresh(session, true);
    if (OwnsStep(session, *vars)) TKStoreUndo(session);
}

/// A value was typed or reset: it stands in the field already, while the record still has the one before.
void ReadoutChanged(TKSession*, SliderVars* slider, double typed, bool)
{
    auto* readout = reinterpret_cast<LevelsReadout*>(slider);
    LevelsVars* vars = readout->owner;
    const uint32_t handle = readout->handle, bar = BarOf(handle);
    WriteField(*vars, handle, vars->field[handle]);
    const float ratio = RatioOf(*vars, bar);
    Apply(vars, handle, Moved(BarIn(*vars, bar), PartOf(handle), static_cast<float>(typed), ratio));
    vars->deferral = {}; // the slider renders
}

bool Contains(const ScopeRect& rect, int32_t x, int32_t y)
{
    return x >= rect.left && x < rect.right && y >= rect.top && y < rect.bottom;
}

} // namespace

uint32_t LevelsHitCode(uint32_t handle)
{
    if (handle >= kLevelsHandleCount) return kLevelsHitNothing;
    return handle < levelsOutBlack ? kLevelsHitInBlack + handle : kLevelsHitOutBlack + (handle - levelsOutBlack);
}

uint32_t LevelsHandleOf(uint32_t hitCode)
{
    for (uint32_t handle = 0; handle < kLevelsHandleCount; ++handle)
        if (LevelsHitCode(handle) == hitCode) return handle;
    return kLevelsHandleCount;
}

const char* LevelsHandleName(uint32_t handle)
{
    return handle < kLevelsHandleCount ? kNames[handle] : "";
}

void FormatLevelsValue(double value, char* text, uint32_t length)
{
    if (length == 0) return;
    const std::to_chars_result result = std::to_chars(text, text + length - 1, value, std::chars_format::fixed, 3);
    *(result.ec == std::errc() ? result.ptr : text) = 0;
}

// --- The record -------------------------------------------------------------------------------------------------------

void InitLevels(LevelsVars* vars, void* base, uint32_t channelOffset, uint32_t channel, TKSectionID section,
                const char* objectName)
{
    *vars = {};
    vars->dataBase = static_cast<uint8_t*>(base);
    vars->channelOffset = channelOffset;
    vars->section = section;
    vars->objectName = objectName;
    vars->channel = channel;
    for (uint32_t handle = 0; handle < kLevelsHandleCount; ++handle) {
        const TKSliderRow& row = kReadoutRows[handle];
        vars->handleOffset[handle] = channelOffset + row.offset;
        LevelsReadout& readout = vars->readout[handle];
        TKCreateSlider(&readout.slider, row, base, channelOffset, nullptr, section);
        readout.slider.changeProc = ReadoutChanged;
        readout.owner = vars;
        readout.handle = handle;
    }
    TKTabChain chain;
    ResetTabChain(&chain);
    for (LevelsReadout& readout : vars->readout) TKChainSlider(&chain, &readout.slider);
    TKCloseTabChain(&chain);
    LayOutLevels(vars, kLevelsWideFrom - 1, LevelsNaturalHeight(kLevelsWideFrom - 1));
    UpdateLevels(vars, base);
}

bool UpdateLevels(LevelsVars* vars, const void* settings)
{
    const auto* record = static_cast<const uint8_t*>(settings);
    bool changed = false;
    for (uint32_t handle = 0; handle < kLevelsHandleCount; ++handle) {
        const float field = FieldIn(*vars, record, handle);
        changed = changed || std::memcmp(&field, &vars->field[handle], sizeof field) != 0;
        ShowHandle(vars, handle, field);
    }
    ShowLimits(vars);
    if (changed) {
        vars->tracking = 0;
        vars->deferral = {};
    }
    return changed;
}

int32_t LevelsHandleX(const LevelsVars& vars, uint32_t handle)
{
    const ScopeRect& bar = handle < levelsOutBlack ? vars.layout.inputBar : vars.layout.outputBar;
    return bar.left + static_cast<int32_t>(std::lround(vars.value[handle] * vars.pixelsPerUnit));
}

ScopeRect LevelsHandleRect(const LevelsVars& vars, uint32_t handle)
{
    const ScopeRect& bar = handle < levelsOutBlack ? vars.layout.inputBar : vars.layout.outputBar;
    const int32_t left = LevelsHandleX(vars, handle) - kLevelsHandleBox / 2, top = bar.bottom + kLevelsHandleDrop;
    return ScopeRectOf(top, left, top + kLevelsHandleBox, left + kLevelsHandleBox);
}

uint32_t LevelsHitTest(const LevelsVars& vars, int32_t x, int32_t y)
{
    // Gray lies on top, so that handles on each other can be told apart by pulling gray away first.
    constexpr LevelsHandle order[] = {levelsInGray,  levelsInBlack,  levelsInWhite,
                                      levelsOutGray, levelsOutBlack, levelsOutWhite};
    for (const LevelsHandle handle : order)
        if (Contains(LevelsHandleRect(vars, handle), x, y)) return LevelsHitCode(handle);
    return Contains(vars.layout.inputPlot, x, y) ? kLevelsHitPlot : kLevelsHitNothing;
}

// --- Gestures ---------------------------------------------------------------------------------------------------------

uint32_t PressLevels(TKSession* session, LevelsVars* vars, double x, double y)
{
    (void)CommitOpenEdit(session, true);
    (void)ReleaseLevels(session, vars);
    const uint32_t code =
        LevelsHitTest(*vars, static_cast<int32_t>(std::floor(x)), static_cast<int32_t>(std::floor(y)));
    const uint32_t handle = LevelsHandleOf(code);
    if (handle == kLevelsHandleCount) return code;
    (void)FlushLevels(session, vars);
    vars->tracking = code;
    vars->mouseX = x;
    vars->travelled = 0;
    vars->pressedValue = vars->value[handle];
    vars->pressedRatio = RatioOf(*vars, BarOf(handle));
    session->controls.lastTouched = nullptr; // each drag is a step of its own
    if (code == kLevelsHitInBlack) BPDebugLog(">>>> tracking black part\n");
    return code;
}

TKEffect TrackLevelsHandle(TKSession* session, LevelsVars* vars, double x, uint32_t modifiers)
{
    const uint32_t handle = LevelsHandleOf(vars->tracking);
    if (handle == kLevelsHandleCount || !std::isfinite(x)) return {};
    vars->travelled += (x - vars->mouseX) * (modifiers & bpShiftKey ? kFine : 1.0);
    vars->mouseX = x;
    const auto change = static_cast<float>(vars->travelled / static_cast<double>(vars->pixelsPerUnit));
    const Trio trio =
        Moved(BarIn(*vars, BarOf(handle)), PartOf(handle), vars->pressedValue + change, vars->pressedRatio);
    if (!WouldChange(*vars, handle, trio)) return {};
    // An undo in the middle of a drag took the step away; what follows is a new one.
    const TKEffect effect = {.changed = true, .opensUndo = TKGestureUndo(session, vars), .rerenders = true};
    Apply(vars, handle, trio);
    session->controls.undoPending = true;
    TKDefer(&vars->deferral, kLevelsDeferTicks);
    return effect;
}

TKEffect ReleaseLevels(TKSession* session, LevelsVars* vars)
{
    if (vars->tracking == 0) return {};
    vars->tracking = 0;
    const TKEffect effect = {.changed = false, .opensUndo = false, .rerenders = FlushLevels(session, vars)};
    if (session->controls.lastTouched == vars) {
        session->controls.undoPending = false;
        TKStoreUndo(session);
    }
    return effect;
}

TKEffect MoveLevelsHandle(TKSession* session, LevelsVars* vars, uint32_t handle, float wanted)
{
    if (handle >= kLevelsHandleCount || std::isnan(wanted)) return {};
    (void)CommitOpenEdit(session, true);
    (void)ReleaseLevels(session, vars);
    const uint32_t bar = BarOf(handle);
    const Trio trio = Moved(BarIn(*vars, bar), PartOf(handle), wanted, RatioOf(*vars, bar));
    if (!WouldChange(*vars, handle, trio)) return {};
    const TKEffect effect = {
        .changed = true, .opensUndo = TKGestureUndo(session, &vars->readout[handle]), .rerenders = true};
    Apply(vars, handle, trio);
    TKStoreUndo(session);
    TKDefer(&vars->deferral, kLevelsDeferTicks);
    return effect;
}

bool LevelsTick(TKSession* session, LevelsVars* vars)
{
    if (vars->tracking != 0 && !session->platform->keyboard.mouseButtonDown())
        return ReleaseLevels(session, vars).rerenders;
    if (!TKDeferTick(&vars->deferral)) return false;
    Render(session, vars);
    return true;
}

bool LevelsNeedTick(const LevelsVars& vars)
{
    return vars.tracking != 0 || vars.deferral.pending;
}

bool FlushLevels(TKSession* session, LevelsVars* vars)
{
    if (!TKDeferFlush(&vars->deferral)) return false;
    Render(session, vars);
    return true;
}

void RefineLevelsEdit(SliderVars* slider)
{
    FormatLevelsValue(GetSliderValue(*slider), slider->editText, sizeof slider->editText);
    std::memcpy(slider->openedText, slider->editText, sizeof slider->openedText);
}
