// A row of tabs, apart from its window: how wide the tabs are, and where a key leads.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

struct TKTabSpan {
    int x, width;
};

/// Tabs side by side in a row of `room` pixels with one pixel between them. All are as wide as the widest when that
/// fits; otherwise each has its own width, `natural`; otherwise the widest are cut until the row fits.
std::vector<TKTabSpan> TKTabSpans(std::span<const int> natural, int room);

/// The room that the first and the second of these need.
int TKTabsEqualWidth(std::span<const int> natural);
int TKTabsOwnWidth(std::span<const int> natural);

/// The tab that a virtual key leads to: arrows to the neighbours, Home and End to the ends. -1 for another key.
int TKTabAfterKey(int current, int count, uint32_t virtualKey);
