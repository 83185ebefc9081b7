// The analysis displays: waveform monitors, vectorscope, histograms, tone curve, and the combo of four. Plain functions
// that draw into a ScopeSurface; nothing here knows a window.
//
// A display shows the 8-bit surface in view, in its own pixels. Every draw starts anew: nothing persists between calls
// but tables. Nothing is reported; what cannot be drawn is left out.   Thread: main, with the source at rest.
#pragma once

#include "src/MPTasks.h"
#include "src/OCHistogram.h"
#include "src/OCLumaTable.h"
#include "src/ScopeDraw.h"

/// The displays by their number in menus and preferences.
enum ScopeDisplay : int32_t {
    scopeLumaWFM = 1,
    scopeYCWFM = 2,
    scopeRGBWFM = 3,
    scopeGBRWFM = 4,
    scopeYRGBWFM = 5,
    scopeYCbCrWFM = 6,
    scopeOverlayWFM = 7,
    scopeVectorscope = 8,
    scopeHistograms = 9,
    scopeToneCurve = 10,
};
inline constexpr int32_t kScopeDisplayCount = 10;

/// The names that menus show, by number; an unknown number has an empty one.
const char* ScopeDisplayName(int32_t display);

/// What the displays read of the preferences. Levels, setup and system may hold anything; what cannot be scaled draws
/// nothing.
struct ScopeSettings {
    uint32_t wfmColor;         ///< "WFM Color"; not 0: luma traces take the picture's colours
    uint32_t wfmUnitsMV;       ///< "WFM Units mV"
    uint32_t vsCalibration100; ///< "VS Calibration 100 Percent"
    uint32_t videoSystem;      ///< "Video System": 1 NTSC, 2 PAL, 3 709, 4 240M
    int32_t videoBlackLevel, videoWhiteLevel;
    int32_t videoBlackSetupPresent; ///< above 0: setup of 7.5 IRE
    uint32_t uiSaturation;          ///< 16.16
    int32_t vectorscopeZoom;        ///< 1 to 10
    bool updateSuspended;           ///< by Caps Lock: graticules only

    bool operator==(const ScopeSettings&) const = default;
};

/// The defaults of the preferences, zoom 1.
ScopeSettings ScopeDefaultSettings();

/// What a display draws with, beside its target and its source.
struct ScopeContext {
    ScopeSettings settings;
    const ScopeLetters* letters; ///< null: no texts
    const ScopeWitness* witness; ///< for tests, or null
    const ScopeRect* clip;       ///< nothing is drawn outside; null: the whole target
    bool readable;               ///< the readable kernels instead of the fast ones; same bytes
    // For the tone curve.
    const ScopeSurface* resultSurface; ///< a source with this address is measured through the pipeline
    const OCEngine* engine;            ///< after OCUpdateParameters; null: the plain ramp
    const OCSettings* liveSettings;
    uint32_t taskCount;
    MPTask* tasks;
};

/// Default settings, no letters, no pipeline, one task.
ScopeContext ScopeDefaultContext();

// Tables ---------------------------------------------------------------------------------------------------------------

/// Six runs of 256 entries in 16.16: B-Y of a pixel is run 2 [B] - run 1 [G] - run 0 [R]; R-Y is run 3 [R] - run 5 [B] -
/// run 4 [G]. Rebuilt only when another matrix is asked for; an unknown one counts as ITU.R BT.709.
const int32_t* GetChromaTable(int32_t matrix);

inline constexpr int32_t kChromaMagnitudeSide = 160;
/// 160 rows of 160 bytes: the rounded length of (row, column).
const uint8_t* GetChromaMagnitudeTable();

/// 256 bytes: the vectorscope's gamma.
const uint8_t* GetVectorscopeGamma();

struct ScopePalette {
    ScopeColor graticule, minorGraticule, red, green, blue, luma;
    ScopeColor text; ///< of labels that are not muted
};
void PrepareScopePalette(ScopePalette* palette, uint32_t uiSaturation);

/// The monitors' own video system, 1 NTSC, 2 PAL or 3 HD, and matrix for a value of the preference "Video System". An
/// unknown value counts as NTSC.
int32_t ScopeVideoSystem(uint32_t preference);
int32_t ScopeMatrix(uint32_t preference);

// Waveform monitors ----------------------------------------------------------------------------------------------------

enum WaveformFlags : uint32_t {
    waveformTrace = 0x001,        ///< draw the trace
    waveformYC = 0x002,           ///< fixed scale and chroma envelope
    waveformPictureColor = 0x004, ///< luma traces take the sample's colour
    waveformAlphaFirst = 0x100,   ///< source in memory alpha, red, green, blue; else blue, green, red, alpha
    waveformIRE = 0x400,          ///< graticule in IRE; else millivolts
};

enum WaveformMode : int32_t {
    waveformSingle = 1,
    waveformYCbCr = 2,
    waveformRGB = 3,
    waveformOverlay = 4,
    waveformYRGB = 5,
    waveformGBR = 6,
};

