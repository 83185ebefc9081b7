// Auto Exposure, Auto Color and the balance of gammas, against a model that sorts pixels instead of counting them.
#include "src/OCAutoCorrections.h"

#include "src/OCHistogram.h"
#include "src/OCLumaTable.h"
#include "src/platform/BPMemory.h"
#include "tests/CoreTest.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>

namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();

using Code = std::array<int, 3>;

/// A planar frame whose pixels have codes of 0 to 255.
FramePtr FrameOf(uint32_t width, uint32_t height, const std::function<Code(uint32_t index)>& codeAt)
{
    FramePtr frame = MakeFrame(width, height);
    for (uint32_t row = 0; row < height; ++row)
        for (uint32_t column = 0; column < width; ++column) {
            const Code code = codeAt(row * width + column);
            for (uint32_t c = 0; c < 3; ++c) At(*frame, c, row, column) = static_cast<float>(code[c]) / 255.0f;
        }
    return frame;
}

FramePtr RandomFrame(Random& random, uint32_t width, uint32_t height, std::vector<Code>* codes)
{
    codes->clear();
    const int low[3] = {static_cast<int>(random() % 60), static_cast<int>(random() % 60),
                        static_cast<int>(random() % 60)};
    const int span[3] = {static_cast<int>(random() % 190) + 1, static_cast<int>(random() % 190) + 1,
                         static_cast<int>(random() % 190) + 1};
    return FrameOf(width, height, [&](uint32_t) {
        Code code;
        for (uint32_t c = 0; c < 3; ++c) code[c] = low[c] + static_cast<int>(random() % static_cast<uint32_t>(span[c]));
        codes->push_back(code);
        return code;
    });
}

int LumaOf(const Code& code)
{
    return static_cast<int>(std::lround(code[0] * 0.2126) + std::lround(code[1] * 0.7152) +
                            std::lround(code[2] * 0.0722));
}

/// The value at which `count` pixels are behind one, from below and from above: the count-th of the sorted values.
struct Ends {
    int black, white;
};
Ends ModelEnds(std::vector<int> values, size_t count)
{
    if (count == 0) return {0, 255};
    std::sort(values.begin(), values.end());
    return {values[count - 1], values[values.size() - count]};
}

std::vector<int> Channel(const std::vector<Code>& codes, uint32_t channel)
{
    std::vector<int> values;
    for (const Code& code : codes) values.push_back(code[channel]);
    return values;
}

/// The balance once more, in double.
std::array<double, 3> ModelGray(const std::vector<Code>& codes, const std::array<OCLevelsBlock, 3>& blocks)
{
    std::array<double, 3> mean;
    for (uint32_t c = 0; c < 3; ++c) {
        long sum = 0;
        for (const Code& code : codes) sum += code[c];
        mean[c] = static_cast<double>(sum / static_cast<long>(codes.size()));
    }
    std::array<double, 3> sorted = mean;
    std::sort(sorted.begin(), sorted.end());
    std::array<double, 3> gray;
    for (uint32_t c = 0; c < 3; ++c) {
        const double ratio = sorted[2] == sorted[1] ? 1 : sorted[2] / mean[c];
        const OCLevelsBlock& b = blocks[c];
        const double black = static_cast<double>(b.inblackpt), white = static_cast<double>(b.inwhitept);
        const double g = (static_cast<double>(b.ingraypt) - black) / (white - black);
        double e = 1;
        if (g > 0.5) e = 1 / (1 - 2 * (g - 0.5));
        if (g < 0.5) e = 1 / (10 * (0.5 - g) + 1);
        e /= ratio;
        const double position = e > 1 ? 1 - 1 / (2 * e) : e < 1 ? (6 - 1 / e) / 10 : 0.5;
        gray[c] = (white - black) * position + black;
    }
    return gray;
}

std::vector<uint32_t> WordsOf(const OCSettings& settings)
{
    std::vector<uint32_t> words(sizeof settings / 4);
    std::memcpy(words.data(), &settings, sizeof settings);
    return words;
}

/// The offsets at which two records differ.
std::vector<size_t> Changed(const OCSettings& before, const OCSettings& after)
{
    const auto a = WordsOf(before), b = WordsOf(after);
    std::vector<size_t> offsets;
    for (size_t i = 0; i < a.size(); ++i)
        if (a[i] != b[i]) offsets.push_back(i * 4);
    return offsets;
}

class OCAuto : public testing::Test {
  protected:
    void SetUp() override { (void)GetLumaTable(ocMatrix709); }
    OCSettings grade = NeutralGrade();
};

} // namespace

