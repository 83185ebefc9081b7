// What the panes show: which picture, which display, and the refresh that is the last step of the road from a gesture to
// the screen.
//
// Pictures are composed into the session's surfaces here; windows only show them. Thread of everything here: main.
#pragma once

#include "src/TincturaUIDispProbe.h"
#include "src/TincturaUIDispSplit.h"
#include "src/support/TKScopeWindow.h"

struct TKSession;

/// Modes of the image pane: "Result|Source|Reference|Split Source|Split Ref|Luma Ranges".
enum : int32_t {
    tkImageResult = 0,
    tkImageSource = 1,
    tkImageReference = 2,
    tkImageSplitSource = 3,
    tkImageSplitReference = 4,
    tkImageLumaRanges = 5,
};
inline constexpr int32_t kTKImageModeCount = 6;

enum TKViewMode : uint32_t { tkViewSingle = 1, tkViewNormal = 2 };

/// The panes of a mask.
enum TKPaneBits : uint32_t {
    tkPaneSource = 1u << 0,
    tkPaneResult = 1u << 1,
    tkPaneReference = 1u << 2,
    tkPaneSplitSource = 1u << 3,
    tkPaneSplitReference = 1u << 4,
    tkPaneLumaRanges = 1u << 5,
    tkPaneAnalysisReference = 1u << 7, ///< the display "Reference"
};

/// Where displays are drawn.
enum TKScopePlace : uint32_t { tkScopesPane, tkScopesWindow };
inline constexpr uint32_t kTKScopePlaceCount = 2;

struct TKScopePort {
    ScopeSurface* surface; ///< that is drawn into; null while nobody sees it
    bool isStale;          ///< it is older than what it should show
};

/// A part of TKSession. The rest of the selection is in the preferences and in imagePaneMode.
struct TKViews {
    int32_t analysisTab;                           ///< ScopeTab; -1 before the panes exist
    int32_t vectorscopeZoom, comboVectorscopeZoom; ///< 1 to 10
    ScopeSplitLine split;
    ScopeSurface referenceSurface;        ///< the reference image, of the source's size; empty without one, and
                                          ///< after a clip of another size came
    bool previewBuilding, previewPlaying; ///< rapid preview; the displays then have no picture
    bool probeOn, ghostOn;                ///< options of the displays, off at the start
    bool probeHasPixel;                   ///< the pointer is over a picture
    int32_t probeX, probeY;               ///< its pixel
    ScopeProbeMemory probeMemory[kTKScopePlaceCount]; ///< by TKScopePlace
    const ScopeLetters* letters;                      ///< of the window system, or null
    TKScopePort port[kTKScopePlaceCount];             ///< by TKScopePlace
    TKScopeWindow window;                             ///< the displays' own
};

/// The state before the panes exist: no tab, zooms of 1, a split down the middle.
void TKInitViews(TKViews* views);

/// What the displays of a place show now, and back: the pane's combos go into the preferences' record. Numbers out of
/// range become the nearest, an unknown display of the combo its default. The picture that is analysed is one for both.
ScopeSelection TKSelectionOf(const TKSession* session, TKScopePlace place = tkScopesPane);
void TKStoreSelection(TKSession* session, const ScopeSelection& selection, TKScopePlace place = tkScopesPane);

/// What the displays draw with: preferences, letters, pipeline, pool.
ScopeContext TKScopeContextOf(const TKSession* session);
ScopePictures TKScopePicturesOf(const TKSession* session);

/// The surface of an image mode; null when there is none.
const ScopeSurface* TKSurfaceOfMode(const TKSession* session, int32_t mode);

/// Draws displays of any selection: the picture in view, and with the option the ghost of the reference behind it.
void TKDrawDisplays(TKSession* session, ScopeSurface* target, const ScopeSelection& selection);

/// The pixel under the pointer, or none; what shows the probe follows. Nothing happens while the probe is off.
void TKMoveProbe(TKSession* session, bool hasPixel, int32_t x, int32_t y);

/// What the probe tells of its pixel.
struct TKProbeReading {
    bool valid;
    const char* picture; ///< the name of what is read, where the view shows something else there; else empty
    int32_t x, y;
    ScopeProbe pixel; ///< of the picture that the displays analyse
    float rgb[3];     ///< of the frame, where one is behind that picture; else of the surface
    double level;     ///< luma in IRE, or in millivolts where the preferences say so
    bool inMillivolts;
};
TKProbeReading TKReadProbe(const TKSession* session);

/// The marks of that pixel in a place's displays of this size; returns their number, 0 without a pixel. Painted again, the
/// displays are not drawn again.
int32_t TKFindProbe(TKSession* session, TKScopePlace place, uint32_t width, uint32_t height,
                    ScopeProbeMark marks[kScopePaneMarkLimit]);

/// A reading in words: picture, place, 8 bits, 10 bits, float, level. Empty without a pixel.
void TKProbeText(const TKProbeReading& reading, char* text, uint32_t length);

/// Draws what the analysis pane shows into its port: erased first, then by the selection. With `force` at once, and the
/// window shows it before this returns; otherwise the port is marked, and drawn with the next paint. Panes of their own
/// draw nothing.
void UpdateAnalysisPane(TKSession* session, bool force);
/// For the paint: brings a port up to date. True when it had to be drawn.
bool TKDrawStaleAnalysis(TKSession* session, TKScopePlace place = tkScopesPane);

/// Shows another selection: keeps it where the effect says so, its zooms whenever they change, and draws it. For both
/// places.
void TKShowSelection(TKSession* session, TKScopePlace place, const ScopeSelection& selection, bool writes, bool force);

/// What the displays of a place show, in words, for a screen reader: their names, and the probe's reading.
void TKDisplaysText(const TKSession* session, TKScopePlace place, char* text, uint32_t length);

/// The refresh after ProcessImage: composes what the image pane shows, marks what changed, repaints. The render has made
/// the result surface already.
void RefreshAfterRender(TKSession* session, bool force);

/// The same without new pixels: a preference changed, or updates are suspended.
void RefreshDisplaysOnly(TKSession* session, bool force);

/// The source has new pixels and the result has none: what shows the source follows.
void TKRefreshSource(TKSession* session);

/// Chooses what the image pane shows. Leaving the source or the luma ranges renders the result first. A number without a
/// mode changes nothing.
void SelectImageDisplay(TKSession* session, int32_t value);

/// Draws the side of the split line that shows the result into the session's mask.
void TKDrawSplitMask(TKSession* session);

/// Whether frames are rendered in a mode.
bool TKModeShowsResult(int32_t mode);
