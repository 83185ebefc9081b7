// The vectorscope's graticule: circle, cross, targets, labels and caption.
#include "tests/VectorscopeTest.h"

#include <algorithm>
#include <map>

namespace {

/// The pen of a label: the end that its text is aligned to.
struct Pen {
    double x, y;
    bool rightAligned;
};

std::map<std::string, Pen> LabelsOf(int32_t matrix, int16_t width, int16_t height)
{
    Surface target(640, 480);
    Recorder recorder;
    Scope s;
    s.bounds.right = width;
    s.bounds.bottom = height;
    s.params.matrix = matrix;
    s.Draw(&target, nullptr, recorder.Context());
    std::map<std::string, Pen> pens;
    for (const char* name : {"Mg", "R", "Yl", "G", "Cy", "B"}) {
        const ScopeMark mark = recorder.Text(name).mark;
        pens[name] = {mark.rightAligned ? mark.x1 : mark.x0, mark.y0, mark.rightAligned};
    }
    return pens;
}

constexpr double kUnit = 0x4B7D * 4 / 65536.0; // of a scope 640 by 480

/// Parts of a polar target as they are told: radii in parts of the circle's, degrees with R-Y up.
struct ArcPart {
    bool isMajor;
    double radius, from, to;
};
struct RadialPart {
    bool isMajor;
    double angle, from, to;
};

bool Has(const std::vector<SeenMark>& marks, const ArcPart& part)
{
    return std::count_if(marks.begin(), marks.end(), [&](const SeenMark& seen) {
               const ScopeMark& m = seen.mark;
               const double radius = part.radius * 180 * kUnit;
               return m.color.red == (part.isMajor ? 0xCE00 : 0x9800) && std::fabs(m.x1 - radius) < 1e-6 &&
                      std::fabs(m.y1 - radius) < 1e-6 && std::fabs(m.angle0 - part.from) < 1e-9 &&
                      std::fabs(m.angle1 - part.to) < 1e-9 && m.x0 == 320 && m.y0 == 240;
           }) == 1;
}

bool Has(const std::vector<SeenMark>& marks, const RadialPart& part)
{
    const double x = std::cos(part.angle * std::numbers::pi / 180) * 180 * kUnit,
                 y = -std::sin(part.angle * std::numbers::pi / 180) * 180 * kUnit;
    return std::count_if(marks.begin(), marks.end(), [&](const SeenMark& seen) {
               const ScopeMark& m = seen.mark;
               return m.color.red == (part.isMajor ? 0xCE00 : 0x9800) &&
                      std::hypot(m.x0 - 320 - part.from * x, m.y0 - 240 - part.from * y) < 1e-6 &&
                      std::hypot(m.x1 - 320 - part.to * x, m.y1 - 240 - part.to * y) < 1e-6;
           }) == 1;
}

} // namespace

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

TEST(VectorscopeGraticule, HasItsLabelsAtTheirAnglesAndRadii)
{
    // Radii of the magenta and the cyan label are less half the text's height, that of the green one more.
    const struct {
        const char* name;
        double angle601, radius601, angleHD, radiusHD;
        int half;
        bool rightAligned;
    } labels[] = {{"Mg", -52.5, 142, -51.5, 154, -1, false}, {"R", -98, 128, -102, 144, 0, true},
                  {"Yl", -158, 113, -168.5, 129, 0, false},  {"G", -235, 142, -240, 147, 1, true},
                  {"Cy", -287, 136, -285, 149, -1, true},    {"B", -347, 129, -350, 125, 0, false}};
    const struct {
        int16_t width, height;
        double half;
    } sizes[] = {{640, 480, 8}, {320, 240, 5}}; // of texts of 16 and of 10
    for (const auto& size : sizes)
        for (int32_t matrix = 0; matrix < 3; ++matrix) {
            const std::map<std::string, Pen> pens = LabelsOf(matrix, size.width, size.height);
            for (const auto& label : labels) {
                const double angle = (matrix == 0 ? label.angle601 : label.angleHD) * std::numbers::pi / 180;
                const double radius = (matrix == 0 ? label.radius601 : label.radiusHD) + label.half * size.half;
                const double unit = kUnit * size.width / 640;
                const Pen& pen = pens.at(label.name);
                EXPECT_EQ(pen.x, std::round(size.width / 2 + radius * unit * std::cos(angle))) << label.name << matrix;
                EXPECT_EQ(pen.y, std::round(size.height / 2 + radius * unit * std::sin(angle))) << label.name << matrix;
                EXPECT_EQ(pen.rightAligned, label.rightAligned) << label.name;
            }
        }
}

