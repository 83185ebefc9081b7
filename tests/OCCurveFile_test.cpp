// Curve files: points in and out, and files that lie about their points.
#include "src/OCCurveFile.h"

#include "src/platform/BPFiles.h"
#include "tests/CoreTest.h"
#include "tests/SettingsModel.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace {

std::vector<uint8_t> File(const std::vector<int>& words)
{
    std::vector<uint8_t> bytes;
    for (const int word : words) {
        bytes.push_back(static_cast<uint8_t>(word >> 8));
        bytes.push_back(static_cast<uint8_t>(word));
    }
    return bytes;
}

BPStatus Load(const std::vector<int>& words, OCSettings* settings)
{
    const std::vector<uint8_t> bytes = File(words);
    const std::unique_ptr<uint8_t[]> exact(new uint8_t[bytes.size() + 1]);
    if (!bytes.empty()) std::memcpy(exact.get() + 1, bytes.data(), bytes.size());
    return OCLoadCurveBytes(exact.get() + 1, bytes.size(), settings);
}

/// A record whose curves are far from neutral, and what a load makes of it before the first curve.
OCSettings Before()
{
    std::mt19937 random(1);
    return SettingsOf(RandomWords(random));
}
OCSettings AfterReset(bool switchesOn)
{
    OCSettings settings = Before();
    OCResetSettings(&settings, 0, 30, kOCResetDefaults);
    if (switchesOn) settings.curvesOn = settings.rgbCurvesOn = 1;
    return settings;
}

void SetCurve(OCSettings* settings, int curve, std::vector<std::pair<int, int>> points)
{
    HCurvePoints& to = settings->rgbCurve[curve].points.xy;
    to.pointCount = static_cast<int32_t>(points.size());
    for (size_t i = 0; i < points.size(); ++i) {
        to.x[i] = static_cast<float>(points[i].first / 255.0);
        to.y[i] = static_cast<float>(points[i].second / 255.0);
    }
}

void ExpectSame(const OCSettings& seen, const OCSettings& wanted, const char* what)
{
    EXPECT_EQ(WordDifference(WordsOf(seen), WordsOf(wanted)), "") << what;
}

TEST(CurveFile, FourCurvesLandMasterFirstWithTheOutputBeforeTheInput)
{
    for (const int version : {1, 4}) {
        OCSettings settings = Before(), wanted = AfterReset(true);
        EXPECT_EQ(Load({version, 4, 2, 0, 0, 255, 255, 3, 10, 20, 128, 100, 250, 240, 2, 255, 0, 0, 255, 2, 1, 2, 3, 4},
                       &settings),
                  bpNoErr);
        SetCurve(&wanted, 0, {{0, 0}, {255, 255}});
        SetCurve(&wanted, 1, {{20, 10}, {100, 128}, {240, 250}});
        SetCurve(&wanted, 2, {{0, 255}, {255, 0}});
        SetCurve(&wanted, 3, {{2, 1}, {4, 3}});
        ExpectSame(settings, wanted, "four curves");
    }
}

TEST(CurveFile, AFileWithSixCurvesLoadsTheFirstFour)
{
    std::vector<int> words = {4, 6};
    for (int curve = 0; curve < 6; ++curve) words.insert(words.end(), {2, curve, 0, 255, 255});
    OCSettings settings = Before(), wanted = AfterReset(true);
    EXPECT_EQ(Load(words, &settings), bpNoErr);
    for (int curve = 0; curve < 4; ++curve) SetCurve(&wanted, curve, {{0, curve}, {255, 255}});
    ExpectSame(settings, wanted, "six curves");
}

TEST(CurveFile, AnotherVersionLeavesTheRecordAlone)
{
    for (const int version : {0, 2, 3, 5, 0x0100, 0xFFFF}) {
        OCSettings settings = Before();
        EXPECT_EQ(Load({version, 1, 2, 0, 0, 255, 255}, &settings), bpInvalidSettingsErr) << version;
        ExpectSame(settings, Before(), "version");
    }
}

TEST(CurveFile, AFileWithoutAHeaderLeavesTheRecordAlone)
{
    OCSettings settings = Before();
    EXPECT_EQ(Load({}, &settings), bpInvalidSettingsErr);
    EXPECT_EQ(Load({1}, &settings), bpInvalidSettingsErr);
    EXPECT_EQ(OCLoadCurveBytes("\0\1\0", 3, &settings), bpInvalidSettingsErr);
    ExpectSame(settings, Before(), "header");
}

TEST(CurveFile, AFileWithNoCurvesResetsThemAndSwitchesNothingOn)
{
    OCSettings settings = Before();
    EXPECT_EQ(Load({1, 0}, &settings), bpNoErr);
    ExpectSame(settings, AfterReset(false), "no curves");
    EXPECT_EQ(settings.rgbCurvesOn, 0u);
}

TEST(CurveFile, ACurveWithTooManyOrTooFewPointsEndsTheLoadBeforeIt)
{
    for (const int count : {17, 255, 0x7FFF, 0x8000, 0xFFFF}) {
        std::vector<int> words = {1, 3, 2, 7, 8, 9, 10, count};
        for (int i = 0; i < 600; ++i) words.push_back(i);
        OCSettings settings = Before(), wanted = AfterReset(true);
        EXPECT_EQ(Load(words, &settings), bpNoErr);
        SetCurve(&wanted, 0, {{8, 7}, {10, 9}});
        ExpectSame(settings, wanted, "count");
    }
}

