// The menu bar: every text, number and place, and what the window makes of them.
#include "src/UI/MainMenu.h"

#include "src/UI/UIKeysWin.h"
#include "tests/UI/UITest.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QMenuBar>
#include <QStyle>
#include <QTimer>

namespace {

struct Expected {
    uint32_t depth;
    const char* text;
    uint32_t command;
};

// Lines between items are not counted.
constexpr Expected kBar[] = {
    {0, "File", 0},
    {1, "Export", 0},
    {2, "Settings to Academy 3D LUT...", 14105},
    {2, "Settings to Autodesk 3D LUT", 0},
    {3, "Lustre...", 14901},
    {3, "Flame...", 14902},
    {3, "Smoke...", 14903},
    {3, "Generic .3dl...", 14904},
    {2, "Settings to Cinetal 3D LUT...", 14107},
    {2, "Settings to Ochrine Preview LUT...", 14108},
    {2, "Settings to HDLink Pro 3D LUT...", 14109},
    {2, "Settings to LUTher 3D LUT...", 14110},
    {2, "Settings to Panavision GDP 3D LUT...", 14111},
    {2, "Settings to Pogle 3D LUT...", 14112},
    {2, "Settings to Scratch 3D LUT...", 14113},
    {2, "Settings to Truelight 3D LUT...", 14114},
    {1, "Exit   Ctrl+Q", 59003},
    {0, "Edit", 0},
    {1, "Undo   Ctrl+Z", 59004},
    {1, "Redo   Shift+Ctrl+Z", 59005},
    {1, "Cut    Ctrl+X", 59006},
    {1, "Copy   Ctrl+C", 59007},
    {1, "Paste  Ctrl+V", 59008},
    {1, "Clear", 59009},
    {1, "Preferences...", 59014},
    {0, "Settings", 0},
    {1, "Reset All      Shift+Ctrl+Alt+R", 13201},
    {1, "Load Settings...       Shift+Ctrl+Alt+L", 13202},
    {1, "Save Settings...       Shift+Ctrl+Alt+S", 13203},
    {1, "Save User Preset...    Shift+Ctrl+Alt+P", 13204},
    {1, "Load ASC CDL...", 13205},
    {1, "Save ASC CDL...", 13206},
    {0, "Clip", 0},
    {1, "Save Reference Image   Ctrl+Alt+R", 13304},
    {0, "View", 0},
    {1, "Single Ctrl+1", 13101},
    {1, "Normal Ctrl+2", 13102},
    {1, "Primary Preview LUT", 0},
    {1, "Secondary Preview LUT", 0},
    {1, "External Preview LUT", 0},
    {0, "Help", 0},
    {1, "View Ochrine User's Guide...", 13601},
    {1, "View Ochrine Online Knowledge Base...", 13602},
    {1, "About Ochrine...", 59025},
};

void Walk(const QList<QAction*>& actions, int depth, std::vector<std::pair<int, std::string>>* found)
{
    for (const QAction* action : actions) {
        if (action->isSeparator() || action->isCheckable())
            continue; // lists that are filled at run time can be checked
        found->emplace_back(depth, action->text().toStdString());
        if (action->menu()) Walk(action->menu()->actions(), depth + 1, found);
    }
}

QAction* ActionOf(const QWidget* window, const QString& text)
{
    for (QAction* action : window->findChildren<QAction*>())
        if (action->text() == text) return action;
    return nullptr;
}

TEST(MainMenu, TheRowsAreTheseTextsAndNumbersInThisOrder)
{
    size_t next = 0;
    for (const TKMenuRow& row : TKMenuRows()) {
        if (!row.title && row.command == 0) continue;
        ASSERT_LT(next, std::size(kBar));
        EXPECT_EQ(row.depth, kBar[next].depth) << kBar[next].text;
        EXPECT_STREQ(TKMenuText(row), kBar[next].text);
        EXPECT_EQ(row.command, kBar[next].command) << kBar[next].text;
        ++next;
    }
    EXPECT_EQ(next, std::size(kBar));
}

TEST(MainMenu, TheKeyInATextIsThatOfItsCommand)
{
    for (const TKCommandRow& row : TKCommands()) {
        if (!row.text) continue;
        const TKMenuColumns columns = TKSplitMenuText(row.text);
        std::string key;
        if (row.modifiers & bpShiftKey) key += "Shift+";
        if (row.modifiers & bpControlKey) key += "Ctrl+";
        if (row.modifiers & bpAltKey) key += "Alt+";
        if (row.modifiers != 0) key += static_cast<char>(row.virtualKey);
        EXPECT_EQ(columns.key, key) << row.text;
        EXPECT_EQ(columns.label.find("Ctrl"), std::string_view::npos) << row.text;
        EXPECT_EQ(std::string_view(row.text).substr(0, columns.label.size()), columns.label);
        EXPECT_NE(columns.label.back(), ' ');
    }
    EXPECT_EQ(TKSplitMenuText("").label, "");
    EXPECT_EQ(TKSplitMenuText("   Ctrl+A").label, "");
}

} // namespace

