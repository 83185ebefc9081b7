// The analysis pane's tabs and pages.
#include "src/UI/UIAnalysisPaneWin.h"

#include "src/UI/UIStyleWin.h"
#include "src/support/TKStartup.h"

#include <QPainter>
#include <QToolButton>
#include <algorithm>

namespace {

/// Names of the tabs for tests, and their titles cut to what a narrow pane has room for.
struct TabRow {
    const char* name;
    const char* cut;
};
constexpr TabRow kTabs[kScopeTabCount] = {{"scope_combo", "Combo"},     {"scope_reference", "Ref"},
                                          {"scope_luma", "Luma"},       {"scope_yc", "YC"},
                                          {"scope_rgb", "RGB"},         {"scope_gbr", "GBR"},
                                          {"scope_yrgb", "YRGB"},       {"scope_ycbcr", "YCbCr"},
                                          {"scope_overlay", "Over"},    {"scope_vectorscope", "Vector"},
                                          {"scope_histograms", "Hist"}, {"scope_tone_curve", "Tone"},
                                          {"scope_gallery", "Gallery"}};

constexpr int kOptionsWidth = 22;

class EmptyPage : public QWidget {
  public:
    explicit EmptyPage(QWidget* parent) : QWidget(parent) {}

  protected:
    void paintEvent(QPaintEvent*) override { QPainter(this).fillRect(rect(), UIShadesNow().panel); }
};

std::vector<UITab> Tabs()
{
    std::vector<UITab> tabs;
    for (int32_t i = 0; i < kScopeTabCount; ++i)
        tabs.push_back({QString::fromLatin1(ScopeTabAt(i)->title), QString::fromLatin1(kTabs[i].name), kUINoSwitch});
    return tabs;
}

} // namespace

UIAnalysisPaneWin::UIAnalysisPaneWin(TKSession* session, QWidget* parent) : QWidget(parent), session_(session)
{
    setObjectName(QStringLiteral("analysis"));
    std::span<QWidget*> pages;
    tabs_ = CreateHorizTabs(session, this, QRect(), Tabs(), false, &pages);
    tabs_->setObjectName(QStringLiteral("analysis_tabs"));
    scopes_ = new UIScopeViewWin(session, tkScopesPane, QStringLiteral("scopes"), this);
    reference_ = new UIImagePaneWin(session, QStringLiteral("reference"), tkImageReference, this);
    gallery_ = new EmptyPage(this);
    gallery_->setObjectName(QStringLiteral("gallery"));
    std::ranges::fill(pages, scopes_);
    pages[scopeTabReference] = reference_;
    pages[scopeTabGallery] = gallery_;
    options_ = new QToolButton(this);
    options_->setObjectName(QStringLiteral("scope_options"));
    options_->setAccessibleName(QStringLiteral("Options of the displays"));
    options_->setToolTip(QStringLiteral("Options of the displays"));
    options_->setText(QStringLiteral("\u22EF"));
    options_->setAutoRaise(true);
    options_->setFocusPolicy(Qt::TabFocus);
    options_->setPopupMode(QToolButton::InstantPopup);
    options_->setMenu(new QMenu(options_));
    options_->setStyleSheet(QStringLiteral("QToolButton::menu-indicator { image: none; }"));
    (void)addOption("Probe", "probe", &TKViews::probeOn);
    QAction* ghost = addOption("Ghost of Reference", "ghost", &TKViews::ghostOn);
    QAction* window = options_->menu()->addAction(QStringLiteral("Displays in a Window"));
    window->setObjectName(QStringLiteral("scope_window_option"));
    window->setCheckable(true);
    connect(window, &QAction::triggered, this, [this](bool on) { TKOpenScopeWindow(session_, on); });
    connect(options_->menu(), &QMenu::aboutToShow, this, [this, ghost, window] {
        ghost->setEnabled(session_->views.referenceSurface.pixels != nullptr);
        window->setChecked(session_->views.window.isOpen != 0); // it may have been closed by itself
    });
    SelectTab(tabs_, qBound(0, session->views.analysisTab, kScopeTabCount - 1));
    session->views.analysisTab = tabs_->current();
    tabs_->onSelect = [this](int index) { tabSelected(index); };
}

void UIAnalysisPaneWin::selectTab(int index)
{
    SelectTab(tabs_, index);
}

void UIAnalysisPaneWin::tabSelected(int index)
{
    ScopeSelection selection = TKSelectionOf(session_);
    const TKAnalysisEffect effect = SelectAnalysisDisplay(&selection, index);
    if (!effect.changed) return;
    TKStoreSelection(session_, selection);
    UpdateAnalysisPane(session_, false);
    if (effect.writesPreferences) TKWritePreferences(session_);
    if (effect.updatesGallery) TK_UI(session_, updateGallery);
}

QAction* UIAnalysisPaneWin::addOption(const char* title, const char* name, bool TKViews::*option)
{
    QAction* action = options_->menu()->addAction(QString::fromLatin1(title));
    action->setObjectName(QString::fromLatin1(name));
    action->setCheckable(true);
    connect(action, &QAction::toggled, this, [this, option](bool on) {
        session_->views.*option = on;
        RefreshDisplaysOnly(session_, false);
    });
    return action;
}

void UIAnalysisPaneWin::fitTabs(int room)
{
    std::vector<QString> titles, cut;
    for (int32_t i = 0; i < kScopeTabCount; ++i) {
        titles.push_back(QString::fromLatin1(ScopeTabAt(i)->title));
        cut.push_back(QString::fromLatin1(kTabs[i].cut));
    }
    tabs_->fitLabels(titles, cut, room);
}

void UIAnalysisPaneWin::resizeEvent(QResizeEvent*)
{
    const int room = qMax(0, width() - kOptionsWidth);
    tabs_->setGeometry(0, 0, room, UIHorizTabWin::kHeight);
    options_->setGeometry(room, 2, kOptionsWidth, UIHorizTabWin::kHeight - 4);
    fitTabs(room);
    const QRect page(0, UIHorizTabWin::kHeight, width(), qMax(0, height() - UIHorizTabWin::kHeight));
    scopes_->setGeometry(page);
    reference_->setGeometry(page);
    gallery_->setGeometry(page);
}
