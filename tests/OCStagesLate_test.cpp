// Secondaries and limiter: their parameters, every style and method against the model, and the traits that grades depend
// on.
#include "src/MPTasks.h"
#include "src/OCStages.h"
#include "src/OCTint.h"
#include "tests/CoreTest.h"
#include "tests/Model.h"

#include <cmath>
#include <functional>
#include <limits>

namespace {

using Edit = std::function<void(OCSettings&)>;

struct Grade {
    EnginePtr engine = MakeEngine();
    OCSettings settings = NeutralGrade();
    explicit Grade(const Edit& edit)
    {
        edit(settings);
        OCUpdateParameters(engine.get(), &settings);
    }
    const OCProcessParams& Params() const { return *OCParametersOf(engine.get()); }
    OCPixel operator()(float r, float g, float b) const
    {
        OCPixel pixel = {.r = r, .g = g, .b = b, .sourceLuma = 0, .weight = {}};
        OCProcessPixel(&pixel, Params());
        return pixel;
    }
};

/// Secondary A with one sample of a colour, and an edit of its own.
Edit Keyed(float r, float g, float b, std::function<void(OCSecondary&)> edit = {})
{
    return [=](OCSettings& settings) {
        settings.secondaryOn = 1;
        OCSecondary& s = settings.secondary[0];
        s.on = 1;
        s.sample[0] = {1, r, g, b};
        if (edit) edit(s);
    };
}

Edit Limited(std::function<void(OCSettings&)> edit = {})
{
    return [=](OCSettings& settings) {
        settings.limiter_enable = 1;
        if (edit) edit(settings);
    };
}

testing::AssertionResult IsNear(const OCPixel& p, float r, float g, float b, float tolerance = 2e-6f)
{
    if (std::fabs(p.r - r) <= tolerance && std::fabs(p.g - g) <= tolerance && std::fabs(p.b - b) <= tolerance)
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << p.r << " " << p.g << " " << p.b;
}

testing::AssertionResult IsNear(const OCPixel& p, const ModelPixel& m, double relative)
{
    const float seen[3] = {p.r, p.g, p.b};
    for (int i = 0; i < 3; ++i) {
        const auto expected = static_cast<double>(m[i]);
        if (!(std::fabs(static_cast<double>(seen[i]) - expected) <= relative * (1 + std::fabs(expected))))
            return testing::AssertionFailure() << "channel " << i << ": expected " << expected << ", seen " << seen[i];
    }
    return testing::AssertionSuccess();
}

float LumaOf(const OCPixel& p)
{
    return OCLuma(p.r, p.g, p.b);
}

constexpr float kRoundTrip = 3e-6f; // what a pixel loses on its way through Y, U, V

} // namespace

// Secondaries ----------------------------------------------------------------------------------------------------------

TEST(OCSecondaries, ParametersAreMadeFromTheRecord)
{
    const Grade grade(Keyed(0.8f, 0.3f, 0.1f, [](OCSecondary& s) {
        s.lumatol = 0.25f;
        s.chromatol = 0.15f;
        s.softness = 0.2f;
        s.invert = 7;
        s.hue = 90;
        s.saturation = 150;
        s.hueoffset_tintangle = 120;
        s.hueoffset_strength = 0.6f;
        s.gain = 1.5f;
        s.gamma = 2;
        s.ped = 0.125f;
        s.sample[3] = {0x80, 1, 0, 0};
    }));
    const OCSecondaryParams& p = grade.Params().secondary[0];
    EXPECT_EQ(p.on, 1u);
    EXPECT_EQ(p.inverted, 1u);
    EXPECT_EQ(p.lumaTolerance, 0.25f);
    EXPECT_EQ(p.chromaTolerance, 0.15f);
    EXPECT_EQ(p.softness, 0.2f);
    EXPECT_EQ(p.saturation, 1.5f);
    EXPECT_EQ(p.inverseGamma, 0.5f);
    EXPECT_EQ(p.pedestal, 0.125f);
    EXPECT_NEAR(p.hueCosine, 0, 1e-7f);
    EXPECT_EQ(p.hueSine, 1);
    EXPECT_EQ(p.tint.u, OCTintOf(120, 0).u);
    EXPECT_EQ(p.tint.strength, 0.6f * 0.33333334f);
    ASSERT_EQ(p.sampleCount, 2u);
    EXPECT_EQ(p.sample[0].y, 0.299f * 0.8f + 0.587f * 0.3f + 0.114f * 0.1f);
    EXPECT_EQ(p.sample[0].u, 0.436798f * 0.1f - (0.289391f * 0.3f + 0.147407f * 0.8f));
    EXPECT_EQ(p.sample[0].v, 0.614777f * 0.8f - 0.5147996f * 0.3f - 0.099978f * 0.1f);
    EXPECT_EQ(p.sample[1].v, 0.614777f);
    for (uint32_t i = 1; i < kOCSecondaryCount; ++i) EXPECT_EQ(grade.Params().secondary[i].on, 0u);
}

