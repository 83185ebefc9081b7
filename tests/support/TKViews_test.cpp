// What the panes show: composition, the order and the masks of a refresh, selections and where they are kept.
#include "src/support/TKViews.h"

#include "tests/support/TKTestSession.h"

#include <cstring>

namespace {

/// A session with a grade that makes the picture black, windows that write down calls, and a port of the displays.
class TKViewsTest : public ::testing::Test {
  protected:
    void SetUp() override
    {
        BPFakeReset();
        BPFakeCaptureLog();
        gBPFake.alive[kHostProcess] = true;
        BPFillFakePlatform(&platform_);
        host_.Make();
        TKUserInterface ui = TKTestInterface(&windows_);
        ui.repaintPicture = [](void* c, bool force) { Say(c, std::string("picture ") + (force ? "now" : "later")); };
        ui.showAnalysis = [](void* c, bool force) { Say(c, std::string("analysis ") + (force ? "now" : "later")); };
        ui.repaintPanes = [](void* c, uint32_t mask, bool force) {
            Say(c, "panes " + std::to_string(mask) + (force ? " now" : " later"));
        };
        ui.feedPreviews = [](void* c) { Say(c, "previews"); };
        ASSERT_EQ(TKCreateSession(&platform_, &ui, &session_), bpNoErr);
        windows_.session = session_;
        ASSERT_EQ(TKStartUp(session_), tkStartRun);
        ASSERT_EQ(ScopeSurfaceCreate(320, 240, &port_), bpNoErr);
        session_->views.port[tkScopesPane].surface = &port_;
        windows_.calls.clear();
    }
    void TearDown() override
    {
        ScopeSurfaceDispose(&port_);
        if (TKBlockOf(session_)) TKEndSession(session_, kTKCommandExit);
        (void)TKFinish(session_);
        TKDisposeSession(session_);
        BPFakeReset();
    }
    static void Say(void* context, const std::string& word)
    {
        static_cast<TKTestWindows*>(context)->calls.push_back(word);
    }

    std::vector<std::string> CallsOf(int32_t mode, int32_t tab, bool force)
    {
        session_->imagePaneMode = mode;
        session_->views.analysisTab = tab;
        windows_.calls.clear();
        RefreshAfterRender(session_, force);
        return windows_.calls;
    }
    /// Alpha, red, green, blue of a pixel.
    static uint32_t PixelOf(const ScopeSurface& surface, uint32_t x, uint32_t y)
    {
        const uint8_t* pixel = surface.pixels + size_t{y} * surface.rowBytes + size_t{x} * 4;
        return uint32_t{pixel[0]} << 24 | uint32_t{pixel[1]} << 16 | uint32_t{pixel[2]} << 8 | pixel[3];
    }
    void MakeResultBlack()
    {
        session_->liveSettings.primaryOn = session_->liveSettings.hslOn = session_->liveSettings.hsl.master.on = 1;
        session_->liveSettings.hsl.master.gain = 0;
        RecomputeAndRefresh(session_, true);
    }
    bool PortIsErased() const
    {
        for (uint32_t y = 0; y < port_.height; ++y)
            for (uint32_t x = 0; x < port_.width; ++x)
                if (PixelOf(port_, x, y) != 0xFF000000u) return false;
        return true;
    }
    std::vector<uint8_t> PortBytes() const
    {
        return {port_.pixels, port_.pixels + size_t{port_.rowBytes} * port_.height};
    }

    BPPlatform platform_ = {};
    TKTestHost host_;
    TKTestWindows windows_;
    TKSession* session_ = nullptr;
    ScopeSurface port_ = {};
};

} // namespace

TEST_F(TKViewsTest, ARefreshGoesFromThePictureToTheDisplaysToTheOtherPanesToThePreviews)
{
    const std::vector<std::string> now = {"refreshResult", "picture now", "analysis now", "panes 2 now", "previews"};
    EXPECT_EQ(CallsOf(tkImageResult, scopeTabCombo, true), now);
    const std::vector<std::string> later = {"refreshResult", "picture later", "analysis later", "panes 2 later",
                                            "previews"};
    EXPECT_EQ(CallsOf(tkImageResult, scopeTabCombo, false), later);
}

