// Paths through the picture's window that cross others: a view that changes under a drag, releases that never come, a
// probe under a resting pointer, the focus, and views without a picture.
#include "src/UI/UIStyleWin.h"
#include "src/UI/UIViewAreaWin.h"
#include "tests/UI/UITest.h"

#include <QApplication>
#include <QMouseEvent>

namespace {

class UIPicturePaths : public UITest {
  protected:
    void SetUp() override
    {
        UITest::SetUp();
        windows_->mainWindow()->showNormal();
        windows_->mainWindow()->resize(1280, 900);
        QCoreApplication::processEvents();
        TKCreateEyedropper(&dropper_, triple_, 0, tkSectionNone, "Test", "test");
        dropper_.repaint = dropper_.opensUndo = false;
    }
    void TearDown() override
    {
        TKPickCancel(session_);
        UITest::TearDown();
    }
    UIImagePaneWin* Picture() const { return Find<UIImagePaneWin>("picture"); }
    QPoint Middle() const { return Picture()->pictureRect().center(); }
    QImage Shot() const { return Picture()->grab().toImage(); }
    void Letter(char letter) { QTest::keyClick(windows_->mainWindow(), letter, Qt::ShiftModifier); }

    void Send(QEvent::Type type, QPoint point, Qt::MouseButton button, Qt::MouseButtons buttons)
    {
        pointer_ = Picture()->mapToGlobal(point);
        QMouseEvent event(type, point, pointer_, button, buttons, Qt::NoModifier);
        QApplication::sendEvent(Picture(), &event);
    }
    void PressAt(QPoint point, Qt::MouseButton button = Qt::LeftButton)
    {
        Send(QEvent::MouseButtonPress, point, button, button);
    }
    void DragTo(QPoint point, Qt::MouseButtons buttons = Qt::LeftButton)
    {
        Send(QEvent::MouseMove, point, Qt::NoButton, buttons);
    }
    void ReleaseAt(QPoint point, Qt::MouseButton button = Qt::LeftButton)
    {
        Send(QEvent::MouseButtonRelease, point, button, Qt::NoButton);
    }
    void Hover(QPoint point) { DragTo(point, Qt::NoButton); }
    void Leave()
    {
        QEvent event(QEvent::Leave);
        QApplication::sendEvent(Picture(), &event);
    }

    /// Whether the probe is on the pixel that is now under the place where the pointer was last.
    testing::AssertionResult ProbeIsUnderPointer() const
    {
        const QPoint point = Picture()->mapFromGlobal(pointer_);
        const ImagePaneVars& pane = Picture()->pane();
        const TKViews& views = session_->views;
        const bool over = TKIsOverPicture(pane, point.x(), point.y());
        if (over != views.probeHasPixel)
            return testing::AssertionFailure() << "a pixel: " << views.probeHasPixel << " instead of " << over;
        const TKPicturePoint wanted = TKPicturePointQuietly(pane, point.x(), point.y());
        if (!over || (wanted.x == views.probeX && wanted.y == views.probeY)) return testing::AssertionSuccess();
        return testing::AssertionFailure()
               << views.probeX << ", " << views.probeY << " instead of " << wanted.x << ", " << wanted.y;
    }

    QPoint pointer_; // on the desktop
    TKEyedropper dropper_ = {};
    float triple_[3] = {};
};

} // namespace

// The probe -----------------------------------------------------------------------------------------------------------

TEST_F(UIPicturePaths, TheProbeStaysUnderARestingPointerWhateverMovesThePicture)
{
    session_->views.probeOn = true;
    const QRect shown = Picture()->pictureRect();
    const auto wheel = [this](int delta) { Wheel(Picture(), Picture()->mapFromGlobal(pointer_), delta); };
    Hover(shown.topLeft() + QPoint(3, 3));
    wheel(120 * 6); // 8x in a corner
    Hover(shown.bottomRight() - QPoint(60, 60));
    ASSERT_TRUE(ProbeIsUnderPointer());
    for (int notch = 0; notch < 6; ++notch) {
        wheel(-120); // the pan is clamped: another pixel comes under the pointer
        EXPECT_TRUE(ProbeIsUnderPointer()) << notch;
    }
    for (const int key : {Qt::Key_Plus, Qt::Key_Plus, Qt::Key_Minus, Qt::Key_Plus}) {
        QTest::keyClick(Picture(), static_cast<Qt::Key>(key));
        EXPECT_TRUE(ProbeIsUnderPointer());
    }
    for (const Qt::Key key : {Qt::Key_Right, Qt::Key_Down, Qt::Key_Left, Qt::Key_Up}) {
        QTest::keyClick(Picture(), key, Qt::ShiftModifier);
        EXPECT_TRUE(ProbeIsUnderPointer()) << key;
    }
    QTest::mouseClick(Picture(), Qt::LeftButton, Qt::NoModifier, Picture()->mapFromGlobal(pointer_));
    EXPECT_TRUE(ProbeIsUnderPointer());
}

