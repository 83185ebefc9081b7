// The analysis pane's tabs and pages.
#include "src/UI/UIAnalysisPaneWin.h"

#include "src/UI/UIStyleWin.h"
#include "src/support/TKStartup.h"

#include <QPainter>

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
    tabs_ = new UIHorizTabWin(session, Tabs(), this);
    tabs_->setObjectName(QStringLiteral("analysis_tabs"));
    scopes_ = new UIScopeViewWin(session, QStringLiteral("scopes"), this);
    reference_ = new UIImagePaneWin(session, QStringLiteral("reference"), tkImageReference, this);
    gallery_ = new EmptyPage(this);
    gallery_->setObjectName(QStringLiteral("gallery"));
    tabs_->select(qBound(0, session->views.analysisTab, kScopeTabCount - 1));
    session->views.analysisTab = tabs_->current();
    tabs_->onSelect = [this](int index) { tabSelected(index); };
    showPage();
}

void UIAnalysisPaneWin::selectTab(int index)
{
    tabs_->select(index);
}

void UIAnalysisPaneWin::tabSelected(int index)
{
    ScopeSelection selection = TKSelectionOf(session_);
    const TKAnalysisEffect effect = SelectAnalysisDisplay(&selection, index);
    if (!effect.changed) return;
    TKStoreSelection(session_, selection);
    showPage();
    UpdateAnalysisPane(session_, false);
    if (effect.writesPreferences) TKWritePreferences(session_);
}

void UIAnalysisPaneWin::showPage()
{
    const int32_t tab = session_->views.analysisTab;
    reference_->setVisible(tab == scopeTabReference);
    gallery_->setVisible(tab == scopeTabGallery);
    scopes_->setVisible(tab != scopeTabReference && tab != scopeTabGallery);
}

void UIAnalysisPaneWin::fitTabs()
{
    std::vector<QString> titles, cut;
    for (int32_t i = 0; i < kScopeTabCount; ++i) {
        titles.push_back(QString::fromLatin1(ScopeTabAt(i)->title));
        cut.push_back(QString::fromLatin1(kTabs[i].cut));
    }
    tabs_->fitLabels(titles, cut, width());
}

void UIAnalysisPaneWin::resizeEvent(QResizeEvent*)
{
    tabs_->setGeometry(0, 0, width(), UIHorizTabWin::kHeight);
    fitTabs();
    const QRect page(0, UIHorizTabWin::kHeight, width(), qMax(0, height() - UIHorizTabWin::kHeight));
    scopes_->setGeometry(page);
    reference_->setGeometry(page);
    gallery_->setGeometry(page);
}
