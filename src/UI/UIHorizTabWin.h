// A row of tabs, each with the switch of its section.
#pragma once

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
    void select(int index); ///< tells onSelect when it is another one
    std::function<void(int index)> onSelect;

    int tabCount() const { return static_cast<int>(tabs_.size()); }
    QString tabName(int index) const { return tabs_[static_cast<size_t>(index)].name; }
    QRect tabRect(int index) const;
    QRect switchRect(int index) const; ///< empty without a switch

    static constexpr int kHeight = 26;

  protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;

  private:
    int tabAt(const QPoint& point) const;
    bool isOn(int index) const;

    TKSession* session_;
    std::vector<UITab> tabs_;
    int current_ = 0;
    int hovered_ = -1;
    int pressedSwitch_ = -1;
};