// Deliberate: green's factor of V is 0.5147996 for samples and 0.514799 for pixels.
TEST(OCSecondaries, ASampleOfGreenLiesALittleOffThePixel)
{
    const Grade grade(Keyed(0, 1, 0));
    EXPECT_EQ(grade.Params().secondary[0].sample[0].v, -0.5147996f);
    EXPECT_NE(0.5147996f, 0.514799f);
}

TEST(OCSecondaries, TheToleranceIsSquaredAndTheSoftnessInvertedInDouble)
{
    OCSecondaryParams s = {};
    s.chromaTolerance = 0.1f;
    s.softness = 0.05f;
    const OCKeyShape shape = OCKeyShapeOf(s);
    EXPECT_EQ(shape.chromaToleranceSquared, static_cast<float>(static_cast<double>(0.1f) * static_cast<double>(0.1f)));
    EXPECT_EQ(shape.inverseSoftnessSquared,
              static_cast<float>(1 / (static_cast<double>(0.05f) * static_cast<double>(0.05f))));
    s.softness = 1e-25f; // its square is no single
    EXPECT_EQ(OCKeyShapeOf(s).inverseSoftnessSquared, std::numeric_limits<float>::infinity());
}

TEST(OCSecondaries, EveryStyleFollowsTheModel)
{
    Random random(5);
    for (int32_t style : {0, 1, 2, 3, 4, -1})
        for (uint32_t invert : {0u, 1u})
            for (int round = 0; round < 20; ++round) {
                OCSecondary record = {};
                const Grade grade([&](OCSettings& g) {
                    Keyed(0.6f, 0.3f, 0.2f)(g);
                    OCSecondary& s = g.secondary[0];
                    s.preview = style != 0;
                    s.previewStyle = style;
                    s.invert = invert;
                    s.softness = Between(random, 0.1f, 0.5f);
                    s.lumatol = Between(random, 0, 0.3f);
                    s.chromatol = Between(random, 0, 0.3f);
                    s.hue = Between(random, -180, 180);
                    s.saturation = Between(random, 0, 200);
                    s.gain = Between(random, 0.5f, 1.5f);
                    s.gamma = round % 2 ? 1 : Between(random, 0.8f, 1.5f);
                    s.ped = Between(random, -0.1f, 0.1f);
                    s.hueoffset_tintangle = Between(random, 0, 360);
                    s.hueoffset_strength = Between(random, 0, 1);
                    for (uint32_t i = 1; i < 4; ++i)
                        s.sample[i] = {static_cast<uint32_t>(random() % 2), Between(random, 0, 1),
                                       Between(random, 0, 1), Between(random, 0, 1)};
                    record = s;
                });
                for (int i = 0; i < 40; ++i) {
                    const float r = Between(random, -0.2f, 1.4f), g = Between(random, -0.2f, 1.4f),
                                b = Between(random, -0.2f, 1.4f);
                    // A tone table adds its step.
                    ASSERT_TRUE(IsNear(grade(r, g, b), ModelSecondary(record, {r, g, b}), round % 2 ? 2e-5 : 5e-4))
                        << "style " << style << ", invert " << invert << ", round " << round;
                }
            }
}

TEST(OCSecondaries, WithoutASampleNothingChangesAndInvertedEverythingDoes)
{
    const auto edit = [](uint32_t invert) {
        return [invert](OCSettings& g) {
            g.secondaryOn = g.secondary[2].on = 1;
            g.secondary[2].gain = 2;
            g.secondary[2].invert = invert;
        };
    };
    const Grade none(edit(0)), all(edit(1));
    for (float level : {-0.2f, 0.0f, 0.3f, 0.9f, 1.5f}) {
        EXPECT_TRUE(IsNear(none(level, 0.2f, 0.4f), level, 0.2f, 0.4f, kRoundTrip));
        const float y = OCLuma(level, 0.2f, 0.4f); // gain acts on luma, so each channel rises by it
        EXPECT_TRUE(IsNear(all(level, 0.2f, 0.4f), level + y, 0.2f + y, 0.4f + y, kRoundTrip));
    }
}

