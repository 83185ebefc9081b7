// The levels control's window: it turns events into gestures and paints the record. It keeps no value.
#pragma once

#include "src/UI/TKLevels.h"
#include "src/UI/TKLevelsHistogram.h"
#include "src/UI/UIDragWin.h"
#include "src/UI/UIHandleWin.h"
#include "src/UI/UIValueWin.h"

#include <QLabel>

class UILevelsWin : public UIDragWin, public UIHandleOwner {
  public:
    /// Session and record must outlive the widget.
    UILevelsWin(TKSession* session, LevelsVars* vars, const QString& name, QWidget* parent);

    LevelsVars* vars() const { return vars_; }
    /// What the parts take up at such a width and height.
    static QSize extentFor(int controlWidth, int height);
    void showValues();                           ///< the record changed
    void updateFrom(const OCSettings* settings); ///< shows the values of a settings record
    void sourceChanged(); ///< frame or highlight recovery may be others: the histogram is painted anew if they are
    QRect handleRect(uint32_t handle) const;

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
    bool wantsTicks() const override { return LevelsNeedTick(*vars_); }
    void tick() override;
    void endDrag() override;
    void settle() override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

  private:
    void layOut();
    LevelsHistogramKey histogramKey() const;
    void hover(uint32_t code);
    void paintHistogram(QPainter& painter);
    void paintBar(QPainter& painter, const ScopeRect& bar);
    void paintHandle(QPainter& painter, uint32_t handle);

    LevelsVars* vars_;
    LevelsHistogram histogram_ = {};
    QLabel* labels_[2];
    UIHandleWin* handles_[kLevelsHandleCount];
    UIValueWin* readouts_[kLevelsHandleCount];
    uint32_t hovered_ = 0; ///< hit code
};
