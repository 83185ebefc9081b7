// Walks over the tree of the tool panes.
#include "src/UI/ToolPanes.h"

namespace {

void AddPages(std::span<const TKTabRow> tabs, TKPagePath path, int depth, std::vector<TKPagePath>* pages)
{
    for (size_t i = 0; i < tabs.size(); ++i) {
        TKPagePath here = path;
        here.tab[depth] = static_cast<int32_t>(i);
        here.switchOffset[depth] = tabs[i].switchOffset;
        here.page = tabs[i].page;
        if (here.page)
            pages->push_back(here);
        else
            AddPages({tabs[i].tabs, tabs[i].tabCount}, here, depth + 1, pages);
    }
}

} // namespace

std::vector<TKPagePath> TKToolPages()
{
    std::vector<TKPagePath> pages;
    const TKPagePath top = {
        .page = nullptr, .tab = {-1, -1, -1}, .switchOffset = {kTKNoSwitch, kTKNoSwitch, kTKNoSwitch}};
    AddPages(TKToolPanes(), top, 0, &pages);
    return pages;
}

std::string TKRowName(const TKPageRow& page, const TKControlRow& row)
{
    return row.hasWholeName ? row.bind.objectName : std::string(page.prefix) + "_" + row.bind.objectName;
}
