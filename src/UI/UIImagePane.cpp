// Geometry and behaviour of the image pane.
#include "src/UI/UIImagePane.h"

#include "src/platform/BPKeyboard.h"
#include "src/platform/BPLog.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <iterator>

const float kTKZoomSteps[kTKZoomStepCount] = {1.0f, 0.6667f, 0.5f, 0.3333f, 0.25f, 0.1667f, 0.125f, 0.0833f, 0.0625f};
const float kTKZoomStepsOut[kTKZoomStepCount] = {0.0625f, 0.0833f, 0.125f,  0.1667f, 0.25f,
                                                 0.3333f, 0.5f,    0.6667f, 1.0f};

namespace {

constexpr int32_t kImageInset = 2;
constexpr double kGrabReach = 0.02 + 1e-9; // fractions of the picture, rounding aside
constexpr int32_t kNotch = 120;
constexpr const char* kZoomWords[kTKZoomStepCount] = {"1x", "1.5x", "2x", "3x", "4x", "6x", "8x", "12x", "16x"};

/// The neighbour of a value in a table; the value itself at its end, or when it is not there.
float Neighbour(const float (&table)[kTKZoomStepCount], float value)
{
    const float* here = std::find(std::begin(table), std::end(table), value);
    if (here == std::end(table) || here + 1 == std::end(table)) return value;
    return here[1];
}

bool HasPicture(const ImagePaneVars& pane)
{
    return pane.surface && pane.surface->pixels && pane.scaleX > 0 && pane.scaleY > 0;
}

/// The picture's sides in square pixels.
double WideOf(const ImagePaneVars& pane)
{
    return pane.surface->width * static_cast<double>(pane.aspect);
}
double HighOf(const ImagePaneVars& pane)
{
    return pane.surface->height;
}

/// The picture as a run of `length` source pixels along a side of the pane: where it begins there, and how much of it
/// is seen.
struct Extent {
    int32_t origin, shown;
};
Extent ExtentOf(double length, double step, int32_t areaOrigin, int32_t area)
{
    const int32_t shown = std::clamp(static_cast<int32_t>(std::lround(length / step)), 1, std::max(area, 1));
    return {.origin = areaOrigin + (area - shown) / 2, .shown = shown};
}
Extent Across(const ImagePaneVars& pane)
{
    return ExtentOf(WideOf(pane), pane.scaleX * static_cast<double>(pane.zoom), pane.imageRect.x, pane.imageRect.width);
}
Extent Down(const ImagePaneVars& pane)
{
    return ExtentOf(HighOf(pane), pane.scaleY * static_cast<double>(pane.zoom), pane.imageRect.y,
                    pane.imageRect.height);
}

void ClampPan(ImagePaneVars* pane)
{
    if (!HasPicture(*pane)) return; // kept for the next picture, which clamps it
    const double zoom = static_cast<double>(pane->zoom);
    const double mostX = WideOf(*pane) - Across(*pane).shown * pane->scaleX * zoom;
    const double mostY = HighOf(*pane) - Down(*pane).shown * pane->scaleY * zoom;
    pane->panX = std::clamp(pane->panX, 0.0, std::max(mostX, 0.0));
    pane->panY = std::clamp(pane->panY, 0.0, std::max(mostY, 0.0));
}

void Fit(ImagePaneVars* pane)
{
    pane->scaleX = pane->scaleY = 0;
    if (pane->surface && pane->surface->pixels) {
        const TKImageRect fit = TKFitPicture(pane->surface->width, pane->surface->height, pane->aspect,
                                             pane->imageRect.width, pane->imageRect.height);
        if (fit.width > 0 && fit.height > 0) {
            pane->scaleX = WideOf(*pane) / fit.width;
            pane->scaleY = HighOf(*pane) / fit.height;
        }
    }
    ClampPan(pane);
}

/// A point of the pane in source pixels, of square pixels across; not truncated.
void SourceOf(const ImagePaneVars& pane, int32_t x, int32_t y, double* sourceX, double* sourceY)
{
    const double zoom = static_cast<double>(pane.zoom);
    *sourceX = (x - Across(pane).origin) * (pane.scaleX * zoom) + pane.panX;
    *sourceY = (y - Down(pane).origin) * (pane.scaleY * zoom) + pane.panY;
}

/// The same in fractions of the picture.
void FractionOf(const ImagePaneVars& pane, int32_t x, int32_t y, double* fractionX, double* fractionY)
{
    SourceOf(pane, x, y, fractionX, fractionY);
    *fractionX /= WideOf(pane);
    *fractionY /= HighOf(pane);
}

int32_t Truncated(double value)
{
    return static_cast<int32_t>(std::clamp(value, -1e9, 1e9));
}

bool CanPan(const ImagePaneVars& pane)
{
    if (!HasPicture(pane)) return false;
    ImagePaneVars far = pane;
    far.panX = far.panY = 1e12;
    ClampPan(&far);
    return far.panX > 0 || far.panY > 0;
}

TKPaneEffect Sample(const ImagePaneVars& pane, int32_t x, int32_t y)
{
    // What lies just outside truncates to row or column 0: the pane decides what is outside.
    const TKPicturePoint point = TKPicturePointAt(pane, x, y);
    TKReadPicture(pane, TKIsOverPicture(pane, x, y) ? point : TKPicturePoint{.x = -1, .y = -1}, pane.pickTarget);
    return {.handled = true, .sampled = true};
}

/// Moves the grabbed end to the place of the border that is nearest to a point, each coordinate clamped first.
TKPaneEffect DragEnd(ImagePaneVars* pane, int32_t x, int32_t y)
{
    double fractionX, fractionY;
    FractionOf(*pane, x, y, &fractionX, &fractionY);
    fractionX = std::clamp(fractionX, 0.0, 1.0);
    fractionY = std::clamp(fractionY, 0.0, 1.0);
    const double toSide = std::min(fractionX, 1 - fractionX), toTop = std::min(fractionY, 1 - fractionY);
    if (toSide <= toTop)
        fractionX = std::round(fractionX);
    else
        fractionY = std::round(fractionY);
    const ScopeSplitLine before = pane->split;
    (pane->grabbedEnd == 1 ? pane->split.x1 : pane->split.x2) = static_cast<float>(fractionX);
    (pane->grabbedEnd == 1 ? pane->split.y1 : pane->split.y2) = static_cast<float>(fractionY);
    const bool changed = before.x1 != pane->split.x1 || before.y1 != pane->split.y1 || before.x2 != pane->split.x2 ||
                         before.y2 != pane->split.y2;
    return {.handled = true, .repaints = changed, .splitChanged = changed};
}

TKPaneCursor SplitCursor(float x, float y)
{
    const bool onSide = x <= 0 || x >= 1, onEdge = y <= 0 || y >= 1;
    return onSide && onEdge ? tkCursorSplitCorner : onSide ? tkCursorSplitVertical : tkCursorSplitHorizontal;
}

} // namespace

