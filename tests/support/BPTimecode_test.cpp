// Frame counts as text, case by case.
#include "src/support/BPTimecode.h"

#include "src/platform/fake/BPFake.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>

namespace {

struct Case {
    const char* name;
    int32_t frame;
    uint32_t rate, format, dropFlag, feet;
    int32_t offset;
    const char* text;
};

constexpr Case kCases[] = {
    {"zero at drop", 0, 2997, 1, 0, 0, 0, "00:00:00;00"},
    {"an hour at drop", 107892, 2997, 1, 0, 0, 0, "01:00:00;00"},
    {"an hour of 24", 86400, 2400, 1, 1, 0, 0, "01:00:00:00"},
    {"format 0 is timecode", 86400, 2400, 0, 1, 0, 0, "01:00:00:00"},
    {"a drop minute is 1798 frames", 1798, 2997, 1, 0, 0, 0, "00:01:00;00"},
    {"30 with the drop flag is drop", 1798, 3000, 1, 0, 0, 0, "00:01:00;00"},
    {"24 has a drop row", 1438, 2400, 1, 0, 0, 0, "00:01:00;00"},
    {"23.976 too", 1439, 2398, 1, 0, 0, 0, "00:01:00;01"},
    {"59.94 drop", 3598, 5994, 1, 0, 0, 0, "00:01:00;00"},
    {"60 non-drop", 3600 + 59, 6000, 1, 1, 0, 0, "00:01:00:59"},
    {"29.97 non-drop", 1799, 2997, 1, 1, 0, 0, "00:00:59:29"},
    {"25 is generic and has colons at drop", 25 * 3661 + 7, 2500, 1, 0, 0, 0, "01:01:01:07"},
    {"a generic rate truncates", 1250 / 100, 1250, 1, 1, 0, 0, "00:00:01:00"},
    {"timecode ignores the offset", 24, 2400, 1, 1, 0, 1000, "00:00:01:00"},
    {"a hundred hours go on in the code table", 24 * 3600 * 100, 2400, 1, 1, 0, 0, ":0:00:00:00"},
    {"frames with an offset", 7, 2400, 2, 1, 0, 3, "00010"},
    {"frames grow beyond five digits", 1234567, 2400, 2, 1, 0, 0, "1234567"},
    {"a negative frame", -7, 2400, 2, 1, 0, 0, "-0007"},
    {"feet", 33, 2400, 3, 1, 16, 0, "0002+01"},
    {"feet with an offset", 33, 2400, 3, 1, 16, 15, "0003+00"},
    {"the end of the numbers", INT32_MAX, 2400, 2, 1, 0, INT32_MAX, "4294967294"},
};

std::string TextOf(const Case& c, uint32_t length)
{
    char text[64];
    std::memset(text, 'x', sizeof text);
    BPFramesToTimecodeCString(c.frame, c.rate, c.format, c.dropFlag, c.feet, c.offset, text, length);
    return text;
}

class BPTimecode : public ::testing::Test {
  protected:
    void SetUp() override
    {
        BPFakeReset();
        BPFakeCaptureLog();
    }
    void TearDown() override { BPFakeReset(); }
};

TEST_F(BPTimecode, EveryDisplayWritesItsText)
{
    for (const Case& c : kCases) EXPECT_EQ(TextOf(c, 64), c.text) << c.name;
    EXPECT_TRUE(gBPFake.reports.empty());
}

TEST_F(BPTimecode, ElevenBytesAreTooFewForTimecodeOnly)
{
    EXPECT_EQ(TextOf(kCases[0], 11), "");
    ASSERT_EQ(gBPFake.reports.size(), 1u);
    EXPECT_NE(gBPFake.reports[0].text.find("Assert (length >= 12) failed. [BPTimecode: "), std::string::npos);
    EXPECT_EQ(TextOf({"", 7, 2400, 2, 1, 0, 3, ""}, 11), "00010");
    EXPECT_EQ(TextOf({"", 33, 2400, 3, 1, 16, 0, ""}, 11), "0002+01");
    EXPECT_EQ(TextOf({"", 123456, 2400, 2, 1, 0, 0, ""}, 4), "123"); // cut, and ended
}

TEST_F(BPTimecode, ARateOfZeroIsAnAssertion)
{
    EXPECT_EQ(TextOf({"", 1, 0, 1, 1, 0, 0, ""}, 64), "");
    ASSERT_EQ(gBPFake.reports.size(), 1u);
    EXPECT_NE(gBPFake.reports[0].text.find("frameRate100 != 0"), std::string::npos);
}

TEST_F(BPTimecode, ARateWithoutFramesInASecondAssertsAndGoesOn)
{
    EXPECT_EQ(TextOf({"", 3, 50, 1, 1, 0, 0, ""}, 64).size(), 11u);
    ASSERT_EQ(gBPFake.reports.size(), 1u);
    EXPECT_NE(
        gBPFake.reports[0].text.find("hours10 != 0 && hours1 != 0 && minutes10 != 0 && minutes1 != 0 && seconds10 "
                                     "!= 0 && seconds1 != 0"),
        std::string::npos);
}

TEST_F(BPTimecode, NoFramesInAFootIsAnAssertion)
{
    EXPECT_EQ(TextOf({"", 3, 2400, 3, 1, 0, 0, ""}, 64), "");
    ASSERT_EQ(gBPFake.reports.size(), 1u);
    EXPECT_NE(gBPFake.reports[0].text.find("framesPerFoot != 0"), std::string::npos);
}

TEST_F(BPTimecode, AnUnknownDisplayIsLogged)
{
    EXPECT_EQ(TextOf({"", 3, 2400, 9, 1, 16, 0, ""}, 64), "");
    EXPECT_EQ(gBPFake.log, "BPFramesToTimecodeCString: unknown timecode display format 9\n");
}

TEST_F(BPTimecode, ANegativeNumberYieldsDigitsBelowZero)
{
    EXPECT_EQ(TextOf({"", -1, 2400, 1, 1, 0, 0, ""}, 64), "00:00:00:0/"); // '/' is the character below '0'
}

TEST_F(BPTimecode, EachDigitOfEveryFamilyHasItsDivisor)
{
    struct Row {
        uint32_t rate, dropFlag;
        int32_t unit[6]; // frames of a second, ten seconds, a minute, ten minutes, an hour, ten hours
        char separator;
    };
    constexpr Row kRows[] = {
        {2997, 0, {30, 300, 1798, 17982, 107892, 1078920}, ';'},
        {3000, 0, {30, 300, 1798, 17982, 107892, 1078920}, ';'},
        {2398, 0, {24, 240, 1438, 14382, 86292, 862920}, ';'},
        {2400, 0, {24, 240, 1438, 14382, 86292, 862920}, ';'},
        {5994, 0, {60, 600, 3598, 35982, 215892, 2158920}, ';'},
        {6000, 0, {60, 600, 3598, 35982, 215892, 2158920}, ';'},
        {2997, 1, {30, 300, 1800, 18000, 108000, 1080000}, ':'},
        {3000, 7, {30, 300, 1800, 18000, 108000, 1080000}, ':'},
        {2398, 1, {24, 240, 1440, 14400, 86400, 864000}, ':'},
        {2400, 1, {24, 240, 1440, 14400, 86400, 864000}, ':'},
        {5994, 1, {60, 600, 3600, 36000, 216000, 2160000}, ':'},
        {6000, 1, {60, 600, 3600, 36000, 216000, 2160000}, ':'},
        {2500, 0, {25, 250, 1500, 15000, 90000, 900000}, ':'},
        {1250, 1, {12, 125, 750, 7500, 45000, 450000}, ':'},
        {199, 0, {1, 19, 119, 1194, 7164, 71640}, ':'},
    };
    constexpr size_t kDigit[] = {7, 6, 4, 3, 1, 0}; // places in the text
    for (const Row& row : kRows)
        for (size_t i = 0; i < 6; ++i) {
            std::string expected = "00:00:00:00";
            expected[8] = row.separator;
            expected[kDigit[i]] = '1';
            EXPECT_EQ(TextOf({"", row.unit[i], row.rate, 1, row.dropFlag, 0, 0, ""}, 12), expected)
                << row.rate << " " << row.dropFlag << " " << i;
        }
    EXPECT_TRUE(gBPFake.reports.empty());
}

TEST_F(BPTimecode, WhateverAHostTellsTheTextStaysInItsBuffer)
{
    constexpr int32_t kFrames[] = {INT32_MIN, -1, 0, 1, 1798, 107891, INT32_MAX};
    for (uint32_t rate = 0; rate <= 65535; rate += rate < 120 ? 1 : 977)
        for (const uint32_t format : {0u, 1u, 2u, 3u, 4u, 255u})
            for (const int32_t frame : kFrames)
                for (const int32_t offset : {0, 65535, INT32_MIN}) {
                    char text[40];
                    std::memset(text, '#', sizeof text);
                    BPFramesToTimecodeCString(frame, rate, format, 0, rate % 3, offset, text, 12);
                    ASSERT_NE(std::memchr(text, 0, 12), nullptr) << rate << " " << format << " " << frame;
                    ASSERT_EQ(text[12], '#') << rate << " " << format << " " << frame;
                }
}

TEST_F(BPTimecode, NoBufferIsTouchedWithoutALength)
{
    char text[2] = {'a', 'b'};
    BPFramesToTimecodeCString(1, 2400, bpTimeFrames, 1, 0, 0, text, 0);
    EXPECT_EQ(text[0], 'a');
}

} // namespace
