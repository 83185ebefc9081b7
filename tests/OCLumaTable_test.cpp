// The shared luma table: its entries, its memory of the last request.
#include "src/OCLumaTable.h"
#include "src/ScopeColor.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace {

/// The entry by whole numbers: level times ten-thousandths, ties away from zero.
uint32_t Exact(uint32_t level, uint32_t tenThousandths)
{
    return (level * tenThousandths + 5000) / 10000;
}

constexpr uint32_t kTenThousandths[3][3] = {{2990, 5870, 1140}, {2126, 7152, 722}, {2120, 7010, 870}};

/// The process ends with 0 where the table in force is that of the matrix.
[[noreturn]] void LeaveWithMatrixInForce(int32_t matrix)
{
    const uint8_t* table = GetCurrentLumaTable();
    for (uint32_t channel = 0; channel < 3; ++channel)
        for (uint32_t level = 0; level < 256; ++level)
            if (table[channel * 256 + level] != Exact(level, kTenThousandths[matrix][channel])) std::_Exit(1);
    std::_Exit(0);
}

} // namespace

// In a process of its own: nobody has asked for a table there, whatever tests ran before in this one.
TEST(AFirstLumaTable, IsThatOf709)
{
    const std::string style = GTEST_FLAG_GET(death_test_style);
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(LeaveWithMatrixInForce(ocMatrix709), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(LeaveWithMatrixInForce(ocMatrix601), testing::ExitedWithCode(1), "");
    GTEST_FLAG_SET(death_test_style, style);
}

TEST(LumaTable, RoundsEveryEntryOfEveryMatrixWithTiesAwayFromZero)
{
    for (int32_t matrix = 0; matrix < kOCMatrixCount; ++matrix) {
        const uint8_t* table = GetLumaTable(matrix);
        for (uint32_t channel = 0; channel < 3; ++channel)
            for (uint32_t level = 0; level < 256; ++level)
                ASSERT_EQ(table[channel * 256 + level], Exact(level, kTenThousandths[matrix][channel]))
                    << "matrix " << matrix << ", channel " << channel << ", level " << level;
    }
    EXPECT_EQ(GetLumaTable(ocMatrix601)[512 + 250], 29) << "28.5 exactly";
    EXPECT_EQ(GetLumaTable(ocMatrix240M)[125], 27) << "26.5 exactly";
}

TEST(LumaTable, IsTheOneLastAskedFor)
{
    GetLumaTable(ocMatrix601);
    EXPECT_EQ(GetCurrentLumaTable()[255], 76);
    GetLumaTable(ocMatrix709);
    EXPECT_EQ(GetCurrentLumaTable()[255], 54);
}

TEST(LumaTable, OfAnUnknownMatrixIsThatOf709)
{
    for (const int32_t matrix : {-1, 3, INT32_MAX, INT32_MIN}) {
        GetLumaTable(ocMatrix601);
        EXPECT_EQ(GetLumaTable(matrix)[255], 54) << matrix;
    }
}

TEST(LumaTable, NeverSumsAboveTheScale)
{
    for (int32_t matrix = 0; matrix < kOCMatrixCount; ++matrix) {
        const uint8_t* table = GetLumaTable(matrix);
        EXPECT_LE(table[255] + table[511] + table[767], 255) << matrix;
        EXPECT_GE(table[255] + table[511] + table[767], 254) << matrix;
    }
}

TEST(DesaturateColor, LeavesAColourAtFactor1AndGreysItAtFactor0)
{
    const ScopeColor color = {0xCE00, 0x6300, 0};
    const ScopeColor whole = DesaturateColor(color, 0x10000);
    EXPECT_EQ(whole.red, color.red);
    EXPECT_EQ(whole.green, color.green);
    EXPECT_EQ(whole.blue, color.blue);
    const ScopeColor grey = DesaturateColor(color, 0);
    EXPECT_EQ(grey.red, ScopeGreyOf(color));
    EXPECT_EQ(grey.green, grey.red);
    EXPECT_EQ(grey.blue, grey.red);
}

TEST(DesaturateColor, ClampsWhatAFactorAbove1DrivesOutside)
{
    const ScopeColor color = DesaturateColor({0xFFFF, 0x8000, 0}, 0x20000);
    EXPECT_EQ(color.red, 0xFFFF);
    EXPECT_EQ(color.blue, 0);
}