TKImageRect TKFitPicture(uint32_t pictureWidth, uint32_t pictureHeight, float pixelAspect, int32_t areaWidth,
                         int32_t areaHeight)
{
    if (pictureWidth == 0 || pictureHeight == 0 || areaWidth <= 0 || areaHeight <= 0) return {};
    const double aspect = std::isfinite(pixelAspect) && pixelAspect > 0 ? static_cast<double>(pixelAspect) : 1.0;
    const double shownWidth = pictureWidth * aspect;
    const double scale = std::min(areaWidth / shownWidth, areaHeight / static_cast<double>(pictureHeight));
    TKImageRect rect = {};
    rect.width = std::clamp(static_cast<int32_t>(std::lround(shownWidth * scale)), 1, areaWidth);
    rect.height = std::clamp(static_cast<int32_t>(std::lround(pictureHeight * scale)), 1, areaHeight);
    rect.x = (areaWidth - rect.width) / 2;
    rect.y = (areaHeight - rect.height) / 2;
    return rect;
}

void TKCreateImagePane(ImagePaneVars* pane)
{
    *pane = {};
    pane->zoom = kTKZoomSteps[0];
    pane->aspect = 1;
    pane->split = ScopeDefaultSplitLine();
}

void TKSetPaneFrame(ImagePaneVars* pane, const TKImageRect& frame)
{
    pane->frame = frame;
    pane->imageRect = {.x = frame.x + kImageInset,
                       .y = frame.y + kImageInset,
                       .width = std::max(0, frame.width - 2 * kImageInset),
                       .height = std::max(0, frame.height - 2 * kImageInset)};
    Fit(pane);
}

