// The hue offset wheel's window under real events.
#include "src/UI/UIHueOffsetWin.h"
#include "src/UI/UIKeysWin.h"
#include "src/UI/UIValueAccessWin.h"
#include "src/support/TKHueWheelImage.h"
#include "tests/UI/UITest.h"

#include <QAccessible>
#include <QMenu>
#include <cmath>

namespace {

class UIHueOffsetTest : public UITest {
  protected:
    void SetUp() override
    {
        UITest::SetUp();
        ASSERT_EQ(TKCreateHueOffset(session_, &vars_, "Midtones", "midtones",
                                    offsetof(OCSettings, hueOffset.midtones.tintangle),
                                    offsetof(OCSettings, hueOffset.midtones.strength), tkSectionHueOffsets),
                  bpNoErr);
        pane_ = std::make_unique<QWidget>();
        wheel_ = new UIHueOffsetWin(session_, &vars_, QStringLiteral("wheel"), pane_.get());
        wheel_->setGeometry(10, 10, 180, wheel_->heightForWidth(162));
        pane_->resize(220, 300);
        pane_->show();
        QApplication::setActiveWindow(pane_.get());
        centre_ =
            wheel_->wheelRect().topLeft() + QPoint(wheel_->wheelRect().width() / 2, wheel_->wheelRect().height() / 2);
        renders_ = session_->renderCount;
    }
    void TearDown() override
    {
        pane_.reset();
        session_->controls.sliderCount -= 2; // ours came last
        UITest::TearDown();
    }
    float Angle() { return Live().hueOffset.midtones.tintangle; }
    float Strength() { return Live().hueOffset.midtones.strength; }
    uint32_t Renders() const { return session_->renderCount - renders_; }
    void Down(QPoint offset, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        gBPFake.mouseButtonDown = true;
        QTest::mousePress(wheel_, Qt::LeftButton, modifiers, centre_ + offset);
    }
    void To(QPoint offset, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        QMouseEvent event(QEvent::MouseMove, centre_ + offset, wheel_->mapToGlobal(centre_ + offset), Qt::NoButton,
                          Qt::LeftButton, modifiers);
        QApplication::sendEvent(wheel_, &event);
    }
    void Up(QPoint offset)
    {
        gBPFake.mouseButtonDown = false;
        QTest::mouseRelease(wheel_, Qt::LeftButton, Qt::NoModifier, centre_ + offset);
    }
    QMenu* OpenMenu(QContextMenuEvent::Reason reason, QPoint point)
    {
        QContextMenuEvent event(reason, point, wheel_->mapToGlobal(point));
        QApplication::sendEvent(wheel_, &event);
        return wheel_->findChild<QMenu*>(QStringLiteral("menu201"));
    }