TEST_F(OCAuto, TrimsAreTheFirstBinsAtWhichTheCountIsReached)
{
    uint32_t bins[256] = {};
    bins[3] = 2;
    bins[7] = 5;
    bins[250] = 4;
    const struct {
        uint64_t count;
        uint32_t black, white;
    } rows[] = {{0, 0, 255}, {1, 3, 250}, {2, 3, 250},  {3, 7, 250},  {4, 7, 250},  {5, 7, 7},           {7, 7, 7},
                {8, 250, 7}, {9, 250, 7}, {10, 250, 3}, {11, 250, 3}, {12, 255, 0}, {UINT64_MAX, 255, 0}};
    for (const auto& row : rows) {
        const OCTrim trim = OCTrimBins(bins, 256, row.count);
        EXPECT_EQ(trim.blackBin, row.black) << row.count;
        EXPECT_EQ(trim.whiteBin, row.white) << row.count;
    }
}

TEST_F(OCAuto, ExposureFindsTheEndsOfLumaAndLeavesTheGray)
{
    Random random(5);
    for (int round = 0; round < 20; ++round) {
        std::vector<Code> codes;
        const FramePtr frame = RandomFrame(random, 40, 50, &codes);
        std::vector<int> luma;
        for (const Code& code : codes) luma.push_back(LumaOf(code));
        const float trim = Between(random, 0, 0.1f);
        OCSettings after = grade;
        OCAutoExposure(frame.get(), &after, trim);
        const Ends ends = ModelEnds(luma, static_cast<size_t>(2000 * static_cast<double>(trim)));
        EXPECT_FLOAT_EQ(after.levels[0].inblackpt, static_cast<float>(ends.black) / 255);
        EXPECT_FLOAT_EQ(after.levels[0].inwhitept, static_cast<float>(ends.white) / 255);
        for (size_t offset : Changed(grade, after)) EXPECT_TRUE(offset == 876 || offset == 884) << offset;
    }
}

TEST_F(OCAuto, TheTrimOfAThousandthGivesUpTwoOfTwoThousandPixels)
{
    // One black pixel and two of 10: the second pixel from below is a 10.
    const FramePtr frame = FrameOf(50, 40, [](uint32_t i) {
        const int v = i == 0 ? 0 : i < 3 ? 10 : i < 1998 ? 100 : 200;
        return Code{v, v, v};
    });
    OCAutoExposure(frame.get(), &grade, 0.001f);
    EXPECT_FLOAT_EQ(grade.levels[0].inblackpt, 10 / 255.0f);
    EXPECT_FLOAT_EQ(grade.levels[0].inwhitept, 200 / 255.0f);
}

TEST_F(OCAuto, ABlackFrameGivesBlackAndWhiteZero)
{
    const FramePtr frame = FrameOf(50, 40, [](uint32_t) { return Code{}; });
    OCAutoExposure(frame.get(), &grade, 0.001f);
    EXPECT_EQ(grade.levels[0].inblackpt, 0);
    EXPECT_EQ(grade.levels[0].inwhitept, 0);
    // Levels then flattens the channels: the engine takes the record as it is.
    grade.levelsOn = grade.levels[0].on = 1;
    const EnginePtr engine = MakeEngine();
    OCUpdateParameters(engine.get(), &grade);
    EXPECT_EQ(OCParametersOf(engine.get())->inScale[0], 1e-9f);
}

TEST_F(OCAuto, ATrimOfZeroStopsAtTheFirstAndLastBin)
{
    const FramePtr frame = FrameOf(50, 40, [](uint32_t) { return Code{90, 90, 90}; });
    for (float trim : {0.0f, -1.0f, -kInfinity, std::numeric_limits<float>::quiet_NaN(), 0.0004f}) {
        grade.levels[0].inblackpt = grade.levels[0].inwhitept = 0.7f;
        OCAutoExposure(frame.get(), &grade, trim);
        EXPECT_EQ(grade.levels[0].inblackpt, 0) << trim;
        EXPECT_EQ(grade.levels[0].inwhitept, 1) << trim;
    }
}

TEST_F(OCAuto, ATrimBeyondThePictureEndsAtTheFarSides)
{
    const FramePtr frame = FrameOf(50, 40, [](uint32_t) { return Code{90, 90, 90}; });
    for (float trim : {1.5f, 1e30f, kInfinity}) {
        OCAutoExposure(frame.get(), &grade, trim);
        EXPECT_EQ(grade.levels[0].inblackpt, 1) << trim;
        EXPECT_EQ(grade.levels[0].inwhitept, 0) << trim;
    }
}

