// Checkboxes, popups, swatches, eyedroppers, colour samples and colour match with real mouse, wheel and key events.
#include "src/UI/UIColorSampleWin.h"
#include "src/UI/UIMatchColorWin.h"
#include "src/UI/UIStyleWin.h"
#include "tests/UI/UITest.h"

#include <QAbstractItemView>
#include <QAccessible>
#include <QApplication>
#include <QColorDialog>
#include <QHelpEvent>
#include <QPainter>
#include <QTimer>
#include <QToolTip>

namespace {

class UISamplesTest : public UITest {
  protected:
    void SetUp() override
    {
        UITest::SetUp();
        ASSERT_EQ(TKInitColorSample(&sample_, &Live(), offsetof(OCSettings, secondary[0].sample[0].red),
                                    offsetof(OCSettings, secondary[0].sample[0].on), tkSectionSecondaryA, 1, nullptr,
                                    "Sample 1", "a_1"),
                  bpNoErr);
        ASSERT_EQ(TKInitColorSample(&plain_, &Live(), kTKColorSampleOffset, kTKNoOffset, tkSectionNone, 2, nullptr,
                                    "Color Sample", "color"),
                  bpNoErr);
        TKInitMatchColor(&match_, &Live(), ocMatchRGB, tkSectionNone, "match");
        TKInitMatchColor(&match2_, &Live(), ocMatchHSL, tkSectionNone, "match2");
        TKLinkColorSample(&plain_, &match_.source);
        TKInitCheckbox(&checkbox_, &Live(), offsetof(OCSettings, secondary[0].invert), tkSectionSecondaryA,
                       "Invert Selection", "invert");
        TKInitPopup(&popup_, &Live(), offsetof(OCSettings, limiter.limiter_clip_method), tkSectionLimiter,
                    "Limit Method", "limit", "Reduce Saturation|Reduce Luma|Smart Limit");
        views_ = session_->controls.viewCount;
        swatches_ = session_->controls.swatchCount;
        panel_ = std::make_unique<QWidget>();
        panel_->setObjectName(QStringLiteral("panel"));
        sampleWin_ = new UIColorSampleWin(session_, &sample_, QStringLiteral("a_1"), panel_.get());
        plainWin_ = new UIColorSampleWin(session_, &plain_, QStringLiteral("color"), panel_.get());
        matchWin_ = new UIMatchColorWin(session_, &match_, QStringLiteral("match"), panel_.get());
        narrowWin_ = new UIMatchColorWin(session_, &match2_, QStringLiteral("match2"), panel_.get());
        checkboxWin_ = new UICheckboxWin(session_, &checkbox_, QStringLiteral("invert"), panel_.get());
        popupWin_ = new UIPopupWin(session_, &popup_, QStringLiteral("limit"), panel_.get());
        sampleWin_->move(12, 12);
        plainWin_->move(200, 12);
        checkboxWin_->setGeometry(390, 12, 170, UICheckboxWin::kHeight);
        popupWin_->setGeometry(390, 40, 170, UIPopupWin::kHeight);
        matchWin_->setGeometry(12, 140, UIMatchColorWin::kOneLineWidth, UIMatchColorWin::kOneLineHeight);
        narrowWin_->setGeometry(12, 196, 220, UIMatchColorWin::HeightAt(220));
        panel_->resize(580, 284);
        panel_->show();
        QApplication::setActiveWindow(panel_.get());
    }
    void TearDown() override
    {
        panel_.reset();
        EXPECT_EQ(session_->controls.viewCount, views_);
        EXPECT_EQ(session_->controls.swatchCount, swatches_);
        TKDisposeColorSample(&sample_);
        TKDisposeColorSample(&plain_);
        UITest::TearDown();
    }

