// Checkboxes and popups with real mouse, wheel and key events.
#include "tests/UI/UISamplesTest.h"

#include <QAbstractItemView>
#include <QAccessible>
#include <QWheelEvent>

// Checkboxes ------------------------------------------------------------------------------------------------------------

TEST_F(UISamplesTest, ACheckboxWritesWhenTheButtonIsReleased)
{
    QTest::mousePress(checkboxWin_, Qt::LeftButton, Qt::NoModifier, QPoint(8, 10));
    EXPECT_EQ(Live().secondary[0].invert, 0u);
    QTest::mouseRelease(checkboxWin_, Qt::LeftButton, Qt::NoModifier, QPoint(8, 10));
    EXPECT_EQ(Live().secondary[0].invert, 1u);
    EXPECT_EQ(Live().secondary[0].on, 1u);
    EXPECT_EQ(Live().secondaryOn, 1u);
    EXPECT_EQ(Steps(), 1u);
    QTest::mouseClick(checkboxWin_, Qt::LeftButton, Qt::NoModifier, QPoint(40, 10)); // its label
    EXPECT_EQ(Live().secondary[0].invert, 0u);
    QTest::mouseClick(checkboxWin_, Qt::LeftButton, Qt::NoModifier, QPoint(165, 10)); // beyond the label
    EXPECT_EQ(Live().secondary[0].invert, 0u);
    // Released outside it is no click.
    QTest::mousePress(checkboxWin_, Qt::LeftButton, Qt::NoModifier, QPoint(8, 10));
    QTest::mouseRelease(checkboxWin_, Qt::LeftButton, Qt::NoModifier, QPoint(8, 200));
    EXPECT_EQ(Live().secondary[0].invert, 0u);
}

TEST_F(UISamplesTest, TheSpaceBarTurnsAFocusedCheckbox)
{
    checkboxWin_->setFocus();
    QTest::keyClick(checkboxWin_, Qt::Key_Space);
    EXPECT_EQ(Live().secondary[0].invert, 1u);
}

TEST_F(UISamplesTest, ACheckboxFollowsUndoAndRedo)
{
    QTest::mouseClick(checkboxWin_, Qt::LeftButton, Qt::NoModifier, QPoint(8, 10));
    EXPECT_TRUE(checkboxWin_->isChecked());
    EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_FALSE(checkboxWin_->isChecked());
    EXPECT_TRUE(TKUndoStepForward(session_));
    EXPECT_TRUE(checkboxWin_->isChecked());
    EXPECT_EQ(Steps(), 1u); // following is no click
}

TEST_F(UISamplesTest, ACheckboxIsAnnouncedWithNameAndState)
{
    QAccessibleInterface* access = QAccessible::queryAccessibleInterface(checkboxWin_);
    ASSERT_NE(access, nullptr);
    EXPECT_EQ(access->role(), QAccessible::CheckBox);
    EXPECT_EQ(access->text(QAccessible::Name), QStringLiteral("Invert Selection"));
    EXPECT_FALSE(access->state().checked);
    ASSERT_NE(access->actionInterface(), nullptr);
    access->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
    EXPECT_EQ(Live().secondary[0].invert, 1u);
    EXPECT_TRUE(access->state().checked);
}

// Popups ----------------------------------------------------------------------------------------------------------------

TEST_F(UISamplesTest, ATurnOfTheWheelNeverChangesAPopup)
{
    Live().limiter.limiter_clip_method = 2;
    popupWin_->showValue();
    const OCSettings before = Live();
    for (UIListWin* list : {popupWin_->list(), sampleWin_->format()})
        for (const int delta : {120, -120, 1200, -1200}) {
            list->setFocus();
            Wheel(list, list->rect().center(), delta);
        }
    EXPECT_EQ(std::memcmp(&before, &Live(), sizeof before), 0);
    EXPECT_EQ(popupWin_->list()->currentIndex(), 1);
    EXPECT_EQ(sample_.format, tkColorRGB8);
}

