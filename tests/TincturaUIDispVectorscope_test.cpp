// The vectorscope: scale, gamma, rungs, and where colours fall.
#include "tests/VectorscopeTest.h"

#include <algorithm>
#include <set>

TEST(VectorscopeScale, OfFullRangeAt100PercentIsOneUnitACode)
{
    Scope s;
    s.params.calibration75 = 0;
    const VectorscopeScale scale = s.Scale();
    EXPECT_EQ(scale.gainX, 0x4B7D * 640 / 160);
    EXPECT_EQ(scale.gainX, scale.unitX);
    EXPECT_EQ(scale.gainY, scale.unitY);
    s.params.calibration75 = 1;
    EXPECT_EQ(s.Scale().gainX, int64_t{0x644259 / 255} * 4);
    EXPECT_NEAR(static_cast<double>(s.Scale().gainX) / static_cast<double>(scale.gainX), 4.0 / 3.0, 0.001);
}

TEST(VectorscopeScale, RefusesEqualLevelsAndEmptyScopes)
{
    VectorscopeScale scale;
    Scope s;
    s.params.blackLevel = 255;
    EXPECT_FALSE(VectorscopeScaleOf(s.params, &scale));
    s.params.blackLevel = 0;
    s.bounds.right = 0;
    EXPECT_FALSE(VectorscopeScaleOf(s.params, &scale));
    s.bounds = {.top = 10, .left = 0, .bottom = 10, .right = 10};
    EXPECT_FALSE(VectorscopeScaleOf(s.params, &scale));
}

TEST(VectorscopeGamma, TruncatesAHalfMoreThanThePower)
{
    const uint8_t* gamma = GetVectorscopeGamma();
    EXPECT_EQ(gamma[0], 0);
    EXPECT_EQ(gamma[127], 115);
    EXPECT_EQ(gamma[191], 184);
    EXPECT_EQ(gamma[255], 255);
    for (int i = 1; i < 256; ++i) EXPECT_GE(gamma[i], gamma[i - 1]);
}

TEST(ChromaTable, HoldsTheRoundedCoefficientsOfItsMatrix)
{
    const int32_t* c = GetChromaTable(ocMatrix601);
    EXPECT_EQ(c[255], std::lround(255 * 0.168736 * 0.872 * 65536));
    EXPECT_EQ(c[512 + 255], std::lround(255 * 0.5 * 0.872 * 65536));
    EXPECT_EQ(c[768 + 255], std::lround(255 * 0.5 * 1.23 * 65536));
    EXPECT_EQ(c[1280 + 255], std::lround(255 * 0.081312 * 1.23 * 65536));
    c = GetChromaTable(ocMatrix240M);
    EXPECT_EQ(c[1024 + 200], std::lround(200 * 0.444797 * 1.23 * 65536));
    // A grey has no chroma in any matrix, but for the roundings of three entries.
    for (int32_t matrix = 0; matrix < 3; ++matrix) {
        c = GetChromaTable(matrix);
        for (int i = 0; i < 256; ++i) {
            EXPECT_NEAR(c[512 + i] - c[256 + i] - c[i], 0, 2) << i;
            EXPECT_NEAR(c[768 + i] - c[1280 + i] - c[1024 + i], 0, 2) << i;
        }
    }
}

TEST(ChromaMagnitude, IsTheRoundedLength)
{
    const uint8_t* table = GetChromaMagnitudeTable();
    EXPECT_EQ(table[3 * 160 + 4], 5);
    EXPECT_EQ(table[159 * 160 + 159], 225);
    EXPECT_EQ(table[0], 0);
    EXPECT_EQ(table[159], 159);
}

TEST(VectorscopeDisplay, IsAThirdWiderThanHighAndCentred)
{
    Surface target(640, 400);
    Recorder recorder;
    DrawVectorscopeDisplay(&target, nullptr, nullptr, recorder.Context());
    const std::vector<SeenMark> paints = recorder.Of(scopeMarkPaint);
    ASSERT_EQ(paints.size(), 1u);
    // Inset 10: 620 x 380; 126 * 4 = 504 wide, 58 from the left of the inset.
    EXPECT_EQ(paints[0].mark.x0, 10 + 58);
    EXPECT_EQ(paints[0].mark.x1, 10 + 58 + 504);
    EXPECT_EQ(paints[0].mark.y0, 10);
    EXPECT_EQ(paints[0].mark.y1, 390);
}

