// The displays' own window.
#include "src/UI/UIScopeWindowWin.h"

#include "src/UI/UIKeysWin.h"
#include "src/UI/UIStyleWin.h"
#include "src/platform/BPKeyboard.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QScreen>
#include <QWindow>
#include <algorithm>
#include <cstring>

namespace {

constexpr QSize kLeastSize(260, 200), kUsualSize(720, 560);
constexpr int kPlaceMs = 400;

/// Names of the tabs for tests, and their titles cut to what a narrow window has room for.
struct TabRow {
    const char* name;
    const char* cut;
};
constexpr TabRow kTabs[kTKScopeWindowTabCount] = {
    {"window_combo", "Combo"},     {"window_luma", "Luma"},      {"window_yc", "YC"},
    {"window_rgb", "RGB"},         {"window_gbr", "GBR"},        {"window_yrgb", "YRGB"},
    {"window_ycbcr", "YCbCr"},     {"window_overlay", "Over"},   {"window_vectorscope", "Vec"},
    {"window_histograms", "Hist"}, {"window_tone_curve", "Tone"}};

std::vector<UITab> Tabs()
{
    std::vector<UITab> tabs;
    for (int32_t i = 0; i < kTKScopeWindowTabCount; ++i)
        tabs.push_back({QString::fromLatin1(ScopeTabAt(TKScopeWindowTabAt(i))->title),
                        QString::fromLatin1(kTabs[i].name), kUINoSwitch});
    return tabs;
}

} // namespace

UIScopeWindowWin::UIScopeWindowWin(TKSession* session, QWidget* mainWindow)
    : QWidget(mainWindow, Qt::Window), session_(session)
{
    setObjectName(QStringLiteral("scope_window"));
    setWindowTitle(QStringLiteral("Ochrine Displays"));
    setAccessibleName(QStringLiteral("Displays"));
    setMinimumSize(kLeastSize);
    setFocusPolicy(Qt::ClickFocus);
    setAttribute(Qt::WA_OpaquePaintEvent);
    std::span<QWidget*> pages;
    tabs_ = CreateHorizTabs(session, this, QRect(), Tabs(), false, &pages);
    tabs_->setObjectName(QStringLiteral("window_tabs"));
    tabs_->setAccessibleName(QStringLiteral("Displays"));
    scopes_ = new UIScopeViewWin(session, tkScopesWindow, QStringLiteral("window_scopes"), this);
    std::ranges::fill(pages, scopes_);
    SelectTab(tabs_, TKScopeWindowNumberOf(session->views.window.analysisTab));
    tabs_->onSelect = [this](int number) {
        ScopeSelection selection = TKSelectionOf(session_, tkScopesWindow);
        selection.analysisSelection = TKScopeWindowTabAt(number);
        TKShowSelection(session_, tkScopesWindow, selection, true, true);
    };
    placeTimer_.setSingleShot(true);
    placeTimer_.setInterval(kPlaceMs);
    connect(&placeTimer_, &QTimer::timeout, this, [this] { keepPlace(); });
}

UIScopeWindowWin::~UIScopeWindowWin()
{
    if (isVisible()) keepPlace();
}

void UIScopeWindowWin::place()
{
    const TKScopeWindow& window = session_->views.window;
    const QByteArray stored(reinterpret_cast<const char*>(window.geometry), static_cast<int>(window.geometryBytes));
    if (!stored.isEmpty() && restoreGeometry(stored)) return; // which keeps it on a screen that is there
    const QScreen* home = parentWidget()->screen();
    const QScreen* chosen = home;
    for (const QScreen* screen : QGuiApplication::screens())
        if (screen != home && chosen == home) chosen = screen;
    const QRect area = chosen->availableGeometry();
    QRect rect(QPoint(0, 0), kUsualSize.boundedTo(area.size()));
    if (chosen == home) // not over the picture: the analysis pane shows the like
        rect.setSize(kUsualSize.boundedTo(QSize(area.width() / 2, area.height() * 3 / 5)));
    rect.moveCenter(area.center());
    if (chosen == home) rect.moveLeft(area.left());
    setGeometry(rect);
}

