// Real windows on the offscreen platform, a session on the fake one, and a host that a test plays.
#pragma once

#include "src/UI/TKWindowsWin.h"
#include "src/UI/TincturaMainWin.h"
#include "tests/support/TKTestSession.h"

#include <QTest>

class UITest : public ::testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override;

    UISliderWin* Slider(const char* name) const;
    template <class Window> Window* Find(const char* name) const
    {
        return dynamic_cast<Window*>(windows_->mainWindow()->findChild<QWidget*>(QString::fromLatin1(name)));
    }
    QLineEdit* EditOf(UISliderWin* slider) const;

    /// Brings the page of a slider to the front.
    void ShowPageOf(const char* prefix);
    void Press(UISliderWin* slider, double fraction, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    void Drag(UISliderWin* slider, double from, double to);
    void ClickValue(UISliderWin* slider, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    void Wheel(QWidget* widget, QPoint point, int delta);
    /// The tick after the mouse button went up.
    void Tick() { TKTick(session_); }

    OCSettings& Live() { return session_->liveSettings; }

    BPPlatform platform_ = {};
    TKTestHost host_;
    std::unique_ptr<TKWindowsWin> windows_;
    TKSession* session_ = nullptr;
};
