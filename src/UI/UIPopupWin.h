// Popups: a label with a drop-down list under it, bound to a word of the record; and the list alone.
#pragma once

#include "src/UI/UIBoundViewWin.h"

#include <QComboBox>
#include <QLabel>

/// A drop-down list that a turn of the wheel never changes: the turn goes on to what is behind it.
class UIListWin : public QComboBox {
  public:
    /// `items` separated by "|".
    UIListWin(const char* items, const QString& name, const QString& accessibleName, QWidget* parent);

  protected:
    void paintEvent(QPaintEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
};

class UIPopupWin : public QWidget {
  public:
    /// Session and record must outlive the widget. The list bears the name with ".list".
    UIPopupWin(TKSession* session, const TKPopup* popup, const QString& name, QWidget* parent);

    void showValue(); ///< the record changed; a value that the list does not have selects nothing
    UIListWin* list() const { return list_; }
    bool followsRecord() const { return view_.isRegistered(); }
    static constexpr int kHeight = 40;

    QSize sizeHint() const override { return QSize(170, kHeight); }

  protected:
    void resizeEvent(QResizeEvent* event) override;

  private:
    TKSession* session_;
    const TKPopup* popup_;
    QLabel* label_;
    UIListWin* list_;
    UIBoundView view_;
};
