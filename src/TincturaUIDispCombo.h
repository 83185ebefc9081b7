// The analysis pane: which picture it analyses, which display it draws, and the combo of four. Records and plain
// functions; a window shows what they leave in the surface.
#pragma once

#include "src/TincturaUIDisp.h"

/// The pictures of the image pane, as "Right Pane Default" counts them from 1.
enum ScopeImage : int32_t {
    scopeImageResult = 0,
    scopeImageSource = 1,
    scopeImageReference = 2,
    scopeImageSplitSource = 3,
    scopeImageSplitReference = 4,
    scopeImageLumaRanges = 5,
};

/// The tabs of the analysis pane.
enum ScopeTab : int32_t {
    scopeTabCombo = 0,
    scopeTabReference = 1,
    scopeTabLumaWFM = 2, ///< to 8: the waveform monitors in the order of their numbers
    scopeTabVectorscope = 9,
    scopeTabHistograms = 10,
    scopeTabToneCurve = 11,
    scopeTabGallery = 12,
};
inline constexpr int32_t kScopeTabCount = 13;

/// A tab's title, what it draws, and whether it is a pane of its own.
struct ScopeTabRow {
    const char* title;
    int32_t display; ///< a ScopeDisplay; 0 for the combo and for panes of their own
    bool isPane;     ///< draws itself: the reference picture, the gallery
};

/// The row of a tab; null for a number without one.
const ScopeTabRow* ScopeTabAt(int32_t tab);

enum ScopeQuadrant : int32_t { scopeUpperLeft = 0, scopeUpperRight = 1, scopeLowerLeft = 2, scopeLowerRight = 3 };
inline constexpr int32_t kScopeQuadrantCount = 4;

/// What the analysis pane remembers. Selections and zooms are the preferences'; flags are the session's.
struct ScopeSelection {
    int32_t imageSelection;                      ///< ScopeImage
    int32_t analysisSelection;                   ///< ScopeTab
    int32_t comboSelection[kScopeQuadrantCount]; ///< ScopeDisplay
    int32_t vectorscopeZoom;                     ///< of the pane, 1 to 10
    int32_t comboVectorscopeZoom;                ///< of the quadrants, 1 to 10
    bool isPlaying;                              ///< either of the transport's playback flags
};

/// Result, combo of Luma WFM, Vectorscope, Tone Curve and Histograms, zooms of 1.
ScopeSelection ScopeDefaultSelection();

/// The pictures that may be analysed; each may be null.
struct ScopePictures {
    const ScopeSurface *result, *source, *reference;
};

/// The picture that the displays analyse. While something plays, the result counts as missing.
const ScopeSurface* ScopePictureOf(const ScopeSelection& selection, const ScopePictures& pictures);

/// Draws the analysis pane into the whole target: black, then the selected display. Panes of their own stay black.
void DrawAnalysisPane(ScopeSurface* target, const ScopeSelection& selection, const ScopePictures& pictures,
                      const ScopeContext& context);

// The combo ------------------------------------------------------------------------------------------------------------

struct ComboLayout {
    int32_t leftWidth, rightWidth, halfHeight;
    int32_t inset;
    ScopeRect quadrant[kScopeQuadrantCount]; ///< whole, by ScopeQuadrant
    ScopeRect display[kScopeQuadrantCount];  ///< inset
};

/// A right half of 241 to 269 pixels becomes 270, so that a vectorscope has room.
ComboLayout ComboLayoutOf(const ScopeRect& rect);

/// Four displays and the lines between them. `zoom` is the vectorscopes' own. A quadrant's drawing stays inside it.
void DrawComboDisplay(ScopeSurface* target, const ScopeRect* rect, const ScopeSurface* source,
                      const int32_t comboSelection[kScopeQuadrantCount], int32_t zoom, const ScopeContext& context);

/// One display by its number; an unknown number draws nothing.
void DrawComboQuadrant(ScopeSurface* target, const ScopeRect& rect, const ScopeSurface* source, int32_t display,
                       const ScopeContext& context);
