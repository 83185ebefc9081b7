// The box that tells name and version.
#pragma once

#include <QDialog>

class UIAboutWin : public QDialog {
  public:
    explicit UIAboutWin(QWidget* parent);
};
