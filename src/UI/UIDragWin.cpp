// Ticks and the ends of drags.
#include "src/UI/UIDragWin.h"

#include <QTimerEvent>

UIDragWin::UIDragWin(TKSession* session, int tickMs, QWidget* parent)
    : QWidget(parent), session_(session), tickMs_(tickMs)
{
    setMouseTracking(true);
}

void UIDragWin::keepTicking()
{
    if (wantsTicks() == timer_.isActive()) return;
    if (timer_.isActive())
        timer_.stop();
    else
        timer_.start(tickMs_, Qt::PreciseTimer, this);
    update();
}

void UIDragWin::timerEvent(QTimerEvent* event)
{
    if (event->timerId() != timer_.timerId()) return QWidget::timerEvent(event);
    tick();
    keepTicking();
}

bool UIDragWin::event(QEvent* event)
{
    switch (event->type()) {
    case QEvent::UngrabMouse:
    case QEvent::WindowDeactivate: // the release will go to somebody else
    case QEvent::EnabledChange:
    case QEvent::Hide:
        endDrag();
        if (event->type() == QEvent::Hide) settle();
        keepTicking();
        update();
        break;
    case QEvent::FocusIn:
    case QEvent::FocusOut: update(); break;
    default: break;
    }
    return QWidget::event(event);
}
