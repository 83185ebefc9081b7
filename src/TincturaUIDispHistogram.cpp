// Histograms: four distributions of the picture in view, with statistics where there is room.
#include "src/ScopeLines.h"
#include "src/TincturaUIDisp.h"

#include "src/platform/BPMemory.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

constexpr int32_t kSmallSize = 10;    // the standard small size of texts
constexpr int32_t kStandardSize = 12; // of the labels
constexpr int32_t kLeastStatsSize = 8;
constexpr double kPadOfHeight = 0.03;
constexpr int32_t kLabelFrom = 45; // plots higher than this have labels
constexpr uint32_t kManyColumns = 720, kManyLines = 576;
constexpr uint64_t kLeastFull = 50;
constexpr uint32_t kMostBins = 1024;

constexpr const char* kRowNames[4] = {"Luma", "Red", "Green", "Blue"};

bool IsBinCount(uint32_t count)
{
    return count == 128 || count == 256 || count == 512 || count == 768 || count == 1024;
}

/// The bins that a level adds to; the second may be the first again, then there is one.
struct Bins {
    uint32_t first, second;
};

Bins BinsOf(uint32_t level, uint32_t binCount)
{
    switch (binCount) {
    case 128: return {level / 2, level / 2};
    case 512: return {2 * level, 2 * level + 1};
    // Deliberate: the wide plots leave empty bins between the levels.
    case 768: return {3 * level, 3 * level + 2};
    case 1024: return {4 * level, 4 * level + 3};
    default: return {level, level};
    }
}

void Add(uint32_t* bins, uint32_t binCount, uint32_t level, uint32_t count)
{
    if (!bins) return;
    const Bins at = BinsOf(level, binCount);
    bins[at.first] += count;
    if (at.second != at.first) bins[at.second] += count;
}

/// What of a picture is read. Deliberate: of a wide one only the left half, pixel by pixel.
struct Sampling {
    uint32_t columns, lineStep;
};

Sampling SamplingOf(const ScopeSurface& source)
{
    return {.columns = source.width > kManyColumns ? source.width / 2 : source.width,
            .lineStep = source.height > kManyLines ? 2u : 1u};
}

/// How often each level was seen. Neighbours count apart: equal ones do not wait for each other.
constexpr uint32_t kApart = 4;
struct Levels {
    uint32_t count[4][kApart][256]; ///< luma, red, green, blue
};

/// Levels are counted and then spread over the bins. Workers share the lines and have counts of their own.
struct Tally {
    const ScopeSurface& source;
    Sampling sampling;
    Levels* levels; ///< of each task
    uint32_t taskCount;
};

/// The lines of one task.
void CountTask(void* context, uint32_t index)
{
    const Tally& work = *static_cast<const Tally*>(context);
    auto& counts = work.levels[index].count;
    uint8_t luma[kOCLumaTableBytes]; // a copy of our own: no count changes it
    std::memcpy(luma, GetCurrentLumaTable(), sizeof luma);
    const uint32_t columns = work.sampling.columns;
    const uint64_t lines = (uint64_t{work.source.height} + work.sampling.lineStep - 1) / work.sampling.lineStep;
    const uint64_t end = lines * (index + 1) / work.taskCount;
    for (uint64_t line = lines * index / work.taskCount; line < end; ++line) {
        const uint8_t* pixel = work.source.pixels + line * work.sampling.lineStep * work.source.rowBytes;
        const auto count = [&](uint32_t apart) {
            uint32_t word;
            std::memcpy(&word, pixel + 4 * apart, sizeof word);
            const uint32_t red = word >> 8 & 255, green = word >> 16 & 255, blue = word >> 24;
            ++counts[0][apart][uint32_t{luma[red]} + luma[256 + green] + luma[512 + blue]];
            ++counts[1][apart][red];
            ++counts[2][apart][green];
            ++counts[3][apart][blue];
        };
        const size_t next = line + 1 < end ? size_t{work.sampling.lineStep} * work.source.rowBytes : 0;
        uint32_t column = 0;
        for (; column + kApart <= columns; column += kApart, pixel += 4 * kApart) {
            __builtin_prefetch(pixel + next); // half lines, and every second one: no pattern that hardware foresees
            for (uint32_t apart = 0; apart < kApart; ++apart) count(apart);
        }
        for (; column < columns; ++column, pixel += 4) count(0);
    }
}

void SelectFont(ScopePort* port, int32_t size)
{
    ScopeSelectFamily(port, "Arial", "Geneva");
    port->font.bold = false;
    port->font.italic = false;
    port->font.size = size;
}

