// The window of the analysis displays: a surface in device pixels that the logic draws into, shown by one copy.
//
// With the focus, the arrows go through the displays of the combo, Return opens the menu of the one that is framed, and
// plus and minus zoom its vectorscope.
#pragma once

#include "src/UI/UIAnalysisPane.h"
#include "src/support/TKSession.h"

#include <QImage>
#include <QMenu>
#include <QWidget>

class UIScopeViewWin : public QWidget {
  public:
    /// While it is seen, the session's port of that place is its surface.
    UIScopeViewWin(TKSession* session, TKScopePlace place, const QString& objectName, QWidget* parent);
    ~UIScopeViewWin() override;

    void showNow(bool force); ///< with force before it returns
    const ScopeSurface& surface() const { return surface_; }
    TKSession* session() const { return session_; }
    TKScopePlace place() const { return place_; }
    int32_t keyQuadrant() const { return keyQuadrant_; } ///< of the combo, that the keys act on

  protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void changeEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

  private:
    void fitSurface();
    void openMenu(QPoint point, QPoint globalPosition);
    void carryOut(const ScopeSelection& selection, const TKAnalysisEffect& effect);
    bool zoomAt(QPoint point, int32_t turn);
    QRect keyRect() const; ///< device pixels
    QPoint keyQuadrantMiddle() const;
    void paintProbe(QPainter& painter);
    void paintFocus(QPainter& painter);

    TKSession* session_;
    TKScopePlace place_;
    int32_t keyQuadrant_ = scopeUpperLeft;
    ScopeSurface surface_ = {};
    QImage words_;
    int wheelRest_ = 0;
};
