// The spline walks. Each walk goes through all rows of a basis table and writes an entry whenever x has reached the
// next index: one entry a row at the most.
#include "src/OCCurves.h"

#include "src/OCCurvesKernels.h"
#include "src/platform/BPLog.h"
#include "src/platform/BPMemory.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr int32_t kLast = kOCToneEntries - 1; // 16,384
constexpr float kCatmullRom[4][4] = {
    {-0.5f, 1, -0.5f, 0}, {1.5f, -2.5f, 0, 1}, {-1.5f, 2, 0.5f, 0}, {0.5f, -0.5f, 0, 0}};
constexpr float kHermite[4][4] = {{2, -3, 0, 1}, {-2, 3, 0, 0}, {1, -2, 1, 0}, {1, -1, 0, 0}};

using BasisRow = float[4];

/// Clamps to 0 to 1; a NaN becomes 0.
float Unit(float value)
{
    return value > 0 ? (value < 1 ? value : 1) : 0;
}

/// floor(x * 16,384) as an index, held between 0 and one past the table for values that no table has.
int32_t FloorIndex(float x)
{
    const float scaled = std::floor(x * 16384.0f);
    if (!(scaled > 0)) return 0;
    return scaled < kOCToneEntries ? static_cast<int32_t>(scaled) : static_cast<int32_t>(kOCToneEntries);
}

BasisRow* AllocateBasis(const float matrix[4][4], const char* complaint)
{
    auto* basis = static_cast<BasisRow*>(BPAllocate(sizeof(BasisRow) * kOCBasisRows));
    if (!basis) {
        BPFatalError(complaint, "Ochrine 3 UI");
        return nullptr;
    }
    OCBuildBasisTable(matrix, basis);
    return basis;
}

void BuildFromSamples(const float* samples, float* table)
{
    for (int32_t i = 0; i <= kLast; ++i) {
        const float position = static_cast<float>(i) / 16384.0f * 1023.0f;
        const auto k = static_cast<int32_t>(std::floor(position));
        const float f = position - static_cast<float>(k);
        // The last sample is reached by going on from the one before.
        const float rise = k < 1022 ? samples[k + 1] - samples[k] : samples[k] - samples[k - 1];
        table[i] = samples[k] + rise * f;
    }
}

/// A straight line from the first to the last point. Returns the next index to write.
int32_t WalkLine(const HCurvePoints& xy, int32_t next, float* table)
{
    const int32_t last = xy.pointCount - 1;
    const double end = std::floor(static_cast<double>(xy.x[last]) * 16384.0);
    const auto step = static_cast<float>((static_cast<double>(xy.y[last]) - static_cast<double>(xy.y[0])) /
                                         (end - static_cast<double>(next)));
    float value = xy.y[0];
    for (; next <= kLast && static_cast<double>(next) <= end; ++next) {
        table[next] = value;
        value += step;
    }
    return next;
}

/// The x and y of the points as they lie in the record: behind the sixteenth x stands the first y, behind the y the
/// unused rest of the curve.
float AxisValue(const HCurve& curve, bool isY, int32_t point)
{
    return curve.points.samples[(isY ? 17 : 1) + point];
}

/// The basis of every spline, made once a process.
const OCBasisPlanes& SplineBasis()
{
    static OCBasisPlanes basis;
    static const bool made = (OCBuildBasisPlanes(kCatmullRom, &basis), true);
    (void)made;
    return basis;
}

/// The spline through three or more points; `rows` has room for every entry. Returns the next index to write.
int32_t WalkSpline(const HCurve& curve, int32_t* rows, int32_t next, float* table)
{
    OCSplineWalk walk = {.next = next, .end = static_cast<int32_t>(kOCToneEntries), .row = rows, .hits = 0};
    const int32_t count = curve.points.xy.pointCount;
    // Deliberate: the walk goes on behind the last point, where it uses the two slots that follow; existing grades
    // depend on what stands there.
    for (int32_t k = 0; k < count && walk.next < walk.end; ++k) {
        const int32_t control[4] = {k == 0 ? 0 : k - 1, k, k + 1, k == count - 2 ? count - 1 : k + 2};
        double x[4];
        double y[4];
        for (int c = 0; c < 4; ++c) {
            x[c] = static_cast<double>(AxisValue(curve, false, control[c]));
            y[c] = static_cast<double>(AxisValue(curve, true, control[c]));
        }
        OCWalkSplineSegment(kCatmullRom, SplineBasis(), x, y, &walk, table + walk.next);
    }
    return walk.next;
}

