// The tone curve, the combo of four and the analysis pane.
#include "tests/ScopesTest.h"

#include "src/platform/BPMemory.h"

#include <algorithm>
#include <cmath>

namespace {

/// The four polylines: for each, its y by x.
std::vector<std::vector<int32_t>> Curves(const Recorder& recorder, const ScopeRect& plot)
{
    std::vector<std::vector<int32_t>> curves;
    for (const SeenMark& seen : recorder.Of(scopeMarkLine)) {
        if (seen.mark.x0 == plot.left + 1 && seen.mark.x1 == plot.right - 2) continue; // grid
        if (seen.mark.x1 == plot.left) curves.emplace_back();
        if (curves.empty()) {
            ADD_FAILURE() << "a line before the first curve";
            break;
        }
        EXPECT_EQ(seen.mark.x1, plot.left + static_cast<double>(curves.back().size()));
        curves.back().push_back(static_cast<int32_t>(seen.mark.y1));
    }
    return curves;
}

void HalveRed(OCSettings* grade, OCEngine* engine)
{
    grade->rgbOn = grade->rgb.master.on = 1;
    grade->rgb.master.channel[0].gain = 0.5f;
    OCUpdateParameters(engine, grade);
}

} // namespace

TEST(ToneCurve, LiesInACentredSquare)
{
    const ScopeRect plot = ToneCurvePlot(ScopeRectOf(0, 0, 400, 640)); // padding 12
    EXPECT_EQ(plot.top, 12);
    EXPECT_EQ(plot.bottom, 388);
    EXPECT_EQ(plot.left, (640 - 376) / 2);
    EXPECT_EQ(plot.right, plot.left + 376);
    const ScopeRect moved = ToneCurvePlot(ScopeRectOf(50, 100, 450, 740));
    EXPECT_EQ(moved.left, plot.left + 100);
    EXPECT_EQ(moved.top, plot.top + 50);
}

TEST(ToneCurve, HasNineGridLinesAndLabelsAtEverySecondTenth)
{
    Surface target(640, 400);
    Recorder recorder;
    DrawToneCurve(&target, nullptr, nullptr, recorder.Context());
    ASSERT_EQ(recorder.Of(scopeMarkLine).size(), 9u);
    for (int tenth = 1; tenth <= 9; ++tenth) // of 376
        EXPECT_EQ(recorder.Of(scopeMarkLine)[static_cast<size_t>(tenth) - 1].mark.y0, 12 + 376 * tenth / 10) << tenth;
    EXPECT_EQ(recorder.Of(scopeMarkFrame).size(), 1u);
    EXPECT_EQ(recorder.Texts(), (std::vector<std::string>{"1.0", "0.8", "0.6", "0.4", "0.2", "0.0"}));
    const ScopeRect plot = ToneCurvePlot(ScopeBoundsOf(target));
    for (const SeenMark& text : recorder.Of(scopeMarkText)) {
        EXPECT_LE(text.mark.x1, plot.left);
        EXPECT_TRUE(text.mark.font.bold);
        EXPECT_EQ(text.mark.font.size, 16);
    }
    EXPECT_LT(recorder.Text("1.0").mark.y0, recorder.Text("0.0").mark.y0);
}

TEST(ToneCurve, OfSourceAndReferenceIsTheDiagonal)
{
    Surface target(640, 400), source(8, 8), result(8, 8);
    EnginePtr engine = MakeEngine();
    OCSettings grade = NeutralGrade();
    HalveRed(&grade, engine.get()); // would show
    Recorder recorder;
    ScopeContext context = recorder.Context();
    context.engine = engine.get();
    context.liveSettings = &grade;
    context.resultSurface = &result;
    LogCatch log;
    DrawToneCurve(&target, nullptr, &source, context);
    EXPECT_EQ(log.Text(), "");
    const ScopeRect plot = ToneCurvePlot(ScopeBoundsOf(target));
    const auto curves = Curves(recorder, plot);
    ASSERT_EQ(curves.size(), 4u);
    for (const auto& curve : curves) {
        ASSERT_EQ(curve.size(), 376u);
        for (int32_t i = 0; i < 376; ++i) EXPECT_EQ(curve[static_cast<size_t>(i)], plot.bottom - 1 - i);
    }
}

