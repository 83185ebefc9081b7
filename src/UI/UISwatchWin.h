// The swatch's window: paints the colour of its record, and its values in black or white.
#pragma once

#include "src/support/TKSession.h"
#include "src/support/TKSwatch.h"

#include <QWidget>

class UISwatchWin : public QWidget {
  public:
    /// Session and record must outlive the widget, which takes the record's place in the table of swatches.
    UISwatchWin(TKSession* session, TKSwatch* swatch, const QString& name, QWidget* parent);
    ~UISwatchWin() override;

    QString valueText() const; ///< the three rows in one line, as it is announced

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    static void Redraw(void* window);

    TKSession* session_;
    TKSwatch* swatch_;
};
