// The analysis pane: a row of thirteen tabs above the displays, the reference picture, or the gallery's page.
#pragma once

#include "src/UI/UIHorizTabWin.h"
#include "src/UI/UIImagePaneWin.h"
#include "src/UI/UIScopeViewWin.h"

class QToolButton;

class UIAnalysisPaneWin : public QWidget {
  public:
    UIAnalysisPaneWin(TKSession* session, QWidget* parent);

    void selectTab(int index); ///< a number without a tab changes nothing
    UIScopeViewWin* scopes() const { return scopes_; }
    UIImagePaneWin* reference() const { return reference_; }
    UIHorizTabWin* tabs() const { return tabs_; }

  protected:
    void resizeEvent(QResizeEvent* event) override;

  private:
    void tabSelected(int index);
    void fitTabs(int room);
    QAction* addOption(const char* title, const char* name, bool TKViews::*option);

    TKSession* session_;
    UIHorizTabWin* tabs_;
    UIScopeViewWin* scopes_;
    UIImagePaneWin* reference_;
    QWidget* gallery_;
    QToolButton* options_;
};
