// The fast kernel: the readable one a register at a time. Every operation stands in the same order as there and is single
// where it is single there, so that the bits agree on every instruction set. Which steps run is the same for the whole
// call, so their tests cost nothing.
#include "src/OCStages.h"

#include "src/platform/BPLog.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "src/OCStagesKernels.cpp"
#include <hwy/cache_control.h>
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "src/OCKernelCurves-inl.h"
#include "src/OCKernelLate-inl.h"
#include "src/OCKernelPrimary-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ochrine {
namespace HWY_NAMESPACE {

/// What is made once a call.
struct Call {
    OCProcessParams params; // a copy of our own: the compiler knows that no store changes it
    OCKeyShape keyShape[kOCSecondaryCount];
    OCKeyBox keyBox[kOCSecondaryCount];
    bool isTame[kOCSecondaryCount]; ///< see IsTame
    OCSoftClip softClip;
    uint8_t step[kOCStepEnd]; ///< those that run, in order
    uint32_t stepCount;
    uint32_t keepAt;  ///< index into `step` at which planes are kept; kOCStepEnd: none
    bool weights;     ///< some step that runs asks for them
    bool keepsLuma;   ///< likewise, of steps that may run later from the kept planes
    bool hasStart;    ///< begins at kept planes, whose fourth is the luma of the source
    bool swapped;     ///< display pixels in the order A, R, G, B of bytes
    bool streams;     ///< results go past the cache, which they would only sweep
    bool streamsKept; ///< kept planes likewise
};

/// Planes of a result above this do not stay in a cache until somebody reads them; fetching their lines before they are
/// written over only costs.
constexpr uint64_t kStreamedBytes = 16u << 20;

/// Lines that leave in halves or quarters cost more than they save.
constexpr bool kFillsLine = hn::MaxLanes(D()) * sizeof(float) >= 64;

/// Stores a register that lies on a border of registers.
HWY_INLINE void StoreResult(V value, float* place, bool streams)
{
    if (streams)
        hn::Stream(value, D(), place);
    else
        hn::StoreU(value, D(), place);
}

/// Stands in the list of a call for steps 8 and 10 in one.
constexpr uint8_t kMasterAndCurves = kOCStepEnd;

/// Joins the gamma of the RGB master with the RGB curves where they follow each other and no planes are kept between.
void JoinMasterAndCurves(Call* call)
{
    const OCProcessParams& params = call->params;
    if (!params.masterCurve[0] || !(params.rgbMasterGamma || params.cmyMasterGamma)) return;
    for (uint32_t i = 0; i + 1 < call->stepCount; ++i) {
        if (call->step[i] != 8) continue;
        if (call->step[i + 1] != 10 || call->keepAt == i + 1) return;
        call->step[i] = kMasterAndCurves;
        --call->stepCount;
        for (uint32_t k = i + 1; k < call->stepCount; ++k) call->step[k] = call->step[k + 1];
        if (call->keepAt != kOCStepEnd && call->keepAt > i + 1) --call->keepAt;
        return;
    }
}

Call CallOf(const OCProcessParams& params, const OCBandRun& run)
{
    Call call = {};
    call.params = params;
    for (uint32_t i = 0; i < kOCSecondaryCount; ++i) {
        call.keyShape[i] = OCKeyShapeOf(params.secondary[i]);
        if (params.secondary[i].on) call.keyBox[i] = OCKeyBoxOf(params.secondary[i]);
        call.isTame[i] = params.secondary[i].on && IsTame(params.secondary[i]);
    }
    call.softClip = OCSoftClipOf(params.limiter);
    call.hasStart = run.start != nullptr;
    call.swapped = run.display.format == pixFormatBGRA8;
    const bool large = kFillsLine && run.destination->planeBytes * uint64_t{4} >= kStreamedBytes;
    call.streams = large && run.destination != run.source;
    call.streamsKept = large && run.keep != run.start;
    uint32_t keepAt = 0;
    for (uint32_t step = call.hasStart ? run.firstStep : kOCFirstStep; step < kOCStepEnd; ++step) {
        if (!OCStepIsOn(params, step)) continue;
        if (step < run.keepBefore) ++keepAt;
        call.step[call.stepCount++] = static_cast<uint8_t>(step);
        call.weights = call.weights || OCStepIsWeighted(step);
    }
    call.keepAt = run.keep ? keepAt : kOCStepEnd;
    call.keepsLuma = run.keep && run.keepBefore <= kOCLastWeightedStep;
    JoinMasterAndCurves(&call);
    return call;
}

/// Registers that go down the road together, part of a stage by part: the constants of a part stay in registers, the
/// lookups of one register need not wait for those of another, and the lines of a table are met again while they are
/// near. The grades with tables for ranges read so many that this is worth more than the nearness of the pixels.
constexpr size_t kShortBlock = 8, kLongBlock = 512 / hn::MaxLanes(D());

HWY_INLINE void WeighSource(Pixels& p, const OCProcessParams& params)
{
    const Three weight = RowsAt(params.weightRows, hn::ConvertTo(DI(), Unit(p.sourceLuma) * Splat(16384.0f)));
    p.weight[ocShadows] = weight.a;
    p.weight[ocMidtones] = weight.b;
    p.weight[ocHighlights] = weight.c;
}

/// One step for all registers of a block. Never inline: it is called from many places and outweighs any call.
HWY_NOINLINE void RunStep(uint32_t step, Pixels* HWY_RESTRICT block, size_t count, const Call& HWY_RESTRICT call)
{
    const OCProcessParams& params = call.params;
    const auto all = [=](auto stage) HWY_ATTR {
        for (size_t i = 0; i < count; ++i) stage(block[i]);
    };
    switch (step) {
    case 1: return all([&](Pixels& p) HWY_ATTR { RecoverHighlights(p, params); });
    case 2: return all([&](Pixels& p) HWY_ATTR { LevelsIn(p, params); });
    case 3:
        all([&](Pixels& p) HWY_ATTR { HSLRangesBefore(p, params); });
        all([&](Pixels& p) HWY_ATTR { HSLRangesTone(p, params); });
        if (params.hslRangeSaturation) all([&](Pixels& p) HWY_ATTR { HSLRangesSaturation(p, params); });
        if (params.hslRangeVibrance) all([&](Pixels& p) HWY_ATTR { HSLRangesVibrance(p, params); });
        return;
    case 4:
        all([&](Pixels& p) HWY_ATTR { HSLMasterTone(p, params); });
        return all([&](Pixels& p) HWY_ATTR { HSLMasterColor(p, params); });
    case 5: return all([&](Pixels& p) HWY_ATTR { HueOffset(p, params); });
    case 6:
        all([&](Pixels& p) HWY_ATTR { RGBRangesLinear(p, params); });
        if (params.rgbRangeGamma || params.cmyRangeGamma) all([&](Pixels& p) HWY_ATTR { RGBRangesTone(p, params); });
        return;
    case 7:
        all([&](Pixels& p) HWY_ATTR { YCbCrRangesLinear(p, params); });
        if (params.yccRangeGamma) all([&](Pixels& p) HWY_ATTR { YCbCrRangesTone(p, params); });
        return all([&](Pixels& p) HWY_ATTR { YCbCrRangesBack(p); });
    case 8: return all([&](Pixels& p) HWY_ATTR { RGBMaster(p, params); });
    case 9: return all([&](Pixels& p) HWY_ATTR { YCbCrMaster(p, params); });
    case 10: return all([&](Pixels& p) HWY_ATTR { RGBCurves(p, params); });
    case 11:
        all([&](Pixels& p) HWY_ATTR { HSLCurvesIn(p); });
        return all([&](Pixels& p) HWY_ATTR { HSLCurvesOut(p, params); });
    case 12: return all([&](Pixels& p) HWY_ATTR { LevelsOut(p, params); });
    case kOCLimiterStep: return all([&](Pixels& p) HWY_ATTR { Limiter(p, params, call.softClip); });
    case kMasterAndCurves: return all([&](Pixels& p) HWY_ATTR { RGBMasterAndCurves(p, params); });
    default: {
        const uint32_t i = step - kOCSecondaryStep;
        return all([&](Pixels& p) HWY_ATTR {
            Secondary(p, params.secondary[i], call.keyShape[i], call.keyBox[i], call.isTame[i]);
        });
    }
    }
}

HWY_INLINE void RunSteps(uint32_t from, uint32_t to, Pixels* block, size_t count, const Call& call)
{
    for (uint32_t i = from; i < to; ++i) RunStep(call.step[i], block, count, call);
}

/// Where a run of floats of every plane lies. Null where a call does not need it.
struct Places {
    const float* in[4]; ///< R, G, B and, with kept planes, the luma of the source
    float* keep[4];     ///< likewise
    float* out[4];
    uint32_t* display;
    size_t displayCount; ///< pixels that it has room for, from the first float on
};

HWY_INLINE hn::Vec<hn::RebindToUnsigned<D>> DisplayWords(const Color& c, bool swapped)
{
    const hn::RebindToUnsigned<D> du;
    const auto byte = [&](V value) HWY_ATTR {
        return hn::BitCast(du, hn::ConvertTo(DI(), Unit(value + Splat(kOCDisplayBias)) * Splat(255)));
    };
    const auto r = byte(c.r), g = byte(c.g), b = byte(c.b);
    if (swapped)
        return hn::Or(hn::Or(hn::ShiftLeft<8>(r), hn::ShiftLeft<16>(g)),
                      hn::Or(hn::ShiftLeft<24>(b), hn::Set(du, 0xFFu)));
    return hn::Or(hn::Or(hn::ShiftLeft<16>(r), hn::ShiftLeft<8>(g)), hn::Or(b, hn::Set(du, 0xFF000000u)));
}

/// Loads a register of pixels, or the first `lanes` of one.
template <class Read> HWY_INLINE void Enter(Pixels& p, const Call& call, Read read)
{
    p.c = {read(0), read(1), read(2)};
    if (!call.hasStart)
        p.sourceLuma = Luma(p.c);
    else if (call.weights || call.keepsLuma)
        p.sourceLuma = read(3);
}

/// The road for a block of registers; `keep` and `leave` store one of them.
template <class Keep, class Leave>
HWY_INLINE void Travel(Pixels* block, size_t count, const Call& call, Keep keep, Leave leave)
{
    if (call.weights)
        for (Pixels* p = block; p != block + count; ++p) WeighSource(*p, call.params);
    if (call.keepAt == kOCStepEnd) {
        RunSteps(0, call.stepCount, block, count, call);
    } else {
        RunSteps(0, call.keepAt, block, count, call);
        for (size_t k = 0; k < count; ++k) keep(block[k], k);
        RunSteps(call.keepAt, call.stepCount, block, count, call);
    }
    for (size_t k = 0; k < count; ++k) leave(block[k], k);
}

/// Whether planes lie so that registers can go past the cache.
bool LieOnRegisters(float* const planes[4])
{
    uintptr_t bits = 0;
    for (size_t plane = 0; plane < 4; ++plane) bits |= reinterpret_cast<uintptr_t>(planes[plane]);
    return bits % (hn::MaxLanes(D()) * sizeof(float)) == 0;
}

/// Whole registers of a run of floats, `most` at a time.
template <size_t most> void ProcessWhole(const Places& at, size_t whole, const Call& call)
{
    const D d;
    const size_t lanes = hn::Lanes(d);
    const bool streams = call.streams && LieOnRegisters(at.out);
    const bool streamsKept = call.streamsKept && LieOnRegisters(at.keep);
    Pixels block[most];
    for (size_t i = 0; i < whole;) {
        const size_t left = (whole - i) / lanes;
        const size_t count = left < most ? left : most;
        for (size_t k = 0; k < count; ++k)
            Enter(block[k], call, [&](int plane) HWY_ATTR { return hn::LoadU(d, at.in[plane] + i + k * lanes); });
        const auto keep = [&](const Pixels& p, size_t k) HWY_ATTR {
            const size_t place = i + k * lanes;
            StoreResult(p.c.r, at.keep[0] + place, streamsKept);
            StoreResult(p.c.g, at.keep[1] + place, streamsKept);
            StoreResult(p.c.b, at.keep[2] + place, streamsKept);
            if (call.keepsLuma) StoreResult(p.sourceLuma, at.keep[3] + place, streamsKept);
        };
        const auto leave = [&](const Pixels& p, size_t k) HWY_ATTR {
            const size_t place = i + k * lanes;
            StoreResult(p.c.r, at.out[0] + place, streams);
            StoreResult(p.c.g, at.out[1] + place, streams);
            StoreResult(p.c.b, at.out[2] + place, streams);
            StoreResult(Luma(p.c), at.out[3] + place, streams);
            if (place + lanes <= at.displayCount)
                hn::StoreU(DisplayWords(p.c, call.swapped), hn::RebindToUnsigned<D>(), at.display + place);
            else
                for (size_t lane = 0; place + lane < at.displayCount; ++lane) { // the row's padding has no pixel
                    HWY_ALIGN uint32_t words[hn::MaxLanes(D())];
                    hn::Store(DisplayWords(p.c, call.swapped), hn::RebindToUnsigned<D>(), words);
                    at.display[place + lane] = words[lane];
                }
        };
        Travel(block, count, call, keep, leave);
        i += count * lanes;
    }
}

/// What is shorter than a register: it goes through one of its own.
void ProcessRest(const Places& at, size_t first, size_t rest, const Call& call)
{
    const D d;
    Pixels p;
    HWY_ALIGN float lane[4][hn::MaxLanes(D())] = {};
    const size_t planes = call.hasStart && (call.weights || call.keepsLuma) ? 4 : 3;
    for (size_t plane = 0; plane < planes; ++plane)
        for (size_t i = 0; i < rest; ++i) lane[plane][i] = at.in[plane][first + i];
    Enter(p, call, [&](int plane) HWY_ATTR { return hn::Load(d, lane[plane]); });
    const auto store = [&](V value, float* place) HWY_ATTR {
        hn::Store(value, d, lane[0]);
        for (size_t i = 0; i < rest; ++i) place[first + i] = lane[0][i];
    };
    const auto keep = [&](const Pixels& kept, size_t) HWY_ATTR {
        store(kept.c.r, at.keep[0]);
        store(kept.c.g, at.keep[1]);
        store(kept.c.b, at.keep[2]);
        if (call.keepsLuma) store(kept.sourceLuma, at.keep[3]);
    };
    const auto leave = [&](const Pixels& done, size_t) HWY_ATTR {
        store(done.c.r, at.out[0]);
        store(done.c.g, at.out[1]);
        store(done.c.b, at.out[2]);
        store(Luma(done.c), at.out[3]);
        HWY_ALIGN uint32_t words[hn::MaxLanes(D())];
        hn::Store(DisplayWords(done.c, call.swapped), hn::RebindToUnsigned<D>(), words);
        for (size_t i = 0; i < rest && first + i < at.displayCount; ++i) at.display[first + i] = words[i];
    };
    Travel(&p, 1, call, keep, leave);
}

/// All stages off: three planes are copied, the fourth is luma.
void CopyWithLuma(const Places& at, size_t whole, bool streams)
{
    const D d;
    const size_t lanes = hn::Lanes(d);
    streams = streams && LieOnRegisters(at.out);
    for (size_t i = 0; i < whole; i += lanes) {
        const Color c = {hn::LoadU(d, at.in[0] + i), hn::LoadU(d, at.in[1] + i), hn::LoadU(d, at.in[2] + i)};
        StoreResult(c.r, at.out[0] + i, streams);
        StoreResult(c.g, at.out[1] + i, streams);
        StoreResult(c.b, at.out[2] + i, streams);
        StoreResult(Luma(c), at.out[3] + i, streams);
    }
}

void ProcessFloats(const Places& at, size_t count, const Call& call)
{
    const size_t whole = count - count % hn::Lanes(D());
    if (call.stepCount == 0 && !call.hasStart && call.keepAt == kOCStepEnd && !at.display)
        CopyWithLuma(at, whole, call.streams);
    else if (call.weights)
        ProcessWhole<kLongBlock>(at, whole, call);
    else
        ProcessWhole<kShortBlock>(at, whole, call);
    if (whole != count) ProcessRest(at, whole, count - whole, call);
    if (call.streams || call.streamsKept) hwy::FlushStream(); // before anybody is told that the band is done
}

float* PlaneOf(const FBFrame& frame, size_t plane)
{
    return reinterpret_cast<float*>(frame.baseAddr + plane * frame.planeBytes);
}

void ProcessRun(const OCProcessParams& params, const OCBandRun& run)
{
    const Call call = CallOf(params, run);
    const OCPlaneSpan span = OCSpanOf(run.source, run.destination);
    Places at = {};
    for (size_t plane = 0; plane < 4; ++plane) {
        at.in[plane] = run.start ? PlaneOf(*run.start, plane) : plane < 3 ? span.in[plane] : nullptr;
        at.keep[plane] = run.keep ? PlaneOf(*run.keep, plane) : nullptr;
        at.out[plane] = span.out[plane];
    }
    if (!run.display.pixels) return ProcessFloats(at, span.count, call);
    const size_t width = run.destination->width;
    const size_t rowFloats = run.destination->rowBytes / sizeof(float);
    at.display = reinterpret_cast<uint32_t*>(run.display.pixels);
    if (rowFloats == width && run.display.rowBytes == width * sizeof(uint32_t)) { // one row after the other
        at.displayCount = span.count;
        return ProcessFloats(at, span.count, call);
    }
    at.displayCount = width;
    for (size_t done = 0; done + rowFloats <= span.count && rowFloats > 0; done += rowFloats) {
        ProcessFloats(at, rowFloats, call);
        for (size_t plane = 0; plane < 4; ++plane) {
            if (at.in[plane]) at.in[plane] += rowFloats;
            if (at.keep[plane]) at.keep[plane] += rowFloats;
            at.out[plane] += rowFloats;
        }
        at.display = reinterpret_cast<uint32_t*>(reinterpret_cast<uint8_t*>(at.display) + run.display.rowBytes);
    }
}

void ProcessBand(const OCProcessParams& params, const FBFrame* source, const FBFrame* destination)
{
    ProcessRun(params, OCPlainRun(source, destination));
}

} // namespace HWY_NAMESPACE
} // namespace ochrine
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ochrine {
HWY_EXPORT(ProcessBand);
HWY_EXPORT(ProcessRun);
} // namespace ochrine

