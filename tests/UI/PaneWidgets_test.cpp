// The settings area as its user meets it: what stands where at every size, the way of the Tab key, resets, and the road
// from a record to the controls.
#include "src/UI/UICurveWin.h"
#include "src/UI/UIHueOffsetWin.h"
#include "src/UI/UILevelsWin.h"
#include "tests/UI/UITest.h"

#include <QAccessible>
#include <QCoreApplication>
#include <QScrollBar>
#include <random>

namespace {

/// A rectangle of a widget in the coordinates of one above it.
QRect RectIn(const QWidget* widget, const QWidget* above)
{
    return QRect(widget->mapTo(above, QPoint(0, 0)), widget->size());
}

/// Without a corner that is something else's.
QRegion RegionIn(const QWidget* widget, const QWidget* ancestor)
{
    const QRect rect = RectIn(widget, ancestor);
    return widget->mask().isEmpty() ? QRegion(rect) : widget->mask().translated(rect.topLeft());
}

/// Every float and switch of a grade that a control of a page edits gets another value than its default.
void Disturb(OCSettings* grade)
{
    for (const TKPagePath& path : TKToolPages()) {
        for (const uint32_t offset : path.switchOffset)
            if (offset != kTKNoSwitch) std::memset(reinterpret_cast<uint8_t*>(grade) + offset, 1, 1);
        for (const TKControlRow& row : path.page->rows) {
            if (row.kind != tkRowSlider) continue;
            const float value = static_cast<float>(row.bind.low + 0.37 * (row.bind.high - row.bind.low));
            std::memcpy(reinterpret_cast<uint8_t*>(grade) + path.page->blockOffset + row.bind.offset, &value, 4);
        }
    }
    for (OCHueOffsetTriple* wheel : {&grade->hueOffset.master, &grade->hueOffset.shadows, &grade->hueOffset.midtones,
                                     &grade->hueOffset.highlights}) {
        wheel->tintangle = 77;
        wheel->strength = 0.5f;
    }
    for (HCurve& curve : grade->rgbCurve) curve.points.xy.y[0] = 0.25f;
    for (HCurve& curve : grade->hslCurve) curve.points.xy.y[0] = 0.25f;
    for (OCLevelsBlock& levels : grade->levels) levels.inblackpt = 0.125f;
    grade->lumaRange.lumarange_shadowx = 0.2f;
    for (OCSecondary& secondary : grade->secondary) {
        secondary.sample[2] = {.on = 1, .red = 0.5f, .green = 0.25f, .blue = 0.125f};
        secondary.invert = 1;
        secondary.previewStyle = 3;
    }
    grade->limiter.limiter_clip_method = 1;
    grade->limiter.limiter_softclip_enable = 1;
}

const char* RoleName(QAccessible::Role role)
{
    switch (role) {
    case QAccessible::PageTabList: return "tabs";
    case QAccessible::PageTab: return "tab";
    case QAccessible::Slider: return "slider";
    case QAccessible::Button: return "button";
    case QAccessible::CheckBox: return "checkbox";
    case QAccessible::ComboBox: return "list";
    case QAccessible::Dial: return "wheel";
    default: return nullptr;
    }
}

/// What of a widget's tree has a role that a user acts on, one line each.
void Dump(QAccessibleInterface* part, std::string* text)
{
    if (!part || part->state().invisible) return;
    if (const char* role = RoleName(part->role())) {
        *text += std::string(role) + " " + part->text(QAccessible::Name).toStdString();
        if (part->state().selected) *text += " selected";
        if (part->state().checkable) *text += part->state().checked ? " on" : " off";
        *text += "\n";
    }
    if (part->role() == QAccessible::ComboBox) return; // its items are Qt's own
    for (int i = 0; i < part->childCount(); ++i) Dump(part->child(i), text);
}

/// Whether a part of a tree bears a name, alone or with what it is.
bool HasName(QAccessibleInterface* part, const QString& name)
{
    if (part->text(QAccessible::Name).contains(name)) return true;
    for (int i = 0; i < part->childCount(); ++i)
        if (QAccessibleInterface* child = part->child(i); child && HasName(child, name)) return true;
    return false;
}

} // namespace

