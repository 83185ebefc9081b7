// The picture's window: shows what a pane's record says, and hands events to it.
#pragma once

#include "src/UI/UIImageScale.h"
#include "src/support/TKSession.h"

#include <QImage>
#include <QWidget>

class QSinglePointEvent;

class UIImagePaneWin : public QWidget {
  public:
    /// Follows the session's image mode with a record for each, or shows one mode for good.
    UIImagePaneWin(TKSession* session, const QString& objectName, QWidget* parent);
    UIImagePaneWin(TKSession* session, const QString& objectName, int32_t mode, QWidget* parent);

    void pickModeChanged();   ///< a pick began or ended: the cursor follows without a move
    void picturesChanged();   ///< new pixels, other surfaces, another aspect or table: painted with the next paint
    void showNow(bool force); ///< with force before it returns

    int32_t mode() const; ///< of the picture that it shows
    const ImagePaneVars& pane();
    QRect pictureRect(); ///< of the visible picture, in the widget's own coordinates

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    bool event(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    ImagePaneVars& ready(); ///< the record in use, brought up to date with session and window
    void carryOut(const TKPaneEffect& effect);
    void makeWords(const ImagePaneVars& pane);
    void paintSplit(QPainter& painter, const ImagePaneVars& pane);
    void paintProbe(QPainter& painter, const ImagePaneVars& pane);
    void paintFocus(QPainter& painter, const QRect& whole, qreal ratio);
    void pointerMoved(const QSinglePointEvent& event);
    void pointerLeft();
    void probeFollows(); ///< the picture may have moved under the pointer
    void showCursor(Qt::KeyboardModifiers modifiers);

    TKSession* session_;
    int32_t fixedMode_;
    ImagePaneVars panes_[kTKImageModeCount];
    int32_t shownMode_ = -1; ///< of the last event or paint: the next mode begins with its view
    float sample_[3] = {};   ///< what a pick reads into
    QImage words_;           ///< the visible part, at the size it is shown, in device pixels
    TKPaneScale wordsScale_ = {};
    bool stale_ = true;       ///< words_ is older than the surface
    QPoint pointer_;          ///< device pixels
    QPointF desktop_;         ///< the same place among the windows: it stays when this window moves
    bool hasPointer_ = false; ///< the pointer is over this window, or holds something of it
    int32_t hoveredEnd_ = 0;
    int64_t shownCursor_ = -1; ///< its number; a new cursor for each move would be a new picture for the window system
    qreal shownCursorRatio_ = 0;
};