TEST_F(OCAuto, ColorFindsTheEndsOfEachChannel)
{
    Random random(6);
    for (int round = 0; round < 20; ++round) {
        std::vector<Code> codes;
        const FramePtr frame = RandomFrame(random, 90, 80, &codes); // 7,200 pixels: 5.04 are given up
        OCSettings after = grade;
        for (uint32_t i = 1; i < 4; ++i) after.levels[i].ingraypt = 0.3f;
        OCAutoColor(frame.get(), &after);
        for (uint32_t c = 0; c < 3; ++c) {
            const Ends ends = ModelEnds(Channel(codes, c), 5);
            EXPECT_FLOAT_EQ(after.levels[c + 1].inblackpt, static_cast<float>(ends.black) / 255);
            EXPECT_FLOAT_EQ(after.levels[c + 1].inwhitept, static_cast<float>(ends.white) / 255);
            EXPECT_EQ(after.levels[c + 1].ingraypt, 0.5f);
        }
    }
}

TEST_F(OCAuto, ColorGivesUpSevenOfTenThousandPixels)
{
    // Twenty single pixels at each end, one step apart.
    const FramePtr frame = FrameOf(100, 100, [](uint32_t index) {
        const int i = static_cast<int>(index), v = i < 20 ? i : i < 40 ? 255 - (i - 20) : 128;
        return Code{v, v / 2, 255 - v};
    });
    OCAutoColor(frame.get(), &grade);
    EXPECT_FLOAT_EQ(grade.levels[1].inblackpt, 6 / 255.0f);
    EXPECT_FLOAT_EQ(grade.levels[1].inwhitept, 249 / 255.0f);
    EXPECT_FLOAT_EQ(grade.levels[2].inblackpt, 3 / 255.0f); // pairs: the seventh is the first of 3
    EXPECT_FLOAT_EQ(grade.levels[3].inblackpt, 6 / 255.0f);
    EXPECT_FLOAT_EQ(grade.levels[3].inwhitept, 249 / 255.0f);
}

TEST_F(OCAuto, BalanceMovesTheGrayPointsToTheLargestMean)
{
    Random random(7);
    for (int round = 0; round < 60; ++round) {
        std::vector<Code> codes;
        const FramePtr frame = RandomFrame(random, 30, 20, &codes);
        OCSettings after = grade;
        std::array<OCLevelsBlock, 3> blocks;
        for (uint32_t c = 0; c < 3; ++c) {
            OCLevelsBlock& b = after.levels[c + 1];
            b.inblackpt = Between(random, 0, 0.3f);
            b.inwhitept = Between(random, 0.6f, 1);
            b.ingraypt = round % 3 == 0 ? 0.5f * (b.inblackpt + b.inwhitept) : Between(random, 0.3f, 0.59f);
            blocks[c] = b;
        }
        OCBalanceGamma(frame.get(), &after);
        const std::array<double, 3> gray = ModelGray(codes, blocks);
        for (uint32_t c = 0; c < 3; ++c) EXPECT_NEAR(after.levels[c + 1].ingraypt, gray[c], 2e-5) << round << ' ' << c;
    }
}

TEST_F(OCAuto, BalanceByHand)
{
    const FramePtr frame = FrameOf(10, 10, [](uint32_t) { return Code{200, 100, 50}; });
    for (uint32_t c = 1; c < 4; ++c) grade.levels[c].inblackpt = 0.1f, grade.levels[c].inwhitept = 0.9f;
    OCBalanceGamma(frame.get(), &grade);
    EXPECT_FLOAT_EQ(grade.levels[1].ingraypt, 0.5f);               // the reference
    EXPECT_FLOAT_EQ(grade.levels[2].ingraypt, 0.8f * 0.4f + 0.1f); // exponent 1/2: (6 - 2) / 10
    EXPECT_FLOAT_EQ(grade.levels[3].ingraypt, 0.8f * 0.2f + 0.1f); // exponent 1/4: (6 - 4) / 10
}

TEST_F(OCAuto, AnExponentAboveOneTakesTheOtherBranch)
{
    // Green has a gray of 0.75: exponent 2; its mean is half of red's, so that 1 is left, which is 0.5.
    const FramePtr frame = FrameOf(10, 10, [](uint32_t) { return Code{200, 100, 160}; });
    grade.levels[2].ingraypt = 0.75f;
    grade.levels[3].ingraypt = 0.75f; // exponent 2 over 1.25: 1.6
    OCBalanceGamma(frame.get(), &grade);
    EXPECT_FLOAT_EQ(grade.levels[2].ingraypt, 0.5f);
    EXPECT_FLOAT_EQ(grade.levels[3].ingraypt, 1 - 1 / 3.2f);
}

