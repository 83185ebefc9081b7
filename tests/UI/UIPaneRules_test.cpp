// What holds for panes, tabs and transport alike: least sizes, the kept tab, keys and names for everybody, and what a
// mistake of the program gives.
#include "src/UI/UIStyleWin.h"
#include "tests/UI/UITest.h"

#include <QAbstractItemView>
#include <QAccessible>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFocusEvent>
#include <QMouseEvent>

namespace {

class UIPaneRules : public UITest {
  protected:
    UIImagePaneWin* Picture() const { return Find<UIImagePaneWin>("picture"); }
    UITransportWin* Transport() const { return Find<UITransportWin>("transport"); }
    static QAccessibleInterface* Access(QWidget* widget) { return QAccessible::queryAccessibleInterface(widget); }
    static void Hover(QWidget* widget, QPoint point)
    {
        QMouseEvent event(QEvent::MouseMove, point, widget->mapToGlobal(point), Qt::NoButton, Qt::NoButton,
                          Qt::NoModifier);
        QApplication::sendEvent(widget, &event);
    }
};

} // namespace

TEST_F(UIPaneRules, TheToolAreaIsNeverSmallerThan855By366)
{
    TincturaMainWin* window = windows_->mainWindow();
    window->showNormal();
    for (const QSize size : {QSize(1, 1), QSize(900, 300), QSize(300, 900), QSize(1024, 748)}) {
        window->resize(size);
        QCoreApplication::processEvents();
        EXPECT_GE(window->tools()->width(), 855) << size.width();
        EXPECT_GE(window->tools()->height(), 366) << size.height();
        EXPECT_GT(Picture()->height(), 50);
        EXPECT_GT(Picture()->width(), 200);
    }
    EXPECT_LE(window->minimumWidth(), 1024);
    EXPECT_LE(window->minimumHeight(), 700);
}

TEST_F(UIPaneRules, ABarOfTabsIsTwentyHigh)
{
    for (const char* name : {"analysis_tabs", "views", "panes"}) EXPECT_EQ(Find<UIHorizTabWin>(name)->height(), 20);
}

TEST_F(UIPaneRules, TheTabInFrontHasTheColourOfThePanelAndALitEdge)
{
    const TKUserInterface ui = windows_->interface();
    for (const uint32_t brightness : {60000u, 22282u}) { // light, and dark as at the start
        PrepareUIPalette(&session_->palette, brightness);
        ui.paletteChanged(ui.context);
        const UIShades& shades = UIShadesNow();
        auto* views = Find<UIHorizTabWin>("views");
        SelectTab(views, 2);
        const QImage shot = views->grab().toImage();
        for (int i = 0; i < views->tabCount(); ++i) {
            const QRect tab = views->tabRect(i);
            const QColor inside = shot.pixelColor(tab.left() + 2, tab.center().y());
            EXPECT_EQ(inside.rgb(), (i == 2 ? shades.panel : shades.window).rgb()) << i;
            EXPECT_EQ(shot.pixelColor(tab.center().x(), 2).lightness() > shades.window.lightness() + 20, i == 2) << i;
        }
    }
}

TEST_F(UIPaneRules, TheSettingsTabIsKeptAtOnce)
{
    EXPECT_EQ(session_->prefs.settingsPaneDefault, 1u); // the start itself keeps what was there
    auto* panes = Find<UIHorizTabWin>("panes");
    QTest::mouseClick(panes, Qt::LeftButton, Qt::NoModifier,
                      panes->tabRect(5).center() + QPoint(panes->tabRect(5).width() / 4, 0));
    ASSERT_EQ(panes->current(), 5);
    TKPreferences stored = {};
    ASSERT_EQ(PrefsRead(&stored, platform_), bpNoErr);
    EXPECT_EQ(stored.settingsPaneDefault, 6u);
    QTest::keyClick(windows_->mainWindow(), 'l');
    ASSERT_EQ(PrefsRead(&stored, platform_), bpNoErr);
    EXPECT_EQ(stored.settingsPaneDefault, 9u);
}

TEST_F(UIPaneRules, ATabThatIsNotThereIsReportedAndAnsweredWithNothing)
{
    auto* panes = Find<UIHorizTabWin>("panes");
    for (const int index : {-1, 9, 1000}) {
        BPFakeCaptureLog();
        EXPECT_EQ(panes->tabName(index), QString());
        EXPECT_EQ(panes->tabLabel(index), QString());
        EXPECT_EQ(panes->tabRect(index), QRect());
        EXPECT_EQ(panes->switchRect(index), QRect());
        EXPECT_FALSE(panes->isOn(index));
        const OCSettings before = Live();
        panes->toggle(index);
        EXPECT_EQ(std::memcmp(&before, &Live(), sizeof before), 0);
        EXPECT_GE(TKLogCount("Assert (buttonRef != 0) failed. [UIHorizTabWin: "), 6u) << index;
    }
}