TEST_F(UITest, TheBarOfTheWindowHasTheTextsOfTheTable)
{
    std::vector<std::pair<int, std::string>> found;
    Walk(Find<QMenuBar>("menus")->actions(), 0, &found);
    ASSERT_EQ(found.size(), std::size(kBar));
    for (size_t i = 0; i < found.size(); ++i) {
        EXPECT_EQ(found[i].first, static_cast<int>(kBar[i].depth)) << kBar[i].text;
        EXPECT_EQ(found[i].second, kBar[i].text);
    }
}

TEST_F(UITest, NoItemShowsItsKeyTwice)
{
    for (const QAction* action : windows_->mainWindow()->findChildren<QAction*>())
        EXPECT_TRUE(action->shortcut().isEmpty()) << action->text().toStdString();
}

TEST_F(UITest, DisabledTextsAreDimAndNotDoubled)
{
    const QStyle* style = QApplication::style();
    EXPECT_EQ(style->styleHint(QStyle::SH_EtchDisabledText), 0);
    EXPECT_EQ(style->styleHint(QStyle::SH_DialogButtonBox_ButtonsHaveIcons), 0);
    EXPECT_EQ(style->styleHint(QStyle::SH_Menu_MouseTracking), 1); // the rest is the base's
}

TEST_F(UITest, MenusAreWideEnoughForBothColumns)
{
    int menusWithKeys = 0;
    for (const QAction* top : Find<QMenuBar>("menus")->actions()) {
        const QMenu* menu = top->menu();
        int label = 0, key = 0;
        for (const QAction* action : menu->actions()) {
            const std::string text = action->text().toStdString();
            const TKMenuColumns columns = TKSplitMenuText(text);
            const auto width = [&](std::string_view part) {
                return menu->fontMetrics().horizontalAdvance(QString::fromStdString(std::string(part)));
            };
            label = qMax(label, width(columns.label));
            key = qMax(key, width(columns.key));
        }
        if (key == 0) continue;
        ++menusWithKeys;
        EXPECT_GE(menu->sizeHint().width(), label + key + 40) << top->text().toStdString();
    }
    EXPECT_EQ(menusWithKeys, 5);
}

