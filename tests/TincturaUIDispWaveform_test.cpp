// Waveform monitors: scale, layout, graticule, and where light falls.
#include "src/TincturaUIDispWaveform.h"
#include "tests/ScopesTest.h"

#include <cmath>
#include <set>

namespace {

constexpr uint32_t kPAL = 2, kHD709 = 3, k240M = 4;

/// A monitor's parameters on a 640 x 480 pane, full range, PAL, IRE.
struct Monitor {
    ScopeRect bounds = {.top = 0, .left = 0, .bottom = 480, .right = 640};
    WaveformParams params = {};

    Monitor()
    {
        params.sourceWidth = 720;
        params.sourceHeight = 486;
        params.flags = waveformAlphaFirst | waveformIRE;
        params.mode = waveformSingle;
        params.videoSystem = 2;
        params.whiteLevel = 255;
        params.penSize = 1;
        params.traceGain = 0x10000;
        params.uiSaturation = 0x10000;
    }
    WaveformScale Scale(int32_t height = 480)
    {
        WaveformScale scale = {};
        EXPECT_TRUE(WaveformScaleOf(params, height, &scale));
        return scale;
    }
    WaveformLayout Layout(int32_t width = 640)
    {
        WaveformLayout layout = {};
        EXPECT_TRUE(WaveformLayoutOf(params, width, &layout));
        return layout;
    }
    /// Draws on a surface as large as the bounds.
    void Draw(Surface* target, const Surface* source, const ScopeContext& context)
    {
        params.target = target;
        params.bounds = &bounds;
        if (source) {
            params.sourcePixels = (*source).pixels;
            params.sourceWidth = static_cast<int32_t>((*source).width);
            params.sourceHeight = static_cast<int32_t>((*source).height);
            params.sourceRowBytes = static_cast<int32_t>((*source).rowBytes);
            params.flags |= waveformTrace;
        }
        DrawWaveformMonitor(params, context);
    }
    int64_t RowOf(int64_t level)
    {
        const WaveformScale s = Scale(ScopeHeightOf(bounds));
        return bounds.bottom - s.marginY - (level * s.pixelsPerCode >> 16);
    }
};

/// Horizontal lines in order: row, from, to.
struct Line {
    double y, from, to;
    ScopeColor color;
};
std::vector<Line> LinesOf(const Recorder& recorder)
{
    std::vector<Line> lines;
    for (const SeenMark& seen : recorder.Of(scopeMarkLine)) {
        EXPECT_EQ(seen.mark.y0, seen.mark.y1);
        lines.push_back({seen.mark.y0, seen.mark.x0, seen.mark.x1, seen.mark.color});
    }
    return lines;
}

bool IsGraticule(Surface::Pixel pixel, ScopeColor color)
{
    return pixel == Opaque(static_cast<uint8_t>(color.red >> 8), static_cast<uint8_t>(color.green >> 8),
                           static_cast<uint8_t>(color.blue >> 8));
}

/// The rows of a column that the trace has touched: anything but black and the graticule's orange. The surface's trace
/// is drawn without letters.
std::vector<int32_t> LitRows(const Surface& surface, int32_t x, ScopeColor major, ScopeColor minor)
{
    std::vector<int32_t> rows;
    for (int32_t y = 0; y < static_cast<int32_t>(surface.height); ++y) {
        const Surface::Pixel pixel = surface.At(x, y);
        if (pixel == Opaque(0, 0, 0) || IsGraticule(pixel, major) || IsGraticule(pixel, minor)) continue;
        rows.push_back(y);
    }
    return rows;
}

} // namespace

TEST(WaveformScale, Of16To235IsMinus10To110InIRE)
{
    Monitor m;
    m.params.blackLevel = 16;
    m.params.whiteLevel = 235;
    const WaveformScale s = m.Scale();
    EXPECT_EQ(s.irePerCode, 29925);
    EXPECT_EQ(s.zeroCode, 16);
    EXPECT_EQ(s.span, 219);
    EXPECT_EQ(s.lowIre, -10);
    EXPECT_EQ(s.highIre, 110);
}

TEST(WaveformScale, Of16To235IsMinus14To114InMillivoltsOnPAL)
{
    Monitor m;
    m.params.blackLevel = 16;
    m.params.whiteLevel = 235;
    m.params.flags &= ~waveformIRE;
    const WaveformScale s = m.Scale();
    EXPECT_EQ(s.lowIre, -14);
    EXPECT_EQ(s.highIre, 114);
}

