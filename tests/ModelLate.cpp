// The model of the secondaries and of the limiter: colours as points, told from the grade alone.
#include "tests/Model.h"
#include "tests/ModelColor.h"

#include <algorithm>
#include <cmath>

namespace {

Real Held(Real x)
{
    return x > 0 ? std::min<Real>(x, 1) : 0;
}

/// How near `distance` is to `tolerance`: 1 inside, falling by the square of the softness; a step without softness.
Real Nearness(Real distance, Real tolerance, Real softness)
{
    if (softness == 0) return distance < tolerance ? 1 : 0;
    return Held(1 - (distance - tolerance) / (softness * softness));
}

Real KeyOf(const OCSecondary& s, Yuv c)
{
    Real key = 0;
    for (const OCColorSample& sample : s.sample) {
        if ((sample.on & 255) == 0) continue;
        const Real r = sample.red, g = sample.green, b = sample.blue;
        const Yuv at = {0.299L * r + 0.587L * g + 0.114L * b, 0.436798L * b - 0.289391L * g - 0.147407L * r,
                        0.614777L * r - 0.5147996L * g - 0.099978L * b};
        const Real luma = Nearness(fabsl(at.y - c.y), s.lumatol, s.softness);
        const Real square = (at.u - c.u) * (at.u - c.u) + (at.v - c.v) * (at.v - c.v);
        const Real chroma = Nearness(square, static_cast<Real>(s.chromatol) * s.chromatol, s.softness);
        key = std::max(key, luma * chroma);
    }
    return key;
}

Yuv CorrectedOf(const OCSecondary& s, Yuv c)
{
    const Real angle = static_cast<Real>(s.hue) * acosl(-1) / 180, saturation = static_cast<Real>(s.saturation) / 100;
    Yuv out = {c.y * s.gain + s.ped, saturation * (c.u * cosl(angle) - c.v * sinl(angle)),
               saturation * (c.u * sinl(angle) + c.v * cosl(angle))};
    if (s.gamma != 1) out.y = ModelLookup([&](Real x) { return powl(x, 1 / static_cast<Real>(s.gamma)); }, out.y);
    const Tint tint = TintOf({0, s.hueoffset_tintangle, s.hueoffset_strength});
    return {out.y, out.u + (tint.u - out.u) * tint.k, out.v + (tint.v - out.v) * tint.k};
}

ModelPixel Times(ModelPixel p, Real k)
{
    return {p.r * k, p.g * k, p.b * k};
}

} // namespace

ModelPixel ModelSecondary(const OCSecondary& s, ModelPixel p)
{
    const Yuv c = ToYuv(p);
    Yuv inside = c, outside = c;
    const int style = s.preview ? s.previewStyle : 0;
    if (style == 0) inside = CorrectedOf(s, c);
    if (style == 1) outside = {c.y, 0, 0};
    if (style == 2) outside = ToYuv({std::max<Real>(p.r, 0.6825L), 0.6825L * p.g, 0.6825L * p.b});
    if (style == 3) {
        inside = {1, 0, 0};
        outside = {0, 0, 0};
    }
    if (s.invert) std::swap(inside, outside);
    const Real key = KeyOf(s, c);
    const auto mixed = [key](Real a, Real b) { return key * a + (1 - key) * b; };
    return FromYuv({mixed(inside.y, outside.y), mixed(inside.u, outside.u), mixed(inside.v, outside.v)});
}

ModelPixel ModelLimiter(const OCSettings& g, ModelPixel p)
{
    const Real setup = g.videoLevels.videoSetupPresent ? 0.075L : 0;
    const Real most = g.videoLevels.videoMaxLevel, black = g.videoLevels.videoBlackLevel / most;
    const Real range = (g.videoLevels.videoWhiteLevel / most - black) / (1 - setup);
    const auto signal = [&](Real percent) { return (percent / 100 - setup) * range + black; };
    const OCLimiterBlock& l = g.limiter;
    const Real knee = signal(l.limiter_softclip_knee), white = signal(l.limiter_softclip_white_level);
    const Real upper = 100 * signal(l.limiter_chroma_max), lower = 100 * signal(l.limiter_chroma_min);

    if (l.limiter_softclip_enable && Luma(p) >= knee) {
        const Real along = (Luma(p) - knee) / (signal(l.limiter_softclip_max_level) - knee);
        p = Times(p, (along * (white - knee) + knee) / Luma(p));
    }
    if (Luma(p) >= signal(l.limiter_luma_max)) p = Times(p, signal(l.limiter_luma_max) / Luma(p));

    const auto amplitude = [&] { return 100 * std::max<Real>(hypotl(ToYuv(p).u, ToYuv(p).v), 0.01L); };
    const auto withChroma = [&](Real k) {
        const Yuv c = ToYuv(p);
        return FromYuv({c.y, c.u * k, c.v * k});
    };
    const Real high = 100 * Luma(p) + amplitude();
    if (high >= upper) {
        const Real a = amplitude(), over = high - upper;
        if (g.limiter_preview)
            p = {0, 0, 0};
        else if (l.limiter_clip_method == 2)
            p = Times(p, upper / high);
        else if (l.limiter_clip_method == 1)
            p = withChroma(std::max<Real>(0, (a - over) / a));
        else if (l.limiter_clip_method == 3)
            p = Times(withChroma(std::max<Real>(0, (a - 0.4L * over) / a)), upper / high);
    }
    const Real low = 100 * Luma(p) - amplitude();
    if (low <= lower) {
        const Real a = amplitude();
        if (g.limiter_preview)
            p = {0, 0, 0};
        else if (l.limiter_clip_method == 2)
            p = Times(p, lower / low);
        else if (l.limiter_clip_method == 1 || l.limiter_clip_method == 3)
            p = withChroma((low - lower + a) / a);
    }
    return p;
}
