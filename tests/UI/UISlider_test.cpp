// Sliders under real mouse, wheel and key events: fine drags, keys, hover, and what assistive tools see.
#include "src/UI/UIKeysWin.h"
#include "src/UI/UIStyleWin.h"
#include "src/UI/UIValueWin.h"
#include "tests/UI/UITest.h"

#include <QAccessible>
#include <QApplication>
#include <QClipboard>
#include <cmath>

namespace {

class UISliderTest : public UITest {
  protected:
    void SetUp() override
    {
        UITest::SetUp();
        gain_ = Slider("hsl_master_gain");
        ASSERT_NE(gain_, nullptr);
    }
    float Gain() { return Live().hsl.master.gain; }
    /// A point of the track, by fraction.
    QPoint At(double fraction) const
    {
        const QRect track = gain_->trackRect();
        return QPoint(track.left() + qRound(fraction * track.width()), track.center().y());
    }
    void Send(QEvent::Type type, QPoint point, Qt::KeyboardModifiers modifiers)
    {
        const bool moves = type == QEvent::MouseMove, up = type == QEvent::MouseButtonRelease;
        QMouseEvent event(type, point, gain_->mapToGlobal(point), moves ? Qt::NoButton : Qt::LeftButton,
                          up ? Qt::NoButton : Qt::LeftButton, modifiers);
        QApplication::sendEvent(gain_, &event);
    }
    uint32_t Steps() const { return session_->undoRing->undoAvailable; }

    UISliderWin* gain_ = nullptr;
};

} // namespace

TEST_F(UISliderTest, LabelValueAndTrackHaveTheirPlaces)
{
    EXPECT_EQ(gain_->height(), 34);
    EXPECT_EQ(gain_->valueRect().width(), 50);
    EXPECT_EQ(gain_->valueRect().right(), gain_->width() - 1);
    EXPECT_EQ(gain_->valueRect().top(), 0);
    EXPECT_EQ(gain_->trackRect().left(), 8);
    EXPECT_EQ(gain_->trackRect().top(), 14);
    EXPECT_EQ(gain_->width() - (gain_->trackRect().right() + 1), 58);
}

TEST_F(UISliderTest, AThumbThatIsPressedDoesNotMoveUntilThePointerDoes)
{
    const QPoint thumb = At(1.0 / 3) + QPoint(3, 0);
    Send(QEvent::MouseButtonPress, thumb, Qt::NoModifier);
    EXPECT_EQ(Gain(), 1.0f);
    Send(QEvent::MouseMove, thumb + QPoint(20, 0), Qt::NoModifier);
    EXPECT_NEAR(Gain(), 1 + 20 * 3.0f / static_cast<float>(gain_->trackRect().width()), 1e-3f);
    Send(QEvent::MouseMove, thumb, Qt::NoModifier);
    EXPECT_EQ(Gain(), 1.0f);
    Send(QEvent::MouseButtonRelease, thumb, Qt::NoModifier);
}

TEST_F(UISliderTest, ShiftDragsFinely)
{
    const QPoint thumb = At(1.0 / 3);
    Send(QEvent::MouseButtonPress, thumb, Qt::ShiftModifier);
    Send(QEvent::MouseMove, thumb + QPoint(50, 0), Qt::ShiftModifier);
    EXPECT_NEAR(Gain(), 1 + 5 * 3.0f / static_cast<float>(gain_->trackRect().width()), 1e-3f);
    Send(QEvent::MouseButtonRelease, thumb + QPoint(50, 0), Qt::ShiftModifier);
    EXPECT_EQ(Steps(), 1u);
}

TEST_F(UISliderTest, ADragEndsWhenTheGrabIsLost)
{
    Send(QEvent::MouseButtonPress, At(0.5), Qt::NoModifier);
    const float held = Gain();
    QEvent lost(QEvent::UngrabMouse);
    QApplication::sendEvent(gain_, &lost);
    Send(QEvent::MouseMove, At(0.9), Qt::NoModifier);
    EXPECT_EQ(Gain(), held);
    Tick(); // the button is up: the last state is stored
    EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_TRUE(TKUndoStepForward(session_));
    EXPECT_EQ(Gain(), held);
}

