// Colour match: every entry of every pane writes what it should and nothing else, and the engine then turns the source
// into the target.
#include "src/OCColorMatch.h"

#include "tests/CoreTest.h"

#include <cmath>
#include <cstring>
#include <map>
#include <set>

namespace {

struct Rgb {
    float v[3];
};

constexpr Rgb kSource = {{0.5f, 0.25f, 0.125f}}, kTarget = {{0.375f, 0.3125f, 0.25f}};

double LumaOf(const Rgb& c)
{
    return 0.299 * static_cast<double>(c.v[0]) + 0.587 * static_cast<double>(c.v[1]) +
           0.114 * static_cast<double>(c.v[2]);
}

double Mix(const Rgb& c, double r, double g, double b)
{
    return r * static_cast<double>(c.v[0]) + g * static_cast<double>(c.v[1]) + b * static_cast<double>(c.v[2]);
}

double SaturationOf(const Rgb& c)
{
    const auto [low, high] = std::minmax({c.v[0], c.v[1], c.v[2]});
    return high == 0 ? 0.0 : static_cast<double>(high - low) / static_cast<double>(high);
}

/// The angle of the chroma, in the unit that hue sliders have.
double HueOf(const Rgb& c)
{
    return std::atan2(Mix(c, -0.147407, -0.289391, 0.436798), Mix(c, 0.614777, -0.514799, -0.099978)) / 0.01745329;
}

double Ratio(uint32_t channel)
{
    return static_cast<double>(kTarget.v[channel]) / static_cast<double>(kSource.v[channel]);
}

/// Offset of a float and the value that stands there after a match.
using Writes = std::map<size_t, double>;

/// What each entry writes, told pane by pane in lists; offsets as numbers.
Writes ModelWrites(OCMatchPane pane, uint32_t entry)
{
    const double luma = LumaOf(kTarget) / LumaOf(kSource), hue = HueOf(kSource) - HueOf(kTarget);
    const double saturation = SaturationOf(kTarget) * 100 / SaturationOf(kSource);
    const double cb = Mix(kTarget, -0.168736, -0.331264, 0.5) / Mix(kSource, -0.168736, -0.331264, 0.5);
    const double cr = Mix(kTarget, 0.5, -0.418688, -0.081312) / Mix(kSource, 0.5, -0.418688, -0.081312);
    const double m = std::sqrt(1 / (Ratio(0) * Ratio(1) * Ratio(2)));
    const std::set<uint32_t> three[3] = {{1, 3, 6, 7}, {1, 4, 6, 8}, {1, 5, 7, 8}};
    Writes w;
    const auto group = [&](size_t master, std::initializer_list<double> values) {
        if (entry == 2) w[master] = luma;
        for (uint32_t c = 0; c < 3; ++c)
            if (three[c].count(entry)) w[master + 12 + 12 * c] = values.begin()[c];
    };
    switch (pane) {
    case ocMatchHSL:
    case ocMatchSecondary: {
        const std::set<uint32_t> hues = {1, 2, 5, 6}, saturations = {1, 3, 5, 7}, lumas = {1, 4, 6, 7};
        if (pane == ocMatchHSL) {
            if (hues.count(entry)) w[16] = hue;
            if (saturations.count(entry)) w[20] = saturation;
            if (lumas.count(entry)) w[40] = luma;
        } else {
            for (size_t i = 0; i < 6; ++i) {
                if (hues.count(entry)) w[29868 + 124 * i + 28] = hue;
                if (saturations.count(entry)) w[29868 + 124 * i + 32] = saturation;
            }
        }
        break;
    }
    case ocMatchRGB: group(180, {Ratio(0), Ratio(1), Ratio(2)}); break;
    case ocMatchCMY: group(604, {Ratio(2) * Ratio(1) * m, Ratio(2) * Ratio(0) * m, Ratio(1) * Ratio(0) * m}); break;
    case ocMatchYCbCr: group(392, {luma, cb, cr}); break;
    case ocMatchCurves:
    case ocMatchHueOffsets:
    case ocMatchPaneCount: break;
    }
    return w;
}

OCSettings Matched(OCMatchPane pane, uint32_t entry, const Rgb& source = kSource, const Rgb& target = kTarget)
{
    OCSettings grade = NeutralGrade();
    OCMatchColors(&grade, pane, entry, source.v, target.v);
    return grade;
}

/// The pixel that the grade makes of a colour.
Rgb Graded(const OCSettings& grade, const Rgb& color)
{
    const EnginePtr engine = MakeEngine();
    OCUpdateParameters(engine.get(), &grade);
    const FramePtr source = MakeFrame(1, 1), result = MakeFrame(1, 1);
    for (uint32_t c = 0; c < 3; ++c) At(*source, c, 0, 0) = color.v[c];
    OCProcessImageBand(engine.get(), source.get(), result.get(), &grade, 0, 0);
    return {{At(*result, 0, 0, 0), At(*result, 1, 0, 0), At(*result, 2, 0, 0)}};
}

std::vector<uint32_t> WordsOf(const OCSettings& settings)
{
    std::vector<uint32_t> words(sizeof settings / 4);
    std::memcpy(words.data(), &settings, sizeof settings);
    return words;
}

} // namespace

