// Cursors of the tools, drawn by us.
#pragma once

#include <QCursor>

/// The cursor of a resource number: 500 an eyedropper, 501 to 503 with a black, a gray and a white field, 504 over a
/// point of a curve, 505 where a press makes one, 506 to 508 the handles of a split on an upper or lower
/// edge, on a side and at a corner, 509 to 511 zoom in, out and no further, 513 to 515 the eyedropper with shift,
/// control and both. Others are the arrow.
///
/// devicePixelRatio   of the screen that shows it, above 0
///
/// Thread: main.
QCursor UICursorOf(uint32_t resource, qreal devicePixelRatio);
