// The checkbox's window.
#pragma once

#include "src/UI/UIBoundViewWin.h"

#include <QCheckBox>

class UICheckboxWin : public QCheckBox {
  public:
    /// Makes the window of a checkbox. Session and record must outlive it. Where it cannot be made to follow the record,
    /// that is logged and there is none: null.
    static UICheckboxWin* create(TKSession* session, const TKCheckbox* checkbox, const QString& name, QWidget* parent);

    void showValue(); ///< the record changed
    static constexpr int kHeight = 20;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

  protected:
    bool hitButton(const QPoint& point) const override;
    void paintEvent(QPaintEvent* event) override;

  private:
    UICheckboxWin(TKSession* session, const TKCheckbox* checkbox, const QString& name, QWidget* parent);

    TKSession* session_;
    const TKCheckbox* checkbox_;
    UIBoundView view_;
};