    HueOffsetVars vars_ = {};
    std::unique_ptr<QWidget> pane_;
    UIHueOffsetWin* wheel_ = nullptr;
    QPoint centre_;
    uint32_t renders_ = 0;
};

TEST_F(UIHueOffsetTest, ADragMovesTheTintAndIsOneStep)
{
    const int radius = vars_.radius;
    EXPECT_EQ(radius, 74);
    Down(QPoint(37, 0));
    EXPECT_FLOAT_EQ(Angle(), 103);
    EXPECT_FLOAT_EQ(Strength(), 0.5f);
    EXPECT_LE((wheel_->handlePoint() - centre_ - QPoint(37, 0)).manhattanLength(), 1); // parts of pixels are cut
    To(QPoint(0, 37));
    EXPECT_FLOAT_EQ(Angle(), 193);
    To(QPoint(0, 900)); // far outside the window
    EXPECT_EQ(Strength(), 1.0f);
    EXPECT_EQ(Renders(), 0u);
    Up(QPoint(0, 900));
    EXPECT_EQ(Renders(), 1u);
    EXPECT_EQ(session_->undoRing->undoAvailable, 1u);
    EXPECT_EQ(Live().hueOffsetOn, 1u);
    EXPECT_TRUE(wheel_->hasFocus());
}

TEST_F(UIHueOffsetTest, TheTimerOfTheWindowRendersWhileTheButtonIsDown)
{
    Down(QPoint(37, 0));
    EXPECT_TRUE(QTest::qWaitFor([&] { return Renders() == 1; }, 2000));
    QTest::qWait(40);
    EXPECT_EQ(Renders(), 1u);
    Up(QPoint(37, 0));
    EXPECT_EQ(Renders(), 1u);
}

TEST_F(UIHueOffsetTest, ADragWhoseReleaseNobodyTellsEndsByTheTimer)
{
    Down(QPoint(37, 0));
    gBPFake.mouseButtonDown = false;
    EXPECT_TRUE(QTest::qWaitFor([&] { return !vars_.captured; }, 2000));
    To(QPoint(0, 20));
    EXPECT_FLOAT_EQ(Angle(), 103);
}

TEST_F(UIHueOffsetTest, ADragEndsWhenTheWindowLosesTheGrab)
{
    for (const QEvent::Type type : {QEvent::UngrabMouse, QEvent::WindowDeactivate, QEvent::Hide}) {
        Down(QPoint(37, 0));
        EXPECT_TRUE(vars_.captured);
        QEvent event(type);
        QApplication::sendEvent(wheel_, &event);
        EXPECT_FALSE(vars_.captured) << type;
        Up(QPoint(37, 0));
    }
}

TEST_F(UIHueOffsetTest, ShiftDragsFinely)
{
    Down(QPoint(37, 0));
    Up(QPoint(37, 0));
    Down(QPoint(-50, 0), Qt::ShiftModifier);
    EXPECT_FLOAT_EQ(Strength(), 0.5f);
    To(QPoint(-30, 0), Qt::ShiftModifier);
    EXPECT_NEAR(Strength(), 39.0f / 74, 1e-5f);
    Up(QPoint(-30, 0));
}

TEST_F(UIHueOffsetTest, TheSlidersBelowFollowAndLead)
{
    Down(QPoint(37, 0));
    Up(QPoint(37, 0));
    EXPECT_STREQ(vars_.hueSlider.valueText, "103.00");
    UISliderWin* strength = wheel_->sliderOf(&vars_.strengthSlider);
    ASSERT_TRUE(strength);
    EXPECT_EQ(strength->objectName(), QStringLiteral("wheel_strength"));
    EXPECT_EQ(wheel_->sliderOf(nullptr), nullptr);
    QTest::mouseClick(strength, Qt::LeftButton, Qt::NoModifier, strength->trackRect().center());
    EXPECT_NEAR(Strength(), 0.5f, 0.01f);
    EXPECT_NEAR(vars_.handleX, 37, 1);
    QTest::mouseClick(strength, Qt::LeftButton, Qt::NoModifier,
                      QPoint(strength->trackRect().left(), strength->trackRect().center().y()));
    EXPECT_EQ(vars_.handleX, 0);
}

TEST_F(UIHueOffsetTest, KeysMoveTheHandleAndAreAnnounced)
{
    wheel_->setFocus();
    QTest::keyClick(wheel_, Qt::Key_Right);
    QTest::keyClick(wheel_, Qt::Key_Right, Qt::ShiftModifier);
    EXPECT_NEAR(Strength(), 0.022f, 1e-6f);
    QTest::keyClick(wheel_, Qt::Key_Up);
    EXPECT_GT(Strength(), 0.022f);
    EXPECT_EQ(session_->undoRing->undoAvailable, 1u);
    EXPECT_TRUE(QTest::qWaitFor([&] { return Renders() == 1; }, 2000));
    EXPECT_EQ(TKFocusOf(wheel_), tkFocusArrows);
    QAccessibleInterface* access = QAccessible::queryAccessibleInterface(wheel_);
    ASSERT_TRUE(access);
    EXPECT_EQ(access->role(), QAccessible::Dial);
    EXPECT_EQ(access->text(QAccessible::Name), QStringLiteral("Midtones hue wheel"));
    EXPECT_TRUE(access->text(QAccessible::Value).startsWith(QStringLiteral("Hue ")));
    EXPECT_TRUE(access->text(QAccessible::Value).endsWith(QStringLiteral("Strength 0.03")));
}

TEST_F(UIHueOffsetTest, AssistiveToolsReadAndSetTheStrength)
{
    QAccessibleInterface* access = QAccessible::queryAccessibleInterface(wheel_);
    QAccessibleValueInterface* value = access->valueInterface();
    ASSERT_TRUE(value);
    EXPECT_EQ(value->currentValue().toDouble(), 0.0);
    EXPECT_EQ(value->minimumValue().toDouble(), 0.0);
    EXPECT_EQ(value->maximumValue().toDouble(), 1.0);
    EXPECT_GT(value->minimumStepSize().toDouble(), 0.0);
    value->setCurrentValue(0.5);
    value->setCurrentValue(0.75);
    EXPECT_EQ(Strength(), 0.75f);
    EXPECT_EQ(value->currentValue().toDouble(), 0.75);
    EXPECT_EQ(session_->undoRing->undoAvailable, 1u);
    EXPECT_EQ(Live().hueOffsetOn, 1u);
    for (const QVariant& bad : {QVariant(QStringLiteral("much")), QVariant(std::nan("")), QVariant()})
        value->setCurrentValue(bad);
    EXPECT_EQ(Strength(), 0.75f);
}

TEST_F(UIHueOffsetTest, AValueIsAnnouncedOnceAndOnlyWhenItsWordsAreOthers)
{
    QString announced;
    const auto announce = [&] { return UIAnnounceValue(wheel_, wheel_->valueText(), 0.0, &announced); };
    EXPECT_TRUE(announce());
    SetHueOffsetStrength(&vars_, 0.5f, true);
    EXPECT_TRUE(announce());
    EXPECT_FALSE(announce());
    SetHueOffsetStrength(&vars_, 0.5004f, true); // still "0.50"
    EXPECT_FALSE(announce());
    SetHueOffsetAngle(&vars_, 90, true);
    EXPECT_TRUE(announce());
    EXPECT_EQ(announced, QStringLiteral("Hue 90.00, Strength 0.50"));
}

TEST_F(UIHueOffsetTest, AWheelThatIsDisabledInADragLetsGo)
{
    Down(QPoint(30, 0));
    wheel_->setEnabled(false);
    EXPECT_FALSE(vars_.captured);
    EXPECT_FALSE(vars_.enabled);
    EXPECT_EQ(Renders(), 1u); // what was held back
    const float strength = Strength();
    To(QPoint(5, 5));
    EXPECT_EQ(Strength(), strength);
    wheel_->setEnabled(true);
    EXPECT_TRUE(vars_.enabled);
}

TEST_F(UIHueOffsetTest, TheRightButtonOpensMenu201InTheWheelsRowsOnly)
{
    Down(QPoint(37, 0));
    Up(QPoint(37, 0));
    EXPECT_EQ(OpenMenu(QContextMenuEvent::Mouse, QPoint(5, 5)), nullptr);
    EXPECT_EQ(OpenMenu(QContextMenuEvent::Mouse, QPoint(5, wheel_->height() - 5)), nullptr);
    QMenu* menu = OpenMenu(QContextMenuEvent::Mouse, QPoint(1, centre_.y())); // beside the circle
    ASSERT_TRUE(menu);
    ASSERT_EQ(menu->actions().size(), 2);
    EXPECT_EQ(menu->actions()[0]->text(), QStringLiteral("Reset Hue Wheel"));
    EXPECT_EQ(menu->actions()[1]->text(), QStringLiteral("Reset All Hue Wheels"));
    menu->actions()[0]->trigger();
    EXPECT_EQ(Strength(), 0.0f);
    EXPECT_EQ(session_->undoRing->undoAvailable, 2u);
    menu->close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QMenu* byKey = OpenMenu(QContextMenuEvent::Keyboard, QPoint(5, 5));
    ASSERT_TRUE(byKey);
    byKey->close();
}

TEST_F(UIHueOffsetTest, ADoubleClickOnTheLabelResetsOneOnTheWheelDrags)
{
    Down(QPoint(37, 0));
    Up(QPoint(37, 0));
    gBPFake.mouseButtonDown = true;
    QTest::mouseDClick(wheel_, Qt::LeftButton, Qt::NoModifier, centre_ + QPoint(0, 37));
    gBPFake.mouseButtonDown = false;
    EXPECT_FLOAT_EQ(Angle(), 193);
    QTest::mouseDClick(wheel_, Qt::LeftButton, Qt::NoModifier, QPoint(wheel_->width() / 2, 4));
    EXPECT_EQ(Strength(), 0.0f);
}

TEST_F(UIHueOffsetTest, UndoMovesTheHandleBack)
{
    Down(QPoint(37, 0));
    Up(QPoint(37, 0));
    EXPECT_TRUE(TKUndoStepBack(session_));
    (void)TKUpdateHueOffset(&vars_, &Live(), nullptr, false);
    EXPECT_EQ(wheel_->handlePoint(), centre_);
    EXPECT_STREQ(vars_.strengthSlider.valueText, "0.00");
}

TEST_F(UIHueOffsetTest, EverySizeKeepsWheelAndSlidersInsideAndApart)
{
    for (int width = 120; width <= 700; width += 23)
        for (int height = wheel_->minimumSizeHint().height(); height <= 700; height += 31) {
            wheel_->resize(width, height);
            const QRect wheel = wheel_->wheelRect();
            EXPECT_EQ(wheel.width(), wheel.height());
            EXPECT_TRUE(wheel_->rect().contains(wheel)) << width << " x " << height;
            for (const SliderVars* slider : {&vars_.hueSlider, &vars_.strengthSlider}) {
                const QRect place = wheel_->sliderOf(slider)->geometry();
                EXPECT_TRUE(wheel_->rect().contains(place)) << width << " x " << height;
                EXPECT_FALSE(place.intersects(wheel));
            }
        }
}

TEST_F(UIHueOffsetTest, ThePictureShowsTheWheelsColoursAndTheFocus)
{
    wheel_->clearFocus();
    const QImage plain = wheel_->grab().toImage();
    const QPoint left = centre_ - QPoint(40, 0); // screen angle 180: tint angle 283
    const QColor color = plain.pixelColor(left * plain.devicePixelRatio());
    const ScopeColor expected = DesaturateColor(TKHueWheelColor(-40, 0, 74), session_->prefs.uiSaturation);
    EXPECT_NEAR(color.red(), expected.red >> 8, 1);
    EXPECT_NEAR(color.green(), expected.green >> 8, 1);
    EXPECT_NEAR(color.blue(), expected.blue >> 8, 1);
    wheel_->setFocus();
    EXPECT_NE(wheel_->grab().toImage(), plain);
}

} // namespace
