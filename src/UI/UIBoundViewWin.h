// What ties a window to the table of views, and the tool tips of controls.
#pragma once

#include "src/support/TKSession.h"
#include "src/support/TKToolTips.h"

#include <QWidget>

/// Enters a window into the session's table of views for as long as both live. The session outlives it.
class UIBoundView {
  public:
    UIBoundView(TKSession* session, void* window, void (*show)(void* window)) : session_(session), view_{show, window}
    {
        registered_ = TKRegisterView(session, &view_) == bpNoErr;
    }
    ~UIBoundView()
    {
        if (registered_) TKForgetView(session_, &view_);
    }
    UIBoundView(const UIBoundView&) = delete;
    UIBoundView& operator=(const UIBoundView&) = delete;

    bool isRegistered() const { return registered_; } ///< false when the table was full: it follows nothing

  private:
    TKSession* session_;
    TKView view_;
    bool registered_;
};

/// Gives a control the tool tip of string `base` + `index`, over all of it; none when the table has none. The switch of
/// all tips is UIToolTipSwitch.
void AttachToolTip(QWidget* control, uint32_t base, uint32_t index);
