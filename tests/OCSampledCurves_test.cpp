// Tables out of files as sampled curves.
#include "src/OCCurves.h"
#include "src/OCSampledCurves.h"
#include "tests/CoreTest.h"

#include <cstring>

namespace {

using ByteVector = std::vector<uint8_t>;

std::span<const uint8_t> Bytes(std::string_view text)
{
    return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

bool SameGrade(const OCSettings& a, const OCSettings& b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

/// Everything of the record but the curves and the switches that a load may set.
bool SameBesides(OCSettings a, OCSettings b)
{
    for (OCSettings* grade : {&a, &b}) {
        std::memset(grade->rgbCurve, 0, sizeof grade->rgbCurve);
        grade->curvesOn = grade->rgbCurvesOn = 0;
    }
    return SameGrade(a, b);
}

/// A grade whose curves, words of state included, are none of those that a file sets.
OCSettings BusyGrade()
{
    OCSettings grade = NeutralGrade();
    for (HCurve& curve : grade.rgbCurve) {
        curve = CurveOf({{0.1f, 0.2f}, {0.4f, 0.6f}, {0.9f, 0.7f}});
        curve.curveReserved = 0x1111;
        curve.curveTag = 0x2222;
    }
    return grade;
}

std::string DiscreetText(uint32_t entries, int largest)
{
    std::string text = "LUT: 3 " + std::to_string(entries) + "\n";
    for (uint32_t c = 0; c < 3; ++c)
        for (uint32_t i = 0; i < entries; ++i) {
            const int ramp =
                entries > 1 ? static_cast<int>(i * static_cast<uint32_t>(largest) / (entries - 1)) : largest;
            text += std::to_string(c == 1 ? largest - ramp : ramp) + "\n";
        }
    return text;
}

} // namespace

TEST(SampledCurves, OfATextTableFillRedGreenAndBlueAndMarkAllFour)
{
    OCSettings grade = BusyGrade();
    const OCSettings before = grade;
    LogCatch log;
    EXPECT_EQ(OCReadDiscreetCurves(Bytes(DiscreetText(1024, 1023)), &grade).status, bpNoErr);
    EXPECT_EQ(log.Text(), "bitDepth = 1024, sampleMerge = 1.000000\n");
    for (uint32_t i = 0; i < 1024; ++i) {
        const auto up = static_cast<float>(i / 1023.0), down = static_cast<float>((1023 - i) / 1023.0);
        EXPECT_EQ(grade.rgbCurve[0].points.samples[i], up) << i; // the master is the identity
        EXPECT_EQ(grade.rgbCurve[1].points.samples[i], up) << i;
        EXPECT_EQ(grade.rgbCurve[2].points.samples[i], down) << i;
        EXPECT_EQ(grade.rgbCurve[3].points.samples[i], up) << i;
    }
    for (const HCurve& curve : grade.rgbCurve) {
        EXPECT_EQ(curve.curveKind, 1u);
        EXPECT_EQ(curve.curveReserved, 0x1111u);
        EXPECT_EQ(curve.curveTag, 0x2222u);
    }
    EXPECT_EQ(grade.curvesOn, 1u);
    EXPECT_EQ(grade.rgbCurvesOn, 1u);
    EXPECT_TRUE(SameBesides(grade, before));
}

TEST(SampledCurves, LongerTablesAreAveraged)
{
    OCSettings grade = NeutralGrade();
    LogCatch log;
    EXPECT_EQ(OCReadDiscreetCurves(Bytes(DiscreetText(4096, 4095)), &grade).status, bpNoErr);
    EXPECT_EQ(log.Text(), "bitDepth = 4096, sampleMerge = 4.000000\n");
    for (uint32_t i = 0; i < 1024; ++i)
        EXPECT_EQ(grade.rgbCurve[1].points.samples[i], static_cast<float>((4 * i + 1.5) / 4095)) << i;
}

TEST(SampledCurves, ShorterTablesAreWidenedWithASlopeThatTurnsBackAtTheEnd)
{
    OCSettings grade = NeutralGrade();
    LogCatch log;
    EXPECT_EQ(OCReadDiscreetCurves(Bytes(DiscreetText(256, 255)), &grade).status, bpNoErr);
    EXPECT_EQ(log.Text(), "bitDepth = 256, sampleMerge = 0.250000\n");
    const float* const red = grade.rgbCurve[1].points.samples;
    for (uint32_t i = 0; i < 255; ++i)
        for (uint32_t part = 0; part < 4; ++part)
            EXPECT_EQ(red[4 * i + part], static_cast<float>((i + part * 0.25) / 255)) << i << " " << part;
    for (uint32_t part = 0; part < 4; ++part)
        EXPECT_EQ(red[1020 + part], static_cast<float>((255 - part * 0.25) / 255)) << part;
}

TEST(SampledCurves, TablesOfAnyLengthFillAllSamples)
{
    LogCatch quiet;
    for (const uint32_t entries : {1u, 2u, 3u, 300u, 1000u, 1023u, 1025u, 1500u, 5000u}) {
        OCSettings grade = NeutralGrade();
        for (HCurve& curve : grade.rgbCurve) std::fill_n(curve.points.samples, 1024, -7.0f);
        EXPECT_EQ(OCReadDiscreetCurves(Bytes(DiscreetText(entries, 255)), &grade).status, bpNoErr) << entries;
        for (uint32_t i = 0; i < 1024; ++i) {
            const float sample = grade.rgbCurve[1].points.samples[i];
            ASSERT_GE(sample, 0.0f) << entries << " " << i;
            ASSERT_LE(sample, 1.0f) << entries << " " << i;
            if (entries >= 300 && i < 1020) {
                EXPECT_NEAR(sample, i / 1023.0, 0.006) << entries << " " << i;
            }
        }
    }
}

TEST(SampledCurves, OfQuantelTablesAreReadAsThePreviewsAre)
{
    std::string text = "table x 2\ngmax 1023\ngsize 512\nr g b\n";
    for (int i = 0; i < 512; ++i) text += std::to_string(2 * i) + " 1023 " + std::to_string(i) + "\n";
    OCSettings grade = NeutralGrade();
    LogCatch log;
    EXPECT_EQ(OCReadQuantelCurves(Bytes(text), &grade).status, bpNoErr);
    EXPECT_EQ(log.Text(), "tableType = 2, gMax = 1023, entryCount = 512\nbitDepth = 1024, sampleMerge = 0.500000\n");
    EXPECT_EQ(grade.rgbCurve[1].points.samples[1], static_cast<float>(1 / 1023.0));
    EXPECT_EQ(grade.rgbCurve[2].points.samples[700], 1.0f);
    EXPECT_EQ(grade.rgbCurve[3].points.samples[1022], static_cast<float>(511 / 1023.0));
}

TEST(SampledCurves, OfAMapWithOneTableGiveItToTheMaster)
{
    ByteVector map(256);
    for (uint32_t i = 0; i < 256; ++i) map[i] = static_cast<uint8_t>(255 - i);
    for (const size_t size : {size_t{256}, size_t{768}, size_t{1024}}) { // these count 1, 2, 2
        map.resize(size, 9);
        OCSettings grade = BusyGrade();
        const OCSettings before = grade;
        LogCatch log;
        EXPECT_EQ(OCReadArbitraryMapCurves(map, &grade).status, bpNoErr);
        EXPECT_EQ(log.Text(), size == 256 ? "channelCount = 1\n" : "channelCount = 2\n");
        const float* const master = grade.rgbCurve[0].points.samples;
        EXPECT_EQ(master[0], 1.0f);
        EXPECT_EQ(master[1], static_cast<float>(254.75 / 255));
        EXPECT_EQ(master[1020], 0.0f);
        EXPECT_EQ(master[1023], static_cast<float>(0.75 / 255)); // turned back
        for (uint32_t curve = 1; curve < 4; ++curve)
            for (uint32_t i = 0; i < 1024; ++i)
                EXPECT_EQ(grade.rgbCurve[curve].points.samples[i], static_cast<float>(i / 1023.0));
        for (const HCurve& curve : grade.rgbCurve) EXPECT_EQ(curve.curveKind & 1, 1u);
        EXPECT_TRUE(SameBesides(grade, before));
    }
}

TEST(SampledCurves, OfAMapThatCountsFourGiveItsFirstTableToAllColours)
{
    ByteVector map(512);
    for (uint32_t i = 0; i < 512; ++i) map[i] = static_cast<uint8_t>(i < 256 ? i / 2 : 7);
    OCSettings grade = NeutralGrade();
    LogCatch log;
    EXPECT_EQ(OCReadArbitraryMapCurves(map, &grade).status, bpNoErr);
    EXPECT_EQ(log.Text(), "channelCount = 4\n");
    for (uint32_t curve = 1; curve < 4; ++curve)
        EXPECT_EQ(grade.rgbCurve[curve].points.samples[400], static_cast<float>(50 / 255.0)) << curve;
    EXPECT_EQ(grade.rgbCurve[0].points.samples[400], static_cast<float>(400 / 1023.0));
}

TEST(SampledCurves, ErrorsLeaveTheGradeAlone)
{
    LogCatch quiet;
    OCSettings grade = BusyGrade();
    const OCSettings before = grade;
    EXPECT_EQ(OCReadDiscreetCurves(Bytes("LUT: 3 4\n1\n2\n"), &grade).status, bpEndOfFileErr);
    EXPECT_EQ(OCReadDiscreetCurves(Bytes("LUT: 1 1\n1\n"), &grade).status, bpParamErr);
    EXPECT_EQ(OCReadQuantelCurves(Bytes("table x 3\ngmax 255\ngsize 1\nr g b\n1 1 1\n"), &grade).status, bpParamErr);
    EXPECT_EQ(OCReadArbitraryMapCurves(ByteVector(255), &grade).status, bpEndOfFileErr);
    EXPECT_TRUE(SameGrade(grade, before));
}

TEST(SampledCurves, AreWhatTheEngineThenReads)
{
    OCSettings grade = NeutralGrade();
    LogCatch quiet;
    ASSERT_EQ(OCReadDiscreetCurves(Bytes(DiscreetText(1024, 1023)), &grade).status, bpNoErr);
    const EnginePtr engine = MakeEngine();
    OCUpdateParameters(engine.get(), &grade);
    EXPECT_TRUE(OCParametersOf(engine.get())->rgbCurvesEnabled);
    std::vector<float> table(kOCToneEntries);
    ASSERT_EQ(OCBuildCurveTable(&grade.rgbCurve[2], table.data()), bpNoErr);
    EXPECT_NEAR(table[8192], 0.5f, 1e-3f);
    EXPECT_NEAR(table[0], 1.0f, 1e-6f);
}

TEST(CurveKinds, TheDialogOffersFourKindsInOrder)
{
    const std::pair<const char*, const char*> rows[] = {{".acv", "Curve Files"},
                                                        {".amp", "Arbitrary Map Files"},
                                                        {".txt", "Quantel iQ LUT Files"},
                                                        {".lut", "Discreet LUT Files"}};
    ASSERT_EQ(OCCurveKinds().size(), std::size(rows));
    for (size_t i = 0; i < std::size(rows); ++i) {
        EXPECT_STREQ(OCCurveKinds()[i].extension, rows[i].first);
        EXPECT_STREQ(OCCurveKinds()[i].type, rows[i].second);
        EXPECT_EQ(OCCurveKindOf((std::string("/a/B") + rows[i].first).c_str()), static_cast<int>(i));
    }
    EXPECT_EQ(OCCurveKindOf("x.LUT"), 3);
    EXPECT_EQ(OCCurveKindOf("x.lut.bak"), -1);
    EXPECT_EQ(OCCurveKindOf("lut"), -1);
}

TEST(CurveKinds, AFileThatCannotBeReadIsLoggedTheWayOfItsReader)
{
    OCSettings grade = NeutralGrade();
    for (uint32_t kind = 0; kind < 4; ++kind) {
        LogCatch log;
        const OCLUTRead read = OCLoadCurveFile(kind, "/nowhere/x", &grade);
        EXPECT_EQ(read.status, bpFileNotFoundErr);
        EXPECT_EQ(log.Text(), kind < 2 ? "unable to open file, err=-43\n" : "unable to process LUT file, err=-43\n");
        EXPECT_STREQ(read.alert, kind < 2 ? nullptr : kOCLUTError);
    }
    EXPECT_EQ(OCLoadCurveFile(4, "/nowhere/x", &grade).status, bpParamErr);
}
