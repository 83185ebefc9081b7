// Where the parts of the levels control stand.
#include "src/UI/TKLevels.h"

#include <algorithm>

namespace {

constexpr int32_t kLabelHeight = 16, kLabelGap = 2; // above plot or bar
constexpr int32_t kPlotGap = 3;                     // from the histogram to its bar: both have an outline
constexpr int32_t kHandleRoom = kLevelsHandleDrop + kLevelsHandleBox;
constexpr int32_t kReadoutHeight = 17, kReadoutWidth = 80;
constexpr int32_t kLeastPlotHeight = 40, kNaturalPlotHeight = 112;
constexpr int32_t kGroupGap = 8; // between the groups when one stands below the other
constexpr int32_t kNarrowOutput = 280, kWideOutput = 536;

constexpr int32_t kBarGroupHeight = kLevelsBarHeight + kHandleRoom + kReadoutHeight;

struct Plan {
    int32_t plotWidth, outputLeft;
    bool stacked;
};

Plan PlanOf(int32_t controlWidth)
{
    const bool narrow = controlWidth < kLevelsWideFrom;
    Plan plan = {.plotWidth = narrow ? kLevelsNarrowPlot : kLevelsWidePlot,
                 .outputLeft = narrow ? kNarrowOutput : kWideOutput,
                 .stacked = false};
    plan.stacked = plan.outputLeft + plan.plotWidth + kLevelsMargin > controlWidth;
    if (plan.stacked) plan.outputLeft = kLevelsMargin;
    return plan;
}

int32_t HeightAround(const Plan& plan)
{
    const int32_t input = kLabelHeight + kLabelGap + kPlotGap + kBarGroupHeight;
    return plan.stacked ? input + kGroupGap + kLabelHeight + kLabelGap + kBarGroupHeight : input;
}

/// A bar's three readouts: under the bar's left end, middle and right end.
void PlaceReadouts(LevelsLayout* layout, uint32_t first, const ScopeRect& bar)
{
    const int32_t top = bar.bottom + kHandleRoom;
    const int32_t lefts[3] = {bar.left, (bar.left + bar.right - kReadoutWidth) / 2, bar.right - kReadoutWidth};
    for (uint32_t i = 0; i < 3; ++i)
        layout->readout[first + i] = ScopeRectOf(top, lefts[i], top + kReadoutHeight, lefts[i] + kReadoutWidth);
}

} // namespace

LevelsLayout LevelsLayoutOf(int32_t controlWidth, int32_t height)
{
    const Plan plan = PlanOf(controlWidth);
    const int32_t plotHeight = std::max(kLeastPlotHeight, height - HeightAround(plan));
    const int32_t left = kLevelsMargin, right = left + plan.plotWidth;
    LevelsLayout layout = {};
    layout.stacked = plan.stacked;
    layout.inputLabel = ScopeRectOf(0, left, kLabelHeight, right);
    const int32_t plotTop = kLabelHeight + kLabelGap, barTop = plotTop + plotHeight + kPlotGap;
    layout.inputPlot = ScopeRectOf(plotTop, left, plotTop + plotHeight, right);
    layout.inputBar = ScopeRectOf(barTop, left, barTop + kLevelsBarHeight, right);
    PlaceReadouts(&layout, levelsInBlack, layout.inputBar);

    const int32_t outputTop = plan.stacked ? barTop + kBarGroupHeight + kGroupGap + kLabelHeight + kLabelGap : barTop;
    const int32_t outputRight = plan.outputLeft + plan.plotWidth;
    layout.outputBar = ScopeRectOf(outputTop, plan.outputLeft, outputTop + kLevelsBarHeight, outputRight);
    layout.outputLabel =
        ScopeRectOf(outputTop - kLabelGap - kLabelHeight, plan.outputLeft, outputTop - kLabelGap, outputRight);
    PlaceReadouts(&layout, levelsOutBlack, layout.outputBar);
    layout.frame = ScopeRectOf(0, 0, outputTop + kBarGroupHeight, outputRight + kLevelsMargin);
    return layout;
}

int32_t LevelsLeastHeight(int32_t controlWidth)
{
    return HeightAround(PlanOf(controlWidth)) + kLeastPlotHeight;
}

int32_t LevelsNaturalHeight(int32_t controlWidth)
{
    return HeightAround(PlanOf(controlWidth)) + kNaturalPlotHeight;
}

uint32_t LevelsBinCount(int32_t plotWidth)
{
    return plotWidth >= 512 ? 512 : plotWidth >= 256 ? 256 : 128;
}

void LayOutLevels(LevelsVars* vars, int32_t controlWidth, int32_t height)
{
    vars->layout = LevelsLayoutOf(controlWidth, height);
    vars->pixelsPerUnit = static_cast<float>(ScopeWidthOf(vars->layout.inputBar));
}