TEST_F(UIPaneRules, ABarShowsThePageOfItsTabAndHidesTheOthers)
{
    QWidget owner;
    std::span<QWidget*> pages;
    const std::vector<UITab> titles = {{QStringLiteral("One"), QStringLiteral("one"), kUINoSwitch},
                                       {QStringLiteral("Two"), QStringLiteral("two"), kUINoSwitch},
                                       {QStringLiteral("Three"), QStringLiteral("three"), kUINoSwitch},
                                       {QStringLiteral("Four"), QStringLiteral("four"), kUINoSwitch}};
    UIHorizTabWin* bar = CreateHorizTabs(session_, &owner, QRect(7, 9, 300, 400), titles, false, &pages);
    EXPECT_EQ(bar->parentWidget(), &owner);
    EXPECT_EQ(bar->geometry(), QRect(7, 9, 300, 20));
    ASSERT_EQ(pages.size(), 4u);
    for (const QWidget* page : pages) EXPECT_EQ(page, nullptr);
    auto* first = new QWidget(&owner);
    auto* shared = new QWidget(&owner);
    pages[0] = first;
    pages[1] = pages[2] = shared; // the last tab has none
    std::vector<int> told;
    bar->onSelect = [&told](int index) { told.push_back(index); };
    SelectTab(bar, 0); // it is in front already: its page comes, and nobody is told
    EXPECT_TRUE(first->isVisibleTo(&owner));
    EXPECT_FALSE(shared->isVisibleTo(&owner));
    for (const int index : {1, 2}) {
        SelectTab(bar, index);
        EXPECT_FALSE(first->isVisibleTo(&owner));
        EXPECT_TRUE(shared->isVisibleTo(&owner));
    }
    for (const int index : {-1, 4}) SelectTab(bar, index);
    EXPECT_EQ(bar->current(), 2);
    SelectTab(bar, 3);
    EXPECT_FALSE(first->isVisibleTo(&owner) || shared->isVisibleTo(&owner));
    EXPECT_EQ(told, (std::vector<int>{1, 2, 3}));
}

TEST_F(UIPaneRules, ACheckboxOfATabAndItsWordAreSetTogether)
{
    auto* panes = Find<UIHorizTabWin>("panes");
    const uint32_t undos = session_->undoRing->undoAvailable;
    const QImage off = panes->grab().toImage();
    ASSERT_EQ(Live().primaryOn, 0u);
    SetTabCheck(panes, 0, true);
    EXPECT_EQ(Live().primaryOn, 1u);
    EXPECT_NE(panes->grab().toImage(), off);
    Live().primaryOn = 7; // on as well: the word stays
    SetTabCheck(panes, 0, true);
    EXPECT_EQ(Live().primaryOn, 7u);
    SetTabCheck(panes, 0, false);
    EXPECT_EQ(Live().primaryOn, 0u);
    EXPECT_EQ(panes->grab().toImage(), off);
    EXPECT_EQ(session_->undoRing->undoAvailable, undos);
    const OCSettings before = Live();
    for (const int index : {-1, 9}) SetTabCheck(panes, index, true);
    SetTabCheck(Find<UIHorizTabWin>("views"), 0, true);
    EXPECT_EQ(std::memcmp(&before, &Live(), sizeof before), 0);
}

TEST_F(UIPaneRules, ABarWithoutCheckboxesHasNoneWhateverItsRowsSay)
{
    QWidget owner;
    const uint32_t word = offsetof(OCSettings, primaryOn);
    const std::vector<UITab> titles = {{QStringLiteral("One"), QStringLiteral("one"), word}};
    EXPECT_TRUE(CreateHorizTabs(session_, &owner, QRect(), titles, true, nullptr)->hasSwitch(0));
    UIHorizTabWin* bar = CreateHorizTabs(session_, &owner, QRect(), titles, false, nullptr);
    EXPECT_FALSE(bar->hasSwitch(0));
    SetTabCheck(bar, 0, true);
    EXPECT_EQ(Live().primaryOn, 0u);
}

TEST_F(UIPaneRules, ABarWithoutASessionIsReportedAndItsSwitchesAreOff)
{
    BPFakeCaptureLog();
    UIHorizTabWin bar(nullptr, {{QStringLiteral("One"), QStringLiteral("one"), 4}}, nullptr);
    EXPECT_EQ(TKLogCount("Assert (HTVH != 0) failed. [UIHorizTabWin: "), 1u);
    EXPECT_FALSE(bar.isOn(0));
    bar.toggle(0);
    EXPECT_EQ(TKLogCount("Assert (HTBVH != 0) failed. [UIHorizTabWin: "), 1u);
}