TEST_F(UITest, AnOpenMenuTellsWhatCanBeDoneNow)
{
    TincturaMainWin* window = windows_->mainWindow();
    auto* edit = Find<QMenuBar>("menus")->actions().at(1)->menu();
    const auto open = [&] { emit edit->aboutToShow(); };
    const auto enabled = [&](const char* text) { return ActionOf(window, QString::fromLatin1(text))->isEnabled(); };
    open();
    EXPECT_FALSE(enabled("Undo   Ctrl+Z"));
    EXPECT_FALSE(enabled("Redo   Shift+Ctrl+Z"));
    EXPECT_FALSE(enabled("Paste  Ctrl+V"));
    EXPECT_TRUE(enabled("Cut    Ctrl+X"));
    EXPECT_TRUE(enabled("Copy   Ctrl+C"));
    EXPECT_TRUE(enabled("Clear"));
    Drag(Slider("hsl_master_gain"), 1.0 / 3, 0.8);
    ActionOf(window, QStringLiteral("Copy   Ctrl+C"))->trigger();
    open();
    EXPECT_TRUE(enabled("Undo   Ctrl+Z"));
    EXPECT_TRUE(enabled("Paste  Ctrl+V"));
    ActionOf(window, QStringLiteral("Undo   Ctrl+Z"))->trigger();
    open();
    EXPECT_FALSE(enabled("Undo   Ctrl+Z"));
    EXPECT_TRUE(enabled("Redo   Shift+Ctrl+Z"));
    EXPECT_FALSE(enabled("Preferences...")); // its tool comes later
    EXPECT_TRUE(enabled("Primary Preview LUT"));
    EXPECT_FALSE(enabled("Secondary Preview LUT")); // without a second monitor
    EXPECT_FALSE(enabled("External Preview LUT"));  // without a device
    EXPECT_TRUE(Find<QPushButton>("Save...")->isEnabled());
}

TEST_F(UITest, APreviewTableIsChosenInItsMenuAndSeenInThePictureAlone)
{
    TincturaMainWin* window = windows_->mainWindow();
    const QList<QAction*> entries = ActionOf(window, QStringLiteral("Primary Preview LUT"))->menu()->actions();
    ASSERT_EQ(entries.size(), 6);
    EXPECT_EQ(entries[0]->text(), QStringLiteral("None"));
    EXPECT_EQ(entries[5]->text(), QStringLiteral("Other..."));
    EXPECT_TRUE(entries[0]->isChecked());
    auto* picture = Find<QWidget>("picture");
    const auto centre = [&] {
        const QImage image = picture->grab().toImage();
        return image.pixelColor(image.width() / 2, image.height() / 2);
    };
    const QColor before = centre();
    const uint32_t result = TKPixelAt(session_->resultSurface, 0, 0);
    entries[4]->trigger(); // Invert
    EXPECT_EQ(session_->prefs.primaryLUTIndex, 54u);
    EXPECT_TRUE(entries[4]->isChecked());
    EXPECT_FALSE(entries[0]->isChecked());
    const QColor inverted = centre();
    EXPECT_NEAR(inverted.red(), 255 - before.red(), 1);
    EXPECT_NEAR(inverted.green(), 255 - before.green(), 1);
    EXPECT_NEAR(inverted.blue(), 255 - before.blue(), 1);
    EXPECT_NE(inverted, before);
    EXPECT_EQ(TKPixelAt(session_->resultSurface, 0, 0), result);
    entries[5]->trigger(); // a dialog that is cancelled
    EXPECT_TRUE(entries[4]->isChecked());
    EXPECT_FALSE(entries[5]->isChecked());
    entries[0]->trigger();
    EXPECT_TRUE(entries[0]->isChecked());
    EXPECT_EQ(centre(), before);
}

TEST_F(UITest, AResidentWindowHasNoEnabledItem)
{
    TincturaMainWin* window = windows_->mainWindow();
    window->enableMenus(false);
    for (const QAction* top : Find<QMenuBar>("menus")->actions())
        for (const QAction* action : top->menu()->actions())
            EXPECT_FALSE(action->isEnabled() && !action->isSeparator()) << action->text().toStdString();
    DoMenuCommand(session_, kTKCommandCopy, nullptr);
    QTest::keyClick(window, Qt::Key_V, Qt::ControlModifier);
    EXPECT_EQ(session_->undoRing->undoAvailable, 0u); // its key is dead too
    window->enableMenus(true);
    EXPECT_TRUE(ActionOf(window, QStringLiteral("Copy   Ctrl+C"))->isEnabled());
    EXPECT_FALSE(ActionOf(window, QStringLiteral("Undo   Ctrl+Z"))->isEnabled());
}

