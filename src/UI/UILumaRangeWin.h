// The luma range editor's window: it turns events into gestures and paints the record. It keeps no value.
#pragma once

#include "src/UI/TKLumaRangeEditor.h"
#include "src/UI/UIDragWin.h"
#include "src/UI/UIHandleWin.h"
#include "src/UI/UIValueWin.h"

class UILumaRangeWin : public UIDragWin, public UIHandleOwner {
  public:
    /// Session and record must outlive the widget.
    UILumaRangeWin(TKSession* session, LumaRangeVars* vars, const QString& name, QWidget* parent);

    LumaRangeVars* vars() const { return vars_; }
    void showValues();                           ///< the record changed
    void updateFrom(const OCSettings* settings); ///< shows the values of a settings record
    QPointF handlePoint(uint32_t handle) const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

    double handleValue(int index) const override;
    QString handleText(int index) const override;
    void nudgeHandle(int index, int right, int up, bool fine) override;
    void setHandleValue(int index, double value) override;
    void editHandle(int index) override;
    void settleHandles() override;
    void handlesChanged() override;

  protected:
    bool wantsTicks() const override { return LumaRangeNeedsTick(*vars_); }
    void tick() override;
    void endDrag() override;
    void settle() override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    void hover(uint32_t handle);
    void move(uint32_t handle, LumaRangePoint wanted);
    void paintPlot(QPainter& painter);
    void paintCurve(QPainter& painter, uint32_t curve);
    void paintHandle(QPainter& painter, uint32_t handle);

    LumaRangeVars* vars_;
    UIHandleWin* handles_[kLumaRangeHandleCount];
    UIValueWin* readouts_[2 * kLumaRangeHandleCount];
    uint32_t hovered_ = kLumaRangeHandleCount;
};
