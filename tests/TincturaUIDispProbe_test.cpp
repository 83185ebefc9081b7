// The probe finds the place of a pixel's trace in every display; the ghost stays behind the live trace.
#include "src/TincturaUIDispProbe.h"

#include "src/TincturaUIDispWaveform.h"
#include "tests/WaveformTest.h"

#include "src/platform/BPMemory.h"

#include <algorithm>
#include <cstdlib>

namespace {

constexpr ScopeRect kPane = {10, 20, 490, 660};

ScopeProbe Pixel(double across, uint8_t red, uint8_t green, uint8_t blue)
{
    return {.across = across, .alpha = 0xFF, .red = red, .green = green, .blue = blue};
}

int32_t Find(int32_t display, const ScopeProbe& probe, ScopeProbeMark* marks)
{
    return ScopeFindProbe(kPane, display, probe, ScopeDefaultContext(), marks);
}

/// The monitor that DrawWaveformDisplay makes of a rectangle with the default settings.
Monitor MonitorOf(const ScopeRect& rect, uint32_t system)
{
    Monitor monitor;
    monitor.bounds = ScopeInset(rect, static_cast<int32_t>(ScopeWidthOf(rect) * 0.016));
    monitor.params.videoSystem = ScopeVideoSystem(system);
    monitor.params.matrix = ScopeMatrix(system);
    return monitor;
}

/// Columns of the first spike of each row, of what a histogram display drew.
std::vector<int32_t> FirstSpikes(const Recorder& recorder, const HistogramLayout& layout)
{
    std::vector<int32_t> columns;
    for (const SeenMark& seen : recorder.Of(scopeMarkLine)) {
        if (seen.mark.x0 != seen.mark.x1 || columns.size() == 4) continue;
        if (seen.mark.y0 == layout.row[columns.size()].bottom - 2)
            columns.push_back(static_cast<int32_t>(seen.mark.x0));
    }
    return columns;
}

/// The displays of a selection before and after the ghost of `reference` came behind them, drawn with letters.
struct Haunted {
    Surface before, after;
    Haunted(uint32_t width, uint32_t height, int32_t tab, const Surface& live, const Surface& reference)
        : before(width, height), after(width, height)
    {
        Recorder recorder;
        ScopeSelection selection = ScopeDefaultSelection();
        selection.analysisSelection = tab;
        for (Surface* surface : {&before, &after})
            DrawAnalysisPane(surface, selection, {&live, nullptr, nullptr}, recorder.Context());
        DrawScopeGhost(&after, selection, &reference, recorder.Context());
    }
};

} // namespace