TEST(VectorscopeTrace, OfGreyHitsTheCentreAloneAndClimbsToTheTop)
{
    for (const uint8_t level : {uint8_t{0}, uint8_t{128}, uint8_t{255}}) {
        Surface source(64, 64), target(640, 480);
        source.Fill([=](int32_t, int32_t) { return Opaque(level, level, level); });
        Scope s;
        s.params.target = &target;
        s.params.sourcePixels = source.pixels;
        s.params.sourceWidth = s.params.sourceHeight = 64;
        s.params.sourceRowBytes = static_cast<int32_t>(source.rowBytes);
        s.params.flags |= vectorscopeTrace;
        VectorscopeTrace trace;
        ASSERT_TRUE(VectorscopeTraceOf(s.params, s.bounds, &trace));
        DrawVectorscopeTrace(trace, 1, nullptr);
        int32_t hits = 0;
        for (int32_t y = 0; y < 480; ++y)
            for (int32_t x = 0; x < 640; ++x) {
                if (target.At(x, y) == Surface::Pixel{}) continue;
                ++hits;
                EXPECT_LE(std::abs(x - 320), 2);
                EXPECT_LE(std::abs(y - 240), 2);
                EXPECT_EQ(target.At(x, y), (Surface::Pixel{0, 0x6D, 0xFF, 0xB9})) << "rungs have an alpha of 0";
            }
        EXPECT_GE(hits, 3);
        EXPECT_LE(hits, 9);
    }
}

TEST(VectorscopeTrace, ClimbsOneRungAHit)
{
    const Surface::Pixel ladder[] = {{0, 0, 0x32, 0x19},   {0, 0, 0x66, 0x35}, {0, 0, 0x98, 0x4E},
                                     {0, 0, 0xCC, 0x6A},   {0, 0, 0xFF, 0x84}, {0, 0x6D, 0xFF, 0xB9},
                                     {0, 0x6D, 0xFF, 0xB9}};
    for (const bool fast : {false, true}) {
        Surface target(640, 480);
        for (int hit = 0; hit < 7; ++hit) {
            Surface source(1, 1); // one sample: always the first jitter
            source.Fill([](int32_t, int32_t) { return Opaque(90, 90, 90); });
            Scope s;
            s.Trace(&target, source, fast);
            // Jitter 0x2D73 and 0x840C: down by none, right by one.
            EXPECT_EQ(target.At(321, 240), ladder[hit]) << hit;
        }
    }
}

TEST(VectorscopeTrace, SpreadsEqualChromaByItsSevenPairsInTurn)
{
    // Of the seven pairs four lie right of the centre, one on it, one below and one below to the right; then they begin
    // anew.
    const Surface::Pixel ladder[] = {{0, 0, 0x32, 0x19}, {0, 0, 0x66, 0x35}, {0, 0, 0x98, 0x4E},
                                     {0, 0, 0xCC, 0x6A}, {0, 0, 0xFF, 0x84}, {0, 0x6D, 0xFF, 0xB9}};
    const struct {
        uint32_t lines;
        int centre, right, below, corner; // hits
    } cases[] = {{1, 0, 1, 0, 0}, {2, 0, 2, 0, 0}, {3, 1, 2, 0, 0}, {4, 1, 2, 1, 0},  {5, 1, 2, 1, 1}, {6, 1, 3, 1, 1},
                 {7, 1, 4, 1, 1}, {8, 1, 5, 1, 1}, {9, 1, 6, 1, 1}, {10, 2, 6, 1, 1}, {14, 2, 8, 2, 2}};
    for (const auto& each : cases)
        for (const bool fast : {false, true}) {
            Surface target(640, 480), source(1, each.lines);
            source.Fill([](int32_t, int32_t) { return Opaque(90, 90, 90); });
            Scope s;
            s.Trace(&target, source, fast);
            const auto after = [&](int hits) { return hits == 0 ? Surface::Pixel{} : ladder[std::min(hits, 6) - 1]; };
            EXPECT_EQ(target.At(320, 240), after(each.centre)) << each.lines;
            EXPECT_EQ(target.At(321, 240), after(each.right)) << each.lines;
            EXPECT_EQ(target.At(320, 241), after(each.below)) << each.lines;
            EXPECT_EQ(target.At(321, 241), after(each.corner)) << each.lines;
        }
}