TEST_F(UISliderTest, ADragWhoseReleaseIsLostEndsWithTheNextMove)
{
    Send(QEvent::MouseButtonPress, At(0.5), Qt::NoModifier);
    const float held = Gain();
    const QPoint point = At(0.9); // the release went to a menu
    QMouseEvent hover(QEvent::MouseMove, point, gain_->mapToGlobal(point), Qt::NoButton, Qt::NoButton, Qt::NoModifier);
    QApplication::sendEvent(gain_, &hover);
    EXPECT_EQ(Gain(), held);
    Send(QEvent::MouseMove, point, Qt::NoModifier);
    EXPECT_EQ(Gain(), held);
    Tick();
    EXPECT_EQ(Steps(), 1u);
}

TEST_F(UISliderTest, ADoubleClickOnTheLabelResetsAsControlAndClickOnTheValue)
{
    Drag(gain_, 1.0 / 3, 0.8);
    QTest::mouseDClick(gain_, Qt::LeftButton, Qt::NoModifier, QPoint(20, 6));
    EXPECT_EQ(Gain(), 1.0f);
    EXPECT_EQ(session_->controls.openSlider, nullptr);
    Drag(gain_, 1.0 / 3, 0.8);
    ClickValue(gain_, Qt::ControlModifier);
    EXPECT_EQ(Gain(), 1.0f);
    EXPECT_EQ(Steps(), 1u);
}

TEST_F(UISliderTest, ControlAndClickRestoresTheDefaultInOneStep)
{
    Drag(gain_, 1.0 / 3, 0.8);
    Drag(Slider("hsl_master_hue"), 0.5, 0.6);
    const float dragged = Gain();
    ClickValue(gain_, Qt::ControlModifier);
    EXPECT_EQ(Gain(), 1.0f);
    EXPECT_EQ(Steps(), 3u);
    EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_EQ(Gain(), dragged);
}

TEST_F(UISliderTest, AWheelTurnWithoutFocusChangesTheSliderUnderThePointer)
{
    Slider("hsl_master_hue")->setFocus();
    Wheel(gain_, gain_->trackRect().center(), 120);
    EXPECT_EQ(Gain(), 1 + 164 / 65536.0f);
    EXPECT_EQ(Live().hsl.master.hue, 0.0f);
    const OCSettings before = Live();
    Wheel(windows_->mainWindow(), QPoint(2, 2), 120); // the window's own background
    EXPECT_EQ(std::memcmp(&before, &Live(), sizeof before), 0);
}

TEST_F(UISliderTest, ASmoothWheelAddsUpToNotches)
{
    for (int i = 0; i < 7; ++i) Wheel(gain_, gain_->trackRect().center(), 15);
    EXPECT_EQ(Gain(), 1.0f);
    Wheel(gain_, gain_->trackRect().center(), 15);
    EXPECT_EQ(Gain(), 1 + 164 / 65536.0f);
}

TEST_F(UISliderTest, KeysStepResetAndBeginAValue)
{
    gain_->setFocus();
    QTest::keyClick(gain_, Qt::Key_Up);
    EXPECT_EQ(Gain(), 1 + 164 / 65536.0f);
    QTest::keyClick(gain_, Qt::Key_PageDown);
    EXPECT_LT(Gain(), 1.0f);
    QTest::keyClick(gain_, Qt::Key_Delete);
    EXPECT_EQ(Gain(), 1.0f);
    QTest::keyClick(gain_, Qt::Key_2);
    ASSERT_EQ(session_->controls.openSlider, gain_->slider());
    QTest::keyClicks(EditOf(gain_), QStringLiteral(".5"));
    QTest::keyClick(EditOf(gain_), Qt::Key_Return);
    EXPECT_EQ(Gain(), 2.5f);
    gain_->setFocus();
    QTest::keyClick(gain_, Qt::Key_X); // no character of a number
    EXPECT_EQ(session_->controls.openSlider, nullptr);
}

