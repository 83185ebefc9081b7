// Curves and luma range weights against walks of the test's own in double.
#include "src/OCCurves.h"

#include "src/platform/BPMemory.h"
#include "tests/CoreTest.h"
#include "tests/LiteralCurve.h"

#include <hwy/targets.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr int kEntries = 16385;
using Table = std::vector<float>;

Table TableOf(const HCurve& curve)
{
    Table table(kEntries + 16, -9.0f);
    const BPStatus err = OCBuildCurveTable(&curve, table.data());
    EXPECT_EQ(err, bpNoErr);
    for (size_t i = kEntries; i < table.size(); ++i) EXPECT_EQ(table[i], -9.0f) << "written past the end";
    table.resize(kEntries);
    return table;
}

double Unit(double v)
{
    return v > 0 ? std::min(v, 1.0) : 0;
}

/// The spline by its geometric form. `x` and `y` hold 18 values: the points and what the record has behind them.
std::vector<double> SplineWalk(const std::vector<double>& x, const std::vector<double>& y, int n)
{
    std::vector<double> table(kEntries, y[static_cast<size_t>(n - 1)]);
    auto next = static_cast<int>(std::floor(x[0] * 16384));
    for (int i = 0; i < kEntries && i < x[0] * 16384; ++i) table[static_cast<size_t>(i)] = y[0];
    for (int k = 0; k < n; ++k) {
        const auto p1 = static_cast<size_t>(k), p0 = k == 0 ? p1 : p1 - 1, p2 = p1 + 1;
        const size_t p3 = k == n - 2 ? static_cast<size_t>(n - 1) : p1 + 2;
        const auto at = [&](const std::vector<double>& v, double t) {
            return 0.5 * (2 * v[p1] + (v[p2] - v[p0]) * t + (2 * v[p0] - 5 * v[p1] + 4 * v[p2] - v[p3]) * t * t +
                          (3 * v[p1] - v[p0] - 3 * v[p2] + v[p3]) * t * t * t);
        };
        for (int row = 0; row < 32768 && next < kEntries; ++row) {
            const double t = row / 32768.0;
            if (static_cast<double>(static_cast<float>(at(x, t))) * 16384 >= next)
                table[static_cast<size_t>(next++)] = Unit(at(y, t));
        }
    }
    for (; next < kEntries; ++next) table[static_cast<size_t>(next)] = y[static_cast<size_t>(n - 1)];
    return table;
}

std::vector<double> SplineOf(const HCurve& curve)
{
    const HCurvePoints& xy = curve.points.xy;
    std::vector<double> x, y;
    for (int i = 0; i < 18; ++i) { // behind x stands y, behind y the rest of the curve
        x.push_back(i < 16 ? static_cast<double>(xy.x[i]) : static_cast<double>(xy.y[i - 16]));
        y.push_back(i < 16 ? static_cast<double>(xy.y[i]) : static_cast<double>(curve.points.samples[17 + i]));
    }
    return SplineWalk(x, y, xy.pointCount);
}

/// Each entry lies between the neighbours of the expected one: a walk may reach an index one row sooner or later.
testing::AssertionResult Near(const std::vector<double>& expected, const Table& seen, double slack)
{
    for (size_t i = 0; i < expected.size(); ++i) {
        const auto first = expected.begin() + static_cast<ptrdiff_t>(i > 0 ? i - 1 : 0);
        const auto last = expected.begin() + static_cast<ptrdiff_t>(std::min(i + 2, expected.size()));
        const auto [low, high] = std::minmax_element(first, last);
        const auto value = static_cast<double>(seen[i]);
        if (!(value >= *low - slack && value <= *high + slack))
            return testing::AssertionFailure() << "entry " << i << ": expected " << expected[i] << ", seen " << value;
    }
    return testing::AssertionSuccess();
}

std::vector<double> WeightWalk(double tangentX, double tangentY)
{
    std::vector<double> table;
    for (int row = 0; row < 32768 && table.size() < kEntries; ++row) {
        const double t = row / 32768.0;
        const double h01 = t * t * (3 - 2 * t), h10 = t * (1 - t) * (1 - t), h11 = t * t * (t - 1);
        const double x = h01 + tangentX * h10 + h11;
        if (x * 16384 >= static_cast<double>(table.size())) table.push_back(Unit(1 - h01 + tangentY * h10));
    }
    while (table.size() < kEntries) table.push_back(table.back());
    return table;
}

