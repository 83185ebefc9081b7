// The upper half of the main window: the analysis pane on the left, the image pane on the right, and between them a
// handle that moves. In the single view the image pane alone.
#pragma once

#include "src/UI/UIAnalysisPaneWin.h"

class UIViewAreaWin : public QWidget {
  public:
    UIViewAreaWin(TKSession* session, QWidget* parent);

    void selectView(int index); ///< of the image pane; a number without a view changes nothing
    void showViewMode(uint32_t mode);

    UIImagePaneWin* picture() const { return picture_; }
    UIAnalysisPaneWin* analysis() const { return analysis_; }
    QRect handleRect() const; ///< empty in the single view

    static constexpr int kHandleWidth = 8;
    static constexpr int kLeastPane = 240;

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    bool event(QEvent* event) override;

  private:
    void layOut();
    int analysisWidth() const;
    bool isNormal() const;

    TKSession* session_;
    UIAnalysisPaneWin* analysis_;
    UIHorizTabWin* views_;
    UIImagePaneWin* picture_;
    double share_ = 0.5; ///< of the analysis pane
    bool hovered_ = false;
    int grab_ = -1; ///< while the handle is dragged: the pointer's distance from its left edge
};
