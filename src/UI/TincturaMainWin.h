// The main window: menu bar, session buttons, picture with transport, settings area.
#pragma once

#include "src/UI/ToolPanesWin.h"
#include "src/UI/UIMenuWin.h"
#include "src/UI/UIScopeWindowWin.h"
#include "src/UI/UITransportWin.h"
#include "src/UI/UIViewAreaWin.h"

#include <QMenuBar>
#include <QTimer>

class TincturaMainWin : public QWidget {
  public:
    /// Builds everything, hidden. `error` receives the first failure.
    TincturaMainWin(TKSession* session, BPStatus* error);

    void pickModeChanged();          ///< a pick began or ended: the cursor over pictures follows
    void picturesChanged();          ///< what the panes show has new pixels or surfaces
    void repaintPicture(bool force); ///< with force before it returns; so does the next
    void showAnalysis(bool force);
    void openScopeWindow(bool open, bool activate);
    void showScopeWindow(bool force);
    void hideAll();                               ///< with what belongs to it
    void repaintPanes(uint32_t mask, bool force); ///< TKPaneBits
    void setPositionText(const QString& text);
    void playingChanged();
    void enableMenus(bool enable);
    void applyPalette();
    void selectView(int index);     ///< of the image pane; a number without a view changes nothing
    void selectAnalysis(int index); ///< of the analysis pane, likewise
    void showViewMode(uint32_t mode);
    void showAbout();
    UISliderWin* sliderOf(const SliderVars* slider) const { return tools_->sliderOf(slider); }
    ToolAreaWin* tools() const { return tools_; }

    /// Offers a key press as the message loop does: accelerators, keys of transport and slots, letters. True when it is consumed.
    /// `focus` is the widget that has the keyboard's focus, in whatever window.
    bool offerKey(const QKeyEvent& event, const QWidget* focus);

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void buildMenus();
    void fillPreviewList(uint32_t first, UIMenuWin* menu);
    void updateMenuState();

    TKSession* session_;
    QMenuBar* menus_;
    bool menusEnabled_ = true;
    std::vector<UIMenuWin*> menuList_;
    std::vector<std::pair<uint32_t, QAction*>> actions_; ///< by command
    std::vector<std::pair<uint32_t, UIMenuWin*>> lists_; ///< filled at run time, by their first command
    std::vector<QPushButton*> buttons_;                  ///< from the right
    UIViewAreaWin* area_;
    UITransportWin* transport_;
    ToolAreaWin* tools_;
    UIScopeWindowWin* scopeWindow_ = nullptr; ///< made when it is opened first
    bool focusedByMouse_ = false;             ///< what has the focus
    const QEvent* offeredKey_ = nullptr;      ///< the key press that was offered last, compared and never read
    quint64 offeredTime_ = 0;
    int offeredCode_ = 0;
    QTimer layoutTimer_; ///< gathers changes of the layout for its report
};
