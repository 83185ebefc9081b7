// The transport bar: to the first frame, back, play, forward, to the last frame, a scrub line and the position.
//
// It is one stop of the focus; its keys (Space, arrows, Home, End) are those of the whole window.
#pragma once

#include "src/support/TKSession.h"

#include <QWidget>

class UITransportWin : public QWidget {
  public:
    UITransportWin(TKSession* session, QWidget* parent);

    void setPosition(const QString& text);
    const QString& position() const { return position_; }
    void press(int part);               ///< what a click on a part does
    static QString partTitle(int part); ///< what a part does, in words
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
    bool event(QEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

  private:
    void scrubTo(int x);

    TKSession* session_;
    QString position_;
    int hovered_ = -1;
    int pressed_ = -1;
    bool scrubbing_ = false;
};
