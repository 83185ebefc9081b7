// The main window.
#include "src/UI/TincturaMainWin.h"

#include "src/UI/LayoutReportWin.h"
#include "src/UI/MainMenu.h"
#include "src/UI/UIKeysWin.h"
#include "src/UI/UIStyleWin.h"
#include "src/support/TKCommands.h"
#include "src/support/TKStartup.h"
#include "src/support/TKTransport.h"
#include "src/support/TincturaCallback.h"

#include <QApplication>
#include <QCloseEvent>
#include <QPainter>
#include <QTimer>

namespace {

struct ButtonRow {
    const char* label;
    uint32_t command;
    int distance; ///< from the right edge of the button before to its own
};

// From the right edge leftwards.
constexpr ButtonRow kButtons[] = {{"OK", 59001, 10}, {"Cancel", 59002, 73}, {"Reset All", 13201, 86}};
constexpr int kButtonWidth = 66;
constexpr int kWideButtonWidth = 78;
constexpr int kButtonHeight = 24;
constexpr int kTopBarHeight = 34;
constexpr int kEdge = 8;

bool IsServed(uint32_t command)
{
    for (const TKCommandRow& row : TKCommands())
        if (row.id == command) return true;
    return false;
}

} // namespace

TincturaMainWin::TincturaMainWin(TKSession* session, BPStatus* error) : QWidget(nullptr), session_(session)
{
    setObjectName(QStringLiteral("main"));
    setWindowTitle(QStringLiteral("Ochrine"));
    setMinimumSize(640, 420);
    setFocusPolicy(Qt::ClickFocus);
    menus_ = new QMenuBar(this);
    menus_->setObjectName(QStringLiteral("menus"));
    buildMenus();
    for (const ButtonRow& row : kButtons) {
        auto* button = new QPushButton(QString::fromLatin1(row.label), this);
        button->setObjectName(QString::fromLatin1(row.label));
        button->setFocusPolicy(Qt::TabFocus);
        connect(button, &QPushButton::clicked, this, [this, &row] { DoMenuCommand(session_, row.command, nullptr); });
        buttons_.push_back(button);
    }
    views_ = new UIHorizTabWin(session,
                               {{QStringLiteral("Result"), QStringLiteral("view_result"), kUINoSwitch},
                                {QStringLiteral("Source"), QStringLiteral("view_source"), kUINoSwitch}},
                               this);
    views_->setObjectName(QStringLiteral("views"));
    views_->onSelect = [this](int index) { showView(index); };
    picture_ = new UIImagePaneWin(session, this);
    picture_->setObjectName(QStringLiteral("picture"));
    picture_->setSurface(&session->resultSurface);
    session->imagePaneMode = tkImageResult;
    transport_ = new UITransportWin(session, this);
    transport_->setObjectName(QStringLiteral("transport"));
    session->transport[kTKTransportLeft].visible = true;
    tools_ = new ToolAreaWin(session, this, error);
    tools_->setObjectName(QStringLiteral("tools"));
    layoutTimer_.setSingleShot(true);
    layoutTimer_.setInterval(20);
    connect(&layoutTimer_, &QTimer::timeout, this, [this] { UIReportLayout(this); });
    qApp->installEventFilter(this);
}

void TincturaMainWin::buildMenus()
{
    QMenu* open[4] = {};
    for (const TKMenuRow& row : TKMenuRows()) {
        if (row.depth == 0) {
            open[0] = menus_->addMenu(QString::fromLatin1(row.text));
            connect(open[0], &QMenu::aboutToShow, this, [this] { updateMenuState(); });
            continue;
        }
        QMenu* parent = open[row.depth - 1];
        if (!row.text) {
            parent->addSeparator();
            continue;
        }
        if (row.command == 0) {
            open[row.depth] = parent->addMenu(QString::fromLatin1(row.text));
            continue;
        }
        // The key is text in the shortcut column and no more: keys are routed by offerKey, once.
        QString text = QString::fromLatin1(row.text);
        if (row.keyText) text += u'\t' + QString::fromLatin1(row.keyText);
        QAction* action = parent->addAction(text);
        action->setEnabled(IsServed(row.command));
        const uint32_t command = row.command;
        connect(action, &QAction::triggered, this, [this, command] { DoMenuCommand(session_, command, nullptr); });
        actions_.emplace_back(command, action);
    }
}

