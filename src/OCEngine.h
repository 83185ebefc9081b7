// The correction engine: parameters and tone tables made from a grade, and the band routine that applies them.
//
// The road of a pixel is the constant table kOCStages: order, name, switch, function, and why it stands there. The
// readable kernel walks it pixel by pixel; the fast kernel gives the same bits.
#pragma once

#include "src/OCSettings.h"
#include "src/TincturaFrameBuffer.h"

#include <span>

inline constexpr uint32_t kOCToneEntries = 16385;     ///< 14 bits of input resolution, and the end
inline constexpr uint32_t kOCTransferEntries = 81925; ///< input 0 to 5 in steps of 1 / 16,384

/// A tone table and what continues it above an input of 1.
struct OCTone {
    const float* entry; ///< kOCToneEntries floats
    float top;          ///< entry 16,383
    float slope;        ///< by which the output rises for each 1 of input above 1
    /// Names the contents: no two tables that were ever built in this process share one. 0: not the engine's.
    uint64_t version = 0;
};

/// The three ranges in the order in which their tools are blended.
enum OCRange : uint32_t { ocShadows = 0, ocMidtones = 1, ocHighlights = 2, ocRangeCount = 3 };

struct OCHSLParams {
    float hue; ///< degrees
    float hueCosine, hueSine;
    float saturation; ///< factor, 1 is neutral
    float vibrance;   ///< factor, 1 is neutral
    float gain, pedestal;
    OCTone tone; ///< contrast, brightness and gamma
};

/// Of the RGB and CMY groups together, or of YCbCr: for each of three channels c, scale times c plus offset, then tone.
struct OCChannelParams {
    float scale[3], offset[3];
    OCTone tone[3];
};

struct OCTint {
    float u, v, strength;
};

/// Which picture a secondary shows; other values show the pixel as it is.
enum OCPreviewStyle : int32_t {
    ocPreviewOff = 0,
    ocPreviewDesaturate = 1, ///< grey outside the key
    ocPreviewMask = 2,       ///< red outside the key
    ocPreviewAlpha = 3,      ///< the key itself
};

struct OCKeySample {
    float y, u, v;
};

/// A secondary in force.
struct OCSecondaryParams {
    uint32_t on;
    int32_t style; ///< OCPreviewStyle or any other value
    uint32_t inverted;
    uint32_t sampleCount; ///< 0 to 4: those that are switched on, in their order
    OCKeySample sample[4];
    float lumaTolerance, chromaTolerance, softness;
    float hue; ///< degrees
    float hueCosine, hueSine;
    float saturation; ///< factor, 1 is neutral
    float gain, pedestal, inverseGamma;
    OCTint tint;
    OCTone tone;
};

enum OCLimitMethod : int32_t { ocReduceSaturation = 1, ocReduceLuma = 2, ocSmartLimit = 3 };

/// The limits on the signal. Method and system are the record's own words; the system has no effect on pixels.
struct OCLimiterParams {
    float chromaMax, chromaMin;                ///< of the composite signal, 1 is 100
    float lumaMax, knee, whiteLevel, maxLevel; ///< of luma, 1 is 1
    int32_t method;                            ///< OCLimitMethod; other values only clip luma
    int32_t system;
};

/// What the kernel reads: scalars of each tool, addresses of the tables, and summary flags. Read-only while bands run.
struct OCProcessParams {
    // Summary flags.
    bool hslMasterOn, hslHighOn, hslMidOn, hslShadowOn;
    bool hueOffsetEnabled;
    bool rgbMasterOn, cmyMasterOn, yccMasterOn;
    bool rgbRangeOn, cmyRangeOn, yccRangeOn;
    bool rgbRangeGamma, cmyRangeGamma, yccRangeGamma;
    bool rgbMasterGamma, cmyMasterGamma, yccMasterGamma;
    bool levelsEnabled, levelsInGamma;
    bool rgbCurvesEnabled, hslCurvesEnabled;
    bool highlightRecoveryIn;
    bool limiterEnabled, limiterPreview, limiterSoftClip;

    // Steps of the HSL stages that are not neutral.
    bool hslRangeHue, hslRangeGain, hslRangePedestal, hslRangeSaturation, hslRangeVibrance;
    bool hslMasterTone;

    // Luma range weights, kOCToneEntries floats each.
    const float* weight[ocRangeCount];
    uint64_t weightVersion; ///< of the three together, as in OCTone

    // What is always read at one index, side by side, so that one load serves three tables: kOCToneEntries rows of four
    // floats on 16-byte boundaries, shadows, midtones, highlights and 0. The fast kernel reads these, the readable one
    // the tables that they are copies of.
    const float* weightRows;
    const float* hslRangeRows;
    const float* rgbRangeRows[3]; ///< by channel
    const float* yccRangeRows[3];
    const float* hslCurveRows; ///< hue, saturation, lightness and 0

    float recoveryThreshold;       ///< 1 - 0.4 times the recovery that is in force
    float outputRecoveryThreshold; ///< computed alike; no stage uses it

    float inScale[3], inOffset[3];
    OCTone levels[3];
    float outScale[3], outOffset[3];

