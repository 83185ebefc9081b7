// A handle of a composite control as the keyboard and assistive technology see it: something with a name and a value
// that has the focus and moves by arrow keys. The control paints it and takes the mouse.
#pragma once

#include <QColor>
#include <QWidget>

/// The control that a handle belongs to.
class UIHandleOwner {
  public:
    virtual ~UIHandleOwner() = default;
    virtual double handleValue(int index) const = 0; ///< 0 to 1
    virtual QString handleText(int index) const = 0; ///< the value in words
    /// Arrow keys: steps to the right and upwards, fine ones with shift.
    virtual void nudgeHandle(int index, int right, int up, bool fine) = 0;
    virtual void setHandleValue(int index, double value) = 0; ///< within its limits
    virtual void editHandle(int index) = 0;                   ///< Return: opens the value for typing
    virtual void settleHandles() = 0;                         ///< a key was let go, or the focus has left
    virtual void handlesChanged() = 0;                        ///< a handle gained or lost the focus
};

/// The colour of the ring around a handle that has the focus: it stands out from the panel, or from a plot, which is
/// dark in every palette.
QColor UIFocusColor(bool onPlot = false);

class UIHandleWin : public QWidget {
  public:
    UIHandleWin(UIHandleOwner* owner, int index, const QString& name, const QString& objectName, QWidget* parent);

    UIHandleOwner* owner() const { return owner_; }
    int index() const { return index_; }
    void showValue(); ///< the value may be another one

  protected:
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

  private:
    UIHandleOwner* owner_;
    int index_;
    QString announced_; ///< the value as it was told last
};
