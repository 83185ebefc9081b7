// Histograms: layout, sampling, bins, statistics, and what is drawn.
#include "tests/ScopesTest.h"

#include "src/platform/BPMemory.h"

#include <numeric>

namespace {

struct Counts {
    std::vector<uint32_t> luma, red, green, blue;
    HistogramSet set{};

    explicit Counts(uint32_t binCount) : luma(binCount), red(binCount), green(binCount), blue(binCount)
    {
        set = {binCount, binCount - 1, luma.data(), red.data(), green.data(), blue.data()};
    }
    Counts(const Counts&) = delete;
    Counts& operator=(const Counts&) = delete;
};

uint64_t Sum(const std::vector<uint32_t>& bins)
{
    return std::accumulate(bins.begin(), bins.end(), uint64_t{0});
}

HistogramLayout LayoutOf(int32_t width, int32_t height, bool showStats, Recorder* recorder)
{
    return HistogramLayoutOf(ScopeRectOf(0, 0, height, width), showStats, recorder->Context());
}

} // namespace

TEST(HistogramBins, FollowTheirTable)
{
    Surface source(1, 1);
    source.Set(0, 0, Opaque(200, 100, 51));
    GetLumaTable(ocMatrix601); // 60 + 59 + 6
    struct {
        uint32_t binCount;
        std::vector<uint32_t> luma, red, green, blue;
    } const cases[] = {{128, {62}, {100}, {50}, {25}},
                       {256, {125}, {200}, {100}, {51}},
                       {512, {250, 251}, {400, 401}, {200, 201}, {102, 103}},
                       {768, {375, 377}, {600, 602}, {300, 302}, {153, 155}},
                       {1024, {500, 503}, {800, 803}, {400, 403}, {204, 207}}};
    for (const auto& each : cases)
        for (const bool fast : {false, true}) {
            Counts counts(each.binCount);
            if (fast)
                AccumulateHistograms(source, counts.set, 1, nullptr);
            else
                AccumulateHistogramsScalar(source, counts.set);
            const auto check = [&](const std::vector<uint32_t>& bins, const std::vector<uint32_t>& hit) {
                EXPECT_EQ(Sum(bins), hit.size()) << each.binCount;
                for (const uint32_t bin : hit) EXPECT_EQ(bins[bin], 1u) << each.binCount << ", " << bin;
            };
            check(counts.luma, each.luma);
            check(counts.red, each.red);
            check(counts.green, each.green);
            check(counts.blue, each.blue);
        }
}

TEST(HistogramBins, OfAnUnknownCountStayAsTheyAre)
{
    Surface source(4, 4);
    Counts counts(1024);
    for (const uint32_t binCount : {0u, 1u, 255u, 1000u, 2048u}) {
        counts.set.binCount = binCount;
        AccumulateHistograms(source, counts.set, 1, nullptr);
        AccumulateHistogramsScalar(source, counts.set);
        EXPECT_EQ(Sum(counts.luma), 0u);
    }
}

TEST(HistogramBins, MayBeMissing)
{
    Surface source(4, 4);
    for (const bool fast : {false, true}) {
        Counts counts(256);
        counts.set.lumaBins = counts.set.blueBins = nullptr;
        if (fast)
            AccumulateHistograms(source, counts.set, 1, nullptr);
        else
            AccumulateHistogramsScalar(source, counts.set);
        EXPECT_EQ(counts.red[0], 16u);
        EXPECT_EQ(counts.green[0], 16u);
    }
}

TEST(HistogramSampling, OfAPictureWiderThan720ReadsTheLeftHalf)
{
    for (const uint32_t width : {720u, 721u}) {
        Surface source(width, 2);
        source.Fill([=](int32_t x, int32_t) {
            return x < static_cast<int32_t>(width / 2) ? Opaque(10, 10, 10) : Opaque(250, 250, 250);
        });
        Counts counts(256);
        AccumulateHistograms(source, counts.set, 1, nullptr);
        EXPECT_EQ(counts.red[10], 720u) << width;
        EXPECT_EQ(counts.red[250], width == 720 ? 720u : 0u);
    }
}

TEST(HistogramSampling, OfAPictureHigherThan576ReadsEverySecondLine)
{
    for (const uint32_t height : {576u, 577u}) {
        Surface source(2, height);
        source.Fill([](int32_t, int32_t y) { return y % 2 == 0 ? Opaque(10, 10, 10) : Opaque(250, 250, 250); });
        Counts counts(256);
        AccumulateHistograms(source, counts.set, 1, nullptr);
        EXPECT_EQ(counts.red[10], height == 576 ? 576u : 578u);
        EXPECT_EQ(counts.red[250], height == 576 ? 576u : 0u);
    }
}