    OCHSLParams hslMaster, hslRange[ocRangeCount];
    OCTint tint[ocRangeCount], tintMaster;
    OCChannelParams rgbMaster, rgbRange[ocRangeCount];
    OCChannelParams yccMaster, yccRange[ocRangeCount];
    OCTone rgbCurve[3];
    /// By channel the curve's answers to the entries of the RGB master's tone, for inputs up to 1: the fast kernel takes
    /// both in one lookup where they follow each other. Null unless both are in force and YCbCr's master is off.
    const float* masterCurve[3];
    OCTone hueCurve, lightnessCurve, saturationCurve;
    OCSecondaryParams secondary[kOCSecondaryCount]; ///< A to F
    OCLimiterParams limiter;                        ///< of the last update that found it on

    // Source transfer: the luma range display reads the forward table.
    bool transferOn;
    OCTone transferForward, transferInverse;
};

/// Tables, parameters and the inputs that they were made from. One for each live grade; main thread between renders.
struct OCEngine;

/// Makes an engine whose parameters are those of a reset record, or bpMemFullErr and null.
BPStatus OCCreateEngine(OCEngine** engine);
void OCDisposeEngine(OCEngine* engine);

/// Builds parameters and tables from a grade. It works on a private copy in which everything switched off is neutral;
/// a table is rebuilt only when its inputs changed. Without memory the fatal error routine is called, the tables
/// stay as they were, and OCUpdateStatus tells so.   Thread: main, with no band in flight.
void OCUpdateParameters(OCEngine* engine, const OCSettings* settings);

/// bpMemFullErr when the last update lacked the memory for a table, so that older ones stand in for it; else bpNoErr.
BPStatus OCUpdateStatus(const OCEngine* engine);

/// The parameters of the last update.
const OCProcessParams* OCParametersOf(const OCEngine* engine);

/// How many tables the last update built; 0 when nothing changed. For tests and benchmarks.
uint32_t OCTablesBuilt(const OCEngine* engine);

/// Applies the parameters to all rows of `source`, as far as `destination` reaches; both in format 203, and they may be
/// the same. A null destination is left alone; `settings` and `flags` are carried along and not read. Another source
/// format is logged and leaves the destination alone. With the limiter on, its limits are logged once a call.
/// Thread: any, own rows.
void OCProcessImageBand(const OCEngine* engine, const FBFrame* source, const FBFrame* destination,
                        const OCSettings* settings, uint32_t flags, uint32_t taskIndex);

/// The readable kernel over the same band: one pixel at a time through kOCStages.
void OCProcessImageBandScalar(const OCProcessParams& params, const FBFrame* source, const FBFrame* destination);

/// The steps at which a run may begin: the orders of kOCStages up to 12, then the secondaries one by one, then the
/// limiter. The steps up to the last weighted one may ask for the luma of the source or the weights made of it.
inline constexpr uint32_t kOCFirstStep = 1, kOCLastWeightedStep = 7, kOCSecondaryStep = 13;
inline constexpr uint32_t kOCLimiterStep = kOCSecondaryStep + kOCSecondaryCount, kOCStepEnd = kOCLimiterStep + 1;

/// Display pixels that are made beside the result, with the bits that FBTransferFBFrameToPix would give: 32 or BGRA.
struct OCDisplay {
    uint8_t* pixels; ///< null: none
    uint32_t rowBytes;
    FBPixelFormat format;
};

/// A run of the kernel over a band, with all that it may take over from an earlier run and leave for a later one. All
/// frames are in format 203; with `start`, `keep` or `display` they have one height and one length of rows.
struct OCBandRun {
    const FBFrame* source;
    const FBFrame* destination; ///< null: nothing happens; may be the source when nothing else is asked for
    const FBFrame* start; ///< planes R, G, B as they are before `firstStep`, and the source's luma; null: the source
    uint32_t firstStep;
    const FBFrame*
        keep; ///< receives the same before `keepBefore`, luma only where a later step needs it; may be `start`
    uint32_t keepBefore; ///< above `firstStep`
    OCDisplay display;
    bool quiet; ///< no log lines: for callers that cut a frame into many runs and call OCLogLimiter once a frame
};

/// The run from the source to the result and nothing else.
inline OCBandRun OCPlainRun(const FBFrame* source, const FBFrame* destination)
{
    OCBandRun run = {};
    run.source = source;
    run.destination = destination;
    return run;
}

/// Applies the parameters to a run; logs what OCProcessImageBand logs, unless quiet.   Thread: any, own rows.
void OCProcessImageRun(const OCEngine* engine, const OCBandRun& run);

/// Logs the limits of the limiter, in two lines, when it is on.   Thread: any.
void OCLogLimiter(const OCEngine* engine);

/// Whether a step acts on pixels, and whether it is one that reads weights.
bool OCStepIsOn(const OCProcessParams& params, uint32_t step);
bool OCStepIsWeighted(uint32_t step);

/// The fast kernel by name of its instruction set, for tests and benchmarks.
struct OCKernel {
    const char* name;
    void (*run)(const OCProcessParams& params, const FBFrame* source, const FBFrame* destination);
    void (*runFrom)(const OCProcessParams& params, const OCBandRun& run) = nullptr; ///< the general form
};

/// Every fast kernel that this machine can run.
std::span<const OCKernel> OCFastKernels();

/// Rows of the luma range display; see MPTasks.h.   Thread: any, own rows.
void OCRenderLumaRangesBand(const OCEngine* engine, const FBFrame* source, void* destination, uint32_t rowBytes,
                            FBPixelFormat format);
