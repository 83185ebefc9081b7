// The main window.
#include "src/UI/TincturaMainWin.h"

#include "src/UI/LayoutReportWin.h"
#include "src/UI/MainMenu.h"
#include "src/UI/ToolAreaLayout.h"
#include "src/UI/UIAboutWin.h"
#include "src/UI/UIKeysWin.h"
#include "src/UI/UIStyleWin.h"
#include "src/support/TKCommands.h"
#include "src/support/TKPreviewLUTs.h"
#include "src/support/TKStartup.h"
#include "src/support/TKTransport.h"
#include "src/support/TincturaCallback.h"

#include <QApplication>
#include <QCloseEvent>
#include <QComboBox>
#include <QPainter>
#include <QTimer>

namespace {

struct ButtonRow {
    const char* label;
    uint32_t command;
    int distance;
};

// From the right edge leftwards; a distance is from the left edge of the button before.
constexpr ButtonRow kButtons[] = {{"OK", kTKCommandOK, 73},
                                  {"Cancel", kTKCommandCancel, 73},
                                  {"Reset All", kTKCommandResetAll, 86},
                                  {"Save...", kTKCommandSaveSettings, 86},
                                  {"Load...", kTKCommandLoadSettings, 73}};
constexpr int kButtonGap = 7;
constexpr int kButtonHeight = 24;
constexpr int kTopBarHeight = 34;
constexpr int kEdge = 8;
constexpr int kTransportGap = 4; // between the panes and the transport
constexpr int kLeastViewHeight = UIHorizTabWin::kHeight + 60;

/// The output whose list of preview tables begins with a command.
TKPreviewOutput PreviewOutputOf(uint32_t first)
{
    return first == kTKSecondaryTables  ? tkPreviewSecondary
           : first == kTKExternalTables ? tkPreviewExternal
                                        : tkPreviewPrimary;
}

} // namespace

TincturaMainWin::TincturaMainWin(TKSession* session, BPStatus* error) : QWidget(nullptr), session_(session)
{
    setObjectName(QStringLiteral("main"));
    setWindowTitle(QStringLiteral("Ochrine"));
    setFocusPolicy(Qt::ClickFocus);
    menus_ = new QMenuBar(this);
    menus_->setObjectName(QStringLiteral("menus"));
    buildMenus();
    setMinimumSize(kTKLeastToolWidth, menus_->sizeHint().height() + kTopBarHeight + kLeastViewHeight + kTransportGap +
                                          UITransportWin::kHeight + kTKLeastToolHeight);
    for (const ButtonRow& row : kButtons) {
        auto* button = new QPushButton(QString::fromLatin1(row.label), this);
        button->setObjectName(QString::fromLatin1(row.label));
        button->setFocusPolicy(Qt::TabFocus);
        button->setEnabled(TKCommandIsEnabled(session, row.command));
        connect(button, &QPushButton::clicked, this, [this, &row] { DoMenuCommand(session_, row.command, nullptr); });
        buttons_.push_back(button);
    }
    area_ = new UIViewAreaWin(session, this);
    transport_ = new UITransportWin(session, this);
    transport_->setObjectName(QStringLiteral("transport"));
    session->transport[kTKTransportLeft].visible = true;
    const int32_t wantedTab = session->settingsTab;
    tools_ = BuildToolPanes(this, QRect(0, 0, kTKLeastToolWidth, kTKLeastToolHeight), session, error);
    tools_->selectPane(wantedTab);
    tools_->keepSelection();
    tools_->setObjectName(QStringLiteral("tools"));
    layoutTimer_.setSingleShot(true);
    layoutTimer_.setInterval(20);
    connect(&layoutTimer_, &QTimer::timeout, this, [this] { UIReportLayout(this); });
    qApp->installEventFilter(this);
}

void TincturaMainWin::buildMenus()
{
    UIMenuWin* open[4] = {};
    for (const TKMenuRow& row : TKMenuRows()) {
        const QString text = QString::fromUtf8(TKMenuText(row));
        if (row.title) {
            auto* menu = new UIMenuWin(text, this);
            open[row.depth] = menu;
            menuList_.push_back(menu);
            if (row.depth == 0) {
                menus_->addMenu(menu);
                connect(menu, &QMenu::aboutToShow, this, [this] { updateMenuState(); });
            } else {
                open[row.depth - 1]->addMenu(menu);
            }
            if (row.firstOfList != 0) lists_.emplace_back(row.firstOfList, menu);
            continue;
        }
        if (row.command == 0) {
            open[row.depth - 1]->addSeparator();
            continue;
        }
        // The key in the text is text and no more: keys are routed by offerKey, once.
        QAction* action = open[row.depth - 1]->addAction(text);
        const uint32_t command = row.command;
        connect(action, &QAction::triggered, this, [this, command] { DoMenuCommand(session_, command, nullptr); });
        actions_.emplace_back(command, action);
    }
    for (const auto& [first, menu] : lists_) fillPreviewList(first, menu);
    for (UIMenuWin* menu : menuList_) menu->fitColumns();
    updateMenuState();
}

