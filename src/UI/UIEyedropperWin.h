// The eyedropper's window: a button that shows whether it is picking.
#pragma once

#include "src/UI/UIBoundViewWin.h"
#include "src/support/TKEyedropper.h"

#include <QAbstractButton>

class UIEyedropperWin : public QAbstractButton {
  public:
    /// Session and record must outlive the widget.
    UIEyedropperWin(TKSession* session, TKEyedropper* eyedropper, const QString& name, QWidget* parent);

    ~UIEyedropperWin() override; ///< a pick of its own is given up

    bool followsRecord() const { return view_.isRegistered(); }
    static constexpr int kSize = 24;
    QSize sizeHint() const override { return QSize(kSize, kSize); }

  protected:
    void paintEvent(QPaintEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

  private:
    TKSession* session_;
    TKEyedropper* eyedropper_;
    Qt::KeyboardModifiers modifiers_ = Qt::NoModifier; ///< of the event that clicks
    UIBoundView view_;
};