TEST(CurveFile, SixteenPointsFitAndNothingIsWrittenBehindThem)
{
    std::vector<int> words = {1, 1, 16};
    std::vector<std::pair<int, int>> points;
    for (int i = 0; i < 16; ++i) {
        words.insert(words.end(), {i * 3, i * 17});
        points.emplace_back(i * 17, i * 3);
    }
    OCSettings settings = Before(), wanted = AfterReset(true);
    EXPECT_EQ(Load(words, &settings), bpNoErr);
    SetCurve(&wanted, 0, points);
    ExpectSame(settings, wanted, "sixteen");
}

TEST(CurveFile, AFileCutAnywhereLoadsItsWholeCurves)
{
    const std::vector<int> words = {1, 2, 3, 1, 2, 3, 4, 5, 6, 2, 7, 8, 9, 10};
    const std::vector<uint8_t> bytes = File(words);
    for (size_t length = 4; length <= bytes.size(); ++length) {
        OCSettings settings = Before(), wanted = AfterReset(true);
        EXPECT_EQ(OCLoadCurveBytes(bytes.data(), length, &settings), bpNoErr);
        if (length >= 18) SetCurve(&wanted, 0, {{2, 1}, {4, 3}, {6, 5}});
        if (length >= 28) SetCurve(&wanted, 1, {{8, 7}, {10, 9}});
        ExpectSame(settings, wanted, std::to_string(length).c_str());
    }
}

TEST(CurveFile, CurvesAreWrittenWithAFifthStraightOne)
{
    OCSettings settings = {};
    OCResetSettings(&settings, kOCResetAll, kOCResetAll, kOCResetDefaults);
    SetCurve(&settings, 1, {{0, 30}, {128, 127}, {255, 200}});
    EXPECT_EQ(OCSaveCurveBytes(settings), File({1, 5, 2,   0,   0, 255, 255, 3,   30,  0, 127, 128, 200, 255, 2,
                                                0, 0, 255, 255, 2, 0,   0,   255, 255, 2, 0,   0,   255, 255}));
}

TEST(CurveFile, ValuesAreCutToWholeSteps)
{
    OCSettings settings = {};
    OCResetSettings(&settings, kOCResetAll, kOCResetAll, kOCResetDefaults);
    HCurvePoints& points = settings.rgbCurve[0].points.xy;
    points.pointCount = 5;
    const float values[] = {0.999f, -0.5f, 7.0f, NAN, 0.0039f};
    for (int i = 0; i < 5; ++i) {
        points.x[i] = values[i];
        points.y[i] = values[i];
    }
    const std::vector<uint8_t> bytes = OCSaveCurveBytes(settings);
    const std::vector<uint8_t> wanted = File({1, 5, 5, 254, 254, 0, 0, 255, 255, 0, 0, 0, 0});
    ASSERT_GT(bytes.size(), wanted.size());
    EXPECT_EQ(std::vector<uint8_t>(bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(wanted.size())), wanted);
}

TEST(CurveFile, EveryStepComesBackAsItWas)
{
    for (int first = 0; first < 256; first += 8) {
        std::vector<int> words = {1, 5};
        for (int curve = 0; curve < 4; ++curve) {
            words.push_back(8);
            for (int i = 0; i < 8; ++i) words.insert(words.end(), {255 - first - i, first + i});
        }
        words.insert(words.end(), {2, 0, 0, 255, 255});
        OCSettings settings = Before();
        ASSERT_EQ(Load(words, &settings), bpNoErr);
        EXPECT_EQ(OCSaveCurveBytes(settings), File(words)) << first;
    }
}

TEST(CurveFile, ASampledCurveOrAWrongNumberOfPointsIsWrittenStraight)
{
    const std::vector<uint8_t> straight = OCSaveCurveBytes(AfterReset(true));
    OCSettings settings = AfterReset(true);
    settings.rgbCurve[0].curveKind = 3;
    settings.rgbCurve[0].points.xy.pointCount = 5;
    settings.rgbCurve[1].points.xy.pointCount = 17;
    settings.rgbCurve[2].points.xy.pointCount = 0;
    settings.rgbCurve[3].points.xy.pointCount = -1;
    EXPECT_EQ(OCSaveCurveBytes(settings), straight);
}

TEST(CurveFile, CurvesTravelThroughAFile)
{
    const std::string path = testing::TempDir() + "/curves-" + std::to_string(getpid()) + ".acv";
    OCSettings settings = AfterReset(true), loaded = Before();
    SetCurve(&settings, 2, {{0, 30}, {128, 127}, {255, 200}});
    ASSERT_EQ(SaveACV(path.c_str(), settings), bpNoErr);
    ASSERT_EQ(LoadACV(path.c_str(), &loaded), bpNoErr);
    EXPECT_EQ(OCSaveCurveBytes(loaded), OCSaveCurveBytes(settings));
    std::remove(path.c_str());

    LogCatch log;
    loaded = Before();
    EXPECT_EQ(LoadACV(path.c_str(), &loaded), bpFileNotFoundErr);
    EXPECT_EQ(log.Text(), "unable to open file, err=-43\n");
    ExpectSame(loaded, Before(), "missing");
    EXPECT_NE(SaveACV((path + "/no/x.acv").c_str(), settings), bpNoErr);
}

} // namespace
