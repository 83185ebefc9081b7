// Typing into a slider: one edit is open at a time, and what stands in it becomes the value when it closes.
#include "src/support/TKCommands.h"
#include "src/support/TKSession.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

namespace {

/// Reads a number as scanf's " %lf" in the C locale. False when there is none.
bool ParseNumber(const char* text, double* number)
{
    while (*text == ' ' || (*text >= '\t' && *text <= '\r')) ++text;
    const bool negative = *text == '-';
    if (*text == '+' && text[1] != '-') ++text;
    double value = 0;
    const std::from_chars_result result = std::from_chars(text, text + std::strlen(text), value);
    if (result.ec == std::errc::invalid_argument) return false;
    if (result.ec == std::errc::result_out_of_range) value = negative ? -HUGE_VAL : HUGE_VAL;
    if (std::isnan(value)) return false;
    *number = value;
    return true;
}

void CopyText(char* destination, size_t capacity, const char* text)
{
    const size_t length = std::min(std::strlen(text), capacity - 1);
    std::memcpy(destination, text, length);
    destination[length] = 0;
}

} // namespace

void OpenEdit(TKSession* session, SliderVars* slider)
{
    (void)CommitOpenEdit(session, true);
    TKShowSliderValue(slider, GetSliderValue(*slider));
    CopyText(slider->editText, sizeof slider->editText, slider->valueText);
    CopyText(slider->openedText, sizeof slider->openedText, slider->valueText);
    slider->editing = true;
    session->controls.openSlider = slider;
    TK_UI(session, editOpened, slider);
}

void TKSetEditText(SliderVars* slider, const char* text)
{
    CopyText(slider->editText, sizeof slider->editText, text);
}

bool TKEditAcceptsCharacter(uint32_t character)
{
    return (character >= '0' && character <= '9') || character == '-' || character == '.' || character == ',' ||
           character == '\b';
}

TKEditAction TKEditKeyAction(uint32_t virtualKey, uint32_t modifiers)
{
    switch (virtualKey) {
    case kTKKeyReturn: return tkEditCommit;
    case kTKKeyTab: return modifiers & bpShiftKey ? tkEditPrevious : tkEditNext;
    case kTKKeyEscape: return tkEditCancel;
    default: return tkEditPass;
    }
}

TKEffect TKEditKey(TKSession* session, SliderVars* slider, uint32_t virtualKey, uint32_t modifiers)
{
    if (session->controls.openSlider != slider) return {};
    switch (TKEditKeyAction(virtualKey, modifiers)) {
    case tkEditPass: return {};
    case tkEditCommit: return CommitOpenEdit(session, true);
    case tkEditCancel: return CommitOpenEdit(session, false);
    case tkEditNext: {
        const TKEffect effect = CommitOpenEdit(session, true);
        if (slider->next) OpenEdit(session, slider->next);
        return effect;
    }
    case tkEditPrevious: {
        const TKEffect effect = CommitOpenEdit(session, true);
        if (slider->previous) OpenEdit(session, slider->previous);
        return effect;
    }
    }
    return {};
}

TKEffect CommitOpenEdit(TKSession* session, bool apply)
{
    SliderVars* slider = session->controls.openSlider;
    if (!slider) return {};
    session->controls.openSlider = nullptr;
    slider->editing = false;
    TK_UI(session, editClosed, slider);

    double typed = 0;
    const bool touched = std::strcmp(slider->editText, slider->openedText) != 0;
    if (!apply || !touched || !ParseNumber(slider->editText, &typed)) {
        return SetSliderValue(session, slider, GetSliderValue(*slider), false);
    }
    // A typed value is a step of its own, unless it changes nothing.
    const int32_t position = std::clamp(TKTrackUnits(*slider, typed), slider->typeMin, slider->typeMax);
    const void* lastTouched = session->controls.lastTouched;
    session->controls.lastTouched = nullptr;
    const TKEffect effect = SetSliderValue(session, slider, TKEngineeringUnits(*slider, position), true);
    if (!effect.changed) session->controls.lastTouched = lastTouched;
    return effect;
}
