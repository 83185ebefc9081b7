// The texts of tool tips.
#include "src/support/TKToolTips.h"

#include <gtest/gtest.h>

namespace {

TEST(TKToolTips, TheTableHasItsTextsAndAHoleAt15)
{
    const char* const texts[] = {
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
        nullptr,
        "Choose gray point",
        "Choose white point",
        "Save current correction settings as user preset",
    };
    for (uint32_t i = 0; i < std::size(texts); ++i)
        EXPECT_STREQ(TKToolTipText(kTKToolTipBase, i + 1), texts[i]) << i + 1;
    EXPECT_EQ(TKToolTipText(kTKToolTipBase, 0), nullptr);
    EXPECT_EQ(TKToolTipText(kTKToolTipBase, 19), nullptr);
    EXPECT_EQ(TKToolTipText(1999, 0), nullptr);
    EXPECT_EQ(TKToolTipText(0, 5), nullptr);
    EXPECT_EQ(TKToolTipText(UINT32_MAX, 2001), nullptr);
}

} // namespace