TEST_F(OCAuto, AGrayAtTheWhitePointHasAnExponentOfAMillion)
{
    const FramePtr frame = FrameOf(10, 10, [](uint32_t) { return Code{200, 100, 50}; });
    grade.levels[2].ingraypt = 1;
    OCBalanceGamma(frame.get(), &grade);
    EXPECT_FLOAT_EQ(grade.levels[2].ingraypt, 1 - 1 / 1e6f);
}

TEST_F(OCAuto, ATieOfTheTwoLargestLeavesTheExponents)
{
    const Code ties[] = {{200, 200, 90}, {90, 200, 200}, {200, 90, 200}, {80, 80, 80}};
    for (const Code& code : ties) {
        const FramePtr frame = FrameOf(10, 10, [&](uint32_t) { return code; });
        OCSettings after = grade;
        OCBalanceGamma(frame.get(), &after);
        for (uint32_t c = 1; c < 4; ++c) EXPECT_EQ(after.levels[c].ingraypt, 0.5f);
    }
}

TEST_F(OCAuto, ATieOfTheTwoSmallestIsNone)
{
    const FramePtr frame = FrameOf(10, 10, [](uint32_t) { return Code{100, 200, 100}; });
    OCBalanceGamma(frame.get(), &grade);
    EXPECT_FLOAT_EQ(grade.levels[1].ingraypt, 0.4f);
    EXPECT_EQ(grade.levels[2].ingraypt, 0.5f);
    EXPECT_FLOAT_EQ(grade.levels[3].ingraypt, 0.4f);
}

TEST_F(OCAuto, MeansAreWholeBins)
{
    // Red 100 and 101 by halves has the mean 100, as green has: with it the two largest tie.
    const FramePtr frame = FrameOf(10, 10, [](uint32_t i) { return Code{100 + static_cast<int>(i & 1), 100, 20}; });
    OCBalanceGamma(frame.get(), &grade);
    for (uint32_t c = 1; c < 4; ++c) EXPECT_EQ(grade.levels[c].ingraypt, 0.5f);
}

TEST_F(OCAuto, AChannelWithMeanZeroGetsAnInfiniteGray)
{
    const FramePtr frame = FrameOf(10, 10, [](uint32_t) { return Code{200, 100, 0}; });
    OCBalanceGamma(frame.get(), &grade);
    EXPECT_EQ(grade.levels[1].ingraypt, 0.5f);
    EXPECT_FLOAT_EQ(grade.levels[2].ingraypt, 0.4f);
    EXPECT_EQ(grade.levels[3].ingraypt, -kInfinity);
    // The engine bears it.
    grade.levelsOn = 1;
    for (OCLevelsBlock& block : grade.levels) block.on = 1;
    const EnginePtr engine = MakeEngine();
    OCUpdateParameters(engine.get(), &grade);
    const FramePtr result = MakeFrame(10, 10);
    OCProcessImageBand(engine.get(), frame.get(), result.get(), &grade, 0, 0);
    EXPECT_NEAR(At(*result, 0, 0, 0), At(*frame, 0, 0, 0), 1e-4); // red goes through a table of its own steps
}

TEST_F(OCAuto, EachCommandWritesItsOwnBlocks)
{
    Random random(8);
    std::vector<Code> codes;
    const FramePtr frame = RandomFrame(random, 60, 60, &codes);
    OCSettings after = grade;
    EXPECT_EQ(OCRunAutoExposure(frame.get(), &after, 0.001f), 1u << 17);
    EXPECT_EQ(Changed(grade, after), (std::vector<size_t>{876, 884}));
    after = grade;
    EXPECT_EQ(OCRunAutoColor(frame.get(), &after), 7u << 18);
    for (size_t offset : Changed(grade, after)) EXPECT_TRUE(offset >= 900 && offset < 996) << offset;
    EXPECT_EQ(after.levels[4].inblackpt, 0);
}

TEST_F(OCAuto, TheColorCommandIsItsThreeSteps)
{
    Random random(9);
    std::vector<Code> codes;
    const FramePtr frame = RandomFrame(random, 60, 60, &codes);
    for (uint32_t i = 1; i < 4; ++i) grade.levels[i].ingraypt = 0.2f;
    OCSettings command = grade, steps = grade;
    OCRunAutoColor(frame.get(), &command);
    for (uint32_t i = 1; i < 4; ++i) steps.levels[i].ingraypt = 0.5f;
    OCAutoColor(frame.get(), &steps);
    OCBalanceGamma(frame.get(), &steps);
    EXPECT_TRUE(Changed(command, steps).empty());
    EXPECT_FALSE(Changed(command, grade).empty());
}

