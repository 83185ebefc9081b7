// The displays' own window: opened from the options of the analysis pane, with real events.
#include "tests/UI/UITest.h"

#include <QAccessible>
#include <QApplication>
#include <QMenu>
#include <QScreen>

namespace {

class UIScopeWindow : public UITest {
  protected:
    UIScopeWindowWin* Window() const { return Find<UIScopeWindowWin>("scope_window"); }
    UIScopeViewWin* Scopes() const { return Find<UIScopeViewWin>("window_scopes"); }
    QAction* Option() const
    {
        return windows_->mainWindow()->findChild<QAction*>(QStringLiteral("scope_window_option"));
    }
    void Open()
    {
        Option()->trigger();
        ASSERT_NE(Window(), nullptr);
        ASSERT_TRUE(Window()->isVisible());
        QApplication::setActiveWindow(Window());
        QCoreApplication::processEvents();
    }
    void ClickTab(int number)
    {
        UIHorizTabWin* tabs = Window()->tabs();
        QTest::mouseClick(tabs, Qt::LeftButton, Qt::NoModifier, tabs->tabRect(number).center());
    }
    static QString ValueOf(QWidget* widget)
    {
        return QAccessible::queryAccessibleInterface(widget)->text(QAccessible::Value);
    }
};

} // namespace

TEST_F(UIScopeWindow, ItIsNotThereUntilTheOptionIsChosen)
{
    EXPECT_EQ(Window(), nullptr);
    EXPECT_FALSE(Option()->isChecked());
    Open();
    EXPECT_TRUE(Window()->isWindow());
    EXPECT_EQ(Window()->windowTitle(), QStringLiteral("Ochrine Displays"));
    EXPECT_EQ(Window()->tabs()->tabCount(), 11);
    EXPECT_NE(session_->views.port[tkScopesWindow].surface, nullptr);
    EXPECT_NE(session_->views.port[tkScopesPane].surface, session_->views.port[tkScopesWindow].surface);
    Option()->trigger();
    EXPECT_FALSE(Window()->isVisible());
    EXPECT_EQ(session_->views.port[tkScopesWindow].surface, nullptr);
}

TEST_F(UIScopeWindow, TheFirstTimeItTakesTheScreenThatTheMainWindowIsNotOn)
{
    ASSERT_GE(QGuiApplication::screens().size(), 2);
    Open();
    EXPECT_NE(Window()->screen(), windows_->mainWindow()->screen());
    EXPECT_TRUE(Window()->screen()->availableGeometry().contains(Window()->geometry()));
}

TEST_F(UIScopeWindow, ItFollowsADragBesideThePaneAndInTheSingleView)
{
    Open();
    ClickTab(1); // luma
    QImage before = Scopes()->grab().toImage();
    Drag(Slider("hsl_master_gain"), 1.0 / 3, 0.1);
    EXPECT_NE(Scopes()->grab().toImage(), before);
    before = Scopes()->grab().toImage();
    DoMenuCommand(session_, kTKCommandViewSingle, nullptr);
    Drag(Slider("hsl_master_gain"), 0.1, 0.6);
    EXPECT_NE(Scopes()->grab().toImage(), before);
}

TEST_F(UIScopeWindow, ADragDrawsItBeforeTheNextMove)
{
    Open();
    ClickTab(1);
    UISliderWin* gain = Slider("hsl_master_gain");
    gBPFake.mouseButtonDown = true;
    QTest::mousePress(gain, Qt::LeftButton, Qt::NoModifier, gain->trackRect().center());
    for (int step = 1; step <= 4; ++step) {
        const uint32_t renders = session_->renderCount;
        const ScopeSurface& port = Scopes()->surface();
        const std::vector<uint8_t> before(port.pixels, port.pixels + size_t{port.rowBytes} * port.height);
        QTest::mouseMove(gain, gain->trackRect().center() + QPoint(9 * step, 0));
        EXPECT_EQ(session_->renderCount, renders + 1);
        EXPECT_FALSE(session_->views.port[tkScopesWindow].isStale) << step; // drawn with the render, not later
        EXPECT_NE(std::memcmp(before.data(), port.pixels, before.size()), 0) << step;
    }
    QTest::mouseRelease(gain, Qt::LeftButton, Qt::NoModifier, gain->trackRect().center());
    gBPFake.mouseButtonDown = false;
}

