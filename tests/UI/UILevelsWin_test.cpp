// The levels and luma range windows: real mouse and key events, effects checked in the record.
#include "src/UI/UILevelsWin.h"
#include "src/UI/UILumaRangeWin.h"

#include "tests/UI/UITest.h"

#include <QAccessible>
#include <QApplication>
#include <QElapsedTimer>

namespace {

class LevelsWinTest : public UITest {
  protected:
    void SetUp() override
    {
        UITest::SetUp();
        InitLevels(&levels_, &Live(), offsetof(OCSettings, levels), 1, tkSectionLevelsMaster, "test_levels");
        QWidget* main = windows_->mainWindow();
        win_ = new UILevelsWin(session_, &levels_, QStringLiteral("test_levels"), main);
        win_->setGeometry(20, 60, 552, 200);
        InitLumaRange(&range_, &Live(), offsetof(OCSettings, lumaRange), tkSectionLumaRange, "test_ranges");
        rangeWin_ = new UILumaRangeWin(session_, &range_, QStringLiteral("test_ranges"), main);
        rangeWin_->setGeometry(20, 270, 552, 280);
        for (QWidget* widget : {static_cast<QWidget*>(win_), static_cast<QWidget*>(rangeWin_)}) {
            widget->raise();
            widget->show();
        }
        renders_ = session_->renderCount;
    }
    void TearDown() override
    {
        delete win_;
        delete rangeWin_;
        gBPFake.mouseButtonDown = false;
        UITest::TearDown();
    }

    OCLevelsBlock& Block() { return Live().levels[0]; }
    OCLumaRangeBlock& Range() { return Live().lumaRange; }
    uint32_t Steps() const { return session_->undoRing->undoHead; }
    uint32_t Renders() const { return session_->renderCount - renders_; }
    QPoint At(uint32_t handle) const { return win_->handleRect(handle).center() + QPoint(1, 1); }
    QPoint RangeAt(uint32_t handle) const { return rangeWin_->handlePoint(handle).toPoint(); }

    void Down(QWidget* widget, QPoint point)
    {
        gBPFake.mouseButtonDown = true;
        QTest::mousePress(widget, Qt::LeftButton, Qt::NoModifier, point);
    }
    void Move(QWidget* widget, QPoint point, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        QMouseEvent event(QEvent::MouseMove, point, widget->mapToGlobal(point), Qt::NoButton, Qt::LeftButton,
                          modifiers);
        QApplication::sendEvent(widget, &event);
    }
    void Up(QWidget* widget, QPoint point)
    {
        gBPFake.mouseButtonDown = false;
        QTest::mouseRelease(widget, Qt::LeftButton, Qt::NoModifier, point);
    }
    UIHandleWin* Handle(const char* name) const { return Find<UIHandleWin>(name); }
    UIValueWin* Value(const char* name) const { return Find<UIValueWin>(name); }

    LevelsVars levels_ = {};
    LumaRangeVars range_ = {};
    UILevelsWin* win_ = nullptr;
    UILumaRangeWin* rangeWin_ = nullptr;
    uint32_t renders_ = 0;
};

} // namespace

TEST_F(LevelsWinTest, AMouseDragMovesAHandleAndRendersAtTheRelease)
{
    const QPoint from = At(levelsInBlack);
    Down(win_, from);
    Move(win_, from + QPoint(64, 3));
    EXPECT_EQ(Block().inblackpt, 0.25f);
    EXPECT_EQ(Block().ingraypt, 0.625f);
    EXPECT_EQ(Renders(), 0u);
    Up(win_, from + QPoint(64, 3));
    EXPECT_EQ(Renders(), 1u);
    EXPECT_EQ(Block().on, 1u);
    EXPECT_EQ(Live().levelsOn, 1u);
    EXPECT_EQ(Steps(), 1u);
    EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_EQ(Block().inblackpt, 0.0f);
    win_->updateFrom(&Live());
    EXPECT_EQ(At(levelsInBlack), from);
}

TEST_F(LevelsWinTest, AHandThatPausesSeesThePictureAfter100ms)
{
    const QPoint from = At(levelsInWhite);
    Down(win_, from);
    QElapsedTimer paused;
    paused.start();
    Move(win_, from - QPoint(64, 0));
    EXPECT_EQ(Renders(), 0u);
    EXPECT_TRUE(QTest::qWaitFor([&] { return Renders() != 0; }));
    EXPECT_GE(paused.elapsed(), 80); // the first of the five ticks of 20 ms may be near
    EXPECT_EQ(Renders(), 1u);
    EXPECT_EQ(Block().on, 1u);
    Up(win_, from - QPoint(64, 0));
    EXPECT_EQ(Renders(), 1u);
}

