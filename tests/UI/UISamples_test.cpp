// Swatches, eyedroppers, colour samples and colour match with real mouse and key events.
#include "src/UI/UICurveWin.h"
#include "src/UI/UIStyleWin.h"
#include "tests/UI/UISamplesTest.h"

#include <QAccessible>
#include <QHelpEvent>
#include <QPainter>
#include <QToolTip>

// Swatches and samples --------------------------------------------------------------------------------------------------

TEST_F(UISamplesTest, ASwatchShowsItsColourWhileItIsPickedAndAfterwards)
{
    EXPECT_EQ(Middle(sampleWin_->source()), QColor(0, 0, 0));
    QTest::mouseClick(sampleWin_->eyedropper(), Qt::LeftButton);
    const float red[3] = {1, 0, 0}, blue[3] = {0, 0, 1};
    TKPickSample(session_, red);
    EXPECT_EQ(Middle(sampleWin_->source()), QColor(255, 0, 0));
    EXPECT_EQ(Sample().red, 0.0f);
    TKPickSample(session_, blue);
    (void)TKPickEnd(session_);
    EXPECT_EQ(Middle(sampleWin_->source()), QColor(0, 0, 255));
    EXPECT_EQ(Sample().blue, 1.0f);
    EXPECT_TRUE(sampleWin_->checkbox()->isChecked());
    EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_EQ(Middle(sampleWin_->source()), QColor(0, 0, 0));
    EXPECT_FALSE(sampleWin_->checkbox()->isChecked());
}

TEST_F(UISamplesTest, TheResultSwatchFollowsEverySlider)
{
    Pick(plainWin_->eyedropper(), 0.4f, 0.2f, 0.1f);
    EXPECT_EQ(Middle(plainWin_->result()), QColor(102, 51, 25));
    Drag(Slider("hsl_master_gain"), 1.0 / 3, 2.0 / 3);
    const QColor doubled = Middle(plainWin_->result());
    EXPECT_NEAR(doubled.red(), 204, 2);
    EXPECT_NEAR(doubled.green(), 102, 2);
    EXPECT_EQ(Middle(plainWin_->source()), QColor(102, 51, 25));
}

TEST_F(UISamplesTest, SourceAndResultAreOneFieldWithoutALineBetween)
{
    Pick(plainWin_->eyedropper(), 0.4f, 0.2f, 0.1f);
    const QImage shot = plainWin_->grab().toImage();
    const double scale = shot.devicePixelRatio();
    const int y = static_cast<int>((plainWin_->source()->y() + 3) * scale);
    const int left = static_cast<int>((plainWin_->source()->x() + 4) * scale);
    const int right = static_cast<int>((plainWin_->result()->geometry().right() - 4) * scale);
    for (int x = left; x < right; ++x) ASSERT_EQ(shot.pixelColor(x, y), shot.pixelColor(left, y)) << x;
    EXPECT_NE(shot.pixelColor(static_cast<int>(plainWin_->source()->x() * scale), y), shot.pixelColor(left, y));
}

TEST_F(UISamplesTest, TheFormatOfThePopupIsWhatIsPrintedAndAnnounced)
{
    Pick(plainWin_->eyedropper(), 1, 0.5f, 0);
    const struct {
        int index;
        const char* text;
    } cases[] = {
        {1, "R 1023, G 511, B 0"},     {2, "R 32768, G 16384, B 0"},  {3, "R 1.0000, G 0.5000, B 0.0000"},
        {4, "R 100 %, G 50 %, B 0 %"}, {5, "H 30°, S 100 %, L 50 %"}, {6, "R ff, G 7f, B 00"},
        {0, "R 255, G 127, B 0"},
    };
    plainWin_->format()->setFocus();
    for (const auto& c : cases) {
        const QImage before = plainWin_->source()->grab().toImage();
        if (c.index == 0)
            QTest::keyClick(plainWin_->format(), Qt::Key_Home);
        else
            QTest::keyClick(plainWin_->format(), Qt::Key_Down);
        EXPECT_EQ(plain_.format, c.index + 1);
        EXPECT_EQ(plainWin_->source()->valueText(), QString::fromUtf8(c.text));
        EXPECT_NE(plainWin_->source()->grab().toImage(), before) << c.text;
        EXPECT_EQ(QAccessible::queryAccessibleInterface(plainWin_->source())->text(QAccessible::Description),
                  QString::fromUtf8(c.text));
    }
    EXPECT_EQ(sample_.format, tkColorRGB8); // another composite's
}

