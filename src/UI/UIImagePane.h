// The image pane without its window: a record, the mapping between pane and picture, zoom, pan, colour pick and split
// line. A window translates events into these functions and carries out the effect that they return.
//
// Coordinates of the pane are device pixels, those of the picture its own pixels. Thread: main.
#pragma once

#include "src/FBTransfer.h"
#include "src/ScopeSurface.h"
#include "src/TincturaUIDispSplit.h"

#include <cstddef>

struct TKImageRect {
    int32_t x, y, width, height; ///< device pixels
};

/// The largest rectangle with the picture's shape inside an area of this size, centred. `pixelAspect` is the width of a
/// pixel over its height. Empty for an empty picture or area.
TKImageRect TKFitPicture(uint32_t pictureWidth, uint32_t pictureHeight, float pixelAspect, int32_t areaWidth,
                         int32_t areaHeight);

/// The cursors by their numbers.
enum TKPaneCursor : uint32_t {
    tkCursorPlain = 0,
    tkCursorPick = 500,
    tkCursorSplitHorizontal = 506, ///< a handle on an upper or lower edge
    tkCursorSplitVertical = 507,   ///< a handle on the left or right edge
    tkCursorSplitCorner = 508,
    tkCursorZoomIn = 509,
    tkCursorZoomOut = 510,
    tkCursorZoomEnd = 511,
    tkCursorPickShift = 513,
    tkCursorPickControl = 514,
    tkCursorPickBoth = 515,
};

enum TKPaneButton : uint32_t { tkButtonNone, tkButtonLeft, tkButtonMiddle, tkButtonRight };

struct ImagePaneVars;
/// Sees each press, in pixels of the picture, before the pane acts on it. It is for an owner that wants to act on places
/// of a picture itself; the panes of the main window leave it null, their picks and splits are the pane's own.
using TKPaneMouseProc = void (*)(ImagePaneVars* pane, int32_t x, int32_t y, TKPaneButton button, uint32_t modifiers);

struct ImagePaneVars {
    void* control; ///< the window that shows the pane
    void* owner;   ///< for mouseProc
    TKImageRect frame;
    TKImageRect imageRect; ///< the picture area: `frame` inset by 2
    const ScopeSurface* surface;
    double scaleX, scaleY; ///< source pixels for one screen pixel at the fit size; of square pixels across
    float zoom;            ///< source pixels for one pixel of the fit size; one of kTKZoomSteps
    double panX, panY;     ///< source pixels, of square pixels across, that are hidden left and above
    float aspect;          ///< width of a pixel over its height
    bool dragging;         ///< a pick or a split end
    bool panning;
    TKPaneButton heldButton; ///< that began it; the release of another one ends nothing
    bool canZoom, canSample, canSplit;
    ScopeSplitLine split;
    int32_t grabbedEnd;         ///< 1 or 2 while an end is dragged, or 0
    float* pickTarget;          ///< the triple to fill, or null
    const FBFrame* frameBuffer; ///< to be sampled instead of the surface, or null
    const void* pickData;       ///< who asked for the pick that is under way, or for the next one
    TKPaneMouseProc mouseProc;  ///< may be null
    int32_t lastX, lastY;       ///< where a pan stands
    int32_t wheelRest;          ///< of a turn below one notch, in 1/120
};

/// 1x, 1.5x, 2x, 3x, 4x, 6x, 8x, 12x, 16x.
inline constexpr int32_t kTKZoomStepCount = 9;
extern const float kTKZoomSteps[kTKZoomStepCount];    ///< towards 0.0625
extern const float kTKZoomStepsOut[kTKZoomStepCount]; ///< towards 1.0

/// What the window has to do after an event.
struct [[nodiscard]] TKPaneEffect {
    bool handled = false;      ///< the pane took the event
    bool repaints = false;     ///< the view is another one
    bool sampled = false;      ///< *pickTarget has a colour
    bool pickEnded = false;    ///< with it, the pick is over
    bool splitChanged = false; ///< the line is another one
};