void TKSetPaneSurface(ImagePaneVars* pane, const ScopeSurface* surface, float aspect)
{
    pane->surface = surface;
    pane->aspect = std::isfinite(aspect) && aspect > 0 ? aspect : 1.0f;
    Fit(pane);
}

void TKCopyPaneView(ImagePaneVars* pane, const ImagePaneVars& from)
{
    pane->zoom = from.zoom;
    pane->panX = from.panX;
    pane->panY = from.panY;
    ClampPan(pane);
}

TKImageRect TKShownRect(const ImagePaneVars& pane)
{
    if (!HasPicture(pane)) return {};
    const Extent across = Across(pane), down = Down(pane);
    return {.x = across.origin, .y = down.origin, .width = across.shown, .height = down.shown};
}

TKPicturePoint TKPicturePointQuietly(const ImagePaneVars& pane, int32_t x, int32_t y)
{
    if (!HasPicture(pane)) return {.x = -1, .y = -1};
    double sourceX, sourceY;
    SourceOf(pane, x, y, &sourceX, &sourceY);
    return {.x = Truncated(sourceX / static_cast<double>(pane.aspect)), .y = Truncated(sourceY)};
}

TKPicturePoint TKPicturePointAt(const ImagePaneVars& pane, int32_t x, int32_t y)
{
    const TKPicturePoint point = TKPicturePointQuietly(pane, x, y);
    BPDebugLog("++++++          computed pt = %d, %d\n", static_cast<int>(point.x), static_cast<int>(point.y));
    return point;
}

bool TKIsInPicture(const ImagePaneVars& pane, TKPicturePoint point)
{
    return HasPicture(pane) && point.x >= 0 && point.y >= 0 && static_cast<uint32_t>(point.x) < pane.surface->width &&
           static_cast<uint32_t>(point.y) < pane.surface->height;
}

bool TKIsOverPicture(const ImagePaneVars& pane, int32_t x, int32_t y)
{
    const TKImageRect shown = TKShownRect(pane);
    return x >= shown.x && y >= shown.y && x < shown.x + shown.width && y < shown.y + shown.height;
}

void TKPanePointOf(const ImagePaneVars& pane, float fractionX, float fractionY, double* x, double* y)
{
    *x = *y = 0;
    if (!HasPicture(pane)) return;
    const double zoom = static_cast<double>(pane.zoom);
    *x = (static_cast<double>(fractionX) * WideOf(pane) - pane.panX) / (pane.scaleX * zoom) + Across(pane).origin;
    *y = (static_cast<double>(fractionY) * HighOf(pane) - pane.panY) / (pane.scaleY * zoom) + Down(pane).origin;
}

void TKReadPicture(const ImagePaneVars& pane, TKPicturePoint point, float rgb[3])
{
    rgb[0] = rgb[1] = rgb[2] = 0;
    if (!TKIsInPicture(pane, point)) return;
    if (pane.frameBuffer) {
        float rgba[4] = {};
        FBGetPixelFloat(pane.frameBuffer, point.x, point.y, rgba);
        std::copy_n(rgba, 3, rgb);
        return;
    }
    const uint8_t* pixel = pane.surface->pixels + static_cast<size_t>(point.y) * pane.surface->rowBytes +
                           static_cast<size_t>(point.x) * 4; // alpha, red, green, blue
    for (int channel = 0; channel < 3; ++channel)
        rgb[channel] = static_cast<float>(pixel[channel + 1] * 257) / 65535.0f;
}

