// The displays in a window of their own: a selection of its own, its store, and the refresh.
#include "src/support/TKScopeWindow.h"

#include "tests/support/TKTestSession.h"

#include <cstring>

namespace {

class TKScopeWindowTest : public TKSessionTest {
  protected:
    void SetUp() override
    {
        TKSessionTest::SetUp();
        ASSERT_EQ(StartUp(), tkStartRun);
        session_->ui.scopeWindowOpened = [](void* c, bool open) { Say(c, open ? "window opened" : "window closed"); };
        session_->ui.showScopeWindow = [](void* c, bool force) { Say(c, force ? "window now" : "window later"); };
        ASSERT_EQ(ScopeSurfaceCreate(320, 240, &port_), bpNoErr);
        session_->views.port[tkScopesWindow].surface = &port_;
        windows_.calls.clear();
    }
    void TearDown() override
    {
        ScopeSurfaceDispose(&port_);
        TKSessionTest::TearDown();
    }
    static void Say(void* context, const char* word) { static_cast<TKTestWindows*>(context)->calls.push_back(word); }

    TKScopeWindow& Window() { return session_->views.window; }
    BPFakeStore& Store() { return gBPFake.stores[kTKScopeWindowStore]; }
    void StoreNumber(const char* name, uint32_t value)
    {
        BPKeyedStore store = {};
        ASSERT_EQ(platform_.keyedStore.open(kTKScopeWindowStore, &store), bpNoErr);
        ASSERT_EQ(platform_.keyedStore.writeNumber(&store, name, value), bpNoErr);
        platform_.keyedStore.close(&store);
    }
    std::vector<uint8_t> Drawn() const { return {port_.pixels, port_.pixels + size_t{port_.rowBytes} * port_.height}; }

    ScopeSurface port_ = {};
};

} // namespace

TEST_F(TKScopeWindowTest, ItIsClosedUntilSomebodyOpensIt)
{
    EXPECT_EQ(Window().isOpen, 0);
    RefreshAfterRender(session_, true);
    EXPECT_EQ(windows_.Count("window now"), 0u);
    TKOpenScopeWindow(session_, true);
    TKOpenScopeWindow(session_, true); // already
    EXPECT_EQ(windows_.Count("window opened"), 1u);
    RefreshAfterRender(session_, true);
    RefreshAfterRender(session_, false);
    EXPECT_EQ(windows_.Count("window now"), 1u);
    EXPECT_EQ(windows_.Count("window later"), 1u);
    TKOpenScopeWindow(session_, false);
    EXPECT_EQ(windows_.Count("window closed"), 1u);
    RefreshAfterRender(session_, true);
    EXPECT_EQ(windows_.Count("window now"), 1u);
}

TEST_F(TKScopeWindowTest, ItFollowsARefreshInTheSingleViewToo)
{
    TKOpenScopeWindow(session_, true);
    session_->viewMode = tkViewSingle;
    Window().analysisTab = scopeTabLumaWFM;
    RefreshAfterRender(session_, true);
    const std::vector<uint8_t> before = Drawn();
    session_->liveSettings.primaryOn = session_->liveSettings.hslOn = session_->liveSettings.hsl.master.on = 1;
    session_->liveSettings.hsl.master.gain = 0;
    RecomputeAndRefresh(session_, true);
    EXPECT_NE(Drawn(), before);
}

TEST_F(TKScopeWindowTest, ItsSelectionIsItsOwnAndThePicturesIsOne)
{
    ScopeSelection selection = TKSelectionOf(session_, tkScopesWindow);
    selection.analysisSelection = scopeTabVectorscope;
    selection.comboSelection[scopeUpperLeft] = scopeRGBWFM;
    selection.vectorscopeZoom = 5;
    selection.comboVectorscopeZoom = 2;
    TKStoreSelection(session_, selection, tkScopesWindow);
    const ScopeSelection pane = TKSelectionOf(session_);
    EXPECT_EQ(pane.analysisSelection, scopeTabCombo);
    EXPECT_EQ(pane.comboSelection[scopeUpperLeft], scopeLumaWFM);
    EXPECT_EQ(pane.vectorscopeZoom, 1);
    EXPECT_EQ(pane.comboVectorscopeZoom, 1);
    const ScopeSelection again = TKSelectionOf(session_, tkScopesWindow);
    EXPECT_EQ(std::memcmp(&selection, &again, sizeof again), 0);
    EXPECT_EQ(session_->prefs.leftPaneDefault, 1u);
    SelectImageDisplay(session_, tkImageSource);
    EXPECT_EQ(TKSelectionOf(session_, tkScopesWindow).imageSelection, scopeImageSource);
}

TEST_F(TKScopeWindowTest, APaneOfItsOwnIsNoDisplayOfIt)
{
    ScopeSelection selection = TKSelectionOf(session_, tkScopesWindow);
    for (const int32_t tab : {int32_t{scopeTabReference}, int32_t{scopeTabGallery}, -1, 13}) {
        selection.analysisSelection = tab;
        TKStoreSelection(session_, selection, tkScopesWindow);
        EXPECT_EQ(Window().analysisTab, scopeTabCombo) << tab;
        EXPECT_EQ(TKScopeWindowNumberOf(tab), -1) << tab;
    }
    for (int32_t number = 0; number < kTKScopeWindowTabCount; ++number) {
        EXPECT_FALSE(ScopeTabAt(TKScopeWindowTabAt(number))->isPane);
        EXPECT_EQ(TKScopeWindowNumberOf(TKScopeWindowTabAt(number)), number);
    }
    EXPECT_EQ(TKScopeWindowTabAt(-1), -1);
    EXPECT_EQ(TKScopeWindowTabAt(kTKScopeWindowTabCount), -1);
}

