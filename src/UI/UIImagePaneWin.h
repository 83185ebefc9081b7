// The picture: one surface, fitted into the pane on neutral grey.
#pragma once

#include "src/support/TKSession.h"

#include <QImage>
#include <QWidget>

class UIImagePaneWin : public QWidget {
  public:
    UIImagePaneWin(TKSession* session, QWidget* parent);

    void setSurface(const ScopeSurface* surface); ///< null shows the empty pane; must outlive its use here
    void surfaceChanged();                        ///< new pixels, another size, or another aspect

  protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

  private:
    TKSession* session_;
    const ScopeSurface* surface_ = nullptr;
    QImage words_;      ///< the surface as the window system wants it
    QImage fitted_;     ///< the same at the size it is shown, in device pixels
    bool stale_ = true; ///< words_ is older than the surface
};