TEST_F(UITest, PasteByItsKeyBringsControlsAndPictureUp)
{
    Drag(Slider("hsl_master_gain"), 1.0 / 3, -0.1);
    QTest::keyClick(windows_->mainWindow(), Qt::Key_C, Qt::ControlModifier);
    QTest::keyClick(windows_->mainWindow(), Qt::Key_R,
                    Qt::ControlModifier | Qt::AltModifier | Qt::ShiftModifier); // Reset All
    EXPECT_EQ(Live().hsl.master.gain, 1.0f);
    QTest::keyClick(windows_->mainWindow(), Qt::Key_V, Qt::ControlModifier);
    EXPECT_EQ(Live().hsl.master.gain, 0.0f);
    EXPECT_STREQ(Slider("hsl_master_gain")->slider()->valueText, "0.00");
    auto* picture = Find<UIImagePaneWin>("picture");
    const QImage shot = picture->grab().toImage();
    EXPECT_EQ(shot.pixelColor(shot.width() / 2, shot.height() / 2), QColor(0, 0, 0));
}

TEST_F(UITest, LettersSelectTabsAndViewsOfTheWindow)
{
    TincturaMainWin* window = windows_->mainWindow();
    auto* panes = Find<UIHorizTabWin>("panes");
    auto* views = Find<UIHorizTabWin>("views");
    QTest::keyClick(window, Qt::Key_P);
    EXPECT_EQ(panes->current(), 1);
    EXPECT_EQ(session_->settingsTab, 1);
    QTest::keyClick(window, Qt::Key_S);
    EXPECT_EQ(Find<UIHorizTabWin>("pane_rgb_tabs")->current(), 3);
    EXPECT_EQ(Find<UIHorizTabWin>("pane_hsl_controls_tabs")->current(), 0);
    QTest::keyClick(window, Qt::Key_U);
    QTest::keyClick(window, Qt::Key_H);
    EXPECT_EQ(panes->current(), 0);
    EXPECT_EQ(Find<UIHorizTabWin>("pane_hsl_controls_tabs")->current(), 1);
    QTest::keyClick(window, Qt::Key_W);
    EXPECT_EQ(Find<UIHorizTabWin>("pane_hsl_tabs")->current(), 1);
    QTest::keyClick(window, Qt::Key_N);
    EXPECT_EQ(panes->current(), 6);
    EXPECT_EQ(session_->settingsTab, 6);
    QTest::keyClick(window, 'S', Qt::ShiftModifier);
    EXPECT_EQ(views->current(), 1);
    EXPECT_EQ(session_->imagePaneMode, tkImageSource);
    gBPFake.modifierWord = bpCapsLock;
    QTest::keyClick(window, 'R', Qt::ShiftModifier);
    EXPECT_EQ(views->current(), 1);
    gBPFake.modifierWord = 0;
    QTest::keyClick(window, 'R', Qt::ShiftModifier);
    EXPECT_EQ(views->current(), 0);
}

TEST_F(UITest, LettersInAnOpenEditSelectNothing)
{
    UISliderWin* hue = Slider("hsl_master_hue");
    ClickValue(hue);
    QTest::keyClicks(EditOf(hue), QStringLiteral("p12"));
    EXPECT_EQ(Find<UIHorizTabWin>("panes")->current(), 0);
    EXPECT_EQ(EditOf(hue)->text(), QStringLiteral("12"));
    QTest::keyClick(EditOf(hue), Qt::Key_F2, Qt::ShiftModifier); // a slot stores what was typed
    EXPECT_EQ(session_->prefs.savedSettings[1].settings.hsl.master.hue, 12.0f);
    EXPECT_FALSE(EditOf(hue)->isVisible());
}

