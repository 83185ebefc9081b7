// Scaling into words. Four components travel as four 16-bit lanes of one 64-bit word: weights add up to 256, so that no
// lane carries into its neighbour.
#include "src/UI/UIImageScale.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

namespace {

constexpr uint32_t kWhole = 256;

/// The source pixels of one shown pixel: `count` from `first`, and their weights.
struct Taps {
    uint32_t first, count, weightsAt;
};

struct Plan {
    std::vector<Taps> taps;
    std::vector<uint16_t> weights;
    uint32_t first = 0, end = 0; ///< source pixels that any of them reads
};

/// Adds the taps of shown pixel i. The weights are rounded so that they add up to 256.
void AddTaps(Plan* plan, double from, double to, uint32_t sides)
{
    const double last = sides - 1;
    double low = from, high = to;
    if (to - from < 1) { // between two pixels: around the middle, one pixel wide
        low = (from + to) / 2 - 0.5;
        high = low + 1;
    }
    const double first = std::clamp(std::floor(low), 0.0, last);
    const double beyond = std::clamp(std::ceil(high), first + 1, last + 1);
    Taps taps = {.first = static_cast<uint32_t>(first),
                 .count = static_cast<uint32_t>(beyond - first),
                 .weightsAt = static_cast<uint32_t>(plan->weights.size())};
    double covered = 0;
    uint32_t given = 0;
    const double length = high - low;
    for (uint32_t i = 0; i < taps.count; ++i) {
        // The border stands for what lies outside.
        const double begin = i == 0 ? low : first + i, end = i + 1 == taps.count ? high : first + i + 1;
        covered += std::max(0.0, end - begin) / length;
        const auto upTo =
            static_cast<uint32_t>(std::clamp(std::lround(covered * kWhole), 0L, static_cast<long>(kWhole)));
        plan->weights.push_back(static_cast<uint16_t>(std::max(upTo, given) - given));
        given = std::max(upTo, given);
    }
    plan->weights.back() = static_cast<uint16_t>(plan->weights.back() + (kWhole - given));
    plan->taps.push_back(taps);
}

double PlaceOf(const TKScaleAxis& axis, int32_t i)
{
    return (axis.start + i * axis.step) / axis.divisor;
}

Plan PlanOf(const TKScaleAxis& axis, uint32_t sides, int32_t firstShown, int32_t endShown)
{
    Plan plan;
    plan.taps.reserve(static_cast<size_t>(std::max(endShown - firstShown, 0)));
    for (int32_t i = firstShown; i < endShown; ++i) AddTaps(&plan, PlaceOf(axis, i), PlaceOf(axis, i + 1), sides);
    plan.first = plan.taps.empty() ? 0 : plan.taps.front().first;
    plan.end = plan.taps.empty() ? 0 : plan.taps.back().first + plan.taps.back().count;
    return plan;
}

uint32_t PixelAt(const uint8_t* row, size_t column)
{
    uint32_t pixel; // in memory alpha, red, green, blue
    std::memcpy(&pixel, row + column * 4, sizeof pixel);
    return pixel;
}

uint32_t WordOf(uint32_t pixel)
{
    return __builtin_bswap32(pixel) | 0xFF000000u;
}

/// Lanes of 8.8 fixed point back to bytes, rounded.
uint64_t Rounded(uint64_t lanes)
{
    // 255 * 256 + 128 still fits a lane.
    return ((lanes + 0x0080008000800080u) >> 8) & 0x00FF00FF00FF00FFu;
}

uint32_t Gathered(uint64_t lanes)
{
    const uint64_t pairs = (lanes | lanes >> 8) & 0x0000FFFF0000FFFFu;
    return static_cast<uint32_t>(pairs | pairs >> 16);
}

/// Two pixels, and their components as lanes.
using Bytes = uint8_t __attribute__((vector_size(8)));
using Lanes = uint16_t __attribute__((vector_size(16)));

Lanes LanesAt(const uint8_t* pixels)
{
    Bytes bytes;
    std::memcpy(&bytes, pixels, sizeof bytes);
    return __builtin_convertvector(bytes, Lanes);
}

const uint8_t* RowOf(const ScopeSurface& surface, uint32_t row)
{
    return surface.pixels + size_t{row} * surface.rowBytes;
}

uint32_t NearestOf(const TKScaleAxis& axis, int32_t i, uint32_t sides)
{
    return static_cast<uint32_t>(std::clamp(PlaceOf(axis, i), 0.0, static_cast<double>(sides - 1)));
}

void ScaleNearest(const ScopeSurface& surface, const TKScaleAxis& across, const TKScaleAxis& down, int32_t firstRow,
                  int32_t endRow, uint32_t* words, size_t rowWords)
{
    std::vector<uint32_t> columns(static_cast<size_t>(across.count));
    for (int32_t i = 0; i < across.count; ++i) columns[static_cast<size_t>(i)] = NearestOf(across, i, surface.width);
    uint32_t shownRow = 0;
    for (int32_t row = firstRow; row < endRow; ++row) {
        uint32_t* out = words + static_cast<size_t>(row) * rowWords;
        const uint32_t sourceRow = NearestOf(down, row, surface.height);
        if (row > firstRow && sourceRow == shownRow) {
            std::memcpy(out, out - rowWords, columns.size() * sizeof *out);
            continue;
        }
        shownRow = sourceRow;
        const uint8_t* in = RowOf(surface, sourceRow);
        for (size_t i = 0; i < columns.size(); ++i) out[i] = WordOf(PixelAt(in, columns[i]));
    }
}

/// The rows of one shown row, weighted: one word of lanes for each of `count` source columns from firstColumn on, an
/// even number of them.
void BlendRows(const ScopeSurface& surface, const Plan& rows, const Taps& taps, uint32_t firstColumn, size_t count,
               uint64_t* lanes)
{
    const uint8_t* in = RowOf(surface, taps.first) + size_t{firstColumn} * 4;
    const uint16_t* weights = rows.weights.data() + taps.weightsAt;
    for (size_t i = 0; i < count; i += 2) {
        const uint8_t* pixels = in + i * 4;
        Lanes sum = LanesAt(pixels) * weights[0];
        for (uint32_t tap = 1; tap < taps.count; ++tap) {
            pixels += surface.rowBytes;
            sum += LanesAt(pixels) * weights[tap];
        }
        sum = (sum + 128) >> 8; // 255 * 256 + 128 still fits a lane
        std::memcpy(lanes + i, &sum, sizeof sum);
    }
}

void ScaleSmooth(const ScopeSurface& surface, const TKScaleAxis& across, const TKScaleAxis& down, int32_t firstRow,
                 int32_t endRow, uint32_t* words, size_t rowWords)
{
    const Plan columns = PlanOf(across, surface.width, 0, across.count);
    const Plan rows = PlanOf(down, surface.height, firstRow, endRow);
    // Rows of a surface are whole groups of four pixels, so that an odd last one has a neighbour.
    const size_t laneCount = (size_t{columns.end} - columns.first + 1) / 2 * 2;
    const uint32_t firstColumn = columns.first - (columns.first + laneCount > size_t{surface.rowBytes} / 4 ? 1 : 0);
    std::vector<uint64_t> lanes(laneCount);
    for (int32_t row = firstRow; row < endRow; ++row) {
        BlendRows(surface, rows, rows.taps[static_cast<size_t>(row - firstRow)], firstColumn, laneCount, lanes.data());
        uint32_t* out = words + static_cast<size_t>(row) * rowWords;
        for (const Taps& taps : columns.taps) {
            const uint64_t* in = lanes.data() + (taps.first - firstColumn);
            const uint16_t* weights = columns.weights.data() + taps.weightsAt;
            uint64_t sum = 0;
            for (uint32_t tap = 0; tap < taps.count; ++tap) sum += in[tap] * weights[tap];
            *out++ = WordOf(Gathered(Rounded(sum)));
        }
    }
}

} // namespace