TEST_F(LevelsWinTest, ADragEndsWhenTheMouseIsTakenAway)
{
    const auto takeAway = [&](auto how) {
        const QPoint from = At(levelsOutBlack);
        const float before = Block().outblackpt;
        Down(win_, from);
        Move(win_, from + QPoint(16, 0));
        how();
        Move(win_, from + QPoint(128, 0));
        EXPECT_EQ(Block().outblackpt, before + 0.0625f);
        EXPECT_FALSE(session_->controls.undoPending);
        Up(win_, from);
    };
    takeAway([&] {
        QEvent event(QEvent::WindowDeactivate);
        QApplication::sendEvent(win_, &event);
    });
    takeAway([&] {
        win_->hide();
        win_->show();
    });
    takeAway([&] {
        win_->setEnabled(false);
        win_->setEnabled(true);
    });
    takeAway([&] { // the tick is the safety net
        gBPFake.mouseButtonDown = false;
        EXPECT_TRUE(QTest::qWaitFor([&] { return levels_.tracking == 0; }));
    });
    takeAway([&] { // a move without a button
        QMouseEvent event(QEvent::MouseMove, QPointF(300, 100), QPointF(300, 100), Qt::NoButton, Qt::NoButton,
                          Qt::NoModifier);
        QApplication::sendEvent(win_, &event);
    });
}

TEST_F(LevelsWinTest, OtherButtonsMoveNothing)
{
    QTest::mousePress(win_, Qt::RightButton, Qt::NoModifier, At(levelsInBlack));
    Move(win_, At(levelsInBlack) + QPoint(50, 0));
    QTest::mouseRelease(win_, Qt::RightButton, Qt::NoModifier, At(levelsInBlack));
    EXPECT_EQ(Block().inblackpt, 0.0f);
    EXPECT_EQ(Steps(), 0u);
}

TEST_F(LevelsWinTest, ShiftDragsFinely)
{
    const QPoint from = At(levelsOutBlack);
    Down(win_, from);
    Move(win_, from + QPoint(64, 0), Qt::ShiftModifier);
    Up(win_, from + QPoint(64, 0));
    EXPECT_NEAR(Block().outblackpt, 0.025f, 1e-6f);
}

TEST_F(LevelsWinTest, ArrowsMoveTheFocusedHandleAndTabWalksThroughAllSix)
{
    const char* const names[] = {"test_levels.inblack",  "test_levels.ingray",  "test_levels.inwhite",
                                 "test_levels.outblack", "test_levels.outgray", "test_levels.outwhite"};
    UIHandleWin* first = Handle(names[0]);
    ASSERT_TRUE(first);
    first->setFocus();
    for (const char* name : names) {
        QWidget* focus = windows_->mainWindow()->focusWidget();
        ASSERT_TRUE(focus);
        EXPECT_EQ(focus->objectName().toStdString(), name);
        QTest::keyClick(focus, Qt::Key_Tab);
    }
    first->setFocus();
    QTest::keyClick(first, Qt::Key_Right);
    EXPECT_EQ(Block().inblackpt, 1.0f / 256);
    EXPECT_EQ(Renders(), 1u); // the key was let go
    EXPECT_EQ(Block().on, 1u);
    QTest::keyClick(first, Qt::Key_Up, Qt::ShiftModifier);
    EXPECT_EQ(Block().inblackpt, 1.0f / 256 + 1.0f / 1024);
    QTest::keyClick(first, Qt::Key_Left, Qt::ShiftModifier);
    QTest::keyClick(first, Qt::Key_Down);
    EXPECT_EQ(Block().inblackpt, 0.0f);
    QTest::keyClick(first, Qt::Key_End);
    EXPECT_EQ(Block().inblackpt, 1.0f);
    QTest::keyClick(first, Qt::Key_Home);
    EXPECT_EQ(Block().inblackpt, 0.0f);
    EXPECT_EQ(Steps(), 1u);
    UIHandleWin* gray = Handle(names[1]);
    gray->setFocus();
    QTest::keyClick(gray, Qt::Key_Right);
    EXPECT_EQ(Steps(), 2u);
}