TEST(ToneCurve, OfTheResultTakesTheRoadOfThePicture)
{
    Surface target(640, 400), result(8, 8);
    EnginePtr engine = MakeEngine();
    OCSettings grade = NeutralGrade();
    HalveRed(&grade, engine.get());
    Recorder recorder;
    ScopeContext context = recorder.Context();
    context.engine = engine.get();
    context.liveSettings = &grade;
    context.resultSurface = &result;
    LogCatch log;
    DrawToneCurve(&target, nullptr, &result, context);
    EXPECT_EQ(log.Text(), "Curve (" + std::to_string(MPGetProcessorCount()) + " processors): ProcessImage: 1\n");
    const ScopeRect plot = ToneCurvePlot(ScopeBoundsOf(target));
    const auto curves = Curves(recorder, plot);
    ASSERT_EQ(curves.size(), 4u);
    const int32_t last = 375;
    for (int32_t i = 0; i <= last; ++i) {
        const auto at = static_cast<size_t>(i);
        EXPECT_NEAR(curves[0][at], plot.top + last - i / 2.0, 1.01) << i;
        EXPECT_NEAR(curves[1][at], plot.top + last - i, 1.01) << i;
        EXPECT_NEAR(curves[2][at], plot.top + last - i, 1.01) << i;
        EXPECT_NEAR(curves[3][at], plot.top + last - i * (1 - 0.299 / 2), 1.01) << i;
    }
}

TEST(ToneCurve, OfANeutralResultIsTheDiagonalInFourColoursTheLumaLast)
{
    Surface target(640, 400), result(8, 8);
    EnginePtr engine = MakeEngine();
    const OCSettings grade = NeutralGrade();
    OCUpdateParameters(engine.get(), &grade);
    Recorder recorder;
    ScopeContext context = recorder.Context();
    context.engine = engine.get();
    context.liveSettings = &grade;
    context.resultSurface = &result;
    DrawToneCurve(&target, nullptr, &result, context);
    const ScopeRect plot = ToneCurvePlot(ScopeBoundsOf(target));
    const std::vector<std::vector<int32_t>> curves = Curves(recorder, plot);
    ASSERT_EQ(curves.size(), 4u);
    for (const auto& curve : curves) {
        ASSERT_EQ(curve.size(), 376u);
        for (int32_t i = 0; i < 376; ++i) EXPECT_NEAR(curve[static_cast<size_t>(i)], plot.bottom - 1 - i, 1) << i;
    }
    ScopePalette palette;
    PrepareScopePalette(&palette, context.settings.uiSaturation);
    EXPECT_EQ(palette.luma.red, palette.luma.green);
    EXPECT_EQ(palette.luma.red, palette.luma.blue);
    // The last 4 x 376 lines are the curves', in the order red, green, blue, luma.
    const std::vector<SeenMark> lines = recorder.Of(scopeMarkLine);
    ASSERT_GE(lines.size(), 4u * 376);
    const ScopeColor colors[4] = {palette.red, palette.green, palette.blue, palette.luma};
    for (size_t i = 0; i < 4 * 376; ++i) {
        const ScopeColor seen = lines[lines.size() - 4 * 376 + i].mark.color, expected = colors[i / 376];
        ASSERT_TRUE(seen.red == expected.red && seen.green == expected.green && seen.blue == expected.blue) << i;
    }
    const auto grey = static_cast<uint8_t>(palette.luma.red >> 8); // what is seen of all four
    for (int32_t i = 1; i < 375; ++i)
        ASSERT_EQ(target.At(plot.left + i, curves[3][static_cast<size_t>(i)]), Opaque(grey, grey, grey)) << i;
}

