// Behaviour of the data-bound controls.
//
// Every gesture ends in one of three stores (ApplySlider, TKCheckboxClick, TKPopupSelect) with the same order: compare,
// undo, store, change procedure, label, section, picture, UndoStore. A gesture that changes nothing stops at the
// comparison, so it leaves no empty undo step and keeps what can be redone.
#include "src/support/TincturaUIControls.h"

#include "src/platform/BPLog.h"
#include "src/support/TKCommands.h"
#include "src/support/TKControlTable.h"
#include "src/support/TKSession.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

namespace {

constexpr double kTrackUnit = 65536.0;
constexpr double kNotchesPerTrack = 1200.0; // a notch of the wheel is this part of the track
constexpr int32_t kWheelNotch = 120;

uint8_t* FieldOf(const SliderVars& slider)
{
    return slider.dataBase + slider.dataOffset;
}

template <class Value> Value ReadAt(const uint8_t* field)
{
    Value value;
    std::memcpy(&value, field, sizeof value);
    return value;
}

template <class Value> void WriteAt(uint8_t* field, Value value)
{
    std::memcpy(field, &value, sizeof value);
}

/// The value of the slider's field in a record of the same kind, in engineering units.
double ValueIn(const SliderVars& slider, const uint8_t* record)
{
    if (!record) return 0;
    const uint8_t* field = record + slider.dataOffset;
    if (slider.flags & kTKSliderFloat) return static_cast<double>(ReadAt<float>(field));
    const double word = ReadAt<int32_t>(field);
    return slider.flags & kTKSliderScaled ? word / kTrackUnit : word;
}

int32_t Saturated(double value)
{
    if (std::isnan(value)) return 0;
    if (value <= -2147483648.0) return INT32_MIN;
    if (value >= 2147483647.0) return INT32_MAX;
    return static_cast<int32_t>(std::llround(value));
}

/// What the field would hold for a track position.
float FloatAt(const SliderVars& slider, int32_t position)
{
    return static_cast<float>(TKEngineeringUnits(slider, position));
}

bool WouldChange(const SliderVars& slider, int32_t position)
{
    if (!slider.dataBase) return false;
    if (slider.flags & kTKSliderFloat) return !(ReadAt<float>(FieldOf(slider)) == FloatAt(slider, position));
    return ReadAt<int32_t>(FieldOf(slider)) != position;
}

void Show(TKSession* session, SliderVars* slider)
{
    TKShowSliderValue(slider, GetSliderValue(*slider));
    TK_UI(session, sliderChanged, slider);
}

void Finish(TKSession* session, TKSectionID section, bool repaint)
{
    MarkSectionActive(session, section, true, true);
    if (repaint) RecomputeAndRefresh(session, true);
    TKStoreUndo(session);
}

/// The end of every slider gesture.
TKEffect ApplySlider(TKSession* session, SliderVars* slider, int32_t position)
{
    if (!WouldChange(*slider, position)) {
        Show(session, slider);
        return {};
    }
    TKEffect effect = {.changed = true, .opensUndo = TKGestureUndo(session, slider), .rerenders = slider->repaint};
    SetFieldFromTrack(*slider, position);
    if (slider->changeProc) slider->changeProc(session, slider, GetSliderValue(*slider), slider->repaint);
    Show(session, slider);
    Finish(session, slider->section, slider->repaint);
    return effect;
}

uint8_t* LiveBytes(TKSession* session)
{
    return reinterpret_cast<uint8_t*>(&session->liveSettings);
}

} // namespace

// --- Sections ---------------------------------------------------------------------------------------------------------

bool MarkSectionActive(TKSession* session, TKSectionID section, bool on, bool propagate)
{
    if (section >= tkSectionCount) return false;
    const TKSection& row = TKSections()[section];
    const uint32_t count = propagate ? row.switchCount : 1;
    bool changed = false;
    for (uint32_t i = 0; i < count; ++i) {
        uint8_t* field = LiveBytes(session) + row.switchOffset[i];
        if ((ReadAt<uint32_t>(field) != 0) == on) continue;
        WriteAt<uint32_t>(field, on ? 1 : 0);
        changed = true;
    }
    if (changed) {
        TK_UI(session, switchesChanged);
        TKShowViews(session);
    }
    return changed;
}

// --- Sliders ----------------------------------------------------------------------------------------------------------

void TKCreateSlider(SliderVars* slider, const TKSliderRow& row, void* base, uint32_t blockOffset, const void* defaults,
                    TKSectionID section)
{
    *slider = {};
    slider->dataBase = static_cast<uint8_t*>(base);
    slider->dataOffset = blockOffset + row.offset;
    slider->flags = row.flags;
    slider->trackMin = TKTrackUnits(*slider, row.low);
    slider->trackMax = TKTrackUnits(*slider, row.high);
    slider->typeMin = TKTrackUnits(*slider, row.entryLow);
    slider->typeMax = TKTrackUnits(*slider, row.entryHigh);
    slider->defaultValue = static_cast<float>(row.neutral);
    if (defaults) slider->defaultValue = static_cast<float>(ValueIn(*slider, static_cast<const uint8_t*>(defaults)));
    slider->section = section;
    slider->repaint = true;
    slider->label = row.label;
    slider->objectName = row.objectName;
    if (base) TKShowSliderValue(slider, GetSliderValue(*slider));
}

