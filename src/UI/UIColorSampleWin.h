// The window of a colour sample composite.
#pragma once

#include "src/UI/UICheckboxWin.h"
#include "src/UI/UIEyedropperWin.h"
#include "src/UI/UIPopupWin.h"
#include "src/UI/UISwatchWin.h"
#include "src/support/TKColorSample.h"

class UIColorSampleWin : public QWidget {
  public:
    /// Session and record must outlive the widget. The parts bear the name with ".eyedropper", ".source", ".result",
    /// ".format" and ".on".
    UIColorSampleWin(TKSession* session, TKColorSample* sample, const QString& name, QWidget* parent);

    QSize sizeHint() const override { return QSize(kTKColorSampleWidth, kTKColorSampleHeight); }
    UIEyedropperWin* eyedropper() const { return eyedropper_; }
    UISwatchWin* source() const { return source_; }
    UISwatchWin* result() const { return result_; }
    UIListWin* format() const { return format_; }
    UICheckboxWin* checkbox() const { return checkbox_; } ///< null without a switch

    void showValue(); ///< the format changed

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    TKSession* session_;
    TKColorSample* sample_;
    UICheckboxWin* checkbox_ = nullptr;
    UIEyedropperWin* eyedropper_;
    UISwatchWin* source_;
    UISwatchWin* result_;
    UIListWin* format_;
    UIBoundView view_;
};
