#include "tests/Model.h"

#include "tests/ModelColor.h"

#include <algorithm>
#include <cmath>

namespace {

Real Clamp(Real x)
{
    return x > 0 ? (x < 1 ? x : 1) : 0;
}

size_t Index(Real x)
{
    return static_cast<size_t>(Clamp(x) * 16384);
}

OCHSLBlock HSLOf(const OCSettings& g, Group group)
{
    const OCHSLBlock block = group == Group::master     ? g.hsl.master
                             : group == Group::shadows  ? g.hsl.shadows
                             : group == Group::midtones ? g.hsl.midtones
                                                        : g.hsl.highlights;
    if (g.primaryOn && g.hslOn && block.on) return block;
    return {0, 0, 100, 0, 0, 0, 0.5f, 1, 1, 0};
}

OCChannelBlock ChannelsOf(const OCRanges<OCChannelBlock>& ranges, uint32_t on, Group group)
{
    const OCChannelBlock block = group == Group::master     ? ranges.master
                                 : group == Group::shadows  ? ranges.shadows
                                 : group == Group::midtones ? ranges.midtones
                                                            : ranges.highlights;
    if (on && block.on) return block;
    return {0, {1, 1, 0}, {{1, 1, 0}, {1, 1, 0}, {1, 1, 0}}};
}

bool AnyIn(const OCRanges<OCChannelBlock>& ranges, uint32_t on, bool withMaster)
{
    return on && ((withMaster && ranges.master.on) || ranges.shadows.on || ranges.midtones.on || ranges.highlights.on);
}

OCLevelsBlock LevelsOf(const OCSettings& g, int i)
{
    if (g.levelsOn && g.levels[i].on) return g.levels[i];
    return {0, 0, 0, 0.5f, 1, 0, 0.5f, 1};
}

constexpr Group kRanges[3] = {Group::shadows, Group::midtones, Group::highlights};

struct Weights {
    Real w[3];
    template <class F> Real Mix(F f) const { return w[0] * f(0) + w[1] * f(1) + w[2] * f(2); }
};

template <class F> ModelPixel Each(F f)
{
    return {f(0), f(1), f(2)};
}

ModelPixel Rotated(ModelPixel p, Real degrees)
{
    const Yuv c = ToYuv(p);
    const Real a = degrees * acosl(-1) / 180;
    return FromYuv({c.y, c.u * cosl(a) - c.v * sinl(a), c.v * cosl(a) + c.u * sinl(a)});
}

Real VibranceFactor(Real v)
{
    return v >= 0 ? v * 0.01L + 1 : ((v + 100) * 0.63L + 37) / 100;
}

ModelPixel Vibrant(ModelPixel p, Real f)
{
    const Real mx = std::max({p.r, p.g, p.b}), mn = std::min({p.r, p.g, p.b});
    const Real diff = mx - mn, light = (mx + mn) / 2;
    Real s = diff > 0 ? diff / (light <= 0.5L ? mx + mn : 2 - diff) : diff;
    if (light <= 0) s = 0;
    const Real e = std::min(f, (1 - s) * 1.1L + 1);
    const Real y = Luma(p);
    return Each([&](int i) { return p[i] * e + y * (1 - e); });
}

struct Line {
    Real scale, offset;
};

/// Scale and offset of RGB with CMY folded in.
Line RGBLine(const OCSettings& g, Group group, int channel)
{
    const OCChannelBlock rgb = ChannelsOf(g.rgb, g.rgbOn, group);
    const OCChannelBlock cmy = ChannelsOf(g.cmy, g.cmyOn, group);
    Real gain = rgb.group.gain, pedestal = rgb.group.pedestal;
    Real own = rgb.channel[channel].gain, ownPedestal = rgb.channel[channel].pedestal;
    if (AnyIn(g.cmy, g.cmyOn, true)) {
        gain *= cmy.group.gain;
        pedestal = group == Group::shadows ? static_cast<Real>(cmy.group.pedestal) : pedestal + cmy.group.pedestal;
        for (int other = 0; other < 3; ++other)
            if (other != channel) {
                own *= cmy.channel[other].gain;
                ownPedestal += cmy.channel[other].pedestal;
            }
    }
    return {gain * own, pedestal + ownPedestal};
}

Line YCCLine(const OCSettings& g, Group group, int channel)
{
    const OCChannelBlock b = ChannelsOf(g.ycbcr, g.ycbcrOn, group);
    return {static_cast<Real>(b.group.gain) * b.channel[channel].gain,
            static_cast<Real>(b.group.pedestal) + b.channel[channel].pedestal};
}

bool HasGamma(const OCChannelBlock& b)
{
    return b.group.gamma != 1 || b.channel[0].gamma != 1 || b.channel[1].gamma != 1 || b.channel[2].gamma != 1;
}

bool RangeGamma(const OCRanges<OCChannelBlock>& ranges, uint32_t on)
{
    return std::any_of(kRanges, kRanges + 3, [&](Group group) { return HasGamma(ChannelsOf(ranges, on, group)); });
}

Real Invert(Real a, Real b)
{
    return a == b ? 1e-9L : 1 / (b - a);
}

Real Difference(Real a, Real b)
{
    return a == b ? 1e-9L : b - a;
}

ModelPixel ToYcc(ModelPixel p)
{
    return {Luma(p), -0.168736L * p.r - 0.331264L * p.g + 0.5L * p.b, 0.5L * p.r - 0.418688L * p.g - 0.081312L * p.b};
}

ModelPixel FromYcc(ModelPixel c)
{
    return {c.r + 1.402L * c.b, c.r - 0.344136L * c.g - 0.714136L * c.b, c.r + 1.772L * c.g};
}

template <class Lookup> Real Signed(Real chroma, Lookup lookup)
{
    const Real half = lookup(2 * fabsl(chroma)) / 2;
    return chroma < 0 ? -half : half;
}

Real TableLookup(const float* table, Real input, int base)
{
    return ModelLookup([table](Real x) { return static_cast<Real>(table[static_cast<size_t>(x * 16384)]); }, input,
                       base);
}

} // namespace