void DrawStatistics(ScopePort* port, const ScopeRect& row, const ScopeRect& pane, const HistogramStatistics& stats)
{
    const struct {
        const char* label;
        int32_t value;
    } lines[] = {{"Min:", stats.minimum}, {"Max:", stats.maximum}, {"Mean:", stats.mean}, {"Peak:", stats.peak}};
    const int32_t reach = ScopeTextWidth(*port, "Mean:    255");
    int32_t labelX = row.right + 5, valueX = labelX + reach;
    if (valueX > pane.right - 2) {
        labelX = row.right + 2;
        valueX = pane.right - 2;
    }
    const ScopeFontMetrics metrics = ScopeMetrics(*port);
    int32_t y = row.top + metrics.ascent;
    for (const auto& line : lines) {
        char value[16];
        std::snprintf(value, sizeof value, "%ld", static_cast<long>(line.value));
        ScopeMoveTo(port, labelX, y);
        ScopeDrawText(port, line.label);
        ScopeMoveTo(port, valueX, y);
        ScopeDrawTextRight(port, value);
        y += metrics.ascent + metrics.descent;
    }
}

} // namespace

HistogramLayout HistogramLayoutOf(const ScopeRect& rect, bool showStats, const ScopeContext& context)
{
    HistogramLayout layout = {};
    const int32_t width = ScopeWidthOf(rect), height = ScopeHeightOf(rect);
    layout.textSize = std::min(kSmallSize, height / 32);
    layout.showStats = showStats && layout.textSize >= kLeastStatsSize;
    int32_t statsWidth = 0;
    if (layout.showStats) {
        ScopePort port = {};
        port.letters = context.letters;
        SelectFont(&port, layout.textSize);
        statsWidth = ScopeTextWidth(port, "Mean: 255");
    }
    const auto pad = static_cast<int32_t>(height * kPadOfHeight);
    const int32_t available = width - 2 * pad - statsWidth;
    const auto noStats = [&] {
        layout.showStats = false;
        statsWidth = 0;
    };
    if (available < 128) noStats();
    layout.binCount = 256;
    if (available >= 512) {
        layout.binCount = 512;
    } else if (available < 256) {
        if (!layout.showStats || available + statsWidth <= 256) {
            layout.binCount = 128;
            layout.halfWidth = true;
        } else {
            noStats();
        }
    }
    const int32_t plotWidth = static_cast<int32_t>(layout.binCount) + 2;
    const int32_t left = rect.left + (width - plotWidth - statsWidth) / 2;
    layout.plotHeight = height - 2 * pad;
    const int32_t rowHeight = layout.plotHeight / 4;
    for (int32_t i = 0; i < 4; ++i) {
        const int32_t top = rect.top + pad + i * rowHeight;
        layout.row[i] = ScopeRectOf(top, left, top + rowHeight, left + plotWidth);
    }
    return layout;
}

double HistogramScale(uint32_t sourceWidth, uint32_t sourceHeight, int32_t rowHeight, bool halfWidth)
{
    uint64_t full = uint64_t{sourceWidth} * sourceHeight / 50;
    if (sourceWidth > kManyColumns) full /= 2;
    if (sourceHeight > kManyLines) full /= 2;
    full = std::max(full, kLeastFull);
    if (halfWidth) full *= 2;
    return (rowHeight - 2) / static_cast<double>(full);
}

void AccumulateHistogramsScalar(const ScopeSurface& source, const HistogramSet& set)
{
    if (!source.pixels || !IsBinCount(set.binCount)) return;
    const uint8_t* luma = GetCurrentLumaTable();
    const Sampling sampling = SamplingOf(source);
    for (uint32_t row = 0; row < source.height; row += sampling.lineStep) {
        const uint8_t* pixel = source.pixels + size_t{row} * source.rowBytes;
        for (uint32_t column = 0; column < sampling.columns; ++column, pixel += 4) {
            const uint32_t red = pixel[1], green = pixel[2], blue = pixel[3];
            Add(set.lumaBins, set.binCount, uint32_t{luma[red]} + luma[256 + green] + luma[512 + blue], 1);
            Add(set.redBins, set.binCount, red, 1);
            Add(set.greenBins, set.binCount, green, 1);
            Add(set.blueBins, set.binCount, blue, 1);
        }
    }
}

void AccumulateHistograms(const ScopeSurface& source, const HistogramSet& set, uint32_t taskCount, MPTask* tasks)
{
    if (!source.pixels || !IsBinCount(set.binCount)) return;
    const uint32_t count = tasks ? std::max(taskCount, 1u) : 1;
    Tally work = {.source = source, .sampling = SamplingOf(source), .levels = nullptr, .taskCount = count};
    work.levels = static_cast<Levels*>(BPAllocate(sizeof(Levels) * count));
    if (!work.levels) {
        AccumulateHistogramsScalar(source, set);
        return;
    }
    MPRunEach(CountTask, &work, count, tasks);
    uint32_t* const bins[4] = {set.lumaBins, set.redBins, set.greenBins, set.blueBins};
    for (uint32_t i = 0; i < 4; ++i)
        for (uint32_t level = 0; level < 256; ++level) {
            uint32_t sum = 0;
            for (uint32_t task = 0; task < count; ++task)
                for (uint32_t apart = 0; apart < kApart; ++apart) sum += work.levels[task].count[i][apart][level];
            Add(bins[i], set.binCount, level, sum);
        }
    BPFree(work.levels);
}

