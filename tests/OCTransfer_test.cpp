// The host's pixel adjustment: its table, its modes, what does nothing.
#include "src/OCTransfer.h"

#include "src/OCStages.h"
#include "src/platform/BPMemory.h"
#include "tests/CoreTest.h"

#include <cmath>
#include <functional>

namespace {

struct Transfer {
    OCImageTransfer transfer{};
    ~Transfer() { OCDisposeImageTransfer(&transfer); }
};

OCPixelAdjust AdjustOf(uint32_t mode, uint32_t black = 0, uint32_t white = 255, float gamma = 1)
{
    return {.adjustMode = mode | 0x80000000u,
            .adjustBlack = black,
            .adjustWhite = white,
            .adjustGamma = gamma,
            .reserved = {}};
}

FramePtr Ramp()
{
    FramePtr frame = MakeFrame(64, 2);
    for (uint32_t plane = 0; plane < 4; ++plane)
        for (uint32_t row = 0; row < 2; ++row)
            for (uint32_t i = 0; i < 64; ++i)
                At(*frame, plane, row, i) = static_cast<float>((i + plane * 7) % 64) / 32.0f - 0.2f;
    return frame;
}

double Cineon(double code, double black, double white)
{
    const double gain = 1 / std::pow(1 - std::pow(10, black - white) * 0.002 / 0.6, 1 / 1.7);
    return black / 1023 > code ? 0 : std::pow(std::pow(10, (code - white) * 0.002 / 0.6), 0.588235) * gain - (gain - 1);
}

} // namespace

TEST(OCTransfer, EachModeHasItsCurve)
{
    const struct {
        const char* name;
        OCPixelAdjust adjust;
        std::function<double(double)> expected;
    } rows[] = {
        {"scale", AdjustOf(1, 16, 235), [](double x) { return (x * 255 - 16) / 219; }},
        {"scale, gamma not asked", AdjustOf(1, 16, 235, 2.2f), [](double x) { return (x * 255 - 16) / 219; }},
        {"scale and gamma", AdjustOf(2, 16, 235, 2.0f),
         [](double x) { return std::sqrt(std::max((x * 255 - 16) / 219, 0.0)); }},
        {"gamma alone", AdjustOf(2, 0, 255, 0.5f), [](double x) { return x * x; }},
        {"video A", AdjustOf(4), [](double x) { return x < 0.081 ? x / 4.5 : std::pow((x + 0.099) / 1.099, 2.2222); }},
        {"video B", AdjustOf(8), [](double x) { return x < 0.081 ? x / 4.5 : std::pow((x + 0.099) / 1.099, 2.2222); }},
        {"Cineon", AdjustOf(16, 95, 685), [](double x) { return Cineon(x * 1023, 95, 685); }},
        {"film", AdjustOf(32),
         [](double x) {
             const double black = std::pow(10, (230.0 - 1023) / 500);
             return (std::pow(10, (x * 1023 - 1023) / 500) - black) / (1 - black);
         }},
    };
    for (const auto& row : rows) {
        Transfer t;
        const FramePtr source = Ramp(), frame = Ramp();
        ASSERT_EQ(OCApplyPixelAdjust(&t.transfer, row.adjust, frame.get()), bpNoErr);
        for (uint32_t r = 0; r < 2; ++r)
            for (uint32_t i = 0; i < 64; ++i) {
                for (uint32_t plane = 0; plane < 3; ++plane) {
                    const double x =
                        std::floor(std::max(static_cast<double>(At(*source, plane, r, i)), 0.0) * 16384) / 16384;
                    const double expected = row.expected(x);
                    ASSERT_NEAR(static_cast<double>(At(*frame, plane, r, i)), expected,
                                2e-5 * (1 + std::fabs(expected)))
                        << row.name << " at " << x;
                }
                ASSERT_EQ(At(*frame, 3, r, i), OCLuma(At(*frame, 0, r, i), At(*frame, 1, r, i), At(*frame, 2, r, i)));
            }
    }
}

TEST(OCTransfer, WhatAsksForNothingDoesNothing)
{
    const OCPixelAdjust rows[] = {
        {.adjustMode = 0, .adjustBlack = 16, .adjustWhite = 235, .adjustGamma = 2, .reserved = {}},
        {.adjustMode = 2, .adjustBlack = 16, .adjustWhite = 235, .adjustGamma = 2, .reserved = {}},
        {.adjustMode = 0x7FFFFFFF, .adjustBlack = 9, .adjustWhite = 8, .adjustGamma = 7, .reserved = {}},
        AdjustOf(0, 16, 235, 2),
        AdjustOf(1, 0, 255, 2.2f),
        AdjustOf(2)};
    for (const OCPixelAdjust& adjust : rows) {
        Transfer t;
        const FramePtr source = Ramp(), frame = Ramp();
        BPFailAllocation(0);
        bool isIdentity = false;
        EXPECT_EQ(OCPrepareImageTransfer(&t.transfer, adjust, &isIdentity), bpNoErr);
        EXPECT_TRUE(isIdentity);
        EXPECT_EQ(OCApplyPixelAdjust(&t.transfer, adjust, frame.get()), bpNoErr);
        EXPECT_EQ(BPAllocationCount(), 0u);
        EXPECT_TRUE(SamePlanes(*source, *frame, 2)) << adjust.adjustMode; // luma of the frame stays as it is too
    }
}

