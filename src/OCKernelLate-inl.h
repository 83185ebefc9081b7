// Stages 13 and 14 of the fast kernel: secondaries and limiter.
// Read once for every instruction set: the guard is turned over by the library each time.
#if defined(SRC_OCKERNELLATE_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef SRC_OCKERNELLATE_INL_H
#undef SRC_OCKERNELLATE_INL_H
#else
#define SRC_OCKERNELLATE_INL_H
#endif

#include "src/OCKernelPrimary-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ochrine {
namespace HWY_NAMESPACE {

// Secondaries ----------------------------------------------------------------------------------------------------------

HWY_INLINE YUV Mix(V a, const YUV& x, V b, const YUV& y)
{
    return {a * x.y + b * y.y, a * x.u + b * y.u, a * x.v + b * y.v};
}

HWY_INLINE V KeyOf(const YUV& c, const OCSecondaryParams& s, const OCKeyShape& shape)
{
    const V one = Splat(1);
    const V inverse = Splat(shape.inverseSoftnessSquared);
    V key = hn::Zero(D());
    for (uint32_t i = 0; i < s.sampleCount; ++i) {
        const OCKeySample& sample = s.sample[i];
        const V luma = Unit(one - (hn::Abs(Splat(sample.y) - c.y) - Splat(s.lumaTolerance)) * inverse);
        if (hn::AllFalse(D(), hn::Gt(luma, hn::Zero(D())))) continue; // no chroma can make more of it
        const V du = Splat(sample.u) - c.u;
        const V dv = Splat(sample.v) - c.v;
        const V chroma = Unit(one - (du * du + dv * dv - Splat(shape.chromaToleranceSquared)) * inverse);
        key = Larger(luma * chroma, key);
    }
    return key;
}

HWY_INLINE YUV Corrected(const YUV& c, const OCSecondaryParams& s)
{
    const V cosine = Splat(s.hueCosine);
    const V sine = Splat(s.hueSine);
    const V saturation = Splat(s.saturation);
    YUV out = {Splat(s.gain) * c.y + Splat(s.pedestal), saturation * (c.u * cosine - c.v * sine),
               saturation * (c.u * sine + c.v * cosine)};
    if (s.inverseGamma != 1) out.y = Lookup(s.tone, out.y);
    Pull(out, s.tint, Splat(s.tint.strength));
    return out;
}

/// True where the correction of any pixel of the size of pictures is a number, so that nothing of it is left in pixels
/// that are wholly outside the key.
HWY_INLINE bool IsTame(const OCSecondaryParams& s)
{
    if (s.style != ocPreviewOff || s.inverted) return false;
    bool tame = true;
    for (float value : {s.hueCosine, s.hueSine, s.saturation, s.gain, s.pedestal, s.tint.u, s.tint.v, s.tint.strength})
        tame = tame && value > -1e6f && value < 1e6f;
    // Powers rise or fall all the way, so that the ends of their table are its limits.
    for (float value : {s.tone.top, s.tone.slope, s.tone.entry[0], s.tone.entry[kOCToneEntries - 1]})
        tame = tame && value > -1e6f && value < 1e6f;
    return tame;
}

/// Whether no pixel can be inside the key.
HWY_INLINE bool IsOutside(const YUV& c, const OCKeyBox& box)
{
    const auto beyond = [](V value, float low, float high)
                            HWY_ATTR { return hn::Or(hn::Lt(value, Splat(low)), hn::Gt(value, Splat(high))); };
    return hn::AllTrue(D(), hn::Or(beyond(c.y, box.low[0], box.high[0]),
                                   hn::Or(beyond(c.u, box.low[1], box.high[1]), beyond(c.v, box.low[2], box.high[2]))));
}

/// Whether every correction of the pixels is a number that a key of 0 takes away. Where luma is exactly 0, the sign of a
/// zero would still show.
HWY_INLINE bool IsUsual(const YUV& c)
{
    const auto moderate = [](V value) HWY_ATTR { return hn::Lt(hn::Abs(value), Splat(1e4f)); };
    return hn::AllTrue(
        D(), hn::And(hn::And(hn::Ne(c.y, hn::Zero(D())), moderate(c.y)), hn::And(moderate(c.u), moderate(c.v))));
}

HWY_INLINE void Secondary(Pixels& p, const OCSecondaryParams& s, const OCKeyShape& shape, const OCKeyBox& box,
                          bool isTame)
{
    const V zero = hn::Zero(D());
    const YUV c = ToYUV(p.c);
    const bool outside = IsOutside(c, box);
    const V key = outside ? zero : KeyOf(c, s, shape);
    if (isTame && (outside || hn::AllTrue(D(), hn::Eq(key, zero))) && IsUsual(c)) {
        p.c = FromYUV(c.y, c.u, c.v);
        return;
    }
    const V rest = Splat(1) - key;
    YUV kept = c;
    YUV corrected = c;
    switch (s.style) {
    case ocPreviewOff: corrected = Corrected(c, s); break;
    case ocPreviewDesaturate: kept = {c.y, zero, zero}; break;
    case ocPreviewMask: {
        const V tint = Splat(kOCMaskTint);
        kept = ToYUV({Larger(p.c.r, tint), tint * p.c.g, tint * p.c.b});
        break;
    }
    case ocPreviewAlpha:
        corrected = {Splat(1), zero, zero};
        kept = {zero, zero, zero};
        break;
    }
    const YUV out = s.inverted ? Mix(key, kept, rest, corrected) : Mix(key, corrected, rest, kept);
    p.c = FromYUV(out.y, out.u, out.v);
}

// Limiter --------------------------------------------------------------------------------------------------------------

struct Composite {
    V y, u, v, amplitude;
};

HWY_INLINE Composite CompositeOf(const Color& c)
{
    const YUV yuv = ToYUV(c);
    const V u = yuv.u * Splat(100);
    const V v = yuv.v * Splat(100);
    return {yuv.y, u, v, hn::Sqrt(Larger(u * u + v * v, Splat(1)))};
}

HWY_INLINE Color Scaled(const Color& c, V factor)
{
    return {c.r * factor, c.g * factor, c.b * factor};
}

HWY_INLINE Color Rebuilt(const Composite& c, V factor)
{
    return FromYUV(c.y, c.u * factor * Splat(0.01f), c.v * factor * Splat(0.01f));
}

HWY_INLINE V Reduced(V amplitude, V excess)
{
    return Larger((amplitude - excess) / amplitude, hn::Zero(D()));
}

HWY_INLINE Color SelectColor(M mask, const Color& yes, const Color& no)
{
    return {Select(mask, yes.r, no.r), Select(mask, yes.g, no.g), Select(mask, yes.b, no.b)};
}

/// The pixels that are above the upper limit.
HWY_INLINE Color LimitedAbove(const Color& from, const Composite& c, V upper, const OCLimiterParams& limiter)
{
    const V most = Splat(limiter.chromaMax);
    switch (limiter.method) {
    case ocReduceLuma: return Scaled(from, most / upper);
    case ocReduceSaturation: return Rebuilt(c, Reduced(c.amplitude, upper - most));
    case ocSmartLimit: return Scaled(Rebuilt(c, Reduced(c.amplitude, Splat(0.4f) * (upper - most))), most / upper);
    }
    return from;
}

HWY_INLINE Color LimitedBelow(const Color& from, const Composite& c, V lower, const OCLimiterParams& limiter)
{
    const V least = Splat(limiter.chromaMin);
    switch (limiter.method) {
    case ocReduceLuma: return Scaled(from, least / lower);
    case ocReduceSaturation:
    case ocSmartLimit: return Rebuilt(c, ((lower - least) + c.amplitude) / c.amplitude);
    }
    return from;
}

HWY_INLINE void Limiter(Pixels& p, const OCProcessParams& params, const OCSoftClip& clip)
{
    const D d;
    const OCLimiterParams& limiter = params.limiter;
    const Color black = {hn::Zero(d), hn::Zero(d), hn::Zero(d)};
    V y = Luma(p.c);
    if (params.limiterSoftClip) {
        const V knee = Splat(limiter.knee);
        const M above = hn::Ge(y, knee);
        if (!hn::AllFalse(d, above)) {
            const V squeezed = (y - knee) * Splat(clip.inverseRange) * Splat(clip.rise) + knee;
            p.c = SelectColor(above, Scaled(p.c, squeezed / y), p.c);
            y = Luma(p.c);
        }
    }
    const M bright = hn::Ge(y, Splat(limiter.lumaMax));
    if (!hn::AllFalse(d, bright)) p.c = SelectColor(bright, Scaled(p.c, Splat(limiter.lumaMax) / y), p.c);

    Composite c = CompositeOf(p.c);
    const V upper = Splat(100) * c.y + c.amplitude;
    const M above = hn::Ge(upper, Splat(limiter.chromaMax));
    if (!hn::AllFalse(d, above)) {
        p.c = SelectColor(above, params.limiterPreview ? black : LimitedAbove(p.c, c, upper, limiter), p.c);
        c = CompositeOf(p.c);
    }
    const V lower = Splat(100) * c.y - c.amplitude;
    const M below = hn::Le(lower, Splat(limiter.chromaMin));
    if (!hn::AllFalse(d, below))
        p.c = SelectColor(below, params.limiterPreview ? black : LimitedBelow(p.c, c, lower, limiter), p.c);
}

} // namespace HWY_NAMESPACE
} // namespace ochrine
HWY_AFTER_NAMESPACE();

#endif // SRC_OCKERNELLATE_INL_H
