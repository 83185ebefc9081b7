// Stages 10 and 11 of the fast kernel: RGB and HSL curves.
// Read once for every instruction set: the guard is turned over by the library each time.
#if defined(SRC_OCKERNELCURVES_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef SRC_OCKERNELCURVES_INL_H
#undef SRC_OCKERNELCURVES_INL_H
#else
#define SRC_OCKERNELCURVES_INL_H
#endif

#include "src/OCKernelBasics-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ochrine {
namespace HWY_NAMESPACE {

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
    const V largest = Larger(Larger(p.c.r, p.c.g), p.c.b);
    const V smallest = Smaller(Smaller(p.c.r, p.c.g), p.c.b);
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
    const VI index = hn::ConvertTo(DI(), Unit(x) * Splat(16384.0f));
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

} // namespace HWY_NAMESPACE
} // namespace ochrine
HWY_AFTER_NAMESPACE();

#endif // SRC_OCKERNELCURVES_INL_H
