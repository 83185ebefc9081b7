// Layout of the settings area.
#include "src/UI/ToolAreaLayout.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr int kTop = 6;
constexpr int kGap = 6;
constexpr int kSideGap = 10;  // between the page and what stands beside it
constexpr int kCornerGap = 4; // below the sample
constexpr double kClearlyBetter = 0.1;

constexpr int kSampleBlock = kTKSampleWidth + kTKStripGap + kTKStripWidth;

TKPlace StripBeside(const TKPlace& sample)
{
    return {sample.x + sample.width + kTKStripGap, sample.y, kTKStripWidth, sample.height};
}

/// What an arrangement is worth: how far its page can be stretched, or by how many pixels it is too high.
double WorthOf(const TKPageRow& page, const TKToolAreaLayout& area)
{
    const TKPlace& place = area.page;
    const TKPageLayout layout = TKLayOutPage(page, place.width, place.height, area.corner);
    if (area.corner.height > 0 && !layout.fits) return -HUGE_VAL; // nothing scrolls below the sample
    return layout.fits ? layout.stretch : std::min(-1.0, static_cast<double>(place.height - layout.height));
}

TKToolAreaLayout Beside(int width, int height, int tabsBottom, bool hasMatch)
{
    const int sideWidth = std::max(kSampleBlock, kTKMatchNarrowWidth);
    const int side = width - kTKAreaEdge - sideWidth;
    TKToolAreaLayout layout = {};
    layout.isBeside = true;
    layout.page = {kTKAreaEdge, tabsBottom + kGap, std::max(side - kSideGap - kTKAreaEdge, 0),
                   std::max(height - tabsBottom - kGap, 0)};
    layout.sample = {side, kTop, kTKSampleWidth, kTKSampleHeight};
    layout.strip = StripBeside(layout.sample);
    if (hasMatch) layout.match = {side, kTop + kTKSampleHeight + kGap, kTKMatchNarrowWidth, kTKMatchHighHeight};
    return layout;
}

TKToolAreaLayout Above(int width, int height, int tabsBottom, bool hasMatch)
{
    const int left = width - kTKAreaEdge - kSampleBlock;
    const int matchTop = tabsBottom + kGap;
    const int bandBottom = std::max(kTop + kTKSampleHeight, hasMatch ? matchTop + kTKMatchLowHeight : tabsBottom);
    TKToolAreaLayout layout = {};
    layout.page = {kTKAreaEdge, bandBottom, width - 2 * kTKAreaEdge, std::max(height - bandBottom, 0)};
    layout.sample = {left, kTop, kTKSampleWidth, kTKSampleHeight};
    layout.strip = StripBeside(layout.sample);
    if (hasMatch) layout.match = {kTKAreaEdge + kTKPaneMargin, matchTop, kTKMatchWideWidth, kTKMatchLowHeight};
    return layout;
}

TKToolAreaLayout InCorner(int width, int height, int tabsBottom)
{
    TKToolAreaLayout layout = Above(width, height, tabsBottom, false);
    const int top = tabsBottom + kGap;
    layout.corner = {.width = layout.page.x + layout.page.width - layout.sample.x + kSideGap,
                     .height = layout.page.y + kCornerGap - top};
    layout.page.y = top;
    layout.page.height = std::max(height - top, 0);
    return layout;
}

} // namespace

int TKToolAreaHeight(int room)
{
    constexpr int usual = 690; // of a window of 1024 x 768
    return kTKLeastToolHeight + std::max(0, room - usual) / 3;
}

TKToolAreaLayout TKLayOutToolArea(int width, int height, int tabsBottom, const TKPageRow& page, bool hasMatch)
{
    const TKToolAreaLayout beside = Beside(width, height, tabsBottom, hasMatch);
    TKToolAreaLayout above = Above(width, height, tabsBottom, hasMatch);
    if (!hasMatch && above.page.y > tabsBottom + kGap) {
        const TKToolAreaLayout inCorner = InCorner(width, height, tabsBottom);
        if (WorthOf(page, inCorner) > WorthOf(page, above)) above = inCorner;
    }
    return WorthOf(page, above) > WorthOf(page, beside) + kClearlyBetter ? above : beside;
}
