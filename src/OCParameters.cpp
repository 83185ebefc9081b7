// The engine as a whole: from a grade to parameters and tone tables.
#include "src/OCEngineTables.h"
#include "src/platform/BPLog.h"
#include "src/platform/BPMemory.h"

using namespace ocengine;

BPStatus OCCreateEngine(OCEngine** engine)
{
    *engine = nullptr;
    auto* made = static_cast<OCEngine*>(BPAllocate(sizeof(OCEngine)));
    if (!made) return bpMemFullErr;
    made->tables = static_cast<float*>(BPAllocate(sizeof(float) * kTableStride * kTableCount));
    if (!made->tables) {
        BPFree(made);
        return bpMemFullErr;
    }
    FillNeutral(made);
    auto* neutral = static_cast<OCSettings*>(BPAllocate(sizeof(OCSettings)));
    if (neutral) {
        OCResetSettings(neutral, kOCResetAll, kOCResetAll, kOCResetDefaults);
        OCUpdateParameters(made, neutral);
        BPFree(neutral);
    }
    if (!made->weightsBuilt) { // without weights no pixel can be sent down the road
        OCDisposeEngine(made);
        return bpMemFullErr;
    }
    *engine = made;
    return bpNoErr;
}

void OCDisposeEngine(OCEngine* engine)
{
    if (!engine) return;
    BPFree(engine->calcArray);
    BPFree(engine->tables);
    BPFree(engine);
}

void OCUpdateParameters(OCEngine* engine, const OCSettings* settings)
{
    engine->status = bpNoErr;
    if (!engine->calcArray) engine->calcArray = static_cast<float*>(BPAllocate(kOCToneEntries * sizeof(float)));
    if (!engine->calcArray) {
        engine->status = bpMemFullErr;
        BPFatalError("Insufficient memory for calcArray during parameter update", kTitle);
        return;
    }
    engine->tablesBuilt = 0;
    OCProcessParams& p = engine->params;
    // Deliberate: whether the recovery runs is asked of the live grade, where it begins of the neutral copy. With the
    // Levels master block off it then works on super-white alone.
    p.highlightRecoveryIn = settings->inputControls_highlight_recovery != 0;
    OCSettings s = *settings;
    OCNeutraliseSettings(&s);
    p.recoveryThreshold = 1 - 0.4f * s.inputControls_highlight_recovery;
    p.outputRecoveryThreshold = 1 - 0.4f * s.outputControls_highlight_recovery;
    UpdateHSL(engine, s);
    UpdateHueOffset(engine, s);
    UpdateRGB(engine, s);
    UpdateYCbCr(engine, s);
    UpdateLevels(engine, s);
    UpdateRGBCurves(engine, s);
    UpdateMasterCurves(engine);
    UpdateHSLCurves(engine, s);
    UpdateWeights(engine, s);
    UpdateSecondaries(engine, s);
    UpdateLimiter(engine, s);
    UpdateTransfer(engine, s);
}

BPStatus OCUpdateStatus(const OCEngine* engine)
{
    return engine->status;
}

const OCProcessParams* OCParametersOf(const OCEngine* engine)
{
    return &engine->params;
}

uint32_t OCTablesBuilt(const OCEngine* engine)
{
    return engine->tablesBuilt;
}
