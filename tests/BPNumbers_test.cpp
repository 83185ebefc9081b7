// Numbers in files: the same digits as printf in the C locale, whatever the locale of the process.
#include "src/BPNumbers.h"

#include <gtest/gtest.h>

#include <bit>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <limits>
#include <random>

namespace {

std::string Fixed(double value, int decimals)
{
    std::string text;
    BPAppendFixed(&text, value, decimals);
    return text;
}

std::string Printed(double value, int decimals)
{
    char text[400];
    snprintf(text, sizeof text, "%.*f", decimals, value);
    return text;
}

/// Puts the C locale back at the end.
struct LocaleGuard {
    ~LocaleGuard() { std::setlocale(LC_ALL, "C"); }
};

TEST(BPNumbers, WhatIsNoNumberHasNoSign)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(Fixed(nan, 4), "nan");
    EXPECT_EQ(Fixed(std::copysign(nan, -1.0), 4), "nan");
}

TEST(BPNumbers, DigitsAreThoseOfPrintf)
{
    const double values[] = {0.0,      -0.0,     1.0,   0.5,    0.00005,  0.00015, 1.00005,
                             -2.71828, 1e-300,   1e300, -1e308, 123456.5, 0.125,   std::numeric_limits<double>::max(),
                             INFINITY, -INFINITY};
    for (const double value : values)
        for (int decimals = 0; decimals <= 17; ++decimals)
            EXPECT_EQ(Fixed(value, decimals), Printed(value, decimals)) << decimals;
    std::mt19937_64 random(7);
    for (int i = 0; i < 20000; ++i) {
        const double value = std::bit_cast<double>(random());
        if (std::isnan(value)) continue;
        ASSERT_EQ(Fixed(value, 6), Printed(value, 6));
    }
    EXPECT_EQ(Fixed(NAN, 4), "nan");
}

TEST(BPNumbers, DecimalsOutsideTheRangeAreTakenAsItsEnds)
{
    EXPECT_EQ(Fixed(1.5, -3), "2");
    EXPECT_EQ(Fixed(1.5, 40), "1.50000000000000000");
}

TEST(BPNumbers, FloatsAreReadAsScanfReadsThem)
{
    float values[3] = {7, 8, 9};
    EXPECT_EQ(BPScanFloats(" \n\t1.5  -2e1 +.25 rest", values, 3), 3);
    EXPECT_EQ(values[0], 1.5f);
    EXPECT_EQ(values[1], -20.0f);
    EXPECT_EQ(values[2], 0.25f);
    EXPECT_EQ(BPScanFloats("inf -inf 0x10", values, 3), 3);
    EXPECT_EQ(values[0], INFINITY);
    EXPECT_EQ(values[1], -INFINITY);
    EXPECT_EQ(values[2], 16.0f);
    EXPECT_EQ(BPScanFloats("1e99 1e-99 4.", values, 3), 3);
    EXPECT_EQ(values[0], INFINITY);
    EXPECT_EQ(values[1], 0.0f);
    EXPECT_EQ(values[2], 4.0f);
}

TEST(BPNumbers, ReadingStopsBeforeTheFirstTextThatIsNoNumber)
{
    float values[3] = {7, 8, 9};
    EXPECT_EQ(BPScanFloats("", values, 3), 0);
    EXPECT_EQ(BPScanFloats("  x", values, 3), 0);
    EXPECT_EQ(BPScanFloats("1 , 2", values, 3), 1);
    EXPECT_EQ(values[0], 1.0f);
    EXPECT_EQ(values[1], 8.0f);
    EXPECT_EQ(BPScanFloats("5,5 6", values, 3), 1);
    EXPECT_EQ(values[0], 5.0f);
    EXPECT_EQ(values[2], 9.0f);
}

TEST(BPNumbers, TheLocaleOfTheProcessDoesNotMatter)
{
    const LocaleGuard guard;
    bool comma = false;
    for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "nl_NL.UTF-8"})
        comma = comma || std::setlocale(LC_ALL, name) != nullptr;
    if (!comma) GTEST_SKIP() << "no locale with a comma is installed";
    float value = 0;
    EXPECT_EQ(Printed(1.5, 2), "1,50");
    EXPECT_EQ(Fixed(1.5, 2), "1.50");
    EXPECT_EQ(BPScanFloats("2.75", &value, 1), 1);
    EXPECT_EQ(value, 2.75f);
}

} // namespace
