// The fast kernel: OCStages.cpp a register at a time. Every operation stands in the same order as there and is single
// where it is single there, so that the bits agree on every instruction set. Which stages run is the same for the whole
// call, so their tests cost nothing; tables are read with gathers.
#include "src/OCStages.h"

#include "src/platform/BPLog.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "src/OCStagesKernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace ochrine {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;
using D = hn::ScalableTag<float>;
using DI = hn::RebindToSigned<D>;
using V = hn::Vec<D>;
using VI = hn::Vec<DI>;
using M = hn::Mask<D>;

HWY_INLINE V Splat(float value)
{
    return hn::Set(D(), value);
}

struct Color {
    V r, g, b;
};

struct Pixels {
    Color c;
    V sourceLuma;
    V weight[ocRangeCount];
};

HWY_INLINE V Luma(const Color& c)
{
    return Splat(0.299f) * c.r + Splat(0.587f) * c.g + Splat(0.114f) * c.b;
}

struct YUV {
    V y, u, v;
};

HWY_INLINE YUV ToYUV(const Color& c)
{
    return {Luma(c), Splat(-0.147407f) * c.r - Splat(0.289391f) * c.g + Splat(0.436798f) * c.b,
            Splat(0.614777f) * c.r - Splat(0.514799f) * c.g - Splat(0.099978f) * c.b};
}

HWY_INLINE Color FromYUV(V y, V u, V v)
{
    return {y + Splat(1.140251f) * v, y - Splat(0.393931f) * u - Splat(0.580809f) * v, y + Splat(2.028398f) * u};
}

HWY_INLINE V Select(M mask, V yes, V no)
{
    return hn::IfThenElse(mask, yes, no);
}

/// An input to tone tables, prepared once for all tables that it is looked up in.
struct ToneIndex {
    VI index; ///< where the input is at most 1, otherwise 0
    M inside; ///< input at most 1
    V above;  ///< input - 1
    bool allInside;
};

HWY_INLINE ToneIndex IndexOf(V input)
{
    const D d;
    const DI di;
    ToneIndex t;
    t.inside = hn::Le(input, Splat(1));
    t.allInside = hn::AllTrue(d, t.inside);
    const V held = hn::IfThenElseZero(hn::And(t.inside, hn::Gt(input, hn::Zero(d))), input);
    t.index = hn::ConvertTo(di, held * Splat(16384.0f));
    t.above = input - Splat(1);
    return t;
}

HWY_INLINE V Lookup(const OCTone& tone, const ToneIndex& t)
{
    const V entry = hn::GatherIndex(D(), tone.entry, t.index);
    if (HWY_LIKELY(t.allInside)) return entry;
    return Select(t.inside, entry, Splat(tone.top) + t.above * Splat(tone.slope));
}

HWY_INLINE V Lookup(const OCTone& tone, V input)
{
    return Lookup(tone, IndexOf(input));
}

HWY_INLINE V Blend(const Pixels& p, V shadows, V midtones, V highlights)
{
    return p.weight[ocShadows] * shadows + p.weight[ocMidtones] * midtones + p.weight[ocHighlights] * highlights;
}

HWY_INLINE Color Blend(const Pixels& p, const Color& s, const Color& m, const Color& h)
{
    return {Blend(p, s.r, m.r, h.r), Blend(p, s.g, m.g, h.g), Blend(p, s.b, m.b, h.b)};
}

/// Three values that stand side by side in rows of four.
struct Three {
    V a, b, c;
};

