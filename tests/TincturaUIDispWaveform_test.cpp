// Waveform monitors: scale, layout and graticule.
#include "tests/WaveformTest.h"

#include <set>

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

TEST(WaveformGraticule, InMillivoltsBelowBlackCounts350FromTheStepTowardsZero)
{
    Surface target(640, 480);
    Recorder recorder;
    Monitor m;
    m.params.flags &= ~waveformIRE;
    m.params.mode = waveformYCbCr;
    m.params.blackLevel = 16;
    m.params.whiteLevel = 235;
    ASSERT_EQ(m.Scale().lowIre, -14);
    m.Draw(&target, nullptr, recorder.Context());
    // -14 / 14.2857 - 0.5 is -1.48: the first step is -1, and (3.5 + 1) x 219 / 7 is 140.8.
    EXPECT_EQ(LinesOf(recorder).back().y, static_cast<double>(m.RowOf(140)));
    EXPECT_NE(m.RowOf(140), m.RowOf(172)); // of the step below
}

TEST(WaveformGraticule, WithSetupBeginsAtAMultipleOf10AndBlackStandsOnTheLineOfTheSetup)
{
    Surface target(640, 480), source(1, 400);
    source.Fill([](int32_t, int32_t) { return Opaque(0, 0, 0); });
    Recorder recorder;
    Monitor m;
    m.params.setup = 200;
    m.params.videoSystem = 1;
    const WaveformScale scale = m.Scale();
    EXPECT_EQ(scale.lowIre, 0); // from 7
    EXPECT_EQ(scale.highIre, 100);
    EXPECT_EQ(scale.span, 275);
    m.Draw(&target, &source, recorder.Context());
    EXPECT_EQ(recorder.Texts(), (std::vector<std::string>{"0", "20", "40", "60", "80", "100"}));
    const std::vector<Line> lines = LinesOf(recorder);
    ASSERT_EQ(lines.size(), 12u);
    for (int k = 0; k <= 10; ++k)
        EXPECT_EQ(lines[static_cast<size_t>(k)].y, static_cast<double>(m.RowOf(k * 10 * 275 / 100))) << k;
    const auto setup = static_cast<int32_t>(m.RowOf(20)); // 75 x 275 / 1000 = 20.6
    EXPECT_EQ(lines.back().y, setup);
    EXPECT_EQ(lines.back().color.red, 0x9800);
    // Code 0 is 20 codes, 31.9999 pixels, above 0 IRE: nearly all of its light falls on the row above the line.
    EXPECT_EQ(target.At(300, setup - 1).green, 0xFF);
    EXPECT_EQ(target.At(300, setup - 2), Opaque(0, 0, 0));
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

    // The scale is that of no source, whatever lies there: the columns of a narrow one end elsewhere.
    Surface narrow(1, 300), plain(1280, 120), still(1280, 120);
    FillScene(&narrow);
    DrawWaveformDisplay(&still, nullptr, &narrow, scopeYRGBWFM, context);
    context.settings.updateSuspended = false;
    DrawWaveformDisplay(&plain, nullptr, nullptr, scopeYRGBWFM, context);
    EXPECT_TRUE(SameSurface(plain, still));
}
