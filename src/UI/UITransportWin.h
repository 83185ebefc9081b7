// The transport bar: to the first frame, back, play, forward, to the last frame, a scrub line and the position.
#pragma once

#include "src/support/TKSession.h"

#include <QWidget>

class UITransportWin : public QWidget {
  public:
    UITransportWin(TKSession* session, QWidget* parent);

    void setPosition(const QString& text);
    static constexpr int kHeight = 30;

    /// The parts, from the left, for painting, clicks and tests.
    enum Part { kFirst, kBack, kPlay, kForward, kLast, kPartCount };
    QRect partRect(int part) const;
    static QString partName(int part);
    QRect scrubRect() const;

  protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;

  private:
    void press(int part);
    void scrubTo(int x);

    TKSession* session_;
    QString position_;
    int hovered_ = -1;
    int pressed_ = -1;
    bool scrubbing_ = false;
};