/// Reads the rows at `index`: a load of four floats for each lane, then blocks of four lanes are turned around.
HWY_INLINE Three RowsAt(const float* HWY_RESTRICT rows, VI index)
{
#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128
    const VI at = hn::ShiftLeft<2>(index);
    const D d;
    return {hn::GatherIndex(d, rows, at), hn::GatherIndex(d, rows + 1, at), hn::GatherIndex(d, rows + 2, at)};
#else
    const D d;
    const DI di;
    HWY_ALIGN int32_t at[hn::MaxLanes(D())];
    hn::Store(hn::ShiftLeft<2>(index), di, at);
    __asm__("" : "+m"(at));                      // read back from memory: taking lanes out of a register costs more
    const auto row = [&](size_t lane) HWY_ATTR { // of this lane, and of those in the same place of the further blocks
        const hn::CappedTag<float, 4> d4;
        const auto load = [&](size_t i) HWY_ATTR { return hn::Load(d4, rows + at[i]); };
#if HWY_TARGET <= HWY_AVX3
        const hn::CappedTag<float, 8> d8;
        return hn::Combine(d, hn::Combine(d8, load(lane + 12), load(lane + 8)),
                           hn::Combine(d8, load(lane + 4), load(lane)));
#elif HWY_TARGET == HWY_AVX2
        return hn::Combine(d, load(lane + 4), load(lane));
#else
        return load(lane);
#endif
    };
    const V r0 = row(0), r1 = row(1), r2 = row(2), r3 = row(3);
    const hn::RepartitionToWide<D> dw;
    const auto pairs = [&](V v) HWY_ATTR { return hn::BitCast(dw, v); };
    const auto low0 = pairs(hn::InterleaveLower(d, r0, r1)), low1 = pairs(hn::InterleaveLower(d, r2, r3));
    const auto high0 = pairs(hn::InterleaveUpper(d, r0, r1)), high1 = pairs(hn::InterleaveUpper(d, r2, r3));
    return {hn::BitCast(d, hn::InterleaveLower(dw, low0, low1)), hn::BitCast(d, hn::InterleaveUpper(dw, low0, low1)),
            hn::BitCast(d, hn::InterleaveLower(dw, high0, high1))};
#endif
}

/// The tones of the three ranges, blended. `rows` holds their entries side by side.
HWY_INLINE V BlendTones(const Pixels& p, const float* rows, const OCTone& s, const OCTone& m, const OCTone& h, V input)
{
    const ToneIndex t = IndexOf(input);
    Three entry = RowsAt(rows, t.index);
    if (HWY_UNLIKELY(!t.allInside)) {
        entry.a = Select(t.inside, entry.a, Splat(s.top) + t.above * Splat(s.slope));
        entry.b = Select(t.inside, entry.b, Splat(m.top) + t.above * Splat(m.slope));
        entry.c = Select(t.inside, entry.c, Splat(h.top) + t.above * Splat(h.slope));
    }
    return Blend(p, entry.a, entry.b, entry.c);
}

HWY_INLINE Color Rotate(const OCHSLParams& range, const YUV& c)
{
    const V cosine = Splat(range.hueCosine);
    const V sine = Splat(range.hueSine);
    return FromYUV(c.y, c.u * cosine - c.v * sine, c.v * cosine + c.u * sine);
}

/// What the vibrance operation needs of a pixel, whatever the factor.
struct VibranceBase {
    V limit, luma;
};

HWY_INLINE VibranceBase VibranceOf(const Color& c)
{
    V mx = Select(hn::Gt(c.r, c.g), c.r, c.g);
    mx = Select(hn::Gt(mx, c.b), mx, c.b);
    V mn = Select(hn::Lt(c.r, c.g), c.r, c.g);
    mn = Select(hn::Lt(mn, c.b), mn, c.b);
    const V sum = mx + mn;
    const V diff = mx - mn;
    const V lightness = sum * Splat(0.5f);
    const V denominator = Select(hn::Le(lightness, Splat(0.5f)), sum, Splat(2) - diff);
    const V zero = hn::Zero(D());
    V saturation = Select(hn::Gt(diff, zero), diff / denominator, diff);
    saturation = Select(hn::Gt(lightness, zero), saturation, zero);
    return {(Splat(1) - saturation) * Splat(1.1f) + Splat(1), Luma(c)};
}

HWY_INLINE Color Vibrance(const Color& c, const VibranceBase& base, float factor)
{
    const V f = Splat(factor);
    const V e = Select(hn::Lt(f, base.limit), f, base.limit);
    const V grey = base.luma * (Splat(1) - e);
    return {c.r * e + grey, c.g * e + grey, c.b * e + grey};
}

// Stages ---------------------------------------------------------------------------------------------------------------