TEST_F(UIPicturePaths, TheProbeStaysUnderARestingPointerInAnotherSizeLayoutAspectAndView)
{
    session_->views.probeOn = true;
    Hover(Picture()->pictureRect().center() + QPoint(70, 40));
    ASSERT_TRUE(ProbeIsUnderPointer());
    const int32_t before = session_->views.probeX;
    windows_->mainWindow()->resize(1500, 1000);
    QCoreApplication::processEvents();
    EXPECT_TRUE(ProbeIsUnderPointer());
    EXPECT_NE(session_->views.probeX, before);
    QTest::keyClick(windows_->mainWindow(), Qt::Key_1, Qt::ControlModifier);
    EXPECT_TRUE(ProbeIsUnderPointer());
    QTest::keyClick(windows_->mainWindow(), Qt::Key_2, Qt::ControlModifier);
    EXPECT_TRUE(ProbeIsUnderPointer());
    session_->pixelAspect = 0.5f;
    TK_UI(session_, pixelAspectChanged, 0.5f);
    EXPECT_TRUE(ProbeIsUnderPointer());
    Letter('F'); // no reference picture: nothing under the pointer
    EXPECT_FALSE(session_->views.probeHasPixel);
    Letter('S');
    EXPECT_TRUE(session_->views.probeHasPixel);
    EXPECT_TRUE(ProbeIsUnderPointer());
}

TEST_F(UIPicturePaths, WithThePointerElsewhereNothingBringsTheProbesPixelBack)
{
    session_->views.probeOn = true;
    Hover(Middle());
    ASSERT_TRUE(session_->views.probeHasPixel);
    Leave();
    EXPECT_FALSE(session_->views.probeHasPixel);
    QTest::keyClick(Picture(), Qt::Key_Plus);
    Letter('S');
    windows_->mainWindow()->resize(1400, 950);
    QCoreApplication::processEvents();
    RefreshAfterRender(session_, true);
    EXPECT_FALSE(session_->views.probeHasPixel);
}

TEST_F(UIPicturePaths, TheDisplayReferenceNeverMovesTheProbe)
{
    session_->views.probeOn = true;
    Hover(Middle());
    const int32_t x = session_->views.probeX, y = session_->views.probeY;
    Find<UIAnalysisPaneWin>("analysis")->selectTab(scopeTabReference);
    auto* reference = Find<UIImagePaneWin>("reference");
    QMouseEvent event(QEvent::MouseMove, QPointF(9, 9), reference->mapToGlobal(QPointF(9, 9)), Qt::NoButton,
                      Qt::NoButton, Qt::NoModifier);
    QApplication::sendEvent(reference, &event);
    EXPECT_TRUE(session_->views.probeHasPixel);
    EXPECT_EQ(session_->views.probeX, x);
    EXPECT_EQ(session_->views.probeY, y);
}

// Releases that never come --------------------------------------------------------------------------------------------

TEST_F(UIPicturePaths, APanWhoseReleaseIsLostEndsWithTheNextMove)
{
    Wheel(Picture(), Middle(), 720);
    PressAt(Middle(), Qt::MiddleButton);
    DragTo(Middle() + QPoint(10, 0), Qt::MiddleButton);
    EXPECT_EQ(Picture()->cursor().shape(), Qt::ClosedHandCursor);
    const double panned = Picture()->pane().panX;
    Hover(Middle() + QPoint(60, 0));
    EXPECT_EQ(Picture()->pane().panX, panned);
    EXPECT_NE(Picture()->cursor().shape(), Qt::ClosedHandCursor);
    PressAt(Middle(), Qt::MiddleButton); // and the next one pans again
    DragTo(Middle() + QPoint(10, 0), Qt::MiddleButton);
    EXPECT_LT(Picture()->pane().panX, panned);
    QEvent event(QEvent::WindowDeactivate);
    QApplication::sendEvent(Picture(), &event);
    EXPECT_NE(Picture()->cursor().shape(), Qt::ClosedHandCursor); // without a move
}