TEST(HistogramSampling, TakesTheLumaTableLastAskedFor)
{
    Surface source(1, 1);
    source.Set(0, 0, Opaque(255, 0, 0));
    for (const auto& [matrix, luma] : {std::pair{0, 76u}, {1, 54u}, {2, 54u}}) {
        GetLumaTable(matrix);
        Counts counts(256);
        AccumulateHistograms(source, counts.set, 1, nullptr);
        EXPECT_EQ(counts.luma[luma], 1u) << matrix;
    }
}

TEST(HistogramScale, LetsTwoPercentReachTheTop)
{
    EXPECT_DOUBLE_EQ(HistogramScale(500, 400, 102, false), 100.0 / 4000);
    EXPECT_DOUBLE_EQ(HistogramScale(500, 400, 102, true), 100.0 / 8000);
    EXPECT_DOUBLE_EQ(HistogramScale(720, 576, 102, false), 100.0 / 8294);
    EXPECT_DOUBLE_EQ(HistogramScale(721, 576, 102, false), 100.0 / 4152);
    EXPECT_DOUBLE_EQ(HistogramScale(1920, 1080, 102, false), 100.0 / 10368);
    EXPECT_DOUBLE_EQ(HistogramScale(1, 1, 102, false), 2.0) << "at least 50";
    EXPECT_DOUBLE_EQ(HistogramScale(1, 1, 102, true), 1.0) << "doubled after that";
}

TEST(HistogramLayout, Of300PixelsHas256Bins)
{
    Recorder recorder;
    // Without statistics: 300 less twice the padding of 6 from a height of 200.
    const HistogramLayout layout = LayoutOf(312, 200, true, &recorder);
    EXPECT_EQ(layout.binCount, 256u);
    EXPECT_FALSE(layout.halfWidth);
    EXPECT_FALSE(layout.showStats) << "texts of 6 pixels are too small";
    EXPECT_EQ(layout.row[0].left, (312 - 258) / 2);
    EXPECT_EQ(layout.row[0].right, (312 - 258) / 2 + 258);
}

TEST(HistogramLayout, Of120PixelsHas128BinsAtDoubleScaleWithoutStatistics)
{
    Recorder recorder;
    const HistogramLayout layout = LayoutOf(120 + 18 + 45, 300, true, &recorder); // size 9: nine letters of 4.5
    EXPECT_EQ(layout.binCount, 128u);
    EXPECT_TRUE(layout.halfWidth);
    EXPECT_FALSE(layout.showStats);
    EXPECT_EQ(ScopeWidthOf(layout.row[0]), 130);
    EXPECT_EQ(layout.row[0].left, (183 - 130) / 2) << "a stats width of 0";
}

TEST(HistogramLayout, DecidesByTheRoomThatIsLeft)
{
    Recorder recorder;
    // Height 480: padding 14, texts of 10, statistics of 45.
    struct {
        int32_t available;
        uint32_t bins;
        bool half, stats;
    } const cases[] = {{127, 128, true, false},  {128, 128, true, true},   {211, 128, true, true},
                       {212, 256, false, false}, {255, 256, false, false}, {256, 256, false, true},
                       {511, 256, false, true},  {512, 512, false, true}};
    for (const auto& each : cases) {
        const HistogramLayout layout = LayoutOf(each.available + 28 + 45, 480, true, &recorder);
        EXPECT_EQ(layout.binCount, each.bins) << each.available;
        EXPECT_EQ(layout.halfWidth, each.half) << each.available;
        EXPECT_EQ(layout.showStats, each.stats) << each.available;
        const int32_t stats = each.stats ? 45 : 0;
        EXPECT_EQ(layout.row[0].left, (each.available + 28 + 45 - static_cast<int32_t>(each.bins) - 2 - stats) / 2);
    }
    EXPECT_EQ(LayoutOf(255 + 28, 480, false, &recorder).binCount, 128u) << "no statistics asked for";
    EXPECT_EQ(LayoutOf(256 + 28, 480, false, &recorder).binCount, 256u);
}

