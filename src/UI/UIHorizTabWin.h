// A row of tabs, each with the switch of its section.
//
// A click or the arrow keys, Home and End select a tab; a click on its checkbox, or Space, turns its section on or off.
#pragma once

#include "src/UI/UIHorizTab.h"
#include "src/support/TKSession.h"

#include <QWidget>
#include <functional>
#include <span>
#include <vector>

struct UITab {
    QString label;
    QString name;          ///< object name of the tab, for accessibility and tests
    uint32_t switchOffset; ///< of the word in the live settings, or kUINoSwitch
};

inline constexpr uint32_t kUINoSwitch = 0xFFFFFFFF;

/// A bar of tabs: for each a title with its switch, the page, and the checkbox as it was last painted or told.
struct HorizTabs {
    std::vector<UITab> tab;
    std::vector<QWidget*> page; ///< null for a tab without one; several tabs may share a page
    std::vector<bool> shownOn;
    int current = 0;
};

class UIHorizTabWin;

/// Makes a bar of tabs; the owner is its parent, and deletes it.
///
/// session         whose live settings the checkboxes are bound to
/// rect            where the bar stands in its owner; it is as high as every bar
/// titles          the tabs from the left; the first is in front
/// hasCheckboxes   false: no tab has one, whatever its row says
/// pagesOut        null, or receives the slots of the pages, one for each tab, all empty; what the owner puts in is shown
///                 and hidden with its tab. They live as long as the bar
UIHorizTabWin* CreateHorizTabs(TKSession* session, QWidget* owner, const QRect& rect, std::vector<UITab> titles,
                               bool hasCheckboxes, std::span<QWidget*>* pagesOut);

/// Brings a tab to the front: its page is shown, those of the others are hidden, and onSelect is told when it is another
/// tab than before. A number without a tab changes nothing.
void SelectTab(UIHorizTabWin* bar, int index);

/// Sets the checkbox of a tab and the word that it is bound to. Nothing is rendered and no undo step is made: that is
/// for a click, see UIHorizTabWin::toggle. A tab without a checkbox, or a number without a tab, changes nothing.
void SetTabCheck(UIHorizTabWin* bar, int index, bool value);

class UIHorizTabWin : public QWidget {
  public:
    UIHorizTabWin(TKSession* session, std::vector<UITab> tabs, QWidget* parent);

    int current() const { return bar_.current; }
    std::function<void(int index)> onSelect;

    /// Shows the full labels where they fit into `room`, otherwise the cut ones, with less space beside them.
    void fitLabels(const std::vector<QString>& full, const std::vector<QString>& cut, int room);

    // A number without a tab is a mistake of the program: it is reported, and answered with nothing.
    int tabCount() const { return static_cast<int>(bar_.tab.size()); }
    QString tabName(int index) const;
    QString tabLabel(int index) const;
    QRect tabRect(int index) const;
    QRect switchRect(int index) const;    ///< empty without a switch
    bool hasSwitch(int index) const;      ///< whether it has a checkbox
    bool isOn(int index) const;           ///< false without a switch
    void toggle(int index);               ///< what a click on the switch does; nothing without one
    int tabAt(const QPoint& point) const; ///< -1 beside them

    /// The live settings may have other switches now: the checkboxes follow.
    void switchesChanged();

    int equalWidth() const; ///< with tabs of equal width
    int ownWidth() const;   ///< with tabs as wide as their labels
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

    static constexpr int kHeight = 20;

  protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void leaveEvent(QEvent* event) override;
    bool event(QEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

  private:
    const UITab* tabOf(int index) const;
    void paintTab(QPainter& painter, int index) const;
    std::vector<int> naturalWidths() const;
    bool isOnSwitch(int index, const QPoint& point) const;
    void hover(int index, bool onSwitch);

    friend UIHorizTabWin* CreateHorizTabs(TKSession* session, QWidget* owner, const QRect& rect,
                                          std::vector<UITab> titles, bool hasCheckboxes, std::span<QWidget*>* pagesOut);
    friend void SelectTab(UIHorizTabWin* bar, int index);
    friend void SetTabCheck(UIHorizTabWin* bar, int index, bool value);

    TKSession* session_;
    int padding_; ///< left and right of a label
    HorizTabs bar_;
    int hovered_ = -1;
    bool hoversSwitch_ = false;
    int pressedSwitch_ = -1;
};