Real ModelLookup(const ModelTone& tone, Real input, int base)
{
    if (input <= 1) return tone(static_cast<Real>(Index(input)) / 16384);
    const Real top = tone(16383 / 16384.0L);
    const Real before = tone(static_cast<Real>(16383 - base) / 16384);
    return top + (input - 1) * (top - before) * (16384 / base);
}

ModelTone ModelHSLTone(const OCSettings& g, Group group)
{
    return [&g, group](Real x) {
        Real result = 0;
        for (Group stage : {Group::master, Group::shadows, Group::midtones, Group::highlights}) {
            const OCHSLBlock b = HSLOf(g, stage);
            const Real con = static_cast<Real>(b.contrast) / 100, bri = static_cast<Real>(b.brightness) / 200;
            const Real v = x + (0.5L - b.contrastCenter);
            const Real t = std::max<Real>(v <= 0.5L ? v : 1 - v, 0);
            Real r = con < 0    ? powl(2 * t, 1 + con) / 2
                     : con == 1 ? powl(2 * t, 127) / 2
                                : powl(2 * t, 1 / (1 - con)) / 2;
            if (v > 0.5L) r = 1 - r;
            const Real lit = bri < 0 ? (bri + 1) * r : (1 - r) * bri + r;
            result = powl(lit, 1 / static_cast<Real>(b.gamma));
            if (stage == group) break;
            x = static_cast<float>(r); // the next range is fed with this
        }
        return result;
    };
}

