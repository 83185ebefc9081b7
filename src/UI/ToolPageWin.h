// One page of the settings area: the controls of its rows, laid out for the size it has, scrolled when it is higher.
#pragma once

#include "src/UI/ToolPageLayout.h"
#include "src/support/TKSession.h"

#include <QPushButton>
#include <QScrollArea>
#include <memory>

class UISliderWin;

/// The records behind a page's controls. They stay in place: the session points at them.
struct ToolPageRecords;

class ToolPageWin : public QScrollArea {
  public:
    /// Makes the controls and registers them with the session. `colorFormat` tells how curves print colours and outlives
    /// the page; `error` receives the first failure.
    ToolPageWin(TKSession* session, const TKPageRow& page, const int32_t* colorFormat, QWidget* parent,
                BPStatus* error);
    ~ToolPageWin() override;

    const TKPageRow& page() const { return page_; }
    QWidget* control(size_t row) const { return controls_[row]; } ///< of a row of the page
    /// Where the page stands in its parent; nothing of it is in its upper right corner.
    void place(const QRect& rect, TKCorner corner);

    /// The controls that are no sliders follow a record; the arguments are those of UpdateAllControls.
    void updateFrom(const OCSettings* settings, uint32_t toolMask, uint32_t curveMask, const OCSettings* previous,
                    bool force);

    void settle();          ///< see TKSettleControls
    void picturesChanged(); ///< the source frame, or what is made of it, is another one

  protected:
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

  private:
    QWidget* makeControl(const TKControlRow& row, const QString& name, BPStatus* error);
    QWidget* makeSlider(const TKControlRow& row, const QString& name, BPStatus* error);
    QWidget* makeButton(const TKControlRow& row, const QString& name);
    QWidget* makeCheckbox(const TKControlRow& row, const QString& name);
    QWidget* makePopup(const TKControlRow& row, const QString& name, BPStatus* error);
    QWidget* makeColorSample(const TKControlRow& row, const QString& name, BPStatus* error);
    QWidget* makeEyedroppers(const TKControlRow& row, const QString& name, BPStatus* error);
    QWidget* makeHueWheel(const TKControlRow& row, const QString& name, BPStatus* error);
    QWidget* makeCurve(const TKControlRow& row, const QString& name);
    QWidget* makeLevels(const TKControlRow& row, const QString& name);
    QWidget* makeLumaRange(const TKControlRow& row, const QString& name);
    void layOut();

    TKSession* session_;
    const TKPageRow& page_;
    const int32_t* colorFormat_;
    QWidget* content_;
    std::unique_ptr<ToolPageRecords> records_;
    std::vector<QWidget*> controls_;
    TKCorner corner_ = {};
};