TEST_F(TKViewsTest, TheMaskTellsWhichPanesHaveOtherPixels)
{
    const struct {
        int32_t mode, tab;
        uint32_t mask;
    } cases[] = {{tkImageResult, scopeTabCombo, 0x02},         {tkImageSource, scopeTabCombo, 0x03},
                 {tkImageReference, scopeTabCombo, 0x02},      {tkImageSplitSource, scopeTabVectorscope, 0x0A},
                 {tkImageSplitReference, scopeTabCombo, 0x12}, {tkImageLumaRanges, scopeTabCombo, 0x22},
                 {tkImageResult, scopeTabReference, 0x82},     {tkImageSplitReference, scopeTabReference, 0x92}};
    for (const auto& c : cases) {
        const std::vector<std::string> calls = CallsOf(c.mode, c.tab, true);
        EXPECT_EQ(std::count(calls.begin(), calls.end(), "panes " + std::to_string(c.mask) + " now"), 1)
            << c.mode << ", " << c.tab;
    }
}

TEST_F(TKViewsTest, TheSingleViewDrawsNoDisplays)
{
    session_->viewMode = tkViewSingle;
    const std::vector<std::string> calls = CallsOf(tkImageResult, scopeTabCombo, true);
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "analysis now"), 0);
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "picture now"), 1);
}

TEST_F(TKViewsTest, ARefreshOfDisplaysOnlyComposesNothing)
{
    session_->imagePaneMode = tkImageSplitSource;
    std::memset(session_->splitSurface.pixels, 0x33, 16);
    windows_.calls.clear();
    RefreshDisplaysOnly(session_, true);
    EXPECT_EQ(session_->splitSurface.pixels[1], 0x33);
    const std::vector<std::string> expected = {"refreshDisplays", "picture now", "analysis now", "panes 0 now",
                                               "previews"};
    EXPECT_EQ(windows_.calls, expected);
}

TEST_F(TKViewsTest, TheSplitShowsTheSourceOnTheLeftAndTheResultOnTheRight)
{
    MakeResultBlack();
    SelectImageDisplay(session_, tkImageSplitSource);
    const uint32_t last = session_->splitSurface.width - 1;
    EXPECT_EQ(PixelOf(session_->splitSurface, 0, 2), PixelOf(session_->sourceSurface, 0, 2) | 0xFF000000u);
    EXPECT_EQ(PixelOf(session_->splitSurface, last, 2), 0xFF000000u);
    session_->views.split = {0, 0, 0, 1}; // all on one side
    RefreshAfterRender(session_, true);
    EXPECT_EQ(PixelOf(session_->splitSurface, 0, 2), 0xFF000000u);
}

TEST_F(TKViewsTest, ASplitWithoutAReferenceIsGreyOnItsSide)
{
    SelectImageDisplay(session_, tkImageSplitReference);
    EXPECT_EQ(PixelOf(session_->splitSurface, 0, 0), 0xFF282828u);
    EXPECT_EQ(TKSurfaceOfMode(session_, tkImageReference), nullptr);
    ASSERT_EQ(ScopeSurfaceCreate(8, 6, &session_->views.referenceSurface), bpNoErr);
    std::memset(session_->views.referenceSurface.pixels, 0x77, size_t{session_->views.referenceSurface.rowBytes} * 6);
    RefreshAfterRender(session_, true);
    EXPECT_EQ(PixelOf(session_->splitSurface, 0, 0), 0xFF777777u);
    EXPECT_EQ(TKSurfaceOfMode(session_, tkImageReference), &session_->views.referenceSurface);
}

TEST_F(TKViewsTest, TheSplitFollowsTheGrade)
{
    SelectImageDisplay(session_, tkImageSplitSource);
    const uint32_t last = session_->splitSurface.width - 1;
    EXPECT_NE(PixelOf(session_->splitSurface, last, 2), 0xFF000000u);
    MakeResultBlack();
    EXPECT_EQ(PixelOf(session_->splitSurface, last, 2), 0xFF000000u);
}

TEST_F(TKViewsTest, TheLumaRangesAreThreeGreys)
{
    SelectImageDisplay(session_, tkImageLumaRanges);
    for (uint32_t y = 0; y < session_->splitSurface.height; ++y)
        for (uint32_t x = 0; x < session_->splitSurface.width; ++x) {
            const uint32_t pixel = PixelOf(session_->splitSurface, x, y);
            EXPECT_TRUE(pixel == 0xFFEBEBEBu || pixel == 0xFF7D7D7Du || pixel == 0xFF000000u) << std::hex << pixel;
        }
}