TEST_F(UISamplesTest, EveryPartHasItsToolTip)
{
    const struct {
        const char* name;
        const char* tip;
    } cases[] = {
        {"color.eyedropper", "Choose color sample"},
        {"color.source", "Sample source color"},
        {"color.result", "Sample result color"},
        {"color.format", "Choose color display format"},
        {"match.source", "Color match source color"},
        {"match.target", "Color match target color"},
        {"match.target_eyedropper", "Choose color match target color. Press option and click for color picker."},
        {"match.method", "Choose color matching method"},
        {"match.match", "Adjust settings to match source and target colors"},
    };
    for (const auto& c : cases) {
        auto* part = panel_->findChild<QWidget*>(QString::fromLatin1(c.name));
        ASSERT_NE(part, nullptr) << c.name;
        EXPECT_EQ(part->toolTip(), QString::fromLatin1(c.tip)) << c.name;
    }
    QWidget blackPoint;
    AttachToolTip(&blackPoint, kTKToolTipBase, kTKTipBlackPoint);
    EXPECT_TRUE(blackPoint.toolTip().isEmpty());
}

TEST_F(UISamplesTest, TheSwitchOfToolTipsHoldsThemBack)
{
    QWidget* part = plainWin_->eyedropper();
    const auto ask = [part] {
        QToolTip::hideText();
        QHelpEvent event(QEvent::ToolTip, QPoint(5, 5), part->mapToGlobal(QPoint(5, 5)));
        QApplication::sendEvent(part, &event);
        return QToolTip::text();
    };
    session_->ui.setToolTips(session_->ui.context, false);
    EXPECT_NE(ask(), QStringLiteral("Choose color sample"));
    session_->ui.setToolTips(session_->ui.context, true);
    EXPECT_EQ(ask(), QStringLiteral("Choose color sample"));
    QToolTip::hideText();
}

// Eyedroppers -----------------------------------------------------------------------------------------------------------

TEST_F(UISamplesTest, AnEyedropperActsAtTheReleaseOnIt)
{
    QWidget* eyedropper = sampleWin_->eyedropper();
    QTest::mousePress(eyedropper, Qt::LeftButton);
    EXPECT_FALSE(TKIsPicking(session_));
    QTest::mouseRelease(eyedropper, Qt::LeftButton, Qt::NoModifier, QPoint(80, 80));
    EXPECT_FALSE(TKIsPicking(session_)); // released elsewhere
    QTest::mouseClick(eyedropper, Qt::LeftButton);
    EXPECT_TRUE(TKIsPickingFor(session_, &sample_.eyedropper));
    QTest::mouseClick(eyedropper, Qt::LeftButton);
    EXPECT_FALSE(TKIsPicking(session_));
    QTest::keyClick(eyedropper, Qt::Key_Return);
    EXPECT_TRUE(TKIsPicking(session_));
    QTest::keyClick(eyedropper, Qt::Key_Space);
    EXPECT_FALSE(TKIsPicking(session_));
}

TEST_F(UISamplesTest, EscapeGivesAPickUpWithTheFocusOnAnyControlOfTheWindow)
{
    TincturaMainWin* window = windows_->mainWindow();
    window->activateWindow();
    QApplication::setActiveWindow(window);
    for (QWidget* control : {static_cast<QWidget*>(window), static_cast<QWidget*>(Slider("hsl_master_gain")),
                             Find<QWidget>("sample.format"), Find<QWidget>("picture")}) {
        ASSERT_NE(control, nullptr);
        (void)TKEyedropperClick(session_, &sample_.eyedropper, 0);
        control->setFocus();
        QTest::keyClick(control, Qt::Key_Escape);
        EXPECT_FALSE(TKIsPicking(session_)) << control->objectName().toStdString();
    }
}

TEST_F(UISamplesTest, AnEyedropperThatGoesTakesItsPickAlong)
{
    TKEyedropper record;
    TKCreateEyedropper(&record, &Live(), kTKColorSampleOffset, tkSectionNone, "Gone", "gone");
    {
        UIEyedropperWin window(session_, &record, QStringLiteral("gone"), nullptr);
        window.click();
        EXPECT_TRUE(TKIsPickingFor(session_, &record));
    }
    EXPECT_FALSE(TKIsPicking(session_));
}

