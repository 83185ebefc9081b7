// From a grade to what is made of curves: RGB and HSL curves, the weights of the ranges, the source transfer.
#include "src/BPMath.h"
#include "src/OCCurves.h"
#include "src/OCEngineTables.h"
#include "src/OCStages.h"
#include "src/OCTransfer.h"
#include "src/platform/BPLog.h"
#include "src/platform/BPMemory.h"

#include <algorithm>
#include <cstring>

using namespace ocengine;

// Curves ---------------------------------------------------------------------------------------------------------------

namespace {

bool SameCurve(const HCurve& a, const HCurve& b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

float UnitOf(float value)
{
    return value > 0 ? (value < 1 ? value : 1) : 0;
}

void SetHSLCurves(OCEngine* engine)
{
    engine->params.hueCurve = ToneAt(engine, kHSLCurveSlot);
    engine->params.saturationCurve = ToneAt(engine, kHSLCurveSlot + 1);
    engine->params.lightnessCurve = ToneAt(engine, kHSLCurveSlot + 2);
    engine->params.hslCurveRows = LaySideBySide(engine, kHSLCurveRows, kHSLCurveSlot, 1);
}

} // namespace

void ocengine::UpdateRGBCurves(OCEngine* engine, const OCSettings& s)
{
    OCProcessParams& p = engine->params;
    p.rgbCurvesEnabled = s.curvesOn && s.rgbCurvesOn;
    if (!p.rgbCurvesEnabled) return;
    const bool masterChanged = !engine->rgbCurvesBuilt || !SameCurve(s.rgbCurve[0], engine->rgbCurve[0]);
    bool changed[3] = {}; // a channel's own curve
    bool any = masterChanged;
    for (uint32_t c = 0; c < 3; ++c) {
        changed[c] = !engine->rgbCurvesBuilt || !SameCurve(s.rgbCurve[c + 1], engine->rgbCurve[c + 1]);
        any = any || changed[c];
    }
    if (any) {
        auto* masterLookup = static_cast<float*>(BPAllocate(kOCToneEntries * sizeof(float)));
        if (!masterLookup) {
            engine->status = bpMemFullErr;
            BPFatalError("Insufficient memory for masterLookup during parameter update", kTitle);
            return;
        }
        // The channels go through the master. A failure leaves the tables that are there.
        BPStatus err = OCBuildCurveTable(&s.rgbCurve[0], masterLookup);
        for (uint32_t c = 0; c < 3 && err == bpNoErr; ++c)
            if (changed[c]) err = OCBuildCurveTable(&s.rgbCurve[c + 1], TableAt(engine, kOwnCurve + c));
        for (uint32_t c = 0; c < 3 && err == bpNoErr; ++c) {
            if (!masterChanged && !changed[c]) continue;
            const float* own = TableAt(engine, kOwnCurve + c);
            float* table = TableAt(engine, kRGBCurveSlot + c);
            for (uint32_t i = 0; i < kOCToneEntries; ++i)
                table[i] = masterLookup[static_cast<uint32_t>(UnitOf(own[i]) * 16384.0f + 0.5f)];
            MarkChanged(engine, kRGBCurveSlot + c);
            ++engine->tablesBuilt;
        }
        BPFree(masterLookup);
        if (err != bpNoErr) engine->status = err;
        engine->rgbCurvesBuilt = err == bpNoErr;
        if (err == bpNoErr) std::copy_n(s.rgbCurve, 4, engine->rgbCurve);
    }
    for (uint32_t c = 0; c < 3; ++c) p.rgbCurve[c] = ToneAt(engine, kRGBCurveSlot + c, kLongBase);
}

void ocengine::UpdateMasterCurves(OCEngine* engine)
{
    OCProcessParams& p = engine->params;
    const bool gamma = p.rgbMasterGamma || p.cmyMasterGamma;
    const bool inForce = OCStepIsOn(p, 8) && gamma && !OCStepIsOn(p, 9) && OCStepIsOn(p, 10);
    for (uint32_t c = 0; c < 3; ++c) {
        p.masterCurve[c] = nullptr;
        if (!inForce) continue;
        const OCTone& first = p.rgbMaster.tone[c];
        const OCTone& second = p.rgbCurve[c];
        float* table = TableAt(engine, kMasterCurve + c);
        uint64_t* madeOf = engine->masterCurveOf[c];
        if (madeOf[0] != first.version || madeOf[1] != second.version) {
            for (uint32_t i = 0; i < kOCToneEntries; ++i) table[i] = ToneLookup(second, first.entry[i]);
            madeOf[0] = first.version;
            madeOf[1] = second.version;
            ++engine->tablesBuilt;
        }
        p.masterCurve[c] = table;
    }
}

void ocengine::UpdateHSLCurves(OCEngine* engine, const OCSettings& s)
{
    OCProcessParams& p = engine->params;
    p.hslCurvesEnabled = s.curvesOn && s.hslCurvesOn;
    if (!p.hslCurvesEnabled) return;
    bool changed[3] = {};
    for (uint32_t c = 0; c < 3; ++c) {
        changed[c] = !engine->hslCurvesBuilt || !SameCurve(s.hslCurve[c], engine->hslCurve[c]);
        if (!changed[c]) continue;
        // None is taken over before all are there: a failure leaves the three that belong together.
        if (BPStatus err = OCBuildCurveTable(&s.hslCurve[c], TableAt(engine, kNewHSLCurve + c)); err != bpNoErr) {
            engine->status = err;
            return;
        }
    }
    if (!changed[0] && !changed[1] && !changed[2]) return;
    for (uint32_t c = 0; c < 3; ++c) {
        if (!changed[c]) continue;
        const float* made = TableAt(engine, kNewHSLCurve + c);
        float* table = TableAt(engine, kHSLCurveSlot + c);
        for (uint32_t i = 0; i < kOCToneEntries; ++i) // hue is a shift, saturation and lightness are factors
            table[i] = c == 0 ? made[i] - 0.5f : 2 * made[i];
        MarkChanged(engine, kHSLCurveSlot + c);
        ++engine->tablesBuilt;
    }
    engine->hslCurvesBuilt = true;
    std::copy_n(s.hslCurve, 3, engine->hslCurve);
    SetHSLCurves(engine);
}

// Luma ranges -----------------------------------------------------------------------------------------------------------

void ocengine::UpdateWeights(OCEngine* engine, const OCSettings& s)
{
    float* table[ocRangeCount] = {TableAt(engine, kWeightSlot), TableAt(engine, kWeightSlot + 1),
                                  TableAt(engine, kWeightSlot + 2)};
    for (uint32_t r = 0; r < ocRangeCount; ++r) engine->params.weight[r] = table[r];
    OCLumaRangeBlock inputs = s.lumaRange;
    inputs.controlState[0] = inputs.controlState[1] = 0;
    if (engine->weightsBuilt && std::memcmp(&inputs, &engine->lumaRange, sizeof inputs) == 0) return;
    if (OCBuildLumaRangeTables(&inputs, table[ocShadows], table[ocMidtones], table[ocHighlights]) != bpNoErr) {
        engine->status = bpMemFullErr;
        return;
    }
    engine->params.weightRows = LaySideBySide(engine, kWeightRows, kWeightSlot, 1);
    engine->tablesBuilt += ocRangeCount;
    MarkChanged(engine, kWeightSlot);
    engine->params.weightVersion = engine->version[kWeightSlot];
    engine->weightsBuilt = true;
    engine->lumaRange = inputs;
}

// Source transfer -------------------------------------------------------------------------------------------------------

namespace {

void BuildVideoGamma(float g, float* inverse)
{
    const float ig = 1 / g;
    const float knee = BPPower(0.018f, ig);
    const float a = (g >= 1 ? g - 1 : 1 - g) * 0.0811f;
    const float kneeValue = (1 + a) * knee - a;
    FillRamp(inverse);
    BPPowerArray(inverse, static_cast<double>(ig), inverse, kOCToneEntries);
    for (uint32_t i = 0; i < kOCToneEntries; ++i) {
        const float x = static_cast<float>(i) / 16384.0f;
        if (g >= 1)
            inverse[i] = x < 0.018f ? x * kneeValue / 0.018f : inverse[i] * (1 + a) - a;
        else
            inverse[i] = x < 0.018f ? x * 0.018f / kneeValue : inverse[i] * (1 - a) + a;
    }
}

void BuildLogTransfer(float refBlack, float refWhite, const OCCineonScale& scale, float* forward)
{
    for (uint32_t i = 0; i < kOCToneEntries; ++i) forward[i] = static_cast<float>(i) / 16384.0f * 1023.0f;
    OCCineonToLightArray(forward, kOCToneEntries, refBlack, refWhite, scale);
}

void LogTheLog(float refBlack, float refWhite, const OCCineonScale& scale)
{
    BPDebugLog("breakPoint=%1.4f, gain=%1.4f, offset=%1.4f, kneeOffset=%1.4f, kneeGain=%1.4f, refWhite=%1.4f, "
               "refBlack=%1.4f\n",
               static_cast<double>(refBlack / 1023), static_cast<double>(scale.gain), static_cast<double>(scale.offset),
               0.0, 0.0, static_cast<double>(refWhite), static_cast<double>(refBlack));
}

} // namespace

void ocengine::UpdateTransfer(OCEngine* engine, const OCSettings& s)
{
    OCProcessParams& p = engine->params;
    const OCSourceTransfer& t = s.transfer;
    p.transferOn = t.transferOn != 0;
    if (p.transferOn) {
        constexpr float video = 1, log = 2, plain = 3; // what a slot was made from
        if (t.transferVideoGamma) {
            if (Renew(engine, kInverseSlot, KeyOf({video, t.transferGamma})))
                BuildVideoGamma(t.transferGamma, TableAt(engine, kInverseSlot));
        } else if (t.transferLog) {
            const auto refBlack = static_cast<float>(t.transferRefBlack);
            const auto refWhite = static_cast<float>(t.transferRefWhite);
            const OCCineonScale scale = OCCineonScaleOf(refBlack, refWhite);
            if (Renew(engine, kForwardSlot, KeyOf({log, refBlack, refWhite})))
                BuildLogTransfer(refBlack, refWhite, scale, TableAt(engine, kForwardSlot));
            LogTheLog(refBlack, refWhite, scale); // at each update, built anew or not
        } else if (!t.transferOtherA && !t.transferOtherB) {
            const bool forwardChanged = Renew(engine, kForwardSlot, KeyOf({plain, t.transferGamma}));
            const bool inverseChanged = Renew(engine, kInverseSlot, KeyOf({plain, t.transferGamma}));
            BPDebugLog("^^^^^^^^^^ updating table for gamma %1.4f\n", static_cast<double>(t.transferGamma));
            if (forwardChanged || inverseChanged) {
                FillRamp(engine->calcArray);
                BPPowerArray(engine->calcArray, t.transferGamma, TableAt(engine, kForwardSlot), kOCToneEntries);
                BPPowerArray(engine->calcArray, 1 / t.transferGamma, TableAt(engine, kInverseSlot), kOCToneEntries);
            }
        }
    }
    p.transferForward = ToneAt(engine, kForwardSlot);
    p.transferInverse = ToneAt(engine, kInverseSlot);
}

void ocengine::FillNeutral(OCEngine* engine)
{
    OCProcessParams& p = engine->params;
    FillRamp(TableAt(engine, kForwardSlot));
    FillRamp(TableAt(engine, kInverseSlot));
    for (uint32_t c = 0; c < 3; ++c) {
        FillRamp(TableAt(engine, kRGBCurveSlot + c));
        MarkChanged(engine, kRGBCurveSlot + c);
        MarkChanged(engine, kHSLCurveSlot + c);
        p.rgbCurve[c] = ToneAt(engine, kRGBCurveSlot + c, kLongBase);
        std::fill_n(TableAt(engine, kHSLCurveSlot + c), kOCToneEntries, c == 0 ? 0.0f : 1.0f);
    }
    SetHSLCurves(engine);
}
