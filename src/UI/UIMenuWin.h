// A menu whose items carry the name of their key in their text, "Undo   Ctrl+Z": it is shown in a column of its own, so
// that the keys stand below each other whatever the font. The key is text and no more: the window routes keys.
#pragma once

#include <QMenu>

class UIMenuWin : public QMenu {
  public:
    explicit UIMenuWin(const QString& title, QWidget* parent);

    /// Makes the menu as wide as its two columns; after the last item was added.
    void fitColumns();

  protected:
    void initStyleOption(QStyleOptionMenuItem* option, const QAction* action) const override;

  private:
    int keyWidth_ = 0;
};