TEST_F(TKViewsTest, TheMaskOfTheLineIsThereFromTheStart)
{
    EXPECT_EQ(session_->splitMask.pixels[0], 0x0F); // the right half of eight pixels
}

TEST_F(TKViewsTest, AModeThatIsNotThereChangesNothing)
{
    for (const int32_t mode : {-1, 6, 1000}) {
        SelectImageDisplay(session_, mode);
        EXPECT_EQ(session_->imagePaneMode, tkImageResult);
        EXPECT_TRUE(windows_.calls.empty());
    }
}

TEST_F(TKViewsTest, SelectionsAreKeptInThePreferences)
{
    SelectImageDisplay(session_, tkImageLumaRanges);
    EXPECT_EQ(session_->prefs.rightPaneDefault, 6u);
    ScopeSelection selection = TKSelectionOf(session_);
    EXPECT_EQ(selection.imageSelection, scopeImageLumaRanges);
    selection.analysisSelection = scopeTabGallery;
    selection.comboSelection[scopeLowerLeft] = scopeOverlayWFM;
    selection.vectorscopeZoom = 5;
    selection.comboVectorscopeZoom = 7;
    TKStoreSelection(session_, selection);
    EXPECT_EQ(session_->prefs.leftPaneDefault, 13u);
    EXPECT_EQ(session_->prefs.comboLowerLeft, 7u);
    const ScopeSelection again = TKSelectionOf(session_);
    EXPECT_EQ(std::memcmp(&selection, &again, sizeof again), 0);
}

TEST_F(TKViewsTest, DisplaysThatNoListHasBecomeTheDefaults)
{
    session_->prefs.comboUpperLeft = 0;
    session_->prefs.comboUpperRight = 11;
    session_->prefs.comboLowerLeft = 0xFFFFFFFF;
    session_->prefs.comboLowerRight = 3;
    const ScopeSelection selection = TKSelectionOf(session_);
    EXPECT_EQ(selection.comboSelection[scopeUpperLeft], scopeLumaWFM);
    EXPECT_EQ(selection.comboSelection[scopeUpperRight], scopeVectorscope);
    EXPECT_EQ(selection.comboSelection[scopeLowerLeft], scopeToneCurve);
    EXPECT_EQ(selection.comboSelection[scopeLowerRight], scopeRGBWFM);
}

TEST_F(TKViewsTest, ADisplayIsDrawnAtOnceWithForceAndWithTheNextPaintWithout)
{
    session_->views.analysisTab = scopeTabCombo;
    UpdateAnalysisPane(session_, true);
    EXPECT_FALSE(PortIsErased());
    EXPECT_FALSE(TKDrawStaleAnalysis(session_));
    ScopeSurfaceClear(&port_);
    UpdateAnalysisPane(session_, false);
    EXPECT_EQ(port_.pixels[0], 0); // not yet
    EXPECT_TRUE(TKDrawStaleAnalysis(session_));
    EXPECT_FALSE(PortIsErased());
    session_->views.port[tkScopesPane].surface = nullptr; // nobody sees it
    UpdateAnalysisPane(session_, true);
    EXPECT_TRUE(session_->views.port[tkScopesPane].isStale);
}

TEST_F(TKViewsTest, PanesOfTheirOwnLeaveThePortErased)
{
    for (const int32_t tab : {scopeTabReference, scopeTabGallery}) {
        session_->views.analysisTab = tab;
        UpdateAnalysisPane(session_, true);
        EXPECT_TRUE(PortIsErased()) << tab;
    }
}

TEST_F(TKViewsTest, WithCapsLockNoDisplayHasATrace)
{
    for (int32_t tab = 0; tab < kScopeTabCount; ++tab) {
        if (ScopeTabAt(tab)->isPane) continue;
        session_->views.analysisTab = tab;
        UpdateAnalysisPane(session_, true);
        const std::vector<uint8_t> traced = PortBytes();
        gBPFake.modifierWord = bpCapsLock;
        RecomputeAndRefresh(session_, true);
        const std::vector<uint8_t> suspended = PortBytes();
        EXPECT_NE(traced, suspended) << tab;
        session_->resultSurface.pixels[1] ^= 0xFF; // what the picture holds makes no difference now
        UpdateAnalysisPane(session_, true);
        EXPECT_EQ(PortBytes(), suspended) << tab;
        session_->resultSurface.pixels[1] ^= 0xFF;
        gBPFake.modifierWord = 0;
        RecomputeAndRefresh(session_, true);
        EXPECT_EQ(PortBytes(), traced) << tab;
    }
}