TEST_F(UISamplesTest, ACheckboxBeyondTheTableIsLoggedAndNotMade)
{
    TKControls& controls = session_->controls;
    const uint32_t count = controls.viewCount;
    QWidget parent;
    controls.viewCount = kTKViewLimit; // nothing walks the table meanwhile
    UICheckboxWin* made = UICheckboxWin::create(session_, &checkbox_, QStringLiteral("full"), &parent);
    controls.viewCount = count;
    EXPECT_EQ(made, nullptr);
    EXPECT_TRUE(parent.children().isEmpty());
    EXPECT_EQ(TKLogCount("TKCreateCheckbox: failed to register class\n"), 1u);
    // A page without it goes on; one without its popups is an error.
    controls.viewCount = kTKViewLimit;
    const uint32_t sliders = controls.sliderCount;
    BPStatus error = bpNoErr;
    const int32_t format = tkColorRGB8;
    for (const TKPagePath& path : TKToolPages()) {
        if (std::string(path.page->prefix) != "limiter") continue;
        ToolPageWin page(session_, *path.page, &format, nullptr, &error);
        EXPECT_EQ(error, bpMemFullErr);
        for (size_t i = 0; i < path.page->rows.size(); ++i)
            EXPECT_EQ(page.control(i) == nullptr, path.page->rows[i].kind == tkRowCheckbox) << i;
        page.resize(800, 300);
        page.grab(); // laid out around the gap
    }
    controls.viewCount = count;
    EXPECT_EQ(controls.sliderCount, sliders);
}

TEST_F(UISamplesTest, APageThatGoesLeavesNothingBehindInTheSession)
{
    const TKControls& controls = session_->controls;
    const uint32_t sliders = controls.sliderCount, views = controls.viewCount, swatches = controls.swatchCount;
    const int32_t format = tkColorRGB8;
    for (const TKPagePath& path : TKToolPages()) {
        BPStatus error = bpNoErr;
        {
            ToolPageWin page(session_, *path.page, &format, nullptr, &error);
            ASSERT_EQ(error, bpNoErr);
            if (controls.sliderCount > sliders) {
                OpenEdit(session_, controls.slider[sliders]);
                session_->controls.lastTouched = controls.slider[sliders];
            }
        }
        EXPECT_EQ(controls.sliderCount, sliders) << path.page->prefix;
        EXPECT_EQ(controls.viewCount, views) << path.page->prefix;
        EXPECT_EQ(controls.swatchCount, swatches) << path.page->prefix;
        EXPECT_EQ(controls.openSlider, nullptr) << path.page->prefix;
        EXPECT_EQ(controls.lastTouched, nullptr) << path.page->prefix;
        UpdateAllControls(session_, &Live(), kOCResetAll, kOCResetAll, nullptr, true);
    }
}

TEST_F(UISamplesTest, TheToneStripFollowsEverySliderAndEachScale)
{
    ToolAreaWin* tools = windows_->mainWindow()->tools();
    UIUserDrawWin* strip = tools->strip();
    EXPECT_EQ(strip->accessibleName(), QStringLiteral("Tone Strip"));
    const auto at = [&](double across, double down) {
        const QImage shot = strip->grab().toImage();
        return shot.pixelColor(static_cast<int>(across * (shot.width() - 1)),
                               static_cast<int>(std::lround(down * (shot.height() - 1))));
    };
    EXPECT_EQ(at(0.25, 0.5), at(0.75, 0.5));
    EXPECT_GT(at(0.25, 0.1).red(), at(0.25, 0.9).red());
    UIPaintCounter painted(strip);
    Press(Slider("hsl_master_gain"), 0);
    QTest::qWait(50);
    EXPECT_GE(painted.count, 1u);
    EXPECT_EQ(at(0.75, 0.5), QColor(Qt::black));
    EXPECT_NEAR(at(0.25, 0.5).red(), 127, 2);
    EXPECT_EQ(strip->accessibleDescription(), QStringLiteral("black 0 0 0, gray 0 0 0, white 0 0 0"));
}

TEST_F(UISamplesTest, EveryColourOfACurveFollowsTheFormatOfTheSample)
{
    ShowPageOf("curves_rgb");
    QCoreApplication::processEvents();
    auto* curve = Find<UICurveWin>("curves_rgb_red");
    ASSERT_NE(curve, nullptr);
    (void)TKCurvePress(session_, curve->vars(), curve->pointAt(0.5, 0.5).x(), curve->pointAt(0.5, 0.5).y());
    (void)TKCurveRelease(session_, curve->vars());
    TKCurveLeave(curve->vars());
    QCoreApplication::processEvents();
    UIPaintCounter painted(curve);
    auto* format = Find<QComboBox>("sample.format");
    format->setCurrentIndex(3);
    emit format->activated(3);
    QTest::qWait(50);
    EXPECT_GE(painted.count, 1u);
}