TEST_F(UISliderTest, HoverAndPressAreSeen)
{
    const QImage idle = gain_->grab().toImage();
    Send(QEvent::MouseMove, gain_->valueRect().center(), Qt::NoModifier);
    const QImage hovered = gain_->grab().toImage();
    EXPECT_NE(hovered, idle);
    EXPECT_EQ(gain_->cursor().shape(), Qt::IBeamCursor);
    Send(QEvent::MouseMove, QPoint(10, 6), Qt::NoModifier);
    EXPECT_EQ(gain_->cursor().shape(), Qt::ArrowCursor);
    Send(QEvent::MouseButtonPress, At(1.0 / 3), Qt::NoModifier);
    EXPECT_EQ(Gain(), 1.0f);
    EXPECT_NE(gain_->grab().toImage(), idle);
    Send(QEvent::MouseButtonRelease, At(1.0 / 3), Qt::NoModifier);
    EXPECT_EQ(gain_->grab().toImage(), idle);
}

TEST_F(UISliderTest, ASliderIsAnnouncedWithNameValueAndRangeAndCanBeSet)
{
    QAccessibleInterface* access = QAccessible::queryAccessibleInterface(gain_);
    ASSERT_NE(access, nullptr);
    EXPECT_EQ(access->role(), QAccessible::Slider);
    EXPECT_EQ(access->text(QAccessible::Name), QStringLiteral("RGB Gain"));
    EXPECT_EQ(access->text(QAccessible::Value), QStringLiteral("1.00"));
    QAccessibleValueInterface* value = access->valueInterface();
    ASSERT_NE(value, nullptr);
    EXPECT_EQ(value->currentValue().toDouble(), 1.0);
    EXPECT_EQ(value->minimumValue().toDouble(), 0.0);
    EXPECT_EQ(value->maximumValue().toDouble(), 3.0);
    EXPECT_NEAR(value->minimumStepSize().toDouble(), 3 / 1200.0, 1e-9);
    value->setCurrentValue(2.25);
    EXPECT_EQ(Gain(), 2.25f);
    EXPECT_EQ(Live().primaryOn, 1u);
    EXPECT_EQ(access->text(QAccessible::Value), QStringLiteral("2.25"));
    EXPECT_EQ(Steps(), 1u);
    value->setCurrentValue(50.0); // its range is the track's
    EXPECT_EQ(Gain(), 3.0f);
    value->setCurrentValue(QStringLiteral("no number"));
    value->setCurrentValue(std::nan(""));
    EXPECT_EQ(Gain(), 3.0f);
}

TEST_F(UISliderTest, TheLongestValuesFitIntoTheirField)
{
    for (const char* text : {"-3600.00", "3600.00", "-1000.00", "20.00"})
        EXPECT_LE(gain_->fontMetrics().horizontalAdvance(QString::fromLatin1(text)), gain_->valueRect().width() - 2)
            << text;
}