TEST(WaveformScale, KeepsTensOfIREWithMillivoltsOnNTSC)
{
    Monitor m;
    m.params.blackLevel = 16;
    m.params.whiteLevel = 235;
    m.params.flags &= ~waveformIRE;
    m.params.videoSystem = 1;
    const WaveformScale s = m.Scale();
    EXPECT_EQ(s.lowIre, -10);
    EXPECT_EQ(s.highIre, 110);
}

TEST(WaveformScale, OfFullRangeIs0To100)
{
    Monitor m;
    const WaveformScale s = m.Scale();
    EXPECT_EQ(s.lowIre, 0);
    EXPECT_EQ(s.highIre, 100);
    EXPECT_EQ(s.span, 255);
    EXPECT_EQ(s.codeOffset, 0);
    EXPECT_EQ(s.traceHeight, 440); // 448 pixels in tenths
    EXPECT_EQ(s.marginY, 20);
    EXPECT_EQ(s.pixelsPerCode, 440 * 65536 / 255);
}

TEST(WaveformScale, WithSetupBeginsAtAMultipleOf10BelowCode0)
{
    Monitor m;
    m.params.setup = 200;
    const WaveformScale s = m.Scale();
    EXPECT_LT(s.zeroCode, 0);
    EXPECT_EQ(s.zeroCode, -20); // 7.5 of 92.5 IRE in 255 codes
    EXPECT_EQ(s.lowIre % 10, 0);
    EXPECT_LE(s.lowIre, 0);
    EXPECT_GE(s.highIre, 100);
}

TEST(WaveformScale, OfTheYCDisplayIsMinus30To130WhateverTheLevels)
{
    for (const auto& [black, white] : {std::pair{0, 255}, {16, 235}, {0, 100}, {64, 128}}) {
        Monitor m;
        m.params.flags |= waveformYC;
        m.params.blackLevel = black;
        m.params.whiteLevel = white;
        EXPECT_EQ(m.Scale().lowIre, -30) << black;
        EXPECT_EQ(m.Scale().highIre, 130) << black;
    }
}

TEST(WaveformScale, OfTheYCDisplayRoundsToo)
{
    Monitor m;
    m.params.flags = (m.params.flags | waveformYC) & ~waveformIRE;
    EXPECT_EQ(m.Scale().lowIre, -42);
    EXPECT_EQ(m.Scale().highIre, 142);
}

TEST(WaveformScale, IsAWholeNumberOfDivisionsHigh)
{
    for (int32_t height = 1; height < 1300; height += 7) {
        Monitor m;
        const WaveformScale s = m.Scale(height);
        EXPECT_EQ(s.traceHeight % 10, 0) << height;
        EXPECT_LE(s.traceHeight + 2 * s.marginY, height + 1) << height;
    }
}

TEST(WaveformScale, RefusesLevelsThatWouldDivideByZero)
{
    Monitor m;
    WaveformScale scale;
    m.params.blackLevel = m.params.whiteLevel = 100;
    EXPECT_FALSE(WaveformScaleOf(m.params, 480, &scale));
    m = {};
    m.params.setup = 100; // 100 IRE of pedestal: nothing is left
    EXPECT_FALSE(WaveformScaleOf(m.params, 480, &scale));
    m = {};
    m.params.blackLevel = INT32_MIN;
    m.params.whiteLevel = INT32_MAX;
    EXPECT_FALSE(WaveformScaleOf(m.params, 480, &scale));
}

TEST(WaveformMonitor, WithLevelsThatWouldDivideByZeroDrawsNothing)
{
    Surface target(640, 480), untouched(640, 480);
    target.FillBytes(0x5A);
    untouched.FillBytes(0x5A);
    Monitor m;
    m.params.whiteLevel = 0;
    m.Draw(&target, nullptr, ScopeDefaultContext());
    EXPECT_TRUE(SameSurface(untouched, target));
}

TEST(WaveformLayout, SharesThePlotAsEachModeIsTold)
{
    Monitor m; // margin 58, right end 621, plot 563
    WaveformLayout l = m.Layout();
    EXPECT_EQ(l.margin, 58);
    EXPECT_EQ(l.panelCount, 1);
    EXPECT_EQ(l.panelWidth, 563);
    EXPECT_EQ(l.graticuleRight, 563 - 1 + 58);
    for (const int32_t mode : {waveformYCbCr, waveformRGB, waveformGBR}) {
        m.params.mode = mode;
        l = m.Layout();
        EXPECT_EQ(l.panelCount, 3);
        EXPECT_EQ(l.panelWidth, (563 - 2 * 11) / 3);
        EXPECT_EQ(l.panelLeft[1], 180 + 11);
        EXPECT_EQ(l.panelLeft[2], 2 * (180 + 11));
    }
    m.params.mode = waveformYRGB;
    l = m.Layout();
    EXPECT_EQ(l.panelCount, 4);
    EXPECT_EQ(l.panelWidth, (563 - 3 * 9) / 4);
    EXPECT_EQ(l.panelLeft[3], 3 * (134 + 9));
}