TEST(VectorscopeTrace, TakesAboutOneSampleAColumnOfTheScope)
{
    const struct {
        int32_t sourceWidth, step;
    } cases[] = {{1, 1}, {640, 1}, {959, 1}, {960, 2}, {1599, 2}, {1600, 3}, {1920, 3}, {3840, 6}};
    Surface target(640, 480), source(1, 1);
    for (const auto& each : cases) {
        Scope s;
        s.params.target = &target;
        s.params.sourcePixels = source.pixels;
        s.params.sourceWidth = each.sourceWidth;
        s.params.sourceHeight = 1;
        s.params.flags |= vectorscopeTrace;
        VectorscopeTrace trace;
        ASSERT_TRUE(VectorscopeTraceOf(s.params, s.bounds, &trace));
        EXPECT_EQ(trace.columnStep, each.step) << each.sourceWidth;
    }
}

TEST(VectorscopeTrace, OfAPictureOf577LinesReadsEverySecondOneAndOf576All)
{
    for (const uint32_t height : {576u, 577u}) {
        Surface grey(320, 240), target(320, 240), plain(16, height), source(16, height);
        plain.Fill([](int32_t, int32_t) { return Opaque(90, 90, 90); });
        source.Fill([](int32_t, int32_t y) { return y % 2 != 0 ? Opaque(191, 0, 0) : Opaque(90, 90, 90); });
        DrawVectorscopeDisplay(&grey, nullptr, &plain, ScopeDefaultContext());
        DrawVectorscopeDisplay(&target, nullptr, &source, ScopeDefaultContext());
        EXPECT_EQ(!SameSurface(grey, target), height == 576) << "odd lines are red";
    }
}

TEST(VectorscopeTrace, BeginsOnTheGraticuleAsOnBlack)
{
    EXPECT_EQ(VectorscopeRung(0), 5);
    EXPECT_EQ(VectorscopeRung(0x18), 5);
    EXPECT_EQ(VectorscopeRung(0x19), 4);
    EXPECT_EQ(VectorscopeRung(0x35), 3);
    EXPECT_EQ(VectorscopeRung(0x4E), 2);
    EXPECT_EQ(VectorscopeRung(0x6A), 1);
    EXPECT_EQ(VectorscopeRung(0x83), 1);
    EXPECT_EQ(VectorscopeRung(0x84), 0);
    EXPECT_EQ(VectorscopeRung(0xFF), 0);
}

TEST(VectorscopeTrace, KeepsTheThresholdsOfTheLadderWhenItIsMuted)
{
    // Muted to greys the rungs' blues are 0x20, 0x42, 0x62, 0x84, 0xA5 and 0xCC: the fourth hit's 0x84 is a threshold of
    // the whole ladder already, so that the next hit jumps over a rung.
    const int ladder[] = {0x20, 0x42, 0x62, 0x84, 0xCC, 0xCC};
    for (const bool fast : {false, true}) {
        Surface target(640, 480), source(1, 1);
        source.Fill([](int32_t, int32_t) { return Opaque(90, 90, 90); });
        for (const int grey : ladder) {
            Scope s;
            s.params.uiSaturation = 0;
            s.Trace(&target, source, fast);
            const auto level = static_cast<uint8_t>(grey);
            EXPECT_EQ(target.At(321, 240), (Surface::Pixel{0, level, level, level})) << fast;
        }
    }
}

