// The curve editor's window under real events.
#include "src/UI/UICursorsWin.h"
#include "src/UI/UICurveWin.h"
#include "src/UI/UIKeysWin.h"
#include "src/UI/UIValueAccessWin.h"
#include "tests/UI/UITest.h"

#include <QAccessible>
#include <QMenu>

namespace {

class UICurveTest : public UITest {
  protected:
    void SetUp() override
    {
        UITest::SetUp();
        TKCreateCurve(session_, &vars_, "Red", "red", tkSectionCurveRed);
        pane_ = std::make_unique<QWidget>();
        curve_ = new UICurveWin(session_, &vars_, QStringLiteral("curve"), pane_.get());
        curve_->setGeometry(0, 0, 260, curve_->heightForWidth(260));
        pane_->resize(300, 360);
        pane_->show();
        QApplication::setActiveWindow(pane_.get());
        renders_ = session_->renderCount;
    }
    void TearDown() override
    {
        pane_.reset();
        UITest::TearDown();
    }
    HCurvePoints& Points() { return Live().rgbCurve[1].points.xy; }
    uint32_t Renders() const { return session_->renderCount - renders_; }
    void Down(double x, double y)
    {
        gBPFake.mouseButtonDown = true;
        QTest::mousePress(curve_, Qt::LeftButton, Qt::NoModifier, curve_->pointAt(x, y));
    }
    void To(double x, double y, Qt::MouseButtons buttons = Qt::LeftButton)
    {
        const QPoint point = curve_->pointAt(x, y);
        QMouseEvent event(QEvent::MouseMove, point, curve_->mapToGlobal(point), Qt::NoButton, buttons, Qt::NoModifier);
        QApplication::sendEvent(curve_, &event);
    }
    void Up(double x, double y)
    {
        gBPFake.mouseButtonDown = false;
        QTest::mouseRelease(curve_, Qt::LeftButton, Qt::NoModifier, curve_->pointAt(x, y));
    }

