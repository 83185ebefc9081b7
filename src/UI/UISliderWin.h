// The slider's window: it turns events into gestures and paints the record. It keeps no value.
#pragma once

#include "src/support/TKSession.h"
#include "src/support/TKSliderHold.h"

#include <QLineEdit>
#include <QWidget>

/// The text edit that a slider shows while its value is typed.
class UISliderEditWin : public QLineEdit {
  public:
    UISliderEditWin(TKSession* session, SliderVars* slider, QWidget* parent);

  protected:
    void keyPressEvent(QKeyEvent* event) override;
    bool event(QEvent* event) override;

  private:
    TKSession* session_;
    SliderVars* slider_;
};

class UISliderWin : public QWidget {
  public:
    /// Session and slider must outlive the widget. The object name is the parameter's key.
    UISliderWin(TKSession* session, SliderVars* slider, const QString& name, QWidget* parent);

    TKSession* session() const { return session_; }
    SliderVars* slider() const { return slider_; }
    void showValue(); ///< the record changed
    void showEdit();  ///< opens the edit with the record's text, all selected
    /// Hides the edit. True when it had the focus of its window and nobody has it now: one that a key opened gives the
    /// focus back to its slider.
    bool hideEdit();
    QRect trackRect() const; ///< where the thumb's centre travels
    QRect valueRect() const;

  protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    bool event(QEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    QRect thumbRect() const;
    double trackPixel(const QMouseEvent& event) const; ///< from the track's start
    void letGo();
    void clickValue(const QMouseEvent& event);
    void setValueHovered(bool hovered);

    TKSession* session_;
    SliderVars* slider_;
    UISliderEditWin* edit_;
    bool dragging_ = false;
    bool valueHovered_ = false;
    bool clicking_ = false;   ///< the value: an edit that opens now was opened by the mouse
    bool keepsFocus_ = false; ///< the open edit gives it back to the slider
    TKSliderHold hold_ = {};
};
