// The table as its target reads it: rows back out of the text, interpolation, differences.
#include "src/BPNumbers.h"
#include "tools/ochrine-lut/LUTTool.h"

#include <algorithm>
#include <cmath>

namespace {

/// True when a line holds `count` numbers and nothing else.
bool NumbersOf(const std::string& line, int count, float* numbers)
{
    if (line.find_first_not_of("0123456789+-.einfa \t") != std::string::npos) return false;
    float more[6] = {};
    if (BPScanFloats(line.c_str(), more, count + 1) != count) return false;
    std::copy(more, more + count, numbers);
    return true;
}

float Decoded(float value, const OCLUTEncoding& encoding)
{
    if (encoding.scale == 0) return value;
    return static_cast<float>((double{value} - encoding.offset) / encoding.scale);
}

/// A place on an axis: the point before it and how far it is to the next.
struct Place {
    uint32_t point;
    float part;
};

Place PlaceOf(float value, uint32_t points)
{
    const float bounded = value > 0 ? std::min(value, 1.0f) : 0.0f;
    const float scaled = bounded * static_cast<float>(points - 1);
    const uint32_t point = std::min(static_cast<uint32_t>(scaled), points - 2);
    return {point, scaled - static_cast<float>(point)};
}

const float* PointOf(const LUTTable& table, uint32_t red, uint32_t green, uint32_t blue)
{
    const uint32_t n = table.points;
    const size_t row =
        table.order == lutBlueFastest ? (size_t{red} * n + green) * n + blue : (size_t{blue} * n + green) * n + red;
    return &table.rgb[row * 3];
}

void Trilinear(const LUTTable& table, const Place at[3], float out[3])
{
    out[0] = out[1] = out[2] = 0;
    for (uint32_t corner = 0; corner < 8; ++corner) {
        const uint32_t r = corner >> 2, g = corner >> 1 & 1, b = corner & 1;
        const float weight =
            (r ? at[0].part : 1 - at[0].part) * (g ? at[1].part : 1 - at[1].part) * (b ? at[2].part : 1 - at[2].part);
        const float* const point = PointOf(table, at[0].point + r, at[1].point + g, at[2].point + b);
        for (int i = 0; i < 3; ++i) out[i] += weight * point[i];
    }
}

/// Equal infinities do not differ, nor do two values that are no numbers; a number and none differ without end.
double DifferenceOf(double wanted, double seen)
{
    if (wanted == seen || (std::isnan(wanted) && std::isnan(seen))) return 0;
    const double difference = std::fabs(wanted - seen);
    return std::isnan(difference) ? INFINITY : difference;
}

/// From the lowest corner to the highest, along the axes in the order of their parts.
void Tetrahedral(const LUTTable& table, const Place at[3], float out[3])
{
    uint32_t axes[3] = {0, 1, 2};
    std::stable_sort(axes, axes + 3, [&](uint32_t a, uint32_t b) { return at[a].part > at[b].part; });
    uint32_t place[3] = {at[0].point, at[1].point, at[2].point};
    const float* before = PointOf(table, place[0], place[1], place[2]);
    std::copy(before, before + 3, out);
    for (const uint32_t axis : axes) {
        ++place[axis];
        const float* const point = PointOf(table, place[0], place[1], place[2]);
        for (int i = 0; i < 3; ++i) out[i] += at[axis].part * (point[i] - before[i]);
        before = point;
    }
}

} // namespace

bool LUTReadTable(const std::string& text, const OCLUTTarget& target, uint32_t points, LUTTable* table)
{
    const size_t count = size_t{points} * points * points;
    *table = {.points = points, .order = target.order};
    table->rgb.reserve(count * 3);
    for (size_t begin = 0; begin < text.size();) {
        const size_t end = std::min(text.find('\n', begin), text.size());
        const std::string line = text.substr(begin, end - begin);
        begin = end + 1;
        float numbers[4] = {};
        const float* rgb = numbers;
        if (NumbersOf(line, 4, numbers)) {
            rgb = numbers + 1; // an index stands in front
        } else if (!NumbersOf(line, 3, numbers)) {
            continue;
        }
        for (int i = 0; i < 3; ++i) table->rgb.push_back(Decoded(rgb[i], target.encoding));
    }
    return points >= 2 && table->rgb.size() == count * 3;
}

void LUTLookup(const LUTTable& table, LUTInterpolation interpolation, const float in[3], float out[3])
{
    const Place at[3] = {PlaceOf(in[0], table.points), PlaceOf(in[1], table.points), PlaceOf(in[2], table.points)};
    switch (interpolation) {
    case lutTrilinear: Trilinear(table, at, out); break;
    case lutTetrahedral: Tetrahedral(table, at, out); break;
    }
}

bool LUTIsFinite(const LUTTable& table, const LUTPicture& graded)
{
    const auto isFinite = [](const std::vector<float>& values) {
        return std::all_of(values.begin(), values.end(), [](float value) { return std::isfinite(value); });
    };
    return isFinite(table.rgb) && std::all_of(graded.plane, graded.plane + 3, isFinite);
}

LUTError LUTMeasure(const LUTTable& table, LUTInterpolation interpolation, const OCLUTEncoding& encoding,
                    const LUTPicture& in, const LUTPicture& graded)
{
    const size_t count = in.plane[0].size();
    const double low = encoding.scale == 0 ? -65504.0 : (0.0 - encoding.offset) / encoding.scale;
    const double high = encoding.scale == 0 ? 65504.0 : (encoding.maximum - encoding.offset) / encoding.scale;
    std::vector<double> errors;
    errors.reserve(count * 3);
    size_t outside = 0;
    for (size_t i = 0; i < count; ++i) {
        const float rgb[3] = {in.plane[0][i], in.plane[1][i], in.plane[2][i]};
        float seen[3];
        LUTLookup(table, interpolation, rgb, seen);
        bool isOutside = false;
        for (int plane = 0; plane < 3; ++plane) {
            const double wanted = graded.plane[plane][i];
            // Half a step of the target is its rounding, not its range.
            const double slack = encoding.scale == 0 ? 0 : 0.5 / encoding.scale;
            if (!(wanted >= low - slack && wanted <= high + slack)) isOutside = true;
            errors.push_back(DifferenceOf(wanted, double{seen[plane]}));
        }
        outside += isOutside;
    }
    if (errors.empty()) return {};
    std::sort(errors.begin(), errors.end());
    double sum = 0;
    for (const double error : errors) sum += error;
    const size_t place = std::min(errors.size() - 1, static_cast<size_t>(static_cast<double>(errors.size()) * 0.99));
    return {.max = errors.back(),
            .mean = sum / static_cast<double>(errors.size()),
            .p99 = errors[place],
            .outside = static_cast<double>(outside) / static_cast<double>(count)};
}
