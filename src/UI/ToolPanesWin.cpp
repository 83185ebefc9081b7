// The settings area.
#include "src/UI/ToolPanesWin.h"

#include "src/UI/ToolAreaLayout.h"
#include "src/UI/UIStyleWin.h"
#include "src/support/TKStartup.h"
#include "src/support/TKToneStrip.h"

#include <QPainter>

namespace {

constexpr int kEdge = kTKAreaEdge;
constexpr int kBarTop = 3;
constexpr int kBarGap = 6;    // between the rows of tabs
constexpr int kInnerGap = 14; // between the rows of tabs that stand side by side

constexpr int32_t kSampleID = 1; // those of the pages bear the offsets of their fields

struct MatchRow {
    OCMatchPane pane;
    const char* name;
};
constexpr MatchRow kMatches[] = {{ocMatchHSL, "match_hsl"},       {ocMatchRGB, "match_rgb"},
                                 {ocMatchCMY, "match_cmy"},       {ocMatchYCbCr, "match_ycbcr"},
                                 {ocMatchCurves, "match_curves"}, {ocMatchSecondary, "match_secondary"}};

QRect ToRect(const TKPlace& place)
{
    return QRect(place.x, place.y, place.width, place.height);
}

UITab TabOf(const TKTabRow& row)
{
    return {QString::fromLatin1(row.label), QString::fromLatin1(row.objectName), row.switchOffset};
}

} // namespace

static_assert(kTKNoSwitch == kUINoSwitch);
static_assert(kTKMatchWideWidth == UIMatchColorWin::kOneLineWidth &&
              kTKMatchLowHeight == UIMatchColorWin::kOneLineHeight);
static_assert(kTKMatchNarrowWidth == UIMatchColorWin::kLeastWidth &&
              kTKMatchHighHeight == UIMatchColorWin::kTwoLineHeight);

ToolAreaWin* BuildToolPanes(QWidget* mainWindow, const QRect& rectangle, TKSession* session, BPStatus* error)
{
    auto* made = new ToolAreaWin(session, mainWindow, error);
    made->setGeometry(rectangle);
    return made;
}

ToolAreaWin::ToolAreaWin(TKSession* session, QWidget* parent, BPStatus* error) : QWidget(parent), session_(session)
{
    const BPStatus err = TKCreateColorSample(&sample_, &session->liveSettings, kTKColorSampleOffset, kTKNoOffset,
                                             tkSectionNone, kSampleID, nullptr, "Color Sample", "sample");
    if (*error == bpNoErr) *error = err;
    top_ = build(TKToolPanes(), QStringLiteral("panes"), error);
    for (const MatchRow& row : kMatches) {
        TKInitMatchColor(&matches_[row.pane], &session->liveSettings, row.pane, tkSectionNone, row.name);
        matchWindows_[row.pane] =
            new UIMatchColorWin(session, &matches_[row.pane], QString::fromLatin1(row.name), this);
        matchWindows_[row.pane]->hide();
    }
    TKLinkColorSample(&sample_, &matches_[ocMatchHSL].source); // one field serves the rows of all panes
    sampleWindow_ = new UIColorSampleWin(session, &sample_, QStringLiteral("sample"), this);
    TKCreateToneStrip(&strip_, "tone_strip");
    stripWindow_ = new UIUserDrawWin(session, &strip_, QStringLiteral("tone_strip"), this);
    for (QWidget* widget : findChildren<QWidget*>())
        if (auto* slider = dynamic_cast<UISliderWin*>(widget)) sliders_.insert(slider->slider(), slider);
    session->settingsTab = 0;
    showPath();
}

ToolAreaWin::~ToolAreaWin()
{
    // The windows go before the records of this object that they show.
    delete sampleWindow_;
    delete stripWindow_;
    for (UIMatchColorWin* match : matchWindows_) delete match;
    TKDisposeColorSample(&sample_);
}

ToolAreaWin::Node ToolAreaWin::build(std::span<const TKTabRow> tabs, const QString& name, BPStatus* error)
{
    Node node;
    std::vector<UITab> row;
    for (const TKTabRow& tab : tabs) row.push_back(TabOf(tab));
    node.bar = CreateHorizTabs(session_, this, QRect(), std::move(row), true, nullptr); // showPath has the pages
    node.bar->setObjectName(name);
    node.bar->onSelect = [this](int) { showPath(); };
    bars_.push_back(node.bar);
    for (const TKTabRow& tab : tabs) {
        if (!tab.page) {
            node.children.push_back(
                build({tab.tabs, tab.tabCount}, QString::fromLatin1(tab.objectName) + QStringLiteral("_tabs"), error));
            continue;
        }
        node.children.emplace_back();
        node.children.back().page = new ToolPageWin(session_, *tab.page, &sample_.format, this, error);
        pages_.push_back(node.children.back().page);
    }
    return node;
}