namespace {

struct NamedKernel {
    int64_t target;
    OCKernel kernel;
};

constexpr NamedKernel kKernels[] = {
#if HWY_TARGETS & HWY_AVX3_DL
    {HWY_AVX3_DL, {"AVX3_DL", ochrine::N_AVX3_DL::ProcessBand, ochrine::N_AVX3_DL::ProcessRun}},
#endif
#if HWY_TARGETS & HWY_AVX3
    {HWY_AVX3, {"AVX3", ochrine::N_AVX3::ProcessBand, ochrine::N_AVX3::ProcessRun}},
#endif
#if HWY_TARGETS & HWY_AVX2
    {HWY_AVX2, {"AVX2", ochrine::N_AVX2::ProcessBand, ochrine::N_AVX2::ProcessRun}},
#endif
#if HWY_TARGETS & HWY_SSE4
    {HWY_SSE4, {"SSE4", ochrine::N_SSE4::ProcessBand, ochrine::N_SSE4::ProcessRun}},
#endif
#if HWY_TARGETS & HWY_SSSE3
    {HWY_SSSE3, {"SSSE3", ochrine::N_SSSE3::ProcessBand, ochrine::N_SSSE3::ProcessRun}},
#endif
#if HWY_TARGETS & HWY_SCALAR
    {HWY_SCALAR, {"SCALAR", ochrine::N_SCALAR::ProcessBand, ochrine::N_SCALAR::ProcessRun}},
#endif
#if HWY_TARGETS & HWY_NEON
    {HWY_NEON, {"NEON", ochrine::N_NEON::ProcessBand, ochrine::N_NEON::ProcessRun}},
#endif
    {0,
     {"best",
      [](const OCProcessParams& params, const FBFrame* source, const FBFrame* destination) {
          HWY_DYNAMIC_DISPATCH(ochrine::ProcessBand)(params, source, destination);
      },
      [](const OCProcessParams& params, const OCBandRun& run) {
          HWY_DYNAMIC_DISPATCH(ochrine::ProcessRun)(params, run);
      }}},
};

} // namespace