TEST(HistogramLayout, HasFourRowsOfAQuarterOfWhatThePaddingLeaves)
{
    Recorder recorder;
    const HistogramLayout layout = LayoutOf(640, 480, true, &recorder);
    for (int32_t i = 0; i < 4; ++i) {
        EXPECT_EQ(layout.row[i].top, 14 + i * 113); // (480 - 28) / 4
        EXPECT_EQ(layout.row[i].bottom, 14 + (i + 1) * 113);
    }
}

TEST(HistogramStatistics, OfOneColourAreOneNumber)
{
    std::vector<uint32_t> bins(256);
    bins[77] = 1000;
    const HistogramStatistics s = HistogramStatisticsOf(bins.data(), 256);
    EXPECT_EQ(s.minimum, 77);
    EXPECT_EQ(s.maximum, 77);
    EXPECT_EQ(s.mean, 77);
    EXPECT_EQ(s.peak, 77);
    EXPECT_EQ(s.total, 1000u);
}

TEST(HistogramStatistics, OfAnEmptyRowBeginAtMinus1AndDivideNothing)
{
    const std::vector<uint32_t> bins(256);
    const HistogramStatistics s = HistogramStatisticsOf(bins.data(), 256);
    EXPECT_EQ(s.minimum, -1);
    EXPECT_EQ(s.total, 0u);
}

TEST(HistogramStatistics, TakeTheFirstOfEqualPeaksAndTruncateTheMean)
{
    std::vector<uint32_t> bins(512);
    bins[3] = 5;
    bins[10] = 5;
    bins[511] = 1;
    const HistogramStatistics s = HistogramStatisticsOf(bins.data(), 512);
    EXPECT_EQ(s.minimum, 3);
    EXPECT_EQ(s.maximum, 511);
    EXPECT_EQ(s.peak, 3);
    EXPECT_EQ(s.mean, (15 + 50 + 511) / 11);
}

TEST(HistogramStatistics, DoNotOverflowOnTheLargestCounts)
{
    const std::vector<uint32_t> bins(1024, UINT32_MAX);
    EXPECT_EQ(HistogramStatisticsOf(bins.data(), 1024).mean, 511);
}

TEST(Histograms, OfOneColourHaveOneSpikeARow)
{
    Surface target(640, 480), source(100, 100);
    source.Fill([](int32_t, int32_t) { return Opaque(200, 100, 51); });
    GetLumaTable(ocMatrix601);
    Recorder recorder;
    DrawHistograms(&target, nullptr, &source, true, recorder.Context());
    const HistogramLayout layout = LayoutOf(640, 480, true, &recorder);
    ASSERT_EQ(layout.binCount, 512u);
    int32_t level[4] = {125, 200, 100, 51};
    std::vector<SeenMark> spikes;
    for (const SeenMark& seen : recorder.Of(scopeMarkLine))
        if (seen.mark.x0 == seen.mark.x1 && seen.mark.y0 != seen.mark.y1) spikes.push_back(seen);
    ASSERT_EQ(spikes.size(), 8u); // two bins a level
    for (size_t i = 0; i < 8; ++i) {
        const ScopeRect& row = layout.row[i / 2];
        EXPECT_EQ(spikes[i].mark.x0, row.left + 1 + 2 * level[i / 2] + static_cast<int32_t>(i % 2));
        EXPECT_EQ(spikes[i].mark.y0, row.bottom - 2);
        EXPECT_EQ(spikes[i].mark.y1, row.top + 1) << "clipped below the frame";
    }
    // All four statistics of a row: its first bin, but the maximum is the second.
    const std::vector<std::string> texts = recorder.Texts();
    ASSERT_EQ(texts.size(), 4u + 4 * 8);
    EXPECT_EQ((std::vector<std::string>(texts.begin(), texts.begin() + 4)),
              (std::vector<std::string>{"Luma", "Red", "Green", "Blue"}));
    EXPECT_EQ((std::vector<std::string>(texts.begin() + 4, texts.begin() + 12)),
              (std::vector<std::string>{"Min:", "250", "Max:", "251", "Mean:", "250", "Peak:", "250"}));
}