TEST_F(LevelsWinTest, AHeldKeyRendersWhenTheHandPausesOrLetsGo)
{
    UIHandleWin* gray = Handle("test_levels.ingray");
    gray->setFocus();
    for (int i = 0; i < 5; ++i) {
        QKeyEvent press(QEvent::KeyPress, Qt::Key_Right, Qt::NoModifier, QString(), i > 0);
        QApplication::sendEvent(gray, &press);
    }
    EXPECT_EQ(Renders(), 0u);
    EXPECT_EQ(Block().ingraypt, 0.5f + 5.0f / 256);
    QTest::keyRelease(gray, Qt::Key_Right);
    EXPECT_EQ(Renders(), 1u);
    QKeyEvent press(QEvent::KeyPress, Qt::Key_Right, Qt::NoModifier);
    QApplication::sendEvent(gray, &press);
    Handle("test_levels.inblack")->setFocus(); // the focus goes
    EXPECT_EQ(Renders(), 2u);
}

TEST_F(LevelsWinTest, ArrowsWithControlOrAltAreNotTheHandles)
{
    UIHandleWin* gray = Handle("test_levels.ingray");
    gray->setFocus();
    QTest::keyClick(gray, Qt::Key_Right, Qt::ControlModifier);
    QTest::keyClick(gray, Qt::Key_Right, Qt::AltModifier);
    EXPECT_EQ(Block().ingraypt, 0.5f);
}

TEST_F(LevelsWinTest, AValueIsTypedAfterAClickOrReturn)
{
    UIValueWin* white = Value("test_levels.outwhite.value");
    ASSERT_TRUE(white);
    QTest::mouseClick(white, Qt::LeftButton, Qt::NoModifier, QPoint(white->width() - 8, white->height() / 2));
    auto* edit = white->findChild<QLineEdit*>();
    ASSERT_TRUE(edit->isVisible());
    EXPECT_EQ(edit->text(), QStringLiteral("1.000"));
    EXPECT_EQ(edit->selectedText(), edit->text());
    QTest::keyClicks(edit, "0.7x5");
    EXPECT_EQ(edit->text(), QStringLiteral("0.75")); // letters are not let in
    QTest::keyClick(edit, Qt::Key_Return);
    EXPECT_FALSE(edit->isVisible());
    EXPECT_EQ(Block().outwhitept, 0.75f);
    EXPECT_EQ(Block().outgraypt, 0.375f);
    EXPECT_EQ(Renders(), 1u);
    EXPECT_EQ(Steps(), 1u);

    UIHandleWin* black = Handle("test_levels.inblack");
    black->setFocus();
    QTest::keyClick(black, Qt::Key_Return);
    auto* blackEdit = Value("test_levels.inblack.value")->findChild<QLineEdit*>();
    ASSERT_TRUE(blackEdit->isVisible());
    QTest::keyClicks(blackEdit, "0.5");
    QTest::keyClick(blackEdit, Qt::Key_Tab);
    EXPECT_EQ(Block().inblackpt, 0.5f);
    EXPECT_EQ(Block().ingraypt, 0.75f);
    EXPECT_TRUE(Value("test_levels.ingray.value")->findChild<QLineEdit*>()->isVisible());
    QTest::keyClick(Value("test_levels.ingray.value")->findChild<QLineEdit*>(), Qt::Key_Escape);
    EXPECT_EQ(Block().ingraypt, 0.75f);
}

TEST_F(LevelsWinTest, ControlClickOrADoubleClickOnTheNameResetsAValue)
{
    UIValueWin* black = Value("test_levels.outblack.value");
    Block().outblackpt = 0.5f;
    win_->updateFrom(&Live());
    QTest::mouseDClick(black, Qt::LeftButton, Qt::NoModifier, QPoint(3, black->height() / 2));
    EXPECT_EQ(Block().outblackpt, 0.0f);
    UIValueWin* white = Value("test_levels.outwhite.value");
    Block().outwhitept = 0.5f;
    win_->updateFrom(&Live());
    QTest::mouseClick(white, Qt::LeftButton, Qt::ControlModifier, QPoint(white->width() - 8, white->height() / 2));
    EXPECT_EQ(Block().outwhitept, 1.0f);
}