TEST_F(UISliderTest, TheLitPartOfTheTrackReachesFromTheNeutralValueToTheThumbAtEveryScale)
{
    const QByteArray folder = qgetenv("OC_SHOTS"); // where to keep the pictures for the eye
    Drag(gain_, 1.0 / 3, 0.8);
    Wheel(Slider("hsl_master_hue"), Slider("hsl_master_hue")->trackRect().center(), -1200);
    const TKPalette palette = session_->palette;
    for (const bool light : {false, true}) {
        if (light) {
            PrepareUIPalette(&session_->palette, 3 * 65536);
            UIApplyPalette(session_->palette);
        }
        for (const double scale : {1.0, 1.25, 2.0}) {
            QImage image((QSizeF(gain_->size()) * scale).toSize(), QImage::Format_RGB32);
            image.setDevicePixelRatio(scale);
            image.fill(UIShadesNow().panel);
            gain_->render(&image, QPoint(), QRegion(), QWidget::DrawChildren);
            const auto at = [&](double fraction) {
                return image.pixelColor((QPointF(At(fraction)) * scale).toPoint());
            };
            const UIShades& shades = UIShadesNow();
            const QColor track = shades.track;
            EXPECT_EQ(at(0.1), track) << light << " " << scale;
            EXPECT_EQ(at(0.5).hue() / 10, shades.accent.hue() / 10) << light << " " << scale;
            EXPECT_EQ(at(0.95), track) << light << " " << scale;
            // Track and thumb differ from what is behind them.
            EXPECT_GE(std::abs(track.lightness() - shades.panel.lightness()), 15) << light;
            EXPECT_GE(std::abs(at(0.8).lightness() - track.lightness()), 40) << light << " " << scale;
            if (folder.isEmpty()) continue;
            QWidget* page = gain_->parentWidget();
            QImage shot((QSizeF(page->size()) * scale).toSize(), QImage::Format_RGB32);
            shot.setDevicePixelRatio(scale);
            shot.fill(UIShadesNow().panel);
            page->render(&shot, QPoint(), QRegion(), QWidget::DrawChildren);
            shot.save(QString::fromLocal8Bit(folder) +
                      QStringLiteral("/sliders_%1_%2.png")
                          .arg(light ? QStringLiteral("light") : QStringLiteral("dark"))
                          .arg(scale));
        }
    }
    session_->palette = palette;
    UIApplyPalette(palette);
}

TEST_F(UISliderTest, AKeyThatTheEditDoesNotKnowLeavesItOpen)
{
    ClickValue(gain_);
    EditOf(gain_)->setText(QStringLiteral("2"));
    for (const Qt::Key key : {Qt::Key_Up, Qt::Key_Down, Qt::Key_PageUp})
        QTest::keyClick(EditOf(gain_), key, Qt::ShiftModifier);
    EXPECT_TRUE(gain_->slider()->editing);
    EXPECT_EQ(Gain(), 1.0f);
    QTest::keyClick(EditOf(gain_), Qt::Key_Return);
    EXPECT_EQ(Gain(), 2.0f);
}

TEST_F(UISliderTest, AnEditThatAClickClosesLeavesTheFocusWhereTheClickWent)
{
    UISliderWin* hue = Slider("hsl_master_hue");
    ClickValue(gain_);
    EditOf(gain_)->setText(QStringLiteral("2"));
    Press(hue, 0.75);
    EXPECT_EQ(Gain(), 2.0f);
    EXPECT_TRUE(hue->hasFocus());
    ClickValue(gain_);
    EXPECT_TRUE(EditOf(gain_)->hasFocus());
    QWidget* eyedropper = Find<QWidget>("sample.eyedropper");
    QTest::mouseClick(eyedropper, Qt::LeftButton);
    EXPECT_TRUE(TKIsPicking(session_));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
    EXPECT_FALSE(TKIsPicking(session_));
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Escape}) { // a key gives it to the main window
        ClickValue(gain_);
        QTest::keyClick(EditOf(gain_), key);
        EXPECT_TRUE(windows_->mainWindow()->hasFocus());
    }
}

TEST_F(UISliderTest, AnEditThatAKeyOpenedGivesTheFocusBackToItsSlider)
{
    gain_->setFocus();
    QTest::keyClick(gain_, Qt::Key_2);
    ASSERT_TRUE(EditOf(gain_)->hasFocus());
    QTest::keyClick(EditOf(gain_), Qt::Key_Return);
    EXPECT_EQ(Gain(), 2.0f);
    EXPECT_TRUE(gain_->hasFocus());
    QTest::keyClick(gain_, Qt::Key_Return);
    QTest::keyClick(EditOf(gain_), Qt::Key_Escape);
    EXPECT_TRUE(gain_->hasFocus());
    // From edit to edit it stays so.
    QTest::keyClick(gain_, Qt::Key_Return);
    QTest::keyClick(EditOf(gain_), Qt::Key_Tab);
    UISliderWin* next = windows_->mainWindow()->sliderOf(gain_->slider()->next);
    ASSERT_TRUE(EditOf(next)->hasFocus());
    QTest::keyClick(EditOf(next), Qt::Key_Return);
    EXPECT_TRUE(next->hasFocus());
    // After a click on the value it goes to the main window.
    ClickValue(gain_);
    QTest::keyClick(EditOf(gain_), Qt::Key_Tab);
    QTest::keyClick(EditOf(next), Qt::Key_Return);
    EXPECT_TRUE(windows_->mainWindow()->hasFocus());
}

