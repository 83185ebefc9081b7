// Commands: the table, resets, automatic corrections, views, help.
#include "src/OCAutoCorrections.h"
#include "src/UI/TKLevels.h"
#include "tests/support/TKControlsTest.h"

#include <cmath>
#include <utility>

namespace {

using TKCommandsTest = TKControlsTest;

TEST_F(TKCommandsTest, ResetAllIsOneStepAndCommitsAnOpenEditFirst)
{
    (void)TKSliderDrag(session_, &saturation_, 0);
    OpenEdit(session_, &gain_);
    TKSetEditText(&gain_, "2");
    DoMenuCommand(session_, kTKCommandResetAll, nullptr);
    EXPECT_EQ(session_->undoRing->undoHead, 3u);
    const OCSettings neutral = TKNeutralSettings();
    EXPECT_EQ(std::memcmp(&Live(), &neutral, sizeof neutral), 0);
    EXPECT_STREQ(gain_.valueText, "1.00");
    EXPECT_EQ(TKPixelAt(session_->resultSurface, 0, 3), 0xFF0A03C8u);
    DoMenuCommand(session_, kTKCommandUndo, nullptr);
    EXPECT_EQ(Live().hsl.master.gain, 2.0f);
    EXPECT_EQ(Live().hsl.master.saturation, 0.0f);
    DoMenuCommand(session_, kTKCommandRedo, nullptr);
    EXPECT_EQ(Live().hsl.master.gain, 1.0f);
}

TEST_F(TKCommandsTest, AGroupIsResetByTheMasksOfItsButton)
{
    (void)TKSliderDrag(session_, &gain_, 0);
    (void)TKSliderDrag(session_, &redGain_, 0);
    windows_.calls.clear();
    const TKCommandSource source = {.toolMask = kOCResetHSL, .curveMask = 0};
    DoMenuCommand(session_, kTKCommandResetGroup, &source);
    EXPECT_EQ(Live().hsl.master.gain, 1.0f);
    EXPECT_EQ(Live().hsl.master.on, 0u);
    EXPECT_EQ(Live().hslOn, 1u);
    EXPECT_EQ(Live().rgb.highlights.channel[0].gain, 0.0f);
    EXPECT_EQ(windows_.Count("slider RGB Gain"), 1u);
    EXPECT_EQ(windows_.Count("slider Red Gain"), 0u);
    const uint32_t steps = session_->undoRing->undoHead;
    DoMenuCommand(session_, kTKCommandResetGroup, nullptr);
    EXPECT_EQ(session_->undoRing->undoHead, steps);
}

TEST_F(TKCommandsTest, AResetWithoutMemoryForTheCopyRedrawsEverything)
{
    (void)TKSliderDrag(session_, &gain_, 0);
    windows_.calls.clear();
    BPFailAllocation(1);
    DoMenuCommand(session_, kTKCommandResetAll, nullptr);
    BPFailAllocation(0);
    EXPECT_EQ(Live().hsl.master.gain, 1.0f);
    EXPECT_EQ(windows_.Count("slider Saturation"), 1u);
}

TEST_F(TKCommandsTest, LoadingCurvesCommitsAnOpenEditBeforeTheDialog)
{
    OpenEdit(session_, &gain_);
    TKSetEditText(&gain_, "2");
    DoMenuCommand(session_, 7, nullptr); // the dialog is cancelled
    ASSERT_EQ(gBPFake.fileQuestions.size(), 1u);
    EXPECT_EQ(session_->controls.openSlider, nullptr);
    EXPECT_EQ(Live().hsl.master.gain, 2.0f);
}

TEST_F(TKCommandsTest, CutAndCopyPutTheSettingsOnTheClipboardAndLeaveThem)
{
    (void)TKSliderDrag(session_, &gain_, 0);
    for (const uint32_t command : {kTKCommandCut, kTKCommandCopy}) {
        gBPFake.clipboard.clear();
        const OCSettings before = Live();
        DoMenuCommand(session_, command, nullptr);
        EXPECT_EQ(gBPFake.clipboardFormat, "org.brindlepath.OC3SettingsFormat");
        ASSERT_EQ(gBPFake.clipboard.size(), sizeof(OCSettings));
        EXPECT_EQ(std::memcmp(gBPFake.clipboard.data(), &before, sizeof before), 0);
        EXPECT_EQ(std::memcmp(&Live(), &before, sizeof before), 0);
    }
}

TEST_F(TKCommandsTest, AutoExposureFindsTheMasterLevelsAsOneStepAndSwitchesThemOn)
{
    session_->prefs.autoLumaTrim = 0.25f;
    OCSettings expected = Live();
    OCAutoExposure(session_->sourceFrame, &expected, 0.25f);
    ASSERT_NE(expected.levels[0].inblackpt, Live().levels[0].inblackpt);
    const uint32_t head = session_->undoRing->undoHead, renders = session_->renderCount;
    DoMenuCommand(session_, 14, nullptr);
    expected.levelsOn = expected.levels[0].on = 1;
    EXPECT_EQ(std::memcmp(&Live(), &expected, sizeof expected), 0);
    EXPECT_EQ(session_->undoRing->undoHead, head + 1);
    EXPECT_EQ(session_->renderCount, renders + 1);
    DoMenuCommand(session_, kTKCommandUndo, nullptr);
    EXPECT_EQ(Live().levelsOn, 0u);
    EXPECT_EQ(Live().levels[0].inblackpt, 0.0f);
}

TEST_F(TKCommandsTest, AutoColorBalancesTheThreeChannelsAsOneStep)
{
    Live().levels[2].ingraypt = 0.9f; // forgotten by the command
    OCSettings expected = Live();
    expected.levels[2].ingraypt = 0.5f;
    OCAutoColor(session_->sourceFrame, &expected);
    OCBalanceGamma(session_->sourceFrame, &expected);
    const uint32_t head = session_->undoRing->undoHead;
    DoMenuCommand(session_, 15, nullptr);
    expected.levelsOn = expected.levels[1].on = expected.levels[2].on = expected.levels[3].on = 1;
    EXPECT_EQ(std::memcmp(&Live(), &expected, sizeof expected), 0);
    EXPECT_EQ(Live().levels[0].on, 0u);
    EXPECT_EQ(session_->undoRing->undoHead, head + 1);
}

/// With enough pixels that some of them are trimmed.
class TKLargeFrameTest : public TKControlsTest {
  protected:
    void SetUp() override
    {
        host_.width = 64;
        host_.height = 48;
        host_.rowBytes = 64 * 4;
        TKControlsTest::SetUp();
    }
};

TEST_F(TKLargeFrameTest, AutoColorOfABlackChannelLeavesAGrayThatIsNoNumberAndADragMendsIt)
{
    FBFrame* frame = session_->sourceFrame;
    std::memset(frame->baseAddr, 0, frame->planeBytes); // red
    DoMenuCommand(session_, 15, nullptr);
    OCLevelsBlock& red = Live().levels[1];
    EXPECT_EQ(red.inblackpt, 0.0f);
    EXPECT_EQ(red.inwhitept, 0.0f);
    EXPECT_TRUE(std::isnan(red.ingraypt)); // no distance times an infinite ratio
    EXPECT_FALSE(std::isnan(Live().levels[2].ingraypt));
    EXPECT_EQ(Renders(), 1u);

    LevelsVars vars;
    InitLevels(&vars, &Live(), offsetof(OCSettings, levels[1]), 1, tkSectionLevelsRed, "levels_red");
    EXPECT_NE(std::strstr(vars.readout[1].slider.valueText, "nan"), nullptr);
    for (const float value : vars.value) EXPECT_TRUE(value >= 0 && value <= 1);
    EXPECT_TRUE(MoveLevelsHandle(session_, &vars, 2, 0.5f).changed); // white
    EXPECT_EQ(red.inwhitept, 0.5f);
    EXPECT_EQ(red.ingraypt, 0.25f);
}

TEST_F(TKCommandsTest, AutoColorOfABlackChannelWithoutATrimLeavesAnInfiniteGray)
{
    FBFrame* frame = session_->sourceFrame;
    std::memset(frame->baseAddr, 0, frame->planeBytes); // red
    DoMenuCommand(session_, 15, nullptr);
    EXPECT_EQ(Live().levels[1].inblackpt, 0.0f);
    EXPECT_EQ(Live().levels[1].inwhitept, 1.0f); // too few pixels to give one up
    EXPECT_TRUE(std::isinf(Live().levels[1].ingraypt));
}

TEST_F(TKCommandsTest, AutomaticCorrectionsWithoutMemoryForTheirHistogramChangeNothing)
{
    Live().levels[2].ingraypt = 0.9f;
    const OCSettings before = Live();
    for (const uint32_t id : {14u, 15u}) {
        const uint32_t head = session_->undoRing->undoHead;
        BPFailAllocation(2); // the first is the copy of the settings
        DoMenuCommand(session_, id, nullptr);
        EXPECT_GE(BPAllocationCount(), 2u) << id;
        BPFailAllocation(0);
        EXPECT_EQ(std::memcmp(&Live(), &before, sizeof before), 0) << id;
        EXPECT_EQ(session_->undoRing->undoHead, head + 1) << id;
    }
}

TEST_F(TKCommandsTest, AutomaticCorrectionsWantAPicture)
{
    FBFrame* const frame = std::exchange(session_->sourceFrame, nullptr);
    const OCSettings before = Live();
    const uint32_t head = session_->undoRing->undoHead;
    for (const uint32_t id : {14u, 15u}) DoMenuCommand(session_, id, nullptr);
    EXPECT_EQ(std::memcmp(&Live(), &before, sizeof before), 0);
    EXPECT_EQ(session_->undoRing->undoHead, head);
    session_->sourceFrame = frame;
}

TEST_F(TKCommandsTest, NumbersWithoutACommandDoNothing)
{
    const OCSettings before = Live();
    const uint32_t head = session_->undoRing->undoHead;
    std::vector<uint32_t> numbers = {0, 1, 2, 9, 13, 16, 100, 13100, 59000, 59010, 0xFFFFFFFF};
    for (const TKCommandRange& range : TKSilentCommands(session_))
        for (uint32_t id = range.first; id <= range.last; ++id) numbers.push_back(id);
    windows_.calls.clear();
    for (const uint32_t id : numbers) DoMenuCommand(session_, id, nullptr);
    EXPECT_EQ(std::memcmp(&Live(), &before, sizeof before), 0);
    EXPECT_EQ(session_->undoRing->undoHead, head);
    EXPECT_TRUE(windows_.calls.empty());
    EXPECT_EQ(host_.Block()->status, kTKUIStatusUIRunning);
}

TEST_F(TKCommandsTest, TheTableHoldsTheseNumbersAndNoOthers)
{
    struct Span {
        uint32_t first, last;
        bool served;
    };
    constexpr Span kSpans[] = {
        {3, 6, true},         {7, 8, true},          {14, 15, true},        {12902, 12902, true}, {13101, 13103, true},
        {13201, 13201, true}, {13202, 13206, true},  {13304, 13304, false}, {13601, 13602, true}, {14105, 14105, true},
        {14107, 14114, true}, {14501, 14557, true},  {14601, 14657, true},  {14701, 14757, true}, {14901, 14904, true},
        {59001, 59009, true}, {59014, 59014, false}, {59025, 59030, true},
    };
    for (uint32_t id = 0; id < 70000; ++id) {
        const Span* expected = nullptr;
        for (const Span& span : kSpans)
            if (id >= span.first && id <= span.last) expected = &span;
        const TKCommandRow* row = TKFindCommand(id);
        ASSERT_EQ(row != nullptr, expected != nullptr) << id;
        if (!row) continue;
        EXPECT_EQ(row->run != nullptr, expected->served) << id;
        bool listed = false;
        for (const TKCommandRange& range : TKSilentCommands(session_))
            listed = listed || (id >= range.first && id <= range.last);
        EXPECT_EQ(listed, !expected->served) << id;
        if (!expected->served) {
            EXPECT_FALSE(TKCommandIsEnabled(session_, id)) << id;
        }
    }
}

TEST_F(TKCommandsTest, NumbersThatLeadToNothingForGoodAreNoGap)
{
    const OCSettings before = Live();
    for (const uint32_t id : {12902u, 13103u, 59009u, 59026u, 59027u, 59028u, 59029u, 59030u}) {
        EXPECT_TRUE(TKCommandIsEnabled(session_, id)) << id;
        DoMenuCommand(session_, id, nullptr);
    }
    EXPECT_EQ(std::memcmp(&Live(), &before, sizeof before), 0);
    EXPECT_TRUE(windows_.calls.empty());
    EXPECT_EQ(session_->undoRing->undoHead, 0u);
}

TEST_F(TKCommandsTest, ResetOfAPaneMovesTheFocusCommitsAndResetsEveryTab)
{
    (void)TKSliderDrag(session_, &redGain_, 0);
    OpenEdit(session_, &gain_);
    TKSetEditText(&gain_, "2");
    windows_.calls.clear();
    DoMenuCommand(session_, kTKCommandResetPane, nullptr);
    ASSERT_GE(windows_.calls.size(), 2u);
    EXPECT_EQ(windows_.calls[0], "focusMainWindow");
    EXPECT_EQ(windows_.calls[1], "close RGB Gain");
    const OCSettings neutral = TKNeutralSettings();
    EXPECT_EQ(std::memcmp(&Live(), &neutral, sizeof neutral), 0);
    DoMenuCommand(session_, kTKCommandUndo, nullptr);
    EXPECT_EQ(Live().hsl.master.gain, 2.0f); // the typed value was a step of its own
    EXPECT_EQ(Live().rgb.highlights.channel[0].gain, 0.0f);
}

TEST_F(TKCommandsTest, ResetAllLetsThePlaybackRun)
{
    TKTogglePlay(session_, TKActiveTransport(session_));
    DoMenuCommand(session_, kTKCommandResetAll, nullptr);
    EXPECT_TRUE(TKIsPlaying(session_));
}

TEST_F(TKCommandsTest, ViewsStopThePlaybackCommitAndAreRemembered)
{
    EXPECT_EQ(session_->viewMode, 2u);
    for (const auto& [command, mode] : {std::pair{kTKCommandViewSingle, 1u}, std::pair{kTKCommandViewNormal, 2u}}) {
        TKTogglePlay(session_, TKActiveTransport(session_));
        OpenEdit(session_, &gain_);
        TKSetEditText(&gain_, mode == 1 ? "2" : "3");
        DoMenuCommand(session_, command, nullptr);
        EXPECT_EQ(session_->viewMode, mode);
        EXPECT_FALSE(TKIsPlaying(session_));
        EXPECT_EQ(session_->controls.openSlider, nullptr);
        EXPECT_EQ(Live().hsl.master.gain, mode == 1 ? 2.0f : 3.0f);
        EXPECT_EQ(windows_.calls.back(), "view " + std::to_string(mode));
    }
    EXPECT_TRUE(TKCommandIsEnabled(session_, kTKCommandViewSingle));
}

TEST_F(TKCommandsTest, InAWindowWithOneLayoutTheViewsAreSilentAndListed)
{
    session_->ui.showViewMode = nullptr;
    std::vector<uint32_t> silent;
    for (const TKCommandRange& range : TKSilentCommands(session_))
        for (uint32_t id = range.first; id <= range.last; ++id) silent.push_back(id);
    EXPECT_EQ(silent, (std::vector<uint32_t>{13101, 13102, 13304, 59014}));
    TKTogglePlay(session_, TKActiveTransport(session_));
    OpenEdit(session_, &gain_);
    for (const uint32_t id : silent) {
        EXPECT_FALSE(TKCommandIsEnabled(session_, id)) << id;
        DoMenuCommand(session_, id, nullptr);
    }
    EXPECT_EQ(session_->viewMode, 2u);
    EXPECT_TRUE(TKIsPlaying(session_));
    EXPECT_EQ(session_->controls.openSlider, &gain_);
}

TEST_F(TKCommandsTest, AboutStopsThePlaybackAndLeavesAnOpenEdit)
{
    TKTogglePlay(session_, TKActiveTransport(session_));
    OpenEdit(session_, &gain_);
    DoMenuCommand(session_, kTKCommandAbout, nullptr);
    EXPECT_FALSE(TKIsPlaying(session_));
    EXPECT_EQ(session_->controls.openSlider, &gain_);
    EXPECT_EQ(windows_.calls.back(), "showAbout");
}

TEST_F(TKCommandsTest, TheGuideStandsBesideTheProgram)
{
    TKOpenUsersGuide(session_, "/opt/ochrine/bin");
    TKOpenUsersGuide(session_, "");
    TKOpenUsersGuide(session_, "/");
    EXPECT_EQ(gBPFake.opened, (std::vector<std::string>{"/opt/ochrine/bin/Ochrine 3 Plug-in Users Guide.pdf",
                                                        "/usr/share/ochrine/Ochrine 3 Plug-in Users Guide.pdf",
                                                        "/Ochrine 3 Plug-in Users Guide.pdf"}));
    EXPECT_TRUE(gBPFake.alerts.empty());
    EXPECT_TRUE(TKLogHas({"Loading Users Guide from \"/opt/ochrine/bin/Ochrine 3 Plug-in Users Guide.pdf\"\n"}));
}

TEST_F(TKCommandsTest, AGuideThatIsMissingIsTold)
{
    gBPFake.failFrom[bpFakeShellOpenFile] = 1;
    DoMenuCommand(session_, kTKCommandUsersGuide, nullptr);
    ASSERT_EQ(gBPFake.alerts.size(), 1u);
    EXPECT_EQ(gBPFake.alerts[0].title, "Ochrine 3 UI");
    EXPECT_EQ(gBPFake.alerts[0].text, "Unable to locate Ochrine 3 documentation -- try reinstalling Ochrine 3");
    EXPECT_EQ(TKLogCount("Loading Users Guide from \""), 1u);
}

TEST_F(TKCommandsTest, TheKnowledgeBaseOpensInTheBrowserAndFailsInSilence)
{
    DoMenuCommand(session_, kTKCommandKnowledgeBase, nullptr);
    EXPECT_EQ(gBPFake.opened, std::vector<std::string>{kTKKnowledgeBaseAddress});
    gBPFake.failFrom[bpFakeShellOpenAddress] = 1;
    DoMenuCommand(session_, kTKCommandKnowledgeBase, nullptr);
    EXPECT_TRUE(gBPFake.alerts.empty());
}

} // namespace
