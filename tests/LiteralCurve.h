// The curve walk to the letter, row by row through a basis table: what the fast walk is compared with, in bits by the
// tests and in time by the benchmark.
#pragma once

#include "src/OCCurves.h"

#include <cmath>
#include <vector>

/// The table of a point curve with 3 to 16 points.
inline std::vector<float> LiteralCurveTable(const HCurve& curve)
{
    static constexpr float kMatrix[4][4] = {
        {-0.5f, 1, -0.5f, 0}, {1.5f, -2.5f, 0, 1}, {-1.5f, 2, 0.5f, 0}, {0.5f, -0.5f, 0, 0}};
    struct Row {
        float b[4];
    };
    std::vector<Row> basis(kOCBasisRows);
    OCBuildBasisTable(kMatrix, reinterpret_cast<float(*)[4]>(basis.data()));
    const HCurvePoints& xy = curve.points.xy;
    std::vector<float> table(kOCToneEntries);
    for (uint32_t i = 0; i < kOCToneEntries && static_cast<float>(i) < xy.x[0] * 16384.0f; ++i) table[i] = xy.y[0];
    const float start = std::floor(xy.x[0] * 16384.0f);
    uint32_t v = start > 0 ? (start < kOCToneEntries ? static_cast<uint32_t>(start) : kOCToneEntries) : 0;
    const int32_t n = xy.pointCount;
    for (int32_t k = 0; k < n; ++k) {
        const int32_t point[4] = {k == 0 ? 0 : k - 1, k, k + 1, k == n - 2 ? n - 1 : k + 2};
        const float* words = curve.points.samples;
        const auto combined = [&](const Row& row, int32_t first) {
            double sum = static_cast<double>(row.b[0]) * static_cast<double>(words[first + point[0]]);
            for (int c = 1; c < 4; ++c)
                sum += static_cast<double>(row.b[c]) * static_cast<double>(words[first + point[c]]);
            return static_cast<float>(sum);
        };
        for (const Row& row : basis) {
            if (!(combined(row, 1) * 16384.0f >= static_cast<float>(v)) || v >= kOCToneEntries) continue;
            const float y = combined(row, 17);
            table[v++] = y > 0 ? (y < 1 ? y : 1) : 0;
        }
    }
    for (; v < kOCToneEntries; ++v) table[v] = xy.y[n - 1];
    return table;
}