TEST(WaveformLayout, OfFourPanelsHasAWiderGraticuleAlone)
{
    Monitor m;
    m.params.mode = waveformYRGB;
    const WaveformLayout l = m.Layout();
    EXPECT_EQ(l.graticuleRight, 640 - 14 - 58 - 1 + 58); // right margin a quarter, 14 pixels
    EXPECT_EQ(l.panelWidth, (640 - 19 - 58 - 27) / 4);   // of a third, 19
}

TEST(WaveformMonitor, TooNarrowForItsPanelsDrawsNothingNotEvenTheBackground)
{
    for (const auto& [mode, width] : {std::pair{int32_t{waveformSingle}, 0}, {waveformRGB, 2}, {waveformYRGB, 3}}) {
        Surface target(640, 480), untouched(640, 480);
        target.FillBytes(0x5A);
        untouched.FillBytes(0x5A);
        Monitor m;
        m.params.mode = mode;
        m.bounds.right = static_cast<int16_t>(width);
        m.Draw(&target, nullptr, ScopeDefaultContext());
        EXPECT_TRUE(SameSurface(untouched, target)) << mode;
        m.bounds.right = static_cast<int16_t>(width + 1);
        m.Draw(&target, nullptr, ScopeDefaultContext());
        EXPECT_FALSE(SameSurface(untouched, target)) << mode;
    }
}

TEST(WaveformGraticule, InIRELabelsEveryTwentyAndRunsTheOtherTensIntoTheLabels)
{
    Surface target(640, 480);
    Recorder recorder;
    Monitor m;
    m.Draw(&target, nullptr, recorder.Context());
    EXPECT_EQ(recorder.Texts(), (std::vector<std::string>{"0", "20", "40", "60", "80", "100"}));
    const std::vector<Line> lines = LinesOf(recorder);
    ASSERT_EQ(lines.size(), 11u);
    for (int k = 0; k <= 10; ++k) {
        EXPECT_EQ(lines[static_cast<size_t>(k)].y, static_cast<double>(m.RowOf(k * 10 * 255 / 100))) << k;
        EXPECT_EQ(lines[static_cast<size_t>(k)].from, k % 2 == 0 ? 58 : 640 - 620) << k;
        EXPECT_EQ(lines[static_cast<size_t>(k)].to, 620) << k;
    }
    const SeenMark label = recorder.Text("40");
    EXPECT_TRUE(label.mark.rightAligned);
    EXPECT_EQ(label.mark.x1, 58 - 2);
    EXPECT_EQ(label.mark.y0, lines[4].y + 12 / 2); // the ascent of size 16 is 12
    EXPECT_STREQ(label.mark.font.family, "Arial");
    EXPECT_TRUE(label.mark.font.bold);
    EXPECT_EQ(label.mark.font.size, 16);
}

TEST(WaveformGraticule, OnNTSCMarksTheSetupInTheMinorColour)
{
    Surface target(640, 480);
    Recorder recorder;
    Monitor m;
    m.params.videoSystem = 1;
    m.Draw(&target, nullptr, recorder.Context());
    const std::vector<Line> lines = LinesOf(recorder);
    ASSERT_EQ(lines.size(), 12u);
    EXPECT_EQ(lines.back().y, static_cast<double>(m.RowOf(75 * 255 / 1000)));
    EXPECT_EQ(lines.back().color.red, 0x9800);
    EXPECT_EQ(lines.front().color.red, 0xCE00);
}

TEST(WaveformGraticule, InMillivoltsStepsBy100FromTheLowestIRETimes100)
{
    Surface target(640, 480);
    Recorder recorder;
    Monitor m;
    m.params.flags &= ~waveformIRE;
    m.Draw(&target, nullptr, recorder.Context());
    // Full range: 0 to 700 mV and the step that the rounding allows.
    const std::vector<std::string> texts = recorder.Texts();
    ASSERT_GE(texts.size(), 8u);
    EXPECT_EQ(texts[0], "0");
    EXPECT_EQ(texts[7], "700");
    const std::vector<Line> lines = LinesOf(recorder);
    for (size_t i = 0; i < lines.size(); ++i) {
        EXPECT_EQ(lines[i].y, static_cast<double>(m.RowOf(static_cast<int64_t>(i) * 255 / 7)));
        EXPECT_EQ(lines[i].from, 58);
    }

    Recorder legal;
    m.params.blackLevel = 16;
    m.params.whiteLevel = 235;
    m.Draw(&target, nullptr, legal.Context());
    EXPECT_EQ(legal.Texts().front(), "-1400");
    EXPECT_EQ(legal.Texts().at(1), "-1300");
    EXPECT_EQ(legal.Texts().size(), 10u); // while i is at most 128 / 14.2857 + 0.5
}