TEST_F(UITest, NothingOverlapsOrIsCutOnAnyPageAtEverySize)
{
    TincturaMainWin* window = windows_->mainWindow();
    window->showNormal();
    for (const QSize size : {QSize(1024, 744), QSize(1280, 776), QSize(1920, 1056), QSize(3840, 2136)}) {
        window->resize(size);
        for (const TKPagePath& path : TKToolPages()) {
            ShowPageOf(path.page->prefix);
            QCoreApplication::processEvents();
            ToolAreaWin* tools = window->tools();
            const std::string where = std::string(path.page->prefix) + " at " + std::to_string(size.width());
            // The parts of the area.
            std::vector<QWidget*> parts = {tools->shownPage(), tools->sample(), tools->strip()};
            if (tools->shownMatch()) parts.push_back(tools->shownMatch());
            for (QWidget* child : tools->findChildren<QWidget*>())
                if (auto* bar = dynamic_cast<UIHorizTabWin*>(child); bar && bar->isVisible()) {
                    parts.push_back(bar);
                    EXPECT_GE(bar->width(), bar->ownWidth()) << where << ": a tab is cut";
                }
            for (size_t i = 0; i < parts.size(); ++i) {
                const QRect rect = RectIn(parts[i], tools);
                EXPECT_TRUE(parts[i]->isVisible()) << where << " part " << i;
                EXPECT_TRUE(tools->rect().contains(rect)) << where << " " << parts[i]->objectName().toStdString();
                for (size_t j = 0; j < i; ++j)
                    EXPECT_FALSE(RegionIn(parts[i], tools).intersects(RegionIn(parts[j], tools)))
                        << where << " " << parts[i]->objectName().toStdString() << " and "
                        << parts[j]->objectName().toStdString();
            }
            // The controls of the page.
            ToolPageWin* page = tools->shownPage();
            const QWidget* content = page->widget();
            EXPECT_LE(content->width(), page->viewport()->width()) << where << ": scrolls sideways";
            EXPECT_EQ(page->verticalScrollBar()->isVisible(), content->height() > page->height()) << where;
            for (size_t i = 0; i < path.page->rows.size(); ++i) {
                const QWidget* control = page->control(i);
                const QRect rect = control->geometry();
                const std::string name = where + " " + TKRowName(*path.page, path.page->rows[i]);
                EXPECT_TRUE(content->rect().contains(rect)) << name;
                if (!page->mask().isEmpty()) {
                    EXPECT_TRUE((QRegion(rect) - page->mask()).isEmpty()) << name << ": under the sample";
                }
                EXPECT_GE(rect.width(), control->minimumSizeHint().width()) << name;
                EXPECT_GE(rect.height(), control->minimumSizeHint().height()) << name;
                for (const QObject* child : control->children())
                    if (const auto* inside = qobject_cast<const QWidget*>(child); inside && inside->isVisible()) {
                        // The box that takes the mouse for a handle at the end of its bar is wider than the margin.
                        EXPECT_TRUE(control->rect().adjusted(-2, -1, 2, 1).contains(inside->geometry()))
                            << name << ": " << inside->objectName().toStdString();
                    }
                for (size_t j = 0; j < i; ++j)
                    EXPECT_FALSE(rect.intersects(page->control(j)->geometry())) << name << " and row " << j;
            }
        }
    }
}

TEST_F(UITest, TabWalksAPageInReadingOrderAndMissesNoControl)
{
    TincturaMainWin* window = windows_->mainWindow();
    for (const TKPagePath& path : TKToolPages()) {
        ShowPageOf(path.page->prefix);
        ToolPageWin* page = window->tools()->shownPage();
        const auto rowOf = [&](const QWidget* widget) {
            for (size_t i = 0; i < path.page->rows.size(); ++i)
                if (page->control(i) == widget || page->control(i)->isAncestorOf(widget)) return static_cast<int>(i);
            return -1;
        };
        std::vector<bool> seen(path.page->rows.size());
        int last = -1;
        const QWidget* first = page->widget();
        for (QWidget* widget = first->nextInFocusChain(); widget != first; widget = widget->nextInFocusChain()) {
            if (!(widget->focusPolicy() & Qt::TabFocus) || !widget->isVisibleTo(page) || !widget->isEnabled()) continue;
            const int row = rowOf(widget);
            if (row < 0) continue;
            EXPECT_GE(row, last) << path.page->prefix << " " << widget->objectName().toStdString();
            last = row;
            seen[static_cast<size_t>(row)] = true;
        }
        for (size_t i = 0; i < seen.size(); ++i)
            EXPECT_TRUE(seen[i]) << TKRowName(*path.page, path.page->rows[i]) << " cannot be reached";
    }
}

TEST_F(UITest, TheSlidersOfAPageAreLinkedInACircle)
{
    for (const TKPagePath& path : TKToolPages()) {
        ShowPageOf(path.page->prefix);
        std::vector<SliderVars*> sliders;
        ToolPageWin* page = windows_->mainWindow()->tools()->shownPage();
        for (size_t i = 0; i < path.page->rows.size(); ++i) {
            if (auto* slider = dynamic_cast<UISliderWin*>(page->control(i))) sliders.push_back(slider->slider());
            if (auto* wheel = dynamic_cast<UIHueOffsetWin*>(page->control(i))) {
                sliders.push_back(&wheel->vars()->hueSlider);
                sliders.push_back(&wheel->vars()->strengthSlider);
            }
        }
        for (size_t i = 0; i < sliders.size(); ++i) {
            EXPECT_EQ(sliders[i]->next, sliders[(i + 1) % sliders.size()]) << path.page->prefix;
            EXPECT_EQ(sliders[i]->previous, sliders[(i + sliders.size() - 1) % sliders.size()]) << path.page->prefix;
        }
    }
}