struct Weights {
    Table shadow = Table(kEntries), midtone = Table(kEntries), highlight = Table(kEntries);
};

Weights WeightsOf(float sx, float sy, float hx, float hy)
{
    const OCLumaRangeBlock block = {{0, 0}, sx, sy, hx, hy};
    Weights w;
    const BPStatus err = OCBuildLumaRangeTables(&block, w.shadow.data(), w.midtone.data(), w.highlight.data());
    EXPECT_EQ(err, bpNoErr);
    return w;
}

} // namespace

TEST(OCCurves, ABasisRowIsTheCubicOfItsMatrix)
{
    const float matrix[4][4] = {{1, 2, 3, 4}, {-0.5f, 1.5f, 0, 0}, {0, 0, 0, 1}, {8, -4, 2, -1}};
    std::vector<float> rows(kOCBasisRows * 4);
    OCBuildBasisTable(matrix, reinterpret_cast<float(*)[4]>(rows.data()));
    for (uint32_t i = 0; i < kOCBasisRows; i += 37)
        for (size_t k = 0; k < 4; ++k) {
            const double t = i / 32768.0;
            const float* m = matrix[k];
            const double expected = static_cast<double>(m[0]) * t * t * t + static_cast<double>(m[1]) * t * t +
                                    static_cast<double>(m[2]) * t + static_cast<double>(m[3]);
            ASSERT_NEAR(static_cast<double>(rows[i * 4 + k]), expected, 2e-6) << "row " << i << ", entry " << k;
        }
}

TEST(OCCurves, TheNeutralCurvesAreTheIdentityAndTheFlatLine)
{
    const Table identity = TableOf(CurveOf({{0.0f, 0.0f}, {1.0f, 1.0f}}));
    const Table flat = TableOf(CurveOf({{0.0f, 0.5f}, {1.0f, 0.5f}}));
    for (int i = 0; i < kEntries; ++i) {
        ASSERT_EQ(identity[static_cast<size_t>(i)], static_cast<float>(i) / 16384.0f) << i;
        ASSERT_EQ(flat[static_cast<size_t>(i)], 0.5f);
    }
}

TEST(OCCurves, LinesOfOneAndTwoPoints)
{
    struct Row {
        const char* name;
        HCurve curve;
        float at0, at4096, at8191, at8192, at8193, at16384;
    };
    const Row rows[] = {
        {"one point", CurveOf({{0.5f, 0.25f}}), 0.25f, 0.25f, 0.25f, 0.25f, 0.25f, 0.25f},
        {"falling", CurveOf({{0.0f, 1.0f}, {1.0f, 0.0f}}), 1, 0.75f, 1 - 8191 / 16384.0f, 0.5f, 1 - 8193 / 16384.0f, 0},
        {"held outside", CurveOf({{0.25f, 0.2f}, {0.75f, 0.7f}}), 0.2f, 0.2f, 0.45f, 0.45f, 0.45f, 0.7f},
        {"a step at equal x", CurveOf({{0.5f, 0.1f}, {0.5f, 0.9f}}), 0.1f, 0.1f, 0.1f, 0.1f, 0.9f, 0.9f},
        {"backwards", CurveOf({{0.5f, 0.1f}, {0.25f, 0.9f}}), 0.1f, 0.1f, 0.1f, 0.9f, 0.9f, 0.9f},
    };
    for (const Row& row : rows) {
        const Table table = TableOf(row.curve);
        const struct {
            size_t index;
            float expected;
        } checks[] = {{0, row.at0},       {4096, row.at4096}, {8191, row.at8191},
                      {8192, row.at8192}, {8193, row.at8193}, {16384, row.at16384}};
        for (const auto& check : checks) {
            EXPECT_NEAR(table[check.index], check.expected, 4e-4f) << row.name << " at " << check.index;
            EXPECT_TRUE(std::isfinite(table[check.index]));
        }
    }
}

