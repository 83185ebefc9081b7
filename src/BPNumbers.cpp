// Numbers in files. The library works inside programs that set a locale of their own, so no printf and no strtof here
// without a locale in hand.
#include "src/BPNumbers.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <locale.h>
#include <stdlib.h>

namespace {

/// The C locale; null when the system has no memory for it, which leaves the process's own.
locale_t CLocale()
{
    static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
    return locale;
}

} // namespace

void BPAppendFixed(std::string* text, double value, int decimals)
{
    char digits[352]; // sign, 309 digits, point, 17 decimals
    const int places = std::clamp(decimals, 0, 17);
    if (std::isnan(value)) value = std::fabs(value); // whose sign is the processor's whim
    const std::to_chars_result end =
        std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed, places);
    text->append(digits, end.ptr);
}

int BPScanFloats(const char* text, float* values, int count)
{
    for (int i = 0; i < count; ++i) {
        char* end = nullptr;
        const float value = CLocale() != nullptr ? strtof_l(text, &end, CLocale()) : strtof(text, &end);
        if (end == text) return i;
        values[i] = value;
        text = end;
    }
    return count;
}
