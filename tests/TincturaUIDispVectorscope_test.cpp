// The vectorscope: scale, graticule, targets, rungs, and where colours fall.
#include "src/TincturaUIDispVectorscope.h"
#include "tests/ScopesTest.h"

#include <cmath>
#include <map>
#include <numbers>

namespace {

struct Scope {
    ScopeRect bounds = {.top = 0, .left = 0, .bottom = 480, .right = 640};
    VectorscopeParams params = {};

    Scope()
    {
        params.sourceWidth = 720;
        params.sourceHeight = 486;
        params.flags = vectorscopeAlphaFirst;
        params.zoom = 1;
        params.whiteLevel = 255;
        params.calibration75 = 1;
        params.uiSaturation = 0x10000;
        params.bounds = &bounds;
    }
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

    VectorscopeScale Scale()
    {
        VectorscopeScale scale = {};
        EXPECT_TRUE(VectorscopeScaleOf(params, &scale));
        return scale;
    }
    void Draw(Surface* target, const Surface* source, const ScopeContext& context)
    {
        params.target = target;
        if (source) {
            params.sourcePixels = source->pixels;
            params.sourceWidth = static_cast<int32_t>(source->width);
            params.sourceHeight = static_cast<int32_t>(source->height);
            params.sourceRowBytes = static_cast<int32_t>(source->rowBytes);
            params.flags |= vectorscopeTrace;
        }
        DrawVectorscope(params, context);
    }
};

/// Mean place of what a one-coloured picture lights: units right of and above the centre.
struct Place {
    double right, up;
    int32_t hits;
    double Angle() const
    {
        const double degrees = std::atan2(up, right) * 180 / std::numbers::pi;
        return degrees < 0 ? degrees + 360 : degrees;
    }
    double Radius() const { return std::hypot(right, up); }
};

/// The trace alone, on black.
Place PlaceOf(Scope* scope, Surface::Pixel color)
{
    Surface source(64, 64), target(640, 480);
    source.Fill([=](int32_t, int32_t) { return color; });
    scope->params.target = &target;
    scope->params.sourcePixels = source.pixels;
    scope->params.sourceWidth = scope->params.sourceHeight = 64;
    scope->params.sourceRowBytes = static_cast<int32_t>(source.rowBytes);
    scope->params.flags |= vectorscopeTrace;
    VectorscopeTrace trace;
    EXPECT_TRUE(VectorscopeTraceOf(scope->params, scope->bounds, &trace));
    DrawVectorscopeTrace(trace, 1, nullptr);
    const VectorscopeScale s = scope->Scale();
    Place place = {};
    for (int32_t y = 0; y < 480; ++y)
        for (int32_t x = 0; x < 640; ++x) {
            if (target.At(x, y) == Surface::Pixel{}) continue;
            place.right += x - 320;
            place.up += 240 - y;
            ++place.hits;
        }
    if (place.hits == 0) return place;
    place.right = place.right / place.hits * 65536 / static_cast<double>(s.unitX);
    place.up = place.up / place.hits * 65536 / static_cast<double>(s.unitY);
    return place;
}

/// Of the bars magenta, red, yellow, green, cyan, blue.
constexpr int32_t kBars[] = {4, 5, 1, 3, 2, 6};

} // namespace

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

TEST(VectorscopeGraticule, HasACircleOf180UnitsACrossAndFourLines)
{
    Surface target(640, 480);
    Recorder recorder;
    Scope s;
    s.Draw(&target, nullptr, recorder.Context());
    const double unit = 0x4B7D * 4 / 65536.0;
    const std::vector<SeenMark> arcs = recorder.Of(scopeMarkSmoothArc);
    ASSERT_FALSE(arcs.empty());
    EXPECT_NEAR(arcs[0].mark.x1, 180 * unit, 0.5);
    EXPECT_NEAR(arcs[0].mark.y1, 180 * unit, 0.5);
    EXPECT_EQ(arcs[0].mark.angle1 - arcs[0].mark.angle0, 360);
    const std::vector<SeenMark> cross = recorder.Of(scopeMarkLine);
    ASSERT_EQ(cross.size(), 6u);
    EXPECT_EQ(cross[0].mark.x0, 320 - std::lround(195 * unit));
    EXPECT_EQ(cross[0].mark.x1, 320 - std::lround(85 * unit));
    EXPECT_EQ(cross[3].mark.y0, 240 - std::lround(10 * unit));
    // I and Q: at -33, 57, 147 and 237 degrees with y down.
    const std::vector<SeenMark> lines = recorder.Of(scopeMarkSmoothLine);
    const double angles[] = {-33, 57, 147, 237};
    for (size_t i = 0; i < 4; ++i) {
        const double a = angles[i] * std::numbers::pi / 180;
        EXPECT_NEAR(lines[i].mark.x0, 320 + 75 * unit * std::cos(a), 0.01);
        EXPECT_NEAR(lines[i].mark.y0, 240 + 75 * unit * std::sin(a), 0.01);
        EXPECT_NEAR(lines[i].mark.x1, 320 + 195 * unit * std::cos(a), 0.01);
        EXPECT_NEAR(lines[i].mark.y1, 240 + 195 * unit * std::sin(a), 0.01);
    }
}