TEST(ToneCurve, ClampsWhatLeavesTheScale)
{
    Surface target(640, 400), result(8, 8);
    EnginePtr engine = MakeEngine();
    OCSettings grade = NeutralGrade();
    grade.rgbOn = grade.rgb.master.on = 1;
    grade.rgb.master.channel[0].gain = 10;
    grade.rgb.master.channel[1].gain = -10;
    OCUpdateParameters(engine.get(), &grade);
    Recorder recorder;
    ScopeContext context = recorder.Context();
    context.engine = engine.get();
    context.liveSettings = &grade;
    context.resultSurface = &result;
    DrawToneCurve(&target, nullptr, &result, context);
    const ScopeRect plot = ToneCurvePlot(ScopeBoundsOf(target));
    const auto curves = Curves(recorder, plot);
    ASSERT_EQ(curves.size(), 4u);
    EXPECT_EQ(curves[0].back(), plot.top);
    EXPECT_EQ(curves[1].back(), plot.bottom - 1);
}

TEST(ToneCurve, WithoutFramesReportsAndDrawsTheGraticule)
{
    Surface source(8, 8), empty(320, 240), poor(320, 240);
    DrawToneCurve(&empty, nullptr, nullptr, ScopeDefaultContext());
    for (const uint64_t number : {1u, 2u, 3u, 4u}) {
        LogCatch log;
        BPFailAllocation(number);
        DrawToneCurve(&poor, nullptr, &source, ScopeDefaultContext());
        BPFailAllocation(0);
        ASSERT_EQ(log.reports.size(), 1u) << number;
        EXPECT_EQ(log.reports[0].rfind(number < 3 ? "Ochrine 3 UI: Assert (framePtr != 0) failed. [TincturaUIDisp: "
                                                  : "Ochrine 3 UI: Assert (dstFramePtr != 0) failed. [TincturaUIDisp: ",
                                       0),
                  0u)
            << log.reports[0];
        EXPECT_TRUE(SameSurface(empty, poor));
    }
}

TEST(ToneCurve, WhileSuspendedOrTooSmallHasNoCurve)
{
    Surface source(8, 8), empty(320, 240), suspended(320, 240);
    ScopeContext context = ScopeDefaultContext();
    DrawToneCurve(&empty, nullptr, nullptr, context);
    context.settings.updateSuspended = true;
    DrawToneCurve(&suspended, nullptr, &source, context);
    EXPECT_TRUE(SameSurface(empty, suspended));
    context.settings.updateSuspended = false;
    for (int32_t height = 0; height < 8; ++height)
        for (int32_t width = 0; width < 8; ++width) {
            const ScopeRect rect = ScopeRectOf(100, 100, 100 + height, 100 + width);
            DrawToneCurve(&suspended, &rect, &source, context);
        }
}

TEST(ComboLayout, Of500IsTwoHundredThirtyAndTwoHundredSeventy)
{
    const ComboLayout layout = ComboLayoutOf(ScopeRectOf(0, 0, 400, 500));
    EXPECT_EQ(layout.rightWidth, 270);
    EXPECT_EQ(layout.leftWidth, 230);
    EXPECT_EQ(layout.halfHeight, 200);
    EXPECT_EQ(layout.inset, 2);
}

TEST(ComboLayout, WidensOnlyRightHalvesFrom241To269)
{
    for (const auto& [width, right] : {std::pair{480, 240},
                                       {481, 240},
                                       {482, 270},
                                       {538, 270},
                                       {539, 270},
                                       {540, 270},
                                       {541, 270},
                                       {542, 271},
                                       {640, 320}}) {
        const ComboLayout layout = ComboLayoutOf(ScopeRectOf(0, 0, 400, width));
        EXPECT_EQ(layout.rightWidth, right) << width;
        EXPECT_EQ(layout.leftWidth, width - right) << width;
    }
}