UISliderWin* ToolAreaWin::sliderOf(const SliderVars* slider) const
{
    return sliders_.value(slider, nullptr);
}

ToolPageWin* ToolAreaWin::shownPage() const
{
    const Node* node = &top_;
    while (!node->page) node = &node->children[static_cast<size_t>(node->bar->current())];
    return node->page;
}

UIMatchColorWin* ToolAreaWin::shownMatch() const
{
    const int32_t match = shownPage()->page().match;
    return match == kTKNoMatch ? nullptr : matchWindows_[match];
}

void ToolAreaWin::showPath()
{
    session_->settingsTab = top_.bar->current();
    std::vector<QWidget*> wanted;
    const Node* node = &top_;
    for (; !node->page; node = &node->children[static_cast<size_t>(node->bar->current())]) wanted.push_back(node->bar);
    wanted.push_back(node->page);
    const auto isWanted = [&](QWidget* widget) {
        return std::find(wanted.begin(), wanted.end(), widget) != wanted.end();
    };
    for (UIHorizTabWin* bar : bars_)
        if (!isWanted(bar)) bar->hide();
    for (ToolPageWin* page : pages_)
        if (!isWanted(page)) page->hide();
    if (UIMatchColorWin* match = shownMatch()) wanted.push_back(match);
    for (UIMatchColorWin* match : matchWindows_)
        if (match && !isWanted(match)) match->hide();
    layOut();
    for (QWidget* widget : wanted) widget->show();
}

void ToolAreaWin::selectPane(int index)
{
    SelectTab(top_.bar, index);
}

void ToolAreaWin::keepSelection()
{
    top_.bar->onSelect = [this](int index) {
        showPath();
        session_->prefs.settingsPaneDefault = static_cast<uint32_t>(index) + 1;
        TKWritePreferences(session_);
    };
}

void ToolAreaWin::selectTabs(int pane, int inner, int innermost)
{
    Node* node = &top_;
    for (const int index : {pane, inner, innermost}) {
        if (!node->bar) return;
        SelectTab(node->bar, index);
        node = &node->children[static_cast<size_t>(node->bar->current())];
    }
}

void ToolAreaWin::switchesChanged()
{
    for (UIHorizTabWin* bar : bars_) bar->switchesChanged();
}

void ToolAreaWin::updateFrom(const OCSettings* settings, uint32_t toolMask, uint32_t curveMask,
                             const OCSettings* previous, bool force)
{
    for (ToolPageWin* page : pages_) page->updateFrom(settings, toolMask, curveMask, previous, force);
}

void ToolAreaWin::settle()
{
    for (ToolPageWin* page : pages_) page->settle();
}

void ToolAreaWin::picturesChanged()
{
    shownPage()->picturesChanged(); // another one looks at the frame when it comes to the front
}

void ToolAreaWin::layOut()
{
    const Node* node = &top_.children[static_cast<size_t>(top_.bar->current())];
    const int inner = kBarTop + UIHorizTabWin::kHeight + kBarGap; // of the rows inside the first
    const int tabsBottom = node->page ? inner - kBarGap : inner + UIHorizTabWin::kHeight;
    UIMatchColorWin* match = shownMatch();
    const TKToolAreaLayout places =
        TKLayOutToolArea(width(), height(), tabsBottom, shownPage()->page(), match != nullptr);
    shownPage()->place(ToRect(places.page), places.corner);
    sampleWindow_->setGeometry(ToRect(places.sample));
    stripWindow_->setGeometry(ToRect(places.strip));
    if (match) match->setGeometry(ToRect(places.match));
    const int right = places.sample.x - kBarGap;
    const auto place = [right](UIHorizTabWin* bar, int x, int y) {
        bar->setGeometry(x, y, qMin(right - x, bar->equalWidth()), UIHorizTabWin::kHeight);
        return x + bar->width() + kInnerGap;
    };
    place(top_.bar, kEdge, kBarTop);
    for (int x = kEdge; !node->page; node = &node->children[static_cast<size_t>(node->bar->current())])
        x = place(node->bar, x, inner);
}

void ToolAreaWin::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(rect(), UIShadesNow().window);
    painter.fillRect(0, 0, width(), 1, UIShadesNow().line);
}

void ToolAreaWin::resizeEvent(QResizeEvent*)
{
    layOut();
}

void ToolAreaWin::mousePressEvent(QMouseEvent*)
{
    (void)CommitOpenEdit(session_, true);
}