TEST_F(UISamplesTest, AnEyedropperLooksDifferentWhileItPicks)
{
    QWidget* eyedropper = sampleWin_->eyedropper();
    const QImage idle = eyedropper->grab().toImage();
    (void)TKEyedropperClick(session_, &sample_.eyedropper, 0);
    EXPECT_NE(eyedropper->grab().toImage(), idle);
    TKPickCancel(session_);
    EXPECT_EQ(eyedropper->grab().toImage(), idle);
}

TEST_F(UISamplesTest, ControlOpensTheColourDialogOnThePresentColourOverItsParent)
{
    Sample() = {.on = 1, .red = 51 / 255.0f, .green = 0.2f, .blue = 2};
    AnswerDialog(true, QColor(10, 20, 30));
    QTest::mouseClick(sampleWin_->eyedropper(), Qt::LeftButton, Qt::ControlModifier);
    EXPECT_EQ(dialogSeen_, QColor(51, 51, 255));
    EXPECT_EQ(dialogTitle_, QStringLiteral("Sample 1"));
    const QPoint center = panel_->mapToGlobal(panel_->rect().center());
    EXPECT_LT((dialogCenter_ - center).manhattanLength(), 60);
    EXPECT_EQ(Sample().red, 10 / 255.0f);
    EXPECT_EQ(Sample().green, 20 / 255.0f);
    EXPECT_EQ(Sample().blue, 30 / 255.0f);
    EXPECT_EQ(Steps(), 1u);
    EXPECT_EQ(Middle(sampleWin_->source()), QColor(10, 20, 30));
}

TEST_F(UISamplesTest, CancelOfTheDialogRestoresTheTriple)
{
    Sample() = {.on = 1, .red = 0.123f, .green = -0.2f, .blue = 2};
    const OCSettings before = Live();
    AnswerDialog(false, QColor(10, 20, 30));
    QTest::mouseClick(sampleWin_->eyedropper(), Qt::LeftButton, Qt::ControlModifier);
    EXPECT_TRUE(dialogSeen_.isValid());
    EXPECT_EQ(std::memcmp(&before, &Live(), sizeof before), 0);
    EXPECT_EQ(Steps(), 0u);
}

// Colour match ----------------------------------------------------------------------------------------------------------

TEST_F(UISamplesTest, TwoPicksAChoiceAndTheButtonMatchColours)
{
    auto* button = panel_->findChild<QPushButton*>(QStringLiteral("match.match"));
    auto* method = panel_->findChild<QComboBox*>(QStringLiteral("match.method"));
    EXPECT_FALSE(button->isEnabled());
    Pick(panel_->findChild<QWidget*>(QStringLiteral("match.source_eyedropper")), 0.25f, 0.5f, 0.5f);
    EXPECT_TRUE(button->isEnabled());
    Pick(panel_->findChild<QWidget*>(QStringLiteral("match.target_eyedropper")), 0.5f, 0.25f, 0.75f);
    method->setFocus();
    QTest::keyClick(method, Qt::Key_Down);
    QTest::keyClick(method, Qt::Key_Down);
    EXPECT_EQ(match_.entry, 3);
    const uint32_t steps = Steps();
    QTest::mouseClick(button, Qt::LeftButton);
    EXPECT_EQ(Live().rgb.master.channel[0].gain, 2.0f);
    EXPECT_EQ(Live().rgb.master.channel[1].gain, 1.0f);
    EXPECT_EQ(Live().rgbOn, 1u);
    EXPECT_STREQ(Slider("rgb_master_r_gain")->slider()->valueText, "2.00");
    EXPECT_EQ(Steps(), steps + 1);
    EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_FALSE(button->isEnabled()); // nothing is picked again
}

TEST_F(UISamplesTest, TheCommonSampleFeedsTheSourceOfTheMatch)
{
    Pick(plainWin_->eyedropper(), 0, 1, 0);
    EXPECT_EQ(Middle(panel_->findChild<QWidget*>(QStringLiteral("match.source"))), QColor(0, 255, 0));
}

TEST_F(UISamplesTest, TheSampleOfTheMainWindowFeedsTheSourceOfEveryMatch)
{
    Pick(Find<QWidget>("sample.eyedropper"), 0, 1, 0);
    float stored[3];
    std::memcpy(stored, reinterpret_cast<const uint8_t*>(&Live()) + kTKMatchSourceOffset, sizeof stored);
    EXPECT_EQ(stored[0], 0.0f);
    EXPECT_EQ(stored[1], 1.0f);
    for (const char* name : {"match_hsl.source", "match_curves.source", "match_secondary.source"})
        EXPECT_EQ(Middle(Find<QWidget>(name)), QColor(0, 255, 0)) << name;
}