TEST(ComboLayout, CoversThePaneWithFourQuadrantsAndInsetsTheirDisplays)
{
    const ScopeRect pane = ScopeRectOf(20, 30, 20 + 501, 30 + 701);
    const ComboLayout layout = ComboLayoutOf(pane);
    int64_t area = 0;
    for (int i = 0; i < 4; ++i) {
        area += int64_t{ScopeWidthOf(layout.quadrant[i])} * ScopeHeightOf(layout.quadrant[i]);
        EXPECT_EQ(layout.display[i].left, layout.quadrant[i].left + 3); // 250 * 0.012
        EXPECT_EQ(layout.display[i].bottom, layout.quadrant[i].bottom - 3);
    }
    EXPECT_EQ(area, int64_t{501} * 701);
    EXPECT_EQ(layout.quadrant[scopeUpperLeft].right, layout.quadrant[scopeUpperRight].left);
    EXPECT_EQ(layout.quadrant[scopeUpperLeft].bottom, layout.quadrant[scopeLowerLeft].top);
}

TEST(ComboDisplay, DrawsItsLinesAndThenTheQuadrantsInOrder)
{
    Surface target(640, 480);
    Recorder recorder;
    const int32_t selection[4] = {scopeVectorscope, scopeLumaWFM, scopeHistograms, scopeToneCurve};
    DrawComboDisplay(&target, nullptr, nullptr, selection, 5, recorder.Context());
    ASSERT_GE(recorder.marks.size(), 2u);
    EXPECT_EQ(recorder.marks[0].mark.color.red, 0x2000);
    EXPECT_EQ(recorder.marks[0].mark.x0, 320);
    EXPECT_EQ(recorder.marks[0].mark.x1, 320);
    EXPECT_EQ(recorder.marks[1].mark.y0, 240);
    EXPECT_EQ(recorder.marks[1].mark.y1, 240);
    // Each display by a text of its own; the rows of the histograms are too low for theirs.
    const std::vector<std::string> texts = recorder.Texts();
    std::vector<ptrdiff_t> places;
    for (const char* text : {"601 5x 75%", "100", "1.0"}) {
        const auto at = std::find(texts.begin(), texts.end(), text);
        ASSERT_NE(at, texts.end()) << text;
        places.push_back(at - texts.begin());
    }
    EXPECT_TRUE(std::is_sorted(places.begin(), places.end()));
}

TEST(ComboDisplay, KeepsEachDisplayInItsQuadrant)
{
    // A high and narrow pane, in which vectorscopes are wider than their quadrants.
    Surface source(64, 64);
    FillScene(&source);
    for (int32_t display = 1; display <= kScopeDisplayCount; ++display)
        for (int32_t quadrant = 0; quadrant < 4; ++quadrant) {
            Surface lines(300, 700), target(300, 700);
            const int32_t none[4] = {0, 0, 0, 0};
            DrawComboDisplay(&lines, nullptr, &source, none, 1, ScopeDefaultContext());
            int32_t one[4] = {0, 0, 0, 0};
            one[quadrant] = display;
            DrawComboDisplay(&target, nullptr, &source, one, 1, ScopeDefaultContext());
            const ScopeRect inside = ComboLayoutOf(ScopeBoundsOf(target)).quadrant[quadrant];
            bool drawn = false;
            for (int32_t y = 0; y < 700; ++y)
                for (int32_t x = 0; x < 300; ++x) {
                    const bool in = x >= inside.left && x < inside.right && y >= inside.top && y < inside.bottom;
                    const bool same = target.At(x, y) == lines.At(x, y);
                    drawn = drawn || !same;
                    ASSERT_TRUE(in || same) << display << " in " << quadrant << " at " << x << ", " << y;
                }
            EXPECT_TRUE(drawn) << display;
        }
}

TEST(ComboDisplay, HasAZoomOfItsOwn)
{
    Surface source(64, 64), combo(640, 480);
    FillScene(&source);
    Recorder recorder;
    ScopeContext context = recorder.Context();
    context.settings.vectorscopeZoom = 10;
    const int32_t selection[4] = {scopeVectorscope, 0, 0, 0};
    DrawComboDisplay(&combo, nullptr, &source, selection, 2, context);
    EXPECT_EQ(context.settings.vectorscopeZoom, 10);
    recorder.Text("601 2x 75%");
}