    uint32_t Steps() const { return session_->undoRing->undoHead; }
    OCColorSample& Sample() { return Live().secondary[0].sample[0]; }
    static QColor Middle(QWidget* widget, double x = 0.5)
    {
        const QImage shot = widget->grab().toImage();
        return shot.pixelColor(static_cast<int>(shot.width() * x), 2);
    }
    void Pick(QWidget* eyedropper, float r, float g, float b)
    {
        QTest::mouseClick(eyedropper, Qt::LeftButton);
        ASSERT_TRUE(TKIsPicking(session_));
        const float rgb[3] = {r, g, b};
        TKPickSample(session_, rgb);
        (void)TKPickEnd(session_);
    }
    /// Answers the next colour dialog from inside its event loop.
    void AnswerDialog(bool accept, const QColor& color)
    {
        QTimer::singleShot(0, [this, accept, color] {
            auto* dialog = qobject_cast<QColorDialog*>(QApplication::activeModalWidget());
            ASSERT_NE(dialog, nullptr);
            dialogSeen_ = dialog->currentColor();
            dialogTitle_ = dialog->windowTitle();
            dialogCenter_ = dialog->geometry().center();
            dialog->setCurrentColor(color);
            accept ? dialog->accept() : dialog->reject();
        });
    }

    TKColorSample sample_ = {}, plain_ = {};
    TKMatchColor match_ = {}, match2_ = {};
    TKCheckbox checkbox_ = {};
    TKPopup popup_ = {};
    std::unique_ptr<QWidget> panel_;
    UIColorSampleWin *sampleWin_ = nullptr, *plainWin_ = nullptr;
    UIMatchColorWin *matchWin_ = nullptr, *narrowWin_ = nullptr;
    UICheckboxWin* checkboxWin_ = nullptr;
    UIPopupWin* popupWin_ = nullptr;
    uint32_t views_ = 0, swatches_ = 0; // of the main window's own
    QColor dialogSeen_;
    QString dialogTitle_;
    QPoint dialogCenter_;
};

} // namespace

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

// Swatches and samples --------------------------------------------------------------------------------------------------

TEST_F(UISamplesTest, ASwatchShowsItsColourWhileItIsPickedAndAfterwards)
{
    EXPECT_EQ(Middle(sampleWin_->source()), QColor(0, 0, 0));
    QTest::mouseClick(sampleWin_->eyedropper(), Qt::LeftButton);
    const float red[3] = {1, 0, 0}, blue[3] = {0, 0, 1};
    TKPickSample(session_, red);
    EXPECT_EQ(Middle(sampleWin_->source()), QColor(255, 0, 0));
    EXPECT_EQ(Sample().red, 0.0f);
    TKPickSample(session_, blue);
    (void)TKPickEnd(session_);
    EXPECT_EQ(Middle(sampleWin_->source()), QColor(0, 0, 255));
    EXPECT_EQ(Sample().blue, 1.0f);
    EXPECT_TRUE(sampleWin_->checkbox()->isChecked());
    EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_EQ(Middle(sampleWin_->source()), QColor(0, 0, 0));
    EXPECT_FALSE(sampleWin_->checkbox()->isChecked());
}

TEST_F(UISamplesTest, TheResultSwatchFollowsEverySlider)
{
    Pick(plainWin_->eyedropper(), 0.4f, 0.2f, 0.1f);
    EXPECT_EQ(Middle(plainWin_->result()), QColor(102, 51, 25));
    Drag(Slider("hsl_master_gain"), 1.0 / 3, 2.0 / 3);
    const QColor doubled = Middle(plainWin_->result());
    EXPECT_NEAR(doubled.red(), 204, 2);
    EXPECT_NEAR(doubled.green(), 102, 2);
    EXPECT_EQ(Middle(plainWin_->source()), QColor(102, 51, 25));
}