TEST(OCCurves, SplinesFollowTheGeometricForm)
{
    HCurve sixteen = {};
    sixteen.points.xy.pointCount = 16;
    for (int i = 0; i < 16; ++i) {
        sixteen.points.xy.x[i] = static_cast<float>(i) / 15.0f;
        sixteen.points.xy.y[i] = 0.5f + 0.4f * std::sin(static_cast<float>(i));
    }
    HCurve behind = CurveOf({{0.1f, 0.1f}, {0.3f, 0.8f}, {0.6f, 0.4f}});
    behind.points.xy.x[3] = 0.95f; // the two slots behind the last point take part
    behind.points.xy.y[3] = 0.1f;
    behind.points.xy.x[4] = 1.0f;
    behind.points.xy.y[4] = 0.9f;
    const HCurve curves[] = {
        CurveOf({{0.0f, 0.0f}, {0.5f, 0.7f}, {1.0f, 1.0f}}),
        CurveOf({{0.0f, 0.2f}, {0.25f, 0.1f}, {0.5f, 0.9f}, {0.8f, 0.3f}, {1.0f, 0.5f}}),
        CurveOf({{0.2f, 0.2f}, {0.5f, 0.3f}, {0.8f, 0.9f}}),
        CurveOf({{0.0f, 0.0f}, {0.8f, 0.5f}, {0.2f, 0.6f}, {1.0f, 1.0f}}), // a loop
        CurveOf({{0.0f, 0.0f}, {0.5f, 0.4f}, {0.5f, 0.6f}, {1.0f, 1.0f}}), // equal x
        sixteen,
        behind,
    };
    for (size_t i = 0; i < std::size(curves); ++i)
        EXPECT_TRUE(Near(SplineOf(curves[i]), TableOf(curves[i]), 2e-5)) << "curve " << i;
}

// Smooth curves, loops, equal x, points in any order, any bits: the fast walk writes what the walk row by row writes.
TEST(OCCurves, TheFastWalkHasTheBitsOfTheWalkRowByRow)
{
    Random random(71);
    const std::vector<float> hard = HardValues();
    for (int round = 0; round < 200; ++round) {
        HCurve curve = {};
        HCurvePoints& xy = curve.points.xy;
        xy.pointCount = 3 + static_cast<int32_t>(random() % 14);
        float x = round % 3 ? 0 : Between(random, 0, 0.3f);
        for (int i = 0; i < 16; ++i) {
            xy.x[i] = round % 5 == 4 ? Between(random, -0.2f, 1.2f) : i < xy.pointCount ? x : 0;
            xy.y[i] = i < xy.pointCount ? Between(random, -0.1f, 1.1f) : 0;
            x += (1 - x) * (i + 2 == xy.pointCount ? 1 : Between(random, 0, 0.5f));
            if (round % 7 == 6 && random() % 4 == 0) xy.x[i] = hard[random() % hard.size()];
            if (round % 11 == 10 && random() % 4 == 0) xy.y[i] = RandomBits(random);
        }
        if (round % 13 == 12)
            for (float& word : xy.x) word = RandomBits(random);
        const Table expected = LiteralCurveTable(curve);
        for (int64_t target : hwy::SupportedAndGeneratedTargets()) {
            hwy::SetSupportedTargetsForTest(target);
            hwy::GetChosenTarget().Update(hwy::SupportedTargets());
            const Table seen = TableOf(curve);
            for (size_t i = 0; i < kEntries; ++i)
                ASSERT_TRUE(SameFloat(expected[i], seen[i]))
                    << hwy::TargetName(target) << ", round " << round << ", entry " << i << ": expected " << expected[i]
                    << ", seen " << seen[i];
        }
    }
    hwy::SetSupportedTargetsForTest(0);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
}

// Deliberate: grades have always been made with what stands behind the last point.
TEST(OCCurves, TheSlotsBehindTheLastPointTakePart)
{
    HCurve curve = CurveOf({{0.1f, 0.1f}, {0.3f, 0.8f}, {0.6f, 0.4f}});
    const Table empty = TableOf(curve);
    EXPECT_EQ(empty[16000], 0.4f);
    curve.points.xy.x[3] = 0.95f;
    curve.points.xy.y[3] = 0.1f;
    const Table filled = TableOf(curve);
    EXPECT_LT(filled[15000], 0.2f);
    EXPECT_EQ(filled[16384], 0.4f);
}

TEST(OCCurves, ALoopHoldsTheFirstValueFound)
{
    const Table table = TableOf(CurveOf({{0.0f, 0.0f}, {0.8f, 0.5f}, {0.2f, 0.6f}, {1.0f, 1.0f}}));
    EXPECT_LT(table[8192], 0.5f);  // on the way out, not on the way back
    EXPECT_GT(table[14000], 0.6f); // beyond the loop
}