TEST_F(UITest, SlotKeysStoreAndRecall)
{
    TincturaMainWin* window = windows_->mainWindow();
    Drag(Slider("hsl_master_gain"), 1.0 / 3, 0.8);
    const float gain = Live().hsl.master.gain;
    QTest::keyClick(window, Qt::Key_F1, Qt::ShiftModifier);
    QTest::keyClick(window, Qt::Key_F3, Qt::ShiftModifier);
    QTest::mouseClick(Find<QPushButton>("Reset All"), Qt::LeftButton);
    QTest::keyClick(window, Qt::Key_F3);
    EXPECT_EQ(Live().hsl.master.gain, gain);
    QTest::keyClick(window, Qt::Key_F8);
    EXPECT_EQ(gBPFake.beeps, 1u);
    // F1 alone is the guide's.
    QTest::mouseClick(Find<QPushButton>("Reset All"), Qt::LeftButton);
    QTest::keyClick(window, Qt::Key_F1);
    EXPECT_EQ(Live().hsl.master.gain, 1.0f);
    ASSERT_EQ(gBPFake.opened.size(), 1u);
    EXPECT_NE(gBPFake.opened[0].find("/Ochrine 3 Plug-in Users Guide.pdf"), std::string::npos);
}

TEST_F(UITest, AControlWithArrowKeysKeepsThem)
{
    host_.serve = [](TKTestHost* host) { host->SendFrames(); };
    auto* own = new QWidget(windows_->mainWindow());
    own->setFocusPolicy(Qt::StrongFocus);
    own->setProperty(kUITakesArrows, true);
    own->show();
    own->setFocus();
    QTest::keyClick(own, Qt::Key_End);
    EXPECT_EQ(host_.Block()->frameTime, 0);
    auto* search = new QLineEdit(windows_->mainWindow());
    search->show();
    search->setFocus();
    QTest::keyClicks(search, QStringLiteral("pan "));
    EXPECT_EQ(search->text(), QStringLiteral("pan "));
    EXPECT_EQ(Find<UIHorizTabWin>("panes")->current(), 0);
    EXPECT_FALSE(TKIsPlaying(session_));
    windows_->mainWindow()->setFocus();
    QTest::keyClick(windows_->mainWindow(), Qt::Key_End);
    EXPECT_EQ(host_.Block()->frameTime, 900);
}

TEST_F(UITest, TheAboutBoxTellsTheVersion)
{
    QString version;
    QTimer::singleShot(0, [&] {
        QWidget* box = QApplication::activeModalWidget();
        ASSERT_NE(box, nullptr);
        version = box->findChild<QLabel*>(QStringLiteral("version"))->text();
        box->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok)->click();
    });
    DoMenuCommand(session_, kTKCommandAbout, nullptr);
    EXPECT_EQ(version, QStringLiteral("Version 3.0.9(286)"));
}

TEST(Keys, TheirPlaceTellsLettersThatTheLayoutDoesNotHave)
{
    const auto keyAt = [](int key, quint32 place) {
        return TKVirtualKey(QKeyEvent(QEvent::KeyPress, key, Qt::ControlModifier, place, 0, 0));
    };
    EXPECT_EQ(keyAt(0x0427, 24), static_cast<uint32_t>('Q')); // a Cyrillic letter
    EXPECT_EQ(keyAt(0x042F, 52), static_cast<uint32_t>('Z'));
    EXPECT_EQ(keyAt(Qt::Key_Ampersand, 10), static_cast<uint32_t>('1')); // the row of digits on a French keyboard
    EXPECT_EQ(keyAt(Qt::Key_A, 24), static_cast<uint32_t>('A'));         // a Latin letter counts as it is
    EXPECT_EQ(keyAt(0x0427, 0), 0u);
    EXPECT_EQ(keyAt(Qt::Key_F9, 75), 0u);
}

TEST(Keys, ASignThatStandsInThePlaceOfALetterIsNotThatLetter)
{
    const auto keyAt = [](int key, quint32 place) {
        return TKVirtualKey(QKeyEvent(QEvent::KeyPress, key, Qt::ControlModifier, place, 0, 0));
    };
    EXPECT_EQ(keyAt(Qt::Key_Apostrophe, 24), 0u); // Dvorak: not Exit
    EXPECT_EQ(keyAt(Qt::Key_Semicolon, 52), 0u);  // nor Undo
    EXPECT_EQ(keyAt(Qt::Key_Comma, 25), 0u);
    EXPECT_EQ(keyAt(Qt::Key_Minus, 15), static_cast<uint32_t>('6')); // a French keyboard
}
