// Drawing into a ScopeSurface: a port with a pen, lines, rectangles, anti-aliased primitives, and texts through a small
// table of operations that the window system fills.
//
// Everything is clipped to the port's clip and to the surface; coordinates may lie anywhere. Pixels are written with an
// alpha of 0xFF. All functions work on the caller's own records: Thread: any, except the operations on letters, which
// run on the thread that their maker names.
#pragma once

#include "src/ScopeColor.h"
#include "src/ScopeSurface.h"

#include <cstdint>

/// A rectangle of pixels; bottom and right are outside.
struct ScopeRect {
    int16_t top, left, bottom, right;
};

constexpr int32_t ScopeWidthOf(const ScopeRect& rect)
{
    return rect.right - rect.left;
}
constexpr int32_t ScopeHeightOf(const ScopeRect& rect)
{
    return rect.bottom - rect.top;
}

/// From whole coordinates; each is clamped to 16 bits.
ScopeRect ScopeRectOf(int32_t top, int32_t left, int32_t bottom, int32_t right);
/// What lies in both; empty (all 0) when nothing does.
ScopeRect ScopeIntersection(const ScopeRect& a, const ScopeRect& b);
/// The whole of a surface, as far as 16 bits reach; empty without one.
ScopeRect ScopeBoundsOf(const ScopeSurface& surface);
/// Moves every side inward; a rectangle that vanishes becomes empty in its middle.
ScopeRect ScopeInset(const ScopeRect& rect, int32_t distance);

// Letters --------------------------------------------------------------------------------------------------------------

struct ScopeFont {
    const char* family; ///< a literal
    int32_t size;       ///< pixels
    bool bold, italic;
};

struct ScopeFontMetrics {
    int32_t ascent, descent; ///< pixels above and below the baseline
};

/// What the window system does with letters.   Thread: that of the window system.
struct ScopeLetters {
    void* context;
    bool (*hasFamily)(void* context, const char* family);
    ScopeFontMetrics (*metrics)(void* context, const ScopeFont& font);
    int32_t (*width)(void* context, const ScopeFont& font, const char* text);
    /// Draws with the left end of the baseline at (x, baseline); touches only pixels inside `clip`, which lies inside
    /// the surface. Text is plain ASCII.
    void (*draw)(void* context, const ScopeSurface& surface, const ScopeRect& clip, const ScopeFont& font,
                 ScopeColor color, int32_t x, int32_t baseline, const char* text);
};

// The port -------------------------------------------------------------------------------------------------------------

enum ScopeMarkKind : uint8_t {
    scopeMarkLine,       ///< from (x0, y0) to (x1, y1), both inside
    scopeMarkPaint,      ///< rectangle from (x0, y0) to (x1, y1), the latter outside
    scopeMarkFrame,      ///< outline of the same
    scopeMarkText,       ///< the left end of the baseline at (x0, y0), the right end at x1
    scopeMarkSmoothLine, ///< anti-aliased, from (x0, y0) to (x1, y1)
    scopeMarkSmoothArc,  ///< centre (x0, y0), radii (x1, y1), from angle0 to angle1
};

/// One call of a drawing function, before clipping.
struct ScopeMark {
    ScopeMarkKind kind;
    ScopeColor color; ///< of a ramp: its brightest
    double x0, y0, x1, y1;
    double angle0, angle1; ///< degrees, counter-clockwise with y up
    const char* text;      ///< valid during the call
    ScopeFont font;
    bool rightAligned;
};

/// Is told of every mark. For tests.
struct ScopeWitness {
    void* context;
    void (*saw)(void* context, const ScopeMark& mark);
};

/// Where drawing goes and how. Copy it to save it.
struct ScopePort {
    ScopeSurface* surface;
    ScopeRect clip;
    ScopeColor color;
    int32_t penX, penY;
    int32_t penSize; ///< the pen hangs below and to the right of its place
    ScopeFont font;
    const ScopeLetters* letters; ///< null: texts take no room and leave no pixels
    const ScopeWitness* witness; ///< null: nobody watches
};

/// A port on the whole surface: black, pen 1, no family.
ScopePort ScopePortOn(ScopeSurface* surface, const ScopeLetters* letters);

void ScopeMoveTo(ScopePort* port, int32_t x, int32_t y);
/// Draws from the pen to (x, y), both ends included, and moves the pen there.
void ScopeLineTo(ScopePort* port, int32_t x, int32_t y);
/// Stands `count` bars of a pixel's width side by side, the pixels that a line each would have: bar i in column left + i,
/// from the row tops[i] down to `bottom`; none where the top is below. A witness sees lines.
void ScopeDrawBars(ScopePort* port, int32_t left, int32_t bottom, const int32_t* tops, int32_t count);
/// Fills with the port's colour.
void ScopePaintRect(ScopePort* port, const ScopeRect& rect);
/// Outlines inside the rectangle's own pixels.
void ScopeFrameRect(ScopePort* port, const ScopeRect& rect);

/// Selects `family`, or `fallback` where the first is missing.
void ScopeSelectFamily(ScopePort* port, const char* family, const char* fallback);
ScopeFontMetrics ScopeMetrics(const ScopePort& port);
int32_t ScopeTextWidth(const ScopePort& port, const char* text);
/// Draws at the pen and moves the pen to the text's right end.
void ScopeDrawText(ScopePort* port, const char* text);
/// Moves the pen back by the text's width, then draws as ScopeDrawText does.
void ScopeDrawTextRight(ScopePort* port, const char* text);

// Anti-aliased primitives ----------------------------------------------------------------------------------------------

/// Entry n is the colour less n times the high byte of each component: it runs towards black.
struct ScopeColorRamp {
    ScopeColor entry[256];
};
ScopeColorRamp ScopeRampOf(ScopeColor color);

// One pixel wide; coverage picks the entry of the ramp. A pixel keeps the brighter of what it has and what comes, so that
// crossings and joints stay whole. A coordinate is the middle of its pixel. What is not finite is not drawn.

void DrawAntialiasedLine(ScopePort* port, const ScopeColorRamp& ramp, double x0, double y0, double x1, double y1);
/// Part of an ellipse. Angles are in degrees, counter-clockwise from the right with y up.
void DrawAntialiasedArc(ScopePort* port, const ScopeColorRamp& ramp, double centerX, double centerY, double radiusX,
                        double radiusY, double fromDegrees, double toDegrees);
void DrawAntialiasedEllipse(ScopePort* port, const ScopeColorRamp& ramp, double centerX, double centerY, double radiusX,
                            double radiusY);