TEST_F(UIPaneRules, ACursorIsMadeOnceAndNotWithEachMove)
{
    const QPoint middle = Picture()->pictureRect().center();
    Hover(Picture(), middle);
    const qint64 key = Picture()->cursor().pixmap().cacheKey();
    ASSERT_FALSE(Picture()->cursor().pixmap().isNull());
    for (int i = 1; i < 5; ++i) {
        Hover(Picture(), middle + QPoint(i, i));
        EXPECT_EQ(Picture()->cursor().pixmap().cacheKey(), key);
    }
    Wheel(Picture(), middle, 120 * 8); // 16x: another cursor
    EXPECT_NE(Picture()->cursor().pixmap().cacheKey(), key);
}

TEST_F(UIPaneRules, EveryPixelAroundThePictureIsPaintedAtEveryShapeOfThePane)
{
    TincturaMainWin* window = windows_->mainWindow();
    window->showNormal();
    for (const QSize size : {QSize(1024, 748), QSize(1001, 901), QSize(1700, 700)})
        for (const int32_t view : {tkImageSplitSource, tkImageResult}) {
            window->resize(size);
            window->selectView(view);
            QCoreApplication::processEvents();
            QImage shot(Picture()->size(), QImage::Format_RGB32);
            shot.fill(QColor(255, 0, 255));
            Picture()->render(&shot, QPoint(), QRegion(), QWidget::RenderFlags());
            int left = 0;
            for (int y = 0; y < shot.height(); ++y)
                for (int x = 0; x < shot.width(); ++x)
                    if (shot.pixelColor(x, y) == QColor(255, 0, 255)) ++left;
            EXPECT_EQ(left, 0) << size.width() << ", view " << view;
        }
}

TEST_F(UIPaneRules, APickThatAnotherEyedropperTookOverIsNotStoredForIt)
{
    static float first[3], second[3];
    TKEyedropper droppers[2] = {};
    TKCreateEyedropper(&droppers[0], first, 0, tkSectionNone, "First", "first");
    TKCreateEyedropper(&droppers[1], second, 0, tkSectionNone, "Second", "second");
    for (TKEyedropper& dropper : droppers) dropper.repaint = dropper.opensUndo = false;
    const QPoint middle = Picture()->pictureRect().center();
    (void)TKEyedropperClick(session_, &droppers[0], 0);
    QTest::mousePress(Picture(), Qt::LeftButton, Qt::NoModifier, middle);
    TKPickCancel(session_);
    (void)TKEyedropperClick(session_, &droppers[1], 0); // by a key, while the button is held
    QTest::mouseRelease(Picture(), Qt::LeftButton, Qt::NoModifier, middle);
    EXPECT_TRUE(TKIsPickingFor(session_, &droppers[1])); // it waits for a press of its own
    EXPECT_EQ(first[2], 0);
    EXPECT_EQ(second[2], 0);
    QTest::mouseClick(Picture(), Qt::LeftButton, Qt::NoModifier, middle);
    EXPECT_NEAR(second[2], 200.0f / 255.0f, 0.002f);
}

TEST_F(UIPaneRules, TheSpaceBarPressesWhatTabLedToAndOtherwisePlays)
{
    host_.serve = [](TKTestHost* host) { host->SendFrames(); };
    auto* panes = Find<UIHorizTabWin>("panes");
    panes->setFocus(Qt::TabFocusReason);
    QTest::keyClick(panes, Qt::Key_Space);
    EXPECT_EQ(Live().primaryOn, 1u);
    EXPECT_FALSE(TKIsPlaying(session_));
    ShowPageOf("limiter");
    auto* checkbox = windows_->mainWindow()->findChild<QCheckBox*>(QStringLiteral("limiter_softclip_enable"));
    if (!checkbox)
        for (QCheckBox* box : windows_->mainWindow()->findChildren<QCheckBox*>())
            if (box->isVisible()) checkbox = box;
    ASSERT_NE(checkbox, nullptr);
    QTest::mouseClick(checkbox, Qt::LeftButton, Qt::NoModifier, QPoint(8, checkbox->height() / 2));
    const bool clicked = checkbox->isChecked();
    ASSERT_EQ(windows_->mainWindow()->focusWidget(), checkbox);
    QTest::keyClick(checkbox, Qt::Key_Space); // it was clicked on: done
    EXPECT_EQ(checkbox->isChecked(), clicked);
    EXPECT_TRUE(TKIsPlaying(session_));
    QTest::keyClick(checkbox, Qt::Key_Space);
    EXPECT_FALSE(TKIsPlaying(session_));
    windows_->mainWindow()->setFocus();
    checkbox->setFocus(Qt::TabFocusReason);
    QTest::keyClick(checkbox, Qt::Key_Space);
    EXPECT_NE(checkbox->isChecked(), clicked);
    EXPECT_FALSE(TKIsPlaying(session_));
}

