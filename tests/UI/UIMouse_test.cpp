// Mouse paths of transport, tabs and the handle between the panes: other buttons, drags beyond the window, and releases
// that never come.
#include "src/UI/UIHoldWin.h"
#include "src/UI/UIViewAreaWin.h"
#include "tests/UI/UITest.h"

#include <QApplication>
#include <QMouseEvent>

namespace {

/// What takes a release away. The last two are the mouse itself: it moves without the button, or presses it once more.
constexpr QEvent::Type kTakers[] = {QEvent::Hide, QEvent::WindowDeactivate, QEvent::UngrabMouse, QEvent::MouseMove};

class UIMouse : public UITest {
  protected:
    void SetUp() override
    {
        UITest::SetUp();
        host_.serve = [](TKTestHost* host) { host->SendFrames(); };
        windows_->mainWindow()->showNormal();
        windows_->mainWindow()->resize(1400, 900);
        QCoreApplication::processEvents();
    }
    UITransportWin* Transport() const { return Find<UITransportWin>("transport"); }
    UIViewAreaWin* Area() const { return Find<UIViewAreaWin>("view_area"); }
    UIHorizTabWin* Panes() const { return Find<UIHorizTabWin>("panes"); }
    int32_t Frame() { return host_.Block()->frameTime; }

    /// An event with buttons of its own: what a lost release leaves behind is told with the next one.
    static void Send(QWidget* widget, QEvent::Type type, QPoint point, Qt::MouseButton button, Qt::MouseButtons buttons)
    {
        QMouseEvent event(type, point, widget->mapToGlobal(point), button, buttons, Qt::NoModifier);
        QApplication::sendEvent(widget, &event);
    }
    static void PressAt(QWidget* widget, QPoint point, Qt::MouseButton button = Qt::LeftButton)
    {
        Send(widget, QEvent::MouseButtonPress, point, button, button);
    }
    static void ReleaseAt(QWidget* widget, QPoint point, Qt::MouseButton button = Qt::LeftButton,
                          Qt::MouseButtons rest = Qt::NoButton)
    {
        Send(widget, QEvent::MouseButtonRelease, point, button, rest);
    }
    static void DragTo(QWidget* widget, QPoint point, Qt::MouseButtons buttons = Qt::LeftButton)
    {
        Send(widget, QEvent::MouseMove, point, Qt::NoButton, buttons);
    }
    static void TakeAway(QWidget* widget, QEvent::Type taker, QPoint point)
    {
        if (taker == QEvent::MouseMove) {
            DragTo(widget, point, Qt::NoButton);
            return;
        }
        QEvent event(taker);
        if (taker == QEvent::Hide) {
            QHideEvent hide;
            QApplication::sendEvent(widget, &hide);
        } else {
            QApplication::sendEvent(widget, &event);
        }
    }
    QPoint ScrubPoint(double fraction) const
    {
        const QRect scrub = Transport()->scrubRect();
        return QPoint(scrub.left() + qRound(fraction * (scrub.width() - 1)), scrub.center().y());
    }
};

} // namespace

TEST(UIHold, EndsWithWhateverTakesTheMouseAwayAndNotWithTheReleaseItself)
{
    for (const QEvent::Type type : {QEvent::Hide, QEvent::WindowDeactivate, QEvent::UngrabMouse})
        EXPECT_TRUE(UIEndsHold(QEvent(type), Qt::LeftButton)) << type;
    for (const QEvent::Type type : {QEvent::Show, QEvent::Paint, QEvent::Leave, QEvent::WindowActivate})
        EXPECT_FALSE(UIEndsHold(QEvent(type), Qt::LeftButton)) << type;
    const auto mouse = [](QEvent::Type type, Qt::MouseButton button, Qt::MouseButtons buttons) {
        return QMouseEvent(type, QPointF(), QPointF(), button, buttons, Qt::NoModifier);
    };
    const Qt::MouseButton left = Qt::LeftButton, right = Qt::RightButton, middle = Qt::MiddleButton;
    EXPECT_FALSE(UIEndsHold(mouse(QEvent::MouseMove, Qt::NoButton, left), left));
    EXPECT_FALSE(UIEndsHold(mouse(QEvent::MouseMove, Qt::NoButton, left | right), left));
    EXPECT_TRUE(UIEndsHold(mouse(QEvent::MouseMove, Qt::NoButton, right), left));
    EXPECT_TRUE(UIEndsHold(mouse(QEvent::MouseMove, Qt::NoButton, left), middle));
    EXPECT_FALSE(UIEndsHold(mouse(QEvent::MouseButtonRelease, left, Qt::NoButton), left));
    EXPECT_FALSE(UIEndsHold(mouse(QEvent::MouseButtonPress, right, left | right), left));
    EXPECT_TRUE(UIEndsHold(mouse(QEvent::MouseButtonPress, left, left), left));
    EXPECT_TRUE(UIEndsHold(mouse(QEvent::MouseButtonDblClick, left, left), left));
}