ModelTone ModelRGBTone(const OCSettings& g, Group group, int channel)
{
    const OCChannelBlock rgb = ChannelsOf(g.rgb, g.rgbOn, group);
    const OCChannelBlock cmy = ChannelsOf(g.cmy, g.cmyOn, group);
    const bool fold = AnyIn(g.cmy, g.cmyOn, true);
    return [=](Real x) {
        Real value =
            powl(powl(x, 1 / static_cast<Real>(rgb.channel[channel].gamma)), 1 / static_cast<Real>(rgb.group.gamma));
        if (!fold) return value;
        const auto raise = [&](float gamma) { value = powl(value, 1 / static_cast<Real>(gamma)); };
        if (group == Group::master) raise(cmy.group.gamma);
        for (int other = 0; other < 3; ++other) {
            if (other == channel) continue;
            raise(cmy.channel[other].gamma);
            if (group != Group::master) raise(cmy.group.gamma);
        }
        return value;
    };
}

ModelTone ModelYCCTone(const OCSettings& g, Group group, int channel)
{
    const OCChannelBlock b = ChannelsOf(g.ycbcr, g.ycbcrOn, group);
    return [=](Real x) {
        const Real value = powl(x, 1 / static_cast<Real>(b.channel[channel].gamma));
        return channel == 0 ? powl(value, 1 / static_cast<Real>(b.group.gamma)) : value;
    };
}

ModelTone ModelLevelsTone(const OCSettings& g, int channel)
{
    const auto exponent = [](const OCLevelsBlock& b) -> Real {
        const Real gray =
            (static_cast<Real>(b.ingraypt) - b.inblackpt) / (static_cast<Real>(b.inwhitept) - b.inblackpt);
        if (fabsl(gray - 0.5L) < 1e-7L) return 1; // the same number in single
        if (gray < 0.5L) return 1 / (10 * (0.5L - gray) + 1);
        const Real d = 1 - 2 * (gray - 0.5L);
        return fabsl(d) < 1e-7L ? 1000000 : 1 / d;
    };
    const Real own = exponent(LevelsOf(g, channel + 1)), master = exponent(LevelsOf(g, 0));
    return [=](Real x) { return powl(powl(x, own), master); };
}

ModelPixel ModelRGBToHSL(ModelPixel p)
{
    const Real mx = std::max({p.r, p.g, p.b}), mn = std::min({p.r, p.g, p.b}), d = mx - mn;
    const Real l = (mx + mn) / 2;
    if (l <= 0 || d <= 0) return {0, 0, l};
    const Real s = l <= 0.5L ? d / (mx + mn) : d / (2 - (mx + mn));
    Real h = p.r == mx ? fmodl((p.g - p.b) / d + 6, 6) : p.g == mx ? (p.b - p.r) / d + 2 : (p.r - p.g) / d + 4;
    return {h / 6, s, l};
}

ModelPixel ModelHSLToRGB(ModelPixel c)
{
    const Real hue = c.r, s = c.g, l = c.b;
    if (s == 0) return {l, l, l};
    const Real m2 = l < 0.5L ? (1 + s) * l : l + s - l * s, m1 = 2 * l - m2;
    return Each([&](int i) {
        Real h = hue + (1 - i) * 0.33333334L;
        if (h < 0) h += 1;
        if (h > 1) h -= 1;
        if (6 * h < 1) return m1 + (m2 - m1) * 6 * h;
        if (2 * h < 1) return m2;
        if (3 * h < 2) return m1 + (m2 - m1) * (0.66666669L - h) * 6;
        return m1;
    });
}