TEST_F(TKViewsTest, TheDisplaysTakeTheirSettingsFromThePreferences)
{
    TKPreferences& prefs = session_->prefs;
    prefs.wfmColor = 11; // each another value
    prefs.wfmUnitsMV = 12;
    prefs.vsCalibration100 = 13;
    prefs.videoSystem = 4;
    prefs.videoBlackLevel = 16;
    prefs.videoWhiteLevel = 235;
    prefs.videoBlackSetupPresent = 1;
    prefs.uiSaturation = 0x1234;
    session_->updateSuspended = true;
    const ScopeLetters letters = {};
    session_->views.letters = &letters;
    const ScopeContext context = TKScopeContextOf(session_);
    EXPECT_EQ(context.settings.wfmColor, 11u);
    EXPECT_EQ(context.settings.wfmUnitsMV, 12u);
    EXPECT_EQ(context.settings.vsCalibration100, 13u);
    EXPECT_EQ(context.settings.videoSystem, 4u);
    EXPECT_EQ(context.settings.videoBlackLevel, 16);
    EXPECT_EQ(context.settings.videoWhiteLevel, 235);
    EXPECT_EQ(context.settings.videoBlackSetupPresent, 1);
    EXPECT_EQ(context.settings.uiSaturation, 0x1234u);
    EXPECT_TRUE(context.settings.updateSuspended);
    EXPECT_EQ(context.letters, &letters);
    EXPECT_EQ(context.clip, nullptr);
    EXPECT_EQ(context.witness, nullptr);
    EXPECT_FALSE(context.readable);
    ASSERT_NE(session_->engine, nullptr);
    EXPECT_EQ(context.engine, session_->engine);
    EXPECT_EQ(context.liveSettings, &session_->liveSettings);
    EXPECT_EQ(context.taskCount, session_->taskCount);
    EXPECT_EQ(context.tasks, session_->tasks);
    session_->views.letters = nullptr;
    session_->updateSuspended = false;
    EXPECT_FALSE(TKScopeContextOf(session_).settings.updateSuspended);
    prefs.videoBlackSetupPresent = 0xFFFFFFFF; // -1, which is not above 0
    EXPECT_EQ(TKScopeContextOf(session_).settings.videoBlackSetupPresent, -1);
}

TEST_F(TKViewsTest, EveryPreferenceOfTheDisplaysChangesTheirPixels)
{
    TKPreferences& prefs = session_->prefs;
    prefs.videoSystem = 3;
    prefs.wfmColor = prefs.wfmUnitsMV = prefs.vsCalibration100 = prefs.videoBlackSetupPresent = 0;
    prefs.videoBlackLevel = 0;
    prefs.videoWhiteLevel = 255;
    prefs.uiSaturation = 0x6666;
    const TKPreferences before = prefs;
    const struct {
        const char* name;
        void (*set)(TKPreferences* prefs);
        bool ofWaveforms, ofVectorscope, ofHistograms;
    } cases[] = {
        {"nothing", [](TKPreferences*) {}, false, false, false},
        {"colour", [](TKPreferences* p) { p->wfmColor = 1; }, true, false, false},
        {"units", [](TKPreferences* p) { p->wfmUnitsMV = 1; }, true, false, false},
        {"calibration", [](TKPreferences* p) { p->vsCalibration100 = 1; }, false, true, false},
        {"setup", [](TKPreferences* p) { p->videoBlackSetupPresent = 1; }, true, false, false},
        {"no setup", [](TKPreferences* p) { p->videoBlackSetupPresent = 0xFFFFFFFF; }, false, false, false},
        {"system", [](TKPreferences* p) { p->videoSystem = 1; }, true, true, false},
        {"black", [](TKPreferences* p) { p->videoBlackLevel = 16; }, true, true, false},
        {"white", [](TKPreferences* p) { p->videoWhiteLevel = 235; }, true, true, false},
        {"saturation", [](TKPreferences* p) { p->uiSaturation = 0xFFFF; }, true, true, true},
    };
    const auto bytesOf = [this](int32_t tab) {
        session_->views.analysisTab = tab;
        UpdateAnalysisPane(session_, true);
        return PortBytes();
    };
    for (const auto& each : cases)
        for (const auto& [tab, changes] : {std::pair{scopeTabLumaWFM, each.ofWaveforms},
                                           {scopeTabVectorscope, each.ofVectorscope},
                                           {scopeTabHistograms, each.ofHistograms}}) {
            const auto bytesNow = bytesOf(tab); // after the luma table's matrix of the waveforms
            each.set(&prefs);
            EXPECT_EQ(bytesOf(tab) != bytesNow, changes) << each.name << ", tab " << tab;
            prefs = before;
        }
}

