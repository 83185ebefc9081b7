// The window of the analysis displays: a surface in device pixels that the logic draws into, shown by one copy.
#pragma once

#include "src/UI/UIAnalysisPane.h"
#include "src/support/TKSession.h"

#include <QImage>
#include <QMenu>
#include <QWidget>

class UIScopeViewWin : public QWidget {
  public:
    /// While it is seen, the session's analysis port is its surface.
    UIScopeViewWin(TKSession* session, const QString& objectName, QWidget* parent);
    ~UIScopeViewWin() override;

    void showNow(bool force); ///< with force before it returns
    const ScopeSurface& surface() const { return surface_; }

  protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void changeEvent(QEvent* event) override;

  private:
    void fitSurface();
    void openMenu(QPoint point, QPoint globalPosition);
    void carryOut(const ScopeSelection& selection, const TKAnalysisEffect& effect);
    void paintProbe(QPainter& painter);

    TKSession* session_;
    ScopeSurface surface_ = {};
    QImage words_;
    int wheelRest_ = 0;
};
