// Stages 1 to 9 and 12 of the fast kernel.
// Read once for every instruction set: the guard is turned over by the library each time.
#if defined(SRC_OCKERNELPRIMARY_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef SRC_OCKERNELPRIMARY_INL_H
#undef SRC_OCKERNELPRIMARY_INL_H
#else
#define SRC_OCKERNELPRIMARY_INL_H
#endif

#include "src/OCKernelBasics-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ochrine {
namespace HWY_NAMESPACE {

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
    const V mx = Larger(Larger(c.r, c.g), c.b);
    const V mn = Smaller(Smaller(c.r, c.g), c.b);
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
    const V e = Smaller(f, base.limit);
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

HWY_INLINE void HSLRangesBefore(Pixels& p, const OCProcessParams& params)
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
}

HWY_INLINE void HSLRangesTone(Pixels& p, const OCProcessParams& params)
{
    const OCHSLParams& s = params.hslRange[ocShadows];
    const OCHSLParams& m = params.hslRange[ocMidtones];
    const OCHSLParams& h = params.hslRange[ocHighlights];
    const auto toned = [&](V c) HWY_ATTR { return BlendTones(p, params.hslRangeRows, s.tone, m.tone, h.tone, c); };
    p.c = {toned(p.c.r), toned(p.c.g), toned(p.c.b)};
}

HWY_INLINE void HSLRangesSaturation(Pixels& p, const OCProcessParams& params)
{
    const OCHSLParams& s = params.hslRange[ocShadows];
    const OCHSLParams& m = params.hslRange[ocMidtones];
    const OCHSLParams& h = params.hslRange[ocHighlights];
    const V y = Luma(p.c);
    const auto blended = [&](V c) HWY_ATTR {
        return Blend(p, Saturate(s.saturation, c, y), Saturate(m.saturation, c, y), Saturate(h.saturation, c, y));
    };
    p.c = {blended(p.c.r), blended(p.c.g), blended(p.c.b)};
}

HWY_INLINE void HSLRangesVibrance(Pixels& p, const OCProcessParams& params)
{
    const OCHSLParams& s = params.hslRange[ocShadows];
    const OCHSLParams& m = params.hslRange[ocMidtones];
    const OCHSLParams& h = params.hslRange[ocHighlights];
    const VibranceBase base = VibranceOf(p.c);
    p.c = Blend(p, Vibrance(p.c, base, s.vibrance), Vibrance(p.c, base, m.vibrance), Vibrance(p.c, base, h.vibrance));
}

HWY_INLINE void HSLMasterTone(Pixels& p, const OCProcessParams& params)
{
    const OCHSLParams& m = params.hslMaster;
    if (m.hue != 0) p.c = Rotate(m, ToYUV(p.c));
    const V gain = Splat(m.gain);
    const V pedestal = Splat(m.pedestal);
    p.c = {p.c.r * gain + pedestal, p.c.g * gain + pedestal, p.c.b * gain + pedestal};
    if (params.hslMasterTone) p.c = {Lookup(m.tone, p.c.r), Lookup(m.tone, p.c.g), Lookup(m.tone, p.c.b)};
}

HWY_INLINE void HSLMasterColor(Pixels& p, const OCProcessParams& params)
{
    const OCHSLParams& m = params.hslMaster;
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

HWY_INLINE void RGBRangesLinear(Pixels& p, const OCProcessParams& params)
{
    const OCChannelParams* range = params.rgbRange;
    p.c = {BlendScaled(p, range, p.c.r, 0), BlendScaled(p, range, p.c.g, 1), BlendScaled(p, range, p.c.b, 2)};
}

HWY_INLINE void RGBRangesTone(Pixels& p, const OCProcessParams& params)
{
    const OCChannelParams* range = params.rgbRange;
    p.c = {BlendChannel(p, params.rgbRangeRows, range, p.c.r, 0), BlendChannel(p, params.rgbRangeRows, range, p.c.g, 1),
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

// Between the parts of YCbCr's stages Y, Cb and Cr stand where R, G and B stood.
HWY_INLINE void YCbCrRangesLinear(Pixels& p, const OCProcessParams& params)
{
    const OCChannelParams* range = params.yccRange;
    const YCC c = ToYCC(p.c);
    p.c = {BlendScaled(p, range, c.y, 0), BlendScaled(p, range, c.cb, 1), BlendScaled(p, range, c.cr, 2)};
}

HWY_INLINE void YCbCrRangesTone(Pixels& p, const OCProcessParams& params)
{
    const OCChannelParams* range = params.yccRange;
    const V cb = Splat(0.5f) * BlendChannel(p, params.yccRangeRows, range, Splat(2) * hn::Abs(p.c.g), 1);
    const V cr = Splat(0.5f) * BlendChannel(p, params.yccRangeRows, range, Splat(2) * hn::Abs(p.c.b), 2);
    p.c = {BlendChannel(p, params.yccRangeRows, range, p.c.r, 0), WithSignOf(p.c.g, cb), WithSignOf(p.c.b, cr)};
}

HWY_INLINE void YCbCrRangesBack(Pixels& p)
{
    p.c = FromYCC({p.c.r, p.c.g, p.c.b});
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

HWY_INLINE void LevelsOut(Pixels& p, const OCProcessParams& params)
{
    p.c = {p.c.r * Splat(params.outScale[0]) + Splat(params.outOffset[0]),
           p.c.g * Splat(params.outScale[1]) + Splat(params.outOffset[1]),
           p.c.b * Splat(params.outScale[2]) + Splat(params.outOffset[2])};
}

} // namespace HWY_NAMESPACE
} // namespace ochrine
HWY_AFTER_NAMESPACE();

#endif // SRC_OCKERNELPRIMARY_INL_H
