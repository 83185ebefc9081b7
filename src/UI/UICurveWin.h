// The curve editor's window: label, plot, and the readouts below it. It keeps no value.
#pragma once

#include "src/UI/UIBoundViewWin.h"
#include "src/UI/UIDragWin.h"
#include "src/support/TKCurveEditor.h"

class UICurveWin : public UIDragWin {
  public:
    /// Session and record must outlive the widget.
    UICurveWin(TKSession* session, CurveVars* vars, const QString& name, QWidget* parent);
    ~UICurveWin() override;

    TKSession* session() const { return session_; }
    CurveVars* vars() const { return vars_; }
    QRect plotRect() const;
    QPoint pointAt(double x, double y) const; ///< pixel of a place in plot units
    QString valueText() const;                ///< as a screen reader says it

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;

  protected:
    bool wantsTicks() const override { return TKCurveWantsTicks(*vars_); }
    void tick() override { TKCurveTick(session_, vars_); }
    void endDrag() override { (void)TKCurveRelease(session_, vars_); }
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
    void drawPlot(QPainter* painter);
    void drawReadouts(QPainter* painter);
    void changed();

    CurveVars* vars_;
    ScopeSurface surface_ = {};
    uint32_t shownCursor_ = 0;
    UIBoundView view_;  ///< the readouts follow the format of colours
    QString announced_; ///< the value as it was told last
};
