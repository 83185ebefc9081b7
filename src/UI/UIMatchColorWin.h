// The window of the row of colour match.
#pragma once

#include "src/UI/UIEyedropperWin.h"
#include "src/UI/UIPopupWin.h"
#include "src/UI/UISwatchWin.h"
#include "src/support/TKMatchColor.h"

#include <QPushButton>

class UIMatchColorWin : public QWidget {
  public:
    /// Session and record must outlive the widget. The parts bear the name with ".source", ".source_eyedropper",
    /// ".target", ".target_eyedropper", ".method" and ".match".
    UIMatchColorWin(TKSession* session, TKMatchColor* match, const QString& name, QWidget* parent);

    static constexpr int kOneLineWidth = 414; ///< from this width on everything stands in one line
    static constexpr int kLeastWidth = 196;   ///< of two lines
    static constexpr int kOneLineHeight = 42;
    static constexpr int kTwoLineHeight = 72;
    static int HeightAt(int width) { return width >= kOneLineWidth ? kOneLineHeight : kTwoLineHeight; }
    QSize sizeHint() const override { return QSize(kOneLineWidth, kOneLineHeight); }
    void showValue(); ///< the record changed

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    TKSession* session_;
    TKMatchColor* match_;
    UIEyedropperWin *sourceEyedropper_, *targetEyedropper_;
    UISwatchWin *source_, *target_;
    UIListWin* method_;
    QPushButton* button_;
    UIBoundView view_;
};
