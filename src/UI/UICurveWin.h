// The curve editor's window: label, plot, and the readouts below it. It keeps no value.
#pragma once

#include "src/UI/UIBoundViewWin.h"
#include "src/support/TKCurveEditor.h"

#include <QBasicTimer>
#include <QWidget>

class UICurveWin : public QWidget {
  public:
    /// Session and record must outlive the widget.
    UICurveWin(TKSession* session, CurveVars* vars, const QString& name, QWidget* parent);
    ~UICurveWin() override;

    CurveVars* vars() const { return vars_; }
    QRect plotRect() const;
    QPoint pointAt(double x, double y) const; ///< pixel of a place in plot units

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;

  protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void timerEvent(QTimerEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    void drawPlot(QPainter* painter);
    void drawReadouts(QPainter* painter);
    void keepTicking();
    void changed();

    TKSession* session_;
    CurveVars* vars_;
    ScopeSurface surface_ = {};
    QBasicTimer timer_;
    uint32_t shownCursor_ = 0;
    UIBoundView view_; ///< the readouts follow the format of colours
};