TEST_F(UIPicturePaths, AnEndOfTheSplitWhoseReleaseIsLostStaysWhereItIs)
{
    Letter('I');
    const QRect shown = Picture()->pictureRect();
    for (const Qt::MouseButtons rest : {Qt::MouseButtons(Qt::NoButton), Qt::MouseButtons(Qt::RightButton)}) {
        session_->views.split = ScopeDefaultSplitLine();
        PressAt(QPoint(shown.center().x() + 1, shown.top()));
        DragTo(QPoint(shown.left() + shown.width() / 4, shown.top()));
        ASSERT_NEAR(session_->views.split.x1, 0.25f, 0.01f);
        DragTo(QPoint(shown.right(), shown.top()), rest);
        EXPECT_NEAR(session_->views.split.x1, 0.25f, 0.01f);
        ReleaseAt(QPoint(shown.right(), shown.top()));
    }
}

TEST_F(UIPicturePaths, APickWhoseReleaseIsLostWaitsForAnotherPress)
{
    (void)TKEyedropperClick(session_, &dropper_, 0);
    PressAt(Middle());
    Hover(Middle() + QPoint(9, 9)); // the release went to a menu
    ReleaseAt(Middle());
    EXPECT_TRUE(TKIsPicking(session_));
    EXPECT_EQ(triple_[2], 0);
    PressAt(Middle());
    ReleaseAt(Middle());
    EXPECT_FALSE(TKIsPicking(session_));
    EXPECT_NEAR(triple_[2], 200.0f / 255.0f, 0.002f);
}

// Views that change meanwhile -----------------------------------------------------------------------------------------

TEST_F(UIPicturePaths, AnEndOfTheSplitIsLetGoWhenTheViewChanges)
{
    Letter('I');
    const QRect shown = Picture()->pictureRect();
    PressAt(QPoint(shown.center().x() + 1, shown.top()));
    DragTo(QPoint(shown.left() + shown.width() / 4, shown.top()));
    const ScopeSplitLine placed = session_->views.split;
    ASSERT_NEAR(placed.x1, 0.25f, 0.01f);
    for (const char letter : {'R', 'I'}) { // another one, and back
        Letter(letter);
        DragTo(QPoint(shown.right(), shown.top()));
        EXPECT_EQ(session_->views.split.x1, placed.x1) << letter;
        EXPECT_EQ(session_->views.split.y1, placed.y1) << letter;
    }
    ReleaseAt(QPoint(shown.right(), shown.top()));
    EXPECT_EQ(session_->views.split.x1, placed.x1);
}

TEST_F(UIPicturePaths, APickStaysOpenWhenTheViewChangesAndTheReleaseStoresNothing)
{
    (void)TKEyedropperClick(session_, &dropper_, 0);
    PressAt(Middle());
    Letter('S');
    ReleaseAt(Middle());
    EXPECT_TRUE(TKIsPickingFor(session_, &dropper_));
    for (const float component : triple_) EXPECT_EQ(component, 0);
    PressAt(Middle());
    ReleaseAt(Middle());
    EXPECT_FALSE(TKIsPicking(session_));
    EXPECT_NEAR(triple_[2], 200.0f / 255.0f, 0.002f);
}

TEST_F(UIPicturePaths, EscapeInTheMiddleOfAPickStoresNothingAndTheReleaseZoomsNothing)
{
    (void)TKEyedropperClick(session_, &dropper_, 0);
    PressAt(Middle());
    DragTo(Middle() + QPoint(4, 4));
    QTest::keyClick(windows_->mainWindow(), Qt::Key_Escape);
    EXPECT_FALSE(TKIsPicking(session_));
    DragTo(Middle() + QPoint(8, 8));
    ReleaseAt(Middle() + QPoint(8, 8));
    for (const float component : triple_) EXPECT_EQ(component, 0);
    EXPECT_EQ(Picture()->pane().zoom, 1.0f);
    PressAt(Middle()); // a press is a click again
    EXPECT_EQ(Picture()->pane().zoom, 0.6667f);
}