TEST(VectorscopeGraticule, ShiftsEveryLabelFrom601To709AndNoneFrom709To240M)
{
    const std::map<std::string, Pen> of601 = LabelsOf(0, 640, 480), of709 = LabelsOf(1, 640, 480),
                                     of240M = LabelsOf(2, 640, 480);
    for (const auto& [name, pen] : of709) {
        EXPECT_GT(std::hypot(pen.x - of601.at(name).x, pen.y - of601.at(name).y), 4) << name;
        EXPECT_EQ(pen.x, of240M.at(name).x) << name;
        EXPECT_EQ(pen.y, of240M.at(name).y) << name;
    }
}

TEST(VectorscopeGraticule, DrawsATargetAsABoxOfThreeArcsWithTheCornersOfItsTolerance)
{
    Surface target(640, 480);
    Recorder recorder;
    Scope s;
    s.Draw(&target, nullptr, recorder.Context());
    const std::vector<SeenMark> arcs = recorder.Of(scopeMarkSmoothArc), lines = recorder.Of(scopeMarkSmoothLine);
    const ArcPart arcParts[] = {
        // Magenta, 0.82 at 61 with a tolerance of 30.
        {true, 0.82, 58, 64},
        {false, 0.775, 58, 64},
        {false, 0.865, 58, 64},
        {false, 0.67, 51, 54},
        {false, 0.67, 68, 71},
        {false, 0.97, 51, 54},
        {false, 0.97, 68, 71},
        // Red, 0.88 at 103: its outer corners, at 1.03, are left out.
        {true, 0.88, 100, 106},
        {false, 0.835, 100, 106},
        {false, 0.925, 100, 106},
        {false, 0.73, 93, 96},
        {false, 0.73, 110, 113},
        // Yellow, 0.62 at 167 with a tolerance of 25.
        {true, 0.62, 164, 170},
        {false, 0.575, 164, 170},
        {false, 0.665, 164, 170},
        {false, 0.495, 157, 160},
        {false, 0.495, 174, 177},
        {false, 0.745, 157, 160},
        {false, 0.745, 174, 177},
        // The middle of the others.
        {true, 0.82, 238, 244},
        {true, 0.88, 280, 286},
        {true, 0.62, 344, 350},
        {false, 0.495, 337, 340},
        {false, 0.745, 354, 357},
    };
    for (const ArcPart& part : arcParts) EXPECT_TRUE(Has(arcs, part)) << part.radius << " from " << part.from;
    const RadialPart radialParts[] = {
        {true, 61, 0.775, 0.865},
        {false, 58, 0.775, 0.865},
        {false, 64.2, 0.775, 0.865},
        {false, 51, 0.72, 0.67},
        {false, 51, 0.92, 0.97},
        {false, 71, 0.72, 0.67},
        {false, 71, 0.92, 0.97},
        // Red's outer ticks end at the circle.
        {true, 103, 0.835, 0.925},
        {false, 106.2, 0.835, 0.925},
        {false, 93, 0.78, 0.73},
        {false, 93, 0.98, 1},
        {false, 113, 0.78, 0.73},
        {false, 113, 0.98, 1},
        {true, 167, 0.575, 0.665},
        {false, 170.2, 0.575, 0.665},
        {false, 157, 0.62 - 25 / 300.0, 0.495},
        {false, 157, 0.62 + 25 / 300.0, 0.745},
        {false, 177, 0.62 - 25 / 300.0, 0.495},
        {false, 177, 0.62 + 25 / 300.0, 0.745},
    };
    for (const RadialPart& part : radialParts) EXPECT_TRUE(Has(lines, part)) << part.angle << " from " << part.from;
    EXPECT_FALSE(Has(arcs, ArcPart{false, 1.03, 93, 96}));
}