TEST(WaveformGraticule, InMillivoltsMarks350OnTheYCbCrDisplay)
{
    Surface target(640, 480);
    Recorder recorder;
    Monitor m;
    m.params.flags &= ~waveformIRE;
    m.params.mode = waveformYCbCr;
    m.Draw(&target, nullptr, recorder.Context());
    const Line last = LinesOf(recorder).back();
    EXPECT_EQ(last.color.red, 0x9800);
    EXPECT_EQ(last.y, static_cast<double>(m.RowOf(127))); // 3.5 * 255 / 7
    Recorder other;
    m.params.mode = waveformRGB;
    m.Draw(&target, nullptr, other.Context());
    EXPECT_EQ(LinesOf(other).back().color.red, 0xCE00);
}

TEST(WaveformGraticule, WithAPenOf2HasEvenRows)
{
    Surface target(640, 480);
    Recorder recorder;
    Monitor m;
    m.params.penSize = 2;
    m.Draw(&target, nullptr, recorder.Context());
    std::set<int> odd;
    for (const Line& line : LinesOf(recorder)) EXPECT_EQ(std::fmod(line.y, 2.0), 0.0);
    const auto y = static_cast<int32_t>(LinesOf(recorder).front().y);
    EXPECT_TRUE(IsGraticule(target.At(100, y), {0xCE00, 0x6300, 0}));
    EXPECT_TRUE(IsGraticule(target.At(100, y + 1), {0xCE00, 0x6300, 0}));
    EXPECT_EQ(target.At(100, y + 2), Opaque(0, 0, 0));
}

TEST(WaveformGraticule, FallsBackToGeneva)
{
    Surface target(640, 480);
    Recorder recorder;
    recorder.family = "Geneva";
    Monitor m;
    m.Draw(&target, nullptr, recorder.Context());
    EXPECT_STREQ(recorder.Text("20").mark.font.family, "Geneva");
}

TEST(WaveformDisplay, InsetsBySixteenThousandthsOfTheWidthAndPaintsBlack)
{
    Surface target(640, 480);
    target.FillBytes(0x5A);
    Recorder recorder;
    DrawWaveformDisplay(&target, nullptr, nullptr, scopeLumaWFM, recorder.Context());
    const std::vector<SeenMark> paints = recorder.Of(scopeMarkPaint);
    ASSERT_EQ(paints.size(), 1u);
    EXPECT_EQ(paints[0].mark.x0, 10); // 640 * 0.016 = 10.24
    EXPECT_EQ(paints[0].mark.y0, 10);
    EXPECT_EQ(paints[0].mark.x1, 630);
    EXPECT_EQ(paints[0].mark.y1, 470);
    EXPECT_EQ(target.At(9, 9), (Surface::Pixel{0x5A, 0x5A, 0x5A, 0x5A}));
    EXPECT_EQ(target.At(10, 10), Opaque(0, 0, 0));
    EXPECT_EQ(target.At(630, 470), (Surface::Pixel{0x5A, 0x5A, 0x5A, 0x5A}));
}

TEST(WaveformDisplay, OfAnUnknownNumberDrawsNothing)
{
    Surface target(64, 48), untouched(64, 48);
    for (const int32_t display : {0, 8, 9, 10, 11, -1, INT32_MAX})
        DrawWaveformDisplay(&target, nullptr, nullptr, display, ScopeDefaultContext());
    EXPECT_TRUE(SameSurface(untouched, target));
}

TEST(WaveformDisplay, WithoutASourceOrWhileSuspendedHasTheGraticuleOfAPALPictureAlone)
{
    Surface source(720, 486), empty(320, 240), suspended(320, 240), traced(320, 240);
    FillScene(&source);
    ScopeContext context = ScopeDefaultContext();
    DrawWaveformDisplay(&empty, nullptr, nullptr, scopeRGBWFM, context);
    DrawWaveformDisplay(&traced, nullptr, &source, scopeRGBWFM, context);
    context.settings.updateSuspended = true;
    DrawWaveformDisplay(&suspended, nullptr, &source, scopeRGBWFM, context);
    EXPECT_TRUE(SameSurface(empty, suspended));
    EXPECT_FALSE(SameSurface(empty, traced));
}