TEST_F(UISamplesTest, SourceAndResultAreOneFieldWithoutALineBetween)
{
    Pick(plainWin_->eyedropper(), 0.4f, 0.2f, 0.1f);
    const QImage shot = plainWin_->grab().toImage();
    const double scale = shot.devicePixelRatio();
    const int y = static_cast<int>((plainWin_->source()->y() + 3) * scale);
    const int left = static_cast<int>((plainWin_->source()->x() + 4) * scale);
    const int right = static_cast<int>((plainWin_->result()->geometry().right() - 4) * scale);
    for (int x = left; x < right; ++x) ASSERT_EQ(shot.pixelColor(x, y), shot.pixelColor(left, y)) << x;
    EXPECT_NE(shot.pixelColor(static_cast<int>(plainWin_->source()->x() * scale), y), shot.pixelColor(left, y));
}

TEST_F(UISamplesTest, TheFormatOfThePopupIsWhatIsPrintedAndAnnounced)
{
    Pick(plainWin_->eyedropper(), 1, 0.5f, 0);
    const struct {
        int index;
        const char* text;
    } cases[] = {
        {1, "R 1023, G 511, B 0"},     {2, "R 32768, G 16384, B 0"},  {3, "R 1.0000, G 0.5000, B 0.0000"},
        {4, "R 100 %, G 50 %, B 0 %"}, {5, "H 30°, S 100 %, L 50 %"}, {6, "R ff, G 7f, B 00"},
        {0, "R 255, G 127, B 0"},
    };
    plainWin_->format()->setFocus();
    for (const auto& c : cases) {
        const QImage before = plainWin_->source()->grab().toImage();
        if (c.index == 0)
            QTest::keyClick(plainWin_->format(), Qt::Key_Home);
        else
            QTest::keyClick(plainWin_->format(), Qt::Key_Down);
        EXPECT_EQ(plain_.format, c.index + 1);
        EXPECT_EQ(plainWin_->source()->valueText(), QString::fromUtf8(c.text));
        EXPECT_NE(plainWin_->source()->grab().toImage(), before) << c.text;
        EXPECT_EQ(QAccessible::queryAccessibleInterface(plainWin_->source())->text(QAccessible::Description),
                  QString::fromUtf8(c.text));
    }
    EXPECT_EQ(sample_.format, tkColorRGB8); // another composite's
}

TEST_F(UISamplesTest, EveryPartHasItsToolTip)
{
    const struct {
        const char* name;
        const char* tip;
    } cases[] = {
        {"color.eyedropper", "Choose color sample"},
        {"color.source", "Sample source color"},
        {"color.result", "Sample result color"},
        {"color.format", "Choose color display format"},
        {"match.source", "Color match source color"},
        {"match.target", "Color match target color"},
        {"match.target_eyedropper", "Choose color match target color. Press option and click for color picker."},
        {"match.method", "Choose color matching method"},
        {"match.match", "Adjust settings to match source and target colors"},
    };
    for (const auto& c : cases) {
        auto* part = panel_->findChild<QWidget*>(QString::fromLatin1(c.name));
        ASSERT_NE(part, nullptr) << c.name;
        EXPECT_EQ(part->toolTip(), QString::fromLatin1(c.tip)) << c.name;
    }
    QWidget blackPoint;
    AttachToolTip(&blackPoint, kTKToolTipBase, kTKTipBlackPoint);
    EXPECT_TRUE(blackPoint.toolTip().isEmpty());
}

TEST_F(UISamplesTest, TheSwitchOfToolTipsHoldsThemBack)
{
    QWidget* part = plainWin_->eyedropper();
    const auto ask = [part] {
        QToolTip::hideText();
        QHelpEvent event(QEvent::ToolTip, QPoint(5, 5), part->mapToGlobal(QPoint(5, 5)));
        QApplication::sendEvent(part, &event);
        return QToolTip::text();
    };
    session_->ui.setToolTips(session_->ui.context, false);
    EXPECT_NE(ask(), QStringLiteral("Choose color sample"));
    session_->ui.setToolTips(session_->ui.context, true);
    EXPECT_EQ(ask(), QStringLiteral("Choose color sample"));
    QToolTip::hideText();
}

