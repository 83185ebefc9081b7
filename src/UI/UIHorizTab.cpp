// Widths of tabs, and keys.
#include "src/UI/UIHorizTab.h"

#include "src/support/TKKeys.h"

#include <algorithm>

namespace {

constexpr int kTabGap = 1;

int GapsOf(std::span<const int> natural)
{
    return natural.empty() ? 0 : static_cast<int>(natural.size() - 1) * kTabGap;
}

/// The largest width that no tab may exceed so that all fit in the room.
int Cut(std::span<const int> natural, int room)
{
    std::vector<int> sorted(natural.begin(), natural.end());
    std::sort(sorted.begin(), sorted.end());
    int rest = room;
    for (size_t i = 0; i < sorted.size(); ++i) {
        const int share = rest / static_cast<int>(sorted.size() - i);
        if (sorted[i] > share) return std::max(share, 1);
        rest -= sorted[i];
    }
    return sorted.empty() ? 0 : sorted.back();
}

} // namespace

int TKTabsEqualWidth(std::span<const int> natural)
{
    const int widest = natural.empty() ? 0 : *std::max_element(natural.begin(), natural.end());
    return widest * static_cast<int>(natural.size()) + GapsOf(natural);
}

int TKTabsOwnWidth(std::span<const int> natural)
{
    int sum = GapsOf(natural);
    for (const int width : natural) sum += width;
    return sum;
}

std::vector<TKTabSpan> TKTabSpans(std::span<const int> natural, int room)
{
    std::vector<TKTabSpan> spans;
    if (natural.empty()) return spans;
    const bool equal = TKTabsEqualWidth(natural) <= room;
    const int most = equal ? *std::max_element(natural.begin(), natural.end()) : Cut(natural, room - GapsOf(natural));
    int x = 0;
    for (const int width : natural) {
        spans.push_back({x, equal ? most : std::min(width, most)});
        x += spans.back().width + kTabGap;
    }
    return spans;
}

int TKTabAfterKey(int current, int count, uint32_t virtualKey)
{
    switch (virtualKey) {
    case kTKKeyLeft: return std::max(current - 1, 0);
    case kTKKeyRight: return std::min(current + 1, count - 1);
    case kTKKeyHome: return 0;
    case kTKKeyEnd: return count - 1;
    default: return -1;
    }
}
