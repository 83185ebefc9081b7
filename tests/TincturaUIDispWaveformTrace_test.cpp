// Waveform monitors: where light falls.
#include "tests/WaveformTest.h"

#include <algorithm>
#include <cmath>

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

TEST(ColourBars, OnTheYCMonitorSwingAsAnEngineerKnowsThem)
{
    // Bars of 75% in 601 without setup: yellow and cyan peak at 100 IRE, red and blue dip to -25.
    const struct {
        int bar;
        double high, low;
    } swings[] = {{1, 100.0, 32.8}, {2, 100.0, 5.2},  {3, 88.3, -0.3},
                  {4, 75.2, -13.3}, {5, 69.9, -25.0}, {6, 42.1, -25.0}};
    Surface target(1280, 960), source(800, 20);
    FillBars(&source, 191);
    Monitor m;
    m.bounds = ScopeBoundsOf(target);
    m.params.flags |= waveformYC;
    m.Draw(&target, &source, ScopeDefaultContext());
    const WaveformScale s = m.Scale(960);
    const WaveformLayout l = m.Layout(1280);
    const auto ireOf = [&](int32_t row) {
        const double codes = static_cast<double>(960 - s.marginY - row) * 65536 / static_cast<double>(s.pixelsPerCode);
        return (codes - static_cast<double>(s.codeOffset)) / 2.55;
    };
    for (const auto& swing : swings) {
        const int32_t x = l.margin + (2 * swing.bar + 1) * l.panelWidth / 16;
        int32_t top = -1, bottom = -1;
        for (int32_t y = 0; y < 960; ++y) {
            if (target.At(x, y) != Opaque(0, 0x7F, 0x3F)) continue;
            if (top < 0) top = y;
            bottom = y;
        }
        ASSERT_GE(top, 0) << swing.bar;
        EXPECT_NEAR(ireOf(top), swing.high, 0.8) << swing.bar;
        EXPECT_NEAR(ireOf(bottom), swing.low, 0.8) << swing.bar;
    }
    // White and black have no chroma.
    for (const int bar : {0, 7})
        for (int32_t y = 0; y < 960; ++y)
            ASSERT_NE(target.At(l.margin + (2 * bar + 1) * l.panelWidth / 16, y), Opaque(0, 0x7F, 0x3F)) << bar;
}

TEST(ColourBars, OnTheCentredPanelsRestOnAlphaAndGreen)
{
    // The second panel sees alpha less luma, the third green less luma.
    Surface target(1280, 960), source(800, 20);
    FillBars(&source, 255);
    Monitor m;
    m.bounds = ScopeBoundsOf(target);
    m.params.mode = waveformYCbCr;
    m.Draw(&target, &source, ScopeDefaultContext());
    const WaveformLayout l = m.Layout(1280);
    const int luma[8] = {255, 226, 179, 150, 105, 76, 29, 0}; // sums of the rounded entries
    for (int bar = 0; bar < 8; ++bar) {
        const auto brightest = [&](int panel) {
            const int32_t x = l.margin + l.panelLeft[panel] + (2 * bar + 1) * l.panelWidth / 16;
            int32_t best = 0;
            for (int32_t y = 1; y < 960; ++y)
                if (target.At(x, y).blue > target.At(x, best).blue) best = y;
            return best;
        };
        const int green = BarColor(bar, 255).green;
        const int64_t second = ((int64_t{255 - luma[bar]} * 0x8FDC) >> 16) + 127;
        const int64_t third = ((int64_t{green - luma[bar]} * 0xB699) >> 16) + 127;
        // Alpha over black lies above the plot, and here above the pane: nothing is left to see.
        const int64_t row = std::max<int64_t>(m.RowOf(second), 0);
        EXPECT_EQ(row == 0, bar == 7);
        EXPECT_NEAR(static_cast<double>(brightest(1)), static_cast<double>(row), 1) << bar;
        EXPECT_NEAR(static_cast<double>(brightest(2)), static_cast<double>(m.RowOf(third)), 1) << bar;
    }
}