TEST(OCColorMatch, EveryEntryOfEveryPaneWritesItsValuesAndNothingElse)
{
    const auto before = WordsOf(NeutralGrade());
    for (OCMatchPane pane : {ocMatchHSL, ocMatchHueOffsets, ocMatchRGB, ocMatchCMY, ocMatchYCbCr, ocMatchSecondary})
        for (uint32_t entry = 0; entry < 12; ++entry) {
            const auto after = WordsOf(Matched(pane, entry));
            const Writes writes = ModelWrites(pane, entry);
            for (size_t i = 0; i < after.size(); ++i) {
                const auto wanted = writes.find(i * 4);
                if (wanted == writes.end()) {
                    ASSERT_EQ(after[i], before[i]) << pane << ' ' << entry << " wrote " << i * 4;
                    continue;
                }
                float value;
                std::memcpy(&value, &after[i], sizeof value);
                EXPECT_NEAR(value, wanted->second, 1e-5 * std::fabs(wanted->second))
                    << pane << ' ' << entry << ' ' << i * 4;
            }
        }
}

TEST(OCColorMatch, ThePopupsHaveTheirTexts)
{
    const char* texts[] = {"H + S + L|Hue|Saturation|Luminance|H + S|H + L|S + L",
                           "H + S + L|Hue|Saturation|Luminance|H + S|H + L|S + L",
                           "R + G + B|Master|Red|Green|Blue|R + G|R + B|G + B",
                           "C + M + Y|Master|Cyan|Magenta|Yellow|C + M|C + Y|M + Y",
                           "Y + Cb + Cr|Master|Y|Cb|Cr|Y + Cb|Y + Cr|Cb + Cr",
                           "R + G + B|Master|Red|Green|Blue|R + G|R + B|G + B",
                           "H + S + L|Hue|Saturation|Luminance|H + S|H + L|S + L"};
    ASSERT_EQ(OCMatchPanes().size(), std::size(texts));
    for (size_t i = 0; i < std::size(texts); ++i) {
        EXPECT_EQ(OCMatchPanes()[i].pane, i);
        EXPECT_STREQ(OCMatchPanes()[i].popup, texts[i]);
    }
}

TEST(OCColorMatch, TheGroupsThatWereWrittenAreTold)
{
    const struct {
        OCMatchPane pane;
        uint32_t entry, toolMask, curveMask;
    } rows[] = {{ocMatchHSL, 1, 1u << 0, 0},    {ocMatchHueOffsets, 1, 0, 0},
                {ocMatchRGB, 2, 1u << 4, 0},    {ocMatchYCbCr, 8, 1u << 8, 0},
                {ocMatchCMY, 3, 1u << 12, 0},   {ocMatchSecondary, 2, 63u << 22, 0},
                {ocMatchSecondary, 4, 0, 0},    {ocMatchCurves, 2, 0, 1u << 1},
                {ocMatchCurves, 1, 0, 7u << 2}, {ocMatchCurves, 7, 0, 1u << 2 | 1u << 4},
                {ocMatchRGB, 9, 0, 0},          {ocMatchRGB, 0, 0, 0}};
    for (const auto& row : rows) {
        OCSettings grade = NeutralGrade();
        const OCMatchGroups groups = OCMatchColors(&grade, row.pane, row.entry, kSource.v, kTarget.v);
        EXPECT_EQ(groups.toolMask, row.toolMask) << row.pane << ' ' << row.entry;
        EXPECT_EQ(groups.curveMask, row.curveMask) << row.pane << ' ' << row.entry;
    }
}

TEST(OCColorMatch, CurveEntriesAddAPointBetweenTheEnds)
{
    const std::set<uint32_t> writes[4] = {{2}, {1, 3, 6, 7}, {1, 4, 6, 8}, {1, 5, 7, 8}};
    for (uint32_t entry = 0; entry < 10; ++entry) {
        const OCSettings after = Matched(ocMatchCurves, entry);
        for (uint32_t curve = 0; curve < 4; ++curve) {
            const HCurvePoints& points = after.rgbCurve[curve].points.xy;
            if (!writes[curve].count(entry)) {
                EXPECT_EQ(points.pointCount, 2) << entry << ' ' << curve;
                continue;
            }
            ASSERT_EQ(points.pointCount, 3) << entry << ' ' << curve;
            const double x = curve == 0 ? LumaOf(kSource) : static_cast<double>(kSource.v[curve - 1]);
            const double y = curve == 0 ? LumaOf(kTarget) : static_cast<double>(kTarget.v[curve - 1]);
            EXPECT_NEAR(points.x[1], x, 1e-6);
            EXPECT_NEAR(points.y[1], y, 1e-6);
            EXPECT_EQ(points.x[0], 0);
            EXPECT_EQ(points.x[2], 1);
            EXPECT_EQ(points.y[2], 1);
        }
    }
}