std::span<const OCKernel> OCFastKernels()
{
    static OCKernel available[std::size(kKernels)];
    static const size_t count = [] {
        size_t n = 0;
        for (const NamedKernel& named : kKernels)
            if (named.target == 0 || named.target == HWY_STATIC_TARGET || (hwy::SupportedTargets() & named.target))
                available[n++] = named.kernel;
        return n;
    }();
    return {available, count};
}

void OCProcessImageBand(const OCEngine* engine, const FBFrame* source, const FBFrame* destination, const OCSettings*,
                        uint32_t, uint32_t)
{
    OCProcessImageRun(engine, OCPlainRun(source, destination));
}

void OCProcessImageRun(const OCEngine* engine, const OCBandRun& run)
{
    if (!run.destination) return;
    if (run.source->pixelFormat != pixFormatRGBYPlanar_Float) {
        if (!run.quiet) BPDebugLog("Unknown pix format %d\n", static_cast<int>(run.source->pixelFormat));
        return;
    }
    if (run.destination->pixelFormat != pixFormatRGBYPlanar_Float) return;
    if (!run.quiet) OCLogLimiter(engine);
    HWY_DYNAMIC_DISPATCH(ochrine::ProcessRun)(*OCParametersOf(engine), run);
}

void OCLogLimiter(const OCEngine* engine)
{
    const OCProcessParams& params = *OCParametersOf(engine);
    if (!params.limiterEnabled) return;
    BPDebugLog("Limiter is ON\n");
    BPDebugLog("lumaMax = %f, chromaMax = %f\n", static_cast<double>(params.limiter.lumaMax),
               static_cast<double>(params.limiter.chromaMax));
}
#endif
