// Holding the thumb.
#include "src/support/TKSliderHold.h"

#include "src/support/TKKeys.h"
#include "src/support/TKSession.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr int32_t kNotch = 120;
constexpr int32_t kPageNotches = 10;

double RangeOf(const SliderVars& slider)
{
    return static_cast<double>(slider.trackMax) - slider.trackMin;
}

int32_t OnTrack(const SliderVars& slider, double position)
{
    return static_cast<int32_t>(
        std::lround(std::clamp(position, static_cast<double>(slider.trackMin), static_cast<double>(slider.trackMax))));
}

/// A tenth of a notch, at least one unit.
TKEffect FineStep(TKSession* session, SliderVars* slider, int32_t direction)
{
    const double notch = slider->flags & kTKSliderScaled ? RangeOf(*slider) / 1200 : 1;
    const double step = std::max(1.0, std::floor(notch * kTKFineDrag + 0.5));
    return TKSliderDrag(session, slider, OnTrack(*slider, slider->position + direction * step));
}

} // namespace

void TKGrabThumb(TKSession* session, const SliderVars& slider, TKSliderHold* hold, double pixel)
{
    (void)CommitOpenEdit(session, true);
    *hold = {.position = static_cast<double>(slider.position), .pixel = pixel};
}

TKEffect TKPressTrack(TKSession* session, SliderVars* slider, TKSliderHold* hold, double pixel, int32_t length,
                      uint32_t modifiers)
{
    TKGrabThumb(session, *slider, hold, pixel);
    if (modifiers & bpShiftKey || length <= 0) return {};
    hold->position = slider->trackMin + pixel / length * RangeOf(*slider);
    return TKSliderDrag(session, slider, OnTrack(*slider, hold->position));
}

TKEffect TKMoveHeldThumb(TKSession* session, SliderVars* slider, TKSliderHold* hold, double pixel, int32_t length,
                         uint32_t modifiers)
{
    const double moved = pixel - hold->pixel;
    if (length <= 0 || moved == 0 || !std::isfinite(pixel)) return {};
    hold->pixel = pixel;
    hold->position += moved / length * RangeOf(*slider) * (modifiers & bpShiftKey ? kTKFineDrag : 1);
    return TKSliderDrag(session, slider, OnTrack(*slider, hold->position));
}

TKSliderKeyAction TKSliderKeyActionOf(uint32_t virtualKey)
{
    switch (virtualKey) {
    case kTKKeyUp:
    case kTKKeyDown:
    case kTKKeyPageUp:
    case kTKKeyPageDown: return tkSliderKeyStep;
    case kTKKeyDelete:
    case kTKKeyBack: return tkSliderKeyReset;
    case kTKKeyReturn: return tkSliderKeyEdit;
    default: return tkSliderKeyNone;
    }
}

TKEffect TKSliderKey(TKSession* session, SliderVars* slider, uint32_t virtualKey, uint32_t modifiers)
{
    if (slider->editing) return {}; // the keys are the edit's
    switch (TKSliderKeyActionOf(virtualKey)) {
    case tkSliderKeyNone: break;
    case tkSliderKeyReset: return TKSliderValueClick(session, slider, bpControlKey);
    case tkSliderKeyEdit: OpenEdit(session, slider); break;
    case tkSliderKeyStep: {
        const bool up = virtualKey == kTKKeyUp || virtualKey == kTKKeyPageUp;
        const bool page = virtualKey == kTKKeyPageUp || virtualKey == kTKKeyPageDown;
        if (!page && modifiers & bpShiftKey) return FineStep(session, slider, up ? 1 : -1);
        slider->wheelRest = 0;
        return TKSliderWheel(session, slider, (up ? 1 : -1) * (page ? kPageNotches : 1) * kNotch);
    }
    }
    return {};
}
