// Texts of the tool tips.
#pragma once

#include <cstdint>

inline constexpr uint32_t kTKToolTipBase = 2000; ///< string number of index 0
inline constexpr uint32_t kTKToolTipLast = 18;

/// Indices that controls of more than one file use.
enum : uint32_t {
    kTKTipMatchTargetPlain = 5,
    kTKTipMatchTargetPicker = 6,
    kTKTipMatchMethod = 7,
    kTKTipMatchButton = 8,
    kTKTipMatchSource = 9,
    kTKTipMatchTarget = 10,
    kTKTipSample = 11,
    kTKTipSampleSource = 12,
    kTKTipSampleResult = 13,
    kTKTipFormat = 14,
    kTKTipBlackPoint = 15,
    kTKTipGrayPoint = 16,
    kTKTipWhitePoint = 17,
};

/// The text of string `base` + `index`; null when the table has none, and no tip is shown then.   Thread: any.
const char* TKToolTipText(uint32_t base, uint32_t index);