TEST_F(UIMouse, TheScrubLineFollowsADragAndStopsAtBothEndsOfTheClip)
{
    PressAt(Transport(), ScrubPoint(0.2));
    EXPECT_EQ(Frame(), 200);
    DragTo(Transport(), ScrubPoint(0.6));
    EXPECT_EQ(Frame(), 500); // whole frames alone: 540 is nearer to 500
    DragTo(Transport(), QPoint(Transport()->width() + 5000, -400));
    EXPECT_EQ(Frame(), 900);
    DragTo(Transport(), QPoint(-5000, 400));
    EXPECT_EQ(Frame(), 0);
    DragTo(Transport(), ScrubPoint(1.0 / 3));
    EXPECT_EQ(Frame(), 300);
    ReleaseAt(Transport(), ScrubPoint(1.0 / 3));
    DragTo(Transport(), ScrubPoint(0.9), Qt::NoButton);
    EXPECT_EQ(Frame(), 300);
}

TEST_F(UIMouse, OtherButtonsNeitherScrubNorPressNorEndWhatTheLeftOneHolds)
{
    for (const Qt::MouseButton other : {Qt::RightButton, Qt::MiddleButton, Qt::BackButton}) {
        PressAt(Transport(), ScrubPoint(0.8), other);
        DragTo(Transport(), ScrubPoint(0.5), other);
        ReleaseAt(Transport(), ScrubPoint(0.5), other);
        EXPECT_EQ(Frame(), 0);
        const QPoint forward = Transport()->partRect(UITransportWin::kForward).center();
        PressAt(Transport(), forward, other);
        ReleaseAt(Transport(), forward, other);
        EXPECT_EQ(Frame(), 0);
        PressAt(Transport(), forward);
        Send(Transport(), QEvent::MouseButtonPress, forward, other, Qt::LeftButton | other);
        ReleaseAt(Transport(), forward, other, Qt::LeftButton);
        EXPECT_EQ(Frame(), 0);
        ReleaseAt(Transport(), forward);
        EXPECT_EQ(Frame(), 100);
        PressAt(Transport(), ScrubPoint(0));
        ReleaseAt(Transport(), ScrubPoint(0), other, Qt::LeftButton);
        DragTo(Transport(), ScrubPoint(2.0 / 3));
        EXPECT_EQ(Frame(), 600);
        DragTo(Transport(), ScrubPoint(0));
        ReleaseAt(Transport(), ScrubPoint(0));
    }
}

TEST_F(UIMouse, APartOfTheTransportThatIsReleasedBesideItDoesNothing)
{
    const QPoint last = Transport()->partRect(UITransportWin::kLast).center();
    PressAt(Transport(), last);
    DragTo(Transport(), last + QPoint(0, 60));
    ReleaseAt(Transport(), last + QPoint(0, 60));
    EXPECT_EQ(Frame(), 0);
    PressAt(Transport(), last);
    ReleaseAt(Transport(), Transport()->partRect(UITransportWin::kForward).center());
    EXPECT_EQ(Frame(), 0);
    PressAt(Transport(), last);
    DragTo(Transport(), last + QPoint(0, 60));
    DragTo(Transport(), last); // and back
    ReleaseAt(Transport(), last);
    EXPECT_EQ(Frame(), 900);
}

TEST_F(UIMouse, AScrubWhoseReleaseIsLostEnds)
{
    for (const QEvent::Type taker : kTakers) {
        PressAt(Transport(), ScrubPoint(1.0 / 3));
        ASSERT_EQ(Frame(), 300);
        TakeAway(Transport(), taker, ScrubPoint(0.8));
        DragTo(Transport(), ScrubPoint(0.9));
        EXPECT_EQ(Frame(), 300) << taker;
        ReleaseAt(Transport(), ScrubPoint(0.9));
    }
}

TEST_F(UIMouse, APartOfTheTransportWhoseReleaseIsLostIsNotPressed)
{
    const QPoint last = Transport()->partRect(UITransportWin::kLast).center();
    const QImage idle = Transport()->grab().toImage();
    for (const QEvent::Type taker : kTakers) {
        PressAt(Transport(), last);
        EXPECT_NE(Transport()->grab().toImage(), idle);
        TakeAway(Transport(), taker, ScrubPoint(0.8));
        EXPECT_EQ(Transport()->grab().toImage(), idle) << taker;
        ReleaseAt(Transport(), last);
        EXPECT_EQ(Frame(), 0) << taker;
    }
}

TEST_F(UIMouse, TheNextPressTakesThePlaceOfOneWhoseReleaseIsLost)
{
    PressAt(Transport(), Transport()->partRect(UITransportWin::kLast).center());
    PressAt(Transport(), ScrubPoint(1.0 / 3));
    EXPECT_EQ(Frame(), 300);
    ReleaseAt(Transport(), ScrubPoint(1.0 / 3));
    EXPECT_EQ(Frame(), 300);
}