TEST_F(UIScopeWindow, ItsTabsMenusAndWheelLeaveThePaneAlone)
{
    Open();
    QTest::mouseClick(Scopes(), Qt::RightButton, Qt::NoModifier, Scopes()->rect().center() / 2);
    auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    ASSERT_NE(menu, nullptr);
    menu->actions().at(scopeRGBWFM - 1)->trigger();
    menu->close();
    EXPECT_EQ(session_->views.window.comboSelection[scopeUpperLeft], scopeRGBWFM);
    EXPECT_EQ(session_->prefs.comboUpperLeft, static_cast<uint32_t>(scopeLumaWFM));
    Wheel(Scopes(), QPoint(Scopes()->width() * 3 / 4, Scopes()->height() / 4), 240);
    EXPECT_EQ(session_->views.window.comboVectorscopeZoom, 3);
    EXPECT_EQ(session_->views.comboVectorscopeZoom, 1);
    ClickTab(8);
    EXPECT_EQ(session_->views.window.analysisTab, scopeTabVectorscope);
    EXPECT_EQ(session_->views.analysisTab, scopeTabCombo);
    EXPECT_EQ(session_->prefs.leftPaneDefault, 1u);
}

TEST_F(UIScopeWindow, LettersSelectItsDisplaysAndOtherKeysReachTheMainWindow)
{
    Open();
    QTest::keyClick(Window(), 'V', Qt::ShiftModifier);
    EXPECT_EQ(session_->views.window.analysisTab, scopeTabVectorscope);
    EXPECT_EQ(Window()->tabs()->current(), 8);
    EXPECT_EQ(session_->views.analysisTab, scopeTabCombo);
    QTest::keyClick(Window(), 'G', Qt::ShiftModifier); // the gallery is the pane's
    EXPECT_EQ(session_->views.window.analysisTab, scopeTabVectorscope);
    EXPECT_EQ(session_->views.analysisTab, scopeTabGallery);
    QTest::keyClick(Window(), 'S', Qt::ShiftModifier); // a view of the picture
    EXPECT_EQ(session_->imagePaneMode, tkImageSource);
    Drag(Slider("hsl_master_gain"), 1.0 / 3, 0.8);
    QApplication::setActiveWindow(Window());
    QTest::keyClick(Window(), Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(Live().hsl.master.gain, 1.0f);
    host_.serve = [](TKTestHost* host) { host->SendFrames(); };
    EXPECT_EQ(Window()->focusWidget(), Window());
    QTest::keyClick(Window(), Qt::Key_Space);
    EXPECT_TRUE(TKIsPlaying(session_));
    Window()->tabs()->setFocus(Qt::TabFocusReason); // which have no switches
    QTest::keyClick(Window()->tabs(), Qt::Key_Space);
    EXPECT_FALSE(TKIsPlaying(session_));
    QTest::keyClick(Window()->tabs(), Qt::Key_Right);
    EXPECT_EQ(session_->views.window.analysisTab, scopeTabHistograms);
}

TEST_F(UIScopeWindow, EscapeControlWAndItsFrameCloseItForTheNextSessionToo)
{
    for (int way = 0; way < 3; ++way) {
        Open();
        EXPECT_EQ(session_->views.window.isOpen, 1);
        if (way == 0) QTest::keyClick(Window(), Qt::Key_Escape);
        if (way == 1) QTest::keyClick(Window(), Qt::Key_W, Qt::ControlModifier);
        if (way == 2) Window()->close();
        EXPECT_FALSE(Window()->isVisible()) << way;
        EXPECT_EQ(session_->views.window.isOpen, 0) << way;
        QMenu* options = qobject_cast<QMenu*>(Option()->parent());
        ASSERT_NE(options, nullptr);
        emit options->aboutToShow();
        EXPECT_FALSE(Option()->isChecked()) << way;
        TKReadScopeWindow(session_);
        EXPECT_EQ(session_->views.window.isOpen, 0) << way;
        Option()->setChecked(false);
    }
}

TEST_F(UIScopeWindow, ItClosesWithTheSessionAndComesBackWithTheNextWhereItWas)
{
    Open();
    Window()->setGeometry(2000, 100, 500, 400);
    QCoreApplication::processEvents();
    const QRect before = Window()->geometry();
    DoMenuCommand(session_, kTKCommandCancel, nullptr);
    EXPECT_FALSE(Window()->isVisible());
    host_.Make();
    TKTick(session_);
    ASSERT_NE(TKBlockOf(session_), nullptr);
    EXPECT_TRUE(Window()->isVisible());
    EXPECT_EQ(Window()->geometry(), before);
    EXPECT_TRUE(session_->views.port[tkScopesWindow].surface != nullptr);
    // Another process reads the same place.
    TKScopeWindow kept = session_->views.window;
    TKReadScopeWindow(session_);
    EXPECT_EQ(std::memcmp(&kept, &session_->views.window, sizeof kept), 0);
    EXPECT_GT(kept.geometryBytes, 0u);
}

TEST_F(UIScopeWindow, APlaceOfNonsenseIsNotTaken)
{
    TKScopeWindow& window = session_->views.window;
    for (uint32_t i = 0; i < 66; ++i) window.geometry[i] = static_cast<uint8_t>(i * 37);
    window.geometryBytes = 66;
    Open();
    EXPECT_TRUE(Window()->screen()->availableGeometry().contains(Window()->geometry()));
}

TEST_F(UIScopeWindow, TheKeysGoThroughTheComboOpenItsMenusAndZoom)
{
    Open();
    Scopes()->setFocus(Qt::TabFocusReason);
    ASSERT_TRUE(Scopes()->hasFocus());
    const QImage first = Scopes()->grab().toImage();
    QTest::keyClick(Scopes(), Qt::Key_Right);
    EXPECT_EQ(Scopes()->keyQuadrant(), scopeUpperRight);
    EXPECT_NE(Scopes()->grab().toImage(), first); // framed
    QTest::keyClick(Scopes(), Qt::Key_Plus);
    EXPECT_EQ(session_->views.window.comboVectorscopeZoom, 2);
    QTest::keyClick(Scopes(), Qt::Key_Minus);
    QTest::keyClick(Scopes(), Qt::Key_Minus);
    EXPECT_EQ(session_->views.window.comboVectorscopeZoom, 1);
    QTest::keyClick(Scopes(), Qt::Key_Down);
    QTest::keyClick(Scopes(), Qt::Key_Left);
    EXPECT_EQ(Scopes()->keyQuadrant(), scopeLowerLeft);
    QTest::keyClick(Scopes(), Qt::Key_Return);
    auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    ASSERT_NE(menu, nullptr);
    EXPECT_EQ(menu->actions().size(), 10);
    menu->actions().at(scopeOverlayWFM - 1)->trigger();
    menu->close();
    EXPECT_EQ(session_->views.window.comboSelection[scopeLowerLeft], scopeOverlayWFM);
}

TEST_F(UIScopeWindow, ItsNamesAndValuesAreToldToAScreenReader)
{
    Open();
    EXPECT_EQ(Window()->accessibleName(), QStringLiteral("Displays"));
    EXPECT_EQ(Scopes()->accessibleName(), QStringLiteral("Analysis display"));
    EXPECT_EQ(ValueOf(Scopes()), QStringLiteral("Luma WFM, Vectorscope, Tone Curve, Histograms"));
    ClickTab(9);
    EXPECT_EQ(ValueOf(Scopes()), QStringLiteral("Histograms"));
}

TEST_F(UIScopeWindow, TheProbeMarksItsPixelHereToo)
{
    Open();
    ClickTab(1);
    session_->views.probeOn = true;
    const QImage before = Scopes()->grab().toImage();
    TKMoveProbe(session_, true, 20, 20);
    EXPECT_NE(Scopes()->grab().toImage(), before);
}

TEST_F(UIScopeWindow, NothingInItIsCutOrOverlappingAtItsLeastSizeAndAtALargeOne)
{
    Open();
    for (const QSize size : {Window()->minimumSize(), QSize(900, 700)}) {
        Window()->resize(size);
        QCoreApplication::processEvents();
        UIHorizTabWin* tabs = Window()->tabs();
        EXPECT_LE(tabs->tabRect(tabs->tabCount() - 1).right(), tabs->width()) << size.width();
        EXPECT_EQ(Scopes()->geometry().top(), tabs->geometry().bottom() + 1);
        EXPECT_EQ(Scopes()->surface().width, static_cast<uint32_t>(Scopes()->width()));
        EXPECT_EQ(Scopes()->geometry().bottom(), Window()->height() - 1);
    }
}
