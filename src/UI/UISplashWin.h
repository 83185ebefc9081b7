// The splash window: the product's picture, and a line that tells what is being started.
#pragma once

#include <QString>
#include <QWidget>

class UISplashWin : public QWidget {
  public:
    UISplashWin();
    /// Shows it and waits until it is on the screen, half a second at most. No input is handled meanwhile.
    void showAtOnce();

    void showStep(const QString& text); ///< paints at once

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    QString text_;
};

/// The product's icon at this size, in device pixels.
QPixmap UIProductIcon(int side);