TEST(OCCurves, SeventeenPointsGiveTheIdentityAndAnAssertion)
{
    LogCatch log;
    for (int32_t count : {17, 1000, std::numeric_limits<int32_t>::max()}) {
        log.reports.clear();
        HCurve curve = CurveOf({{0.0f, 0.5f}, {1.0f, 0.5f}});
        curve.points.xy.pointCount = count;
        const Table table = TableOf(curve);
        for (int i = 0; i < kEntries; ++i) ASSERT_EQ(table[static_cast<size_t>(i)], static_cast<float>(i) / 16384.0f);
        ASSERT_EQ(log.reports.size(), 1u);
        EXPECT_EQ(
            log.reports[0].rfind("Ochrine 3 UI: Assert (curve->points.xy.pointCount <= 16) failed. [OCCurves: ", 0), 0u)
            << log.reports[0];
    }
}

TEST(OCCurves, NoPointGivesTheIdentityWithoutAWord)
{
    LogCatch log;
    for (int32_t count : {0, -1, std::numeric_limits<int32_t>::min()}) {
        HCurve curve = CurveOf({{0.0f, 0.5f}, {1.0f, 0.5f}});
        curve.points.xy.pointCount = count;
        EXPECT_EQ(TableOf(curve)[8192], 0.5f);
        EXPECT_EQ(TableOf(curve)[4096], 0.25f);
    }
    EXPECT_TRUE(log.reports.empty());
}

TEST(OCCurves, SampledCurvesAreReadBetweenTheirSamples)
{
    HCurve curve = {};
    curve.curveKind = 0xFFFFFFFF; // bit 0 counts
    Random random(13);            // neighbours differ, so that a wrong one shows
    for (int i = 0; i < 1024; ++i) curve.points.samples[i] = Between(random, 0, 1);
    const Table table = TableOf(curve);
    const float* s = curve.points.samples;
    for (int i = 0; i < kEntries; ++i) {
        const double position = i / 16384.0 * 1023.0;
        const int k = static_cast<int>(position);
        const double f = position - k;
        const double rise = k < 1022 ? static_cast<double>(s[k + 1]) - static_cast<double>(s[k])
                                     : static_cast<double>(s[k]) - static_cast<double>(s[k - 1]);
        ASSERT_NEAR(static_cast<double>(table[static_cast<size_t>(i)]), static_cast<double>(s[k]) + rise * f, 1e-4)
            << i;
    }
    curve.curveKind = 2; // without bit 0 the words are points again
    curve.points.xy.pointCount = 0;
    EXPECT_EQ(TableOf(curve)[8192], 0.5f);
}

TEST(OCCurves, HostileCurvesNeitherCrashNorHang)
{
    LogCatch log;
    Random random(11);
    const std::vector<float> hard = HardValues();
    for (int round = 0; round < 400; ++round) {
        HCurve curve = {};
        curve.curveKind = random() % 3 == 0;
        for (float& word : curve.points.samples)
            word = random() % 2 ? RandomBits(random) : hard[random() % hard.size()];
        if (!curve.curveKind) curve.points.xy.pointCount = static_cast<int32_t>(random() % 18);
        TableOf(curve);
    }
}

TEST(OCCurves, WithoutMemoryTheTableStaysAndTheReportTellsWhichCurve)
{
    LogCatch log;
    const HCurve spline = CurveOf({{0.0f, 0.0f}, {0.5f, 0.7f}, {1.0f, 1.0f}});
    Table table(kEntries, 0.125f);
    BPFailAllocation(1);
    EXPECT_EQ(OCBuildCurveTable(&spline, table.data()), bpMemFullErr);
    const OCLumaRangeBlock block = {{0, 0}, 0.3f, 0.3831f, 0.7f, 0.3831f};
    BPFailAllocation(1);
    EXPECT_EQ(OCBuildLumaRangeTables(&block, table.data(), table.data(), table.data()), bpMemFullErr);
    BPFailAllocation(0);
    EXPECT_EQ(table, Table(kEntries, 0.125f));
    ASSERT_EQ(log.reports.size(), 2u);
    EXPECT_EQ(log.reports[0], "Ochrine 3 UI: Insufficient memory for curveArray");
    EXPECT_EQ(log.reports[1], "Ochrine 3 UI: Insufficient memory for HCurve");
}