TEST(Histograms, PlaceTheTriangleUnderTheMean)
{
    Surface target(640, 480), source(10, 10);
    source.Fill([](int32_t, int32_t) { return Opaque(60, 60, 60); });
    Recorder recorder;
    DrawHistograms(&target, nullptr, &source, true, recorder.Context());
    const HistogramLayout layout = LayoutOf(640, 480, true, &recorder);
    std::vector<SeenMark> flat;
    for (const SeenMark& seen : recorder.Of(scopeMarkLine))
        if (seen.mark.y0 == seen.mark.y1) flat.push_back(seen);
    ASSERT_EQ(flat.size(), 12u);
    const double left = layout.row[0].left, bottom = layout.row[0].bottom;
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(flat[static_cast<size_t>(i)].mark.y0, bottom + i);
        EXPECT_EQ(flat[static_cast<size_t>(i)].mark.x0, left + 120 + 1 - i);
        EXPECT_EQ(flat[static_cast<size_t>(i)].mark.x1, left + 120 + 1 + i);
    }
}

TEST(Histograms, MoveTheStatisticsInWhenThePaneEnds)
{
    Surface target(1000, 480), narrow(590, 480), source(10, 10);
    Recorder wide, tight;
    DrawHistograms(&target, nullptr, &source, true, wide.Context());
    const int32_t wideRight = LayoutOf(1000, 480, true, &wide).row[0].right;
    EXPECT_EQ(wide.Of(scopeMarkText)[4].mark.x0, wideRight + 5);
    EXPECT_EQ(wide.Of(scopeMarkText)[5].mark.x1, wideRight + 5 + 12 * 5); // twelve letters of size 10
    DrawHistograms(&narrow, nullptr, &source, true, tight.Context());
    const int32_t tightRight = LayoutOf(590, 480, true, &tight).row[0].right;
    ASSERT_GT(tightRight + 65, 588);
    EXPECT_EQ(tight.Of(scopeMarkText)[4].mark.x0, tightRight + 2);
    EXPECT_EQ(tight.Of(scopeMarkText)[5].mark.x1, 588);
}

TEST(Histograms, HaveLabelsOnlyInHighPlots)
{
    for (const auto& [height, labels] : {std::pair{40, 0u}, {47, 0u}, {48, 4u}, {100, 4u}, {200, 4u}}) {
        Surface target(640, static_cast<uint32_t>(height));
        Recorder recorder;
        DrawHistograms(&target, nullptr, nullptr, true, recorder.Context());
        EXPECT_EQ(recorder.Texts().size(), labels) << height;
    }
    Surface target(640, 480);
    Recorder recorder;
    DrawHistograms(&target, nullptr, nullptr, true, recorder.Context());
    const HistogramLayout layout = LayoutOf(640, 480, true, &recorder);
    const SeenMark red = recorder.Text("Red");
    EXPECT_EQ(red.mark.x0, layout.row[1].left + 4);
    EXPECT_EQ(red.mark.y0, layout.row[1].top + 4 + 9); // ascent of size 12
    EXPECT_FALSE(red.mark.font.bold);
}

TEST(Histograms, WithoutASourceWhileSuspendedOrWithoutMemoryHaveFramesAlone)
{
    Surface source(50, 50), empty(320, 240), suspended(320, 240), poor(320, 240), traced(320, 240);
    FillScene(&source);
    ScopeContext context = ScopeDefaultContext();
    DrawHistograms(&empty, nullptr, nullptr, true, context);
    DrawHistograms(&traced, nullptr, &source, true, context);
    BPFailAllocation(1);
    DrawHistograms(&poor, nullptr, &source, true, context);
    BPFailAllocation(0);
    context.settings.updateSuspended = true;
    DrawHistograms(&suspended, nullptr, &source, true, context);
    EXPECT_TRUE(SameSurface(empty, suspended));
    EXPECT_TRUE(SameSurface(empty, poor));
    EXPECT_FALSE(SameSurface(empty, traced));
}

TEST(Histograms, OfEverySizeStayInsideThePane)
{
    Surface source(30, 30);
    FillScene(&source);
    Recorder recorder;
    for (int32_t width = 1; width < 700; width += 41)
        for (int32_t height = 1; height < 600; height += 67) {
            Surface target(720, 620);
            target.FillBytes(0x33);
            const ScopeRect pane = ScopeRectOf(10, 10, 10 + height, 10 + width);
            recorder.marks.clear();
            DrawHistograms(&target, &pane, &source, true, recorder.Context());
            bool whole = true;
            for (int32_t y = 0; y < 620; ++y)
                for (int32_t x = 0; x < 720; ++x)
                    if (x < 10 || y < 10 || x >= 10 + width || y >= 10 + height)
                        whole = whole && target.At(x, y) == Surface::Pixel{0x33, 0x33, 0x33, 0x33};
            ASSERT_TRUE(whole) << width << " x " << height;
        }
}
