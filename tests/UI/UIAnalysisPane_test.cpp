// The mouse in the analysis pane.
#include "src/UI/UIAnalysisPane.h"

#include "src/platform/BPLog.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace {

constexpr int32_t kWidth = 600, kHeight = 400;

struct Corner {
    int32_t x, y;
};
constexpr Corner kCorners[] = {{10, 10}, {590, 10}, {10, 390}, {590, 390}};

} // namespace

TEST(ComboQuadrant, GoesByHalvesOfThePane)
{
    for (int32_t quadrant = 0; quadrant < 4; ++quadrant)
        EXPECT_EQ(TKComboQuadrantAt(kWidth, kHeight, kCorners[quadrant].x, kCorners[quadrant].y), quadrant);
    // A pane of 500 has its right displays from 230 on; the mouse goes by 250 all the same.
    EXPECT_EQ(TKComboQuadrantAt(500, 400, 240, 10), 0);
    EXPECT_EQ(TKComboQuadrantAt(500, 400, 250, 200), 0);
    EXPECT_EQ(TKComboQuadrantAt(500, 400, 251, 201), 3);
}

TEST(AnalysisMenu, OfASingleVectorscopeHasFourZoomsWithTheCurrentOneChecked)
{
    ScopeSelection s = ScopeDefaultSelection();
    s.analysisSelection = scopeTabVectorscope;
    s.vectorscopeZoom = 5;
    s.comboVectorscopeZoom = 2;
    const TKAnalysisMenu menu = TKAnalysisMenuAt(s, kWidth, kHeight, 10, 10);
    EXPECT_EQ(menu.id, tkMenuZoom);
    ASSERT_EQ(menu.itemCount, 4);
    const char* titles[] = {"1x Zoom", "2x Zoom", "5x Zoom", "10x Zoom"};
    for (int i = 0; i < 4; ++i) {
        EXPECT_STREQ(menu.item[i].title, titles[i]);
        EXPECT_EQ(menu.item[i].checked, i == 2);
    }
    s.vectorscopeZoom = 3; // by the wheel: none of the four
    for (const TKAnalysisMenuItem& item : TKAnalysisMenuAt(s, kWidth, kHeight, 10, 10).item) EXPECT_FALSE(item.checked);
}

TEST(AnalysisMenu, OfAQuadrantHasTheTenDisplaysAndZoomsOnlyForAVectorscope)
{
    ScopeSelection s = ScopeDefaultSelection(); // the vectorscope is in the upper right
    s.comboVectorscopeZoom = 10;
    for (int32_t quadrant = 0; quadrant < 4; ++quadrant) {
        const TKAnalysisMenu menu = TKAnalysisMenuAt(s, kWidth, kHeight, kCorners[quadrant].x, kCorners[quadrant].y);
        EXPECT_EQ(menu.quadrant, quadrant);
        EXPECT_EQ(menu.id, quadrant == 1 ? tkMenuDisplaysAndZoom : tkMenuDisplays);
        ASSERT_EQ(menu.itemCount, quadrant == 1 ? 15 : 10);
        EXPECT_STREQ(menu.item[0].title, "Luma WFM");
        EXPECT_STREQ(menu.item[9].title, "Tone Curve");
        if (quadrant != 1) continue;
        EXPECT_STREQ(menu.item[10].title, "");
        EXPECT_STREQ(menu.item[11].title, "1x Zoom"); // item 12
        EXPECT_TRUE(menu.item[14].checked);
        EXPECT_FALSE(menu.item[11].checked);
    }
}

TEST(AnalysisMenu, DoesNotOpenInOtherDisplays)
{
    ScopeSelection s = ScopeDefaultSelection();
    for (int32_t tab = -1; tab <= kScopeTabCount; ++tab) {
        if (tab == scopeTabCombo || tab == scopeTabVectorscope) continue;
        s.analysisSelection = tab;
        EXPECT_EQ(TKAnalysisMenuAt(s, kWidth, kHeight, 10, 10).id, tkMenuNone) << tab;
        EXPECT_EQ(TKAnalysisMenuAt(s, kWidth, kHeight, 10, 10).itemCount, 0) << tab;
    }
}

TEST(AnalysisChoice, OfADisplayIsStoredInItsQuadrantAndWritten)
{
    ScopeSelection s = ScopeDefaultSelection();
    const TKAnalysisMenu menu = TKAnalysisMenuAt(s, kWidth, kHeight, 10, 390);
    const TKAnalysisEffect effect = TKAnalysisChoose(&s, menu, scopeOverlayWFM);
    EXPECT_TRUE(effect.changed && effect.writesPreferences && effect.repaints);
    EXPECT_EQ(s.comboSelection[scopeLowerLeft], scopeOverlayWFM);
    EXPECT_EQ(s.comboSelection[scopeUpperLeft], scopeLumaWFM);
}

