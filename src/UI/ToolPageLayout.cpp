// Layout of the pages.
#include "src/UI/ToolPageLayout.h"

#include "src/UI/TKLevels.h"
#include "src/UI/TKLumaRangeEditor.h"

#include <algorithm>

namespace {

constexpr int kColumnGap = 12, kWideColumnGap = 22;
constexpr int kFootHeight = 24, kFootGap = 8;
constexpr int kEditorGap = 4;             // below an editor that takes the width
constexpr double kScrolledStretch = 0.35; // of a page that is scrolled anyway

/// What a row needs and can use. Heights are pitches: they hold the distance to the next row.
struct Needs {
    int leastWidth, mostWidth;
    int leastHeight, mostHeight;
};

bool StandsInFoot(const TKControlRow& row)
{
    return row.kind == tkRowButton || row.kind == tkRowEyedroppers;
}

/// Editors that take the width of the page.
bool IsWide(const TKControlRow& row)
{
    return row.kind == tkRowLevels || row.kind == tkRowLumaRange;
}

Needs NeedsOf(TKRowKind kind, int columnWidth)
{
    constexpr int least = kTKLeastControlWidth, most = kTKMostControlWidth;
    switch (kind) {
    case tkRowSlider: return {least, most, 37, 58};
    case tkRowCheckbox: return {least, most, 24, 34};
    case tkRowPopup: return {least, most, 44, 58};
    case tkRowColorSample: return {170, 170, kTKSampleHeight + 2, kTKSampleHeight + 12};
    // A round of the column's width, between its label and its sliders.
    case tkRowHueWheel: return {least, most, kTKWheelExtra + 96, kTKWheelExtra + columnWidth};
    // A square above two lines of numbers.
    case tkRowCurve: return {170, 620, 200, columnWidth + 70};
    case tkRowLevels:
        return {least, kTKWideLevelsWidth, LevelsLeastHeight(columnWidth) + kEditorGap,
                LevelsNaturalHeight(columnWidth) + 200};
    case tkRowLumaRange:
        return {least, 900, LumaRangeLeastHeight(columnWidth) + kEditorGap, LumaRangeNaturalHeight(columnWidth) + 200};
    case tkRowEyedroppers:
    case tkRowButton: break;
    }
    return {0, 0, 0, 0};
}

int FootWidth(const TKControlRow& row)
{
    if (row.kind == tkRowEyedroppers) return kTKEyedroppersWidth;
    size_t letters = 0;
    while (row.bind.label[letters]) ++letters;
    return std::max(72, static_cast<int>(letters) * 7 + 26);
}

/// Rows `first` to `end` - 1 of a page.
struct Block {
    size_t first, end;
};

struct Column {
    Block rows;
    int x = 0, width = 0;
    int leastHeight = 0, mostHeight = 0;
};

class Layout {
  public:
    Layout(const TKPageRow& page, int width, int height) : page_(page), width_(width), height_(height)
    {
        result_.places.resize(page.rows.size());
        for (size_t i = 0; i < page.rows.size(); ++i) {
            if (StandsInFoot(page.rows[i])) continue;
            if (IsWide(page.rows[i]))
                wide_ = static_cast<int>(i);
            else if (blocks_.empty() || page.rows[i].startsBlock)
                blocks_.push_back({i, i + 1});
            else
                blocks_.back().end = i + 1;
        }
    }

    TKPageLayout Run()
    {
        MakeColumns();
        const int foot = PlaceFoot(0) + kTKPaneMargin;
        const int room = height_ - kTKPaneMargin - foot;
        result_.stretch = Stretch(room);
        result_.fits = result_.stretch >= 0;
        const double stretch = result_.fits ? result_.stretch : kScrolledStretch;
        int y = kTKPaneMargin;
        if (wide_ >= 0) y = PlaceWide(stretch);
        int bottom = y;
        for (const Column& column : columns_) bottom = std::max(bottom, PlaceColumn(column, y, stretch));
        PlaceFoot(bottom);
        result_.height = bottom + foot;
        result_.width = width_;
        for (const TKPlace& place : result_.places)
            result_.width = std::max(result_.width, place.x + place.width + kTKPaneMargin);
        return result_;
    }

  private:
    int Room() const { return width_ - 2 * kTKPaneMargin; }

    Needs ColumnNeeds(const Block& rows, int width) const
    {
        Needs sum = {0, 0, 0, 0};
        for (size_t i = rows.first; i < rows.end; ++i) {
            const Needs needs = NeedsOf(page_.rows[i].kind, width);
            sum.leastWidth = std::max(sum.leastWidth, needs.leastWidth);
            sum.mostWidth = std::max(sum.mostWidth, needs.mostWidth);
            sum.leastHeight += needs.leastHeight;
            sum.mostHeight += needs.mostHeight;
        }
        return sum;
    }

    /// The blocks in `count` columns, each a run of neighbours, so that the highest is as low as can be.
    std::vector<Block> Partition(size_t count) const
    {
        const size_t n = blocks_.size();
        const auto heightOf = [this](size_t first, size_t end) {
            return ColumnNeeds({blocks_[first].first, blocks_[end - 1].end}, kTKLeastControlWidth).leastHeight;
        };
        constexpr int never = 1 << 28;
        // best[c][k]: the height of the first k blocks in c columns; cut[c][k]: where the last of them begins.
        std::vector<std::vector<int>> best(count + 1, std::vector<int>(n + 1, never));
        std::vector<std::vector<size_t>> cut(count + 1, std::vector<size_t>(n + 1, 0));
        best[0][0] = 0;
        for (size_t c = 1; c <= count; ++c)
            for (size_t k = c; k <= n; ++k)
                for (size_t from = c - 1; from < k; ++from) {
                    if (best[c - 1][from] == never) continue;
                    const int height = std::max(best[c - 1][from], heightOf(from, k));
                    if (height < best[c][k]) {
                        best[c][k] = height;
                        cut[c][k] = from;
                    }
                }
        std::vector<Block> columns(count);
        size_t end = n;
        for (size_t c = count; c > 0; --c) {
            const size_t from = cut[c][end];
            columns[c - 1] = {blocks_[from].first, blocks_[end - 1].end};
            end = from;
        }
        return columns;
    }

