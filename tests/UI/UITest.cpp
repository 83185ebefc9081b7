#include "tests/UI/UITest.h"

#include <QApplication>
#include <QWheelEvent>
#include <cstdlib>

void UITest::SetUp()
{
    BPFakeReset();
    BPFakeCaptureLog();
    gBPFake.alive[kHostProcess] = true;
    BPFillFakePlatform(&platform_);
    gBPFake.hookContext = &host_;
    gBPFake.onSleep = [](void* context, uint32_t) {
        auto* host = static_cast<TKTestHost*>(context);
        if (host->serve) host->serve(host);
    };
    host_.width = 64;
    host_.height = 36;
    host_.rowBytes = 64 * 4;
    host_.Make();
    windows_ = std::make_unique<TKWindowsWin>();
    const TKUserInterface ui = windows_->interface();
    ASSERT_EQ(TKCreateSession(&platform_, &ui, &session_), bpNoErr);
    windows_->setSession(session_);
    ASSERT_EQ(TKStartUp(session_), tkStartRun);
    ASSERT_TRUE(windows_->mainWindow()->isVisible());
    QApplication::setActiveWindow(windows_->mainWindow());
}

void UITest::TearDown()
{
    if (session_) {
        if (TKBlockOf(session_)) TKEndSession(session_, kTKCommandExit);
        (void)TKFinish(session_);
    }
    windows_->dispose();
    TKDisposeSession(session_);
    BPFakeReset();
}

UISliderWin* UITest::Slider(const char* name) const
{
    return Find<UISliderWin>(name);
}

QLineEdit* UITest::EditOf(UISliderWin* slider) const
{
    return slider->findChild<QLineEdit*>();
}

void UITest::ShowPageOf(const char* prefix)
{
    for (const TKPagePath& path : TKToolPages())
        if (std::string(path.page->prefix) == prefix)
            windows_->mainWindow()->tools()->selectTabs(path.tab[0], path.tab[1], path.tab[2]);
}

namespace {

QPoint TrackPoint(const UISliderWin* slider, double fraction)
{
    const QRect track = slider->trackRect();
    return QPoint(track.left() + qRound(fraction * track.width()), track.center().y());
}

} // namespace

void UITest::Press(UISliderWin* slider, double fraction, Qt::KeyboardModifiers modifiers)
{
    QTest::mouseClick(slider, Qt::LeftButton, modifiers, TrackPoint(slider, fraction));
}

void UITest::Drag(UISliderWin* slider, double from, double to)
{
    gBPFake.mouseButtonDown = true;
    QTest::mousePress(slider, Qt::LeftButton, Qt::NoModifier, TrackPoint(slider, from));
    for (int step = 1; step <= 5; ++step) QTest::mouseMove(slider, TrackPoint(slider, from + (to - from) * step / 5));
    QTest::mouseRelease(slider, Qt::LeftButton, Qt::NoModifier, TrackPoint(slider, to));
    gBPFake.mouseButtonDown = false;
    Tick();
}

void UITest::ClickValue(UISliderWin* slider, Qt::KeyboardModifiers modifiers)
{
    QTest::mouseClick(slider, Qt::LeftButton, modifiers, slider->valueRect().center());
}

void UITest::Wheel(QWidget* widget, QPoint point, int delta)
{
    QWheelEvent event(point, widget->mapToGlobal(point), QPoint(), QPoint(0, delta), Qt::NoButton, Qt::NoModifier,
                      Qt::NoScrollPhase, false);
    QApplication::sendEvent(widget, &event);
}

int main(int argc, char** argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    const QByteArray screens = qgetenv("OC_SOURCE_DIR") + "/tests/data/screens.json";
    qputenv("QT_QPA_PLATFORM", "offscreen:configfile=" + screens);
    QApplication application(argc, argv);
    application.setQuitOnLastWindowClosed(false);
    return RUN_ALL_TESTS();
}