TEST(OCSecondaries, SoftnessZeroIsHardAndTheToleranceItselfIsOutside)
{
    const auto key = [](float y, float tolerance) {
        const Grade grade(Keyed(0.5f, 0.5f, 0.5f, [=](OCSecondary& s) {
            s.softness = 0;
            s.lumatol = tolerance;
            s.preview = 1;
            s.previewStyle = 3;
        }));
        return grade(y, y, y).r;
    };
    const float at = OCLuma(0.5f, 0.5f, 0.5f);
    EXPECT_EQ(key(0.5f, 0.25f), 1);
    EXPECT_EQ(key(0.7f, 0.25f), 1);
    EXPECT_EQ(key(0.8f, 0.25f), 0);
    const float there = OCLuma(0.75f, 0.75f, 0.75f);
    EXPECT_EQ(key(0.75f, std::fabs(at - there)), 0); // 0 / 0 reads 0
    EXPECT_EQ(key(0.75f, std::nextafter(std::fabs(at - there), 1.0f)), 1);
}

TEST(OCSecondaries, InsideTheToleranceTheKeyIsWholeAndOutsideItFalls)
{
    const Grade grade(Keyed(0.5f, 0.5f, 0.5f, [](OCSecondary& s) {
        s.lumatol = 0.1f;
        s.softness = 0.5f; // divides by 0.25
        s.preview = 1;
        s.previewStyle = 3;
    }));
    EXPECT_EQ(grade(0.55f, 0.55f, 0.55f).r, 1);
    EXPECT_NEAR(grade(0.7f, 0.7f, 0.7f).r, 1 - 0.1f / 0.25f, 1e-5f); // luma: a distance
    // Chroma: the square of a distance. A pixel of equal luma with V of 0.3.
    const float v = 0.3f;
    const OCPixel p = grade(0.5f + 1.140251f * v, 0.5f - 0.580809f * v, 0.5f);
    EXPECT_NEAR(p.r, 1 - (v * v - 0.01f) / 0.25f, 1e-4f);
}

TEST(OCSecondaries, TheNearestOfTheSamplesCounts)
{
    const Grade grade(Keyed(0.1f, 0.1f, 0.1f, [](OCSecondary& s) {
        s.sample[1] = {1, 0.5f, 0.5f, 0.5f};
        s.sample[3] = {1, 0.9f, 0.9f, 0.9f};
        s.preview = 1;
        s.previewStyle = 3;
    }));
    for (float level : {0.1f, 0.5f, 0.9f}) EXPECT_EQ(grade(level, level, level).g, 1);
    for (float level : {0.3f, 0.7f}) EXPECT_EQ(grade(level, level, level).g, 0);
}

TEST(OCSecondaries, OnlyTheLowByteSwitchesASample)
{
    for (const auto& [word, on] : {std::pair{0x100u, false}, {0xFFFFFF00u, false}, {0x80u, true}, {0x101u, true}}) {
        const Grade grade(Keyed(0.5f, 0.5f, 0.5f, [word = word](OCSecondary& s) {
            s.sample[0].on = word;
            s.preview = 1;
            s.previewStyle = 3;
        }));
        EXPECT_EQ(grade(0.5f, 0.5f, 0.5f).b, on ? 1 : 0) << word;
    }
}

