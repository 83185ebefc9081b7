// A row of tabs, each with the switch of its section.
//
// A click or the arrow keys, Home and End select a tab; a click on its checkbox, or Space, turns its section on or off.
#pragma once

#include "src/UI/UIHorizTab.h"
#include "src/support/TKSession.h"

#include <QWidget>
#include <functional>
#include <vector>

struct UITab {
    QString label;
    QString name;          ///< object name of the tab, for accessibility and tests
    uint32_t switchOffset; ///< of the word in the live settings, or kUINoSwitch
};

inline constexpr uint32_t kUINoSwitch = 0xFFFFFFFF;

class UIHorizTabWin : public QWidget {
  public:
    UIHorizTabWin(TKSession* session, std::vector<UITab> tabs, QWidget* parent);

    int current() const { return current_; }
    void select(int index); ///< tells onSelect when it is another one; a number without a tab changes nothing
    std::function<void(int index)> onSelect;

    /// Shows the full labels where they fit into `room`, otherwise the cut ones, with less space beside them.
    void fitLabels(const std::vector<QString>& full, const std::vector<QString>& cut, int room);

    // A number without a tab is a mistake of the program: it is reported, and answered with nothing.
    int tabCount() const { return static_cast<int>(tabs_.size()); }
    QString tabName(int index) const;
    QString tabLabel(int index) const;
    QRect tabRect(int index) const;
    QRect switchRect(int index) const; ///< empty without a switch
    bool hasSwitch(int index) const;
    bool isOn(int index) const;           ///< false without a switch
    void toggle(int index);               ///< what a click on the switch does; nothing without one
    int tabAt(const QPoint& point) const; ///< -1 beside them

    /// The live settings may have other switches now.
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

    TKSession* session_;
    int padding_; ///< left and right of a label
    std::vector<UITab> tabs_;
    int current_ = 0;
    int hovered_ = -1;
    bool hoversSwitch_ = false;
    int pressedSwitch_ = -1;
    std::vector<bool> shownOn_; ///< switches as they were last painted or told
};