TEST_F(UIMouse, TheHandleBetweenThePanesLetsGoWhenItsReleaseIsLost)
{
    for (const QEvent::Type taker : kTakers) {
        const QRect before = Area()->handleRect();
        PressAt(Area(), before.center());
        DragTo(Area(), before.center() + QPoint(20, 0));
        ASSERT_NEAR(Area()->handleRect().left(), before.left() + 20, 1);
        TakeAway(Area(), taker, before.center());
        DragTo(Area(), before.center() - QPoint(100, 0));
        EXPECT_NEAR(Area()->handleRect().left(), before.left() + 20, 1) << taker;
        ReleaseAt(Area(), before.center());
    }
}

TEST_F(UIMouse, OtherButtonsLeaveTheHandleBetweenThePanesAlone)
{
    const QPoint handle = Area()->handleRect().center();
    PressAt(Area(), handle);
    DragTo(Area(), handle + QPoint(90, 0));
    ReleaseAt(Area(), handle + QPoint(90, 0));
    const QRect placed = Area()->handleRect();
    for (const Qt::MouseButton other : {Qt::RightButton, Qt::MiddleButton}) {
        PressAt(Area(), placed.center(), other);
        DragTo(Area(), placed.center() - QPoint(60, 0), other);
        ReleaseAt(Area(), placed.center() - QPoint(60, 0), other);
        EXPECT_EQ(Area()->handleRect(), placed);
        Send(Area(), QEvent::MouseButtonDblClick, placed.center(), other, other);
        EXPECT_EQ(Area()->handleRect(), placed);
    }
    PressAt(Area(), placed.center());
    ReleaseAt(Area(), placed.center(), Qt::RightButton, Qt::LeftButton);
    DragTo(Area(), placed.center() - QPoint(30, 0));
    EXPECT_NEAR(Area()->handleRect().left(), placed.left() - 30, 1); // the left one is still down
    ReleaseAt(Area(), placed.center() - QPoint(30, 0));
    Send(Area(), QEvent::MouseButtonDblClick, Area()->handleRect().center(), Qt::LeftButton, Qt::LeftButton);
    EXPECT_NEAR(Area()->handleRect().center().x(), Area()->width() / 2, 2);
}

TEST_F(UIMouse, ACheckboxOfATabWhoseReleaseIsLostStaysAsItIs)
{
    const QPoint box = Panes()->switchRect(0).center();
    ASSERT_EQ(Live().primaryOn, 0u);
    for (const QEvent::Type taker : kTakers) {
        PressAt(Panes(), box);
        TakeAway(Panes(), taker, box);
        ReleaseAt(Panes(), box);
        EXPECT_EQ(Live().primaryOn, 0u) << taker;
    }
    PressAt(Panes(), box); // the next press is on a title: the box is not turned by its release
    PressAt(Panes(), Panes()->tabRect(2).center());
    ReleaseAt(Panes(), box);
    EXPECT_EQ(Live().primaryOn, 0u);
    EXPECT_EQ(Panes()->current(), 2);
    PressAt(Panes(), box);
    ReleaseAt(Panes(), box);
    EXPECT_EQ(Live().primaryOn, 1u);
}

TEST_F(UIMouse, OtherButtonsNeitherSelectATabNorTurnItsSectionOn)
{
    const QPoint box = Panes()->switchRect(0).center(), title = Panes()->tabRect(3).center();
    for (const Qt::MouseButton other : {Qt::RightButton, Qt::MiddleButton}) {
        PressAt(Panes(), box, other);
        ReleaseAt(Panes(), box, other);
        PressAt(Panes(), title, other);
        ReleaseAt(Panes(), title, other);
        EXPECT_EQ(Live().primaryOn, 0u);
        EXPECT_EQ(Panes()->current(), 0);
        PressAt(Panes(), box);
        ReleaseAt(Panes(), box, other, Qt::LeftButton);
        EXPECT_EQ(Live().primaryOn, 0u); // the left one is still down
        ReleaseAt(Panes(), box);
        EXPECT_EQ(Live().primaryOn, 1u);
        Live().primaryOn = 0;
    }
}

TEST_F(UIMouse, TheWheelOverABarOfTabsChangesNothing)
{
    for (const char* name : {"panes", "views", "analysis_tabs", "pane_hsl_tabs"}) {
        auto* bar = Find<UIHorizTabWin>(name);
        ASSERT_NE(bar, nullptr) << name;
        const int current = bar->current();
        const OCSettings before = Live();
        for (const int delta : {120, -120, 1200, -1200}) {
            Wheel(bar, bar->tabRect(1).center(), delta);
            EXPECT_EQ(bar->current(), current) << name;
        }
        EXPECT_EQ(std::memcmp(&before, &Live(), sizeof before), 0) << name;
    }
}