TEST(OCSecondaries, PreviewsShowWhatIsKeyed)
{
    const auto preview = [](int32_t style) {
        return Grade(Keyed(0.9f, 0.1f, 0.1f, [style](OCSecondary& s) {
            s.preview = 1;
            s.previewStyle = style;
        }));
    };
    const float inside[3] = {0.9f, 0.1f, 0.1f}, outside[3] = {0.2f, 0.7f, 0.3f};
    const float y = OCLuma(outside[0], outside[1], outside[2]);
    for (int32_t style : {1, 2, 4}) EXPECT_TRUE(IsNear(preview(style)(0.9f, 0.1f, 0.1f), 0.9f, 0.1f, 0.1f, kRoundTrip));
    EXPECT_TRUE(IsNear(preview(1)(outside[0], outside[1], outside[2]), y, y, y, kRoundTrip));
    EXPECT_TRUE(
        IsNear(preview(2)(outside[0], outside[1], outside[2]), 0.6825f, 0.6825f * 0.7f, 0.6825f * 0.3f, kRoundTrip));
    EXPECT_TRUE(IsNear(preview(2)(0.8f, 0.9f, 0.1f), 0.8f, 0.6825f * 0.9f, 0.6825f * 0.1f, kRoundTrip));
    EXPECT_TRUE(IsNear(preview(3)(inside[0], inside[1], inside[2]), 1, 1, 1, 0));
    EXPECT_TRUE(IsNear(preview(3)(outside[0], outside[1], outside[2]), 0, 0, 0, 0));
    EXPECT_TRUE(IsNear(preview(9)(outside[0], outside[1], outside[2]), 0.2f, 0.7f, 0.3f, kRoundTrip));
    // Without "Show Preview" the style is not asked.
    const Grade off(Keyed(0.9f, 0.1f, 0.1f, [](OCSecondary& s) { s.previewStyle = 3; }));
    EXPECT_TRUE(IsNear(off(outside[0], outside[1], outside[2]), 0.2f, 0.7f, 0.3f, kRoundTrip));
}

TEST(OCSecondaries, AnUnknownStyleStillGoesThroughYUV)
{
    const Grade grade(Keyed(0.9f, 0.1f, 0.1f, [](OCSecondary& s) {
        s.preview = 1;
        s.previewStyle = 17;
    }));
    bool moved = false;
    Random random(8);
    for (int i = 0; i < 100 && !moved; ++i) {
        const float r = Between(random, 0, 1), g = Between(random, 0, 1), b = Between(random, 0, 1);
        const OCPixel p = grade(r, g, b);
        moved = p.r != r || p.g != g || p.b != b;
    }
    EXPECT_TRUE(moved);
}

TEST(OCSecondaries, LumaToolsLeaveChromaAndChromaToolsLeaveLuma)
{
    const auto everywhere = [](std::function<void(OCSecondary&)> edit) {
        return Grade([=](OCSettings& g) {
            g.secondaryOn = g.secondary[5].on = g.secondary[5].invert = 1;
            edit(g.secondary[5]);
        });
    };
    const auto u = [](const OCPixel& p) { return -0.147407f * p.r - 0.289391f * p.g + 0.436798f * p.b; };
    const OCPixel from = everywhere([](OCSecondary&) {})(0.7f, 0.4f, 0.2f);
    const OCPixel luma = everywhere([](OCSecondary& s) {
        s.gain = 1.2f;
        s.gamma = 1.4f;
        s.ped = 0.1f;
    })(0.7f, 0.4f, 0.2f);
    EXPECT_NEAR(u(luma), u(from), 1e-5f);
    EXPECT_GT(LumaOf(luma), LumaOf(from) + 0.1f);
    const OCPixel chroma = everywhere([](OCSecondary& s) {
        s.hue = 70;
        s.saturation = 150;
        s.hueoffset_tintangle = 200;
        s.hueoffset_strength = 1;
    })(0.7f, 0.4f, 0.2f);
    EXPECT_NEAR(LumaOf(chroma), LumaOf(from), 1e-5f);
    EXPECT_GT(std::fabs(u(chroma) - u(from)), 0.1f);
}

TEST(OCSecondaries, LaterOnesAndTheLimiterWorkOnThePreview)
{
    const Grade grade([](OCSettings& g) {
        Keyed(0.9f, 0.1f, 0.1f)(g);
        g.secondary[0].preview = 1;
        g.secondary[0].previewStyle = 3; // white on black
        g.secondary[1].on = 1;
        g.secondary[1].sample[0] = {1, 1, 1, 1};
        g.secondary[1].gain = 0.5f;
    });
    EXPECT_TRUE(IsNear(grade(0.9f, 0.1f, 0.1f), 0.5f, 0.5f, 0.5f, kRoundTrip));
    const Grade limited([](OCSettings& g) {
        Keyed(0.9f, 0.1f, 0.1f)(g);
        g.secondary[0].preview = 1;
        g.secondary[0].previewStyle = 3;
        g.limiter_enable = 1;
        g.limiter.limiter_luma_max = 70;
    });
    EXPECT_TRUE(IsNear(limited(0.9f, 0.1f, 0.1f), 0.7f, 0.7f, 0.7f, kRoundTrip));
}

