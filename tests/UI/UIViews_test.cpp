// The panes in the window: real mouse, wheel and keyboard, and what is on the screen after them.
#include "src/UI/UIViewAreaWin.h"
#include "tests/UI/UITest.h"

#include <QApplication>
#include <QMenu>
#include <QMouseEvent>
#include <QToolButton>

namespace {

class UIViews : public UITest {
  protected:
    void SetUp() override
    {
        UITest::SetUp();
        windows_->mainWindow()->showNormal();
        windows_->mainWindow()->resize(1280, 900); // room to zoom and to pan
        QCoreApplication::processEvents();
    }
    UIImagePaneWin* Picture() const { return Find<UIImagePaneWin>("picture"); }
    UIScopeViewWin* Scopes() const { return Find<UIScopeViewWin>("scopes"); }
    UIViewAreaWin* Area() const { return Find<UIViewAreaWin>("view_area"); }
    UIHorizTabWin* Tabs() const { return Find<UIHorizTabWin>("analysis_tabs"); }
    UIHorizTabWin* Views() const { return Find<UIHorizTabWin>("views"); }

    static void Hover(QWidget* widget, QPoint point, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        QMouseEvent event(QEvent::MouseMove, point, widget->mapToGlobal(point), Qt::NoButton, Qt::NoButton, modifiers);
        QApplication::sendEvent(widget, &event);
    }
    static QColor ColorAt(QWidget* widget, QPoint point) { return widget->grab().toImage().pixelColor(point); }
    /// The colour in the middle of the visible picture, and at a fraction of its width.
    QColor PictureColor(double across = 0.5, double down = 0.5) const
    {
        const QRect shown = Picture()->pictureRect();
        return ColorAt(Picture(), shown.topLeft() + QPoint(qRound(across * (shown.width() - 1)),
                                                           qRound(down * (shown.height() - 1))));
    }
    void ClickTab(UIHorizTabWin* tabs, int index) const
    {
        QTest::mouseClick(tabs, Qt::LeftButton, Qt::NoModifier, tabs->tabRect(index).center());
    }
    void MakeResultBlack() { Press(Slider("hsl_master_gain"), 0); }
    /// The open menu of the displays; null without one.
    QMenu* OpenMenu(QPoint point) const
    {
        QTest::mouseClick(Scopes(), Qt::RightButton, Qt::NoModifier, point);
        return qobject_cast<QMenu*>(QApplication::activePopupWidget());
    }
    static void Choose(QMenu* menu, int number)
    {
        menu->actions().at(number - 1)->trigger();
        menu->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    QPoint QuadrantPoint(int quadrant) const
    {
        return QPoint(Scopes()->width() * (quadrant % 2 == 0 ? 1 : 3) / 4,
                      Scopes()->height() * (quadrant < 2 ? 1 : 3) / 4);
    }
};

} // namespace

TEST_F(UIViews, EverySixViewsAndThirteenDisplaysAreAClickAway)
{
    ASSERT_EQ(Views()->tabCount(), 6);
    ASSERT_EQ(Tabs()->tabCount(), 13);
    for (int view = 5; view >= 0; --view) {
        ClickTab(Views(), view);
        EXPECT_EQ(session_->imagePaneMode, view);
        EXPECT_EQ(session_->prefs.rightPaneDefault, static_cast<uint32_t>(view) + 1);
        EXPECT_FALSE(Picture()->grab().isNull());
    }
    for (int tab = 12; tab >= 0; --tab) {
        ClickTab(Tabs(), tab);
        EXPECT_EQ(session_->views.analysisTab, tab);
        EXPECT_EQ(session_->prefs.leftPaneDefault, static_cast<uint32_t>(tab) + 1);
        EXPECT_EQ(Scopes()->isVisible(), tab != scopeTabReference && tab != scopeTabGallery);
        EXPECT_EQ(Find<UIImagePaneWin>("reference")->isVisible(), tab == scopeTabReference);
        EXPECT_EQ(Find<QWidget>("gallery")->isVisible(), tab == scopeTabGallery);
    }
}

TEST_F(UIViews, TheFullTitlesStandOnTheTabsWhereThereIsRoomAndCutOnesOtherwise)
{
    TincturaMainWin* window = windows_->mainWindow();
    window->showNormal();
    window->resize(2400, 1000);
    QCoreApplication::processEvents();
    EXPECT_EQ(Tabs()->tabLabel(scopeTabVectorscope), QStringLiteral("Vectorscope"));
    window->resize(1024, 748);
    QCoreApplication::processEvents();
    EXPECT_EQ(Tabs()->tabLabel(scopeTabVectorscope), QStringLiteral("Vector"));
    EXPECT_LE(Tabs()->tabRect(12).right(), Tabs()->width());
}

TEST_F(UIViews, LettersSelectDisplaysAndTheViewCommandsTheLayout)
{
    TincturaMainWin* window = windows_->mainWindow();
    QTest::keyClick(window, 'V', Qt::ShiftModifier);
    EXPECT_EQ(Tabs()->current(), scopeTabVectorscope);
    QTest::keyClick(window, 'I', Qt::ShiftModifier);
    EXPECT_EQ(Views()->current(), tkImageSplitSource);
    QTest::keyClick(window, Qt::Key_1, Qt::ControlModifier);
    EXPECT_EQ(session_->viewMode, static_cast<uint32_t>(tkViewSingle));
    EXPECT_FALSE(Find<UIAnalysisPaneWin>("analysis")->isVisible());
    EXPECT_EQ(Picture()->width(), Area()->width());
    EXPECT_EQ(session_->views.port[tkScopesPane].surface, nullptr);
    QTest::keyClick(window, Qt::Key_2, Qt::ControlModifier);
    EXPECT_TRUE(Find<UIAnalysisPaneWin>("analysis")->isVisible());
    EXPECT_LT(Picture()->width(), Area()->width());
    EXPECT_NE(session_->views.port[tkScopesPane].surface, nullptr);
}

TEST_F(UIViews, ThePicturesOfTheViewsAreOnScreen)
{
    MakeResultBlack();
    EXPECT_EQ(PictureColor(), QColor(0, 0, 0));
    ClickTab(Views(), tkImageSource);
    EXPECT_EQ(PictureColor().blue(), 200);
    ClickTab(Views(), tkImageSplitSource);
    EXPECT_EQ(PictureColor(0.25).blue(), 200);
    EXPECT_EQ(PictureColor(0.75), QColor(0, 0, 0));
    ClickTab(Views(), tkImageLumaRanges);
    const QColor grey = PictureColor(0.3, 0.3);
    EXPECT_TRUE(grey == QColor(0, 0, 0) || grey == QColor(125, 125, 125) || grey == QColor(235, 235, 235));
}

TEST_F(UIViews, TheWheelAndClicksZoomAboutThePointer)
{
    const QPoint point = Picture()->pictureRect().center() + QPoint(40, 20);
    Wheel(Picture(), point, 120);
    EXPECT_EQ(Picture()->pane().zoom, 0.6667f);
    QTest::mouseClick(Picture(), Qt::LeftButton, Qt::NoModifier, point);
    EXPECT_EQ(Picture()->pane().zoom, 0.5f);
    QTest::mouseClick(Picture(), Qt::LeftButton, Qt::ControlModifier, point);
    EXPECT_EQ(Picture()->pane().zoom, 0.6667f);
    QTest::mouseClick(Picture(), Qt::LeftButton, Qt::NoModifier, point);
    QTest::mouseDClick(Picture(), Qt::LeftButton, Qt::NoModifier, point);
    EXPECT_EQ(Picture()->pane().zoom, 0.3333f); // two quick clicks are two steps
    Wheel(Picture(), point, -1200);
    EXPECT_EQ(Picture()->pane().zoom, 1.0f);
    EXPECT_EQ(session_->undoRing->undoAvailable, 0u);
}

TEST_F(UIViews, AnotherViewShowsTheSamePlace)
{
    Wheel(Picture(), Picture()->pictureRect().center() + QPoint(50, 30), 480);
    const ImagePaneVars before = Picture()->pane();
    ASSERT_GT(before.panX, 0);
    ClickTab(Views(), tkImageSource);
    EXPECT_EQ(Picture()->pane().zoom, before.zoom);
    EXPECT_EQ(Picture()->pane().panX, before.panX);
    EXPECT_EQ(Picture()->pane().panY, before.panY);
}

TEST_F(UIViews, TheMiddleButtonPansAndKeysDoToo)
{
    const QPoint middle = Picture()->rect().center();
    Wheel(Picture(), middle, 720);
    const double before = Picture()->pane().panX;
    QTest::mousePress(Picture(), Qt::MiddleButton, Qt::NoModifier, middle);
    QTest::mouseMove(Picture(), middle + QPoint(30, 0));
    EXPECT_EQ(Picture()->cursor().shape(), Qt::ClosedHandCursor);
    QTest::mouseRelease(Picture(), Qt::MiddleButton, Qt::NoModifier, middle + QPoint(30, 0));
    EXPECT_LT(Picture()->pane().panX, before);
    const double panned = Picture()->pane().panX;
    QTest::keyClick(Picture(), Qt::Key_Right, Qt::ShiftModifier);
    EXPECT_GT(Picture()->pane().panX, panned);
    const float zoom = Picture()->pane().zoom;
    QTest::keyClick(Picture(), Qt::Key_Plus);
    EXPECT_LT(Picture()->pane().zoom, zoom);
    QTest::keyClick(Picture(), Qt::Key_Minus);
    EXPECT_EQ(Picture()->pane().zoom, zoom);
}

TEST_F(UIViews, AHandleOfTheSplitIsDraggedByTheMouse)
{
    MakeResultBlack();
    ClickTab(Views(), tkImageSplitSource);
    const QRect shown = Picture()->pictureRect();
    const QPoint top(shown.center().x() + 1, shown.top());
    QTest::mousePress(Picture(), Qt::LeftButton, Qt::NoModifier, top);
    QTest::mouseMove(Picture(), QPoint(shown.left() + shown.width() / 10, shown.top()));
    QTest::mouseRelease(Picture(), Qt::LeftButton, Qt::NoModifier,
                        QPoint(shown.left() + shown.width() / 10, shown.top()));
    EXPECT_NEAR(session_->views.split.x1, 0.1f, 0.01f);
    EXPECT_EQ(session_->views.split.y1, 0);
    EXPECT_EQ(PictureColor(0.45, 0.1), QColor(0, 0, 0)); // now on the result's side
    EXPECT_EQ(PictureColor(0.25, 0.9).blue(), 200);
    EXPECT_EQ(Picture()->pane().zoom, 1.0f);
    ClickTab(Views(), tkImageSplitReference); // one line for both
    EXPECT_NEAR(Picture()->pane().split.x1, 0.1f, 0.01f);
}

TEST_F(UIViews, APickReadsTheFrameUnderThePointer)
{
    TKEyedropper dropper = {};
    static float triple[3];
    TKCreateEyedropper(&dropper, triple, 0, tkSectionNone, "Test", "test");
    dropper.repaint = dropper.opensUndo = false;
    (void)TKEyedropperClick(session_, &dropper, 0);
    ASSERT_TRUE(TKIsPicking(session_));
    const QPoint middle = Picture()->pictureRect().center();
    Hover(Picture(), middle);
    EXPECT_EQ(Picture()->cursor().hotSpot(), QPoint(2, 21)); // the eyedropper's tip
    QTest::mousePress(Picture(), Qt::LeftButton, Qt::NoModifier, middle);
    QTest::mouseMove(Picture(), middle + QPoint(5, 5));
    QTest::mouseRelease(Picture(), Qt::LeftButton, Qt::NoModifier, middle + QPoint(5, 5));
    EXPECT_FALSE(TKIsPicking(session_));
    EXPECT_NEAR(triple[2], 200.0f / 255.0f, 0.002f);
    EXPECT_EQ(Picture()->pane().zoom, 1.0f); // the click was no zoom
}

TEST_F(UIViews, ThePickersCursorComesAndGoesWithoutAMoveOfTheMouse)
{
    Hover(Picture(), Picture()->pictureRect().center());
    const QPixmap idle = Picture()->cursor().pixmap();
    QTest::keyClick(Find<QWidget>("sample.eyedropper"), Qt::Key_Return);
    ASSERT_TRUE(TKIsPicking(session_));
    EXPECT_NE(Picture()->cursor().pixmap().toImage(), idle.toImage());
    QTest::keyClick(windows_->mainWindow(), Qt::Key_Escape);
    EXPECT_FALSE(TKIsPicking(session_));
    EXPECT_EQ(Picture()->cursor().pixmap().toImage(), idle.toImage());
}

TEST_F(UIViews, TheSwatchFollowsThePointerBeforeThePress)
{
    auto* sample = windows_->mainWindow()->tools()->sample();
    sample->eyedropper()->click();
    const OCSettings before = Live();
    Hover(Picture(), Picture()->pictureRect().center());
    EXPECT_TRUE(session_->pick.sampled);
    const QString middle = sample->source()->valueText();
    Hover(Picture(), Picture()->pictureRect().topLeft() + QPoint(2, 2));
    EXPECT_NE(sample->source()->valueText(), middle);
    EXPECT_EQ(std::memcmp(&before, &Live(), sizeof before), 0);
    TKPickCancel(session_);
}

TEST_F(UIViews, TheComboChoosesADisplayByItsMenuAtOnceAndForGood)
{
    const QImage before = Scopes()->grab().toImage();
    QMenu* menu = OpenMenu(QuadrantPoint(scopeUpperLeft));
    ASSERT_NE(menu, nullptr);
    ASSERT_EQ(menu->actions().size(), 10); // plain: no zooms
    Choose(menu, scopeRGBWFM);
    EXPECT_EQ(session_->prefs.comboUpperLeft, static_cast<uint32_t>(scopeRGBWFM));
    EXPECT_NE(Scopes()->grab().toImage(), before);
    TKPreferences stored = {};
    ASSERT_EQ(PrefsRead(&stored, platform_), bpNoErr);
    EXPECT_EQ(stored.comboUpperLeft, static_cast<uint32_t>(scopeRGBWFM));
}

TEST_F(UIViews, AHistogramsQuadrantHasThePlainMenuAVectorscopesTheZooms)
{
    QMenu* plain = OpenMenu(QuadrantPoint(scopeLowerRight)); // histograms by default
    ASSERT_NE(plain, nullptr);
    EXPECT_EQ(plain->actions().size(), 10);
    plain->close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QMenu* zooms = OpenMenu(QuadrantPoint(scopeUpperRight));
    ASSERT_NE(zooms, nullptr);
    ASSERT_EQ(zooms->actions().size(), 15);
    EXPECT_TRUE(zooms->actions().at(10)->isSeparator());
    EXPECT_TRUE(zooms->actions().at(11)->isChecked()); // "1x Zoom"
    Choose(zooms, 14);
    EXPECT_EQ(session_->views.comboVectorscopeZoom, 5);
    EXPECT_EQ(session_->views.vectorscopeZoom, 1); // the pane's own stays
}

TEST_F(UIViews, TheWheelZoomsTheVectorscopeUnderThePointerAlone)
{
    Wheel(Scopes(), QuadrantPoint(scopeUpperLeft), 120);
    EXPECT_EQ(session_->views.comboVectorscopeZoom, 1);
    Wheel(Scopes(), QuadrantPoint(scopeUpperRight), 60);
    EXPECT_EQ(session_->views.comboVectorscopeZoom, 1);
    Wheel(Scopes(), QuadrantPoint(scopeUpperRight), 60);
    EXPECT_EQ(session_->views.comboVectorscopeZoom, 2);
    Wheel(Scopes(), QuadrantPoint(scopeUpperRight), 2400);
    EXPECT_EQ(session_->views.comboVectorscopeZoom, 10);
    ClickTab(Tabs(), scopeTabVectorscope);
    Wheel(Scopes(), Scopes()->rect().center(), 120);
    EXPECT_EQ(session_->views.vectorscopeZoom, 2);
    Wheel(Scopes(), Scopes()->rect().center(), -2400);
    EXPECT_EQ(session_->views.vectorscopeZoom, 1);
    EXPECT_EQ(session_->views.comboVectorscopeZoom, 10);
    QMenu* menu = OpenMenu(Scopes()->rect().center());
    ASSERT_NE(menu, nullptr);
    ASSERT_EQ(menu->actions().size(), 4);
    Choose(menu, 4);
    EXPECT_EQ(session_->views.vectorscopeZoom, 10);
    ClickTab(Tabs(), scopeTabLumaWFM);
    EXPECT_EQ(OpenMenu(Scopes()->rect().center()), nullptr);
}

TEST_F(UIViews, TheGhostCanBeChosenOnlyWhileThereIsAReferencePicture)
{
    QMenu* menu = Find<QToolButton>("scope_options")->menu();
    const auto item = [menu](const char* name) { return menu->findChild<QAction*>(QString::fromLatin1(name)); };
    const auto open = [menu] {
        menu->popup(QPoint(50, 50));
        menu->close();
    };
    ASSERT_NE(item("ghost"), nullptr);
    open();
    EXPECT_FALSE(item("ghost")->isEnabled());
    EXPECT_TRUE(item("probe")->isEnabled());
    ASSERT_EQ(ScopeSurfaceCreate(64, 36, &session_->views.referenceSurface), bpNoErr);
    open();
    EXPECT_TRUE(item("ghost")->isEnabled());
    item("ghost")->trigger();
    EXPECT_TRUE(session_->views.ghostOn);
    ScopeSurfaceDispose(&session_->views.referenceSurface);
    open();
    EXPECT_FALSE(item("ghost")->isEnabled());
}

TEST_F(UIViews, ADisplayFollowsADrag)
{
    ClickTab(Tabs(), scopeTabLumaWFM);
    const QImage before = Scopes()->grab().toImage();
    Drag(Slider("hsl_master_gain"), 1.0 / 3, 0.1);
    EXPECT_NE(Scopes()->grab().toImage(), before);
}

TEST_F(UIViews, TheHandleBetweenThePanesMoves)
{
    windows_->mainWindow()->showNormal();
    windows_->mainWindow()->resize(1400, 900);
    QCoreApplication::processEvents();
    const int before = Picture()->width();
    const QPoint handle = Area()->handleRect().center();
    QTest::mousePress(Area(), Qt::LeftButton, Qt::NoModifier, handle);
    QTest::mouseMove(Area(), handle - QPoint(150, 0));
    QTest::mouseRelease(Area(), Qt::LeftButton, Qt::NoModifier, handle - QPoint(150, 0));
    EXPECT_NEAR(Picture()->width(), before + 150, 3);
    QTest::mousePress(Area(), Qt::LeftButton, Qt::NoModifier, Area()->handleRect().center());
    QTest::mouseMove(Area(), QPoint(-500, 10));
    QTest::mouseRelease(Area(), Qt::LeftButton, Qt::NoModifier, QPoint(-500, 10));
    EXPECT_EQ(Area()->handleRect().left(), UIViewAreaWin::kLeastPane);
    QTest::mouseDClick(Area(), Qt::LeftButton, Qt::NoModifier, Area()->handleRect().center());
    EXPECT_NEAR(Picture()->width(), before, 3);
}

TEST_F(UIViews, PanesAreNeitherCutNorOverlappingAtAnySize)
{
    TincturaMainWin* window = windows_->mainWindow();
    window->showNormal();
    for (const QSize size : {QSize(1024, 748), QSize(1920, 1060), QSize(3840, 2100), QSize(700, 520)}) {
        window->resize(size);
        QCoreApplication::processEvents();
        const QRect left = Find<UIAnalysisPaneWin>("analysis")->geometry(), right = Picture()->geometry();
        EXPECT_FALSE(left.intersects(right)) << size.width();
        EXPECT_TRUE(Area()->rect().contains(left)) << size.width();
        EXPECT_TRUE(Area()->rect().contains(right)) << size.width();
        EXPECT_EQ(Scopes()->surface().width, static_cast<uint32_t>(Scopes()->width()));
        EXPECT_GE(right.height(), 60);
    }
}

TEST_F(UIViews, ALookThatEndsInAnotherPlaceEndsTheDrag)
{
    Wheel(Picture(), Picture()->rect().center(), 720);
    QTest::mousePress(Picture(), Qt::MiddleButton, Qt::NoModifier, Picture()->rect().center());
    QEvent gone(QEvent::WindowDeactivate);
    QApplication::sendEvent(Picture(), &gone);
    const double before = Picture()->pane().panX;
    QTest::mouseMove(Picture(), Picture()->rect().center() + QPoint(40, 0));
    EXPECT_EQ(Picture()->pane().panX, before);
    QTest::mouseRelease(Picture(), Qt::MiddleButton, Qt::NoModifier, Picture()->rect().center());
}