BPStatus TKRegisterSlider(TKSession* session, SliderVars* slider)
{
    const uintptr_t dataBase = reinterpret_cast<uintptr_t>(slider->dataBase), dataOffset = slider->dataOffset;
    BP_ASSERT(dataBase + dataOffset != 0, "TincturaUIControlsWin");
    if (dataBase == 0) return bpParamErr;
    return TKEnterTable(session->controls.slider, &session->controls.sliderCount, slider);
}

void TKForgetSlider(TKSession* session, SliderVars* slider)
{
    TKControls& controls = session->controls;
    if (controls.openSlider == slider) controls.openSlider = nullptr;
    if (controls.lastTouched == slider) controls.lastTouched = nullptr;
    TKLeaveTable(controls.slider, &controls.sliderCount, slider);
}

void ResetTabChain(TKTabChain* chain)
{
    *chain = {};
}

void TKChainSlider(TKTabChain* chain, SliderVars* slider)
{
    slider->previous = chain->last;
    slider->next = nullptr;
    if (chain->last)
        chain->last->next = slider;
    else
        chain->first = slider;
    chain->last = slider;
}

void TKCloseTabChain(TKTabChain* chain)
{
    if (!chain->first) return;
    chain->last->next = chain->first;
    chain->first->previous = chain->last;
}

double GetSliderValue(const SliderVars& slider)
{
    return ValueIn(slider, slider.dataBase);
}

void TKShowSliderValue(SliderVars* slider, double value)
{
    slider->position = std::clamp(TKTrackUnits(*slider, value), slider->trackMin, slider->trackMax);
    FormatSliderValue(*slider, value, slider->valueText, sizeof slider->valueText);
}

TKEffect SetSliderValue(TKSession* session, SliderVars* slider, double value, bool repaint)
{
    if (!repaint) {
        TKShowSliderValue(slider, value);
        TK_UI(session, sliderChanged, slider);
        return {};
    }
    (void)CommitOpenEdit(session, true);
    return ApplySlider(session, slider, TKTrackUnits(*slider, value));
}

void FormatSliderValue(const SliderVars& slider, double value, char* text, uint32_t length)
{
    if (length == 0) return;
    char* const end = text + length - 1;
    const std::to_chars_result result = slider.flags & kTKSliderScaled
                                            ? std::to_chars(text, end, value, std::chars_format::fixed, 2)
                                            : std::to_chars(text, end, Saturated(std::trunc(value)));
    *(result.ec == std::errc() ? result.ptr : text) = 0;
}

int32_t TKTrackUnits(const SliderVars& slider, double value)
{
    return Saturated(slider.flags & kTKSliderScaled ? value * kTrackUnit : value);
}

double TKEngineeringUnits(const SliderVars& slider, int32_t position)
{
    return slider.flags & kTKSliderScaled ? position / kTrackUnit : position;
}

int32_t TKThumbPixel(const SliderVars& slider, int32_t length)
{
    const int64_t range = int64_t{slider.trackMax} - slider.trackMin;
    if (length <= 0 || range <= 0) return 0;
    const int64_t along = std::clamp(int64_t{slider.position} - slider.trackMin, int64_t{0}, range);
    return static_cast<int32_t>((along * length + range / 2) / range);
}

bool SetFieldFromTrack(const SliderVars& slider, int32_t position)
{
    if (!slider.dataBase) return false;
    const bool changed = WouldChange(slider, position);
    if (slider.flags & kTKSliderFloat)
        WriteAt(FieldOf(slider), FloatAt(slider, position));
    else
        WriteAt(FieldOf(slider), position);
    return changed;
}

TKEffect TKSliderDrag(TKSession* session, SliderVars* slider, int32_t position)
{
    (void)CommitOpenEdit(session, true);
    const TKEffect effect = ApplySlider(session, slider, std::clamp(position, slider->trackMin, slider->trackMax));
    if (effect.changed) session->controls.undoPending = true;
    return effect;
}

TKEffect TKSliderWheel(TKSession* session, SliderVars* slider, int32_t delta)
{
    if (delta == 0 || slider->editing) return {}; // a turn to the side is none
    (void)CommitOpenEdit(session, true);
    if ((delta > 0) != (slider->wheelRest > 0)) slider->wheelRest = 0; // a turn back pays nothing off
    const int64_t turned = int64_t{slider->wheelRest} + delta;
    const int64_t notches = turned / kWheelNotch;
    slider->wheelRest = static_cast<int32_t>(turned - notches * kWheelNotch);
    if (notches == 0) return {};
    int64_t step = notches;
    if (slider->flags & kTKSliderScaled) {
        const double range =
            TKEngineeringUnits(*slider, slider->trackMax) - TKEngineeringUnits(*slider, slider->trackMin);
        step = static_cast<int64_t>(range / kNotchesPerTrack * static_cast<double>(notches) * kTrackUnit + 0.5);
    }
    const int64_t position = std::clamp<int64_t>(slider->position + step, slider->trackMin, slider->trackMax);
    return ApplySlider(session, slider, static_cast<int32_t>(position));
}