TEST(OCSecondaries, APixelThatIsNoNumberHasNoKeyAndStaysInItsPixel)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const Grade alpha(Keyed(0.5f, 0.5f, 0.5f, [](OCSecondary& s) {
        s.preview = 1;
        s.previewStyle = 3;
    }));
    EXPECT_TRUE(IsNear(alpha(nan, 0.5f, 0.5f), 0, 0, 0, 0));
    const Grade normal(Keyed(0.5f, 0.5f, 0.5f, [](OCSecondary& s) { s.gamma = 2; }));
    EXPECT_TRUE(std::isnan(normal(nan, 0.5f, 0.5f).g));
}

// Limiter --------------------------------------------------------------------------------------------------------------

TEST(OCLimiter, LimitsMoveFromTheCompositeScaleToTheSignal)
{
    const Grade plain(Limited());
    const OCLimiterParams& p = plain.Params().limiter;
    EXPECT_FLOAT_EQ(p.chromaMax, 110);
    EXPECT_FLOAT_EQ(p.chromaMin, -30);
    EXPECT_FLOAT_EQ(p.lumaMax, 1.2f);
    EXPECT_FLOAT_EQ(p.knee, 0.9f);
    EXPECT_FLOAT_EQ(p.whiteLevel, 1);
    EXPECT_FLOAT_EQ(p.maxLevel, 1.3f);
    EXPECT_EQ(p.method, 3);
    const Grade setup(Limited([](OCSettings& g) {
        g.videoLevels = {16, 235, 1, 254, 1, 2};
        g.limiter.limiter_system = 4;
    }));
    const float a = 16.0f / 254, b = (235.0f / 254 - a) / 0.925f;
    EXPECT_FLOAT_EQ(setup.Params().limiter.chromaMax, (110 - 7.5f) * b + 100 * a);
    EXPECT_FLOAT_EQ(setup.Params().limiter.chromaMin, (-30 - 7.5f) * b + 100 * a);
    EXPECT_FLOAT_EQ(setup.Params().limiter.lumaMax, (1.2f - 0.075f) * b + a);
    EXPECT_FLOAT_EQ(setup.Params().limiter.knee, (0.9f - 0.075f) * b + a);
    EXPECT_EQ(setup.Params().limiter.system, 4);
}

TEST(OCLimiter, EveryMethodFollowsTheModel)
{
    Random random(15);
    for (int32_t method : {0, 1, 2, 3, 4})
        for (uint32_t preview : {0u, 1u})
            for (uint32_t softClip : {0u, 1u})
                for (int round = 0; round < 10; ++round) {
                    const Grade grade(Limited([&](OCSettings& g) {
                        g.limiter_preview = preview;
                        g.limiter.limiter_clip_method = method;
                        g.limiter.limiter_softclip_enable = softClip;
                        g.limiter.limiter_chroma_max = Between(random, 70, 130);
                        g.limiter.limiter_chroma_min = Between(random, -40, 0);
                        g.limiter.limiter_luma_max = Between(random, 70, 130);
                        g.limiter.limiter_softclip_knee = Between(random, 60, 100);
                        if (round % 2) g.videoLevels = {16, 235, 1, 254, 1, 1};
                    }));
                    for (int i = 0; i < 60; ++i) {
                        const float r = Between(random, -0.3f, 1.6f), g = Between(random, -0.3f, 1.6f),
                                    b = Between(random, -0.3f, 1.6f);
                        // Next to a threshold single and long double may fall on different sides.
                        const ModelPixel low = ModelLimiter(grade.settings, {r - 1e-5L, g - 1e-5L, b - 1e-5L});
                        const ModelPixel high = ModelLimiter(grade.settings, {r + 1e-5L, g + 1e-5L, b + 1e-5L});
                        const ModelPixel expected = ModelLimiter(grade.settings, {r, g, b});
                        if (fabsl(low.r - high.r) + fabsl(low.g - high.g) + fabsl(low.b - high.b) > 1e-3L) continue;
                        ASSERT_TRUE(IsNear(grade(r, g, b), expected, 1e-4))
                            << "method " << method << ", preview " << preview << ", soft clip " << softClip
                            << ", pixel " << r << " " << g << " " << b;
                    }
                }
}

