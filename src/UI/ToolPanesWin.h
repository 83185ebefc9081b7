// The settings area: tabs, pages and sliders built from the tables of ToolPanes.h.
#pragma once

#include "src/UI/ToolPanes.h"
#include "src/UI/UIHorizTabWin.h"
#include "src/UI/UISliderWin.h"

#include <QPushButton>
#include <QScrollArea>
#include <memory>
#include <vector>

/// One page of sliders with its Reset button.
class ToolPageWin : public QWidget {
  public:
    /// Makes the sliders and registers them with the session. `error` receives the first failure.
    ToolPageWin(TKSession* session, const TKPaneRow& pane, const TKPageRow& page, QWidget* parent, BPStatus* error);

    UISliderWin* sliderOf(const TKSlider* slider) const; ///< null when it stands elsewhere
    void layOut(int pageWidth);

  private:
    const TKPaneRow& pane_;
    std::unique_ptr<TKSlider[]> records_; ///< stay in place: the session points at them
    std::vector<UISliderWin*> sliders_;
    QPushButton* reset_;
};

/// A pane: the row of its tone ranges above the pages.
class ToolPaneWin : public QWidget {
  public:
    ToolPaneWin(TKSession* session, const TKPaneRow& pane, QWidget* parent, BPStatus* error);

    UISliderWin* sliderOf(const TKSlider* slider) const;
    /// The tab inside this one, and the one inside that; -1 leaves one alone.
    void selectInner(int inner, int innermost);

  protected:
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

  private:
    void showPage(int index);
    void layOut();

    TKSession* session_;
    UIHorizTabWin* inner_ = nullptr; ///< the tab between pane and ranges, when the pane has one
    UIHorizTabWin* ranges_;
    QScrollArea* scroll_;
    std::vector<ToolPageWin*> pages_;
    int shown_ = 0;
};

/// All panes below their tab row.
class ToolAreaWin : public QWidget {
  public:
    ToolAreaWin(TKSession* session, QWidget* parent, BPStatus* error);

    UISliderWin* sliderOf(const TKSlider* slider) const;
    void selectPane(int index); ///< a number without a pane changes nothing
    void selectTabs(int pane, int inner, int innermost);
    void switchesChanged(); ///< the checkboxes of all tabs follow the live settings

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    TKSession* session_;
    UIHorizTabWin* tabs_;
    std::vector<ToolPaneWin*> panes_;
};