TEST(VectorscopeTrace, ClimbsFromTheBlueThatTheGraticuleHasLeft)
{
    // The whole orange has no blue: the first hit gives the lowest rung. Muted to 0.4 it has 0x47 where it is whole and
    // less where a line is minor or covers a pixel in part: the first hit leads up to two rungs higher.
    constexpr ScopeColor kLadder[] = {{0x6D6D, 0xFFFF, 0xB9B9}, {0, 0xFFFF, 0x8484}, {0, 0xCCCC, 0x6A6A},
                                      {0, 0x9898, 0x4E4E},      {0, 0x6666, 0x3535}, {0, 0x3232, 0x1919}};
    const struct {
        uint32_t saturation;
        std::set<int> rungs, blues; // that must be seen
    } cases[] = {{0x10000, {5}, {0}}, {0x6666, {3, 4, 5}, {0, 0x47}}};
    const ScopeRect bounds = ScopeRectOf(10, 14, 470, 14 + 612); // as the display has it
    for (const auto& each : cases)
        for (const bool fast : {false, true}) {
            ScopeContext context = ScopeDefaultContext();
            context.settings.uiSaturation = each.saturation;
            Surface target(640, 480), source(1, 1);
            DrawVectorscopeDisplay(&target, nullptr, nullptr, context);
            const std::vector<uint8_t> graticule(target.pixels, target.pixels + size_t{target.rowBytes} * 480);
            std::set<int> rungs, blues;
            for (int32_t color = 0; color < 512; ++color) {
                const auto level = [](int32_t eighth) { return static_cast<uint8_t>(eighth % 8 * 36); };
                source.Set(0, 0, Opaque(level(color), level(color / 8), level(color / 64)));
                Scope s;
                s.bounds = bounds;
                s.params.uiSaturation = static_cast<int32_t>(each.saturation);
                std::copy(graticule.begin(), graticule.end(), target.pixels);
                s.Trace(&target, source, fast);
                const auto other = std::mismatch(graticule.begin(), graticule.end(), target.pixels).first;
                if (other == graticule.end()) continue; // off the scope
                const size_t at = static_cast<size_t>(other - graticule.begin()) / 4 * 4;
                const int blue = graticule[at + 3];
                const int rung = blue >= 0x4E ? 2 : blue >= 0x35 ? 3 : blue >= 0x19 ? 4 : 5;
                const ScopeColor muted = DesaturateColor(kLadder[rung], each.saturation);
                EXPECT_EQ(target.pixels[at + 1], muted.red >> 8) << blue;
                EXPECT_EQ(target.pixels[at + 2], muted.green >> 8) << blue;
                EXPECT_EQ(target.pixels[at + 3], muted.blue >> 8) << blue;
                rungs.insert(rung);
                blues.insert(blue);
            }
            EXPECT_EQ(rungs, each.rungs);
            EXPECT_TRUE(std::includes(blues.begin(), blues.end(), each.blues.begin(), each.blues.end()));
        }
}

TEST(VectorscopeTrace, DropsWhatZoomThrowsOff)
{
    Scope s;
    s.params.zoom = 10;
    EXPECT_EQ(PlaceOf(&s, BarColor(5, 191)).hits, 0);
    EXPECT_GT(PlaceOf(&s, Opaque(100, 97, 96)).hits, 0);
    s.params.zoom = 1;
    EXPECT_GT(PlaceOf(&s, BarColor(5, 191)).hits, 0);
}

TEST(VectorscopeTrace, GrowsWithTheZoom)
{
    Scope s;
    const Surface::Pixel color = Opaque(110, 100, 96);
    const double once = PlaceOf(&s, color).Radius();
    s.params.zoom = 5;
    EXPECT_NEAR(PlaceOf(&s, color).Radius(), 5 * once, 3);
}

TEST(VectorscopeDisplay, WithoutASourceOrWhileSuspendedHasTheGraticuleAlone)
{
    Surface source(720, 486), empty(320, 240), suspended(320, 240), traced(320, 240);
    FillScene(&source);
    ScopeContext context = ScopeDefaultContext();
    DrawVectorscopeDisplay(&empty, nullptr, nullptr, context);
    DrawVectorscopeDisplay(&traced, nullptr, &source, context);
    context.settings.updateSuspended = true;
    DrawVectorscopeDisplay(&suspended, nullptr, &source, context);
    EXPECT_TRUE(SameSurface(empty, suspended));
    EXPECT_FALSE(SameSurface(empty, traced));
}