// Deliberate: the amplitude of grey is 1, so black reaches below 0 and above it.
TEST(OCLimiter, BlackWithSetupTripsALowerLimitAboveMinusOne)
{
    const Grade grade(Limited([](OCSettings& g) {
        g.limiter.limiter_chroma_min = 0;
        g.limiter.limiter_clip_method = 2;
        g.limiter_preview = 1;
    }));
    EXPECT_TRUE(IsNear(grade(0, 0, 0), 0, 0, 0, 0));
    EXPECT_TRUE(IsNear(grade(0.005f, 0.005f, 0.005f), 0, 0, 0, 0)); // 0.5 - 1 is below 0
    EXPECT_TRUE(IsNear(grade(0.02f, 0.02f, 0.02f), 0.02f, 0.02f, 0.02f, 0));
    const Grade upper(Limited([](OCSettings& g) {
        g.limiter_preview = 1;
        g.limiter.limiter_chroma_max = 70;
    }));
    EXPECT_TRUE(IsNear(upper(0.695f, 0.695f, 0.695f), 0, 0, 0, 0)); // 69.5 + 1
    EXPECT_TRUE(IsNear(upper(0.685f, 0.685f, 0.685f), 0.685f, 0.685f, 0.685f, 0));
}

TEST(OCLimiter, ReduceSaturationGoesGreyAtItsLumaWhereNothingElseHelps)
{
    const Grade grade(Limited([](OCSettings& g) {
        g.limiter.limiter_clip_method = 1;
        g.limiter.limiter_chroma_max = 70;
    }));
    const OCPixel p = grade(1, 0.9f, 0.4f); // luma alone is above 70
    const float y = OCLuma(1, 0.9f, 0.4f);
    EXPECT_TRUE(IsNear(p, y, y, y, 1e-6f));
}

TEST(OCLimiter, ReduceLumaDarkensWhatIsAboveOnlyThroughChroma)
{
    const Grade grade(Limited([](OCSettings& g) {
        g.limiter.limiter_clip_method = 2;
        g.limiter.limiter_chroma_max = 80;
    }));
    const OCPixel p = grade(0.9f, 0.1f, 0.1f); // luma 0.34, amplitude 0.5 and more
    EXPECT_LT(p.r, 0.9f);
    EXPECT_NEAR(p.r / p.g, 9, 1e-4f);
    EXPECT_TRUE(IsNear(grade(0.5f, 0.45f, 0.5f), 0.5f, 0.45f, 0.5f, 0)); // untouched to the bit
}

TEST(OCLimiter, SmartLimitTakesFourTenthsFromSaturationAndScalesTheRest)
{
    const Grade grade(Limited([](OCSettings& g) { g.limiter.limiter_chroma_max = 70; }));
    const float r = 0.9f, g = 0.15f, b = 0.1f;
    const float y = OCLuma(r, g, b);
    const float u = 100 * (-0.147407f * r - 0.289391f * g + 0.436798f * b);
    const float v = 100 * (0.614777f * r - 0.514799f * g - 0.099978f * b);
    const float amplitude = std::hypot(u, v), high = 100 * y + amplitude;
    ASSERT_GT(high, 70);
    const float f = (amplitude - 0.4f * (high - 70)) / amplitude;
    EXPECT_NEAR(grade(r, g, b).r, (y + 1.140251f * v * f * 0.01f) * 70 / high, 1e-5f);
}

TEST(OCLimiter, WhiteAboveTheMaximumExpands)
{
    const Grade grade(Limited([](OCSettings& g) {
        g.limiter.limiter_softclip_enable = 1;
        g.limiter.limiter_softclip_knee = 60;
        g.limiter.limiter_softclip_white_level = 120;
        g.limiter.limiter_softclip_max_level = 110;
        g.limiter.limiter_luma_max = 130;
        g.limiter.limiter_chroma_max = 130;
    }));
    EXPECT_NEAR(grade(0.8f, 0.8f, 0.8f).r, 0.6f + 0.2f * 0.6f / 0.5f, 1e-5f);
}

TEST(OCLimiter, TheSoftClipSqueezesKneeToMaximumIntoKneeToWhite)
{
    const Grade grade(Limited([](OCSettings& g) { g.limiter.limiter_softclip_enable = 1; }));
    EXPECT_EQ(grade(0.89f, 0.89f, 0.89f).g, 0.89f);
    EXPECT_NEAR(grade(1.1f, 1.1f, 1.1f).g, 0.9f + 0.2f * 0.25f, 1e-6f);
    EXPECT_NEAR(grade(1.3f, 1.3f, 1.3f).g, 1, 1e-6f);
}