void TincturaMainWin::updateMenuState()
{
    const TKMenuState state = UpdateMenuState(session_);
    for (auto& [command, action] : actions_) {
        if (!IsServed(command)) continue;
        if (command == kTKCommandUndo) action->setEnabled(state.undo);
        if (command == kTKCommandRedo) action->setEnabled(state.redo);
        if (command == kTKCommandCut) action->setEnabled(state.cut);
        if (command == kTKCommandCopy) action->setEnabled(state.copy);
    }
}

void TincturaMainWin::showView(int index)
{
    TKSetImagePaneMode(session_, index == 1 ? tkImageSource : tkImageResult);
    picture_->setSurface(index == 1 ? &session_->sourceSurface : &session_->resultSurface);
}

void TincturaMainWin::resultChanged()
{
    if (session_->imagePaneMode != tkImageSource) picture_->surfaceChanged();
}

void TincturaMainWin::sourceChanged()
{
    if (session_->imagePaneMode == tkImageSource) picture_->surfaceChanged();
}

void TincturaMainWin::surfacesReplaced()
{
    picture_->surfaceChanged();
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
    menus_->setEnabled(enable);
}

void TincturaMainWin::applyPalette()
{
    update();
}

bool TincturaMainWin::offerKey(const QKeyEvent& event)
{
    const uint32_t key = TKVirtualKey(event);
    if (key == 0) return false;
    const uint32_t modifiers = TKModifiersOf(event.modifiers());
    if (const uint32_t command = TKAcceleratorCommand(key, modifiers)) {
        DoMenuCommand(session_, command, nullptr);
        return true;
    }
    if (session_->controls.openSlider) return false; // the keys belong to the edit
    return TKKeyDown(session_, key, modifiers | (session_->platform->keyboard.modifierWord() & bpCapsLock));
}

bool TincturaMainWin::eventFilter(QObject* watched, QEvent* event)
{
    if (UILayoutReportWanted() && (event->type() == QEvent::Show || event->type() == QEvent::Resize))
        layoutTimer_.start();
    if (event->type() == QEvent::KeyPress && isActiveWindow() && !QApplication::activePopupWidget() &&
        !QApplication::activeModalWidget() && watched->isWidgetType()) {
        // The event climbs from where it starts to the window; it is offered once.
        const auto& key = *static_cast<QKeyEvent*>(event);
        const bool isNew = offeredKey_ != event || offeredTime_ != key.timestamp() || offeredCode_ != key.key();
        offeredKey_ = event;
        offeredTime_ = key.timestamp();
        offeredCode_ = key.key();
        if (isNew && static_cast<QWidget*>(watched)->window() == this && offerKey(key)) return true;
    }
    if (event->type() == QEvent::KeyRelease) offeredKey_ = nullptr;
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
    int right = width();
    for (size_t i = 0; i < buttons_.size(); ++i) {
        right -= kButtons[i].distance;
        const int span = kButtons[i].distance > 80 ? kWideButtonWidth : kButtonWidth;
        buttons_[i]->setGeometry(right - span, menuHeight + (kTopBarHeight - kButtonHeight) / 2, span, kButtonHeight);
    }
    const int top = menuHeight + kTopBarHeight;
    // A window lower than the screens that we are made for shares its height instead of losing the picture.
    const int toolHeight = qMin(kTKLeastToolHeight, (height() - top) * 55 / 100);
    tools_->setGeometry(0, height() - toolHeight, width(), toolHeight);
    const int transportTop = height() - toolHeight - UITransportWin::kHeight;
    transport_->setGeometry(0, transportTop, width(), UITransportWin::kHeight);
    views_->setGeometry(kEdge, menuHeight + (kTopBarHeight - UIHorizTabWin::kHeight), 300, UIHorizTabWin::kHeight);
    picture_->setGeometry(kEdge, top + 4, width() - 2 * kEdge, transportTop - top - 8);
}

void TincturaMainWin::closeEvent(QCloseEvent* event)
{
    if (TKMainWindowClose(session_))
        event->accept();
    else
        event->ignore(); // the command Exit asks again
}

void TincturaMainWin::changeEvent(QEvent* event)
{
    // A menu or an alert of our own does not put the application into the background.
    if (event->type() == QEvent::ActivationChange) TKApplicationActivated(session_, qApp->activeWindow() != nullptr);
    QWidget::changeEvent(event);
}

void TincturaMainWin::mousePressEvent(QMouseEvent*)
{
    (void)CommitOpenEdit(session_, true);
}