TEST_F(UISamplesTest, AWheelTurnOverAPopupGoesOnToThePaneBehindIt)
{
    QWheelEvent event(QPointF(20, 10), popupWin_->list()->mapToGlobal(QPointF(20, 10)), QPoint(), QPoint(0, -120),
                      Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
    event.accept();
    QApplication::sendEvent(popupWin_->list(), &event);
    EXPECT_FALSE(event.isAccepted());
}

TEST_F(UISamplesTest, AnItemOfTheListIsChosenByMouseAndByKeys)
{
    Live().limiter.limiter_clip_method = 1;
    popupWin_->showValue();
    QComboBox* list = popupWin_->list();
    QTest::mouseClick(list, Qt::LeftButton, Qt::NoModifier, QPoint(20, 10));
    QAbstractItemView* view = list->view();
    ASSERT_TRUE(view->isVisible());
    QTest::qWait(QApplication::doubleClickInterval() + 50); // a release right after the press closes no list
    const QRect item = view->visualRect(list->model()->index(2, 0));
    QTest::mouseMove(view->viewport(), item.center());
    QTest::mouseClick(view->viewport(), Qt::LeftButton, Qt::NoModifier, item.center());
    EXPECT_EQ(Live().limiter.limiter_clip_method, 3);
    EXPECT_EQ(Live().limiter_enable, 1u);
    EXPECT_EQ(Steps(), 1u);
    list->setFocus();
    QTest::keyClick(list, Qt::Key_Up);
    EXPECT_EQ(Live().limiter.limiter_clip_method, 2);
    EXPECT_EQ(Steps(), 2u);
}

TEST_F(UISamplesTest, APopupShowsWhatItsProcedureMadeOfTheChoice)
{
    popup_.changeProc = [](TKSession*, const TKPopup* popup, int32_t, int32_t, bool) {
        return static_cast<int32_t>(popup->reference);
    };
    popup_.reference = 2;
    Live().limiter.limiter_clip_method = 1;
    popupWin_->showValue();
    popupWin_->list()->setFocus();
    QTest::keyClick(popupWin_->list(), Qt::Key_End);
    EXPECT_EQ(Live().limiter.limiter_clip_method, 2);
    EXPECT_EQ(popupWin_->list()->currentIndex(), 1);
}

TEST_F(UISamplesTest, AValueThatTheListDoesNotHaveSelectsNothingAndStays)
{
    for (const int32_t value : {0, 4, -1, INT32_MIN, INT32_MAX}) {
        Live().limiter.limiter_clip_method = value;
        UpdateAllControls(session_, &Live(), kOCResetAll, kOCResetAll, nullptr, true);
        EXPECT_EQ(popupWin_->list()->currentIndex(), -1) << value;
        EXPECT_EQ(Live().limiter.limiter_clip_method, value);
    }
    Live().limiter.limiter_clip_method = 1;
    UpdateAllControls(session_, &Live(), kOCResetAll, kOCResetAll, nullptr, true);
    EXPECT_EQ(popupWin_->list()->currentIndex(), 0);
    EXPECT_EQ(Steps(), 0u);
}

TEST_F(UISamplesTest, APopupIsDisabledTogetherWithItsLabel)
{
    const QImage before = popupWin_->grab(QRect(0, 0, 100, 15)).toImage();
    popupWin_->setEnabled(false);
    EXPECT_FALSE(popupWin_->list()->isEnabled());
    EXPECT_NE(popupWin_->grab(QRect(0, 0, 100, 15)).toImage(), before);
    const OCSettings record = Live();
    QTest::mouseClick(popupWin_->list(), Qt::LeftButton);
    EXPECT_FALSE(popupWin_->list()->view()->isVisible());
    EXPECT_EQ(std::memcmp(&record, &Live(), sizeof record), 0);
    popupWin_->setEnabled(true);
    EXPECT_EQ(popupWin_->grab(QRect(0, 0, 100, 15)).toImage(), before);
}

TEST_F(UISamplesTest, APopupIsAnnouncedWithNameAndValue)
{
    Live().limiter.limiter_clip_method = 3;
    popupWin_->showValue();
    QAccessibleInterface* access = QAccessible::queryAccessibleInterface(popupWin_->list());
    ASSERT_NE(access, nullptr);
    EXPECT_EQ(access->role(), QAccessible::ComboBox);
    const auto relations = access->relations(QAccessible::Label);
    ASSERT_EQ(relations.size(), 1);
    EXPECT_EQ(relations[0].first->text(QAccessible::Name), QStringLiteral("Limit Method"));
    EXPECT_EQ(access->text(QAccessible::Value), QStringLiteral("Smart Limit"));
}
