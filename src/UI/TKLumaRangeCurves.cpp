// The three curves of the luma range editor, and where its parts stand.
#include "src/UI/TKLumaRangeEditor.h"

#include <algorithm>

namespace {

constexpr uint32_t kLastColumn = kLumaRangeColumns - 1;
constexpr float kSoftnessSlope = 5;

constexpr int32_t kMargin = 8;
constexpr int32_t kMostPlotWidth = 768, kLeastPlotHeight = 60, kNaturalPlotHeight = 190;
constexpr int32_t kRampGap = 3, kRampHeight = 8;
constexpr int32_t kReadoutGap = 6, kReadoutHeight = 17, kReadoutPitch = 20;
constexpr int32_t kNameWidth = 60, kReadoutWidth = 92;
constexpr int32_t kGroupWidth = kNameWidth + 2 * kReadoutWidth;

float Unit(float value)
{
    return value > 0 ? (value < 1 ? value : 1) : 0;
}

LumaRangeWeights WeightsAt(float t)
{
    const float t2 = t * t, t3 = t2 * t;
    return {.h00 = 2 * t3 - 3 * t2 + 1, .h01 = -2 * t3 + 3 * t2, .h10 = t3 - 2 * t2 + t, .h11 = t3 - t2};
}

/// One range curve, from (0, 1) to (1, 0) with the start tangent (tangentX, tangentY) and the end tangent (1, 0): the
/// height at each column, as the walk first reaches it.
void WalkRange(float tangentX, float tangentY, float (&height)[kLumaRangeColumns])
{
    const LumaRangeWeights* weights = GetLumaRangeWeights();
    const LumaRangeWeights end = WeightsAt(1);
    uint32_t next = 0;
    float lastX = 0, lastY = 1;
    for (uint32_t row = 0; row <= kLumaRangeWeightCount && next <= kLastColumn; ++row) {
        const LumaRangeWeights& w = row < kLumaRangeWeightCount ? weights[row] : end;
        const float x = w.h01 + tangentX * w.h10 + w.h11;
        const float y = w.h00 + tangentY * w.h10;
        for (; next <= kLastColumn; ++next) {
            const float column = static_cast<float>(next) / static_cast<float>(kLastColumn);
            if (!(x >= column)) break;
            const float f = x > lastX && column >= lastX ? (column - lastX) / (x - lastX) : 1;
            height[next] = Unit(lastY + (y - lastY) * f);
        }
        lastX = x;
        lastY = y;
    }
    for (; next <= kLastColumn; ++next) height[next] = next > 0 ? height[next - 1] : 1.0f;
}

bool HasOneRow(int32_t plotWidth)
{
    return plotWidth >= 2 * kGroupWidth;
}

int32_t PlotWidth(int32_t controlWidth)
{
    return std::clamp(controlWidth - 2 * kMargin, kGroupWidth, kMostPlotWidth);
}

int32_t HeightAround(int32_t plotWidth)
{
    return kMargin + kRampGap + kRampHeight + kReadoutGap +
           (HasOneRow(plotWidth) ? kReadoutHeight : kReadoutPitch + kReadoutHeight);
}

} // namespace

const LumaRangeWeights* GetLumaRangeWeights()
{
    static LumaRangeWeights table[kLumaRangeWeightCount];
    static const bool made = [] {
        for (uint32_t i = 0; i < kLumaRangeWeightCount; ++i)
            table[i] = WeightsAt(static_cast<float>(i) / static_cast<float>(kLumaRangeWeightCount));
        return true;
    }();
    (void)made;
    return table;
}

void BuildLumaRangeCurves(const OCLumaRangeBlock& block, LumaRangeCurves* curves)
{
    float mirrored[kLumaRangeColumns];
    WalkRange(2 * block.lumarange_shadowx, 1 - kSoftnessSlope * (1 - block.lumarange_shadowy),
              curves->weight[lumaRangeShadowCurve]);
    WalkRange(2 * (1 - block.lumarange_highlightx), 1 - kSoftnessSlope * (1 - block.lumarange_highlighty), mirrored);
    for (uint32_t i = 0; i <= kLastColumn; ++i) {
        float s = curves->weight[lumaRangeShadowCurve][i], h = mirrored[kLastColumn - i];
        // Where both ask for more than there is, the shadows give way.
        if (h + s > 1) s = Unit(s - ((h + s) - 1));
        curves->weight[lumaRangeShadowCurve][i] = s;
        curves->weight[lumaRangeHighlightCurve][i] = h;
        curves->weight[lumaRangeMidtoneCurve][i] = Unit(1 - (s + h));
    }
}

LumaRangeLayout LumaRangeLayoutOf(int32_t controlWidth, int32_t height)
{
    const int32_t plotWidth = PlotWidth(controlWidth);
    const int32_t plotHeight = std::max(kLeastPlotHeight, height - HeightAround(plotWidth));
    const int32_t left = kMargin, right = left + plotWidth, bottom = kMargin + plotHeight;
    LumaRangeLayout layout = {};
    layout.plot = ScopeRectOf(kMargin, left, bottom, right);
    layout.ramp = ScopeRectOf(bottom + kRampGap, left, bottom + kRampGap + kRampHeight, right);
    const int32_t top = layout.ramp.bottom + kReadoutGap;
    for (int32_t handle = 0; handle < static_cast<int32_t>(kLumaRangeHandleCount); ++handle) {
        const bool beside = HasOneRow(plotWidth) && handle != 0;
        const int32_t x = beside ? right - kGroupWidth : left;
        const int32_t y = beside ? top : top + handle * kReadoutPitch;
        layout.name[handle] = ScopeRectOf(y, x, y + kReadoutHeight, x + kNameWidth);
        for (int32_t i = 0; i < 2; ++i) {
            const int32_t from = x + kNameWidth + i * kReadoutWidth;
            layout.readout[2 * handle + i] = ScopeRectOf(y, from, y + kReadoutHeight, from + kReadoutWidth);
        }
    }
    layout.frame = ScopeRectOf(0, 0, kMargin + plotHeight + HeightAround(plotWidth) - kMargin, right + kMargin);
    return layout;
}

int32_t LumaRangeLeastHeight(int32_t controlWidth)
{
    return HeightAround(PlotWidth(controlWidth)) + kLeastPlotHeight;
}

int32_t LumaRangeNaturalHeight(int32_t controlWidth)
{
    return HeightAround(PlotWidth(controlWidth)) + kNaturalPlotHeight;
}

void LayOutLumaRange(LumaRangeVars* vars, int32_t controlWidth, int32_t height)
{
    vars->layout = LumaRangeLayoutOf(controlWidth, height);
}
