// The settings area.
#include "src/UI/ToolPanesWin.h"

#include "src/UI/UIStyleWin.h"

#include <QPainter>

namespace {

constexpr int kEdge = 8;
constexpr int kBarGap = 6;    // between the rows of tabs
constexpr int kInnerGap = 14; // between the rows of tabs that stand side by side

UITab TabOf(const TKTabRow& row)
{
    return {QString::fromLatin1(row.label), QString::fromLatin1(row.objectName), row.switchOffset};
}

} // namespace

static_assert(kTKNoSwitch == kUINoSwitch);

ToolAreaWin::ToolAreaWin(TKSession* session, QWidget* parent, BPStatus* error) : QWidget(parent), session_(session)
{
    top_ = build(TKToolPanes(), QStringLiteral("panes"), error);
    for (QWidget* widget : findChildren<QWidget*>())
        if (auto* slider = dynamic_cast<UISliderWin*>(widget)) sliders_.insert(slider->slider(), slider);
    session->settingsTab = 0;
    showPath();
}

ToolAreaWin::~ToolAreaWin() = default;

ToolAreaWin::Node ToolAreaWin::build(std::span<const TKTabRow> tabs, const QString& name, BPStatus* error)
{
    Node node;
    std::vector<UITab> row;
    for (const TKTabRow& tab : tabs) row.push_back(TabOf(tab));
    node.bar = new UIHorizTabWin(session_, std::move(row), this);
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
        node.children.back().page = new ToolPageWin(session_, *tab.page, this, error);
        pages_.push_back(node.children.back().page);
    }
    return node;
}

UISliderWin* ToolAreaWin::sliderOf(const TKSlider* slider) const
{
    return sliders_.value(slider, nullptr);
}

ToolPageWin* ToolAreaWin::shownPage() const
{
    const Node* node = &top_;
    while (!node->page) node = &node->children[static_cast<size_t>(node->bar->current())];
    return node->page;
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
    layOut();
    for (QWidget* widget : wanted) widget->show();
}

void ToolAreaWin::selectPane(int index)
{
    top_.bar->select(index);
}

void ToolAreaWin::selectTabs(int pane, int inner, int innermost)
{
    Node* node = &top_;
    for (const int index : {pane, inner, innermost}) {
        if (!node->bar) return;
        node->bar->select(index);
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

void ToolAreaWin::layOut()
{
    const int room = width() - 2 * kEdge;
    top_.bar->setGeometry(kEdge, 3, qMin(room, top_.bar->equalWidth()), UIHorizTabWin::kHeight);
    int x = kEdge, y = 3;
    const Node* node = &top_.children[static_cast<size_t>(top_.bar->current())];
    if (!node->page) y += UIHorizTabWin::kHeight + kBarGap;
    for (; !node->page; node = &node->children[static_cast<size_t>(node->bar->current())]) {
        node->bar->setGeometry(x, y, qMin(kEdge + room - x, node->bar->equalWidth()), UIHorizTabWin::kHeight);
        x += node->bar->width() + kInnerGap;
    }
    const int top = y + UIHorizTabWin::kHeight + kBarGap;
    node->page->setGeometry(kEdge, top, room, height() - top);
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
