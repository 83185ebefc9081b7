// Inside the curves: the walk along one segment of a spline.
#pragma once

#include <cstdint>

inline constexpr int32_t kOCSplineRows = 32768;
inline constexpr int32_t kOCSplineSlack = 16; ///< further places behind the last row of a walk

/// The columns of OCBuildBasisTable.
struct OCBasisPlanes {
    float plane[4][kOCSplineRows];
    double error; ///< of a value of the spline beside exact arithmetic, at the most, where no control is above 1
};

/// How far a walk has come, and the rows at which it wrote in its last segment.
struct OCSplineWalk {
    int32_t next; ///< the next index to write; the walk ends before `end`
    int32_t end;
    int32_t* row; ///< with room for as many rows as indices are left, and kOCSplineSlack
    int32_t hits; ///< of the last segment
};

/// Thread: any, own planes.
void OCBuildBasisPlanes(const float matrix[4][4], OCBasisPlanes* basis);

/// Walks all rows of the segment with the control values x and y: wherever x(t) times 16,384 has reached `walk->next`,
/// y(t), held between 0 and 1, is the next of `out`, which has room for the indices that are left.
/// Thread: any, own memory.
void OCWalkSplineSegment(const float matrix[4][4], const OCBasisPlanes& basis, const double x[4], const double y[4],
                         OCSplineWalk* walk, float* out);
