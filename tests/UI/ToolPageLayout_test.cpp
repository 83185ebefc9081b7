// Where the rows of the pages stand, at every size of window.
#include "src/UI/ToolPageLayout.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace {

bool Overlap(const TKPlace& a, const TKPlace& b)
{
    return a.x < b.x + b.width && b.x < a.x + a.width && a.y < b.y + b.height && b.y < a.y + a.height;
}

/// Nothing overlaps, nothing lies outside the page; a page that fits is no larger than its area.
void ExpectSound(const TKPageRow& page, int width, int height)
{
    const TKPageLayout layout = TKLayOutPage(page, width, height);
    ASSERT_EQ(layout.places.size(), page.rows.size());
    const std::string where =
        std::string(page.prefix) + " in " + std::to_string(width) + " x " + std::to_string(height);
    if (layout.fits) {
        EXPECT_LE(layout.height, height) << where;
    }
    if (width >= 240) {
        EXPECT_LE(layout.width, width) << where;
    }
    for (size_t i = 0; i < layout.places.size(); ++i) {
        const TKPlace& place = layout.places[i];
        EXPECT_GT(place.width, 0) << where << " row " << i;
        EXPECT_GE(place.height, 20) << where << " row " << i;
        EXPECT_GE(place.x, kTKPaneMargin) << where << " row " << i;
        EXPECT_GE(place.y, kTKPaneMargin) << where << " row " << i;
        EXPECT_LE(place.x + place.width, layout.width) << where << " row " << i;
        EXPECT_LE(place.y + place.height, layout.height) << where << " row " << i;
        if (page.rows[i].kind == tkRowSlider || page.rows[i].kind == tkRowHueWheel) {
            EXPECT_GE(place.width, kTKLeastControlWidth) << where;
            EXPECT_LE(place.width, kTKMostControlWidth) << where;
        }
        for (size_t j = 0; j < i; ++j)
            ASSERT_FALSE(Overlap(place, layout.places[j])) << where << " rows " << j << " and " << i;
    }
}

} // namespace

TEST(ToolPageLayout, ControlsNeverOverlapAndStayOnTheirPage)
{
    for (const TKPagePath& path : TKToolPages())
        for (int width = 100; width <= 3900; width += 53)
            for (int height = 80; height <= 1500; height += 71) ExpectSound(*path.page, width, height);
}

TEST(ToolPageLayout, APaneNarrowerThan260StillHasControls220Wide)
{
    for (const int width : {120, 200, 239, 259})
        EXPECT_EQ(TKLayOutPage(*TKToolPages()[0].page, width, 300).places[0].width, 220) << width;
}

TEST(ToolPageLayout, AControlThatStandsAloneIsAsWideAsThePaneLess40Within220And330)
{
    for (int width = 100; width < 460; ++width)
        EXPECT_EQ(TKLayOutPage(*TKToolPages()[0].page, width, 1000).places[0].width, std::clamp(width - 40, 220, 330))
            << width;
}

TEST(ToolPageLayout, TheFirstControlStands10FromTheLeftAnd10Down)
{
    for (const TKPagePath& path : TKToolPages()) {
        const TKPlace place = TKLayOutPage(*path.page, 1008, 300).places[0];
        EXPECT_EQ(place.x, 10) << path.page->prefix;
        EXPECT_EQ(place.y, 10) << path.page->prefix;
    }
}

TEST(ToolPageLayout, RowsAreReadDownAColumnThenAcross)
{
    for (const TKPagePath& path : TKToolPages())
        for (const int width : {400, 822, 1008, 1900, 3820}) {
            const TKPageLayout layout = TKLayOutPage(*path.page, width, 300);
            for (size_t i = 1; i < layout.places.size(); ++i) {
                const TKPlace &before = layout.places[i - 1], &here = layout.places[i];
                EXPECT_TRUE(here.y > before.y || here.x > before.x) << path.page->prefix << " row " << i;
            }
        }
}

TEST(ToolPageLayout, RowsOfNeighbouringColumnsAreLevel)
{
    const TKPageLayout layout = TKLayOutPage(*TKToolPages()[0].page, 1008, 300);
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(layout.places[i].y, layout.places[i + 3].y);
        EXPECT_EQ(layout.places[i].y, layout.places[i + 6].y);
    }
}