TEST_F(UISliderTest, APasteBringsInWhatKeysMayType)
{
    ClickValue(gain_);
    QApplication::clipboard()->setText(QStringLiteral("gain = 1e2,5\n"));
    EditOf(gain_)->paste();
    EXPECT_EQ(EditOf(gain_)->text(), QStringLiteral("12,5"));
    EXPECT_STREQ(gain_->slider()->editText, "12,5");
    EXPECT_EQ(EditOf(gain_)->cursorPosition(), 4);
    QApplication::clipboard()->setText(QStringLiteral("inf"));
    EditOf(gain_)->paste();
    EXPECT_EQ(EditOf(gain_)->text(), QStringLiteral("12,5"));
    QTest::keyClick(EditOf(gain_), Qt::Key_Return);
    EXPECT_EQ(Gain(), 12.0f); // up to the comma
}

TEST_F(UISliderTest, ATurnThatWasBegunEndsWhenThePointerLeaves)
{
    Wheel(gain_, At(0.5), 119);
    QEvent leave(QEvent::Leave);
    QApplication::sendEvent(gain_, &leave);
    Wheel(gain_, At(0.5), 1);
    EXPECT_EQ(Gain(), 1.0f);
    Wheel(gain_, At(0.5), 119);
    EXPECT_GT(Gain(), 1.0f);
}

TEST_F(UISliderTest, TheKeysOfAReadoutsEditAreThoseOfASliders)
{
    ShowPageOf("levels_master");
    QCoreApplication::processEvents();
    UIValueWin* readout = nullptr;
    for (QWidget* widget : windows_->mainWindow()->tools()->shownPage()->findChildren<QWidget*>())
        if (auto* value = dynamic_cast<UIValueWin*>(widget); value && !readout) readout = value;
    ASSERT_NE(readout, nullptr);
    OpenEdit(session_, readout->slider());
    auto* edit = readout->findChild<QLineEdit*>();
    ASSERT_TRUE(edit && edit->isVisible());
    EXPECT_EQ(TKFocusOf(edit), tkFocusElsewhere); // Space plays, as with a slider's edit open
    EXPECT_EQ(TKFocusOf(EditOf(gain_)), tkFocusElsewhere);
    QLineEdit foreign;
    EXPECT_EQ(TKFocusOf(&foreign), tkFocusText);
    (void)CommitOpenEdit(session_, false);
}

TEST_F(UISliderTest, TabBringsTheNextEditIntoSight)
{
    TincturaMainWin* window = windows_->mainWindow();
    window->showNormal();
    window->resize(700, 420);
    QCoreApplication::processEvents();
    ClickValue(gain_);
    const SliderVars* first = gain_->slider();
    uint32_t count = 0;
    do {
        SliderVars* open = session_->controls.openSlider;
        ASSERT_NE(open, nullptr);
        QLineEdit* edit = EditOf(window->sliderOf(open));
        // Its first row lies above the slider.
        EXPECT_GE(edit->visibleRegion().boundingRect().height(), edit->height() - 1) << open->objectName;
        QTest::keyClick(edit, Qt::Key_Tab);
        ++count;
    } while (session_->controls.openSlider != first && count < 100);
    EXPECT_GE(count, 8u);
    EXPECT_LT(count, 100u);
}