void TKSurfaceToWords(const ScopeSurface& surface, uint32_t* words, size_t rowWords)
{
    for (uint32_t row = 0; row < surface.height; ++row) {
        const uint8_t* in = RowOf(surface, row);
        uint32_t* out = words + row * rowWords;
        for (uint32_t column = 0; column < surface.width; ++column) out[column] = WordOf(PixelAt(in, column));
    }
}

void TKScaleSurface(const ScopeSurface& surface, const TKScaleAxis& across, const TKScaleAxis& down, TKScaleKind kind,
                    int32_t firstRow, int32_t endRow, uint32_t* words, size_t rowWords)
{
    if (!surface.pixels || across.count <= 0 || firstRow >= endRow) return;
    if (kind == tkScaleNearest)
        ScaleNearest(surface, across, down, firstRow, endRow, words, rowWords);
    else
        ScaleSmooth(surface, across, down, firstRow, endRow, words, rowWords);
}

void TKScaleSurfaceShared(const ScopeSurface& surface, const TKScaleAxis& across, const TKScaleAxis& down,
                          TKScaleKind kind, uint32_t* words, size_t rowWords, uint32_t taskCount, MPTask* tasks)
{
    const uint32_t count = tasks ? std::max(taskCount, 1u) : 1;
    const auto firstRowOf = [&down, count](uint32_t index) {
        return static_cast<int32_t>(int64_t{std::max(down.count, 0)} * index / count);
    };
    auto band = [&](uint32_t index) {
        TKScaleSurface(surface, across, down, kind, firstRowOf(index), firstRowOf(index + 1), words, rowWords);
    };
    const auto run = [](void* context, uint32_t index) { (*static_cast<decltype(band)*>(context))(index); };
    MPRunEach(run, &band, count, tasks);
}

TKPaneScale TKScaleOfPane(const ImagePaneVars& pane)
{
    const TKImageRect shown = TKShownRect(pane);
    const double zoom = static_cast<double>(pane.zoom), aspect = static_cast<double>(pane.aspect);
    TKPaneScale scale = {
        .across = {.start = pane.panX, .step = pane.scaleX * zoom, .count = shown.width, .divisor = aspect},
        .down = {.start = pane.panY, .step = pane.scaleY * zoom, .count = shown.height},
        .kind = tkScaleSmooth};
    const bool isWhole = std::fabs(scale.across.step / aspect - 1) < 1e-9 && std::fabs(scale.down.step - 1) < 1e-9;
    const bool isCloser = pane.zoom < kTKZoomSteps[0] && scale.down.step < 1;
    if (isWhole || isCloser) scale.kind = tkScaleNearest;
    return scale;
}