TEST(OCTransfer, TheTableIsBuiltAgainOnlyForAnotherRecord)
{
    Transfer t;
    bool isIdentity = true;
    ASSERT_EQ(OCPrepareImageTransfer(&t.transfer, AdjustOf(2, 0, 255, 2), &isIdentity), bpNoErr);
    EXPECT_FALSE(isIdentity);
    t.transfer.table[100] = 77; // a mark that a new table would not bear
    ASSERT_EQ(OCPrepareImageTransfer(&t.transfer, AdjustOf(2, 0, 255, 2), &isIdentity), bpNoErr);
    EXPECT_EQ(t.transfer.table[100], 77);
    ASSERT_EQ(OCPrepareImageTransfer(&t.transfer, AdjustOf(0), &isIdentity), bpNoErr);
    EXPECT_EQ(t.transfer.table[100], 77); // the identity leaves it
    ASSERT_EQ(OCPrepareImageTransfer(&t.transfer, AdjustOf(2, 0, 255, 3), &isIdentity), bpNoErr);
    EXPECT_NE(t.transfer.table[100], 77);
}

TEST(OCTransfer, InputsAreReadWithinTheTable)
{
    Transfer t;
    const FramePtr frame = MakeFrame(8, 1);
    const float inputs[] = {
        -1, 0, 4.99f, 5, 6, 1e30f, std::numeric_limits<float>::infinity(), std::numeric_limits<float>::quiet_NaN()};
    const double expected[] = {0, 0, 4.99 * 4.99, 25, 25, 25, 25, 0};
    for (uint32_t i = 0; i < 8; ++i) At(*frame, 0, 0, i) = inputs[i];
    ASSERT_EQ(OCApplyPixelAdjust(&t.transfer, AdjustOf(2, 0, 255, 0.5f), frame.get()), bpNoErr);
    for (uint32_t i = 0; i < 8; ++i)
        EXPECT_NEAR(static_cast<double>(At(*frame, 0, 0, i)), expected[i], 5e-3) << inputs[i];
}

TEST(OCTransfer, HostileRecordsAreTakenAsTheyAre)
{
    Random random(9);
    for (int round = 0; round < 40; ++round) {
        Transfer t;
        OCPixelAdjust adjust = AdjustOf(1u << random() % 6, static_cast<uint32_t>(random()),
                                        static_cast<uint32_t>(random()), RandomBits(random));
        if (round % 5 == 0) adjust.adjustWhite = adjust.adjustBlack;
        if (round % 7 == 0) adjust.adjustGamma = 0;
        const FramePtr frame = Ramp();
        EXPECT_EQ(OCApplyPixelAdjust(&t.transfer, adjust, frame.get()), bpNoErr);
    }
}

TEST(OCTransfer, WithoutMemoryTheFrameStays)
{
    Transfer t;
    const FramePtr source = Ramp(), frame = Ramp();
    BPFailAllocation(1);
    EXPECT_EQ(OCApplyPixelAdjust(&t.transfer, AdjustOf(4), frame.get()), bpMemFullErr);
    BPFailAllocation(0);
    EXPECT_TRUE(SamePlanes(*source, *frame, 2));
    EXPECT_EQ(OCApplyPixelAdjust(&t.transfer, AdjustOf(4), frame.get()), bpNoErr);
    EXPECT_FALSE(SamePlanes(*source, *frame, 2));
}

TEST(OCTransfer, AnotherFormatIsAParameterError)
{
    Transfer t;
    const FramePtr frame = MakeFrame(8, 1, pixFormatARGB8);
    EXPECT_EQ(OCApplyPixelAdjust(&t.transfer, AdjustOf(4), frame.get()), bpParamErr);
}

TEST(OCTransfer, ManyCineonCodesGiveTheBitsOfOneAtATime)
{
    for (const auto& [black, white] : {std::pair{95.0f, 685.0f},
                                       {0.0f, 1023.0f},
                                       {685.0f, 95.0f},
                                       {400.0f, 400.0f},
                                       {1e6f, 1e6f + 64},
                                       {4294967296.0f, 0.0f}}) {
        const OCCineonScale scale = OCCineonScaleOf(black, white);
        std::vector<float> codes(kOCToneEntries);
        for (uint32_t i = 0; i < kOCToneEntries; ++i) codes[i] = static_cast<float>(i) / 16384.0f * 1023.0f;
        std::vector<float> light = codes;
        OCCineonToLightArray(light.data(), light.size(), black, white, scale);
        for (uint32_t i = 0; i < kOCToneEntries; ++i)
            ASSERT_TRUE(SameFloat(OCCineonToLight(codes[i], black, white, scale), light[i]))
                << black << ", " << white << ", " << i;
    }
}