TEST(WaveformTrace, SplitsAHitBetweenTwoRowsByItsFraction)
{
    Surface target(640, 480), source(1, 1);
    source.Fill([](int32_t, int32_t) { return Opaque(100, 100, 100); });
    Monitor m;
    m.Draw(&target, &source, ScopeDefaultContext());
    const WaveformScale s = m.Scale();
    const int64_t y = 100; // luma of a grey in 601: 30 + 59 + 11
    const int64_t fixed = y * s.pixelsPerCode;
    const auto row = static_cast<int32_t>(m.bounds.bottom - s.marginY - (fixed >> 16));
    const auto f = static_cast<uint32_t>(fixed & 0xFFFF);
    ASSERT_NE(f, 0u);
    const auto light = [](uint32_t weight, uint32_t increment) {
        return static_cast<uint8_t>(weight * increment >> 16);
    };
    EXPECT_EQ(target.At(300, row), Opaque(light(65536 - f, 0x05), light(65536 - f, 0x32), light(65536 - f, 0x19)));
    EXPECT_EQ(target.At(300, row - 1), Opaque(light(f, 0x05), light(f, 0x32), light(f, 0x19)));
    EXPECT_EQ(target.At(300, row + 1), Opaque(0, 0, 0));
    EXPECT_EQ(target.At(300, row - 2), Opaque(0, 0, 0));
}

TEST(WaveformTrace, OfAHitWithoutAFractionLeavesTheRowAboveAlone)
{
    Surface target(640, 480), source(1, 1);
    source.Fill([](int32_t, int32_t) { return Opaque(0, 0, 0); });
    Monitor m;
    m.params.mode = waveformOverlay;
    m.Draw(&target, &source, ScopeDefaultContext());
    const auto row = static_cast<int32_t>(m.RowOf(0));
    EXPECT_EQ(target.At(300, row - 1), Opaque(0, 0, 0));
    // Three hits on the graticule's line: 0xCE and 0x63 plus the increments of the three channels.
    EXPECT_EQ(target.At(300, row), Opaque(235, 0x63 + 0x2B + 0x17, 0x33));
}

TEST(WaveformTrace, StopsAtItsCeilingAndStaysThere)
{
    Surface target(640, 480), source(8, 400), longer(8, 560);
    for (Surface* picture : {&source, &longer}) picture->Fill([](int32_t, int32_t) { return Opaque(128, 128, 128); });
    Monitor m;
    m.Draw(&target, &source, ScopeDefaultContext());
    const WaveformScale s = m.Scale();
    const auto row = static_cast<int32_t>(m.RowOf(128));
    ASSERT_GT(128 * s.pixelsPerCode & 0xFFFF, 0x3334); // the upper row gets at least 1 of 5
    EXPECT_EQ(target.At(300, row - 1), Opaque(0x6D, 0xFF, 0xB9));
    EXPECT_EQ(target.At(300, row).green, 0xFF);
    Surface again(640, 480);
    m.Draw(&again, &longer, ScopeDefaultContext());
    EXPECT_TRUE(SameSurface(target, again));
}

TEST(WaveformTrace, OfAPictureOf577LinesReadsEverySecondOneAndOf576All)
{
    // Only odd lines are white; every second line from the first misses them.
    for (const uint32_t height : {576u, 577u}) {
        Surface target(640, 480), source(16, height);
        source.Fill([](int32_t, int32_t y) { return y % 2 != 0 ? Opaque(255, 255, 255) : Opaque(0, 0, 0); });
        ScopeContext context = ScopeDefaultContext();
        context.settings.uiSaturation = 0x10000;
        context.settings.videoSystem = kPAL;
        DrawWaveformDisplay(&target, nullptr, &source, scopeLumaWFM, context);
        int lit = 0;
        for (int32_t y = 0; y < 240; ++y) lit += target.At(300, y).green == 0xFF;
        EXPECT_EQ(lit > 0, height == 576) << height;
    }
}

