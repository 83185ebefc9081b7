// Keys of the steps, and the decision where a run begins.
#include "src/OCStageCache.h"

#include "src/platform/BPLog.h"

#include <bit>
#include <cstring>

namespace {

/// Writes one key after the other; bits count, so that -0 differs from 0 and a NaN equals itself.
struct KeyWriter {
    OCStepKeys* keys;
    uint32_t count;

    void Word(uint32_t word)
    {
        if (count < kOCStepKeyWords) keys->word[count] = word;
        ++count;
    }
    void Put(float value) { Word(std::bit_cast<uint32_t>(value)); }
    template <size_t n> void Put(const float (&values)[n])
    {
        for (float value : values) Put(value);
    }
    void Version(uint64_t version)
    {
        Word(static_cast<uint32_t>(version));
        Word(static_cast<uint32_t>(version >> 32));
    }
    void Put(const OCTone& tone) { Version(tone.version); }
    void Put(const OCTint& tint)
    {
        Put(tint.u);
        Put(tint.v);
        Put(tint.strength);
    }
    void Put(const OCHSLParams& p)
    {
        for (float value : {p.hue, p.hueCosine, p.hueSine, p.saturation, p.vibrance, p.gain, p.pedestal}) Put(value);
        Put(p.tone);
    }
    void Put(const OCChannelParams& p, bool toned)
    {
        Put(p.scale);
        Put(p.offset);
        Word(toned);
        if (!toned) return;
        for (const OCTone& tone : p.tone) Put(tone);
    }
    void Put(const OCSecondaryParams& s)
    {
        Word(static_cast<uint32_t>(s.style));
        Word(s.inverted);
        for (uint32_t i = 0; i < s.sampleCount; ++i)
            for (float value : {s.sample[i].y, s.sample[i].u, s.sample[i].v}) Put(value);
        for (float value : {s.lumaTolerance, s.chromaTolerance, s.softness, s.hue, s.hueCosine, s.hueSine, s.saturation,
                            s.gain, s.pedestal, s.inverseGamma})
            Put(value);
        Put(s.tint);
        Put(s.tone);
    }
};

/// What the outcome of a step that is on depends on besides the pixel.
void WriteKey(const OCProcessParams& p, uint32_t step, KeyWriter& key)
{
    if (OCStepIsWeighted(step)) key.Version(p.weightVersion);
    switch (step) {
    case 1: key.Put(p.recoveryThreshold); break;
    case 2:
        key.Put(p.inScale);
        key.Put(p.inOffset);
        key.Word(p.levelsInGamma);
        if (p.levelsInGamma)
            for (const OCTone& tone : p.levels) key.Put(tone);
        break;
    case 3:
        for (const OCHSLParams& range : p.hslRange) key.Put(range);
        break;
    case 4:
        key.Put(p.hslMaster);
        key.Word(p.hslMasterTone);
        break;
    case 5:
        for (const OCTint& tint : p.tint) key.Put(tint);
        key.Put(p.tintMaster);
        break;
    case 6:
        for (const OCChannelParams& range : p.rgbRange) key.Put(range, p.rgbRangeGamma || p.cmyRangeGamma);
        break;
    case 7:
        for (const OCChannelParams& range : p.yccRange) key.Put(range, p.yccRangeGamma);
        break;
    case 8: key.Put(p.rgbMaster, p.rgbMasterGamma || p.cmyMasterGamma); break;
    case 9: key.Put(p.yccMaster, p.yccMasterGamma); break;
    case 10:
        for (const OCTone& tone : p.rgbCurve) key.Put(tone);
        break;
    case 11:
        for (const OCTone* tone : {&p.hueCurve, &p.saturationCurve, &p.lightnessCurve}) key.Put(*tone);
        break;
    case 12:
        key.Put(p.outScale);
        key.Put(p.outOffset);
        break;
    case kOCLimiterStep:
        for (float value : {p.limiter.chromaMax, p.limiter.chromaMin, p.limiter.lumaMax, p.limiter.knee,
                            p.limiter.whiteLevel, p.limiter.maxLevel})
            key.Put(value);
        key.Word(static_cast<uint32_t>(p.limiter.method));
        key.Word(p.limiterPreview);
        key.Word(p.limiterSoftClip);
        break;
    default: key.Put(p.secondary[step - kOCSecondaryStep]); break;
    }
}

bool AnyStepIsOn(const OCStepKeys& keys, uint32_t from, uint32_t to)
{
    return from < to && keys.end[to - 1] != keys.end[from - 1];
}

bool SameShape(const FBFrame& a, const FBFrame& b)
{
    return a.width == b.width && a.height == b.height && a.rowBytes == b.rowBytes && a.pixelFormat == b.pixelFormat;
}

/// The source, the result and the planes can be walked together.
bool CanBeKept(const FBFrame& source, const FBFrame& destination)
{
    if (source.pixelFormat != pixFormatRGBYPlanar_Float || !SameShape(source, destination)) return false;
    if (source.rowBytes != FBLayoutOf(source.width, source.pixelFormat).rowBytes)
        return false; // rows of a caller's own
    const uint8_t* a = source.baseAddr;
    const uint8_t* b = destination.baseAddr;
    return a + size_t{4} * source.planeBytes <= b || b + size_t{4} * destination.planeBytes <= a;
}

bool FitPlanes(OCStageCache* cache, const FBFrame& source)
{
    if (cache->planes && SameShape(*cache->planes, source)) return true;
    if (cache->planes) FBDisposeFrameBuffer(cache->planes);
    cache->planes = nullptr;
    return FBCreateRGBFrameBuffer(source.width, source.height, &cache->planes, source.pixelFormat) == bpNoErr;
}

} // namespace