TEST(AnalysisChoice, OfAQuadrantsZoomLeavesThePanesOwn)
{
    ScopeSelection s = ScopeDefaultSelection();
    const TKAnalysisMenu combo = TKAnalysisMenuAt(s, kWidth, kHeight, 590, 10);
    EXPECT_TRUE(TKAnalysisChoose(&s, combo, 14).changed);
    EXPECT_EQ(s.comboVectorscopeZoom, 5);
    EXPECT_EQ(s.vectorscopeZoom, 1);
    s.analysisSelection = scopeTabVectorscope;
    const TKAnalysisMenu single = TKAnalysisMenuAt(s, kWidth, kHeight, 590, 10);
    EXPECT_TRUE(TKAnalysisChoose(&s, single, 4).changed);
    EXPECT_EQ(s.vectorscopeZoom, 10);
    EXPECT_EQ(s.comboVectorscopeZoom, 5);
}

TEST(AnalysisChoice, OfNoItemChangesNothing)
{
    ScopeSelection s = ScopeDefaultSelection();
    const TKAnalysisMenu menu = TKAnalysisMenuAt(s, kWidth, kHeight, 590, 10);
    for (const int32_t number : {-1, 0, 11, 16, INT32_MAX}) {
        const TKAnalysisEffect effect = TKAnalysisChoose(&s, menu, number);
        EXPECT_FALSE(effect.changed || effect.writesPreferences || effect.repaints) << number;
    }
    EXPECT_FALSE(TKAnalysisChoose(&s, {}, 1).changed);
}

TEST(AnalysisWheel, ZoomsTheSingleVectorscopeFrom1To10)
{
    ScopeSelection s = ScopeDefaultSelection();
    s.analysisSelection = scopeTabVectorscope;
    for (int32_t i = 2; i <= 12; ++i) {
        const TKAnalysisEffect effect = TKAnalysisWheel(&s, kWidth, kHeight, 10, 10, 120);
        EXPECT_EQ(s.vectorscopeZoom, std::min(i, 10));
        EXPECT_EQ(effect.changed, i <= 10);
        EXPECT_TRUE(effect.repaints);
    }
    for (int32_t i = 9; i >= -1; --i) {
        (void)TKAnalysisWheel(&s, kWidth, kHeight, 10, 10, -1);
        EXPECT_EQ(s.vectorscopeZoom, std::max(i, 1));
    }
    EXPECT_EQ(s.comboVectorscopeZoom, 1);
    EXPECT_FALSE(TKAnalysisWheel(&s, kWidth, kHeight, 10, 10, 0).repaints);
}

TEST(AnalysisWheel, ZoomsAQuadrantWithAVectorscopeAndLogsItsPlace)
{
    std::string log;
    BPSetLogSink([](void* context, const char* bytes,
                    size_t count) { static_cast<std::string*>(context)->append(bytes, count); },
                 &log);
    ScopeSelection s = ScopeDefaultSelection();
    EXPECT_TRUE(TKAnalysisWheel(&s, kWidth, kHeight, 500, 30, 1).changed);
    EXPECT_EQ(s.comboVectorscopeZoom, 2);
    EXPECT_EQ(s.vectorscopeZoom, 1);
    EXPECT_EQ(log, "h = 500, v = 30, quad = 1\n");
    EXPECT_FALSE(TKAnalysisWheel(&s, kWidth, kHeight, 10, 30, 1).repaints);
    BPSetLogSink(nullptr, nullptr);
    EXPECT_EQ(s.comboVectorscopeZoom, 2);
}

TEST(AnalysisTab, TellsTheGalleryWhenItIsEnteredOrLeft)
{
    ScopeSelection s = ScopeDefaultSelection();
    EXPECT_FALSE(SelectAnalysisDisplay(&s, scopeTabVectorscope).updatesGallery);
    EXPECT_TRUE(SelectAnalysisDisplay(&s, scopeTabGallery).updatesGallery);
    EXPECT_FALSE(SelectAnalysisDisplay(&s, scopeTabGallery).updatesGallery);
    EXPECT_TRUE(SelectAnalysisDisplay(&s, scopeTabCombo).updatesGallery);
    for (const int32_t tab : {-1, 13, INT32_MAX}) EXPECT_FALSE(SelectAnalysisDisplay(&s, tab).repaints);
    EXPECT_EQ(s.analysisSelection, scopeTabCombo);
}
