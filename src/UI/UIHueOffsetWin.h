// The hue offset wheel's window: label, wheel and the two sliders below it. It keeps no value.
#pragma once

#include "src/UI/UIDragWin.h"
#include "src/UI/UISliderWin.h"
#include "src/support/TKHueWheel.h"

#include <QImage>

class UIHueOffsetWin : public UIDragWin {
  public:
    /// Session and record must outlive the widget. The sliders are named after the wheel: "NAME_tintangle" and
    /// "NAME_strength".
    UIHueOffsetWin(TKSession* session, HueOffsetVars* vars, const QString& name, QWidget* parent);
    ~UIHueOffsetWin() override;

    TKSession* session() const { return session_; }
    HueOffsetVars* vars() const { return vars_; }
    UISliderWin* sliderOf(const SliderVars* slider) const; ///< null when it is none of the two
    QRect wheelRect() const;                               ///< where a press is one on the wheel
    QPoint handlePoint() const;
    QString valueText() const; ///< as a screen reader says it

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;

  protected:
    bool wantsTicks() const override { return TKHueOffsetWantsTicks(*vars_); }
    void tick() override { TKHueOffsetTick(session_, vars_); }
    void endDrag() override { (void)TKHueOffsetRelease(session_, vars_); }
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    void drawWheel(QPainter* painter);
    void valueChanged();

    HueOffsetVars* vars_;
    UISliderWin* hue_;
    UISliderWin* strength_;
    QImage shown_; ///< the wheel's background as Qt wants it
    uint32_t shownSaturation_ = 0;
    bool hovered_ = false;
    QString announced_; ///< the value as it was told last
};