TEST(ScopeProbe, EachDisplayHasAMarkForEachOfItsTraces)
{
    const struct {
        int32_t display, least, most;
    } cases[] = {{scopeLumaWFM, 1, 1},    {scopeYCWFM, 1, 1},    {scopeRGBWFM, 3, 3},     {scopeGBRWFM, 3, 3},
                 {scopeYRGBWFM, 4, 4},    {scopeYCbCrWFM, 3, 3}, {scopeOverlayWFM, 3, 3}, {scopeVectorscope, 1, 1},
                 {scopeHistograms, 4, 4}, {scopeToneCurve, 0, 0}};
    for (const auto& c : cases) {
        ScopeProbeMark marks[kScopeProbeMarkLimit];
        const int32_t count = Find(c.display, Pixel(0.25, 200, 120, 60), marks);
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
    ASSERT_EQ(Find(scopeLumaWFM, Pixel(0.1, 60, 60, 60), left), 1);
    ASSERT_EQ(Find(scopeLumaWFM, Pixel(0.9, 60, 60, 60), right), 1);
    ASSERT_EQ(Find(scopeLumaWFM, Pixel(0.1, 200, 200, 200), bright), 1);
    EXPECT_GT(right[0].x - left[0].x, 350);
    EXPECT_EQ(right[0].y, left[0].y);
    EXPECT_GT(left[0].y - bright[0].y, 100);
}

TEST(ScopeProbe, AWaveformsMarkIsTheMiddleOfTheRowsThatItsLevelLights)
{
    Surface bare(640, 480), lit(640, 480), picture(800, 4);
    DrawWaveformDisplay(&bare, nullptr, nullptr, scopeLumaWFM, ScopeDefaultContext());
    for (int32_t grey = 0; grey < 256; grey += 5) {
        const auto level = static_cast<uint8_t>(grey);
        picture.Fill([=](int32_t, int32_t) { return Opaque(level, level, level); });
        DrawWaveformDisplay(&lit, nullptr, &picture, scopeLumaWFM, ScopeDefaultContext());
        double sum = 0, rows = 0;
        for (int32_t y = 0; y < 480; ++y)
            if (!(lit.At(320, y) == bare.At(320, y))) {
                sum += y;
                ++rows;
            }
        ASSERT_TRUE(rows == 1 || rows == 2) << grey;
        ScopeProbeMark marks[kScopeProbeMarkLimit];
        ASSERT_EQ(ScopeFindProbe(ScopeBoundsOf(lit), scopeLumaWFM, Pixel(0.5, level, level, level),
                                 ScopeDefaultContext(), marks),
                  1);
        EXPECT_EQ(marks[0].y, std::lround(sum / rows)) << grey;
        EXPECT_NEAR(marks[0].x, 10 + 56 + 546 / 2, 1) << grey;
    }
}

TEST(ScopeProbe, AGreyIsInTheMiddleOfTheVectorscope)
{
    ScopeProbeMark marks[kScopeProbeMarkLimit];
    ASSERT_EQ(Find(scopeVectorscope, Pixel(0.7, 128, 128, 128), marks), 1);
    EXPECT_NEAR(marks[0].x, (kPane.left + kPane.right) / 2, 3);
    EXPECT_NEAR(marks[0].y, (kPane.top + kPane.bottom) / 2, 3);
}

TEST(ScopeProbe, OfTheYCDisplayMarksTheLumaAndNotTheEnvelope)
{
    constexpr ScopeRect kQuadrant = {10, 20, 230, 320};
    for (const ScopeRect& rect : {kPane, kQuadrant})
        for (const uint32_t system : {1u, kPAL, kHD709, k240M})
            for (const ScopeProbe& pixel : {Pixel(0.4, 191, 0, 0), Pixel(0.4, 200, 120, 60), Pixel(0.4, 255, 255, 0),
                                            Pixel(0.4, 0, 0, 255), Pixel(0.4, 255, 255, 255), Pixel(0.4, 0, 0, 0)}) {
                ScopeContext context = ScopeDefaultContext();
                context.settings.videoSystem = system;
                ScopeProbeMark marks[kScopeProbeMarkLimit];
                ASSERT_EQ(ScopeFindProbe(rect, scopeYCWFM, pixel, context, marks), 1)
                    << int{pixel.red} << ", " << int{pixel.green} << ", " << int{pixel.blue} << ", " << system;
                Monitor monitor = MonitorOf(rect, system);
                monitor.params.flags |= waveformYC;
                const uint8_t* luma = GetLumaTable(ScopeMatrix(system));
                const int32_t y = luma[pixel.red] + luma[256 + pixel.green] + luma[512 + pixel.blue];
                const int64_t row = monitor.RowOf(y + monitor.Scale(ScopeHeightOf(monitor.bounds)).codeOffset);
                EXPECT_NEAR(marks[0].y, static_cast<double>(row), 1) << y << ", " << system;
            }
}

TEST(ScopeProbe, TheSecondPanelOfYCbCrReadsThePixelsOwnAlpha)
{
    Monitor monitor = MonitorOf(kPane, 1);
    monitor.params.mode = waveformYCbCr;
    // (alpha - luma) x 0.562 + 127: 198 and 55, a hundred and forty-three codes apart.
    for (const auto& [alpha, level] : {std::pair{0xFF, 198}, {0, 55}, {128, 127}}) {
        ScopeProbe pixel = Pixel(0.5, 128, 128, 128);
        pixel.alpha = static_cast<uint8_t>(alpha);
        ScopeProbeMark marks[kScopeProbeMarkLimit];
        ASSERT_EQ(Find(scopeYCbCrWFM, pixel, marks), 3) << alpha;
        std::sort(marks, marks + 3, [](const ScopeProbeMark& a, const ScopeProbeMark& b) { return a.x < b.x; });
        EXPECT_NEAR(marks[1].y, static_cast<double>(monitor.RowOf(level)), 1) << alpha;
        EXPECT_NEAR(marks[2].y, static_cast<double>(monitor.RowOf(127)), 1) << "green less luma is nothing";
    }
}

TEST(ScopeProbe, OfHistogramsIsOnTheSpikeThatAPictureOfThatColourHas)
{
    const struct {
        int32_t width, height;
        uint32_t bins;
        bool stats;
    } cases[] = {{640, 480, 512, true}, {570, 480, 256, true},  {440, 480, 256, true},  {300, 480, 256, false},
                 {250, 480, 128, true}, {183, 300, 128, false}, {320, 240, 256, false}, {1280, 960, 512, true}};
    for (const auto& each : cases) {
        const ScopeRect rect = ScopeRectOf(7, 5, 7 + each.height, 5 + each.width);
        Surface target(static_cast<uint32_t>(each.width) + 10, static_cast<uint32_t>(each.height) + 10),
            picture(40, 30);
        picture.Fill([](int32_t, int32_t) { return Opaque(200, 120, 61); });
        GetLumaTable(ocMatrix601);
        Recorder recorder;
        DrawHistograms(&target, &rect, &picture, true, recorder.Context());
        const HistogramLayout layout = HistogramLayoutOf(rect, true, recorder.Context());
        ASSERT_EQ(layout.binCount, each.bins) << each.width;
        ASSERT_EQ(layout.showStats, each.stats) << each.width;
        const std::vector<int32_t> spikes = FirstSpikes(recorder, layout);
        ASSERT_EQ(spikes.size(), 4u) << each.width;
        ScopeProbeMark marks[kScopeProbeMarkLimit];
        ASSERT_EQ(ScopeFindProbe(rect, scopeHistograms, Pixel(0.9, 200, 120, 61), recorder.Context(), marks), 4);
        const Surface::Pixel black = Opaque(0, 0, 0);
        for (size_t i = 0; i < 4; ++i) {
            EXPECT_EQ(marks[i].x, spikes[i]) << each.width << ", row " << i;
            EXPECT_TRUE(marks[i].y > layout.row[i].top && marks[i].y < layout.row[i].bottom - 1) << each.width;
            EXPECT_FALSE(target.At(marks[i].x, marks[i].y) == black) << each.width << ", row " << i;
        }
    }
}

TEST(ScopeProbe, OfHistogramsHasNoMarkOutsideThePaneNorInARowWithoutRoom)
{
    ScopeProbeMark marks[kScopeProbeMarkLimit];
    const ScopeProbe white = Pixel(0.5, 255, 255, 255);
    const ScopeContext context = ScopeDefaultContext();
    // 130 columns in 60: the plot begins 35 left of the pane and ends as far right of it.
    EXPECT_EQ(ScopeFindProbe(ScopeRectOf(0, 100, 200, 160), scopeHistograms, white, context, marks), 0);
    EXPECT_EQ(ScopeFindProbe(ScopeRectOf(0, 100, 200, 160), scopeHistograms, Pixel(0.5, 128, 128, 128), context, marks),
              4);
    EXPECT_EQ(ScopeFindProbe(ScopeRectOf(0, 0, 12, 640), scopeHistograms, white, context, marks), 4);
    EXPECT_EQ(ScopeFindProbe(ScopeRectOf(0, 0, 11, 640), scopeHistograms, white, context, marks), 0) << "rows of 2";
}

TEST(ScopeProbe, WithCapsLockThereIsNoMark)
{
    ScopeContext context = ScopeDefaultContext();
    context.settings.updateSuspended = true;
    ScopeProbeMark marks[kScopeProbeMarkLimit];
    EXPECT_EQ(ScopeFindProbe(kPane, scopeLumaWFM, Pixel(0.5, 90, 90, 90), context, marks), 0);
}

TEST(ScopeProbe, TheComboMarksEachQuadrantInsideIt)
{
    ScopeProbeMark marks[kScopePaneMarkLimit];
    const ScopeSelection selection = ScopeDefaultSelection();
    const int32_t count = ScopeFindProbes(640, 480, selection, Pixel(0.5, 90, 200, 30), ScopeDefaultContext(), marks);
    EXPECT_EQ(count, 1 + 1 + 4); // luma, vectorscope, four histograms; none in the tone curve
    EXPECT_LT(marks[0].x, 320);
    EXPECT_GT(marks[1].x, 320);
    for (int32_t i = 2; i < count; ++i) EXPECT_TRUE(marks[i].x > 320 && marks[i].y >= 240) << i;
}

TEST(ScopeProbe, DrawsAgainOnlyForAnotherColourSizeDisplayOrSetting)
{
    ScopeProbeMemory memory = {};
    ScopeProbeMark marks[kScopePaneMarkLimit], fresh[kScopePaneMarkLimit];
    uint32_t width = 640, height = 480;
    ScopeSelection selection = ScopeDefaultSelection();
    ScopeProbe probe = Pixel(0.2, 100, 120, 90);
    ScopeContext context = ScopeDefaultContext();
    /// The requests for memory of a call, which only drawings make, and whether the marks are those that a first call finds.
    const auto drawings = [&] {
        const int32_t expected = ScopeFindProbes(width, height, selection, probe, context, fresh);
        BPFailAllocation(0);
        const int32_t count = ScopeFindProbes(width, height, selection, probe, context, marks, &memory);
        const uint64_t requests = BPAllocationCount();
        EXPECT_EQ(count, expected);
        EXPECT_GT(count, 0);
        for (int32_t i = 0; i < count; ++i) EXPECT_TRUE(marks[i].x == fresh[i].x && marks[i].y == fresh[i].y) << i;
        return requests;
    };
    EXPECT_GT(drawings(), 0u);
    EXPECT_EQ(drawings(), 0u);
    const int32_t before = marks[0].x;
    probe.across = 0.7; // the same colour elsewhere
    EXPECT_EQ(drawings(), 0u);
    EXPECT_GT(marks[0].x, before + 50);
    const std::function<void()> changes[] = {
        [&] { ++probe.red; },
        [&] { --probe.green; },
        [&] { ++probe.blue; },
        [&] { probe.alpha = 200; },
        [&] { width = 660; },
        [&] { height = 500; },
        [&] { context.settings.videoSystem = 3; },
        [&] { context.settings.videoBlackLevel = 16; },
        [&] { context.settings.wfmUnitsMV = 1; },
        [&] { context.settings.uiSaturation = 0x10000; },
    };
    for (size_t i = 0; i < std::size(changes); ++i) {
        changes[i]();
        EXPECT_GT(drawings(), 0u) << i;
        EXPECT_EQ(drawings(), 0u) << i;
    }
    selection.comboVectorscopeZoom = 2;
    const uint64_t two = drawings(); // a waveform and a vectorscope
    selection.comboSelection[0] = scopeYCWFM;
    const uint64_t one = drawings();
    EXPECT_TRUE(one > 0 && one < two) << "the other quadrants are known: " << one << " of " << two;
    selection.analysisSelection = scopeTabVectorscope;
    EXPECT_GT(drawings(), 0u);
    selection.vectorscopeZoom = 3;
    EXPECT_GT(drawings(), 0u);
    EXPECT_EQ(drawings(), 0u);
}

TEST(ScopeProbe, OfAnyOrderOfChangesIsTheSameFromMemoryAndAnew)
{
    Random random(12);
    ScopeProbeMemory memory = {};
    ScopeSelection selection = ScopeDefaultSelection();
    ScopeContext context = ScopeDefaultContext();
    ScopeProbe probe = Pixel(0.5, 100, 100, 100);
    uint32_t width = 300, height = 200;
    for (int round = 0; round < 400; ++round) {
        switch (random() % 8) {
        case 0: probe.red = static_cast<uint8_t>(random()); break;
        case 1: probe.alpha = static_cast<uint8_t>(random()); break;
        case 2: width = static_cast<uint32_t>(Within(random, 1, 400)); break;
        case 3: height = static_cast<uint32_t>(Within(random, 1, 300)); break;
        case 4: context.settings.videoSystem = static_cast<uint32_t>(Within(random, 1, 4)); break;
        case 5: selection.comboSelection[random() % 4] = Within(random, 1, 10); break;
        case 6: selection.analysisSelection = Within(random, 0, kScopeTabCount - 1); break;
        default: probe.across = Within(random, 0, 100) / 100.0;
        }
        ScopeProbeMark marks[kScopePaneMarkLimit], fresh[kScopePaneMarkLimit];
        const int32_t count = ScopeFindProbes(width, height, selection, probe, context, marks, &memory);
        ASSERT_EQ(count, ScopeFindProbes(width, height, selection, probe, context, fresh)) << round;
        for (int32_t i = 0; i < count; ++i)
            ASSERT_TRUE(marks[i].x == fresh[i].x && marks[i].y == fresh[i].y) << round << ", " << i;
    }
}

TEST(ScopeProbe, WithoutMemoryForADrawingHasNoMarkAndFindsItTheNextTime)
{
    ScopeProbeMemory memory = {};
    ScopeProbeMark marks[kScopePaneMarkLimit];
    ScopeSelection selection = ScopeDefaultSelection();
    selection.analysisSelection = scopeTabLumaWFM;
    for (uint64_t request = 1; request <= 3; ++request) {
        memory = {};
        BPFailAllocation(request);
        EXPECT_EQ(ScopeFindProbes(320, 240, selection, Pixel(0.5, 9, 9, 9), ScopeDefaultContext(), marks, &memory), 0);
        BPFailAllocation(0);
        EXPECT_EQ(ScopeFindProbes(320, 240, selection, Pixel(0.5, 9, 9, 9), ScopeDefaultContext(), marks, &memory), 1);
    }
}

TEST(ScopeGhost, OfTheLivePictureItselfLiesExactlyBehindIt)
{
    Surface picture(80, 60);
    FillScene(&picture);
    const struct {
        uint32_t width, height;
        int32_t tab;
    } cases[] = {{640, 480, scopeTabHistograms}, {570, 480, scopeTabHistograms},  {440, 480, scopeTabHistograms},
                 {1280, 960, scopeTabCombo},     {640, 480, scopeTabVectorscope}, {640, 480, scopeTabLumaWFM}};
    for (const auto& each : cases) {
        const Haunted haunted(each.width, each.height, each.tab, picture, picture);
        EXPECT_TRUE(SameSurface(haunted.before, haunted.after)) << each.width << ", tab " << each.tab;
    }
}

TEST(ScopeGhost, OfAnotherPictureWritesNoTextsAndChangesNothingOutsideTheRows)
{
    Surface live(80, 60), reference(80, 60);
    live.Fill([](int32_t, int32_t) { return Opaque(20, 20, 20); });
    FillScene(&reference);
    for (const uint32_t width : {640u, 570u}) {
        const Haunted haunted(width, 480, scopeTabHistograms, live, reference);
        Recorder recorder;
        const HistogramLayout layout =
            HistogramLayoutOf(ScopeRectOf(0, 0, 480, static_cast<int32_t>(width)), true, recorder.Context());
        ASSERT_TRUE(layout.showStats);
        bool differs = false;
        for (int32_t y = 0; y < 480; ++y)
            for (int32_t x = 0; x < static_cast<int32_t>(width); ++x) {
                const bool isSame = haunted.before.At(x, y) == haunted.after.At(x, y);
                differs |= !isSame;
                if (x < layout.row[0].left || x >= layout.row[0].right) {
                    ASSERT_TRUE(isSame) << width << ": " << x << ", " << y;
                }
            }
        EXPECT_TRUE(differs) << width;
    }
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