// Colour bars land where an engineer expects them ----------------------------------------------------------------------

TEST(ColourBars, Of75PercentAt75CalibrationLandInTheirTargetsOf601)
{
    constexpr double magnitude[] = {0.82, 0.88, 0.62, 0.82, 0.88, 0.62}, angle[] = {61, 103, 167, 241, 283, 347};
    for (int i = 0; i < 6; ++i) {
        Scope s;
        const Place place = PlaceOf(&s, BarColor(kBars[i], 191));
        ASSERT_GT(place.hits, 0);
        EXPECT_NEAR(place.Angle(), angle[i], 3) << i;
        EXPECT_NEAR(place.Radius() / kVectorscopeRadius, magnitude[i], 0.045) << i;
    }
}

TEST(ColourBars, LandInTheirTargetsInEveryMatrixAndCalibration)
{
    for (int32_t matrix = 1; matrix < 3; ++matrix)
        for (int32_t calibration75 = 0; calibration75 < 2; ++calibration75)
            for (int i = 0; i < 6; ++i) {
                Scope s;
                s.params.matrix = matrix;
                s.params.calibration75 = calibration75;
                const VectorscopeScale scale = s.Scale();
                const VectorscopeBar box = VectorscopeBarOf(s.params, scale, i);
                // The targets know no gamma. Through it 191 is 184: of 75% bars, red and cyan lie at the edge of
                // their squares. 100% bars are exact.
                const double slack = calibration75 != 0 ? 2 : -4;
                const Place place = PlaceOf(&s, BarColor(kBars[i], calibration75 != 0 ? 191 : 255));
                ASSERT_GT(place.hits, 0);
                const double x = 320 + place.right * static_cast<double>(scale.unitX) / 65536,
                             y = 240 - place.up * static_cast<double>(scale.unitY) / 65536;
                EXPECT_NEAR(x, static_cast<double>(box.x), static_cast<double>(box.halfX) + slack) << i;
                EXPECT_NEAR(y, static_cast<double>(box.y), static_cast<double>(box.halfY) + slack) << i;
            }
}

TEST(ColourBars, Of75PercentAt75CalibrationLandOn100PercentAt100)
{
    for (int32_t matrix = 0; matrix < 3; ++matrix)
        for (int i = 0; i < 6; ++i) {
            Scope at75, at100;
            at75.params.matrix = at100.params.matrix = matrix;
            at100.params.calibration75 = 0;
            const Place a = PlaceOf(&at75, BarColor(kBars[i], 191)), b = PlaceOf(&at100, BarColor(kBars[i], 255));
            EXPECT_NEAR(a.right, b.right, 8) << i; // the gamma takes four percent of three quarters
            EXPECT_NEAR(a.up, b.up, 8) << i;
            const VectorscopeBar box75 = VectorscopeBarOf(at75.params, at75.Scale(), i),
                                 box100 = VectorscopeBarOf(at100.params, at100.Scale(), i);
            EXPECT_NEAR(static_cast<double>(box75.x), static_cast<double>(box100.x), 2);
            EXPECT_NEAR(static_cast<double>(box75.y), static_cast<double>(box100.y), 2);
        }
}

TEST(VectorscopeBars, ClampTheirLevelToTheTable)
{
    Scope s;
    s.params.matrix = 1;
    s.params.whiteLevel = 1023;
    s.params.calibration75 = 0;
    const VectorscopeBar wide = VectorscopeBarOf(s.params, s.Scale(), 1);
    EXPECT_LT(std::llabs(wide.x - 320), 320);
    s.params.whiteLevel = -300; // a range below 0
    const VectorscopeBar negative = VectorscopeBarOf(s.params, s.Scale(), 1);
    EXPECT_EQ(negative.x, 320);
}