ModelPixel ModelRun(const OCSettings& g, const ModelTables& tables, ModelPixel p)
{
    const Real sourceLuma = Luma(p);
    Weights w = {};
    for (int r = 0; r < 3; ++r) w.w[r] = tables.weight[r][Index(sourceLuma)];

    if (g.levelsOn) {
        const OCLevelsBlock m = LevelsOf(g, 0);
        if (g.inputControls_highlight_recovery != 0) {
            const Real recovery = g.levels[0].on ? static_cast<Real>(g.inputControls_highlight_recovery) : 0;
            const Real t = 1 - 0.4L * recovery;
            if (sourceLuma >= t) {
                const Real k = ((sourceLuma - t) / 2 + t) / sourceLuma;
                p = Each([&](int i) { return p[i] * k; });
            }
        }
        bool gamma = false;
        for (int i = 0; i < 4; ++i) gamma = gamma || LevelsOf(g, i).ingraypt != 0.5f;
        p = Each([&](int i) {
            const OCLevelsBlock c = LevelsOf(g, i + 1);
            const Real scale = Invert(m.inblackpt, m.inwhitept) * Invert(c.inblackpt, c.inwhitept);
            const Real offset =
                -m.inblackpt * Invert(m.inblackpt, m.inwhitept) - c.inblackpt * Invert(c.inblackpt, c.inwhitept);
            const Real v = p[i] * scale + offset;
            return gamma ? ModelLookup(ModelLevelsTone(g, i), v) : v;
        });
    }

    const auto isOn = [&](Group group) { return HSLOf(g, group).on != 0; };
    if (isOn(Group::shadows) || isOn(Group::midtones) || isOn(Group::highlights)) {
        OCHSLBlock b[3];
        for (int r = 0; r < 3; ++r) b[r] = HSLOf(g, kRanges[r]);
        ModelPixel turned[3];
        for (int r = 0; r < 3; ++r) turned[r] = Rotated(p, b[r].hue);
        if (b[0].hue != 0 || b[1].hue != 0 || b[2].hue != 0)
            p = Each([&](int i) { return w.Mix([&](int r) { return turned[r][i]; }); });
        p = Each([&](int i) {
            Real c = p[i];
            if (b[0].gain != 1 || b[1].gain != 1 || b[2].gain != 1)
                c *= w.Mix([&](int r) { return static_cast<Real>(b[r].gain); });
            return c + w.Mix([&](int r) { return static_cast<Real>(b[r].pedestal); });
        });
        p = Each([&](int i) { return w.Mix([&](int r) { return ModelLookup(ModelHSLTone(g, kRanges[r]), p[i]); }); });
        if (b[0].saturation != 100 || b[1].saturation != 100 || b[2].saturation != 100) {
            const Real y = Luma(p);
            p = Each([&](int i) {
                return w.Mix([&](int r) {
                    const Real sat = static_cast<Real>(b[r].saturation) / 100;
                    return sat * p[i] + (1 - sat) * y;
                });
            });
        }
        if (b[0].vibrance != 0 || b[1].vibrance != 0 || b[2].vibrance != 0) {
            ModelPixel driven[3];
            for (int r = 0; r < 3; ++r) driven[r] = Vibrant(p, VibranceFactor(b[r].vibrance));
            p = Each([&](int i) { return w.Mix([&](int r) { return driven[r][i]; }); });
        }
    }
    if (isOn(Group::master)) {
        const OCHSLBlock b = HSLOf(g, Group::master);
        if (b.hue != 0) p = Rotated(p, b.hue);
        p = Each([&](int i) { return p[i] * b.gain + b.pedestal; });
        if (b.contrast != 0 || b.contrastCenter != 0.5f || b.gamma != 1 || b.brightness != 0)
            p = Each([&](int i) { return ModelLookup(ModelHSLTone(g, Group::master), p[i]); });
        const Real sat = static_cast<Real>(b.saturation) / 100, y = Luma(p);
        if (b.saturation != 100) p = Each([&](int i) { return sat * p[i] + (1 - sat) * y; });
        if (b.vibrance != 0) p = Vibrant(p, VibranceFactor(b.vibrance));
    }
    if (g.primaryOn && g.hueOffsetOn) {
        Yuv c = ToYuv(p);
        const auto pull = [&](const OCHueOffsetTriple& triple, Real weight) {
            const Tint t = TintOf(triple);
            c.u += (t.u - c.u) * t.k * weight;
            c.v += (t.v - c.v) * t.k * weight;
        };
        pull(g.hueOffset.shadows, w.w[0]);
        pull(g.hueOffset.midtones, w.w[1]);
        pull(g.hueOffset.highlights, w.w[2]);
        pull(g.hueOffset.master, 1);
        p = FromYuv(c);
    }
    if (AnyIn(g.rgb, g.rgbOn, false) || AnyIn(g.cmy, g.cmyOn, false)) {
        p = Each([&](int i) {
            return w.Mix([&](int r) {
                const Line line = RGBLine(g, kRanges[r], i);
                return line.scale * p[i] + line.offset;
            });
        });
        if (RangeGamma(g.rgb, g.rgbOn) || RangeGamma(g.cmy, g.cmyOn))
            p = Each(
                [&](int i) { return w.Mix([&](int r) { return ModelLookup(ModelRGBTone(g, kRanges[r], i), p[i]); }); });
    }
    if (AnyIn(g.ycbcr, g.ycbcrOn, false)) {
        ModelPixel c = ToYcc(p);
        c = Each([&](int i) {
            return w.Mix([&](int r) {
                const Line line = YCCLine(g, kRanges[r], i);
                return line.scale * c[i] + line.offset;
            });
        });
        if (RangeGamma(g.ycbcr, g.ycbcrOn))
            c = Each([&](int i) {
                const auto mixed = [&](Real x) {
                    return w.Mix([&](int r) { return ModelLookup(ModelYCCTone(g, kRanges[r], i), x); });
                };
                return i == 0 ? mixed(c[0]) : Signed(c[i], mixed);
            });
        p = FromYcc(c);
    }
    const bool rgbMaster = g.rgbOn && g.rgb.master.on, cmyMaster = g.cmyOn && g.cmy.master.on;
    if (rgbMaster || cmyMaster) {
        p = Each([&](int i) {
            const Line line = RGBLine(g, Group::master, i);
            return line.scale * p[i] + line.offset;
        });
        if (HasGamma(ChannelsOf(g.rgb, g.rgbOn, Group::master)) || HasGamma(ChannelsOf(g.cmy, g.cmyOn, Group::master)))
            p = Each([&](int i) { return ModelLookup(ModelRGBTone(g, Group::master, i), p[i]); });
    }
    if (g.ycbcrOn && g.ycbcr.master.on) {
        ModelPixel c = ToYcc(p);
        c = Each([&](int i) {
            const Line line = YCCLine(g, Group::master, i);
            return line.scale * c[i] + line.offset;
        });
        if (HasGamma(g.ycbcr.master))
            c = Each([&](int i) {
                const auto look = [&](Real x) { return ModelLookup(ModelYCCTone(g, Group::master, i), x); };
                return i == 0 ? look(c[0]) : Signed(c[i], look);
            });
        p = FromYcc(c);
    }
    if (g.curvesOn && g.rgbCurvesOn) p = Each([&](int i) { return TableLookup(tables.rgbCurve[i], p[i], 128); });
    if (g.curvesOn && g.hslCurvesOn) {
        const ModelPixel c = ModelRGBToHSL(p);
        Real x = c.r + 0.5L;
        if (x > 1) x -= 1;
        const size_t i = Index(x);
        p = ModelHSLToRGB({c.r + tables.hueCurve[i], c.g * tables.saturationCurve[i], c.b * tables.lightnessCurve[i]});
    }
    if (g.levelsOn) {
        const OCLevelsBlock m = LevelsOf(g, 0);
        p = Each([&](int i) {
            const OCLevelsBlock c = LevelsOf(g, i + 1);
            return p[i] * Difference(m.outblackpt, m.outwhitept) * Difference(c.outblackpt, c.outwhitept) +
                   c.outblackpt + m.outblackpt;
        });
    }
    for (const OCSecondary& secondary : g.secondary)
        if (g.secondaryOn && g.secondaryInUse && secondary.on) p = ModelSecondary(secondary, p);
    return g.limiter_enable ? ModelLimiter(g, p) : p;
}