// Eyedroppers -----------------------------------------------------------------------------------------------------------

TEST_F(UISamplesTest, AnEyedropperActsAtTheReleaseOnIt)
{
    QWidget* eyedropper = sampleWin_->eyedropper();
    QTest::mousePress(eyedropper, Qt::LeftButton);
    EXPECT_FALSE(TKIsPicking(session_));
    QTest::mouseRelease(eyedropper, Qt::LeftButton, Qt::NoModifier, QPoint(80, 80));
    EXPECT_FALSE(TKIsPicking(session_)); // released elsewhere
    QTest::mouseClick(eyedropper, Qt::LeftButton);
    EXPECT_TRUE(TKIsPickingFor(session_, &sample_.eyedropper));
    QTest::keyClick(eyedropper, Qt::Key_Escape);
    EXPECT_FALSE(TKIsPicking(session_));
    QTest::keyClick(eyedropper, Qt::Key_Return);
    EXPECT_TRUE(TKIsPicking(session_));
    QTest::keyClick(eyedropper, Qt::Key_Space);
    EXPECT_FALSE(TKIsPicking(session_));
}

TEST_F(UISamplesTest, AnEyedropperLooksDifferentWhileItPicks)
{
    QWidget* eyedropper = sampleWin_->eyedropper();
    const QImage idle = eyedropper->grab().toImage();
    (void)TKEyedropperClick(session_, &sample_.eyedropper, 0);
    EXPECT_NE(eyedropper->grab().toImage(), idle);
    TKPickCancel(session_);
    EXPECT_EQ(eyedropper->grab().toImage(), idle);
}

TEST_F(UISamplesTest, ControlOpensTheColourDialogOnThePresentColourOverItsParent)
{
    Sample() = {.on = 1, .red = 51 / 255.0f, .green = 0.2f, .blue = 2};
    AnswerDialog(true, QColor(10, 20, 30));
    QTest::mouseClick(sampleWin_->eyedropper(), Qt::LeftButton, Qt::ControlModifier);
    EXPECT_EQ(dialogSeen_, QColor(51, 51, 255));
    EXPECT_EQ(dialogTitle_, QStringLiteral("Sample 1"));
    const QPoint center = panel_->mapToGlobal(panel_->rect().center());
    EXPECT_LT((dialogCenter_ - center).manhattanLength(), 60);
    EXPECT_EQ(Sample().red, 10 / 255.0f);
    EXPECT_EQ(Sample().green, 20 / 255.0f);
    EXPECT_EQ(Sample().blue, 30 / 255.0f);
    EXPECT_EQ(Steps(), 1u);
    EXPECT_EQ(Middle(sampleWin_->source()), QColor(10, 20, 30));
}

TEST_F(UISamplesTest, CancelOfTheDialogRestoresTheTriple)
{
    Sample() = {.on = 1, .red = 0.123f, .green = -0.2f, .blue = 2};
    const OCSettings before = Live();
    AnswerDialog(false, QColor(10, 20, 30));
    QTest::mouseClick(sampleWin_->eyedropper(), Qt::LeftButton, Qt::ControlModifier);
    EXPECT_TRUE(dialogSeen_.isValid());
    EXPECT_EQ(std::memcmp(&before, &Live(), sizeof before), 0);
    EXPECT_EQ(Steps(), 0u);
}

// Colour match ----------------------------------------------------------------------------------------------------------

