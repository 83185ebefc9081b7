// From a grade to the parameters of the secondaries and of the limiter.
#include "src/OCEngineTables.h"
#include "src/OCTint.h"

#include <cmath>

using namespace ocengine;

namespace {

/// Y, U and V of a sample that the user has picked.
OCKeySample SampleOf(const OCColorSample& s)
{
    // Deliberate: green's factor of V is not that of the pixels, it differs in the seventh place.
    return {.y = 0.299f * s.red + 0.587f * s.green + 0.114f * s.blue,
            .u = 0.436798f * s.blue - (0.289391f * s.green + 0.147407f * s.red),
            .v = 0.614777f * s.red - 0.5147996f * s.green - 0.099978f * s.blue};
}

OCSecondaryParams SecondaryOf(OCEngine* engine, const OCSecondary& s, uint32_t slot)
{
    const double radians = static_cast<double>(s.hue) * (3.14159265358979323846 / 180.0);
    OCSecondaryParams p = {.on = 1,
                           .style = s.preview ? s.previewStyle : int32_t{ocPreviewOff},
                           .inverted = s.invert != 0,
                           .sampleCount = 0,
                           .sample = {},
                           .lumaTolerance = s.lumatol,
                           .chromaTolerance = s.chromatol,
                           .softness = s.softness,
                           .hue = s.hue,
                           .hueCosine = static_cast<float>(std::cos(radians)),
                           .hueSine = static_cast<float>(std::sin(radians)),
                           .saturation = s.saturation / 100,
                           .gain = s.gain,
                           .pedestal = s.ped,
                           .inverseGamma = 1 / s.gamma,
                           .tint = OCTintOf(s.hueoffset_tintangle, s.hueoffset_strength),
                           .tone = {}};
    p.tone = BuildPowers(engine, slot, p.inverseGamma, 1);
    for (const OCColorSample& sample : s.sample)
        if (sample.on & 255) p.sample[p.sampleCount++] = SampleOf(sample); // the low byte is the switch
    return p;
}

} // namespace

void ocengine::UpdateSecondaries(OCEngine* engine, const OCSettings& s)
{
    const bool any = s.secondaryOn && s.secondaryInUse;
    for (uint32_t i = 0; i < kOCSecondaryCount; ++i) {
        OCSecondaryParams& p = engine->params.secondary[i];
        if (any && s.secondary[i].on)
            p = SecondaryOf(engine, s.secondary[i], kSecondarySlot + i);
        else
            p.on = 0;
    }
}

void ocengine::UpdateLimiter(OCEngine* engine, const OCSettings& s)
{
    OCProcessParams& p = engine->params;
    p.limiterEnabled = s.limiter_enable != 0;
    p.limiterPreview = s.limiter_preview != 0;
    p.limiterSoftClip = s.limiter.limiter_softclip_enable != 0;
    if (!p.limiterEnabled) return;
    const OCVideoLevels& levels = s.videoLevels;
    const auto white = static_cast<float>(levels.videoWhiteLevel);
    const auto most = static_cast<float>(levels.videoMaxLevel);
    // Limits are entered on the composite scale; black and white of the signal lie at a and at a + b of it, above the
    // pedestal that some systems have.
    const float pedestal = levels.videoSetupPresent ? 0.075f : 0.0f;
    const float a = static_cast<float>(levels.videoBlackLevel) / most;
    const float b = (white / most - a) / (1 - pedestal);
    const auto ofComposite = [=](float limit) { return (limit - 100 * pedestal) * b + 100 * a; };
    const auto ofLuma = [=](float limit) { return (limit / 100 - pedestal) * b + a; };
    const OCLimiterBlock& limiter = s.limiter;
    p.limiter = {.chromaMax = ofComposite(limiter.limiter_chroma_max),
                 .chromaMin = ofComposite(limiter.limiter_chroma_min),
                 .lumaMax = ofLuma(limiter.limiter_luma_max),
                 .knee = ofLuma(limiter.limiter_softclip_knee),
                 .whiteLevel = ofLuma(limiter.limiter_softclip_white_level),
                 .maxLevel = ofLuma(limiter.limiter_softclip_max_level),
                 .method = limiter.limiter_clip_method,
                 .system = limiter.limiter_system};
}