TEST_F(TKViewsTest, TheDisplaysAnalyseWhatTheImagePaneShows)
{
    MakeResultBlack();
    session_->views.analysisTab = scopeTabLumaWFM;
    UpdateAnalysisPane(session_, true);
    const std::vector<uint8_t> ofResult = PortBytes();
    SelectImageDisplay(session_, tkImageSource);
    EXPECT_NE(PortBytes(), ofResult);
    for (const int32_t mode : {tkImageSplitSource, tkImageSplitReference, tkImageLumaRanges, tkImageResult}) {
        SelectImageDisplay(session_, mode);
        EXPECT_EQ(PortBytes(), ofResult) << mode;
    }
}

TEST_F(TKViewsTest, ARapidPreviewLeavesTheGraticulesAlone)
{
    session_->views.analysisTab = scopeTabLumaWFM;
    UpdateAnalysisPane(session_, true);
    const std::vector<uint8_t> traced = PortBytes();
    for (bool TKViews::*flag : {&TKViews::previewBuilding, &TKViews::previewPlaying}) {
        session_->views.*flag = true;
        UpdateAnalysisPane(session_, true);
        EXPECT_NE(PortBytes(), traced);
        session_->views.*flag = false;
    }
    UpdateAnalysisPane(session_, true);
    EXPECT_EQ(PortBytes(), traced);
}

TEST_F(TKViewsTest, AFrameTakenInTheSourceViewComesUpThereAndInTheDisplays)
{
    host_.serve = [](TKTestHost* host) { host->SendFrames(); };
    gBPFake.hookContext = &host_;
    gBPFake.onSleep = [](void* context, uint32_t) {
        auto* host = static_cast<TKTestHost*>(context);
        if (host->serve) host->serve(host);
    };
    SelectImageDisplay(session_, tkImageSource);
    windows_.calls.clear();
    const uint32_t renders = session_->renderCount;
    TKLocate(session_, 500);
    EXPECT_EQ(session_->renderCount, renders);
    EXPECT_EQ(windows_.Count("refreshSource"), 1u);
    EXPECT_EQ(windows_.Count("picture now"), 1u);
    EXPECT_EQ(windows_.Count("analysis now"), 1u);
    SelectImageDisplay(session_, tkImageResult); // the newer frame is rendered now
    EXPECT_EQ(session_->renderCount, renders + 1);
    // The displays beside the luma ranges read the result as well.
    SelectImageDisplay(session_, tkImageSource);
    TKLocate(session_, 400);
    SelectImageDisplay(session_, tkImageLumaRanges);
    EXPECT_EQ(session_->renderCount, renders + 2);
}

TEST_F(TKViewsTest, LeavingTheSourceAndTheLumaRangesRendersAndLeavingAnotherViewDoesNot)
{
    for (int32_t from = 0; from < kTKImageModeCount; ++from)
        for (int32_t to = 0; to < kTKImageModeCount; ++to) {
            SelectImageDisplay(session_, from);
            const uint32_t renders = session_->renderCount;
            SelectImageDisplay(session_, to);
            const bool rendered = from == tkImageSource || from == tkImageLumaRanges;
            EXPECT_EQ(session_->renderCount - renders, rendered ? 1u : 0u) << from << " to " << to;
        }
}

TEST_F(TKViewsTest, ThePositionControlLogsItsRequestAndItsBuffer)
{
    gBPFake.hookContext = &host_;
    gBPFake.onSleep = [](void* context, uint32_t) { static_cast<TKTestHost*>(context)->SendFrames(); };
    TKLocateFromPane(session_, 300);
    EXPECT_EQ(host_.Block()->frameTime, 300);
    EXPECT_TRUE(TKLogHas({"ImagePaneWindowProc: doing OCCB_GetClipFrame\n",
                          "ImagePaneWindowProc: freeing pixel buffer at 0x", "ProcessImage"}));
    EXPECT_EQ(PixelOf(session_->sourceSurface, 0, 0) >> 16 & 0xFF, 40u); // the host counts its frames from 1
}