TEST(OCColorMatch, RGBGainsTurnTheSourceIntoTheTarget)
{
    OCSettings grade = Matched(ocMatchRGB, 1);
    grade.rgbOn = grade.rgb.master.on = 1;
    const Rgb out = Graded(grade, kSource);
    for (uint32_t c = 0; c < 3; ++c) EXPECT_NEAR(out.v[c], kTarget.v[c], 1e-6);
}

TEST(OCColorMatch, CMYGainsReachTheSameRatiosThroughTheirFolding)
{
    OCSettings grade = Matched(ocMatchCMY, 1);
    grade.cmyOn = grade.cmy.master.on = 1;
    const Rgb out = Graded(grade, kSource);
    for (uint32_t c = 0; c < 3; ++c) EXPECT_NEAR(out.v[c], kTarget.v[c], 1e-6);
}

TEST(OCColorMatch, YCbCrGainsTurnTheSourceIntoTheTarget)
{
    OCSettings grade = Matched(ocMatchYCbCr, 1);
    grade.ycbcrOn = grade.ycbcr.master.on = 1;
    const Rgb out = Graded(grade, kSource);
    for (uint32_t c = 0; c < 3; ++c) EXPECT_NEAR(out.v[c], kTarget.v[c], 2e-6);
}

TEST(OCColorMatch, HueTurnsTheChromaOfTheSourceOntoThatOfTheTarget)
{
    OCSettings grade = Matched(ocMatchHSL, 2);
    grade.primaryOn = grade.hslOn = grade.hsl.master.on = 1;
    EXPECT_NEAR(HueOf(Graded(grade, kSource)), HueOf(kTarget), 1e-3);
}

TEST(OCColorMatch, PointsOfTheCurvesTurnTheSourceIntoTheTarget)
{
    OCSettings grade = Matched(ocMatchCurves, 1);
    grade.curvesOn = grade.rgbCurvesOn = 1;
    const Rgb out = Graded(grade, kSource);
    for (uint32_t c = 0; c < 3; ++c) EXPECT_NEAR(out.v[c], kTarget.v[c], 1e-3);
}

TEST(OCColorMatch, ZeroDenominatorsAreNotGuarded)
{
    const Rgb black = {{0, 0, 0}}, gray = {{0.5f, 0.5f, 0.5f}};
    OCSettings grade = Matched(ocMatchRGB, 1, black, kTarget);
    for (const OCTriple& channel : grade.rgb.master.channel) EXPECT_TRUE(std::isinf(channel.gain));
    grade = Matched(ocMatchRGB, 1, black, black);
    EXPECT_TRUE(std::isnan(grade.rgb.master.channel[0].gain));
    grade = Matched(ocMatchHSL, 1, gray, kTarget); // a source without saturation
    EXPECT_TRUE(std::isinf(grade.hsl.master.saturation));
    grade = Matched(ocMatchHSL, 1, kSource, black); // s of black is 0
    EXPECT_EQ(grade.hsl.master.saturation, 0);
    EXPECT_EQ(grade.hsl.master.gain, 0);
    grade = Matched(ocMatchCMY, 1, kSource, black);
    EXPECT_TRUE(std::isnan(grade.cmy.master.channel[0].gain)); // 0 times infinity
    // The engine bears what stands there.
    for (OCMatchPane pane : {ocMatchHSL, ocMatchRGB, ocMatchCMY, ocMatchYCbCr, ocMatchCurves, ocMatchSecondary}) {
        grade = Matched(pane, 1, black, black);
        grade.primaryOn = grade.hslOn = grade.hsl.master.on = grade.rgbOn = grade.rgb.master.on = 1;
        grade.cmyOn = grade.cmy.master.on = grade.ycbcrOn = grade.ycbcr.master.on = 1;
        grade.curvesOn = grade.rgbCurvesOn = grade.secondaryOn = grade.secondary[0].on = 1;
        (void)Graded(grade, kSource);
    }
}