TEST_F(UITest, ResetOfEveryPageResetsItsGroupAndNothingElse)
{
    for (const TKPagePath& path : TKToolPages()) {
        OCSettings before = Live();
        Disturb(&before);
        Live() = before;
        (void)UpdateAllControls(session_, &Live(), kOCResetAll, kOCResetAll, nullptr, true);
        OCSettings expected = before;
        OCResetSettings(&expected, path.page->toolMask, path.page->curveMask, PrefsResetDefaults(session_->prefs));
        // Deliberately not the page in front: the button knows where it stands.
        ShowPageOf(std::strcmp(path.page->prefix, "hsl_master") == 0 ? "limiter" : "hsl_master");
        const uint32_t steps = session_->undoRing->undoHead;
        Find<QPushButton>((std::string(path.page->prefix) + "_reset").c_str())->click();
        EXPECT_EQ(std::memcmp(&Live(), &expected, sizeof expected), 0) << path.page->prefix;
        EXPECT_NE(std::memcmp(&Live(), &before, sizeof before), 0) << path.page->prefix;
        EXPECT_EQ(session_->undoRing->undoHead, steps + 1);
        EXPECT_TRUE(TKUndoStepBack(session_));
        EXPECT_EQ(std::memcmp(&Live(), &before, sizeof before), 0) << path.page->prefix;
    }
}

TEST_F(UITest, WhatAPageHoldsBackIsInTheGradeThatASlotKeeps)
{
    ShowPageOf("levels_red");
    auto* handle = Find<QWidget>("levels_red_levels.inblack");
    handle->setFocus();
    QTest::keyPress(handle, Qt::Key_Right); // and held
    EXPECT_EQ(Live().levelsOn, 0u);
    EXPECT_TRUE(SlotStoreOrRecall(session_, 1, true));
    const OCSettings& kept = session_->prefs.savedSettings[0].settings;
    EXPECT_EQ(kept.levelsOn, 1u);
    EXPECT_EQ(kept.levels[1].on, 1u);
    EXPECT_EQ(kept.levels[1].inblackpt, 1.0f / 256);
    QTest::keyRelease(handle, Qt::Key_Right);
}

TEST_F(UITest, UpdateAllControlsReachesWhatItsMasksSelectAlsoOnPagesBehind)
{
    ShowPageOf("limiter");
    OCSettings other = Live();
    Disturb(&other);
    auto* wheel = Find<UIHueOffsetWin>("hueoffset_shadow");
    auto* secondaryWheel = Find<UIHueOffsetWin>("secondary_d_hueoffset");
    auto* levels = Find<UILevelsWin>("levels_red_levels");
    ASSERT_TRUE(wheel && secondaryWheel && levels);
    (void)UpdateAllControls(session_, &other, kOCResetHueOffset, 0, nullptr, false);
    EXPECT_EQ(wheel->vars()->angle, 77.0f);
    EXPECT_EQ(secondaryWheel->vars()->angle, 0.0f);
    EXPECT_EQ(levels->vars()->value[levelsInBlack], 0.0f);
    EXPECT_STREQ(Slider("hsl_master_gain")->slider()->valueText, "1.00");
    (void)UpdateAllControls(session_, &other, kOCResetLevels << 1, 0, &Live(), false);
    EXPECT_EQ(levels->vars()->value[levelsInBlack], 0.125f);
    // What is equal in both records is left alone.
    (void)UpdateAllControls(session_, &Live(), kOCResetHueOffset, 0, &Live(), false);
    EXPECT_EQ(wheel->vars()->angle, 77.0f);
    (void)UpdateAllControls(session_, &Live(), kOCResetHueOffset, 0, &Live(), true);
    EXPECT_EQ(wheel->vars()->angle, 0.0f);
}

TEST_F(UITest, APickedSampleOfASecondaryMovesNoSliderButTurnsItsSectionOn)
{
    ShowPageOf("secondary_b");
    const OCSecondary before = Live().secondary[1];
    QTest::mouseClick(Find<QWidget>("secondary_b_sample2.eyedropper"), Qt::LeftButton);
    ASSERT_TRUE(TKIsPicking(session_));
    const float rgb[3] = {0.5f, 0.25f, 0.75f};
    TKPickSample(session_, rgb);
    (void)TKPickEnd(session_);
    EXPECT_EQ(Live().secondaryOn, 1u);
    EXPECT_EQ(Live().secondary[1].on, 1u);
    EXPECT_EQ(Live().secondary[0].on, 0u);
    EXPECT_EQ(Live().secondary[1].sample[1].green, 0.25f);
    EXPECT_EQ(Live().secondary[1].sample[1].on, 1u);
    OCSecondary rest = Live().secondary[1];
    rest.on = before.on;
    rest.sample[1] = before.sample[1];
    EXPECT_EQ(std::memcmp(&rest, &before, sizeof rest), 0);
}