    static int GapsOf(size_t count, int gap) { return static_cast<int>(count - 1) * gap; }

    void MakeColumns()
    {
        if (blocks_.empty()) return;
        std::vector<Block> parts;
        int least = 0;
        for (size_t count = blocks_.size(); count > 0; --count) {
            parts = Partition(count);
            least = 0;
            for (const Block& part : parts) least += ColumnNeeds(part, 0).leastWidth;
            if (least + GapsOf(count, kColumnGap) <= Room()) break;
        }
        const int gap = least + GapsOf(parts.size(), kWideColumnGap) <= Room() ? kWideColumnGap : kColumnGap;
        int spare = std::max(0, Room() - least - GapsOf(parts.size(), gap));
        int x = kTKPaneMargin;
        for (size_t i = 0; i < parts.size(); ++i) {
            const Needs needs = ColumnNeeds(parts[i], 0);
            const int share = std::min(spare / static_cast<int>(parts.size() - i), needs.mostWidth - needs.leastWidth);
            spare -= share;
            Column column = {.rows = parts[i], .x = x, .width = needs.leastWidth + share};
            if (needs.mostWidth == kTKMostControlWidth) // a control is narrower than the pane by 40 at least
                column.width =
                    std::clamp(column.width, kTKLeastControlWidth, std::max(kTKLeastControlWidth, width_ - 40));
            const Needs heights = ColumnNeeds(parts[i], column.width);
            column.leastHeight = heights.leastHeight;
            column.mostHeight = heights.mostHeight;
            columns_.push_back(column);
            x += column.width + gap;
        }
    }

    int WideWidth() const
    {
        if (page_.rows[static_cast<size_t>(wide_)].kind == tkRowLevels)
            return Room() >= kTKWideLevelsWidth ? kTKWideLevelsWidth
                                                : std::clamp(Room(), kTKLeastControlWidth, kTKNarrowLevelsWidth);
        return std::clamp(Room(), kTKLeastControlWidth, NeedsOf(tkRowLumaRange, 0).mostWidth);
    }

    /// The largest share of stretching at which every column is as high as the room at most; below 0 when none is.
    double Stretch(int room) const
    {
        int wideLeast = 0, wideMost = 0;
        if (wide_ >= 0) {
            const Needs needs = NeedsOf(page_.rows[static_cast<size_t>(wide_)].kind, WideWidth());
            wideLeast = needs.leastHeight;
            wideMost = needs.mostHeight;
        }
        double share = 1;
        const auto consider = [&](int least, int most) {
            if (least > room) share = -1;
            if (share >= 0 && most > least) share = std::min(share, static_cast<double>(room - least) / (most - least));
        };
        consider(wideLeast, wideMost);
        for (const Column& column : columns_) consider(wideLeast + column.leastHeight, wideMost + column.mostHeight);
        return share;
    }

    static int Stretched(const Needs& needs, double stretch)
    {
        return needs.leastHeight + static_cast<int>((needs.mostHeight - needs.leastHeight) * stretch);
    }

    int PlaceWide(double stretch)
    {
        const TKControlRow& row = page_.rows[static_cast<size_t>(wide_)];
        const int height = Stretched(NeedsOf(row.kind, WideWidth()), stretch);
        result_.places[static_cast<size_t>(wide_)] = {kTKPaneMargin, kTKPaneMargin, WideWidth(), height - kEditorGap};
        return kTKPaneMargin + height;
    }

    int PlaceColumn(const Column& column, int y, double stretch)
    {
        for (size_t i = column.rows.first; i < column.rows.end; ++i) {
            const TKRowKind kind = page_.rows[i].kind;
            const Needs needs = NeedsOf(kind, column.width);
            const int pitch = Stretched(needs, stretch);
            int height = pitch - 2;
            if (kind == tkRowSlider) height = kTKSliderHeight;
            if (kind == tkRowCheckbox) height = kTKCheckboxHeight;
            if (kind == tkRowPopup) height = kTKPopupHeight;
            if (kind == tkRowColorSample) height = kTKSampleHeight;
            result_.places[i] = {column.x, y, std::min(column.width, needs.mostWidth), height};
            y += pitch;
        }
        return y;
    }

    /// Buttons from left to right below `y`, in as many lines as it takes; returns how high they are.
    int PlaceFoot(int y)
    {
        int x = kTKPaneMargin, height = kFootGap;
        for (size_t i = 0; i < page_.rows.size(); ++i) {
            if (!StandsInFoot(page_.rows[i])) continue;
            const int width = FootWidth(page_.rows[i]);
            if (x > kTKPaneMargin && x + width > width_ - kTKPaneMargin) {
                x = kTKPaneMargin;
                height += kFootHeight + kFootGap;
            }
            result_.places[i] = {x, y + height, width, kFootHeight};
            x += width + kFootGap;
        }
        return height + kFootHeight;
    }

    const TKPageRow& page_;
    const int width_, height_;
    int wide_ = -1; ///< index of the row that takes the width
    std::vector<Block> blocks_;
    std::vector<Column> columns_;
    TKPageLayout result_;
};

} // namespace

TKPageLayout TKLayOutPage(const TKPageRow& page, int width, int height)
{
    return Layout(page, width, height).Run();
}