TEST(WaveformTrace, RepeatsThePixelsOfANarrowSource)
{
    Surface target(640, 480), source(2, 1);
    source.Set(0, 0, Opaque(0, 0, 0));
    source.Set(1, 0, Opaque(255, 255, 255));
    Monitor m;
    m.params.uiSaturation = 0x10000;
    m.Draw(&target, &source, ScopeDefaultContext());
    const auto top = static_cast<int32_t>(m.RowOf(255)), bottom = static_cast<int32_t>(m.RowOf(0));
    const ScopeColor major = {0xCE00, 0x6300, 0};
    int32_t black = 0, white = 0;
    for (int32_t x = 58; x <= 620; ++x) {
        black += !IsGraticule(target.At(x, bottom), major);
        for (int32_t y = top - 1; y <= top + 1; ++y) white += y < top && target.At(x, y).green != 0;
        EXPECT_EQ(!IsGraticule(target.At(x, bottom), major), x < 58 + 283) << x;
    }
    EXPECT_EQ(black, 283); // the step of 2 / 563 is rounded down: a column more
    EXPECT_EQ(white, 280);
}

TEST(WaveformTrace, ReadsBothByteOrders)
{
    Surface argb(64, 32), bgra(64, 32), first(320, 240), second(320, 240);
    FillScene(&argb);
    bgra.Fill([&](int32_t x, int32_t y) {
        const Surface::Pixel p = argb.At(x, y);
        return Surface::Pixel{p.blue, p.green, p.red, p.alpha};
    });
    for (const int32_t mode : {1, 3, 4, 5, 6})
        for (const bool picture : {false, true}) {
            Monitor m;
            m.bounds = {.top = 0, .left = 0, .bottom = 240, .right = 320};
            m.params.mode = mode;
            if (picture) m.params.flags |= waveformPictureColor;
            m.Draw(&first, &argb, ScopeDefaultContext());
            m.params.flags &= ~waveformAlphaFirst;
            m.Draw(&second, &bgra, ScopeDefaultContext());
            EXPECT_TRUE(SameSurface(first, second)) << mode;
        }
}

TEST(WaveformTrace, OfTheCentredPanelsReadsAlphaAndGreen)
{
    Surface target(640, 480), source(4, 1);
    source.Fill([](int32_t, int32_t) { return Surface::Pixel{127, 60, 200, 10}; });
    Monitor m;
    m.params.mode = waveformYCbCr;
    m.params.uiSaturation = 0x10000;
    m.Draw(&target, &source, ScopeDefaultContext());
    const int64_t y = 18 + 117 + 1; // 60, 200 and 10 by 601
    const auto second = m.RowOf((((127 - y) * 0x8FDC) >> 16) + 127),
               third = m.RowOf((((200 - y) * 0xB699) >> 16) + 127);
    const WaveformLayout l = m.Layout();
    const ScopeColor major = {0xCE00, 0x6300, 0};
    for (const auto& [panel, row] : {std::pair{1, second}, {2, third}}) {
        const std::vector<int32_t> rows = LitRows(target, l.margin + l.panelLeft[panel] + 20, major, major);
        ASSERT_FALSE(rows.empty()) << panel;
        EXPECT_EQ(rows.back(), row) << panel;
        EXPECT_GE(rows.front(), row - 1) << panel;
    }
}

TEST(WaveformTrace, InPictureColoursTakesHalfOfEachSample)
{
    Surface target(640, 480), source(4, 1);
    source.Fill([](int32_t, int32_t) { return Opaque(200, 100, 51); });
    Monitor m;
    m.params.flags |= waveformPictureColor;
    m.Draw(&target, &source, ScopeDefaultContext());
    const WaveformScale s = m.Scale();
    const int64_t fixed = (60 + 59 + 6) * s.pixelsPerCode;
    const uint32_t weight = 0x10000 - static_cast<uint32_t>(fixed & 0xFFFF);
    const auto light = [=](uint32_t half) { return static_cast<uint8_t>(weight * half >> 16); };
    EXPECT_EQ(target.At(300, static_cast<int32_t>(m.RowOf(125))), Opaque(light(100), light(50), light(25)));
}

TEST(WaveformTrace, InPictureColoursStopsAt235)
{
    Surface target(640, 480), source(4, 500);
    source.Fill([](int32_t, int32_t) { return Opaque(255, 255, 20); });
    Monitor m;
    m.params.flags |= waveformPictureColor;
    m.Draw(&target, &source, ScopeDefaultContext());
    EXPECT_EQ(target.At(300, static_cast<int32_t>(m.RowOf(76 + 150 + 2))), Opaque(235, 235, 235));
}

