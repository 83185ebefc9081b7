// The checkbox's window.
#pragma once

#include "src/UI/UIBoundViewWin.h"

#include <QCheckBox>

class UICheckboxWin : public QCheckBox {
  public:
    /// Session and record must outlive the widget.
    UICheckboxWin(TKSession* session, const TKCheckbox* checkbox, const QString& name, QWidget* parent);

    void showValue(); ///< the record changed
    static constexpr int kHeight = 20;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

  protected:
    bool hitButton(const QPoint& point) const override;
    void paintEvent(QPaintEvent* event) override;

  private:
    TKSession* session_;
    const TKCheckbox* checkbox_;
    UIBoundView view_;
};