TEST(AnalysisPane, ChoosesThePictureByTheImagePane)
{
    Surface result(4, 4), source(4, 4), reference(4, 4);
    const ScopePictures pictures = {&result, &source, &reference};
    ScopeSelection selection = ScopeDefaultSelection();
    for (const bool playing : {false, true}) {
        selection.isPlaying = playing;
        const ScopeSurface* live = playing ? nullptr : &result;
        const ScopeSurface* expected[] = {live, &source, &reference, live, live, live};
        for (int32_t image = 0; image < 6; ++image) {
            selection.imageSelection = image;
            EXPECT_EQ(ScopePictureOf(selection, pictures), expected[image]) << image;
        }
        selection.imageSelection = -1;
        EXPECT_EQ(ScopePictureOf(selection, pictures), live);
    }
}

TEST(AnalysisPane, HasThirteenTabsInOrder)
{
    const char* titles[] = {"Combo",      "Reference",  "Luma WFM",  "YC WFM",      "RGB WFM",
                            "GBR WFM",    "YRGB WFM",   "YCbCr WFM", "Overlay WFM", "Vectorscope",
                            "Histograms", "Tone Curve", "Gallery"};
    for (int32_t tab = 0; tab < kScopeTabCount; ++tab) {
        ASSERT_NE(ScopeTabAt(tab), nullptr);
        EXPECT_STREQ(ScopeTabAt(tab)->title, titles[tab]);
        if (ScopeTabAt(tab)->display != 0) {
            EXPECT_STREQ(ScopeDisplayName(ScopeTabAt(tab)->display), titles[tab]);
        }
        EXPECT_EQ(ScopeTabAt(tab)->isPane, tab == 1 || tab == 12);
    }
    EXPECT_EQ(ScopeTabAt(-1), nullptr);
    EXPECT_EQ(ScopeTabAt(13), nullptr);
    EXPECT_STREQ(ScopeDisplayName(0), "");
    EXPECT_STREQ(ScopeDisplayName(11), "");
}

TEST(AnalysisPane, DrawsTheSelectedDisplayAndNothingForPanesOfTheirOwn)
{
    Surface source(64, 64);
    FillScene(&source);
    const ScopePictures pictures = {&source, nullptr, nullptr};
    for (int32_t tab = -1; tab <= kScopeTabCount; ++tab) {
        Surface target(320, 240), expected(320, 240);
        target.FillBytes(0x77);
        expected.Fill([](int32_t, int32_t) { return Opaque(0, 0, 0); });
        ScopeSelection selection = ScopeDefaultSelection();
        selection.analysisSelection = tab;
        selection.vectorscopeZoom = 2;
        selection.comboVectorscopeZoom = 5;
        DrawAnalysisPane(&target, selection, pictures, ScopeDefaultContext());
        ScopeContext context = ScopeDefaultContext();
        context.settings.vectorscopeZoom = 2;
        const ScopeRect whole = ScopeBoundsOf(expected);
        if (tab == scopeTabCombo)
            DrawComboDisplay(&expected, nullptr, &source, selection.comboSelection, 5, context);
        else if (tab >= 2 && tab <= 11)
            DrawComboQuadrant(&expected, whole, &source, tab - 1, context);
        EXPECT_TRUE(SameSurface(expected, target)) << tab;
    }
}

TEST(AnalysisPane, WithCapsLockHasNoTraceInAnyDisplay)
{
    Surface source(64, 64);
    FillScene(&source);
    for (int32_t tab = 0; tab < kScopeTabCount; ++tab) {
        Surface locked(320, 240), without(320, 240);
        ScopeSelection selection = ScopeDefaultSelection();
        selection.analysisSelection = tab;
        ScopeContext context = ScopeDefaultContext();
        DrawAnalysisPane(&without, selection, {}, context);
        context.settings.updateSuspended = true;
        DrawAnalysisPane(&locked, selection, {&source, nullptr, nullptr}, context);
        EXPECT_TRUE(SameSurface(without, locked)) << tab;
    }
}
