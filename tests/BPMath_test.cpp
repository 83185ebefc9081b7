// Powers against the long double library, and the fast form against the readable one.
#include "src/BPMath.h"

#include "tests/CoreTest.h"

#include <hwy/highway.h>

#include <bit>
#include <cmath>
#include <limits>

namespace {

/// How many singles lie between two positive values.
uint32_t Distance(float a, float b)
{
    const auto x = std::bit_cast<int32_t>(a), y = std::bit_cast<int32_t>(b);
    return static_cast<uint32_t>(x > y ? x - y : y - x);
}

const float kExponents[] = {0.1f,   0.2f,   1 / 2.2f, 0.45f, 0.588235f, 1 / 1.7f, 0.999f, 1.0f,  1.001f, 1.5f,
                            2.0f,   2.2f,   2.2222f,  3.0f,  4.0f,      5.0f,     8.0f,   9.0f,  10.0f,  16.5f,
                            100.0f, 127.0f, -0.5f,    -1.0f, -2.0f,     -2.2f,    0.0f,   1e-6f, 1e6f,   -1e6f};

} // namespace

TEST(BPMath, APowerIsWithinOneUlpOfTheCorrectlyRoundedOne)
{
    uint32_t worst = 0;
    for (float exponent : kExponents)
        for (uint32_t i = 1; i <= 16384; ++i) {
            const float base = static_cast<float>(i) / 16384.0f;
            const auto expected =
                static_cast<float>(powl(static_cast<long double>(base), static_cast<long double>(exponent)));
            const float seen = BPPower(base, exponent);
            const uint32_t distance = Distance(expected, seen);
            ASSERT_LE(distance, 1u) << base << " to " << exponent << ": " << seen << ", expected " << expected;
            worst = distance > worst ? distance : worst;
        }
    Random random(1);
    for (int i = 0; i < 300000; ++i) {
        const float base = std::fabs(RandomBits(random));
        const float exponent = Between(random, -12, 12);
        if (!(base > 0) || !std::isfinite(base)) continue;
        const auto expected =
            static_cast<float>(powl(static_cast<long double>(base), static_cast<long double>(exponent)));
        ASSERT_LE(Distance(expected, BPPower(base, exponent)), 1u) << base << " to " << exponent;
    }
}

TEST(BPMath, WholeExponentsAreExactlyRounded)
{
    for (int exponent = 1; exponent <= 8; ++exponent)
        for (uint32_t i = 0; i <= 16384; ++i) {
            const float base = static_cast<float>(i) / 16384.0f;
            ASSERT_EQ(BPPower(base, static_cast<float>(exponent)),
                      static_cast<float>(powl(static_cast<long double>(base), exponent)));
        }
}

TEST(BPMath, SpecialValuesFollowTheRulesOfPow)
{
    const float inf = std::numeric_limits<float>::infinity();
    const float nan = std::numeric_limits<float>::quiet_NaN();
    for (float base : {0.0f, -0.0f, 1.0f, -1.0f, -2.0f, 0.5f, inf, -inf, nan})
        for (float exponent : {0.0f, -0.0f, 1.0f, 2.0f, 3.0f, -1.0f, -3.0f, 0.5f, -0.5f, inf, -inf, nan}) {
            const auto expected =
                static_cast<float>(std::pow(static_cast<double>(base), static_cast<double>(exponent)));
            EXPECT_TRUE(SameFloat(expected, BPPower(base, exponent)))
                << base << " to " << exponent << ": " << BPPower(base, exponent) << ", expected " << expected;
        }
    EXPECT_EQ(BPPower(1e30f, 4), inf);
    EXPECT_EQ(BPPower(1e-30f, 4), 0);
    EXPECT_EQ(BPPower(1e30f, 1e30f), inf);
}

namespace {

/// Runs on every instruction set in turn that this machine has.
class BPMathKernels : public testing::TestWithParam<int64_t> {
  protected:
    BPMathKernels() { Choose(GetParam()); }
    ~BPMathKernels() override { Choose(0); }

  private:
    static void Choose(int64_t target)
    {
        hwy::SetSupportedTargetsForTest(target);
        hwy::GetChosenTarget().Update(hwy::SupportedTargets());
    }
};

INSTANTIATE_TEST_SUITE_P(Every, BPMathKernels, testing::ValuesIn(hwy::SupportedAndGeneratedTargets()),
                         [](const auto& which) { return std::string(hwy::TargetName(which.param)); });

} // namespace

TEST_P(BPMathKernels, TheFastPowerEqualsTheReadableOneBitForBit)
{
    Random random(2);
    for (float exponent : kExponents)
        for (size_t count : {0u, 1u, 2u, 3u, 5u, 7u, 8u, 9u, 15u, 16u, 17u, 33u, 1000u}) {
            std::vector<float> base(count), out(count + 2, -7.0f);
            for (float& value : base)
                value = random() % 8 ? Between(random, 0, 1) : std::fabs(Between(random, 0, 1e10f));
            if (count > 2 && random() % 2) base[count / 2] = 0;
            if (count > 5 && random() % 2) base[1] = std::numeric_limits<float>::denorm_min();
            BPPowerArray(base.data(), exponent, out.data(), count);
            for (size_t i = 0; i < count; ++i)
                ASSERT_TRUE(SameFloat(out[i], BPPower(base[i], exponent))) << base[i] << " to " << exponent;
            EXPECT_EQ(out[count], -7.0f);
            EXPECT_EQ(out[count + 1], -7.0f);
        }
}

TEST_P(BPMathKernels, HardBasesAndExponentsAgreeToo)
{
    const std::vector<float> hard = HardValues();
    std::vector<float> out(hard.size());
    for (float exponent : hard) {
        BPPowerArray(hard.data(), exponent, out.data(), hard.size());
        for (size_t i = 0; i < hard.size(); ++i)
            EXPECT_TRUE(SameFloat(out[i], BPPower(hard[i], exponent))) << hard[i] << " to " << exponent;
    }
}

TEST_P(BPMathKernels, AnArrayMayBeItsOwnOutput)
{
    std::vector<float> base(101), separate(101);
    for (size_t i = 0; i < base.size(); ++i) base[i] = static_cast<float>(i) / 100.0f;
    BPPowerArray(base.data(), 0.45f, separate.data(), base.size());
    BPPowerArray(base.data(), 0.45f, base.data(), base.size());
    EXPECT_EQ(base, separate);
}
