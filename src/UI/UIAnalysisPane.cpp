// Menus and wheel of the analysis pane.
#include "src/UI/UIAnalysisPane.h"

#include "src/platform/BPLog.h"
#include "src/support/TKKeys.h"

#include <algorithm>

namespace {

constexpr int32_t kLeastZoom = 1, kMostZoom = 10;
constexpr int32_t kSinglePane = -1;

struct ZoomRow {
    const char* title;
    int32_t zoom;
};
constexpr ZoomRow kZooms[] = {{"1x Zoom", 1}, {"2x Zoom", 2}, {"5x Zoom", 5}, {"10x Zoom", 10}};

void AddItem(TKAnalysisMenu* menu, const TKAnalysisMenuItem& item)
{
    if (menu->itemCount < kTKAnalysisItemLimit) menu->item[menu->itemCount++] = item;
}

void AddDisplays(TKAnalysisMenu* menu)
{
    for (int32_t display = 1; display <= kScopeDisplayCount; ++display)
        AddItem(menu, {.title = ScopeDisplayName(display), .display = display, .zoom = 0, .checked = false});
}

void AddZooms(TKAnalysisMenu* menu, int32_t current)
{
    for (const ZoomRow& row : kZooms)
        AddItem(menu, {.title = row.title, .display = 0, .zoom = row.zoom, .checked = row.zoom == current});
}

TKAnalysisEffect Set(int32_t* field, int32_t value)
{
    const bool changed = *field != value;
    *field = value;
    return {.changed = changed, .writesPreferences = true, .repaints = true, .updatesGallery = false};
}

} // namespace

int32_t TKComboQuadrantAt(int32_t width, int32_t height, int32_t x, int32_t y)
{
    return 2 * (y > height / 2 ? 1 : 0) + (x > width / 2 ? 1 : 0);
}

int32_t TKQuadrantAfterKey(int32_t quadrant, uint32_t virtualKey)
{
    switch (virtualKey) {
    case kTKKeyLeft: return quadrant & ~1;
    case kTKKeyRight: return quadrant | 1;
    case kTKKeyUp: return quadrant & ~2;
    case kTKKeyDown: return quadrant | 2;
    default: return -1;
    }
}

TKAnalysisMenu TKAnalysisMenuAt(const ScopeSelection& selection, int32_t width, int32_t height, int32_t x, int32_t y)
{
    TKAnalysisMenu menu = {};
    menu.quadrant = kSinglePane;
    if (selection.analysisSelection == scopeTabVectorscope) {
        menu.id = tkMenuZoom;
        AddZooms(&menu, selection.vectorscopeZoom);
    } else if (selection.analysisSelection == scopeTabCombo) {
        menu.quadrant = TKComboQuadrantAt(width, height, x, y);
        const bool zooms = selection.comboSelection[menu.quadrant] == scopeVectorscope;
        menu.id = zooms ? tkMenuDisplaysAndZoom : tkMenuDisplays;
        AddDisplays(&menu);
        if (zooms) {
            AddItem(&menu, {.title = "", .display = 0, .zoom = 0, .checked = false});
            AddZooms(&menu, selection.comboVectorscopeZoom);
        }
    }
    return menu;
}

TKAnalysisEffect TKAnalysisChoose(ScopeSelection* selection, const TKAnalysisMenu& menu, int32_t number)
{
    if (number < 1 || number > menu.itemCount || menu.quadrant >= kScopeQuadrantCount) return {};
    const TKAnalysisMenuItem& item = menu.item[number - 1];
    if (item.zoom != 0)
        return Set(menu.quadrant < 0 ? &selection->vectorscopeZoom : &selection->comboVectorscopeZoom, item.zoom);
    if (item.display != 0 && menu.quadrant >= 0) return Set(&selection->comboSelection[menu.quadrant], item.display);
    return {};
}

bool TKHasVectorscopeAt(const ScopeSelection& selection, int32_t width, int32_t height, int32_t x, int32_t y)
{
    if (selection.analysisSelection != scopeTabCombo) return selection.analysisSelection == scopeTabVectorscope;
    return selection.comboSelection[TKComboQuadrantAt(width, height, x, y)] == scopeVectorscope;
}

TKAnalysisEffect TKAnalysisWheel(ScopeSelection* selection, int32_t width, int32_t height, int32_t x, int32_t y,
                                 int32_t turn)
{
    int32_t* zoom = nullptr;
    if (selection->analysisSelection == scopeTabVectorscope) {
        zoom = &selection->vectorscopeZoom;
    } else if (selection->analysisSelection == scopeTabCombo) {
        const int32_t quadrant = TKComboQuadrantAt(width, height, x, y);
        if (selection->comboSelection[quadrant] != scopeVectorscope) return {};
        BPDebugLog("h = %d, v = %d, quad = %d\n", static_cast<int>(x), static_cast<int>(y), static_cast<int>(quadrant));
        zoom = &selection->comboVectorscopeZoom;
    }
    if (!zoom || turn == 0) return {};
    const int32_t before = *zoom;
    *zoom = std::clamp(before + (turn > 0 ? 1 : -1), kLeastZoom, kMostZoom);
    return {.changed = *zoom != before, .writesPreferences = false, .repaints = true, .updatesGallery = false};
}

TKAnalysisEffect SelectAnalysisDisplay(ScopeSelection* selection, int32_t tab)
{
    if (!ScopeTabAt(tab)) return {};
    const int32_t before = selection->analysisSelection;
    selection->analysisSelection = tab;
    const bool changed = before != tab;
    return {.changed = changed,
            .writesPreferences = true,
            .repaints = true,
            .updatesGallery = changed && (before == scopeTabGallery || tab == scopeTabGallery)};
}
