// Stages 10 and 11 of the fast kernel: RGB and HSL curves.
// Read once for every instruction set: the guard is turned over by the library each time.
#if defined(SRC_OCKERNELCURVES_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef SRC_OCKERNELCURVES_INL_H
#undef SRC_OCKERNELCURVES_INL_H
#else
#define SRC_OCKERNELCURVES_INL_H
#endif

#include "src/OCKernelBasics-inl.h"
#include "src/OCKernelDoubles-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ochrine {
namespace HWY_NAMESPACE {

HWY_INLINE void RGBCurves(Pixels& p, const OCProcessParams& params)
{
    p.c = {Lookup(params.rgbCurve[0], p.c.r), Lookup(params.rgbCurve[1], p.c.g), Lookup(params.rgbCurve[2], p.c.b)};
}

/// The gamma of the RGB master and the curve behind it in one lookup; where an input is above 1 or no number, in two.
HWY_INLINE V MasterCurve(const OCProcessParams& params, V input, int i)
{
    const ToneIndex t = IndexOf(input);
    if (HWY_LIKELY(t.allInside)) return hn::GatherIndex(D(), params.masterCurve[i], t.index);
    return Lookup(params.rgbCurve[i], Lookup(params.rgbMaster.tone[i], t));
}

/// RGBMaster with gamma, then RGBCurves.
HWY_INLINE void RGBMasterAndCurves(Pixels& p, const OCProcessParams& params)
{
    const OCChannelParams& m = params.rgbMaster;
    p.c = {MasterCurve(params, Splat(m.scale[0]) * p.c.r + Splat(m.offset[0]), 0),
           MasterCurve(params, Splat(m.scale[1]) * p.c.g + Splat(m.offset[1]), 1),
           MasterCurve(params, Splat(m.scale[2]) * p.c.b + Splat(m.offset[2]), 2)};
}

/// RGB to HSL before grey pixels are told apart: hue by sextants, saturation, lightness.
struct HSL {
    V h, s, l;
};

/// What the part in double needs, as singles: the ends of the channels, the two whose difference gives the hue, and the
/// sextant from which it counts. Who is largest decides, red before green, and all that is decided in singles.
struct HSLBase {
    V largest, smallest, minuend, subtrahend, first;
};

HWY_INLINE HSLBase BaseOf(const Color& c)
{
    HSLBase b;
    b.largest = Larger(Larger(c.r, c.g), c.b);
    b.smallest = Smaller(Smaller(c.r, c.g), c.b);
    const M isRed = hn::Eq(c.r, b.largest);
    const M isGreen = hn::Eq(c.g, b.largest);
    b.minuend = Select(isRed, c.g, Select(isGreen, c.b, c.r));
    b.subtrahend = Select(isRed, c.b, Select(isGreen, c.r, c.g));
    b.first = Select(isRed, Splat(6), Select(isGreen, Splat(2), Splat(4)));
    return b;
}

struct HalfHSL {
    VH h, s, l;
};

HWY_INLINE HalfHSL ToHSLHalf(VH largest, VH smallest, VH minuend, VH subtrahend, VH first)
{
    const DD d;
    const VD mx = hn::PromoteTo(d, largest);
    const VD mn = hn::PromoteTo(d, smallest);
    const VD sum = mx + mn;
    const VD diff = mx - mn;
    // Half of the sum, rounded to single, is at most 1/2 as long as the sum is at most this.
    const auto isDark = hn::Le(sum, hn::Set(d, 1 + 1 / 16777216.0));
    const VD saturation = diff / hn::IfThenElse(isDark, sum, hn::Set(d, 2.0) - sum);
    const VD six = hn::Set(d, 6.0);
    VD sextant = (hn::PromoteTo(d, minuend) - hn::PromoteTo(d, subtrahend)) / diff + hn::PromoteTo(d, first);
    sextant = hn::IfThenElse(hn::Ge(sextant, six), sextant - six, sextant); // only red's reaches six
    return {ToSingle(sextant / six), ToSingle(saturation), ToSingle(sum * hn::Set(d, 0.5))};
}

HWY_INLINE HSL ToHSL(const HSLBase& b)
{
#if HWY_TARGET == HWY_SCALAR
    const HalfHSL one = ToHSLHalf(b.largest, b.smallest, b.minuend, b.subtrahend, b.first);
    return {one.h, one.s, one.l};
#else
    const D d;
    const DH dh;
    const auto low = [&](V v) HWY_ATTR { return hn::LowerHalf(dh, v); };
    const auto high = [&](V v) HWY_ATTR { return hn::UpperHalf(dh, v); };
    const HalfHSL l = ToHSLHalf(low(b.largest), low(b.smallest), low(b.minuend), low(b.subtrahend), low(b.first));
    const HalfHSL h = ToHSLHalf(high(b.largest), high(b.smallest), high(b.minuend), high(b.subtrahend), high(b.first));
    return {hn::Combine(d, h.h, l.h), hn::Combine(d, h.s, l.s), hn::Combine(d, h.l, l.l)};
#endif
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

/// The first part of HSL curves leaves hue, saturation and lightness where red, green and blue stood.
HWY_INLINE void HSLCurvesIn(Pixels& p)
{
    const HSLBase base = BaseOf(p.c);
    const HSL color = ToHSL(base);
    // At or below black, and where no channel stands out, there is neither hue nor saturation.
    const M isColor = hn::AndNot(hn::Le(color.l, hn::Zero(D())), hn::Gt(base.largest, base.smallest));
    p.c = {hn::IfThenElseZero(isColor, color.h), hn::IfThenElseZero(isColor, color.s), color.l};
}

HWY_INLINE void HSLCurvesOut(Pixels& p, const OCProcessParams& params)
{
    const V one = Splat(1);
    V x = p.c.r + Splat(0.5f);
    x = Select(hn::Gt(x, one), x - one, x);
    const VI index = hn::ConvertTo(DI(), Unit(x) * Splat(16384.0f));
    const Three curve = RowsAt(params.hslCurveRows, index);
    const V h = p.c.r + curve.a;
    const V s = p.c.g * curve.b;
    const V l = p.c.b * curve.c;
    const V m2 = Select(hn::Lt(l, Splat(0.5f)), (one + s) * l, l + s - l * s);
    const V m1 = Splat(2) * l - m2;
    const M grey = hn::Eq(s, hn::Zero(D()));
    p.c = {Select(grey, l, HueToChannel(m1, m2, h + Splat(0.33333334f))), Select(grey, l, HueToChannel(m1, m2, h)),
           Select(grey, l, HueToChannel(m1, m2, h - Splat(0.33333334f)))};
}

} // namespace HWY_NAMESPACE
} // namespace ochrine
HWY_AFTER_NAMESPACE();

#endif // SRC_OCKERNELCURVES_INL_H
