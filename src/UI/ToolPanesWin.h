// The settings area: the tree of tabs of ToolPanes.h with its pages, and beside them what is always in sight.
#pragma once

#include "src/UI/ToolPageWin.h"
#include "src/UI/UIColorSampleWin.h"
#include "src/UI/UIHorizTabWin.h"
#include "src/UI/UIMatchColorWin.h"
#include "src/UI/UISliderWin.h"
#include "src/UI/UIUserDrawWin.h"

#include <QHash>
#include <memory>
#include <vector>

class ToolAreaWin;

/// Builds all tool panes once, inside `rectangle` of the main window: controls are bound to the live settings of the
/// session and registered with it, their defaults are those of its record of defaults. `error` receives the first
/// failure. The main window owns what is made.
ToolAreaWin* BuildToolPanes(QWidget* mainWindow, const QRect& rectangle, TKSession* session, BPStatus* error);

class ToolAreaWin : public QWidget {
  public:
    /// Builds every page, hidden but for the first; controls are registered with the session. `error` receives the first
    /// failure.
    ToolAreaWin(TKSession* session, QWidget* parent, BPStatus* error);
    ~ToolAreaWin() override;

    UISliderWin* sliderOf(const SliderVars* slider) const; ///< null when it stands elsewhere
    void selectPane(int index);                            ///< a number without a pane changes nothing
    /// From now on the first row of tabs is kept in the preferences, at once, whenever another tab is selected.
    void keepSelection();
    /// A tab, the one inside it, the one inside that; -1 and a number without a tab leave one alone.
    void selectTabs(int pane, int inner, int innermost);
    void switchesChanged(); ///< the checkboxes of all tabs follow the live settings
    void updateFrom(const OCSettings* settings, uint32_t toolMask, uint32_t curveMask, const OCSettings* previous,
                    bool force);
    void settle(); ///< see TKSettleControls
    ToolPageWin* shownPage() const;
    UIColorSampleWin* sample() const { return sampleWindow_; }
    UIUserDrawWin* strip() const { return stripWindow_; }
    UIMatchColorWin* shownMatch() const; ///< null on a page without one
    void picturesChanged();              ///< the source frame, or what is made of it, is another one

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

  private:
    /// A tab of the tree: with a row of tabs inside it, or with its page.
    struct Node {
        UIHorizTabWin* bar = nullptr;
        std::vector<Node> children;
        ToolPageWin* page = nullptr;
    };
    Node build(std::span<const TKTabRow> tabs, const QString& name, BPStatus* error);
    void showPath();
    void layOut();

    TKSession* session_;
    Node top_;
    std::vector<UIHorizTabWin*> bars_;
    std::vector<ToolPageWin*> pages_;
    QHash<const SliderVars*, UISliderWin*> sliders_;
    TKColorSample sample_ = {};
    UIColorSampleWin* sampleWindow_;
    TKUserDraw strip_ = {};
    UIUserDrawWin* stripWindow_;
    TKMatchColor matches_[ocMatchPaneCount] = {};
    UIMatchColorWin* matchWindows_[ocMatchPaneCount] = {}; ///< null for a pane without a match
};