HWY_INLINE void RecoverHighlights(Pixels& p, const OCProcessParams& params)
{
    const V t = Splat(params.recoveryThreshold);
    const V k = ((p.sourceLuma - t) * Splat(0.5f) + t) / p.sourceLuma;
    const M above = hn::Ge(p.sourceLuma, t);
    p.c.r = Select(above, p.c.r * k, p.c.r);
    p.c.g = Select(above, p.c.g * k, p.c.g);
    p.c.b = Select(above, p.c.b * k, p.c.b);
}

HWY_INLINE void LevelsIn(Pixels& p, const OCProcessParams& params)
{
    p.c.r = p.c.r * Splat(params.inScale[0]) + Splat(params.inOffset[0]);
    p.c.g = p.c.g * Splat(params.inScale[1]) + Splat(params.inOffset[1]);
    p.c.b = p.c.b * Splat(params.inScale[2]) + Splat(params.inOffset[2]);
    if (!params.levelsInGamma) return;
    p.c.r = Lookup(params.levels[0], p.c.r);
    p.c.g = Lookup(params.levels[1], p.c.g);
    p.c.b = Lookup(params.levels[2], p.c.b);
}

HWY_INLINE V Saturate(float saturation, V c, V luma)
{
    return Splat(saturation) * c + Splat(1 - saturation) * luma;
}

HWY_INLINE void HSLRanges(Pixels& p, const OCProcessParams& params)
{
    const OCHSLParams& s = params.hslRange[ocShadows];
    const OCHSLParams& m = params.hslRange[ocMidtones];
    const OCHSLParams& h = params.hslRange[ocHighlights];
    if (params.hslRangeHue) {
        const YUV c = ToYUV(p.c);
        p.c = Blend(p, Rotate(s, c), Rotate(m, c), Rotate(h, c));
    }
    if (params.hslRangeGain) {
        const V gain = Blend(p, Splat(s.gain), Splat(m.gain), Splat(h.gain));
        p.c = {p.c.r * gain, p.c.g * gain, p.c.b * gain};
    }
    if (params.hslRangePedestal) {
        const V pedestal = Blend(p, Splat(s.pedestal), Splat(m.pedestal), Splat(h.pedestal));
        p.c = {p.c.r + pedestal, p.c.g + pedestal, p.c.b + pedestal};
    }
    const auto toned = [&](V c) HWY_ATTR { return BlendTones(p, params.hslRangeRows, s.tone, m.tone, h.tone, c); };
    p.c = {toned(p.c.r), toned(p.c.g), toned(p.c.b)};
    if (params.hslRangeSaturation) {
        const V y = Luma(p.c);
        const auto blended = [&](V c) HWY_ATTR {
            return Blend(p, Saturate(s.saturation, c, y), Saturate(m.saturation, c, y), Saturate(h.saturation, c, y));
        };
        p.c = {blended(p.c.r), blended(p.c.g), blended(p.c.b)};
    }
    if (params.hslRangeVibrance) {
        const VibranceBase base = VibranceOf(p.c);
        p.c =
            Blend(p, Vibrance(p.c, base, s.vibrance), Vibrance(p.c, base, m.vibrance), Vibrance(p.c, base, h.vibrance));
    }
}

HWY_INLINE void HSLMaster(Pixels& p, const OCProcessParams& params)
{
    const OCHSLParams& m = params.hslMaster;
    if (m.hue != 0) p.c = Rotate(m, ToYUV(p.c));
    const V gain = Splat(m.gain);
    const V pedestal = Splat(m.pedestal);
    p.c = {p.c.r * gain + pedestal, p.c.g * gain + pedestal, p.c.b * gain + pedestal};
    if (params.hslMasterTone) p.c = {Lookup(m.tone, p.c.r), Lookup(m.tone, p.c.g), Lookup(m.tone, p.c.b)};
    if (m.saturation != 1) {
        const V y = Luma(p.c);
        p.c = {Saturate(m.saturation, p.c.r, y), Saturate(m.saturation, p.c.g, y), Saturate(m.saturation, p.c.b, y)};
    }
    if (m.vibrance != 1) p.c = Vibrance(p.c, VibranceOf(p.c), m.vibrance);
}

HWY_INLINE void Pull(YUV& c, const OCTint& tint, V k)
{
    c.u = c.u + (Splat(tint.u) - c.u) * k;
    c.v = c.v + (Splat(tint.v) - c.v) * k;
}