OCStepKeys OCStepKeysOf(const OCProcessParams& params)
{
    OCStepKeys keys = {};
    KeyWriter writer = {.keys = &keys, .count = 0};
    for (uint32_t step = kOCFirstStep; step < kOCStepEnd; ++step) {
        if (OCStepIsOn(params, step)) {
            writer.Word(step);
            WriteKey(params, step, writer);
        }
        keys.end[step] = writer.count;
    }
    BP_ASSERT(writer.count <= kOCStepKeyWords, "OCStageCache");
    return keys;
}

uint32_t OCFirstChangedStep(const OCStepKeys& before, const OCStepKeys& now)
{
    for (uint32_t step = kOCFirstStep; step < kOCStepEnd; ++step) {
        // Up to here all is alike, so both keys begin at the same word.
        const uint32_t from = now.end[step - 1];
        if (before.end[step] != now.end[step]) return step;
        if (std::memcmp(before.word + from, now.word + from, (now.end[step] - from) * sizeof(uint32_t)) != 0)
            return step;
    }
    return kOCStepEnd;
}

OCBandRun OCPlanRun(OCStageCache* cache, const OCEngine* engine, const FBFrame* source, const FBFrame* destination)
{
    OCBandRun run = OCPlainRun(source, destination);
    if (!destination || !CanBeKept(*source, *destination)) {
        OCForgetStages(cache);
        return run;
    }
    if (!SameShape(cache->source, *source) || cache->source.baseAddr != source->baseAddr ||
        cache->source.planeBytes != source->planeBytes)
        OCForgetStages(cache);
    const OCStepKeys keys = OCStepKeysOf(*OCParametersOf(engine));
    const uint32_t changed = cache->hasRun ? OCFirstChangedStep(cache->keys, keys) : kOCFirstStep;
    if (changed < cache->step) cache->step = 0;
    cache->hasRun = true;
    cache->keys = keys;
    cache->source = *source;

    run.firstStep = kOCFirstStep;
    if (cache->step != 0) {
        run.start = cache->planes;
        run.firstStep = cache->step;
    }
    // What moved once will move again: from now on its input is at hand.
    if (changed < kOCStepEnd && AnyStepIsOn(keys, run.firstStep, changed) && FitPlanes(cache, *source)) {
        run.keep = cache->planes;
        run.keepBefore = cache->step = changed;
    }
    return run;
}

void OCForgetStages(OCStageCache* cache)
{
    cache->hasRun = false;
    cache->step = 0;
}

void OCDisposeStageCache(OCStageCache* cache)
{
    if (cache->planes) FBDisposeFrameBuffer(cache->planes);
    *cache = {};
}