TEST_F(UIPicturePaths, AViewWithoutAPictureKeepsThePlaceForTheOthers)
{
    Wheel(Picture(), Middle() + QPoint(50, 30), 720);
    const ImagePaneVars before = Picture()->pane();
    ASSERT_GT(before.panX, 0);
    ASSERT_GT(before.panY, 0);
    Letter('F');
    ASSERT_EQ(Picture()->pane().surface, nullptr); // there is no reference picture
    QTest::keyClick(Picture(), Qt::Key_Right, Qt::ShiftModifier);
    QTest::keyClick(Picture(), Qt::Key_Minus);
    Letter('R');
    EXPECT_EQ(Picture()->pane().zoom, before.zoom);
    EXPECT_EQ(Picture()->pane().panX, before.panX);
    EXPECT_EQ(Picture()->pane().panY, before.panY);
}

// Keys, and what shows where they go ----------------------------------------------------------------------------------

TEST_F(UIPicturePaths, ShiftAndArrowsPanWithoutReadingAColour)
{
    auto* sample = windows_->mainWindow()->tools()->sample();
    sample->eyedropper()->click();
    Leave();
    ASSERT_FALSE(session_->pick.sampled);
    BPFakeCaptureLog();
    for (const int zoomed : {0, 720}) { // nothing to pan, and something
        Wheel(Picture(), Middle(), zoomed);
        for (const Qt::Key key : {Qt::Key_Left, Qt::Key_Right, Qt::Key_Up, Qt::Key_Down}) {
            QTest::keyClick(Picture(), key, Qt::ShiftModifier);
            EXPECT_FALSE(session_->pick.sampled) << key;
        }
    }
    EXPECT_EQ(TKLogCount("computed pt"), 0u);
    const double panX = Picture()->pane().panX;
    QTest::keyClick(Picture(), Qt::Key_Right, Qt::ShiftModifier);
    EXPECT_GT(Picture()->pane().panX, panX);
}

TEST_F(UIPicturePaths, APickThatAKeyBeginsLightsNoHandleThatThePointerHasLeft)
{
    Letter('I');
    const QRect shown = Picture()->pictureRect();
    const QImage idle = Shot();
    Hover(QPoint(shown.center().x() + 1, shown.top()));
    EXPECT_NE(Shot(), idle); // the handle under the pointer
    Leave();
    EXPECT_EQ(Shot(), idle);
    (void)TKEyedropperClick(session_, &dropper_, 0);
    EXPECT_EQ(Shot(), idle);
    TKPickCancel(session_);
    EXPECT_EQ(Shot(), idle);
}

TEST_F(UIPicturePaths, ThePictureThatHasTheFocusShowsIt)
{
    Find<UIAnalysisPaneWin>("analysis")->selectTab(scopeTabReference);
    for (const char* name : {"picture", "reference"}) { // one with a picture, one without
        auto* window = Find<UIImagePaneWin>(name);
        windows_->mainWindow()->setFocus();
        const QImage idle = window->grab().toImage();
        window->setFocus(Qt::TabFocusReason);
        ASSERT_TRUE(window->hasFocus());
        const QImage shot = window->grab().toImage();
        const QRgb color = UIShadesNow().accent.lighter(140).rgb();
        for (int x = 0; x < shot.width(); ++x) {
            ASSERT_EQ(shot.pixel(x, 0), color) << name;
            ASSERT_EQ(shot.pixel(x, shot.height() - 1), color) << name;
        }
        for (int y = 0; y < shot.height(); ++y) {
            ASSERT_EQ(shot.pixel(0, y), color) << name;
            ASSERT_EQ(shot.pixel(shot.width() - 1, y), color) << name;
        }
        const QRect inside = shot.rect().adjusted(2, 2, -2, -2); // the picture's own area is not touched
        EXPECT_EQ(shot.copy(inside), idle.copy(inside)) << name;
        windows_->mainWindow()->setFocus();
        EXPECT_EQ(window->grab().toImage(), idle) << name;
    }
}