HistogramStatistics HistogramStatisticsOf(const uint32_t* bins, uint32_t binCount)
{
    HistogramStatistics s = {.minimum = -1, .maximum = 0, .peak = 0, .mean = 0, .total = 0};
    uint64_t weighted = 0;
    for (uint32_t i = 0; i < binCount; ++i) {
        if (bins[i] == 0) continue;
        if (s.minimum < 0) s.minimum = static_cast<int32_t>(i);
        s.maximum = static_cast<int32_t>(i);
        if (bins[i] > bins[s.peak]) s.peak = static_cast<int32_t>(i);
        s.total += bins[i];
        weighted += uint64_t{bins[i]} * i;
    }
    if (s.total != 0) s.mean = static_cast<int32_t>(weighted / s.total);
    return s;
}

void DrawHistogramRow(ScopePort* port, const ScopeRect& row, const ScopeRect& pane, const uint32_t* bins,
                      uint32_t binCount, double scale, bool showStats, ScopeColor textColor)
{
    const int32_t floorRow = row.bottom - 2, ceilingRow = row.top + 1;
    const int32_t bottom = std::max(floorRow, ceilingRow); // a row without room hangs its bars
    int32_t tops[kMostBins];
    binCount = std::min(binCount, kMostBins);
    for (uint32_t i = 0; i < binCount; ++i) {
        const auto height = static_cast<int32_t>(std::clamp(bins[i] * scale, 0.0, 65536.0));
        tops[i] = bins[i] == 0 ? bottom + 1 : std::clamp(ceilingRow, floorRow - height, floorRow);
    }
    ScopeDrawBars(port, row.left + 1, bottom, tops, static_cast<int32_t>(binCount));
    if (!showStats) return;
    const HistogramStatistics stats = HistogramStatisticsOf(bins, binCount);
    if (stats.total == 0) return;
    const int32_t x = row.left + stats.mean;
    for (int32_t i = 0; i < 3; ++i) {
        ScopeMoveTo(port, x + 1 - i, row.bottom + i);
        ScopeLineTo(port, x + 1 + i, row.bottom + i);
    }
    const ScopeColor color = port->color;
    port->color = textColor;
    DrawStatistics(port, row, pane, stats);
    port->color = color;
}

void DrawHistograms(ScopeSurface* target, const ScopeRect* rect, const ScopeSurface* source, bool showStats,
                    const ScopeContext& context)
{
    const ScopeRect pane = rect ? *rect : ScopeBoundsOf(*target);
    ScopePort port = ScopePortOn(target, context.letters);
    port.witness = context.witness;
    port.clip = ScopeIntersection(port.clip, pane);
    if (context.clip) port.clip = ScopeIntersection(port.clip, *context.clip);
    ScopePaintRect(&port, pane);

    const HistogramLayout layout = HistogramLayoutOf(pane, showStats, context);
    ScopePalette palette;
    PrepareScopePalette(&palette, context.settings.uiSaturation);
    for (int32_t i = 0; i < 4; ++i) {
        const ScopeRect& row = layout.row[i];
        port.color = palette.graticule;
        ScopeFrameRect(&port, row);
        if (layout.plotHeight <= kLabelFrom) continue;
        SelectFont(&port, kStandardSize);
        port.color = palette.text;
        ScopeMoveTo(&port, row.left + 4, row.top + 4 + ScopeMetrics(port).ascent);
        ScopeDrawText(&port, kRowNames[i]);
    }
    if (!source || !source->pixels || source->depth != 32 || context.settings.updateSuspended) return;
    auto* memory = static_cast<uint32_t*>(BPAllocate(size_t{layout.binCount} * 4 * sizeof(uint32_t)));
    if (!memory) return;
    const HistogramSet set = {.binCount = layout.binCount,
                              .lastBin = layout.binCount - 1,
                              .lumaBins = memory,
                              .redBins = memory + layout.binCount,
                              .greenBins = memory + 2 * layout.binCount,
                              .blueBins = memory + 3 * layout.binCount};
    const Sampling sampling = SamplingOf(*source);
    const int64_t samples = int64_t{sampling.columns} * (source->height / sampling.lineStep);
    if (context.readable)
        AccumulateHistogramsScalar(*source, set);
    else
        AccumulateHistograms(*source, set, ScopeTasksFor(samples, context.taskCount), context.tasks);
    const ScopeColor colors[4] = {palette.luma, palette.red, palette.green, palette.blue};
    SelectFont(&port, layout.textSize);
    for (int32_t i = 0; i < 4; ++i) {
        const ScopeRect& row = layout.row[i];
        port.color = colors[i];
        DrawHistogramRow(&port, row, pane, memory + static_cast<size_t>(i) * layout.binCount, layout.binCount,
                         HistogramScale(source->width, source->height, ScopeHeightOf(row), layout.halfWidth),
                         layout.showStats, palette.text);
    }
    BPFree(memory);
}
