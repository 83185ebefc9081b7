// Layout of the pages.
#include "src/UI/ToolPageLayout.h"

#include "src/UI/TKLevels.h"
#include "src/UI/TKLumaRangeEditor.h"

#include <algorithm>

namespace {

constexpr int kColumnGap = 12, kWideColumnGap = 22;
constexpr int kBesideGap = 8; // after an editor that takes the width: it ends with a margin of its own
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
    Layout(const TKPageRow& page, int width, int height, TKCorner corner, bool samplesInRow)
        : page_(page), width_(width), height_(height), corner_(corner)
    {
        result_.places.resize(page.rows.size());
        for (size_t i = 0; i < page.rows.size(); ++i) {
            if (StandsInFoot(page.rows[i])) continue;
            if (IsWide(page.rows[i]))
                wide_ = static_cast<int>(i);
            else if (samplesInRow && page.rows[i].kind == tkRowColorSample)
                samples_.push_back(i);
            else if (blocks_.empty() || page.rows[i].startsBlock)
                blocks_.push_back({i, i + 1});
            else
                blocks_.back().end = i + 1;
        }
    }

    /// Whether the samples find room beside each other; true without any.
    bool SamplesFit() const { return RowWidth() <= Room(); }

    TKPageLayout Run()
    {
        columnsLeft_ = kTKPaneMargin;
        columnsRoom_ = Room();
        if (StandsBeside()) {
            columnsLeft_ += WideWidth() + kBesideGap;
            columnsRoom_ -= WideWidth() + kBesideGap;
        }
        MakeColumns();
        const bool hasCorner = corner_.width > 0 && corner_.height > 0;
        const int foot = PlaceFoot(0) + kTKPaneMargin;
        const int top = hasCorner ? std::max(corner_.height, foot) : kTKPaneMargin;
        const int below = hasCorner ? kTKPaneMargin : foot;
        result_.stretch = Stretch(height_ - top - below);
        result_.fits = result_.stretch >= 0 && (!hasCorner || FootRight() <= FootLimit());
        const double stretch = result_.stretch >= 0 ? result_.stretch : kScrolledStretch;
        int y = PlaceSamples(top, stretch), bottom = y;
        if (wide_ >= 0) bottom = PlaceWide(stretch);
        if (!StandsBeside()) y = bottom;
        for (const Column& column : columns_) bottom = std::max(bottom, PlaceColumn(column, y, stretch));
        PlaceFoot(hasCorner ? 0 : bottom);
        result_.height = bottom + below;
        result_.width = width_;
        for (const TKPlace& place : result_.places)
            result_.width = std::max(result_.width, place.x + place.width + kTKPaneMargin);
        return result_;
    }

  private:
    int Room() const { return width_ - 2 * kTKPaneMargin; }

    int RowWidth() const
    {
        const auto count = static_cast<int>(samples_.size());
        return count * NeedsOf(tkRowColorSample, 0).leastWidth + std::max(count - 1, 0) * kColumnGap;
    }

    /// Whether the columns stand beside the editor that takes the width: it is wide enough without theirs, and no narrower
    /// than it would be above them when that is as wide as it gets.
    bool StandsBeside() const
    {
        if (wide_ < 0 || blocks_.empty() || page_.rows[static_cast<size_t>(wide_)].kind != tkRowLevels) return false;
        const int left = Room() - kBesideGap - kTKLeastControlWidth;
        return left >= kTKWideLevelsWidth || (left >= kLevelsWideFrom && Room() < kTKWideLevelsWidth);
    }

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
            if (least + GapsOf(count, kColumnGap) <= columnsRoom_) break;
        }
        const int gap = least + GapsOf(parts.size(), kWideColumnGap) <= columnsRoom_ ? kWideColumnGap : kColumnGap;
        int spare = std::max(0, columnsRoom_ - least - GapsOf(parts.size(), gap));
        int x = columnsLeft_;
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
        const bool isLevels = page_.rows[static_cast<size_t>(wide_)].kind == tkRowLevels;
        const int most = isLevels ? kTKWideLevelsWidth : NeedsOf(tkRowLumaRange, 0).mostWidth;
        if (StandsBeside() && Room() < kTKWideLevelsWidth) return kLevelsWideFrom; // one group below the other
        const int room = StandsBeside() ? Room() - kBesideGap - kTKLeastControlWidth : Room();
        return std::clamp(room, kTKLeastControlWidth, most);
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
        const Needs sample = NeedsOf(tkRowColorSample, 0);
        const int aboveLeast = (StandsBeside() ? 0 : wideLeast) + (samples_.empty() ? 0 : sample.leastHeight);
        const int aboveMost = (StandsBeside() ? 0 : wideMost) + (samples_.empty() ? 0 : sample.mostHeight);
        for (const Column& column : columns_) consider(aboveLeast + column.leastHeight, aboveMost + column.mostHeight);
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
        result_.places[static_cast<size_t>(wide_)] = {kTKPaneMargin, top_, WideWidth(), height - kEditorGap};
        return top_ + height;
    }

    /// The samples side by side; returns where the columns begin.
    int PlaceSamples(int y, double stretch)
    {
        top_ = y;
        if (samples_.empty()) return y;
        const Needs needs = NeedsOf(tkRowColorSample, 0);
        const auto count = static_cast<int>(samples_.size());
        const int gap = count > 1 ? std::min((Room() - count * needs.leastWidth) / (count - 1), kWideColumnGap) : 0;
        int x = kTKPaneMargin;
        for (const size_t row : samples_) {
            result_.places[row] = {x, y, needs.leastWidth, kTKSampleHeight};
            x += needs.leastWidth + gap;
        }
        return y + Stretched(needs, stretch);
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

    int FootLimit() const { return width_ - kTKPaneMargin - corner_.width; }

    int FootRight() const
    {
        int right = 0;
        for (size_t i = 0; i < page_.rows.size(); ++i)
            if (StandsInFoot(page_.rows[i])) right = std::max(right, result_.places[i].x + result_.places[i].width);
        return right;
    }

    /// Buttons from left to right below `y`, in as many lines as it takes; returns how high they are.
    int PlaceFoot(int y)
    {
        int x = kTKPaneMargin, height = kFootGap;
        for (size_t i = 0; i < page_.rows.size(); ++i) {
            if (!StandsInFoot(page_.rows[i])) continue;
            const int width = FootWidth(page_.rows[i]);
            if (x > kTKPaneMargin && x + width > FootLimit()) {
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
    const TKCorner corner_;
    int wide_ = -1;               ///< index of the row that takes the width
    std::vector<size_t> samples_; ///< indices of the samples that stand in a row
    int top_ = 0;                 ///< of the controls
    int columnsLeft_ = 0, columnsRoom_ = 0;
    std::vector<Block> blocks_;
    std::vector<Column> columns_;
    TKPageLayout result_;
};

} // namespace

TKPageLayout TKLayOutPage(const TKPageRow& page, int width, int height, TKCorner corner)
{
    TKPageLayout usual = Layout(page, width, height, corner, false).Run();
    Layout inRow(page, width, height, corner, true);
    if (!inRow.SamplesFit()) return usual;
    TKPageLayout other = inRow.Run();
    const bool isBetter = other.fits != usual.fits ? other.fits
                          : other.fits             ? other.stretch > usual.stretch
                                                   : other.height < usual.height;
    return isBetter ? other : usual;
}