TKPaneEffect TKZoomPane(ImagePaneVars* pane, bool closer, int32_t x, int32_t y)
{
    if (!HasPicture(*pane)) return {};
    const float zoom = closer ? Neighbour(kTKZoomSteps, pane->zoom) : Neighbour(kTKZoomStepsOut, pane->zoom);
    if (zoom == pane->zoom) return {.handled = true};
    double sourceX, sourceY;
    SourceOf(*pane, x, y, &sourceX, &sourceY);
    pane->zoom = zoom;
    pane->panX = sourceX - (x - Across(*pane).origin) * pane->scaleX * static_cast<double>(zoom);
    pane->panY = sourceY - (y - Down(*pane).origin) * pane->scaleY * static_cast<double>(zoom);
    ClampPan(pane);
    return {.handled = true, .repaints = true};
}

TKPaneEffect TKPanPane(ImagePaneVars* pane, int32_t right, int32_t down)
{
    const double zoom = static_cast<double>(pane->zoom), beforeX = pane->panX, beforeY = pane->panY;
    pane->panX -= right * pane->scaleX * zoom; // the picture follows the hand
    pane->panY -= down * pane->scaleY * zoom;
    ClampPan(pane);
    return {.handled = true, .repaints = pane->panX != beforeX || pane->panY != beforeY};
}

TKPaneEffect TKPaneWheel(ImagePaneVars* pane, int32_t x, int32_t y, int32_t delta)
{
    if (!pane->canZoom || delta == 0) return {};
    if ((delta > 0) != (pane->wheelRest > 0)) pane->wheelRest = 0;
    const int64_t turned = int64_t{pane->wheelRest} + delta;
    const int64_t notches = turned / kNotch;
    pane->wheelRest = static_cast<int32_t>(turned % kNotch);
    TKPaneEffect effect = {.handled = true};
    for (int64_t i = 0; i < std::min<int64_t>(std::abs(notches), kTKZoomStepCount); ++i)
        effect.repaints |= TKZoomPane(pane, notches > 0, x, y).repaints;
    return effect;
}

TKPaneEffect TKPanePress(ImagePaneVars* pane, int32_t x, int32_t y, TKPaneButton button, uint32_t modifiers)
{
    if (pane->mouseProc) {
        const TKPicturePoint point = TKPicturePointAt(*pane, x, y);
        pane->mouseProc(pane, point.x, point.y, button, modifiers);
    }
    if (pane->dragging || pane->panning) return {}; // a second button
    pane->heldButton = button;
    const bool pans = button == tkButtonMiddle || (button == tkButtonLeft && !pane->canZoom && !pane->pickTarget);
    if (button == tkButtonLeft && pane->pickTarget && pane->canSample) {
        pane->dragging = true;
        return Sample(*pane, x, y);
    }
    if (button == tkButtonLeft && pane->canSplit) {
        pane->grabbedEnd = TKSplitEndAt(*pane, x, y);
        pane->dragging = pane->grabbedEnd != 0;
        if (pane->dragging) return {.handled = true};
    }
    if (pans && CanPan(*pane)) {
        pane->panning = true;
        pane->lastX = x;
        pane->lastY = y;
        return {.handled = true};
    }
    if (button == tkButtonLeft && pane->canZoom) return TKZoomPane(pane, (modifiers & bpControlKey) == 0, x, y);
    return {};
}

TKPaneEffect TKPaneMove(ImagePaneVars* pane, int32_t x, int32_t y, uint32_t)
{
    if (pane->panning) {
        const TKPaneEffect effect = TKPanPane(pane, x - pane->lastX, y - pane->lastY);
        pane->lastX = x;
        pane->lastY = y;
        return effect;
    }
    if (!pane->dragging) {
        // A pick reads before the press too: the swatches show what is under the pointer.
        const bool reads = pane->pickTarget && pane->canSample && TKIsOverPicture(*pane, x, y);
        return reads ? Sample(*pane, x, y) : TKPaneEffect{};
    }
    if (pane->grabbedEnd != 0) return DragEnd(pane, x, y);
    return pane->pickTarget ? Sample(*pane, x, y) : TKPaneEffect{};
}