TEST(OCCurves, DefaultWeightsAddUpToOne)
{
    const Weights w = WeightsOf(0.3f, 0.3831f, 0.7f, 0.3831f);
    EXPECT_EQ(w.shadow[0], 1);
    EXPECT_EQ(w.highlight[16384], 1);
    EXPECT_NEAR(w.shadow[16384], 0, 1e-6f);
    EXPECT_NEAR(w.highlight[0], 0, 1e-6f);
    for (size_t i = 0; i < kEntries; ++i) {
        ASSERT_NEAR(w.shadow[i] + w.midtone[i] + w.highlight[i], 1, 1e-6f) << i;
        if (i > 0) {
            ASSERT_LE(w.shadow[i], w.shadow[i - 1] + 1e-6f) << i;
            ASSERT_GE(w.highlight[i], w.highlight[i - 1] - 1e-6f) << i;
        }
    }
    EXPECT_GT(w.midtone[8192], 0.5f);
}

TEST(OCCurves, WeightsFollowTheHermiteWalk)
{
    const float cases[][4] = {{0.3f, 0.3831f, 0.7f, 0.3831f}, {0.1f, 0.5f, 0.9f, 0.5f}, {0.5f, 0.8f, 0.5f, 0.8f},
                              {0.3f, 1.0f, 0.7f, 1.0f},       {0.0f, 0.0f, 1.0f, 0.0f}, {1.0f, 0.2f, 0.0f, 0.2f}};
    for (const auto& c : cases) {
        const Weights w = WeightsOf(c[0], c[1], c[2], c[3]);
        std::vector<double> shadow = WeightWalk(2 * static_cast<double>(c[0]), 1 - 5 * (1 - static_cast<double>(c[1])));
        std::vector<double> highlight =
            WeightWalk(2 * (1 - static_cast<double>(c[2])), 1 - 5 * (1 - static_cast<double>(c[3])));
        std::reverse(highlight.begin(), highlight.end());
        std::vector<double> midtone(kEntries);
        for (size_t i = 0; i < kEntries; ++i) {
            const double over = shadow[i] + highlight[i] - 1;
            if (over > 0) shadow[i] -= over;
            midtone[i] = Unit(1 - (shadow[i] + highlight[i]));
        }
        EXPECT_TRUE(Near(shadow, w.shadow, 3e-5)) << "shadows of " << c[0] << ", " << c[1];
        EXPECT_TRUE(Near(highlight, w.highlight, 3e-5)) << "highlights of " << c[2] << ", " << c[3];
        EXPECT_TRUE(Near(midtone, w.midtone, 1e-4)) << "midtones of " << c[0];
    }
}

TEST(OCCurves, TheTangentIsOneMinusFiveTimesTheDistance)
{
    // The start slope dy/dx is (1 - 5 (1 - sy)) / (2 sx): 1 / 0.6 for sy of 1, and 0 for sy of 0.8.
    const Weights rising = WeightsOf(0.3f, 1.0f, 0.7f, 0.3831f);
    EXPECT_NEAR(rising.shadow[200], 1, 1e-3f); // it would rise above 1 and is clamped; the highlights take their part
    const Weights level = WeightsOf(0.3f, 0.8f, 0.7f, 0.3831f);
    EXPECT_NEAR(level.shadow[160], 1, 1e-3f);
    const Weights falling = WeightsOf(0.3f, 0.6f, 0.7f, 0.3831f);
    EXPECT_NEAR(falling.shadow[16], 1 - 16 / 16384.0f / 0.6f, 1e-4f);
}

TEST(OCCurves, HostileLumaRangesNeitherCrashNorHang)
{
    Random random(12);
    const std::vector<float> hard = HardValues();
    for (int round = 0; round < 200; ++round) {
        float v[4];
        for (float& value : v) value = random() % 2 ? RandomBits(random) : hard[random() % hard.size()];
        const Weights w = WeightsOf(v[0], v[1], v[2], v[3]);
        for (size_t i = 0; i < kEntries; ++i) {
            ASSERT_TRUE(w.shadow[i] >= 0 && w.shadow[i] <= 1);
            ASSERT_TRUE(w.midtone[i] >= 0 && w.midtone[i] <= 1);
            ASSERT_TRUE(w.highlight[i] >= 0 && w.highlight[i] <= 1);
        }
    }
}