TEST_F(LevelsWinTest, EveryHandleHasANameAndAValueForAssistiveTechnology)
{
    const char* const names[] = {"Input Black",  "Input Gray",  "Input White",
                                 "Output Black", "Output Gray", "Output White"};
    const char* const objects[] = {"inblack", "ingray", "inwhite", "outblack", "outgray", "outwhite"};
    for (int i = 0; i < 6; ++i) {
        UIHandleWin* handle = Handle((std::string("test_levels.") + objects[i]).c_str());
        QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(handle);
        ASSERT_TRUE(accessible);
        EXPECT_EQ(accessible->role(), QAccessible::Slider);
        EXPECT_EQ(accessible->text(QAccessible::Name), QString::fromLatin1(names[i]));
        ASSERT_TRUE(accessible->valueInterface());
        EXPECT_EQ(accessible->valueInterface()->currentValue().toDouble(), static_cast<double>(levels_.value[i]));
        EXPECT_TRUE(accessible->state().focusable);
    }
    QAccessibleInterface* gray = QAccessible::queryAccessibleInterface(Handle("test_levels.ingray"));
    EXPECT_EQ(gray->text(QAccessible::Value), QStringLiteral("0.500"));
    gray->valueInterface()->setCurrentValue(0.25);
    EXPECT_EQ(Block().ingraypt, 0.25f);
    EXPECT_EQ(gray->text(QAccessible::Value), QStringLiteral("0.250"));
    QAccessibleInterface* shadows = QAccessible::queryAccessibleInterface(Handle("test_ranges.shadows"));
    EXPECT_EQ(shadows->text(QAccessible::Name), QStringLiteral("Shadows"));
    EXPECT_EQ(shadows->text(QAccessible::Value), QStringLiteral("position 0.300, softness 0.383"));
}

TEST_F(LevelsWinTest, TheLabelsAreInputAndOutput)
{
    EXPECT_EQ(win_->findChild<QLabel*>(QStringLiteral("test_levels.lvti"))->text(), QStringLiteral("Input"));
    EXPECT_EQ(win_->findChild<QLabel*>(QStringLiteral("test_levels.lvto"))->text(), QStringLiteral("Output"));
}

TEST_F(LevelsWinTest, TheHistogramShowsTheSourceAndIsPaintedAnewWithAnotherFrame)
{
    const QRect plot(levels_.layout.inputPlot.left, levels_.layout.inputPlot.top, 256,
                     ScopeHeightOf(levels_.layout.inputPlot));
    const auto litColumns = [&] {
        const QImage image = win_->grab().toImage();
        std::vector<int> lit;
        for (int x = 0; x < 256; ++x)
            if (image.pixelColor(plot.left() + x, plot.bottom()).red() > 60) lit.push_back(x);
        return lit;
    };
    const std::vector<int> before = litColumns();
    EXPECT_FALSE(before.empty());
    FBFrame* frame = session_->sourceFrame;
    for (uint32_t row = 0; row < frame->height; ++row)
        for (uint32_t column = 0; column < frame->width; ++column) {
            const float white = 1;
            std::memcpy(frame->baseAddr + size_t{3} * frame->planeBytes + size_t{row} * frame->rowBytes +
                            size_t{column} * 4,
                        &white, 4);
        }
    EXPECT_EQ(litColumns(), before); // nobody said so
    ++session_->sourceVersion;
    EXPECT_EQ(litColumns(), std::vector<int>{255});
}

TEST_F(LevelsWinTest, TheOutlineOfABarIsGrey48000)
{
    const QImage image = win_->grab().toImage();
    const ScopeRect bar = levels_.layout.inputBar;
    for (const QPoint point : {QPoint(bar.left - 1, bar.top + 5), QPoint(bar.left + 40, bar.top - 1),
                               QPoint(bar.right, bar.top + 5), QPoint(bar.left + 40, bar.bottom)})
        EXPECT_EQ(image.pixelColor(point), QColor(187, 187, 187)) << point.x() << " " << point.y();
    EXPECT_LT(image.pixelColor(bar.left, bar.top + 5).red(), 8);
    EXPECT_GT(image.pixelColor(bar.right - 1, bar.top + 5).red(), 247);
}

TEST_F(LevelsWinTest, ADragOfALumaRangeHandleMovesPositionAndSoftness)
{
    const QPoint from = RangeAt(lumaRangeShadows);
    Down(rangeWin_, from);
    const int width = ScopeWidthOf(range_.layout.plot) - 1, height = ScopeHeightOf(range_.layout.plot) - 1;
    Move(rangeWin_, from + QPoint(width / 10, -height / 4));
    EXPECT_NEAR(Range().lumarange_shadowx, 0.3f + static_cast<float>(width / 10) / static_cast<float>(width), 1e-5f);
    EXPECT_NEAR(Range().lumarange_shadowy, 0.3831f + static_cast<float>(height / 4) / static_cast<float>(height),
                1e-5f);
    EXPECT_EQ(Range().lumarange_highlightx, 0.7f);
    EXPECT_EQ(Renders(), 0u);
    Up(rangeWin_, from);
    EXPECT_EQ(Renders(), 1u);
    EXPECT_EQ(Live().lumaRangeOn, 1u);
    EXPECT_EQ(Steps(), 1u);
}

