// The split views: two pictures on the two sides of a line. Plain functions on surfaces; the line belongs to the image
// pane.
#pragma once

#include "src/ScopeSurface.h"

/// A line through a picture: two ends in fractions of its width and height, from its upper left corner.
struct ScopeSplitLine {
    float x1, y1, x2, y2;
};

/// Down the middle, from the top.
ScopeSplitLine ScopeDefaultSplitLine();

/// The same line with both ends on the picture's border, or one of its sides when it lies beyond: (0, 0, 0, 1) left,
/// (1, 0, 1, 1) right, (0, 0, 1, 0) above, (0, 1, 1, 1) below. A line that misses the picture otherwise is clamped to it;
/// one with an end that is no number becomes the default.
ScopeSplitLine ComputeSplitEnds(const ScopeSplitLine& line);

/// The part of the picture that shows the second surface: what lies on the left of somebody who walks from the first end
/// to the second, which is the right of a line that runs down.
struct ScopeSplitPolygon {
    int32_t count; ///< 0 or 3 to 6 corners, in order
    float x[6], y[6];
};
ScopeSplitPolygon ScopeSplitPolygonOf(const ScopeSplitLine& ends);

/// Sets the bits of a mask whose pixels have their middle in the polygon, and clears the others.
void ScopeFillMask(ScopeSurface* mask, const ScopeSplitPolygon& polygon);

/// The grey that stands for a first picture that is not there.
inline constexpr uint8_t kScopeMissingGrey = 10280 >> 8;

/// Composes a split view: `first`, and over it `second` where the mask is set. What a picture does not cover is left to
/// the other one; `first` may be null, then it is grey. Everything comes out opaque.   Thread: any, own target.
void DrawSplitView(ScopeSurface* target, const ScopeSurface* first, const ScopeSurface* second,
                   const ScopeSurface& mask);
