// The window of a user-drawn area: it shows what the procedure of its record draws.
#pragma once

#include "src/support/TKSession.h"
#include "src/support/TKUserDraw.h"

#include <QWidget>

class UIUserDrawWin : public QWidget {
  public:
    /// Session and record must outlive the widget, which takes the record's place in the table of areas.
    UIUserDrawWin(TKSession* session, TKUserDraw* control, const QString& name, QWidget* parent);
    ~UIUserDrawWin() override;

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    TKSession* session_;
    TKUserDraw* control_;
    ScopeSurface surface_ = {}; ///< of the area in device pixels
};