HWY_INLINE void HueOffset(Pixels& p, const OCProcessParams& params)
{
    YUV c = ToYUV(p.c);
    for (uint32_t r = 0; r < ocRangeCount; ++r) Pull(c, params.tint[r], Splat(params.tint[r].strength) * p.weight[r]);
    Pull(c, params.tintMaster, Splat(params.tintMaster.strength));
    p.c = FromYUV(c.y, c.u, c.v);
}

HWY_INLINE V BlendScaled(const Pixels& p, const OCChannelParams* range, V c, int i)
{
    return Blend(p, Splat(range[0].scale[i]) * c + Splat(range[0].offset[i]),
                 Splat(range[1].scale[i]) * c + Splat(range[1].offset[i]),
                 Splat(range[2].scale[i]) * c + Splat(range[2].offset[i]));
}

HWY_INLINE V BlendChannel(const Pixels& p, const float* const rows[3], const OCChannelParams* range, V c, int i)
{
    return BlendTones(p, rows[i], range[0].tone[i], range[1].tone[i], range[2].tone[i], c);
}

HWY_INLINE void RGBRanges(Pixels& p, const OCProcessParams& params)
{
    const OCChannelParams* range = params.rgbRange;
    p.c = {BlendScaled(p, range, p.c.r, 0), BlendScaled(p, range, p.c.g, 1), BlendScaled(p, range, p.c.b, 2)};
    if (params.rgbRangeGamma || params.cmyRangeGamma)
        p.c = {BlendChannel(p, params.rgbRangeRows, range, p.c.r, 0),
               BlendChannel(p, params.rgbRangeRows, range, p.c.g, 1),
               BlendChannel(p, params.rgbRangeRows, range, p.c.b, 2)};
}

HWY_INLINE V WithSignOf(V chroma, V half)
{
    return Select(hn::Lt(chroma, hn::Zero(D())), hn::Neg(half), half);
}

struct YCC {
    V y, cb, cr;
};

HWY_INLINE YCC ToYCC(const Color& c)
{
    return {Luma(c), Splat(-0.168736f) * c.r - Splat(0.331264f) * c.g + Splat(0.5f) * c.b,
            Splat(0.5f) * c.r - Splat(0.418688f) * c.g - Splat(0.081312f) * c.b};
}

HWY_INLINE Color FromYCC(const YCC& c)
{
    return {c.y + Splat(1.402f) * c.cr, c.y - Splat(0.344136f) * c.cb - Splat(0.714136f) * c.cr,
            c.y + Splat(1.772f) * c.cb};
}

HWY_INLINE void YCbCrRanges(Pixels& p, const OCProcessParams& params)
{
    const OCChannelParams* range = params.yccRange;
    YCC c = ToYCC(p.c);
    c = {BlendScaled(p, range, c.y, 0), BlendScaled(p, range, c.cb, 1), BlendScaled(p, range, c.cr, 2)};
    if (params.yccRangeGamma) {
        const V cb = Splat(0.5f) * BlendChannel(p, params.yccRangeRows, range, Splat(2) * hn::Abs(c.cb), 1);
        const V cr = Splat(0.5f) * BlendChannel(p, params.yccRangeRows, range, Splat(2) * hn::Abs(c.cr), 2);
        c = {BlendChannel(p, params.yccRangeRows, range, c.y, 0), WithSignOf(c.cb, cb), WithSignOf(c.cr, cr)};
    }
    p.c = FromYCC(c);
}

HWY_INLINE void RGBMaster(Pixels& p, const OCProcessParams& params)
{
    const OCChannelParams& m = params.rgbMaster;
    p.c = {Splat(m.scale[0]) * p.c.r + Splat(m.offset[0]), Splat(m.scale[1]) * p.c.g + Splat(m.offset[1]),
           Splat(m.scale[2]) * p.c.b + Splat(m.offset[2])};
    if (params.rgbMasterGamma || params.cmyMasterGamma)
        p.c = {Lookup(m.tone[0], p.c.r), Lookup(m.tone[1], p.c.g), Lookup(m.tone[2], p.c.b)};
}

