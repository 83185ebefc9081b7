// The windows of the application behind the record of functions through which the logic asks for them.
#pragma once

#include "src/support/TKSession.h"

#include <QObject>
#include <QTimer>
#include <memory>

class QSocketNotifier;
class TincturaMainWin;
class UIRecoverWin;
class UISplashWin;

/// The master switch of tool tips: put on the application, it swallows them while they are off.
class UIToolTipSwitch : public QObject {
  public:
    bool enabled = true;
    bool eventFilter(QObject* object, QEvent* event) override;
};

class TKWindowsWin {
  public:
    TKWindowsWin();
    ~TKWindowsWin();
    TKWindowsWin(const TKWindowsWin&) = delete;
    TKWindowsWin& operator=(const TKWindowsWin&) = delete;

    /// The functions, with this object as their context.
    TKUserInterface interface();

    /// The session that the windows show; before its start-up.
    void setSession(TKSession* session);

    /// From now on a request from outside to end the process ends the session as the command Exit does. Boxes and
    /// dialogs that wait for an answer are closed for it, as by Escape; the question of a recovery stays open.
    /// `descriptor` comes from BPCatchEndRequests.
    void watchEndRequests(int descriptor);

    /// Destroys all windows and stops the timer; the session may go afterwards.
    void dispose();

    TincturaMainWin* mainWindow() const { return main_.get(); }

  private:
    friend struct TKWindowsCalls;
    void endStep();
    TKSession* session_ = nullptr;
    std::unique_ptr<UISplashWin> splash_;
    std::unique_ptr<TincturaMainWin> main_;
    std::unique_ptr<UIRecoverWin> recover_; // above main_, and gone before it
    QTimer timer_;
    QTimer endTimer_; // runs once the end was asked for
    std::unique_ptr<QSocketNotifier> endNotifier_;
    UIToolTipSwitch toolTips_;
    uint64_t foregroundAtStart_ = 0; // 0: none, or the window system does not tell
};
