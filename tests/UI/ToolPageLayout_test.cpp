// Where the rows of the pages stand, at every size of window.
#include "src/UI/ToolPageLayout.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <string>

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

TEST(ToolPageLayout, LevelsThatHave552PixelsStandIn552AndFrom553TheyTakeMore)
{
    for (const TKPagePath& path : TKToolPages()) {
        if (path.page->rows[0].kind != tkRowLevels) continue;
        const auto widthAt = [&](int room) { return TKLayOutPage(*path.page, room + 20, 300).places[0].width; };
        EXPECT_EQ(widthAt(552), 552) << path.page->prefix; // plots of 256
        EXPECT_EQ(widthAt(553), 553) << path.page->prefix; // plots of 512
        for (int room = 553; room < 2000; ++room) {
            EXPECT_GE(widthAt(room), 553) << path.page->prefix << " " << room;
            EXPECT_LE(widthAt(room), std::min(room, 1064)) << path.page->prefix << " " << room;
        }
        EXPECT_EQ(widthAt(1064), 1064) << path.page->prefix; // both groups side by side
    }
}

TEST(ToolPageLayout, TheSliderOfTheMasterLevelsStandsBesideThemWhereThatLeavesThemTheirWidth)
{
    const auto isMaster = [](const TKPagePath& path) { return std::string(path.page->prefix) == "levels_master"; };
    const auto pages = TKToolPages();
    const TKPageRow& page = *std::find_if(pages.begin(), pages.end(), isMaster)->page;
    for (int width = 240; width < 1700; width += 7) {
        const TKPageLayout layout = TKLayOutPage(page, width, 400);
        const TKPlace &levels = layout.places[0], &slider = layout.places[1];
        const bool isBeside = slider.y == levels.y;
        const int room = width - 20, needed = 8 + 220;
        EXPECT_EQ(isBeside, room >= 1064 + needed || (room >= 553 + needed && room < 1064)) << width;
    }
}

TEST(ToolPageLayout, TheSamplesOfASecondaryStandInARowWhereThatMakesThePageLower)
{
    const auto isSecondary = [](const TKPagePath& path) { return std::string(path.page->prefix) == "secondary_a"; };
    const auto pages = TKToolPages();
    const TKPageRow& page = *std::find_if(pages.begin(), pages.end(), isSecondary)->page;
    const TKPageLayout low = TKLayOutPage(page, 802, 300);
    for (size_t i = 1; i < 4; ++i) EXPECT_EQ(low.places[i].y, low.places[0].y);
    EXPECT_LT(low.places[15].y + kTKWheelExtra + 96, 500);    // the wheel is no longer below everything else
    const TKPageLayout narrow = TKLayOutPage(page, 500, 300); // no row of four fits
    EXPECT_GT(narrow.places[1].y, narrow.places[0].y);
}

TEST(ToolPageLayout, WithACornerTheButtonsStandBesideItAndTheControlsBelow)
{
    for (const TKPagePath& path : TKToolPages())
        for (const int width : {855, 1008, 1900}) {
            const TKCorner corner = {.width = 190, .height = 62};
            const TKPageLayout layout = TKLayOutPage(*path.page, width, 310, corner);
            if (!layout.fits) continue;
            EXPECT_LE(layout.height, 310) << path.page->prefix;
            for (size_t i = 0; i < layout.places.size(); ++i) {
                const TKPlace& place = layout.places[i];
                const bool isFoot =
                    path.page->rows[i].kind == tkRowButton || path.page->rows[i].kind == tkRowEyedroppers;
                if (isFoot) {
                    EXPECT_LE(place.x + place.width, width - corner.width) << path.page->prefix << " " << i;
                    EXPECT_LE(place.y + place.height, corner.height) << path.page->prefix << " " << i;
                } else {
                    EXPECT_GE(place.y, corner.height) << path.page->prefix << " " << i;
                }
            }
        }
}