HWY_INLINE void YCbCrMaster(Pixels& p, const OCProcessParams& params)
{
    const OCChannelParams& m = params.yccMaster;
    YCC c = ToYCC(p.c);
    c = {Splat(m.scale[0]) * c.y + Splat(m.offset[0]), Splat(m.scale[1]) * c.cb + Splat(m.offset[1]),
         Splat(m.scale[2]) * c.cr + Splat(m.offset[2])};
    if (params.yccMasterGamma) {
        const V cb = Splat(0.5f) * Lookup(m.tone[1], Splat(2) * hn::Abs(c.cb));
        const V cr = Splat(0.5f) * Lookup(m.tone[2], Splat(2) * hn::Abs(c.cr));
        c = {Lookup(m.tone[0], c.y), WithSignOf(c.cb, cb), WithSignOf(c.cr, cr)};
    }
    p.c = FromYCC(c);
}

HWY_INLINE void RGBCurves(Pixels& p, const OCProcessParams& params)
{
    p.c = {Lookup(params.rgbCurve[0], p.c.r), Lookup(params.rgbCurve[1], p.c.g), Lookup(params.rgbCurve[2], p.c.b)};
}

// The part of RGB to HSL that is computed in double, for half a register of singles.
using DD = hn::ScalableTag<double>;
using DH = hn::Rebind<float, DD>;
using VD = hn::Vec<DD>;
using VH = hn::Vec<DH>;

/// Rounds to single, beyond the range of singles to an infinity. The library's emulated targets would stop at the
/// largest single, so there the compiler converts.
HWY_INLINE VH ToSingle(VD value)
{
#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128
    HWY_ALIGN double in[hn::MaxLanes(DD())];
    HWY_ALIGN float out[hn::MaxLanes(DD())];
    hn::Store(value, DD(), in);
    for (size_t i = 0; i < hn::MaxLanes(DD()); ++i) out[i] = static_cast<float>(in[i]);
    return hn::Load(DH(), out);
#else
    return hn::DemoteTo(DH(), value);
#endif
}

struct HalfHSL {
    VH h, s, l;
};

/// The largest and the smallest channel come in too. Comparisons are made in double, where singles are what they were.
HWY_INLINE HalfHSL ToHSLHalf(VH r, VH g, VH b, VH largest, VH smallest)
{
    const DD d;
    const VD dr = hn::PromoteTo(d, r);
    const VD dg = hn::PromoteTo(d, g);
    const VD db = hn::PromoteTo(d, b);
    const VD mx = hn::PromoteTo(d, largest);
    const VD mn = hn::PromoteTo(d, smallest);
    const VD sum = mx + mn;
    const VD diff = mx - mn;
    const VH l = ToSingle(sum * hn::Set(d, 0.5));
    const VD light = hn::PromoteTo(d, l); // as it was rounded
    const VD zero = hn::Zero(d);
    const VD two = hn::Set(d, 2.0);
    const VD six = hn::Set(d, 6.0);
    const VD saturation = diff / hn::IfThenElse(hn::Le(light, hn::Set(d, 0.5)), sum, two - sum);
    // Who is largest picks the numerator and the sixth in which the hue lies, so that one division is enough.
    const auto isRed = hn::Eq(dr, mx);
    const auto isGreen = hn::Eq(dg, mx);
    const VD numerator = hn::IfThenElse(isRed, dg - db, hn::IfThenElse(isGreen, db - dr, dr - dg));
    const VD first = hn::IfThenElse(isRed, six, hn::IfThenElse(isGreen, two, hn::Set(d, 4.0)));
    VD sextant = numerator / diff + first;
    sextant = hn::IfThenElse(hn::And(isRed, hn::Ge(sextant, six)), sextant - six, sextant);
    const VD hue = sextant / six;
    const auto grey = hn::Or(hn::Le(light, zero), hn::Not(hn::Gt(diff, zero)));
    return {ToSingle(hn::IfThenElse(grey, zero, hue)), ToSingle(hn::IfThenElse(grey, zero, saturation)), l};
}

