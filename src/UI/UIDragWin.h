// What windows have in common whose drags put the picture off: a timer that runs while it has something to do, and the
// end of a drag whose release will go to somebody else. Wheel, curve, levels and luma ranges are made of it.
#pragma once

#include "src/ScopeDraw.h"
#include "src/support/TKSession.h"

#include <QBasicTimer>
#include <QWidget>

/// A rectangle of the logic as Qt has it.
inline QRect UIRectOf(const ScopeRect& rect)
{
    return QRect(rect.left, rect.top, ScopeWidthOf(rect), ScopeHeightOf(rect));
}

class UIDragWin : public QWidget {
  protected:
    /// The session must outlive the widget; `tickMs` is the period of tick().
    UIDragWin(TKSession* session, int tickMs, QWidget* parent);

    virtual bool wantsTicks() const = 0;
    virtual void tick() = 0;
    virtual void endDrag() = 0; ///< renders what was held back, too; nothing happens without a drag
    virtual void settle() {}    ///< the window was hidden, after the end of a drag

    void keepTicking(); ///< to be called after whatever may have changed wantsTicks()
    bool event(QEvent* event) override;
    void timerEvent(QTimerEvent* event) override;

    TKSession* const session_;

  private:
    const int tickMs_;
    QBasicTimer timer_;
};