TEST(OCColorMatch, ColorsAreReadFromTheRecordBeforeAnythingIsWritten)
{
    // The swatches are bound to the very gains that the match writes.
    OCSettings grade = NeutralGrade();
    const uint32_t at = offsetof(OCSettings, unassigned);
    std::memcpy(reinterpret_cast<uint8_t*>(&grade) + at, kSource.v, sizeof kSource.v);
    std::memcpy(reinterpret_cast<uint8_t*>(&grade) + at + 12, kTarget.v, sizeof kTarget.v);
    OCSettings expected = grade;
    OCMatchColors(&expected, ocMatchRGB, 1, kSource.v, kTarget.v);
    OCMatchColorsAt(&grade, ocMatchRGB, 1, at, at + 12);
    EXPECT_EQ(WordsOf(grade), WordsOf(expected));

    float triple[3] = {0.5f, 0.5f, 0.5f};
    std::memcpy(&grade.rgb.master.group, triple, sizeof triple);
    OCMatchColorsAt(&grade, ocMatchRGB, 2, 180, at);
    EXPECT_FLOAT_EQ(grade.rgb.master.group.gain, static_cast<float>(LumaOf(kSource) / 0.5));
}

TEST(OCColorMatch, OffsetsOutsideTheRecordWriteNothing)
{
    const OCSettings before = NeutralGrade();
    for (uint32_t offset : {33545u, 33548u, 33556u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
        OCSettings grade = before;
        EXPECT_EQ(OCMatchColorsAt(&grade, ocMatchRGB, 1, offset, 0).toolMask, 0u);
        EXPECT_EQ(OCMatchColorsAt(&grade, ocMatchRGB, 1, 0, offset).toolMask, 0u);
        EXPECT_EQ(WordsOf(grade), WordsOf(before));
    }
    OCSettings grade = before;
    EXPECT_NE(OCMatchColorsAt(&grade, ocMatchRGB, 1, 33544, 33544).toolMask, 0u);
}

TEST(OCColorMatch, APaneThatIsNoneWritesNothing)
{
    const OCSettings before = NeutralGrade();
    OCSettings grade = before;
    OCMatchColors(&grade, static_cast<OCMatchPane>(99), 1, kSource.v, kTarget.v);
    OCMatchColors(&grade, ocMatchPaneCount, 1, kSource.v, kTarget.v);
    EXPECT_EQ(WordsOf(grade), WordsOf(before));
}

TEST(OCCurvePoints, AnEqualXGoesBehind)
{
    HCurve curve = CurveOf({{0, 0}, {0.5f, 0.2f}, {1, 1}});
    EXPECT_TRUE(OCAddCurvePoint(&curve, 0.5f, 0.9f));
    EXPECT_EQ(curve.points.xy.pointCount, 4);
    EXPECT_EQ(curve.points.xy.y[1], 0.2f);
    EXPECT_EQ(curve.points.xy.y[2], 0.9f);
    EXPECT_TRUE(OCAddCurvePoint(&curve, -0.5f, 0.3f));
    EXPECT_EQ(curve.points.xy.x[0], -0.5f);
    EXPECT_TRUE(OCAddCurvePoint(&curve, 7, 0.4f));
    EXPECT_EQ(curve.points.xy.x[5], 7);
}

TEST(OCCurvePoints, A17thPointIsNotAdded)
{
    HCurve curve = {};
    for (int i = 0; i < 16; ++i) EXPECT_TRUE(OCAddCurvePoint(&curve, static_cast<float>(i % 4), static_cast<float>(i)));
    for (int i = 1; i < 16; ++i) EXPECT_GE(curve.points.xy.x[i], curve.points.xy.x[i - 1]);
    const HCurve full = curve;
    EXPECT_FALSE(OCAddCurvePoint(&curve, 0.1f, 0.1f));
    EXPECT_EQ(std::memcmp(&curve, &full, sizeof curve), 0);
}

TEST(OCCurvePoints, SampledCurvesBadCountsAndWhatIsNoNumberAreLeftAlone)
{
    const float nan = std::nanf(""), inf = HUGE_VALF;
    HCurve sampled = CurveOf({{0, 0}, {1, 1}});
    sampled.curveKind = 1;
    HCurve negative = CurveOf({{0, 0}, {1, 1}}), many = negative;
    negative.points.xy.pointCount = -2;
    many.points.xy.pointCount = 0x7FFFFFFF;
    for (HCurve* curve : {&sampled, &negative, &many}) {
        const HCurve before = *curve;
        EXPECT_FALSE(OCAddCurvePoint(curve, 0.5f, 0.5f));
        EXPECT_EQ(std::memcmp(curve, &before, sizeof before), 0);
    }
    HCurve curve = CurveOf({{0, 0}, {1, 1}});
    for (float bad : {nan, inf, -inf}) {
        EXPECT_FALSE(OCAddCurvePoint(&curve, bad, 0.5f));
        EXPECT_FALSE(OCAddCurvePoint(&curve, 0.5f, bad));
    }
    EXPECT_EQ(curve.points.xy.pointCount, 2);
}