void TincturaMainWin::fillPreviewList(uint32_t first, UIMenuWin* menu)
{
    const TKPreviewOutput output = PreviewOutputOf(first);
    for (const TKPreviewItem& item : TKPreviewMenu(session_->prefs, output)) {
        QAction* action = menu->addAction(QString::fromUtf8(item.text));
        action->setCheckable(true);
        const uint32_t command = item.command;
        connect(action, &QAction::triggered, this, [this, command] {
            DoMenuCommand(session_, command, nullptr);
            updateMenuState(); // a click has moved the check, a load may not have
        });
        actions_.emplace_back(command, action);
    }
}

void TincturaMainWin::updateMenuState()
{
    const TKMenuState state = UpdateMenuState(session_);
    for (auto& [command, action] : actions_) action->setEnabled(menusEnabled_ && TKCommandIsEnabled(session_, command));
    for (auto& [first, menu] : lists_) {
        const bool served = first == kTKSecondaryTables  ? state.secondaryLUT
                            : first == kTKExternalTables ? state.externalLUT
                                                         : true;
        menu->menuAction()->setEnabled(menusEnabled_ && served && !menu->isEmpty());
        const auto items = TKPreviewMenu(session_->prefs, PreviewOutputOf(first));
        const QList<QAction*> entries = menu->actions();
        for (qsizetype i = 0; i < qMin(entries.size(), static_cast<qsizetype>(items.size())); ++i)
            entries[i]->setChecked(items[static_cast<size_t>(i)].checked);
    }
}

void TincturaMainWin::picturesChanged()
{
    area_->picture()->picturesChanged();
    area_->analysis()->reference()->picturesChanged();
    tools_->picturesChanged();
}

void TincturaMainWin::pickModeChanged()
{
    area_->picture()->pickModeChanged();
    area_->analysis()->reference()->pickModeChanged();
}

void TincturaMainWin::repaintPicture(bool force)
{
    area_->picture()->showNow(force);
}

void TincturaMainWin::showAnalysis(bool force)
{
    area_->analysis()->scopes()->showNow(force);
}

void TincturaMainWin::openScopeWindow(bool open, bool activate)
{
    if (!open) {
        if (scopeWindow_) scopeWindow_->hide();
        return;
    }
    if (!scopeWindow_) {
        scopeWindow_ = new UIScopeWindowWin(session_, this);
        scopeWindow_->offerKey = [this](const QKeyEvent& event, const QWidget* focus) {
            return offerKey(event, focus);
        };
    }
    scopeWindow_->showAgain(activate);
}

void TincturaMainWin::showScopeWindow(bool force)
{
    if (scopeWindow_) scopeWindow_->scopes()->showNow(force);
}

void TincturaMainWin::hideAll()
{
    if (scopeWindow_) scopeWindow_->hide();
    hide();
}

void TincturaMainWin::repaintPanes(uint32_t mask, bool force)
{
    if (mask & tkPaneAnalysisReference) area_->analysis()->reference()->showNow(force);
}

void TincturaMainWin::setPositionText(const QString& text)
{
    transport_->setPosition(text);
}

void TincturaMainWin::playingChanged()
{
    transport_->update();
}

void TincturaMainWin::enableMenus(bool enable)
{
    menusEnabled_ = enable;
    for (const QAction* top : menus_->actions()) {
        const QList<QAction*> items = top->menu()->actions();
        for (qsizetype i = 0; i < qMin<qsizetype>(items.size(), kTKMenuItemLimit); ++i) items[i]->setEnabled(enable);
    }
    updateMenuState();
}

void TincturaMainWin::selectView(int index)
{
    area_->selectView(index);
}

void TincturaMainWin::selectAnalysis(int index)
{
    area_->analysis()->selectTab(index);
}

void TincturaMainWin::showViewMode(uint32_t mode)
{
    area_->showViewMode(mode);
}

void TincturaMainWin::showAbout()
{
    UIAboutWin(this).exec();
}

void TincturaMainWin::applyPalette()
{
    update();
}