TEST_F(OCAuto, SwitchesStayAsTheyAre)
{
    const FramePtr frame = FrameOf(10, 10, [](uint32_t) { return Code{200, 100, 50}; });
    OCRunAutoExposure(frame.get(), &grade, 0.5f);
    OCRunAutoColor(frame.get(), &grade);
    EXPECT_EQ(grade.levelsOn, 0u);
    for (const OCLevelsBlock& block : grade.levels) EXPECT_EQ(block.on, 0u);
}

TEST_F(OCAuto, WithoutMemoryNothingHappensAndNothingIsSaid)
{
    const FramePtr frame = FrameOf(10, 10, [](uint32_t) { return Code{200, 100, 50}; });
    using Step = bool (*)(const FBFrame*, OCSettings*);
    const Step steps[] = {[](const FBFrame* f, OCSettings* s) { return OCAutoExposure(f, s, 0.001f); }, OCAutoColor,
                          OCBalanceGamma};
    for (Step step : steps) {
        OCSettings after = grade;
        LogCatch log;
        BPFailAllocation(1);
        EXPECT_FALSE(step(frame.get(), &after));
        BPFailAllocation(0);
        EXPECT_TRUE(Changed(grade, after).empty());
        EXPECT_EQ(log.Text(), "");
        EXPECT_TRUE(log.reports.empty());
    }
}

TEST_F(OCAuto, ACommandThatLacksMemoryAnywhereChangesNothing)
{
    const FramePtr frame = FrameOf(10, 10, [](uint32_t) { return Code{200, 100, 50}; });
    for (uint32_t i = 0; i < 4; ++i) grade.levels[i].ingraypt = 0.3f;
    using Command = uint32_t (*)(const FBFrame*, OCSettings*);
    const Command commands[] = {[](const FBFrame* f, OCSettings* s) { return OCRunAutoExposure(f, s, 0.1f); },
                                OCRunAutoColor};
    for (Command command : commands) {
        uint64_t failures = 0;
        for (;;) {
            OCSettings after = grade;
            BPFailAllocation(failures + 1);
            const uint32_t written = command(frame.get(), &after);
            const bool failed = BPAllocationCount() > failures;
            BPFailAllocation(0);
            EXPECT_EQ(written == 0, failed) << failures;
            EXPECT_EQ(Changed(grade, after).empty(), failed) << failures;
            if (!failed) break;
            ++failures;
        }
        EXPECT_GE(failures, 1u);
    }
}

TEST_F(OCAuto, AFormatThatCannotBeCountedLeavesTheGrade)
{
    const FramePtr frame = MakeFrame(1, 1, pixFormatBGRA8);
    LogCatch log;
    OCSettings after = grade;
    OCAutoExposure(frame.get(), &after, 0.001f);
    OCAutoColor(frame.get(), &after);
    OCBalanceGamma(frame.get(), &after);
    EXPECT_TRUE(Changed(grade, after).empty());
}

TEST_F(OCAuto, PixelsOfAnyBitsAreBorne)
{
    Random random(10);
    for (FBPixelFormat format : {pixFormatRGBYPlanar_Float, pixFormatYRGB32_Float, pixFormatARGB8}) {
        const FramePtr frame = MakeFrame(33, 9, format);
        for (size_t i = 0; i < size_t{frame->planeBytes} * frame->planeCount; ++i)
            frame->baseAddr[i] = static_cast<uint8_t>(random());
        OCRunAutoExposure(frame.get(), &grade, 0.01f);
        OCRunAutoColor(frame.get(), &grade);
        for (uint32_t i = 0; i < 4; ++i) {
            EXPECT_GE(grade.levels[i].inblackpt, 0);
            EXPECT_LE(grade.levels[i].inwhitept, 1);
        }
    }
}

TEST_F(OCAuto, LumaFollowsTheMatrixThatAScopeAskedForLast)
{
    const FramePtr frame = FrameOf(50, 40, [](uint32_t) { return Code{255, 0, 0}; });
    (void)GetLumaTable(ocMatrix601);
    OCAutoExposure(frame.get(), &grade, 0.001f);
    EXPECT_FLOAT_EQ(grade.levels[0].inblackpt, 76 / 255.0f);
    (void)GetLumaTable(ocMatrix709);
    OCAutoExposure(frame.get(), &grade, 0.001f);
    EXPECT_FLOAT_EQ(grade.levels[0].inblackpt, 54 / 255.0f);
}