/// One range curve from (0, 1) to (1, 0); entry i is the weight at a distance of i from the range's end of the scale.
void WalkRange(const BasisRow* basis, float tangentX, float tangentY, bool mirrored, float* table)
{
    int32_t next = 0;
    for (uint32_t row = 0; row < kOCBasisRows && next <= kLast; ++row) {
        const float* b = basis[row];
        const float x = b[1] + tangentX * b[2] + b[3];
        if (!(x * 16384.0f >= static_cast<float>(next))) continue;
        const float y = b[0] + tangentY * b[2];
        const int32_t index = mirrored ? kLast - next : static_cast<int32_t>(Unit(x) * 16384.0f);
        table[index] = Unit(y);
        ++next;
    }
    const int32_t direction = mirrored ? -1 : 1;
    const int32_t origin = mirrored ? kLast : 0;
    for (; next <= kLast; ++next)
        table[origin + direction * next] = next > 0 ? table[origin + direction * (next - 1)] : 1.0f;
}

} // namespace

void OCBuildBasisTable(const float matrix[4][4], float (*table)[4])
{
    for (uint32_t i = 0; i < kOCBasisRows; ++i) {
        const float t = static_cast<float>(i) / 32768.0f;
        const float t2 = t * t;
        const float t3 = t2 * t;
        for (int k = 0; k < 4; ++k)
            table[i][k] = matrix[k][0] * t3 + matrix[k][1] * t2 + matrix[k][2] * t + matrix[k][3];
    }
}

BPStatus OCBuildCurveTable(const HCurve* curve, float* table)
{
    if (curve->curveKind & 1) {
        BuildFromSamples(curve->points.samples, table);
        return bpNoErr;
    }
    const HCurvePoints& xy = curve->points.xy;
    BP_ASSERT(curve->points.xy.pointCount <= 16, "OCCurves");
    if (xy.pointCount < 1 || xy.pointCount > static_cast<int32_t>(kOCCurvePointLimit)) {
        for (int32_t i = 0; i <= kLast; ++i) table[i] = static_cast<float>(i) / 16384.0f;
        return bpNoErr;
    }
    int32_t* rows = nullptr;
    if (xy.pointCount > 2) {
        rows = static_cast<int32_t*>(BPAllocate(sizeof(int32_t) * (kOCToneEntries + kOCSplineSlack)));
        if (!rows) {
            BPFatalError("Insufficient memory for curveArray", "Ochrine 3 UI");
            return bpMemFullErr;
        }
    }
    const float start = xy.x[0] * 16384.0f;
    for (int32_t i = 0; i <= kLast && static_cast<float>(i) < start; ++i) table[i] = xy.y[0];
    int32_t next = FloorIndex(xy.x[0]);
    next = rows ? WalkSpline(*curve, rows, next, table) : WalkLine(xy, next, table);
    for (; next <= kLast; ++next) table[next] = xy.y[xy.pointCount - 1];
    BPFree(rows);
    return bpNoErr;
}

BPStatus OCBuildLumaRangeTables(const OCLumaRangeBlock* block, float* shadowWeight, float* midtoneWeight,
                                float* highlightWeight)
{
    BasisRow* basis = AllocateBasis(kHermite, "Insufficient memory for HCurve");
    if (!basis) return bpMemFullErr;
    std::fill_n(shadowWeight, kOCToneEntries, 0.0f);
    std::fill_n(highlightWeight, kOCToneEntries, 0.0f);
    WalkRange(basis, 2 * block->lumarange_shadowx, 1 - 5 * (1 - block->lumarange_shadowy), false, shadowWeight);
    WalkRange(basis, 2 * (1 - block->lumarange_highlightx), 1 - 5 * (1 - block->lumarange_highlighty), true,
              highlightWeight);
    BPFree(basis);
    for (uint32_t i = 0; i < kOCToneEntries; ++i) {
        float s = shadowWeight[i];
        float h = highlightWeight[i];
        if (h + s > 1) {
            const float over = (h + s) - 1;
            if (s > 1 - h)
                s = s - over;
            else
                h = h - over;
        }
        shadowWeight[i] = s = Unit(s);
        highlightWeight[i] = h = Unit(h);
        midtoneWeight[i] = Unit(1 - (s + h));
    }
    return bpNoErr;
}
