// The displays in a window of their own: a row of tabs, and a display below it. It belongs to the main window, hides
// and comes back with it, and hands it the keys that are not its own.
//
// Shift and the letters of the analysis pane select displays; F11 fills the screen, Escape and Ctrl+W close.
#pragma once

#include "src/UI/UIHorizTabWin.h"
#include "src/UI/UIScopeViewWin.h"

#include <QTimer>

class UIScopeWindowWin : public QWidget {
  public:
    UIScopeWindowWin(TKSession* session, QWidget* mainWindow);
    ~UIScopeWindowWin() override;

    /// Shows it where it was last; the first time on a screen that the main window is not on, when there is one. It
    /// becomes the active window when a user asked for it.
    void showAgain(bool activate);

    UIScopeViewWin* scopes() const { return scopes_; }
    UIHorizTabWin* tabs() const { return tabs_; }
    std::function<bool(const QKeyEvent& event, const QWidget* focus)> offerKey; ///< to the main window; true: consumed

  protected:
    void resizeEvent(QResizeEvent* event) override;
    void moveEvent(QMoveEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

  private:
    void place();
    void keepPlace();
    bool selectByLetter(const QKeyEvent& event);

    TKSession* session_;
    UIHorizTabWin* tabs_;
    UIScopeViewWin* scopes_;
    QTimer placeTimer_; ///< gathers moves: the place is stored when the hand rests
};
