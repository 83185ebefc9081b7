// The table of tool tips, by index from kTKToolTipBase.
#include "src/support/TKToolTips.h"

namespace {

constexpr const char* kTips[kTKToolTipLast + 1] = {
    nullptr,
    "Add file to reference gallery",
    "Use selection as reference image or settings",
    "Remove selection from gallery",
    "Create new folder",
    "Choose color match target color...",
    "Choose color match target color. Press option and click for color picker.",
    "Choose color matching method",
    "Adjust settings to match source and target colors",
    "Color match source color",
    "Color match target color",
    "Choose color sample",
    "Sample source color",
    "Sample result color",
    "Choose color display format",
    nullptr, // Deliberate: the eyedropper of the black point has no tip.
    "Choose gray point",
    "Choose white point",
    "Save current correction settings as user preset",
};

} // namespace

const char* TKToolTipText(uint32_t base, uint32_t index)
{
    const uint64_t number = uint64_t{base} + index;
    if (number < kTKToolTipBase || number > kTKToolTipBase + kTKToolTipLast) return nullptr;
    return kTips[number - kTKToolTipBase];
}