HWY_INLINE V HueToChannel(V m1, V m2, V h)
{
    const V zero = hn::Zero(D());
    const V one = Splat(1);
    h = Select(hn::Lt(h, zero), h + one, h);
    h = Select(hn::Gt(h, one), h - one, h);
    const V rising = m1 + (m2 - m1) * Splat(6) * h;
    const V falling = m1 + (m2 - m1) * (Splat(0.66666669f) - h) * Splat(6);
    V value = Select(hn::Gt(Splat(2), Splat(3) * h), falling, m1);
    value = Select(hn::Gt(one, Splat(2) * h), m2, value);
    return Select(hn::Gt(one, Splat(6) * h), rising, value);
}

HWY_INLINE void HSLCurves(Pixels& p, const OCProcessParams& params)
{
    const D d;
    const DH dh;
    const size_t half = hn::Lanes(dh);
    V largest = Select(hn::Gt(p.c.r, p.c.g), p.c.r, p.c.g);
    largest = Select(hn::Gt(largest, p.c.b), largest, p.c.b);
    V smallest = Select(hn::Lt(p.c.r, p.c.g), p.c.r, p.c.g);
    smallest = Select(hn::Lt(smallest, p.c.b), smallest, p.c.b);
    HWY_ALIGN float in[5][hn::MaxLanes(D())];
    HWY_ALIGN float out[3][hn::MaxLanes(D())];
    hn::Store(p.c.r, d, in[0]);
    hn::Store(p.c.g, d, in[1]);
    hn::Store(p.c.b, d, in[2]);
    hn::Store(largest, d, in[3]);
    hn::Store(smallest, d, in[4]);
    for (size_t i = 0; i < hn::Lanes(d); i += half) {
        const auto at = [&](int k) HWY_ATTR { return hn::Load(dh, in[k] + i); };
        const HalfHSL color = ToHSLHalf(at(0), at(1), at(2), at(3), at(4));
        hn::Store(color.h, dh, out[0] + i);
        hn::Store(color.s, dh, out[1] + i);
        hn::Store(color.l, dh, out[2] + i);
    }
    V h = hn::Load(d, out[0]);
    V s = hn::Load(d, out[1]);
    V l = hn::Load(d, out[2]);
    const V one = Splat(1);
    V x = h + Splat(0.5f);
    x = Select(hn::Gt(x, one), x - one, x);
    x = hn::IfThenElseZero(hn::Gt(x, hn::Zero(d)), Select(hn::Lt(x, one), x, one));
    const VI index = hn::ConvertTo(DI(), x * Splat(16384.0f));
    const Three curve = RowsAt(params.hslCurveRows, index);
    h = h + curve.a;
    s = s * curve.b;
    l = l * curve.c;
    const V m2 = Select(hn::Lt(l, Splat(0.5f)), (one + s) * l, l + s - l * s);
    const V m1 = Splat(2) * l - m2;
    const M grey = hn::Eq(s, hn::Zero(d));
    p.c = {Select(grey, l, HueToChannel(m1, m2, h + Splat(0.33333334f))), Select(grey, l, HueToChannel(m1, m2, h)),
           Select(grey, l, HueToChannel(m1, m2, h - Splat(0.33333334f)))};
}

HWY_INLINE void LevelsOut(Pixels& p, const OCProcessParams& params)
{
    p.c = {p.c.r * Splat(params.outScale[0]) + Splat(params.outOffset[0]),
           p.c.g * Splat(params.outScale[1]) + Splat(params.outOffset[1]),
           p.c.b * Splat(params.outScale[2]) + Splat(params.outOffset[2])};
}

// The road -------------------------------------------------------------------------------------------------------------

/// Which stages run in this call.
struct Road {
    bool weights, recovery, levels, hslRanges, hslMaster, hueOffset, rgbRanges, yccRanges, rgbMaster, yccMaster,
        rgbCurves, hslCurves;
    bool any;
};

