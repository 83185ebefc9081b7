// What of a picture a trace reads: lines, a single one, and the picture that is not there.
#include "src/ScopeLines.h"

#include "src/TincturaUIDisp.h"
#include "tests/ScopesTest.h"

TEST(ScopeLines, OfANumberAreAboutAsManyEvenly)
{
    const struct {
        int32_t wanted, height, step, count;
    } cases[] = {
        {0, 486, 1, 486},      {288, 577, 2, 289},   {540, 1080, 2, 540},
        {1080, 2160, 2, 1080}, {100, 149, 1, 149}, // 1.49: rounded down
        {100, 150, 2, 75},     {100, 250, 3, 84},  // a half: up
        {1000, 10, 1, 10},                         // more than there are
        {1, 7, 7, 1},          {INT32_MAX, 5, 1, 5},
    };
    for (const auto& each : cases) {
        ScopeLines lines;
        ASSERT_TRUE(ScopeLinesOf(each.wanted, 0, each.height, &lines));
        EXPECT_EQ(lines.first, 0);
        EXPECT_EQ(lines.end, each.height);
        EXPECT_EQ(lines.step, each.step) << each.wanted << " of " << each.height;
        EXPECT_EQ(ScopeLineCount(lines), each.count) << each.wanted << " of " << each.height;
    }
}

TEST(ScopeLines, OfASingleOneAreThatOneInsideThePicture)
{
    ScopeLines lines;
    for (const int32_t line : {0, 3, 9}) {
        ASSERT_TRUE(ScopeLinesOf(-1, line, 10, &lines));
        EXPECT_EQ(lines.first, line);
        EXPECT_EQ(ScopeLineCount(lines), 1);
    }
    for (const int32_t line : {-1, 10, INT32_MAX, INT32_MIN}) EXPECT_FALSE(ScopeLinesOf(-1, line, 10, &lines)) << line;
}

TEST(ScopeSource, OfMoreThan576LinesIsReadByHalfAndWithoutOneIsA720By486Picture)
{
    WaveformParams params = {};
    for (const auto& [height, count] : {std::pair{576u, 0}, {577u, 288}, {1080u, 540}}) {
        const Surface source(8, height);
        EXPECT_TRUE(ScopeSetSource(&params, &source));
        EXPECT_EQ(params.sourceHeight, static_cast<int32_t>(height));
        EXPECT_EQ(params.lineCount, count) << height;
        EXPECT_EQ(params.sourceRowBytes, static_cast<int32_t>(source.rowBytes));
    }
    Surface mask(8, 8);
    mask.depth = 1;
    for (const ScopeSurface* none :
         {static_cast<const ScopeSurface*>(nullptr), static_cast<const ScopeSurface*>(&mask)}) {
        EXPECT_FALSE(ScopeSetSource(&params, none));
        EXPECT_EQ(params.sourcePixels, nullptr);
        EXPECT_EQ(params.sourceWidth, 720);
        EXPECT_EQ(params.sourceHeight, 486);
        EXPECT_EQ(params.sourceRowBytes, 0);
        EXPECT_EQ(params.lineCount, 0);
    }
}