struct WaveformParams {
    ScopeSurface* target;
    const ScopeRect* bounds; ///< of the target; drawing is clipped to it
    const uint8_t* sourcePixels;
    int32_t sourceWidth, sourceHeight, sourceRowBytes; ///< 720, 486 and 0 without a source
    uint32_t flags;                                    ///< WaveformFlags
    int32_t mode;                                      ///< WaveformMode
    int32_t videoSystem;                               ///< 1 NTSC, 2 PAL, 3 HD
    int32_t matrix;                                    ///< OCMatrix
    int32_t penSize;                                   ///< of the graticule; 2 forces its rows even
    int32_t lineCount;                                 ///< 0 all, -1 `singleLine` alone, n about n lines
    int32_t singleLine;
    int32_t whiteLevel, blackLevel; ///< code values
    int32_t setup;                  ///< IRE; 200 stands for 7.5
    int32_t traceGain;              ///< 16.16, of the chroma envelope's colour
    int32_t backgroundFade;         ///< 0: black
    int32_t uiSaturation;           ///< 16.16
};

/// One of the seven waveform monitors; other numbers draw nothing.
///
/// target      receives the display
/// rect        where, or null for the whole target; a margin of 1.6 percent of its width stays free
/// source      the picture in view, or null for the graticule alone
void DrawWaveformDisplay(ScopeSurface* target, const ScopeRect* rect, const ScopeSurface* source, int32_t display,
                         const ScopeContext& context);

/// The same from a filled record. Of the context only letters, witness, clip and `readable` count.
void DrawWaveformMonitor(const WaveformParams& params, const ScopeContext& context);

// Vectorscope ----------------------------------------------------------------------------------------------------------

enum VectorscopeFlags : uint32_t {
    vectorscopeTrace = 0x01,
    vectorscopeAlphaFirst = 0x10,
};

struct VectorscopeParams {
    ScopeSurface* target;
    const ScopeRect* bounds; ///< 4:3; may reach beyond the target
    const uint8_t* sourcePixels;
    int32_t sourceWidth, sourceHeight, sourceRowBytes;
    uint32_t flags;     ///< VectorscopeFlags
    int32_t traceScale; ///< 1
    int32_t videoSystem, matrix;
    int32_t zoom; ///< 1 to 10
    int32_t lineCount, singleLine;
    int32_t whiteLevel, blackLevel, setup;
    int32_t calibration75; ///< 1: 75% bars reach the targets; 0: 100% bars do
    int32_t traceGain;
    int32_t backgroundFade;
    int32_t uiSaturation;
};

/// The vectorscope, 4:3 and centred in the rectangle (null: the whole target). In a narrow rectangle it is wider than
/// that; the context's clip keeps it from its neighbours.
void DrawVectorscopeDisplay(ScopeSurface* target, const ScopeRect* rect, const ScopeSurface* source,
                            const ScopeContext& context);
void DrawVectorscope(const VectorscopeParams& params, const ScopeContext& context);

// Histograms -----------------------------------------------------------------------------------------------------------

/// What the statistics beside a row show; all but the total are bin numbers.
struct HistogramStatistics {
    int32_t minimum; ///< -1 in an empty row
    int32_t maximum, peak, mean;
    uint64_t total; ///< samples; 0 means that nothing is drawn
};

/// Where things lie in a histogram display.
struct HistogramLayout {
    uint32_t binCount;
    bool halfWidth; ///< two levels a bin, so twice the scale
    bool showStats;
    int32_t textSize;   ///< of the statistics
    int32_t plotHeight; ///< of all rows
    ScopeRect row[4];   ///< luma, red, green, blue, frames included
};

/// Four distributions of the picture in view; `showStats` asks for statistics, which need room.
void DrawHistograms(ScopeSurface* target, const ScopeRect* rect, const ScopeSurface* source, bool showStats,
                    const ScopeContext& context);

HistogramLayout HistogramLayoutOf(const ScopeRect& rect, bool showStats, const ScopeContext& context);

/// Counts the samples of a surface: of a picture wider than 720 pixels the left half, of one with more than 576 lines
/// every second one. Luma by the table last asked for. Adds to what the arrays hold; an unknown bin count adds nothing.
/// The lines are shared by the tasks (null: none).   Thread: main.
void AccumulateHistograms(const ScopeSurface& source, const HistogramSet& set, uint32_t taskCount, MPTask* tasks);
void AccumulateHistogramsScalar(const ScopeSurface& source, const HistogramSet& set);

/// Pixels for each count: a bin with 2 percent of the samples reaches the top.
double HistogramScale(uint32_t sourceWidth, uint32_t sourceHeight, int32_t rowHeight, bool halfWidth);

HistogramStatistics HistogramStatisticsOf(const uint32_t* bins, uint32_t binCount);

/// One row in the port's colour; texts in `textColor`, as far as they stay inside `pane`.
void DrawHistogramRow(ScopePort* port, const ScopeRect& row, const ScopeRect& pane, const uint32_t* bins,
                      uint32_t binCount, double scale, bool showStats, ScopeColor textColor);

// Tone curve -----------------------------------------------------------------------------------------------------------

/// The transfer function of the live settings, when the source is the result surface; otherwise the diagonal. Without a
/// source the graticule alone.
void DrawToneCurve(ScopeSurface* target, const ScopeRect* rect, const ScopeSurface* source,
                   const ScopeContext& context);

/// The square that holds the curve, its outline included.
ScopeRect ToneCurvePlot(const ScopeRect& rect);