    CurveVars vars_ = {};
    std::unique_ptr<QWidget> pane_;
    UICurveWin* curve_ = nullptr;
    uint32_t renders_ = 0;
};

TEST_F(UICurveTest, APressMakesAPointADragMovesItAndTheReleaseRenders)
{
    Down(0.5, 0.5);
    ASSERT_EQ(Points().pointCount, 3);
    To(0.4, 0.7);
    EXPECT_NEAR(Points().x[1], 0.4f, 0.003f);
    EXPECT_NEAR(Points().y[1], 0.7f, 0.003f);
    EXPECT_EQ(Renders(), 0u);
    Up(0.4, 0.7);
    EXPECT_EQ(Renders(), 1u);
    EXPECT_EQ(session_->undoRing->undoAvailable, 1u);
    EXPECT_EQ(Live().rgbCurvesOn, 1u);
    EXPECT_TRUE(curve_->hasFocus());
    EXPECT_EQ(vars_.hoverPoint, 1);
}

TEST_F(UICurveTest, TheTimerRendersADragThatPausesAndEndsALostOne)
{
    Down(0.5, 0.5);
    EXPECT_TRUE(QTest::qWaitFor([&] { return Renders() == 1; }, 2000));
    gBPFake.mouseButtonDown = false;
    EXPECT_TRUE(QTest::qWaitFor([&] { return !vars_.dragging; }, 2000));
    To(0.9, 0.9);
    EXPECT_NEAR(Points().x[1], 0.5f, 0.003f);
}

TEST_F(UICurveTest, ADragEndsWhenTheWindowLosesTheGrab)
{
    for (const QEvent::Type type : {QEvent::UngrabMouse, QEvent::WindowDeactivate, QEvent::Hide}) {
        Down(0.5, 0.5);
        EXPECT_TRUE(vars_.dragging);
        QEvent event(type);
        QApplication::sendEvent(curve_, &event);
        EXPECT_FALSE(vars_.dragging) << type;
        Up(0.5, 0.5);
    }
}

TEST_F(UICurveTest, TheCursorIsOurArtworkAndTellsWhatAPressDoes)
{
    To(0.5, 0.9, Qt::NoButton);
    EXPECT_EQ(curve_->cursor().shape(), Qt::BitmapCursor);
    const QImage add = curve_->cursor().pixmap().toImage();
    To(0.01, 0.01, Qt::NoButton);
    const QImage point = curve_->cursor().pixmap().toImage();
    EXPECT_NE(add, point);
    EXPECT_EQ(point, UICursorOf(504, curve_->devicePixelRatioF()).pixmap().toImage());
    EXPECT_EQ(add, UICursorOf(505, curve_->devicePixelRatioF()).pixmap().toImage());
    QEvent leave(QEvent::Leave);
    QApplication::sendEvent(curve_, &leave);
    EXPECT_EQ(curve_->cursor().shape(), Qt::ArrowCursor);
}

TEST_F(UICurveTest, KeysMoveDeleteSelectAndInsert)
{
    Down(0.5, 0.5);
    Up(0.5, 0.5);
    const float x = Points().x[1];
    QTest::keyClick(curve_, Qt::Key_Right);
    QTest::keyClick(curve_, Qt::Key_Up);
    EXPECT_EQ(Points().x[1], x + 1.0f / 256);
    QTest::keyClick(curve_, Qt::Key_Insert);
    EXPECT_EQ(Points().pointCount, 4);
    QTest::keyClick(curve_, Qt::Key_PageUp);
    EXPECT_EQ(vars_.selectedPoint, 1);
    QTest::keyClick(curve_, Qt::Key_Delete);
    EXPECT_EQ(Points().pointCount, 3);
    QTest::keyClick(curve_, Qt::Key_PageDown);
    QTest::keyClick(curve_, Qt::Key_Backspace);
    EXPECT_EQ(Points().pointCount, 2);
    const uint32_t before = Renders();
    EXPECT_TRUE(QTest::qWaitFor([&] { return Renders() > before; }, 2000));
    EXPECT_EQ(TKFocusOf(curve_), tkFocusArrows);
}

TEST_F(UICurveTest, NameAndValueAreAnnounced)
{
    QAccessibleInterface* access = QAccessible::queryAccessibleInterface(curve_);
    ASSERT_TRUE(access);
    EXPECT_EQ(access->text(QAccessible::Name), QStringLiteral("Red curve"));
    EXPECT_EQ(access->text(QAccessible::Value), QStringLiteral("2 points"));
    Down(0, 0);
    Up(0, 0);
    EXPECT_EQ(access->text(QAccessible::Value), QStringLiteral("Point 1 of 2, Input 0, Output 0"));
}

TEST_F(UICurveTest, AssistiveToolsReadAndSetTheOutputOfTheSelectedPoint)
{
    QAccessibleValueInterface* value = QAccessible::queryAccessibleInterface(curve_)->valueInterface();
    ASSERT_TRUE(value);
    value->setCurrentValue(0.5); // of no point
    EXPECT_EQ(session_->undoRing->undoAvailable, 0u);
    vars_.selectedPoint = 1;
    EXPECT_EQ(value->currentValue().toDouble(), 1.0);
    value->setCurrentValue(0.5);
    value->setCurrentValue(0.25);
    EXPECT_EQ(Points().y[1], 0.25f);
    EXPECT_EQ(Points().x[1], 1.0f);
    EXPECT_EQ(value->currentValue().toDouble(), 0.25);
    EXPECT_EQ(session_->undoRing->undoAvailable, 1u);
    EXPECT_TRUE(QTest::qWaitFor([&] { return Renders() == 1; }, 2000));
    value->setCurrentValue(7);
    EXPECT_EQ(Points().y[1], 1.0f);
    value->setCurrentValue(std::nan(""));
    EXPECT_EQ(Points().y[1], 1.0f);
    Live().rgbCurve[1].curveKind = kTKCurveReadOnly;
    value->setCurrentValue(0.5);
    EXPECT_EQ(Points().y[1], 1.0f);
    EXPECT_EQ(value->currentValue().toDouble(), 0.0);
}

TEST_F(UICurveTest, AMouseThatPassesByAnnouncesNothing)
{
    QString announced;
    const auto announce = [&] { return UIAnnounceValue(curve_, curve_->valueText(), 0.0, &announced); };
    EXPECT_TRUE(announce());
    for (int i = 0; i < 20; ++i) {
        To(0.05 * i, 0.9, Qt::NoButton);
        EXPECT_FALSE(announce());
    }
    curve_->setFocus();
    QTest::keyClick(curve_, Qt::Key_PageDown);
    EXPECT_TRUE(announce());
}

TEST_F(UICurveTest, TheRightButtonOpensMenu200WithItsStates)
{
    Down(0.5, 0.5);
    Up(0.5, 0.5);
    const QPoint point = curve_->pointAt(0.3, 0.3);
    QContextMenuEvent event(QContextMenuEvent::Mouse, point, curve_->mapToGlobal(point));
    QApplication::sendEvent(curve_, &event);
    auto* menu = curve_->findChild<QMenu*>(QStringLiteral("menu200"));
    ASSERT_TRUE(menu);
    ASSERT_EQ(menu->actions().size(), 5);
    EXPECT_EQ(menu->actions()[4]->text(), QStringLiteral("Save Curves"));
    EXPECT_TRUE(menu->actions()[0]->isEnabled());
    menu->actions()[0]->trigger();
    EXPECT_EQ(Points().pointCount, 2);
    EXPECT_EQ(session_->undoRing->undoAvailable, 2u);
    menu->close();
}

TEST_F(UICurveTest, SaveCurvesAsksWithItsTextsAndWritesTheFile)
{
    const std::string path = ::testing::TempDir() + "saved.acv";
    gBPFake.fileAnswers.push_back(path);
    (void)TKCurveMenuSelect(session_, &vars_, tkCurveSave);
    ASSERT_EQ(gBPFake.fileQuestions.size(), 1u);
    EXPECT_EQ(gBPFake.fileQuestions[0].title, "Save Curve");
    EXPECT_EQ(gBPFake.fileQuestions[0].filter, "Curves (*.acv)");
    EXPECT_EQ(gBPFake.fileQuestions[0].defaultName, "Untitled Curve");
    FILE* file = std::fopen(path.c_str(), "rb");
    ASSERT_TRUE(file);
    uint8_t head[4] = {};
    EXPECT_EQ(std::fread(head, 1, 4, file), 4u);
    std::fclose(file);
    EXPECT_EQ(head[1], 1);
    EXPECT_EQ(head[3], 5);
    std::remove(path.c_str());
}

TEST_F(UICurveTest, ADoubleClickOnTheLabelResetsTheCurve)
{
    Down(0.5, 0.9);
    Up(0.5, 0.9);
    QTest::mouseDClick(curve_, Qt::LeftButton, Qt::NoModifier, QPoint(20, 4));
    EXPECT_EQ(Points().pointCount, 2);
}

TEST_F(UICurveTest, ALoadedTableIsDrawnAndTakesNoPress)
{
    const QImage before = curve_->grab().toImage();
    Live().rgbCurve[1].curveKind |= 1;
    for (float& sample : Live().rgbCurve[1].points.samples) sample = 0.5f;
    EXPECT_NE(curve_->grab().toImage(), before);
    Down(0.5, 0.8);
    Up(0.5, 0.8);
    EXPECT_EQ(Live().rgbCurve[1].points.samples[0], 0.5f);
    EXPECT_EQ(session_->undoRing->undoAvailable, 0u);
}

TEST_F(UICurveTest, EverySizeKeepsThePlotSquareAndInside)
{
    for (int width = 100; width <= 900; width += 37)
        for (int height = curve_->minimumSizeHint().height(); height <= 900; height += 41) {
            curve_->resize(width, height);
            const QRect plot = curve_->plotRect();
            EXPECT_EQ(plot.width(), plot.height());
            EXPECT_TRUE(curve_->rect().contains(plot.adjusted(-2, -2, 2, 2 + 44))) << width << " x " << height;
        }
}

} // namespace
