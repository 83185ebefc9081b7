// The application as a whole: in front or behind, and asked to end.
#include "tests/UI/UITest.h"

#include <QApplication>
#include <QDialog>
#include <QMessageBox>
#include <QTimer>
#include <unistd.h>

namespace {

class ApplicationTest : public UITest {
  protected:
    void SetUp() override
    {
        UITest::SetUp();
        ASSERT_EQ(pipe(ends_), 0);
        windows_->watchEndRequests(ends_[0]);
    }

    void TearDown() override
    {
        UITest::TearDown();
        for (const int end : ends_) close(end);
    }

    /// The message loop; one that does not end by itself gives 9 after some seconds.
    int RunLoop()
    {
        QTimer limit;
        QObject::connect(&limit, &QTimer::timeout, qApp, [] { QCoreApplication::exit(9); });
        limit.start(5000);
        return QCoreApplication::exec();
    }

    void AskForTheEnd() { ASSERT_EQ(write(ends_[1], "x", 1), 1); }

    bool IsPlaying() const { return session_->transport[kTKTransportLeft].running; }

    /// Plays, as by the space bar; the host answers at once.
    void Play()
    {
        host_.serve = [](TKTestHost* host) { host->SendFrames(); };
        host_.Block()->frameTimeMax = 2000000000; // more than can be played
        TKTogglePlay(session_, &session_->transport[kTKTransportLeft]);
        ASSERT_TRUE(IsPlaying());
    }

    int ends_[2] = {-1, -1};
};

} // namespace

TEST_F(ApplicationTest, AnotherWindowOfOursDoesNotStopThePlayback)
{
    Play();
    QDialog other(windows_->mainWindow());
    other.show();
    other.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&other));
    EXPECT_FALSE(windows_->mainWindow()->isActiveWindow());
    EXPECT_EQ(QGuiApplication::applicationState(), Qt::ApplicationActive);
    EXPECT_TRUE(IsPlaying());
}

TEST_F(ApplicationTest, AnotherApplicationInFrontStopsThePlayback)
{
    // Whichever of our windows was in front.
    QDialog other(windows_->mainWindow());
    other.show();
    other.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&other));
    Play();
    emit qApp->applicationStateChanged(Qt::ApplicationInactive);
    EXPECT_FALSE(IsPlaying());
    Play();
    emit qApp->applicationStateChanged(Qt::ApplicationActive);
    EXPECT_TRUE(IsPlaying()); // coming back stops nothing
}

TEST_F(ApplicationTest, BeforeTheInterfaceIsReadyNothingIsStopped)
{
    Play();
    session_->interfaceReady = false;
    emit qApp->applicationStateChanged(Qt::ApplicationInactive);
    EXPECT_TRUE(IsPlaying());
    session_->interfaceReady = true;
}

TEST_F(ApplicationTest, ARequestToEndEndsTheSessionAsExitDoes)
{
    QTimer::singleShot(0, qApp, [this] { AskForTheEnd(); });
    EXPECT_EQ(RunLoop(), 0);
    EXPECT_EQ(host_.Block()->status, kTKUIStatusUIDone);
    EXPECT_TRUE(session_->quitting);
    EXPECT_EQ(TKLogCount("The end of the process was asked for\n"), 1u);
    EXPECT_EQ(TKLogCount("was clicked"), 0u);
}

TEST_F(ApplicationTest, ABoxThatWaitsIsClosedAndWhatOpenedItGoesOnFirst)
{
    std::vector<std::string> order;
    QTimer::singleShot(0, qApp, [&] {
        QMessageBox box(QMessageBox::Critical, "Ochrine", "Words.", QMessageBox::Ok, windows_->mainWindow());
        QTimer::singleShot(50, qApp, [this] { AskForTheEnd(); });
        box.exec();
        order.push_back(session_->quitting ? "ended" : "open");
    });
    EXPECT_EQ(RunLoop(), 0);
    EXPECT_EQ(order, std::vector<std::string>{"open"});
    EXPECT_TRUE(session_->quitting);
}

TEST_F(ApplicationTest, AStartUpIsNotCutShort)
{
    session_->interfaceReady = false;
    AskForTheEnd();
    QTest::qWait(100);
    EXPECT_FALSE(session_->quitting);
    session_->interfaceReady = true;
    EXPECT_EQ(RunLoop(), 0); // as soon as it is up
    EXPECT_TRUE(session_->quitting);
}

TEST_F(ApplicationTest, AVisitBeginsWithNoButtonInTheFocusSoThatTheSpaceBarOnlyPlays)
{
    for (int visit = 0; visit < 2; ++visit) {
        EXPECT_EQ(QApplication::focusWidget(), windows_->mainWindow());
        host_.serve = [](TKTestHost* host) { host->SendFrames(); };
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Space);
        ASSERT_NE(TKBlockOf(session_), nullptr) << "a button was pressed, visit " << visit;
        EXPECT_TRUE(IsPlaying());
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Space);
        EXPECT_FALSE(IsPlaying());
        // The button with which a visit ended is not the one with which the next begins.
        windows_->mainWindow()->findChild<QWidget*>(QStringLiteral("Cancel"))->setFocus();
        DoMenuCommand(session_, kTKCommandCancel, nullptr);
        host_.Make();
        TKTick(session_);
        ASSERT_NE(TKBlockOf(session_), nullptr);
        QApplication::setActiveWindow(windows_->mainWindow());
    }
}