TEST(WaveformYC, FillsTheChromaBehindTheTrace)
{
    Surface target(640, 480), source(4, 300);
    source.Fill([](int32_t, int32_t) { return Opaque(191, 0, 0); }); // 75% red: magnitude of (28, 117)
    Monitor m;
    m.params.flags |= waveformYC;
    m.params.uiSaturation = 0x10000;
    m.Draw(&target, &source, ScopeDefaultContext());
    const WaveformScale s = m.Scale();
    const auto rowOf = [&](int64_t level) { return static_cast<int32_t>(m.RowOf(level + s.codeOffset)); };
    const int64_t y = 57, magnitude = std::lround(std::sqrt(28.0 * 28 + 117.0 * 117));
    const Surface::Pixel envelope = Opaque(0, 0x7F, 0x3F);
    EXPECT_EQ(target.At(300, rowOf(y + magnitude)), envelope);
    EXPECT_NE(target.At(300, rowOf(y + magnitude) - 1), envelope);
    const int64_t low = std::max<int64_t>(y - magnitude, -s.codeOffset);
    EXPECT_EQ(target.At(300, rowOf(low)), envelope);
    EXPECT_NE(target.At(300, rowOf(low) + 1), envelope);
    // The trace has too little red to stand before the envelope.
    EXPECT_EQ(target.At(300, rowOf(y)), envelope);
}

TEST(WaveformYC, KeepsATraceWithEnoughRedBeforeTheEnvelope)
{
    Surface target(640, 480), source(4, 300);
    source.Fill([](int32_t, int32_t) { return Opaque(255, 120, 120); });
    Monitor m;
    m.params.flags |= waveformYC | waveformPictureColor; // 127 of red a hit
    m.Draw(&target, &source, ScopeDefaultContext());
    const WaveformScale s = m.Scale();
    const int64_t y = 76 + 70 + 14;
    const Surface::Pixel dense = target.At(300, static_cast<int32_t>(m.RowOf(y + s.codeOffset)));
    const Surface::Pixel thin = target.At(300, static_cast<int32_t>(m.RowOf(y + s.codeOffset)) - 1);
    EXPECT_TRUE(dense.red == 235 || thin.red == 235);
}

TEST(WaveformYC, OfAGreyPictureHasNoEnvelope)
{
    Surface yc(640, 480), source(256, 16);
    source.Fill([](int32_t x, int32_t) {
        const auto grey = static_cast<uint8_t>(x);
        return Opaque(grey, grey, grey);
    });
    Monitor m;
    m.params.flags |= waveformYC;
    m.params.uiSaturation = 0x10000;
    m.Draw(&yc, &source, ScopeDefaultContext());
    for (int32_t y = 0; y < 480; ++y)
        for (int32_t x = 0; x < 640; ++x) ASSERT_FALSE(yc.At(x, y) == Opaque(0, 0x7F, 0x3F)) << x << ", " << y;
}

TEST(WaveformTrace, StaysInsideItsBounds)
{
    // Levels that throw the trace far above and below the graticule.
    Random random(7);
    Surface source(50, 50);
    source.FillNoise(random);
    for (const int32_t mode : {1, 2, 3, 4, 5, 6})
        for (const uint32_t flags : {0u, uint32_t{waveformYC}, uint32_t{waveformPictureColor}})
            for (const bool readable : {true, false}) {
                Surface target(200, 160), before(200, 160);
                target.FillBytes(0x33);
                Monitor m;
                m.bounds = {.top = 40, .left = 30, .bottom = 120, .right = 170};
                m.params.mode = mode;
                m.params.flags |= flags;
                m.params.blackLevel = 100;
                m.params.whiteLevel = 120;
                ScopeContext context = ScopeDefaultContext();
                context.readable = readable;
                m.Draw(&target, &source, context);
                for (int32_t y = 0; y < 160; ++y)
                    for (int32_t x = 0; x < 200; ++x)
                        if (y < 40 || y >= 120 || x < 30 || x >= 170) {
                            ASSERT_EQ(target.At(x, y), (Surface::Pixel{0x33, 0x33, 0x33, 0x33})) << x << ", " << y;
                        }
            }
}

TEST(WaveformTrace, OfASingleLineReadsThatLineAlone)
{
    Surface source(16, 10);
    source.Fill([](int32_t, int32_t y) { return y == 7 ? Opaque(255, 255, 255) : Opaque(0, 0, 0); });
    for (const int32_t line : {7, 6}) {
        Surface target(640, 480);
        Monitor m;
        m.params.lineCount = -1;
        m.params.singleLine = line;
        m.Draw(&target, &source, ScopeDefaultContext());
        const auto row = static_cast<int32_t>(m.RowOf(255));
        const bool lit = target.At(300, row).green != 0x63 || target.At(300, row - 1).green != 0;
        EXPECT_EQ(lit, line == 7);
    }
    for (const int32_t line : {-1, 10, INT32_MAX}) {
        Surface target(640, 480), empty(640, 480);
        Monitor m, none;
        m.params.lineCount = -1;
        m.params.singleLine = line;
        m.Draw(&target, &source, ScopeDefaultContext());
        none.params.sourceWidth = 16;
        none.Draw(&empty, nullptr, ScopeDefaultContext());
        EXPECT_TRUE(SameSurface(empty, target)) << line;
    }
}