bool TincturaMainWin::offerKey(const QKeyEvent& event, const QWidget* focusWidget)
{
    const uint32_t modifiers =
        TKModifiersOf(event.modifiers()) | (session_->platform->keyboard.modifierWord() & bpCapsLock);
    TKKeyFocus focus = TKFocusOf(focusWidget);
    // A list that was clicked has served; the next arrow is meant for the clip.
    if (focus == tkFocusArrows && focusedByMouse_ && qobject_cast<const QComboBox*>(focusWidget))
        focus = tkFocusElsewhere;
    if (const uint32_t key = TKVirtualKey(event)) {
        if (TKPickKey(session_, key)) return true;
        // The space bar plays, and must not press as well. Who went to a button by Tab wants to press it; who clicked on
        // one before has done that already.
        const bool presses = key == kTKKeySpace && (modifiers & kTKHeldKeys) == 0 && TKTakesSpace(focusWidget);
        if (presses && !focusedByMouse_) return false;
        if (const uint32_t command = TKAcceleratorCommand(key, modifiers)) {
            // The key of a disabled item is dead, as its item is.
            if (menusEnabled_ && TKCommandIsEnabled(session_, command)) DoMenuCommand(session_, command, nullptr);
            return true;
        }
        if (TKKeyDown(session_, key, modifiers, focus) || presses) return true;
    }
    const uint32_t character = TKCharacterOf(event);
    return character != 0 && TKShortcutKey(session_, character, modifiers, focus);
}

bool TincturaMainWin::eventFilter(QObject* watched, QEvent* event)
{
    const bool isPlaced = event->type() == QEvent::Show || event->type() == QEvent::Resize ||
                          (event->type() == QEvent::Move && watched == scopeWindow_);
    if (isPlaced && UILayoutReportWanted()) layoutTimer_.start();
    if (UILayoutReportWanted() && event->type() == QEvent::FocusIn && watched == QApplication::focusWidget())
        UIReportFocus();
    if (event->type() == QEvent::KeyPress && isActiveWindow() && !QApplication::activePopupWidget() &&
        !QApplication::activeModalWidget() && watched->isWidgetType()) {
        // The event climbs from where it starts to the window; it is offered once.
        const auto& key = *static_cast<QKeyEvent*>(event);
        const bool isNew = offeredKey_ != event || offeredTime_ != key.timestamp() || offeredCode_ != key.key();
        offeredKey_ = event;
        offeredTime_ = key.timestamp();
        offeredCode_ = key.key();
        if (isNew && static_cast<QWidget*>(watched)->window() == this && offerKey(key, focusWidget())) return true;
    }
    if (event->type() == QEvent::KeyRelease) offeredKey_ = nullptr;
    if (event->type() == QEvent::FocusIn) {
        // A popup that closes and a window that comes back give the focus to who had it; that says nothing.
        const Qt::FocusReason reason = static_cast<QFocusEvent*>(event)->reason();
        if (reason == Qt::MouseFocusReason)
            focusedByMouse_ = true;
        else if (reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason || reason == Qt::ShortcutFocusReason)
            focusedByMouse_ = false;
    }
    return QWidget::eventFilter(watched, event);
}

void TincturaMainWin::paintEvent(QPaintEvent*)
{
    const UIShades& shades = UIShadesNow();
    QPainter painter(this);
    painter.fillRect(rect(), shades.window);
}

void TincturaMainWin::resizeEvent(QResizeEvent*)
{
    const int menuHeight = menus_->sizeHint().height();
    menus_->setGeometry(0, 0, width(), menuHeight);
    int left = width() - kEdge + kButtonGap;
    for (size_t i = 0; i < buttons_.size(); ++i) {
        left -= kButtons[i].distance;
        buttons_[i]->setGeometry(left, menuHeight + (kTopBarHeight - kButtonHeight) / 2,
                                 kButtons[i].distance - kButtonGap, kButtonHeight);
    }
    const int top = menuHeight + kTopBarHeight;
    const int toolHeight = TKToolAreaHeight(height() - top);
    tools_->setGeometry(0, height() - toolHeight, width(), toolHeight);
    const int transportTop = height() - toolHeight - UITransportWin::kHeight;
    transport_->setGeometry(0, transportTop, width(), UITransportWin::kHeight);
    area_->setGeometry(kEdge, top, width() - 2 * kEdge, transportTop - top - kTransportGap);
}

void TincturaMainWin::closeEvent(QCloseEvent* event)
{
    if (TKMainWindowClose(session_))
        event->accept();
    else
        event->ignore(); // the command Exit asks again
}

void TincturaMainWin::mousePressEvent(QMouseEvent*)
{
    (void)CommitOpenEdit(session_, true);
}