TKPaneEffect TKPaneRelease(ImagePaneVars* pane, int32_t x, int32_t y, TKPaneButton button, uint32_t modifiers)
{
    if ((pane->dragging || pane->panning) && button != pane->heldButton) return {};
    TKPaneEffect effect = TKPaneMove(pane, x, y, modifiers);
    if (pane->dragging && pane->grabbedEnd == 0 && pane->pickTarget) effect.pickEnded = true;
    effect.handled |= pane->dragging || pane->panning;
    TKPaneLoseGrab(pane);
    return effect;
}

void TKPaneLoseGrab(ImagePaneVars* pane)
{
    pane->dragging = pane->panning = false;
    pane->grabbedEnd = 0;
}

TKPaneCursor TKCursorAt(const ImagePaneVars& pane, int32_t x, int32_t y, uint32_t modifiers)
{
    const bool shift = (modifiers & bpShiftKey) != 0, control = (modifiers & bpControlKey) != 0;
    if (pane.pickTarget && pane.canSample)
        return shift ? (control ? tkCursorPickBoth : tkCursorPickShift)
                     : (control ? tkCursorPickControl : tkCursorPick);
    if (pane.canSplit && HasPicture(pane)) {
        const int32_t end = pane.grabbedEnd != 0 ? pane.grabbedEnd : TKSplitEndAt(pane, x, y);
        if (end == 1) return SplitCursor(pane.split.x1, pane.split.y1);
        if (end == 2) return SplitCursor(pane.split.x2, pane.split.y2);
    }
    if (!pane.canZoom || !HasPicture(pane)) return tkCursorPlain;
    const float next = control ? Neighbour(kTKZoomStepsOut, pane.zoom) : Neighbour(kTKZoomSteps, pane.zoom);
    return next == pane.zoom ? tkCursorZoomEnd : control ? tkCursorZoomOut : tkCursorZoomIn;
}

void TKPaneText(const ImagePaneVars& pane, char* text, uint32_t length)
{
    if (length == 0) return;
    const float* step = std::find(std::begin(kTKZoomSteps), std::end(kTKZoomSteps), pane.zoom);
    const char* words = step == std::end(kTKZoomSteps) ? "" : kZoomWords[step - std::begin(kTKZoomSteps)];
    if (!HasPicture(pane))
        std::snprintf(text, length, "%s", "No picture");
    else if (pane.pickTarget && pane.canSample)
        std::snprintf(text, length, "Zoom %s, red %.4f, green %.4f, blue %.4f", words,
                      static_cast<double>(pane.pickTarget[0]), static_cast<double>(pane.pickTarget[1]),
                      static_cast<double>(pane.pickTarget[2]));
    else
        std::snprintf(text, length, "Zoom %s", words);
}

void GetSplitLine(const ImagePaneVars& pane, float* x1, float* y1, float* x2, float* y2)
{
    *x1 = pane.split.x1;
    *y1 = pane.split.y1;
    *x2 = pane.split.x2;
    *y2 = pane.split.y2;
}

int32_t TKSplitEndAt(const ImagePaneVars& pane, int32_t x, int32_t y)
{
    if (!HasPicture(pane)) return 0;
    double fractionX, fractionY;
    FractionOf(pane, x, y, &fractionX, &fractionY);
    const double toFirst =
        std::hypot(fractionX - static_cast<double>(pane.split.x1), fractionY - static_cast<double>(pane.split.y1));
    const double toSecond =
        std::hypot(fractionX - static_cast<double>(pane.split.x2), fractionY - static_cast<double>(pane.split.y2));
    if (std::min(toFirst, toSecond) > kGrabReach) return 0;
    return toFirst <= toSecond ? 1 : 2;
}
