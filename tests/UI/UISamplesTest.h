// A window with one of each of the controls that are no sliders, over a session that a test plays.
#pragma once

#include "src/UI/UIColorSampleWin.h"
#include "src/UI/UIMatchColorWin.h"
#include "tests/UI/UITest.h"

#include <QApplication>
#include <QColorDialog>
#include <QTimer>

/// Counts the paint events of a widget.
class UIPaintCounter : public QObject {
  public:
    explicit UIPaintCounter(QWidget* widget)
    {
        widget->installEventFilter(this);
        QTest::qWait(50); // what was still to be painted
        count = 0;
    }
    bool eventFilter(QObject*, QEvent* event) override
    {
        count += event->type() == QEvent::Paint;
        return false;
    }
    uint32_t count = 0;
};

class UISamplesTest : public UITest {
  protected:
    void SetUp() override
    {
        UITest::SetUp();
        ASSERT_EQ(TKCreateColorSample(&sample_, &Live(), offsetof(OCSettings, secondary[0].sample[0].red),
                                      offsetof(OCSettings, secondary[0].sample[0].on), tkSectionSecondaryA, 1, nullptr,
                                      "Sample 1", "a_1"),
                  bpNoErr);
        ASSERT_EQ(TKCreateColorSample(&plain_, &Live(), kTKColorSampleOffset, kTKNoOffset, tkSectionNone, 2, nullptr,
                                      "Color Sample", "color"),
                  bpNoErr);
        TKInitMatchColor(&match_, &Live(), ocMatchRGB, tkSectionNone, "match");
        TKInitMatchColor(&match2_, &Live(), ocMatchHSL, tkSectionNone, "match2");
        TKLinkColorSample(&plain_, &match_.source);
        TKCreateCheckbox(&checkbox_, &Live(), offsetof(OCSettings, secondary[0].invert), tkSectionSecondaryA,
                         "Invert Selection", "invert");
        TKCreatePopup(&popup_, &Live(), offsetof(OCSettings, limiter.limiter_clip_method), tkSectionLimiter,
                      "Limit Method", "limit", "Reduce Saturation|Reduce Luma|Smart Limit");
        views_ = session_->controls.viewCount;
        swatches_ = session_->controls.swatchCount;
        panel_ = std::make_unique<QWidget>();
        panel_->setObjectName(QStringLiteral("panel"));
        sampleWin_ = new UIColorSampleWin(session_, &sample_, QStringLiteral("a_1"), panel_.get());
        plainWin_ = new UIColorSampleWin(session_, &plain_, QStringLiteral("color"), panel_.get());
        matchWin_ = new UIMatchColorWin(session_, &match_, QStringLiteral("match"), panel_.get());
        narrowWin_ = new UIMatchColorWin(session_, &match2_, QStringLiteral("match2"), panel_.get());
        checkboxWin_ = UICheckboxWin::create(session_, &checkbox_, QStringLiteral("invert"), panel_.get());
        popupWin_ = new UIPopupWin(session_, &popup_, QStringLiteral("limit"), panel_.get());
        sampleWin_->move(12, 12);
        plainWin_->move(200, 12);
        checkboxWin_->setGeometry(390, 12, 170, UICheckboxWin::kHeight);
        popupWin_->setGeometry(390, 40, 170, UIPopupWin::kHeight);
        matchWin_->setGeometry(12, 140, UIMatchColorWin::kOneLineWidth, UIMatchColorWin::kOneLineHeight);
        narrowWin_->setGeometry(12, 196, 220, UIMatchColorWin::HeightAt(220));
        panel_->resize(580, 284);
        panel_->show();
        QApplication::setActiveWindow(panel_.get());
    }
    void TearDown() override
    {
        panel_.reset();
        EXPECT_EQ(session_->controls.viewCount, views_);
        EXPECT_EQ(session_->controls.swatchCount, swatches_);
        TKDisposeColorSample(&sample_);
        TKDisposeColorSample(&plain_);
        UITest::TearDown();
    }

    uint32_t Steps() const { return session_->undoRing->undoHead; }
    OCColorSample& Sample() { return Live().secondary[0].sample[0]; }
    static QColor Middle(QWidget* widget, double x = 0.5)
    {
        const QImage shot = widget->grab().toImage();
        return shot.pixelColor(static_cast<int>(shot.width() * x), 2);
    }
    void Pick(QWidget* eyedropper, float r, float g, float b)
    {
        QTest::mouseClick(eyedropper, Qt::LeftButton);
        ASSERT_TRUE(TKIsPicking(session_));
        const float rgb[3] = {r, g, b};
        TKPickSample(session_, rgb);
        (void)TKPickEnd(session_);
    }
    /// Answers the next colour dialog from inside its event loop.
    void AnswerDialog(bool accept, const QColor& color)
    {
        QTimer::singleShot(0, [this, accept, color] {
            auto* dialog = qobject_cast<QColorDialog*>(QApplication::activeModalWidget());
            ASSERT_NE(dialog, nullptr);
            dialogSeen_ = dialog->currentColor();
            dialogTitle_ = dialog->windowTitle();
            dialogCenter_ = dialog->geometry().center();
            dialog->setCurrentColor(color);
            accept ? dialog->accept() : dialog->reject();
        });
    }

    TKColorSample sample_ = {}, plain_ = {};
    TKMatchColor match_ = {}, match2_ = {};
    TKCheckbox checkbox_ = {};
    TKPopup popup_ = {};
    std::unique_ptr<QWidget> panel_;
    UIColorSampleWin *sampleWin_ = nullptr, *plainWin_ = nullptr;
    UIMatchColorWin *matchWin_ = nullptr, *narrowWin_ = nullptr;
    UICheckboxWin* checkboxWin_ = nullptr;
    UIPopupWin* popupWin_ = nullptr;
    uint32_t views_ = 0, swatches_ = 0; // of the main window's own
    QColor dialogSeen_;
    QString dialogTitle_;
    QPoint dialogCenter_;
};
