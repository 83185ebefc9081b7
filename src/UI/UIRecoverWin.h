// The question whether the grade of an earlier session is to be recovered.
#pragma once

#include <QMessageBox>
#include <functional>

/// A box above the main window. It takes the window's input and nothing else: ticks and the host go on.
class UIRecoverWin : public QMessageBox {
  public:
    /// `onAnswer` is called once, with true for Recover, unless the box is destroyed before.
    UIRecoverWin(QWidget* parent, const QString& text, const QString& detail, std::function<void(bool)> onAnswer);
};
