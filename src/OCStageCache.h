// The stage cache: while one control moves, everything upstream of the first step that it touches need not be computed
// again.
//
// The rule: every run leaves behind what each step's outcome depends on besides the pixel, its key: parameters as bits,
// tables by their versions. The next run compares. Planes that are kept before a step stay good as long as no step in
// front of it and not the source has changed. When a step moves, its input planes are kept, and from the next move on
// the run begins there, with the same bits as a whole run.
#pragma once

#include "src/OCEngine.h"

inline constexpr uint32_t kOCStepKeyWords = 640;

/// The keys of all steps, one behind the other. A step that is off has an empty key.
struct OCStepKeys {
    uint32_t end[kOCStepEnd]; ///< in words, of the key of step i; end[0] is 0
    uint32_t word[kOCStepKeyWords];
};

/// The keys of the parameters as they stand.   Thread: main.
OCStepKeys OCStepKeysOf(const OCProcessParams& params);

/// The first step whose keys differ, or kOCStepEnd.
uint32_t OCFirstChangedStep(const OCStepKeys& before, const OCStepKeys& now);

/// One for each source. A record of zeros is an empty cache. At most one frame of the source's size is kept.
struct OCStageCache {
    bool hasRun; ///< the keys are those of the last run
    OCStepKeys keys;
    FBFrame source;  ///< as it was in that run; its pixels are not looked at
    FBFrame* planes; ///< R, G, B before `step`, and the source's luma; null until something is kept
    uint32_t step;   ///< 0: the planes hold nothing
};

/// Decides where the next run begins and what it keeps, and takes it as done: the caller executes it over every row.
/// Frames that are not alike (size, row bytes, format) or that share pixels, and a lack of memory, give a whole run.
/// Thread: main, with no band in flight.
OCBandRun OCPlanRun(OCStageCache* cache, const OCEngine* engine, const FBFrame* source, const FBFrame* destination);

/// The pixels of the source changed: the next run is a whole one. The memory stays for later.   Thread: main.
void OCForgetStages(OCStageCache* cache);

/// Forgets and frees.   Thread: main.
void OCDisposeStageCache(OCStageCache* cache);