/// No surface, fit size, square pixels, a line down the middle, nothing allowed.
void TKCreateImagePane(ImagePaneVars* pane);

/// Place and size of the pane; zoom stays, the pan is clamped. Without room for a picture the pan waits for one.
void TKSetPaneFrame(ImagePaneVars* pane, const TKImageRect& frame);
/// Another picture, or none; an aspect that is not finite or not above 0 counts as 1. Zoom stays, the pan is clamped;
/// without a picture it waits for the next one.
void TKSetPaneSurface(ImagePaneVars* pane, const ScopeSurface* surface, float aspect);
/// Takes zoom and pan of another pane over, so that two pictures are compared in the same place.
void TKCopyPaneView(ImagePaneVars* pane, const ImagePaneVars& from);

/// Where the picture lies in the pane at the present zoom; empty without one.
TKImageRect TKShownRect(const ImagePaneVars& pane);

struct TKPicturePoint {
    int32_t x, y;
};
/// The picture's pixel at a point of the pane, truncated towards 0; may lie outside the picture. The first logs it.
TKPicturePoint TKPicturePointAt(const ImagePaneVars& pane, int32_t x, int32_t y);
TKPicturePoint TKPicturePointQuietly(const ImagePaneVars& pane, int32_t x, int32_t y);
bool TKIsInPicture(const ImagePaneVars& pane, TKPicturePoint point);
/// Whether the picture is under a point of the pane.
bool TKIsOverPicture(const ImagePaneVars& pane, int32_t x, int32_t y);

/// The place in the pane of a point of the picture, in fractions of it.
void TKPanePointOf(const ImagePaneVars& pane, float fractionX, float fractionY, double* x, double* y);

/// Red, green and blue of a pixel: of the frame buffer, or of the surface in 16 bits a component over 65535; 0, 0, 0
/// outside the picture.
void TKReadPicture(const ImagePaneVars& pane, TKPicturePoint point, float rgb[3]);

/// One step of zoom with the picture's point under (x, y) staying there. At the end of the table nothing happens.
TKPaneEffect TKZoomPane(ImagePaneVars* pane, bool closer, int32_t x, int32_t y);
/// Moves the picture in the pane by so many pixels of the pane, as far as there is more of it.
TKPaneEffect TKPanPane(ImagePaneVars* pane, int32_t right, int32_t down);

// Events. Modifiers are the modifier word.

/// 120 a notch; away from the hand zooms in. Smaller turns add up.
TKPaneEffect TKPaneWheel(ImagePaneVars* pane, int32_t x, int32_t y, int32_t delta);
TKPaneEffect TKPanePress(ImagePaneVars* pane, int32_t x, int32_t y, TKPaneButton button, uint32_t modifiers);
TKPaneEffect TKPaneMove(ImagePaneVars* pane, int32_t x, int32_t y, uint32_t modifiers);
TKPaneEffect TKPaneRelease(ImagePaneVars* pane, int32_t x, int32_t y, TKPaneButton button, uint32_t modifiers);
/// The grab was taken away: what was dragged stays where it is, a pick stays open.
void TKPaneLoseGrab(ImagePaneVars* pane);

/// The cursor at a point.
TKPaneCursor TKCursorAt(const ImagePaneVars& pane, int32_t x, int32_t y, uint32_t modifiers);

/// The pane in words, for a screen reader: its zoom, and during a pick the colour that it reads.
void TKPaneText(const ImagePaneVars& pane, char* text, uint32_t length);

/// The ends of the split line, in fractions of the picture.
void GetSplitLine(const ImagePaneVars& pane, float* x1, float* y1, float* x2, float* y2);
/// 1 or 2 for the end that a press at this point grabs, the nearer one; 0 for none.
int32_t TKSplitEndAt(const ImagePaneVars& pane, int32_t x, int32_t y);
