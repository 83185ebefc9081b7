// The probe finds the place of a pixel's trace in every display; the ghost stays behind the live trace.
#include "src/TincturaUIDispProbe.h"

#include "tests/ScopesTest.h"

#include <cstdlib>

namespace {

constexpr ScopeRect kPane = {10, 20, 490, 660};

int32_t Find(int32_t display, const ScopeProbe& probe, ScopeProbeMark* marks)
{
    return ScopeFindProbe(kPane, display, probe, ScopeDefaultContext(), marks);
}

} // namespace

TEST(ScopeProbe, EachDisplayHasAMarkForEachOfItsTraces)
{
    const struct {
        int32_t display, least, most;
    } cases[] = {{scopeLumaWFM, 1, 1},     {scopeRGBWFM, 3, 3},     {scopeGBRWFM, 3, 3},
                 {scopeYRGBWFM, 4, 4},     {scopeYCbCrWFM, 3, 3},   {scopeOverlayWFM, 3, 3},
                 {scopeVectorscope, 1, 1}, {scopeHistograms, 4, 4}, {scopeToneCurve, 0, 0}};
    for (const auto& c : cases) {
        ScopeProbeMark marks[kScopeProbeMarkLimit];
        const int32_t count = Find(c.display, {.across = 0.25, .red = 200, .green = 120, .blue = 60}, marks);
        EXPECT_GE(count, c.least) << ScopeDisplayName(c.display);
        EXPECT_LE(count, c.most) << ScopeDisplayName(c.display);
        for (int32_t i = 0; i < count; ++i) {
            EXPECT_TRUE(marks[i].x >= kPane.left && marks[i].x < kPane.right) << ScopeDisplayName(c.display);
            EXPECT_TRUE(marks[i].y >= kPane.top && marks[i].y < kPane.bottom) << ScopeDisplayName(c.display);
        }
    }
}

TEST(ScopeProbe, AWaveformsMarkFollowsThePixelAcrossAndItsLevelUp)
{
    ScopeProbeMark left[kScopeProbeMarkLimit], right[kScopeProbeMarkLimit], bright[kScopeProbeMarkLimit];
    ASSERT_EQ(Find(scopeLumaWFM, {.across = 0.1, .red = 60, .green = 60, .blue = 60}, left), 1);
    ASSERT_EQ(Find(scopeLumaWFM, {.across = 0.9, .red = 60, .green = 60, .blue = 60}, right), 1);
    ASSERT_EQ(Find(scopeLumaWFM, {.across = 0.1, .red = 200, .green = 200, .blue = 200}, bright), 1);
    EXPECT_GT(right[0].x - left[0].x, 350);
    EXPECT_EQ(right[0].y, left[0].y);
    EXPECT_GT(left[0].y - bright[0].y, 100);
}

TEST(ScopeProbe, AGreyIsInTheMiddleOfTheVectorscope)
{
    ScopeProbeMark marks[kScopeProbeMarkLimit];
    ASSERT_EQ(Find(scopeVectorscope, {.across = 0.7, .red = 128, .green = 128, .blue = 128}, marks), 1);
    EXPECT_NEAR(marks[0].x, (kPane.left + kPane.right) / 2, 3);
    EXPECT_NEAR(marks[0].y, (kPane.top + kPane.bottom) / 2, 3);
}

TEST(ScopeProbe, WithCapsLockThereIsNoMark)
{
    ScopeContext context = ScopeDefaultContext();
    context.settings.updateSuspended = true;
    ScopeProbeMark marks[kScopeProbeMarkLimit];
    EXPECT_EQ(ScopeFindProbe(kPane, scopeLumaWFM, {.across = 0.5, .red = 90, .green = 90, .blue = 90}, context, marks),
              0);
}

TEST(ScopeProbe, TheComboMarksEachQuadrantInsideIt)
{
    ScopeProbeMark marks[kScopePaneMarkLimit];
    const ScopeSelection selection = ScopeDefaultSelection();
    const int32_t count = ScopeFindProbes(640, 480, selection, {.across = 0.5, .red = 90, .green = 200, .blue = 30},
                                          ScopeDefaultContext(), marks);
    EXPECT_EQ(count, 1 + 1 + 4); // luma, vectorscope, four histograms; none in the tone curve
    EXPECT_LT(marks[0].x, 320);
    EXPECT_GT(marks[1].x, 320);
    for (int32_t i = 2; i < count; ++i) EXPECT_TRUE(marks[i].x > 320 && marks[i].y >= 240) << i;
}

TEST(ScopeGhost, NoPixelOfTheLiveDisplayGetsDarkerAndWithoutAPictureNothingChanges)
{
    Random random(3);
    Surface live(80, 60), reference(80, 60), target(320, 240), before(320, 240);
    live.FillNoise(random);
    reference.FillNoise(random);
    ScopeSelection selection = ScopeDefaultSelection();
    selection.analysisSelection = scopeTabLumaWFM;
    for (Surface* surface : {&target, &before})
        DrawAnalysisPane(surface, selection, {&live, nullptr, nullptr}, ScopeDefaultContext());
    DrawScopeGhost(&target, selection, nullptr, ScopeDefaultContext());
    EXPECT_TRUE(SameSurface(before, target));
    DrawScopeGhost(&target, selection, &reference, ScopeDefaultContext());
    bool differs = false;
    for (int32_t y = 0; y < 240; ++y)
        for (int32_t x = 0; x < 320; ++x) {
            const Surface::Pixel was = before.At(x, y), is = target.At(x, y);
            ASSERT_TRUE(is.red >= was.red && is.green >= was.green && is.blue >= was.blue && is.alpha == 0xFF);
            differs |= !(is == was);
        }
    EXPECT_TRUE(differs);
}