TEST_F(UISamplesTest, ASwatchThatTheTableHasNoRoomForIsLeftAlone)
{
    TKControls& controls = session_->controls;
    const uint32_t count = controls.swatchCount;
    TKColorSample sample = {};
    ASSERT_EQ(TKCreateColorSample(&sample, &Live(), kTKColorSampleOffset, kTKNoOffset, tkSectionNone, 3, nullptr,
                                  "Full", "full"),
              bpNoErr);
    controls.swatchCount = kTKSwatchLimit; // nothing walks the table meanwhile
    {
        QWidget parent;
        UIColorSampleWin window(session_, &sample, QStringLiteral("full"), &parent);
        EXPECT_EQ(sample.source.redraw, nullptr);
        EXPECT_EQ(sample.result.redraw, nullptr);
        controls.swatchCount = count;
        EXPECT_TRUE(TKSelectColorFormat(session_, &sample, 3));
    }
    EXPECT_EQ(controls.swatchCount, count);
    TKDisposeColorSample(&sample);
}

TEST_F(UISamplesTest, NothingOverlapsAndNothingIsCutAtAnyWidth)
{
    for (int width = UIMatchColorWin::kLeastWidth; width <= 700; width += 3) {
        matchWin_->resize(width, UIMatchColorWin::HeightAt(width));
        const QList<QWidget*> parts = matchWin_->findChildren<QWidget*>(Qt::FindDirectChildrenOnly);
        ASSERT_EQ(parts.size(), 6);
        for (int i = 0; i < parts.size(); ++i) {
            EXPECT_TRUE(matchWin_->rect().contains(parts[i]->geometry()))
                << width << qPrintable(parts[i]->objectName());
            for (int k = 0; k < i; ++k)
                EXPECT_FALSE(parts[i]->geometry().intersects(parts[k]->geometry()))
                    << width << " " << qPrintable(parts[i]->objectName()) << " " << qPrintable(parts[k]->objectName());
        }
    }
}

TEST_F(UISamplesTest, EveryScaleAndPalettePaintsTheSameColoursInTheSamePlaces)
{
    const QByteArray folder = qgetenv("OC_SHOTS"); // where to keep the pictures for the eye
    Pick(sampleWin_->eyedropper(), 0.8f, 0.35f, 0.2f);
    Pick(plainWin_->eyedropper(), 0.2f, 0.45f, 0.6f);
    Pick(panel_->findChild<QWidget*>(QStringLiteral("match.target_eyedropper")), 0.9f, 0.8f, 0.3f);
    (void)TKSelectColorFormat(session_, &plain_, 5);
    (void)TKEyedropperClick(session_, &match_.sourceEyedropper, 0);
    sampleWin_->eyedropper()->setFocus();
    const TKPalette palette = session_->palette;
    for (const bool light : {false, true}) {
        if (light) {
            PrepareUIPalette(&session_->palette, 3 * 65536);
            UIApplyPalette(session_->palette);
        }
        for (const double scale : {1.0, 1.25, 1.5, 2.0}) {
            QImage image((QSizeF(panel_->size()) * scale).toSize(), QImage::Format_RGB32);
            image.setDevicePixelRatio(scale);
            image.fill(UIShadesNow().panel);
            panel_->render(&image, QPoint(), QRegion(), QWidget::DrawChildren);
            const auto at = [&](const QWidget* part) {
                const QPointF point = part->mapTo(panel_.get(), QPoint(part->width() / 2, 4));
                return image.pixelColor((point * scale).toPoint());
            };
            EXPECT_EQ(at(sampleWin_->source()), QColor(204, 89, 51)) << light << " " << scale;
            EXPECT_EQ(at(plainWin_->source()), QColor(51, 115, 153)) << light << " " << scale;
            EXPECT_EQ(at(plainWin_->result()), QColor(51, 115, 153)) << light << " " << scale;
            EXPECT_EQ(at(panel_->findChild<QWidget*>(QStringLiteral("match.target"))), QColor(229, 204, 76))
                << light << " " << scale;
            if (!folder.isEmpty())
                image.save(QString::fromLocal8Bit(folder) +
                           QStringLiteral("/samples_%1_%2.png")
                               .arg(light ? QStringLiteral("light") : QStringLiteral("dark"))
                               .arg(scale));
        }
    }
    session_->palette = palette;
    UIApplyPalette(palette);
}