TEST_F(LevelsWinTest, AClickInThePlotPicksTheNearestLumaRangeHandleWithoutMovingIt)
{
    const ScopeRect plot = range_.layout.plot;
    QTest::mouseClick(rangeWin_, Qt::LeftButton, Qt::NoModifier, QPoint(plot.right - 20, plot.top + 20));
    EXPECT_EQ(range_.active, static_cast<uint32_t>(lumaRangeHighlights));
    EXPECT_TRUE(Handle("test_ranges.highlights")->hasFocus());
    EXPECT_EQ(Range().lumarange_highlightx, 0.7f);
    EXPECT_EQ(Steps(), 0u);
    QTest::mouseClick(rangeWin_, Qt::LeftButton, Qt::NoModifier, QPoint(plot.left + 20, plot.top + 20));
    EXPECT_EQ(range_.active, static_cast<uint32_t>(lumaRangeShadows));
}

TEST_F(LevelsWinTest, ArrowsMoveALumaRangeHandleBothWays)
{
    UIHandleWin* shadows = Handle("test_ranges.shadows");
    shadows->setFocus();
    QTest::keyClick(shadows, Qt::Key_Right);
    EXPECT_FLOAT_EQ(Range().lumarange_shadowx, 0.3f + 1.0f / 256);
    QTest::keyClick(shadows, Qt::Key_Up, Qt::ShiftModifier);
    EXPECT_FLOAT_EQ(Range().lumarange_shadowy, 0.3831f + 1.0f / 1024);
    QTest::keyClick(shadows, Qt::Key_End);
    EXPECT_EQ(Range().lumarange_shadowx, 0.7f);
    EXPECT_EQ(Steps(), 1u);
    EXPECT_EQ(Renders(), 3u);
    QTest::keyClick(shadows, Qt::Key_Return);
    auto* edit = Value("test_ranges.shadowx.value")->findChild<QLineEdit*>();
    ASSERT_TRUE(edit->isVisible());
    QTest::keyClicks(edit, "0.9");
    QTest::keyClick(edit, Qt::Key_Return);
    EXPECT_EQ(Range().lumarange_shadowx, 0.7f);
}

TEST_F(LevelsWinTest, TabInTheMiddleOfALumaRangeDragLeavesTheOtherHandleAlone)
{
    const OCLumaRangeBlock before = Range();
    const QPoint from = RangeAt(0);
    Down(rangeWin_, from);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    Move(rangeWin_, from + QPoint(20, 0));
    Up(rangeWin_, from + QPoint(20, 0));
    EXPECT_GT(Range().lumarange_shadowx, before.lumarange_shadowx);
    EXPECT_EQ(Range().lumarange_highlightx, before.lumarange_highlightx);
    EXPECT_EQ(Range().lumarange_highlighty, before.lumarange_highlighty);
}

TEST_F(LevelsWinTest, TheActiveCurveIsBrightAndTheHandleYellow)
{
    const auto brightest = [&] {
        const QImage image = rangeWin_->grab().toImage();
        int most = 0;
        for (int x = range_.layout.plot.left; x < range_.layout.plot.left + 100; ++x)
            for (int y = range_.layout.plot.top; y < range_.layout.plot.top + 40; ++y) {
                const QColor color = image.pixelColor(x, y);
                if (color.red() == color.green() && color.green() == color.blue()) most = qMax(most, color.red());
            }
        return most;
    };
    EXPECT_LT(brightest(), 145);
    range_.active = lumaRangeShadows;
    rangeWin_->update();
    EXPECT_GT(brightest(), 200);
    const QImage image = rangeWin_->grab().toImage();
    const QColor handle = image.pixelColor(RangeAt(lumaRangeShadows));
    const TKColor yellow = session_->palette.accent[kLumaRangeHandleAccent];
    EXPECT_EQ(handle.rgb(), QColor::fromRgba64(yellow.red, yellow.green, yellow.blue).rgb());
}
