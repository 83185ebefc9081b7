#include "src/OCLUTLines.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

std::span<const uint8_t> Bytes(std::string_view text)
{
    return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

std::vector<std::string> AllLines(std::string_view text)
{
    OCLineReader reader = {.bytes = Bytes(text)};
    std::vector<std::string> lines;
    for (std::string line; OCNextLine(&reader, &line) == bpNoErr;) lines.push_back(line);
    return lines;
}

using Strings = std::vector<std::string>;

} // namespace

TEST(OCLines, LineFeedAndCarriageReturnInEitherOrderEndOneLine)
{
    EXPECT_EQ(AllLines("a\nb\n"), (Strings{"a", "b"}));
    EXPECT_EQ(AllLines("a\rb\r"), (Strings{"a", "b"}));
    EXPECT_EQ(AllLines("a\r\nb\r\n"), (Strings{"a", "b"}));
    EXPECT_EQ(AllLines("a\n\rb\n\r"), (Strings{"a", "b"}));
}

TEST(OCLines, TwoOfOneKindAreTwoEnds)
{
    EXPECT_EQ(AllLines("a\n\nb"), (Strings{"a", "", "b"}));
    EXPECT_EQ(AllLines("a\r\rb"), (Strings{"a", "", "b"}));
    EXPECT_EQ(AllLines("a\r\n\r\nb"), (Strings{"a", "", "b"}));
    EXPECT_EQ(AllLines("a\r\n\nb"), (Strings{"a", "", "b"}));
}

TEST(OCLines, ALastLineWithoutAnEndCounts)
{
    EXPECT_EQ(AllLines("a\nlast"), (Strings{"a", "last"}));
    EXPECT_EQ(AllLines(""), Strings{});
    EXPECT_EQ(AllLines("\n"), (Strings{""}));
}

TEST(OCLines, LongerLinesGoOnAsTheNextLine)
{
    const std::string longLine(600, 'x');
    const Strings lines = AllLines(longLine + "\nend");
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[0].size(), 255u);
    EXPECT_EQ(lines[1].size(), 255u);
    EXPECT_EQ(lines[2].size(), 90u);
    EXPECT_EQ(lines[3], "end");
}

TEST(OCLines, AreLoweredTheAsciiWay)
{
    OCLineReader reader = {.bytes = Bytes("LUT: Zz[\xC3\x84")};
    std::string line;
    ASSERT_EQ(OCNextLowerLine(&reader, &line), bpNoErr);
    EXPECT_EQ(line, "lut: zz[\xC3\x84");
    EXPECT_EQ(OCNextLowerLine(&reader, &line), bpEndOfFileErr);
    EXPECT_EQ(line, "");
}

TEST(OCLines, BlankLinesAndCommentsSayNothing)
{
    OCLineReader reader = {.bytes = Bytes("\n  \t\n# 5\n 7\n#\n")};
    std::string line;
    ASSERT_EQ(OCNextDataLine(&reader, &line), bpNoErr);
    EXPECT_EQ(line, " 7");
    EXPECT_EQ(OCNextDataLine(&reader, &line), bpEndOfFileErr);
}

TEST(OCNumbers, StopAtTheFirstWordThatIsNone)
{
    int32_t values[3] = {-1, -1, -1};
    EXPECT_EQ(OCScanNumbers("  12\t-7 x 5", values, 3), 2);
    EXPECT_EQ(values[0], 12);
    EXPECT_EQ(values[1], -7);
    EXPECT_EQ(values[2], -1);
    EXPECT_EQ(OCScanNumbers("", values, 1), 0);
    EXPECT_EQ(OCScanNumbers("-", values, 1), 0);
    EXPECT_EQ(OCScanNumbers("3.9", values, 2), 1); // as %ld would: the point is no digit
    EXPECT_EQ(values[0], 3);
}

TEST(OCNumbers, OfAnyLengthStayInRange)
{
    int32_t values[2] = {};
    const std::string text = std::string(300, '9') + " -" + std::string(300, '9');
    EXPECT_EQ(OCScanNumbers(text.c_str(), values, 2), 2);
    EXPECT_EQ(values[0], INT32_MAX);
    EXPECT_EQ(values[1], INT32_MIN);
}