TEST(OCLimiter, TheCompositeLimitsSeeTheClippedLuma)
{
    const Grade grade(Limited([](OCSettings& g) {
        g.limiter.limiter_luma_max = 80;
        g.limiter.limiter_chroma_max = 90;
        g.limiter_preview = 1;
    }));
    EXPECT_NEAR(grade(1.5f, 1.5f, 1.5f).r, 0.8f, 1e-6f); // not black: 80 + 1 is below 90
}

TEST(OCLimiter, ThePreviewPaintsBlackWhateverTheMethod)
{
    for (int32_t method : {0, 1, 2, 3, 9}) {
        const Grade grade(Limited([method](OCSettings& g) {
            g.limiter_preview = 1;
            g.limiter.limiter_clip_method = method;
            g.limiter.limiter_chroma_max = 70;
        }));
        EXPECT_TRUE(IsNear(grade(0.9f, 0.2f, 0.1f), 0, 0, 0, 0)) << method;
        EXPECT_TRUE(IsNear(grade(0.4f, 0.3f, 0.3f), 0.4f, 0.3f, 0.3f, 0)) << method;
    }
}

TEST(OCLimiter, AnUnknownMethodOnlyClipsLuma)
{
    const Grade grade(Limited([](OCSettings& g) {
        g.limiter.limiter_clip_method = 0;
        g.limiter.limiter_chroma_max = 70;
        g.limiter.limiter_luma_max = 70;
    }));
    EXPECT_TRUE(IsNear(grade(0.9f, 0.2f, 0.1f), 0.9f, 0.2f, 0.1f, 0));
    EXPECT_NEAR(grade(1, 1, 1).r, 0.7f, 1e-6f);
}

TEST(OCLimiter, TheSystemHasNoEffect)
{
    for (int32_t system : {1, 2, 3, 4, 0x7FFFFFFF}) {
        const Grade grade(Limited([system](OCSettings& g) {
            g.limiter.limiter_system = system;
            g.limiter.limiter_chroma_max = 70;
        }));
        const Grade first(Limited([](OCSettings& g) { g.limiter.limiter_chroma_max = 70; }));
        EXPECT_EQ(grade(0.9f, 0.2f, 0.1f).r, first(0.9f, 0.2f, 0.1f).r);
    }
}

TEST(OCLimiter, AVideoMaximumOfZeroLimitsNothingAndCrashesNothing)
{
    const Grade grade(Limited([](OCSettings& g) { g.videoLevels.videoMaxLevel = 0; }));
    EXPECT_TRUE(std::isnan(grade.Params().limiter.chromaMax));
    EXPECT_TRUE(IsNear(grade(3, 0.2f, 0.1f), 3, 0.2f, 0.1f, 0));
}

TEST(OCLimiter, EachCallOfTheBandRoutineLogsTheLimits)
{
    const Grade grade(Limited());
    const Grade off([](OCSettings&) {});
    const FramePtr source = MakeFrame(16, 12), result = MakeFrame(16, 12);
    const std::string lines = "Limiter is ON\nlumaMax = 1.200000, chromaMax = 110.000000\n";
    {
        LogCatch log;
        OCProcessImageBand(grade.engine.get(), source.get(), result.get(), nullptr, 0, 0);
        EXPECT_EQ(log.Text(), lines);
        OCProcessImageBand(off.engine.get(), source.get(), result.get(), nullptr, 0, 0);
        EXPECT_EQ(log.Text(), lines);
        OCProcessImageBand(grade.engine.get(), source.get(), nullptr, nullptr, 0, 0);
        EXPECT_EQ(log.Text(), lines);
    }
    LogCatch log;
    MPTask* tasks = nullptr;
    const uint32_t count = MPStartTaskCount(&tasks, 3);
    ProcessImage(grade.engine.get(), source.get(), result.get(), &grade.settings, 0, count, tasks);
    MPDisposeTasks(count, &tasks);
    size_t calls = 0;
    const std::string text = log.Text();
    for (size_t at = text.find("Limiter is ON\n"); at != std::string::npos; at = text.find("Limiter is ON\n", at + 1))
        ++calls;
    EXPECT_EQ(calls, 3u);
}