Road RoadOf(const OCProcessParams& p)
{
    Road road = {};
    road.recovery = p.highlightRecoveryIn && p.levelsEnabled;
    road.levels = p.levelsEnabled;
    road.hslRanges = p.hslHighOn || p.hslMidOn || p.hslShadowOn;
    road.hslMaster = p.hslMasterOn;
    road.hueOffset = p.hueOffsetEnabled;
    road.rgbRanges = p.rgbRangeOn || p.cmyRangeOn;
    road.yccRanges = p.yccRangeOn;
    road.rgbMaster = p.rgbMasterOn || p.cmyMasterOn;
    road.yccMaster = p.yccMasterOn;
    road.rgbCurves = p.rgbCurvesEnabled;
    road.hslCurves = p.hslCurvesEnabled;
    road.weights = road.hslRanges || road.hueOffset || road.rgbRanges || road.yccRanges;
    road.any = road.levels || road.weights || road.hslMaster || road.rgbMaster || road.yccMaster || road.rgbCurves ||
               road.hslCurves;
    return road;
}

/// Registers that go down the road together, stage by stage: the constants of a stage stay in registers, and the lookups
/// of one register need not wait for those of another.
constexpr size_t kBlock = 8;

HWY_INLINE void WeighSource(Pixels& p, const OCProcessParams& params)
{
    const V one = Splat(1);
    const V unit =
        hn::IfThenElseZero(hn::Gt(p.sourceLuma, hn::Zero(D())), Select(hn::Lt(p.sourceLuma, one), p.sourceLuma, one));
    const Three weight = RowsAt(params.weightRows, hn::ConvertTo(DI(), unit * Splat(16384.0f)));
    p.weight[ocShadows] = weight.a;
    p.weight[ocMidtones] = weight.b;
    p.weight[ocHighlights] = weight.c;
}

HWY_INLINE void Enter(Pixels& p, V r, V g, V b)
{
    p.c = {r, g, b};
    p.sourceLuma = Luma(p.c);
}

HWY_INLINE void Process(Pixels* block, size_t count, const OCProcessParams& params, const Road& road)
{
    Pixels* const end = block + count;
    if (road.weights)
        for (Pixels* p = block; p != end; ++p) WeighSource(*p, params);
    if (road.recovery)
        for (Pixels* p = block; p != end; ++p) RecoverHighlights(*p, params);
    if (road.levels)
        for (Pixels* p = block; p != end; ++p) LevelsIn(*p, params);
    if (road.hslRanges)
        for (Pixels* p = block; p != end; ++p) HSLRanges(*p, params);
    if (road.hslMaster)
        for (Pixels* p = block; p != end; ++p) HSLMaster(*p, params);
    if (road.hueOffset)
        for (Pixels* p = block; p != end; ++p) HueOffset(*p, params);
    if (road.rgbRanges)
        for (Pixels* p = block; p != end; ++p) RGBRanges(*p, params);
    if (road.yccRanges)
        for (Pixels* p = block; p != end; ++p) YCbCrRanges(*p, params);
    if (road.rgbMaster)
        for (Pixels* p = block; p != end; ++p) RGBMaster(*p, params);
    if (road.yccMaster)
        for (Pixels* p = block; p != end; ++p) YCbCrMaster(*p, params);
    if (road.rgbCurves)
        for (Pixels* p = block; p != end; ++p) RGBCurves(*p, params);
    if (road.hslCurves)
        for (Pixels* p = block; p != end; ++p) HSLCurves(*p, params);
    if (road.levels)
        for (Pixels* p = block; p != end; ++p) LevelsOut(*p, params);
}

/// All stages off: three planes are copied, the fourth is luma.
void CopyWithLuma(const OCPlaneSpan& span, size_t whole)
{
    const D d;
    const size_t lanes = hn::Lanes(d);
    for (size_t i = 0; i < whole; i += lanes) {
        const Color c = {hn::LoadU(d, span.in[0] + i), hn::LoadU(d, span.in[1] + i), hn::LoadU(d, span.in[2] + i)};
        hn::StoreU(c.r, d, span.out[0] + i);
        hn::StoreU(c.g, d, span.out[1] + i);
        hn::StoreU(c.b, d, span.out[2] + i);
        hn::StoreU(Luma(c), d, span.out[3] + i);
    }
}