TEST_F(TKScopeWindowTest, WhatTheNextSessionReadsIsWhatThisOneLeft)
{
    ScopeSelection selection = TKSelectionOf(session_, tkScopesWindow);
    selection.analysisSelection = scopeTabToneCurve;
    for (int32_t i = 0; i < kScopeQuadrantCount; ++i) selection.comboSelection[i] = 3 + i;
    selection.vectorscopeZoom = 10;
    selection.comboVectorscopeZoom = 5;
    TKShowSelection(session_, tkScopesWindow, selection, true, true);
    for (uint32_t i = 0; i < 66; ++i) Window().geometry[i] = static_cast<uint8_t>(i);
    Window().geometryBytes = 66;
    TKOpenScopeWindow(session_, true);
    const TKScopeWindow left = Window();
    Window() = {};
    TKReadScopeWindow(session_);
    EXPECT_EQ(std::memcmp(&left, &Window(), sizeof left), 0);
}

TEST_F(TKScopeWindowTest, TheZoomsOfThePaneAreKeptAsSoonAsTheyChange)
{
    ScopeSelection selection = TKSelectionOf(session_);
    TKShowSelection(session_, tkScopesPane, selection, false, true);
    EXPECT_EQ(Store().size(), 0u); // nothing has changed
    selection.vectorscopeZoom = 7;
    TKShowSelection(session_, tkScopesPane, selection, false, true);
    selection.comboVectorscopeZoom = 2;
    TKShowSelection(session_, tkScopesPane, selection, false, true);
    TKReadScopeWindow(session_);
    EXPECT_EQ(TKSelectionOf(session_).vectorscopeZoom, 7);
    EXPECT_EQ(TKSelectionOf(session_).comboVectorscopeZoom, 2);
    EXPECT_EQ(TKSelectionOf(session_, tkScopesWindow).vectorscopeZoom, 1);
    StoreNumber("Vectorscope Zoom", 11);
    StoreNumber("Combo Vectorscope Zoom", 0);
    TKReadScopeWindow(session_);
    EXPECT_EQ(TKSelectionOf(session_).vectorscopeZoom, 1);
    EXPECT_EQ(TKSelectionOf(session_).comboVectorscopeZoom, 1);
}

TEST_F(TKScopeWindowTest, WhatNoSessionCanHaveLeftIsTheDefault)
{
    TKOpenScopeWindow(session_, true);
    for (const auto& [name, value] : Store()) {
        (void)value;
        for (const uint32_t bad : {0xFFFFFFFFu, 12u, 0x80000000u}) {
            if (name == "Window Geometry") continue;
            StoreNumber(name.c_str(), bad);
        }
    }
    TKScopeWindow fresh;
    TKInitScopeWindow(&fresh);
    TKReadScopeWindow(session_);
    EXPECT_EQ(std::memcmp(&fresh, &Window(), sizeof fresh), 0);
    StoreNumber("Window Display", scopeTabReference);
    TKReadScopeWindow(session_);
    EXPECT_EQ(Window().analysisTab, scopeTabCombo);
}

TEST_F(TKScopeWindowTest, APlaceOfTooManyBytesIsNone)
{
    BPKeyedStore store = {};
    ASSERT_EQ(platform_.keyedStore.open(kTKScopeWindowStore, &store), bpNoErr);
    const std::vector<uint8_t> bytes(kTKWindowGeometryLimit + 1, 7);
    ASSERT_EQ(
        platform_.keyedStore.writeBlock(&store, "Window Geometry", bytes.data(), static_cast<uint32_t>(bytes.size())),
        bpNoErr);
    platform_.keyedStore.close(&store);
    TKReadScopeWindow(session_);
    EXPECT_EQ(Window().geometryBytes, 0u);
}

TEST_F(TKScopeWindowTest, AStoreThatFailsLeavesWhatIsOnScreen)
{
    gBPFake.failFrom[bpFakeStoreOpen] = 1;
    TKOpenScopeWindow(session_, true);
    EXPECT_EQ(Window().isOpen, 1);
    EXPECT_GE(TKLogCount("The displays' window and zooms could not be stored"), 1u);
    EXPECT_EQ(gBPFake.openStores, 0u);
}

TEST_F(TKScopeWindowTest, WhatWasNotReadAtTheStartIsNotOverwritten)
{
    session_->prefsUnread = true;
    TKOpenScopeWindow(session_, true);
    EXPECT_EQ(Store().size(), 0u);
}

TEST_F(TKScopeWindowTest, TheProbeMovesInBothPlaces)
{
    session_->views.probeOn = true;
    TKMoveProbe(session_, true, 1, 1);
    EXPECT_EQ(windows_.Count("window later"), 0u);
    TKOpenScopeWindow(session_, true);
    TKMoveProbe(session_, true, 2, 1);
    EXPECT_EQ(windows_.Count("window later"), 1u);
}

TEST_F(TKScopeWindowTest, TheDisplaysAreToldInWords)
{
    char text[320];
    TKDisplaysText(session_, tkScopesPane, text, sizeof text);
    EXPECT_STREQ(text, "Luma WFM, Vectorscope, Tone Curve, Histograms");
    Window().analysisTab = scopeTabVectorscope;
    TKDisplaysText(session_, tkScopesWindow, text, sizeof text);
    EXPECT_STREQ(text, "Vectorscope");
    session_->views.probeOn = true;
    TKMoveProbe(session_, true, 1, 1);
    TKDisplaysText(session_, tkScopesWindow, text, sizeof text);
    EXPECT_EQ(std::string(text).find("Vectorscope; 1, 1   8-bit "), 0u);
    TKDisplaysText(session_, tkScopesWindow, text, 4);
    EXPECT_STREQ(text, "Vec");
}
