// A number with its name, without a track: a click opens an edit in its place. It paints a slider's record.
#pragma once

#include "src/UI/UISliderWin.h"

#include <functional>

class UIValueWin : public QWidget {
  public:
    /// Session and slider must outlive the widget. `refine` rewrites the text of an edit that has just opened, or is null.
    UIValueWin(TKSession* session, SliderVars* slider, const QString& name, void (*refine)(SliderVars*),
               QWidget* parent);

    SliderVars* slider() const { return slider_; }
    std::function<void()> onValue; ///< the record changed: the owner shows it, here by setText
    void showValue();
    /// What stands beside the name.
    void setText(const QString& text);
    /// Left, middle or right of the widget's rectangle.
    void setAlignment(Qt::Alignment alignment);
    void showEdit(); ///< opens the edit with the record's text, all selected
    bool hideEdit(); ///< whether the edit had the focus of its window

    /// The widget below `window` that shows this slider, or null.
    static UIValueWin* find(const QWidget* window, const SliderVars* slider);

  protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    QRect textRect() const; ///< name and number together
    QRect nameRect() const;
    QRect numberRect() const;

    TKSession* session_;
    SliderVars* slider_;
    void (*refine_)(SliderVars*);
    UISliderEditWin* edit_;
    QString text_;
    Qt::Alignment alignment_ = Qt::AlignLeft;
};