void ProcessBand(const OCProcessParams& shared, const FBFrame* source, const FBFrame* destination)
{
    const OCProcessParams params = shared; // a copy of our own: the compiler knows that no store changes it
    const Road road = RoadOf(params);
    const OCPlaneSpan span = OCSpanOf(source, destination);
    const D d;
    const size_t lanes = hn::Lanes(d);
    const size_t whole = span.count - span.count % lanes;
    Pixels block[kBlock];
    if (!road.any) {
        CopyWithLuma(span, whole);
    } else {
        for (size_t i = 0; i < whole;) {
            const size_t left = (whole - i) / lanes;
            const size_t count = left < kBlock ? left : kBlock;
            for (size_t k = 0, at = i; k < count; ++k, at += lanes)
                Enter(block[k], hn::LoadU(d, span.in[0] + at), hn::LoadU(d, span.in[1] + at),
                      hn::LoadU(d, span.in[2] + at));
            Process(block, count, params, road);
            for (size_t k = 0; k < count; ++k, i += lanes) {
                hn::StoreU(block[k].c.r, d, span.out[0] + i);
                hn::StoreU(block[k].c.g, d, span.out[1] + i);
                hn::StoreU(block[k].c.b, d, span.out[2] + i);
                hn::StoreU(Luma(block[k].c), d, span.out[3] + i);
            }
        }
    }
    if (whole == span.count) return;
    // The rest is shorter than a register: it goes through one of its own.
    const size_t rest = span.count - whole;
    HWY_ALIGN float lane[4][hn::MaxLanes(D())] = {};
    for (size_t plane = 0; plane < 3; ++plane)
        for (size_t i = 0; i < rest; ++i) lane[plane][i] = span.in[plane][whole + i];
    Enter(block[0], hn::Load(d, lane[0]), hn::Load(d, lane[1]), hn::Load(d, lane[2]));
    Process(block, 1, params, road);
    hn::Store(block[0].c.r, d, lane[0]);
    hn::Store(block[0].c.g, d, lane[1]);
    hn::Store(block[0].c.b, d, lane[2]);
    hn::Store(Luma(block[0].c), d, lane[3]);
    for (size_t plane = 0; plane < 4; ++plane)
        for (size_t i = 0; i < rest; ++i) span.out[plane][whole + i] = lane[plane][i];
}

} // namespace HWY_NAMESPACE
} // namespace ochrine
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ochrine {
HWY_EXPORT(ProcessBand);
}

namespace {

struct NamedKernel {
    int64_t target;
    OCKernel kernel;
};

constexpr NamedKernel kKernels[] = {
#if HWY_TARGETS & HWY_AVX3_DL
    {HWY_AVX3_DL, {"AVX3_DL", ochrine::N_AVX3_DL::ProcessBand}},
#endif
#if HWY_TARGETS & HWY_AVX3
    {HWY_AVX3, {"AVX3", ochrine::N_AVX3::ProcessBand}},
#endif
#if HWY_TARGETS & HWY_AVX2
    {HWY_AVX2, {"AVX2", ochrine::N_AVX2::ProcessBand}},
#endif
#if HWY_TARGETS & HWY_SSE4
    {HWY_SSE4, {"SSE4", ochrine::N_SSE4::ProcessBand}},
#endif
#if HWY_TARGETS & HWY_SSSE3
    {HWY_SSSE3, {"SSSE3", ochrine::N_SSSE3::ProcessBand}},
#endif
#if HWY_TARGETS & HWY_EMU128
    {HWY_EMU128, {"EMU128", ochrine::N_EMU128::ProcessBand}},
#endif
#if HWY_TARGETS & HWY_SCALAR
    {HWY_SCALAR, {"SCALAR", ochrine::N_SCALAR::ProcessBand}},
#endif
#if HWY_TARGETS & HWY_NEON
    {HWY_NEON, {"NEON", ochrine::N_NEON::ProcessBand}},
#endif
    {0,
     {"best",
      [](const OCProcessParams& params, const FBFrame* source, const FBFrame* destination) {
          HWY_DYNAMIC_DISPATCH(ochrine::ProcessBand)(params, source, destination);
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
    if (!destination) return;
    if (source->pixelFormat != pixFormatRGBYPlanar_Float) {
        BPDebugLog("Unknown pix format %d\n", static_cast<int>(source->pixelFormat));
        return;
    }
    if (destination->pixelFormat != pixFormatRGBYPlanar_Float) return;
    HWY_DYNAMIC_DISPATCH(ochrine::ProcessBand)(*OCParametersOf(engine), source, destination);
}
#endif
