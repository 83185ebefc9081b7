// Mouse, wheel and keyboard on real windows; effects are read from the record.
#include "src/platform/qt/BPQtForeground.h"
#include "tests/UI/UITest.h"

#include <QApplication>
#include <QHelpEvent>
#include <QPixmap>
#include <QScrollArea>
#include <cmath>

namespace {

float FloatAt(const OCSettings& settings, uint32_t offset)
{
    float value;
    std::memcpy(&value, reinterpret_cast<const uint8_t*>(&settings) + offset, sizeof value);
    return value;
}

} // namespace

TEST_F(UITest, TheFirstPictureIsOnScreenAfterTheStart)
{
    auto* picture = Find<UIImagePaneWin>("picture");
    const QImage shot = picture->grab().toImage();
    const QColor middle = shot.pixelColor(shot.width() / 2, shot.height() / 2);
    EXPECT_EQ(middle.blue(), 200); // what the host painted
    EXPECT_EQ(windows_->mainWindow()->windowTitle(), QStringLiteral("Ochrine"));
}

TEST_F(UITest, ADragIsOneUndoStepAndTurnsItsSectionOn)
{
    UISliderWin* gain = Slider("hsl_master_gain");
    Drag(gain, 1.0 / 3, 0.8);
    EXPECT_NEAR(Live().hsl.master.gain, 2.4f, 0.02f);
    EXPECT_EQ(Live().hsl.master.on, 1u);
    EXPECT_EQ(Live().hslOn, 1u);
    EXPECT_EQ(Live().primaryOn, 1u);
    EXPECT_EQ(session_->undoRing->undoAvailable, 1u);
    QTest::keyClick(windows_->mainWindow(), Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(Live().hsl.master.gain, 1.0f);
    EXPECT_EQ(Live().primaryOn, 0u);
    QTest::keyClick(windows_->mainWindow(), Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_NEAR(Live().hsl.master.gain, 2.4f, 0.02f);
}

TEST_F(UITest, DragsAndWheelTurnsOnOneSliderAreOneStepAnotherSliderMakesANewOne)
{
    UISliderWin* gain = Slider("hsl_master_gain");
    Drag(gain, 1.0 / 3, 0.6);
    Wheel(gain, gain->trackRect().center(), 120);
    Wheel(gain, gain->trackRect().center(), 120);
    EXPECT_EQ(session_->undoRing->undoAvailable, 1u);
    Drag(Slider("hsl_master_hue"), 0.5, 0.7);
    EXPECT_EQ(session_->undoRing->undoAvailable, 2u);
}

TEST_F(UITest, ThePictureFollowsADragAtOnce)
{
    auto* picture = Find<UIImagePaneWin>("picture");
    UISliderWin* gain = Slider("hsl_master_gain");
    Press(gain, 0); // gain 0: black
    const QImage shot = picture->grab().toImage();
    EXPECT_EQ(shot.pixelColor(shot.width() / 2, shot.height() / 2), QColor(0, 0, 0));
}

TEST_F(UITest, EverySliderMovesItsOwnFieldAndNothingElse)
{
    for (const TKPagePath& path : TKToolPages()) {
        const TKPageRow& page = *path.page;
        ShowPageOf(page.prefix);
        for (const TKControlRow& row : page.rows) {
            if (row.kind != tkRowSlider) continue;
            OCResetSettings(&Live(), kOCResetAll, kOCResetAll, kOCResetDefaults);
            (void)UpdateAllControls(session_, &Live(), kOCResetAll, kOCResetAll, nullptr, true);
            const OCSettings before = Live();
            const std::string name = TKRowName(page, row);
            UISliderWin* slider = Slider(name.c_str());
            ASSERT_NE(slider, nullptr) << name;
            ASSERT_TRUE(slider->isVisible()) << name;
            Press(slider, 0.9);
            const double expected = row.bind.low + 0.9 * (row.bind.high - row.bind.low);
            EXPECT_NEAR(static_cast<double>(FloatAt(Live(), page.blockOffset + row.bind.offset)), expected,
                        (row.bind.high - row.bind.low) / 100)
                << name;
            // Put the field and the switches back: then nothing may differ.
            OCSettings after = Live();
            std::memcpy(reinterpret_cast<uint8_t*>(&after) + page.blockOffset + row.bind.offset,
                        reinterpret_cast<const uint8_t*>(&before) + page.blockOffset + row.bind.offset, 4);
            for (const uint32_t offset : path.switchOffset) {
                if (offset == kTKNoSwitch) continue;
                uint32_t word = 0;
                std::memcpy(&word, reinterpret_cast<uint8_t*>(&after) + offset, 4);
                EXPECT_EQ(word, 1u) << name << ": switch at " << offset;
                std::memset(reinterpret_cast<uint8_t*>(&after) + offset, 0, 4);
            }
            EXPECT_EQ(std::memcmp(&after, &before, sizeof after), 0) << name;
        }
    }
}

TEST_F(UITest, TypingReachesBeyondTheTrackButNotBeyondTheEntryRange)
{
    UISliderWin* gain = Slider("hsl_master_gain");
    ClickValue(gain);
    ASSERT_TRUE(EditOf(gain)->isVisible());
    EXPECT_EQ(EditOf(gain)->selectedText(), QStringLiteral("1.00"));
    QTest::keyClicks(EditOf(gain), QStringLiteral("20"));
    QTest::keyClick(EditOf(gain), Qt::Key_Return);
    EXPECT_FALSE(EditOf(gain)->isVisible());
    EXPECT_EQ(Live().hsl.master.gain, 20.0f);
    EXPECT_EQ(gain->slider()->position, gain->slider()->trackMax);
    EXPECT_STREQ(gain->slider()->valueText, "20.00");
    ClickValue(gain);
    QTest::keyClicks(EditOf(gain), QStringLiteral("25"));
    QTest::keyClick(EditOf(gain), Qt::Key_Return);
    EXPECT_EQ(Live().hsl.master.gain, 20.0f);
    Drag(gain, 1, 0.5);
    EXPECT_NEAR(Live().hsl.master.gain, 1.5f, 0.03f); // a drag lands on the track again
}

TEST_F(UITest, TheEditTakesNumbersAlone)
{
    UISliderWin* hue = Slider("hsl_master_hue");
    ClickValue(hue);
    QTest::keyClicks(EditOf(hue), QStringLiteral("a-1x2.e5"));
    EXPECT_EQ(EditOf(hue)->text(), QStringLiteral("-12.5"));
    QTest::keyClick(EditOf(hue), Qt::Key_Return);
    EXPECT_EQ(Live().hsl.master.hue, -12.5f);
}

TEST_F(UITest, EscapeLeavesTheValueAsItWas)
{
    UISliderWin* hue = Slider("hsl_master_hue");
    ClickValue(hue);
    QTest::keyClicks(EditOf(hue), QStringLiteral("77"));
    QTest::keyClick(EditOf(hue), Qt::Key_Escape);
    EXPECT_FALSE(EditOf(hue)->isVisible());
    EXPECT_EQ(Live().hsl.master.hue, 0.0f);
    EXPECT_EQ(session_->undoRing->undoAvailable, 0u);
}

TEST_F(UITest, TabGoesRoundThePage)
{
    UISliderWin* first = Slider("hsl_master_hue");
    UISliderWin* last = Slider("hsl_master_pedestal");
    ClickValue(last);
    QTest::keyClicks(EditOf(last), QStringLiteral("0.25"));
    QTest::keyClick(EditOf(last), Qt::Key_Tab);
    EXPECT_EQ(Live().hsl.master.pedestal, 0.25f);
    EXPECT_TRUE(EditOf(first)->isVisible());
    EXPECT_FALSE(EditOf(last)->isVisible());
    QTest::keyClick(EditOf(first), Qt::Key_Tab, Qt::ShiftModifier);
    EXPECT_TRUE(EditOf(last)->isVisible());
}

TEST_F(UITest, ControlClickOnTheValueResetsInOneStep)
{
    UISliderWin* contrast = Slider("hsl_master_contrast");
    Drag(contrast, 0.5, 0.9);
    Drag(Slider("hsl_master_hue"), 0.5, 0.6);
    ClickValue(contrast, Qt::ControlModifier);
    EXPECT_EQ(Live().hsl.master.contrast, 0.0f);
    EXPECT_EQ(session_->undoRing->undoAvailable, 3u);
    EXPECT_FALSE(EditOf(contrast)->isVisible());
}

TEST_F(UITest, TheWheelActsOnWhatIsUnderThePointer)
{
    UISliderWin* gain = Slider("hsl_master_gain");
    windows_->mainWindow()->setFocus();
    Wheel(gain, gain->trackRect().center(), 120);
    EXPECT_NEAR(Live().hsl.master.gain, 1.0f + 3.0f / 1200, 1e-4);
    const OCSettings before = Live();
    Wheel(windows_->mainWindow(), QPoint(400, 45), 120);
    EXPECT_EQ(std::memcmp(&before, &Live(), sizeof before), 0);
}

TEST_F(UITest, CapsLockHoldsThePictureUntilItGoesOff)
{
    gBPFake.modifierWord = bpCapsLock;
    const uint32_t rendered = session_->renderCount;
    Drag(Slider("hsl_master_gain"), 1.0 / 3, 0.1);
    Drag(Slider("hsl_master_hue"), 0.5, 0.7);
    EXPECT_NEAR(Live().hsl.master.gain, 0.3f, 0.02f);
    EXPECT_EQ(session_->renderCount, rendered);
    gBPFake.modifierWord = 0;
    Tick();
    Tick();
    EXPECT_EQ(session_->renderCount, rendered + 1);
}

TEST_F(UITest, ATabsCheckboxSwitchesItsSection)
{
    Drag(Slider("hsl_master_gain"), 1.0 / 3, 0.8);
    auto* ranges = Find<UIHorizTabWin>("pane_hsl_controls_tabs");
    QTest::mouseClick(ranges, Qt::LeftButton, Qt::NoModifier, ranges->switchRect(0).center());
    EXPECT_EQ(Live().hsl.master.on, 0u);
    EXPECT_EQ(ranges->current(), 0);
    QTest::mouseClick(ranges, Qt::LeftButton, Qt::NoModifier, ranges->switchRect(0).center());
    EXPECT_EQ(Live().hsl.master.on, 1u);
}

TEST_F(UITest, ResetOfAPageLeavesTheOthers)
{
    Drag(Slider("hsl_master_gain"), 1.0 / 3, 0.8);
    ShowPageOf("hsl_shadows");
    Drag(Slider("hsl_shadows_gain"), 1.0 / 3, 0.6);
    QTest::mouseClick(Find<QPushButton>("hsl_shadows_reset"), Qt::LeftButton);
    EXPECT_EQ(Live().hsl.shadows.gain, 1.0f);
    EXPECT_NEAR(Live().hsl.master.gain, 2.4f, 0.02f);
    QTest::mouseClick(Find<QPushButton>("Reset All"), Qt::LeftButton);
    EXPECT_EQ(Live().hsl.master.gain, 1.0f);
    EXPECT_EQ(Live().primaryOn, 0u);
}

TEST_F(UITest, ShowingARecordNeverWritesIt)
{
    OCSettings odd = Live();
    odd.hsl.master.gain = 17.123456f;
    odd.hsl.master.hue = std::nanf("");
    odd.rgb.master.group.gamma = HUGE_VALF;
    Live() = odd;
    (void)UpdateAllControls(session_, &Live(), kOCResetAll, kOCResetAll, nullptr, true);
    windows_->mainWindow()->grab();
    EXPECT_EQ(std::memcmp(&odd, &Live(), sizeof odd), 0);
    EXPECT_STREQ(Slider("hsl_master_gain")->slider()->valueText, "17.12");
}

TEST_F(UITest, TransportKeysAskTheHostForFrames)
{
    host_.serve = [](TKTestHost* host) { host->SendFrames(); };
    QTest::keyClick(windows_->mainWindow(), Qt::Key_Right);
    EXPECT_EQ(host_.Block()->frameTime, 100);
    QTest::keyClick(windows_->mainWindow(), Qt::Key_End);
    EXPECT_EQ(host_.Block()->frameTime, 900);
    QTest::keyClick(windows_->mainWindow(), Qt::Key_Left);
    EXPECT_EQ(host_.Block()->frameTime, 800);
    QTest::keyClick(windows_->mainWindow(), Qt::Key_Home);
    EXPECT_EQ(host_.Block()->frameTime, 0);
    QTest::keyClick(windows_->mainWindow(), Qt::Key_Right, Qt::ShiftModifier);
    EXPECT_EQ(host_.Block()->frameTime, 0);
}

TEST_F(UITest, KeysInAnOpenEditStayThere)
{
    host_.serve = [](TKTestHost* host) { host->SendFrames(); };
    UISliderWin* hue = Slider("hsl_master_hue");
    ClickValue(hue);
    QTest::keyClick(EditOf(hue), Qt::Key_End);
    EXPECT_EQ(host_.Block()->frameTime, 0);
}

TEST_F(UITest, SpacePlaysAndTheClipStopsAtItsEnd)
{
    host_.serve = [](TKTestHost* host) { host->SendFrames(); };
    QTest::keyClick(windows_->mainWindow(), Qt::Key_Space);
    EXPECT_TRUE(TKIsPlaying(session_));
    for (int i = 0; i < 20; ++i) Tick();
    EXPECT_FALSE(TKIsPlaying(session_));
    EXPECT_EQ(host_.Block()->frameTime, 900);
}

TEST_F(UITest, TheScrubLineGoesToWholeFrames)
{
    host_.serve = [](TKTestHost* host) { host->SendFrames(); };
    auto* transport = Find<UITransportWin>("transport");
    QTest::mouseClick(transport, Qt::LeftButton, Qt::NoModifier, transport->scrubRect().center());
    EXPECT_EQ(host_.Block()->frameTime % 100, 0);
    EXPECT_NEAR(host_.Block()->frameTime, 450, 60);
}

TEST_F(UITest, SourceShowsThePictureUngraded)
{
    Press(Slider("hsl_master_gain"), 0);
    auto* views = Find<UIHorizTabWin>("views");
    SelectTab(views, 1);
    auto* picture = Find<UIImagePaneWin>("picture");
    const QImage shot = picture->grab().toImage();
    EXPECT_EQ(shot.pixelColor(shot.width() / 2, shot.height() / 2).blue(), 200);
    SelectTab(views, 0);
    const QImage graded = picture->grab().toImage();
    EXPECT_EQ(graded.pixelColor(graded.width() / 2, graded.height() / 2).blue(), 0);
}

TEST_F(UITest, OKGivesTheGradeToTheHostAndHidesTheWindow)
{
    Drag(Slider("hsl_master_gain"), 1.0 / 3, 0.8);
    const float gain = Live().hsl.master.gain;
    TKUIComm* block = host_.Block();
    QTest::mouseClick(Find<QPushButton>("OK"), Qt::LeftButton);
    EXPECT_EQ(block->status, static_cast<uint32_t>(kTKUIStatusUIDone));
    EXPECT_EQ(block->settings.hsl.master.gain, gain);
    EXPECT_FALSE(windows_->mainWindow()->isVisible());
}

TEST_F(UITest, CancelLeavesTheHostsGrade)
{
    TKUIComm* block = host_.Block();
    const OCSettings before = block->settings;
    Drag(Slider("hsl_master_gain"), 1.0 / 3, 0.8);
    QTest::mouseClick(Find<QPushButton>("Cancel"), Qt::LeftButton);
    EXPECT_EQ(block->status, static_cast<uint32_t>(kTKUIStatusUIDone));
    EXPECT_EQ(std::memcmp(&before, &block->settings, sizeof before), 0);
}

TEST_F(UITest, ClosingTheWindowIsExit)
{
    TKUIComm* block = host_.Block();
    windows_->mainWindow()->close();
    EXPECT_EQ(block->status, static_cast<uint32_t>(kTKUIStatusUIDone));
    EXPECT_EQ(TKBlockOf(session_), nullptr);
    QCoreApplication::processEvents(); // the close that Exit asked for
    EXPECT_FALSE(windows_->mainWindow()->isVisible());
}

TEST_F(UITest, EverySizeOfWindowKeepsPictureAndToolsApart)
{
    TincturaMainWin* window = windows_->mainWindow();
    window->showNormal();
    for (const QSize size :
         {QSize(1024, 748), QSize(1920, 1060), QSize(3840, 2100), QSize(960, 520), QSize(640, 420)}) {
        window->resize(size);
        QCoreApplication::processEvents();
        const QRect picture = Find<UIImagePaneWin>("picture")->geometry();
        const QRect transport = Find<UITransportWin>("transport")->geometry();
        const QRect tools = window->tools()->geometry();
        EXPECT_GE(picture.height(), 60) << size.height();
        EXPECT_LT(picture.bottom(), transport.top());
        EXPECT_LT(transport.bottom(), tools.top());
        EXPECT_EQ(tools.bottom(), window->height() - 1);
        EXPECT_GE(tools.height(), kTKLeastToolHeight);
        EXPECT_GE(tools.width(), kTKLeastToolWidth);
        for (const char* name : {"OK", "Cancel", "Reset All", "Save...", "Load..."})
            EXPECT_TRUE(window->rect().contains(Find<QPushButton>(name)->geometry())) << name;
    }
}

TEST_F(UITest, ALowWindowScrollsItsPage)
{
    TincturaMainWin* window = windows_->mainWindow();
    window->showNormal();
    window->resize(700, 420);
    ShowPageOf("secondary_a");
    QCoreApplication::processEvents();
    const QScrollArea* page = window->tools()->shownPage();
    EXPECT_GT(page->widget()->height(), page->height());
}

TEST_F(UITest, ToolTipsAreShownWhileTheirSwitchIsOn)
{
    class Counter : public QWidget {
      public:
        int tips = 0;
        bool event(QEvent* event) override
        {
            if (event->type() == QEvent::ToolTip) ++tips;
            return QWidget::event(event);
        }
    } widget;
    const TKUserInterface ui = windows_->interface();
    const auto ask = [&] {
        QHelpEvent event(QEvent::ToolTip, QPoint(1, 1), QPoint(1, 1));
        QApplication::sendEvent(&widget, &event);
        return widget.tips;
    };
    ASSERT_NE(session_->prefs.toolTipsEnable, 0u); // as the start-up found it
    EXPECT_EQ(ask(), 1);
    ui.setToolTips(ui.context, false);
    EXPECT_EQ(ask(), 1);
    ui.setToolTips(ui.context, true);
    EXPECT_EQ(ask(), 2);
}

TEST_F(UITest, ACursorOfTheLogicIsSetWithTheNextTick)
{
    const TincturaMainWin* window = windows_->mainWindow();
    QImage before;
    for (const uint32_t number : {500u, 506u, 507u, 508u, 509u, 510u, 511u, 513u, 514u, 515u}) {
        session_->pendingCursor = number;
        Tick();
        ASSERT_EQ(window->cursor().shape(), Qt::BitmapCursor) << number; // artwork of our own
        const QImage artwork = window->cursor().pixmap().toImage();
        EXPECT_NE(artwork, before) << number;
        before = artwork;
    }
    session_->pendingCursor = 512; // no cursor has this number
    Tick();
    EXPECT_EQ(window->cursor().shape(), Qt::ArrowCursor);
    session_->pendingCursor = 500;
    Tick();
    EXPECT_EQ(window->cursor().hotSpot(), QPoint(2, 21)); // the tip of the pipette
}

TEST_F(UITest, WithoutAnXServerThereIsNoForegroundToGiveBack)
{
    EXPECT_EQ(BPQtForegroundWindow(), 0u);
    BPQtGiveForeground(1);
    const TKUserInterface ui = windows_->interface();
    ASSERT_NE(ui.rememberForeground, nullptr);
    ASSERT_NE(ui.restoreForeground, nullptr);
    ui.rememberForeground(ui.context);
    ui.restoreForeground(ui.context);
}