void UIScopeWindowWin::showAgain(bool activate)
{
    if (!isVisible()) {
        place();
        setAttribute(Qt::WA_ShowWithoutActivating, !activate);
        setVisible(true);
        setFocus(); // not the tabs: space bar and arrows are the transport's
    }
    if (!activate) return;
    raise();
    activateWindow();
}

void UIScopeWindowWin::keepPlace()
{
    placeTimer_.stop();
    const QByteArray bytes = saveGeometry();
    TKScopeWindow& window = session_->views.window;
    if (bytes.size() > static_cast<qsizetype>(kTKWindowGeometryLimit)) return;
    if (static_cast<qsizetype>(window.geometryBytes) == bytes.size() &&
        std::memcmp(window.geometry, bytes.constData(), window.geometryBytes) == 0)
        return;
    window.geometryBytes = static_cast<uint32_t>(bytes.size());
    std::memcpy(window.geometry, bytes.constData(), window.geometryBytes);
    TKWriteScopeWindow(session_);
}

void UIScopeWindowWin::resizeEvent(QResizeEvent*)
{
    tabs_->setGeometry(0, 0, width(), UIHorizTabWin::kHeight);
    scopes_->setGeometry(0, UIHorizTabWin::kHeight, width(), qMax(0, height() - UIHorizTabWin::kHeight));
    std::vector<QString> titles, cut;
    for (int32_t i = 0; i < kTKScopeWindowTabCount; ++i) {
        titles.push_back(QString::fromLatin1(ScopeTabAt(TKScopeWindowTabAt(i))->title));
        cut.push_back(QString::fromLatin1(kTabs[i].cut));
    }
    tabs_->fitLabels(titles, cut, width());
    if (isVisible()) placeTimer_.start();
}

void UIScopeWindowWin::moveEvent(QMoveEvent*)
{
    if (isVisible()) placeTimer_.start();
}

void UIScopeWindowWin::hideEvent(QHideEvent*)
{
    keepPlace();
}

void UIScopeWindowWin::closeEvent(QCloseEvent*)
{
    keepPlace();
    TKOpenScopeWindow(session_, false);
}

bool UIScopeWindowWin::selectByLetter(const QKeyEvent& event)
{
    if (session_->controls.openSlider || session_->fullScreenPreview) return false;
    const uint32_t character = TKCharacterOf(event), modifiers = TKModifiersOf(event.modifiers());
    for (const TKShortcutRow& row : TKLeftPaneShortcuts()) {
        const int32_t number = TKScopeWindowNumberOf(row.select[0]);
        if (row.character != character || row.modifiers != modifiers || number < 0) continue;
        if (session_->platform->keyboard.modifierWord() & bpCapsLock) return false;
        SelectTab(tabs_, number);
        return true;
    }
    return false;
}

void UIScopeWindowWin::keyPressEvent(QKeyEvent* event)
{
    const Qt::KeyboardModifiers held = event->modifiers() & ~Qt::KeypadModifier;
    if ((event->key() == Qt::Key_Escape && held == Qt::NoModifier && !TKIsPicking(session_)) ||
        (event->key() == Qt::Key_W && held == Qt::ControlModifier)) {
        close();
        return;
    }
    if (event->key() == Qt::Key_F11 && held == Qt::NoModifier) {
        setWindowState(windowState() ^ Qt::WindowFullScreen);
        return;
    }
    if (selectByLetter(*event)) return;
    if (offerKey && offerKey(*event, focusWidget())) return;
    QWidget::keyPressEvent(event);
}

void UIScopeWindowWin::paintEvent(QPaintEvent*)
{
    QPainter(this).fillRect(rect(), UIShadesNow().window);
}