TEST_F(UIPaneRules, AListThatWasClickedGivesItsKeysToTheClip)
{
    host_.serve = [](TKTestHost* host) { host->SendFrames(); };
    ShowPageOf("limiter");
    QComboBox* list = nullptr;
    for (QComboBox* each : windows_->mainWindow()->tools()->findChildren<QComboBox*>())
        if (each->isVisible() && each->count() > 1 && each->currentIndex() == 0) list = each;
    ASSERT_NE(list, nullptr);
    list->setFocus(Qt::MouseFocusReason);
    // Its own popup has closed, and the window has been away.
    for (const Qt::FocusReason reason : {Qt::PopupFocusReason, Qt::ActiveWindowFocusReason}) {
        QFocusEvent event(QEvent::FocusIn, reason);
        QApplication::sendEvent(list, &event);
    }
    const int32_t frame = host_.Block()->frameTime;
    QTest::keyClick(list, Qt::Key_End);
    EXPECT_EQ(list->currentIndex(), 0);
    EXPECT_GT(host_.Block()->frameTime, frame);
    QTest::keyClick(list, Qt::Key_Space);
    EXPECT_FALSE(list->view()->isVisible());
    EXPECT_TRUE(TKIsPlaying(session_));
    QTest::keyClick(list, Qt::Key_Space);
    // By Tab it is the list's again.
    windows_->mainWindow()->setFocus();
    list->setFocus(Qt::TabFocusReason);
    QTest::keyClick(list, Qt::Key_End);
    EXPECT_EQ(list->currentIndex(), list->count() - 1);
}

TEST_F(UIPaneRules, TheTransportIsToldToAScreenReader)
{
    host_.serve = [](TKTestHost* host) { host->SendFrames(); };
    QAccessibleInterface* bar = Access(Transport());
    ASSERT_NE(bar, nullptr);
    EXPECT_EQ(bar->role(), QAccessible::ToolBar);
    EXPECT_EQ(bar->text(QAccessible::Name), QStringLiteral("Transport"));
    EXPECT_EQ(bar->text(QAccessible::Value), QString::fromLatin1(session_->transport[0].positionText));
    ASSERT_EQ(bar->childCount(), 5);
    const char* names[] = {"First frame", "Back one frame", "Play or stop", "Forward one frame", "Last frame"};
    for (int i = 0; i < 5; ++i) {
        QAccessibleInterface* part = bar->child(i);
        EXPECT_EQ(part->role(), QAccessible::Button);
        EXPECT_EQ(part->text(QAccessible::Name), QString::fromLatin1(names[i]));
        EXPECT_EQ(bar->indexOfChild(part), i);
        EXPECT_EQ(bar->childAt(part->rect().center().x(), part->rect().center().y()), part);
    }
    bar->child(4)->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_EQ(host_.Block()->frameTime, 900);
    EXPECT_EQ(bar->text(QAccessible::Value), QString::fromLatin1(session_->transport[0].positionText));
    EXPECT_EQ(bar->child(5), nullptr);
    EXPECT_EQ(bar->child(-1), nullptr);
    Transport()->setFocus(Qt::TabFocusReason);
    EXPECT_TRUE(Transport()->hasFocus());
    QTest::keyClick(Transport(), Qt::Key_Home);
    EXPECT_EQ(host_.Block()->frameTime, 0);
}

TEST_F(UIPaneRules, ThePictureTellsItsZoomAndThePickedColour)
{
    EXPECT_EQ(Picture()->accessibleName(), QStringLiteral("Result picture"));
    EXPECT_EQ(Access(Picture())->text(QAccessible::Value), QStringLiteral("Zoom 1x"));
    const QPoint middle = Picture()->pictureRect().center();
    Wheel(Picture(), middle, 120);
    EXPECT_EQ(Access(Picture())->text(QAccessible::Value), QStringLiteral("Zoom 1.5x"));
    static float triple[3];
    TKEyedropper dropper = {};
    TKCreateEyedropper(&dropper, triple, 0, tkSectionNone, "Test", "test");
    dropper.repaint = dropper.opensUndo = false;
    (void)TKEyedropperClick(session_, &dropper, 0);
    QTest::mousePress(Picture(), Qt::LeftButton, Qt::NoModifier, middle);
    EXPECT_TRUE(Access(Picture())->text(QAccessible::Value).endsWith(QStringLiteral("blue 0.7843"))); // 200 / 255
    QTest::mouseRelease(Picture(), Qt::LeftButton, Qt::NoModifier, middle);
    EXPECT_EQ(Access(Picture())->text(QAccessible::Value), QStringLiteral("Zoom 1.5x"));
}