// Colour bars land where an engineer expects them ----------------------------------------------------------------------

TEST(ColourBars, OnTheLumaMonitorStandAtTheirLumaInEveryMatrix)
{
    // Percent of white, of 100% bars: white, yellow, cyan, green, magenta, red, blue, black.
    const double percent601[8] = {100, 88.6, 70.1, 58.7, 41.3, 29.9, 11.4, 0};
    const double percent709[8] = {100, 92.8, 78.7, 71.5, 28.5, 21.3, 7.2, 0};
    const double percent240M[8] = {100, 91.3, 78.8, 70.1, 29.9, 21.2, 8.7, 0};
    for (const double level : {1.0, 0.75}) {
        for (const auto& [system, percent] :
             {std::pair{kPAL, percent601}, {kHD709, percent709}, {k240M, percent240M}}) {
            Surface source(800, 20), target(640, 480);
            FillBars(&source, static_cast<uint8_t>(std::lround(255 * level)));
            ScopeContext context = ScopeDefaultContext();
            context.settings.videoSystem = system;
            context.settings.uiSaturation = 0x10000;
            context.witness = nullptr;
            DrawWaveformDisplay(&target, nullptr, &source, scopeLumaWFM, context);
            // Rows of 0 and 100 IRE from the graticule's lines themselves.
            Recorder recorder;
            Surface lines(640, 480);
            ScopeContext recorded = recorder.Context();
            recorded.settings = context.settings;
            DrawWaveformDisplay(&lines, nullptr, nullptr, scopeLumaWFM, recorded);
            const double zero = recorder.Of(scopeMarkLine).front().mark.y0,
                         hundred = recorder.Of(scopeMarkLine).back().mark.y0;
            for (int bar = 0; bar < 8; ++bar) {
                const int32_t x = 10 + 56 + (2 * bar + 1) * 546 / 16;
                double sum = 0, weight = 0;
                for (int32_t y = 0; y < 480; ++y) {
                    const int light = int{target.At(x, y).blue}; // orange has none
                    sum += y * light;
                    weight += light;
                }
                ASSERT_GT(weight, 0) << bar;
                const double seen = (zero - sum / weight) / (zero - hundred) * 100;
                EXPECT_NEAR(seen, percent[bar] * level, 0.6) << "bar " << bar << " of system " << system;
            }
        }
    }
}

TEST(ColourBars, OnTheParadesStandAtTheirChannelsLevels)
{
    Surface source(800, 20);
    FillBars(&source, 191);
    struct {
        int32_t display;
        int order[3]; // channel of each panel: 0 red, 1 green, 2 blue
    } const cases[] = {{scopeRGBWFM, {0, 1, 2}}, {scopeGBRWFM, {1, 2, 0}}};
    for (const auto& each : cases) {
        Surface target(1280, 960);
        Recorder recorder;
        ScopeContext context = recorder.Context();
        context.settings.videoSystem = kPAL;
        context.settings.uiSaturation = 0x10000;
        DrawWaveformDisplay(&target, nullptr, &source, each.display, context);
        const double zero = recorder.Of(scopeMarkLine).front().mark.y0,
                     hundred = recorder.Of(scopeMarkLine).back().mark.y0;
        const auto row75 = static_cast<int32_t>(std::lround(zero + (hundred - zero) * 191 / 255));
        Monitor m;
        m.params.mode = waveformRGB;
        const WaveformLayout l = m.Layout(1280 - 40);
        for (int panel = 0; panel < 3; ++panel)
            for (int bar = 0; bar < 8; ++bar) {
                const int32_t x = 20 + l.margin + l.panelLeft[panel] + (2 * bar + 1) * l.panelWidth / 16;
                const Surface::Pixel color = BarColor(bar, 191);
                const uint8_t channel[3] = {color.red, color.green, color.blue};
                const uint8_t level = channel[each.order[panel]];
                int light = 0;
                for (int32_t y = row75 - 1; y <= row75 + 1; ++y) {
                    const Surface::Pixel seen = target.At(x, y);
                    const uint8_t shown[3] = {seen.red, seen.green, seen.blue};
                    light += shown[each.order[panel]];
                }
                EXPECT_EQ(light > 0, level != 0) << "panel " << panel << ", bar " << bar;
            }
    }
}