TEST_F(UITest, TheColourSampleIsInSightOnEveryPage)
{
    for (const TKPagePath& path : TKToolPages()) {
        ShowPageOf(path.page->prefix);
        EXPECT_TRUE(windows_->mainWindow()->tools()->sample()->isVisible()) << path.page->prefix;
    }
    QTest::mouseClick(Find<QWidget>("sample.eyedropper"), Qt::LeftButton);
    const float rgb[3] = {0.5f, 0.25f, 0.75f};
    TKPickSample(session_, rgb);
    (void)TKPickEnd(session_);
    float picked[3];
    std::memcpy(picked, reinterpret_cast<uint8_t*>(&Live()) + kTKColorSampleOffset, sizeof picked);
    EXPECT_EQ(std::memcmp(picked, rgb, sizeof rgb), 0);
}

TEST_F(UITest, KeysSelectTabsAndSpaceTurnsTheirSectionOn)
{
    auto* panes = Find<UIHorizTabWin>("panes");
    panes->setFocus();
    QTest::keyClick(panes, Qt::Key_Right);
    EXPECT_EQ(panes->current(), 1);
    EXPECT_EQ(session_->settingsTab, 1);
    QTest::keyClick(panes, Qt::Key_End);
    EXPECT_EQ(panes->current(), 8);
    QTest::keyClick(panes, Qt::Key_Right);
    EXPECT_EQ(panes->current(), 8);
    QTest::keyClick(panes, Qt::Key_Home);
    EXPECT_EQ(panes->current(), 0);
    QTest::keyClick(panes, Qt::Key_Left);
    EXPECT_EQ(panes->current(), 0);
    QTest::keyClick(panes, Qt::Key_Space);
    EXPECT_EQ(Live().primaryOn, 1u);
    QTest::keyClick(panes, Qt::Key_Space);
    EXPECT_EQ(Live().primaryOn, 0u);
}

TEST_F(UITest, ScreenReadersFindTabsAndControlsByNameRoleAndState)
{
    Live().rgbOn = 1;
    ShowPageOf("limiter");
    std::string text;
    Dump(QAccessible::queryAccessibleInterface(Find<UIHorizTabWin>("panes")), &text);
    EXPECT_EQ(text, "tabs \ntab HSL off\ntab RGB on\ntab CMY off\ntab YCbCr off\ntab Curves off\ntab Levels off\n"
                    "tab Luma Range off\ntab Secondary off\ntab Limiting selected off\n");
    text.clear(); // a list is known by its entry here, and by its label through a relation
    Dump(QAccessible::queryAccessibleInterface(windows_->mainWindow()->tools()->shownPage()->widget()), &text);
    EXPECT_EQ(text, "checkbox Soft Clip Enable off\nslider Soft Clip Knee Level\nslider Soft Clip White Level\n"
                    "slider Soft Clip Max Level\nslider Luma Hard Clip Level\nslider Chroma Max Limit\n"
                    "slider Chroma Min Limit\nlist Smart Limit\nlist NTSC\n"
                    "checkbox Preview Out of Limit Chroma off\nbutton Reset\n");
    for (const TKPagePath& path : TKToolPages()) {
        ShowPageOf(path.page->prefix);
        ToolPageWin* page = windows_->mainWindow()->tools()->shownPage();
        for (size_t i = 0; i < path.page->rows.size(); ++i) {
            const TKControlRow& row = path.page->rows[i];
            if (row.kind == tkRowEyedroppers || row.kind == tkRowLevels || row.kind == tkRowLumaRange) continue;
            QAccessibleInterface* control = QAccessible::queryAccessibleInterface(page->control(i));
            ASSERT_NE(control, nullptr);
            EXPECT_TRUE(HasName(control, QString::fromLatin1(row.bind.label))) << TKRowName(*path.page, row);
        }
    }
}

TEST_F(UITest, ATabIsSelectedAndSwitchedByScreenReadersToo)
{
    auto* panes = Find<UIHorizTabWin>("panes");
    QAccessibleInterface* tab = QAccessible::queryAccessibleInterface(panes)->child(3);
    tab->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_EQ(panes->current(), 3);
    tab->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
    EXPECT_EQ(Live().ycbcrOn, 1u);
    EXPECT_TRUE(tab->state().checked && tab->state().selected);
}