TEST(VectorscopeGraticule, Of601HasPolarTargetsAndOf709AndOf240MSquares)
{
    for (int32_t matrix = 0; matrix < 3; ++matrix) {
        Surface target(640, 480);
        Recorder recorder;
        Scope s;
        s.params.matrix = matrix;
        s.Draw(&target, nullptr, recorder.Context());
        EXPECT_EQ(recorder.Of(scopeMarkFrame).size(), matrix == 0 ? 0u : 6u);
        // The circle; for each target three arcs, two inner corners and two outer ones where they lie inside the circle.
        // Only red and cyan, at 0.88 + 0.15, do not.
        EXPECT_EQ(recorder.Of(scopeMarkSmoothArc).size(), matrix == 0 ? 1u + 6 * 5 + 4 * 2 : 1u);
        EXPECT_EQ(recorder.Of(scopeMarkSmoothLine).size(), matrix == 0 ? 4u + 6 * 7 : 4u);
    }
}

TEST(VectorscopeGraticule, EndsACornerThatWouldLeaveTheCircleAtTheCircle)
{
    Surface target(640, 480);
    Recorder recorder;
    Scope s;
    s.Draw(&target, nullptr, recorder.Context());
    const double unit = 0x4B7D * 4 / 65536.0;
    double furthest = 0;
    const std::vector<SeenMark> lines = recorder.Of(scopeMarkSmoothLine);
    for (size_t i = 4; i < lines.size(); ++i)
        furthest = std::max(furthest, std::hypot(lines[i].mark.x1 - 320, lines[i].mark.y1 - 240) / unit);
    EXPECT_NEAR(furthest, 180, 0.01);
}

TEST(VectorscopeGraticule, NamesAxesColoursMatrixZoomAndCalibration)
{
    struct {
        int32_t matrix, zoom, calibration75;
        const char* caption;
    } const cases[] = {{0, 1, 1, "601 1x 75%"}, {1, 5, 0, "709 5x 100%"}, {2, 10, 1, "240M 10x 75%"}};
    for (const auto& each : cases) {
        Surface target(640, 480);
        Recorder recorder;
        Scope s;
        s.params.matrix = each.matrix;
        s.params.zoom = each.zoom;
        s.params.calibration75 = each.calibration75;
        s.Draw(&target, nullptr, recorder.Context());
        EXPECT_EQ(recorder.Texts(),
                  (std::vector<std::string>{"B-Y ", "R-Y ", "Mg", "R", "Yl", "G", "Cy", "B", each.caption}));
        const SeenMark caption = recorder.Text(each.caption);
        EXPECT_EQ(caption.mark.x1, 635);
        EXPECT_EQ(caption.mark.font.size, 13);
        EXPECT_TRUE(caption.mark.font.italic);
        const SeenMark axis = recorder.Text("B-Y ");
        const double unit = 0x4B7D * 4 / 65536.0;
        EXPECT_EQ(axis.mark.x0, 320 + std::lround(185 * unit));
        EXPECT_EQ(axis.mark.y0, 240 - 4); // the descent of size 16
        EXPECT_EQ(axis.mark.font.size, 16);
        EXPECT_FALSE(axis.mark.font.italic);
        EXPECT_EQ(recorder.Text("R-Y ").mark.x0, 320 + std::lround(5 * unit));
        EXPECT_EQ(recorder.Text("R-Y ").mark.y0, 240 - std::lround(183 * unit));
    }
}

TEST(VectorscopeGraticule, PutsEachLabelBesideItsTarget)
{
    const std::map<std::string, int32_t> bars = {{"Mg", 4}, {"R", 5}, {"Yl", 1}, {"G", 3}, {"Cy", 2}, {"B", 6}};
    for (int32_t matrix = 0; matrix < 3; ++matrix) {
        Surface target(640, 480);
        Recorder recorder;
        Scope s;
        s.params.matrix = matrix;
        s.Draw(&target, nullptr, recorder.Context());
        for (const auto& [label, bar] : bars) {
            const SeenMark mark = recorder.Text(label);
            const double x = (mark.mark.x0 + mark.mark.x1) / 2 - 320, y = 240 - mark.mark.y0;
            const Place place = PlaceOf(&s, BarColor(bar, 191));
            double apart = std::fabs(std::atan2(y, x) * 180 / std::numbers::pi - place.Angle());
            apart = std::min(apart, 360 - apart);
            EXPECT_LT(apart, 30) << label << " of matrix " << matrix;
        }
    }
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
            s.params.target = &target;
            s.params.sourcePixels = source.pixels;
            s.params.sourceWidth = s.params.sourceHeight = 1;
            s.params.flags |= vectorscopeTrace;
            VectorscopeTrace trace;
            ASSERT_TRUE(VectorscopeTraceOf(s.params, s.bounds, &trace));
            if (fast)
                DrawVectorscopeTrace(trace, 1, nullptr);
            else
                DrawVectorscopeTraceScalar(trace);
            // Jitter 0x2D73 and 0x840C: down by none, right by one.
            EXPECT_EQ(target.At(321, 240), ladder[hit]) << hit;
        }
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
    // Muted to 0.4 the lowest rung's blue is 0x21: two hits still lead to the next rung, but not beyond.
    Surface target(640, 480);
    Scope s;
    s.params.uiSaturation = 0x6666;
    s.params.target = &target;
    Surface source(1, 1);
    source.Fill([](int32_t, int32_t) { return Opaque(90, 90, 90); });
    s.params.sourcePixels = source.pixels;
    s.params.sourceWidth = s.params.sourceHeight = 1;
    s.params.flags |= vectorscopeTrace;
    VectorscopeTrace trace;
    ASSERT_TRUE(VectorscopeTraceOf(s.params, s.bounds, &trace));
    DrawVectorscopeTrace(trace, 1, nullptr);
    const ScopeColor muted = DesaturateColor({0, 0x3232, 0x1919}, 0x6666);
    EXPECT_EQ(target.At(321, 240).blue, muted.blue >> 8);
    EXPECT_EQ(target.At(321, 240).alpha, 0);
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