TEST_F(UISamplesTest, TwoPicksAChoiceAndTheButtonMatchColours)
{
    auto* button = panel_->findChild<QPushButton*>(QStringLiteral("match.match"));
    auto* method = panel_->findChild<QComboBox*>(QStringLiteral("match.method"));
    EXPECT_FALSE(button->isEnabled());
    Pick(panel_->findChild<QWidget*>(QStringLiteral("match.source_eyedropper")), 0.25f, 0.5f, 0.5f);
    EXPECT_TRUE(button->isEnabled());
    Pick(panel_->findChild<QWidget*>(QStringLiteral("match.target_eyedropper")), 0.5f, 0.25f, 0.75f);
    method->setFocus();
    QTest::keyClick(method, Qt::Key_Down);
    QTest::keyClick(method, Qt::Key_Down);
    EXPECT_EQ(match_.entry, 3);
    const uint32_t steps = Steps();
    QTest::mouseClick(button, Qt::LeftButton);
    EXPECT_EQ(Live().rgb.master.channel[0].gain, 2.0f);
    EXPECT_EQ(Live().rgb.master.channel[1].gain, 1.0f);
    EXPECT_EQ(Live().rgbOn, 1u);
    EXPECT_STREQ(Slider("rgb_master_r_gain")->slider()->valueText, "2.00");
    EXPECT_EQ(Steps(), steps + 1);
    EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_FALSE(button->isEnabled()); // nothing is picked again
}

TEST_F(UISamplesTest, TheCommonSampleFeedsTheSourceOfTheMatch)
{
    Pick(plainWin_->eyedropper(), 0, 1, 0);
    EXPECT_EQ(Middle(panel_->findChild<QWidget*>(QStringLiteral("match.source"))), QColor(0, 255, 0));
}

TEST_F(UISamplesTest, NothingOverlapsAndNothingIsCutAtAnyWidth)
{
    for (int width = UIMatchColorWin::kLeastWidth; width <= 700; width += 3) {
        matchWin_->resize(width, UIMatchColorWin::HeightAt(width));
        const QList<QWidget*> parts = matchWin_->findChildren<QWidget*>(Qt::FindDirectChildrenOnly);
        ASSERT_EQ(parts.size(), 6);
        for (int i = 0; i < parts.size(); ++i) {
            EXPECT_TRUE(matchWin_->rect().contains(parts[i]->geometry()))
                << width << qPrintable(parts[i]->objectName());
            for (int k = 0; k < i; ++k)
                EXPECT_FALSE(parts[i]->geometry().intersects(parts[k]->geometry()))
                    << width << " " << qPrintable(parts[i]->objectName()) << " " << qPrintable(parts[k]->objectName());
        }
    }
}

TEST_F(UISamplesTest, PicturesForTheEye)
{
    const QByteArray folder = qgetenv("OC_SHOTS");
    if (folder.isEmpty()) GTEST_SKIP() << "set OC_SHOTS to a folder";
    Pick(sampleWin_->eyedropper(), 0.8f, 0.35f, 0.2f);
    Pick(plainWin_->eyedropper(), 0.2f, 0.45f, 0.6f);
    Pick(panel_->findChild<QWidget*>(QStringLiteral("match.target_eyedropper")), 0.9f, 0.8f, 0.3f);
    Drag(Slider("hsl_master_gain"), 1.0 / 3, 0.45);
    (void)TKSelectColorFormat(session_, &plain_, 5);
    (void)TKEyedropperClick(session_, &match_.sourceEyedropper, 0);
    sampleWin_->eyedropper()->setFocus();
    for (const bool light : {false, true}) {
        if (light) {
            PrepareUIPalette(&session_->palette, 3 * 65536);
            UIApplyPalette(session_->palette);
        }
        for (const double scale : {1.0, 1.5, 2.0}) {
            QImage image((QSizeF(panel_->size()) * scale).toSize(), QImage::Format_RGB32);
            image.setDevicePixelRatio(scale);
            image.fill(UIShadesNow().panel);
            panel_->render(&image, QPoint(), QRegion(), QWidget::DrawChildren);
            image.save(QString::fromLocal8Bit(folder) +
                       QStringLiteral("/samples_%1_%2.png").arg(light ? "light" : "dark").arg(scale));
        }
    }
}