TKEffect TKSliderValueClick(TKSession* session, SliderVars* slider, uint32_t modifiers)
{
    if (!(modifiers & bpControlKey)) {
        OpenEdit(session, slider);
        return {};
    }
    return SetSliderValue(session, slider, static_cast<double>(slider->defaultValue), true);
}

// --- Checkboxes and popups --------------------------------------------------------------------------------------------

void TKCreateCheckbox(TKCheckbox* checkbox, void* base, uint32_t offset, TKSectionID section, const char* label,
                      const char* objectName)
{
    const uintptr_t dataOffset = reinterpret_cast<uintptr_t>(base) + offset;
    BP_ASSERT(dataOffset != 0, "TincturaUIControlsWin");
    *checkbox = {.dataBase = static_cast<uint8_t*>(base),
                 .dataOffset = offset,
                 .mask = 0xFFFFFFFF,
                 .section = section,
                 .repaint = true,
                 .label = label,
                 .objectName = objectName};
}

bool TKCheckboxIsOn(const TKCheckbox& checkbox)
{
    return checkbox.dataBase && (ReadAt<uint32_t>(checkbox.dataBase + checkbox.dataOffset) & checkbox.mask) != 0;
}

TKEffect TKCheckboxClick(TKSession* session, const TKCheckbox* checkbox, bool on)
{
    (void)CommitOpenEdit(session, true);
    if (!checkbox->dataBase || TKCheckboxIsOn(*checkbox) == on) return {};
    const bool opened = TKCommandUndo(session);
    WriteAt<uint32_t>(checkbox->dataBase + checkbox->dataOffset, on ? 1 : 0);
    TK_UI(session, switchesChanged);
    TKShowViews(session);
    Finish(session, checkbox->section, checkbox->repaint);
    return {.changed = true, .opensUndo = opened, .rerenders = checkbox->repaint};
}

void TKCreatePopup(TKPopup* popup, void* base, uint32_t dataOffset, TKSectionID section, const char* label,
                   const char* objectName, const char* items)
{
    *popup = {};
    popup->dataBase = static_cast<uint8_t*>(base);
    popup->dataOffset = dataOffset;
    popup->section = section;
    popup->repaint = true;
    popup->label = label;
    popup->objectName = objectName;
    popup->items = items;
}

int32_t TKPopupValue(const TKPopup& popup)
{
    return popup.dataBase ? ReadAt<int32_t>(popup.dataBase + popup.dataOffset) : 0;
}

uint32_t TKItemCount(const char* items)
{
    if (!items || !*items) return 0;
    return static_cast<uint32_t>(std::count(items, items + std::strlen(items), '|')) + 1;
}

std::string_view TKItemAt(const char* items, uint32_t index)
{
    std::string_view rest = items ? items : "";
    while (index > 0) {
        const size_t bar = rest.find('|');
        if (bar == std::string_view::npos) return {};
        rest.remove_prefix(bar + 1);
        --index;
    }
    return rest.substr(0, rest.find('|'));
}

TKEffect TKPopupSelect(TKSession* session, const TKPopup* popup, int32_t index)
{
    (void)CommitOpenEdit(session, true);
    if (!popup->dataBase) return {};
    uint8_t* field = popup->dataBase + popup->dataOffset;
    const int32_t oldValue = ReadAt<int32_t>(field);
    int32_t newValue = index + 1;
    // The step begins before the procedure, which may have linked fields to write.
    TKSettleControls(session);
    const OCSettings before = session->liveSettings;
    if (popup->changeProc) newValue = popup->changeProc(session, popup, oldValue, newValue, popup->repaint);
    if (newValue == oldValue && std::memcmp(&before, &session->liveSettings, sizeof before) == 0) return {};
    const bool opened = TKCommandUndoFrom(session, before);
    WriteAt(field, newValue);
    TKShowViews(session);
    Finish(session, popup->section, popup->repaint);
    return {.changed = true, .opensUndo = opened, .rerenders = popup->repaint};
}

// --- Views ------------------------------------------------------------------------------------------------------------

BPStatus TKRegisterView(TKSession* session, TKView* view)
{
    return TKEnterTable(session->controls.view, &session->controls.viewCount, view);
}

void TKForgetView(TKSession* session, TKView* view)
{
    TKLeaveTable(session->controls.view, &session->controls.viewCount, view);
}

void TKShowViews(TKSession* session)
{
    const TKControls& controls = session->controls;
    for (uint32_t i = 0; i < controls.viewCount; ++i) controls.view[i]->show(controls.view[i]->window);
}
