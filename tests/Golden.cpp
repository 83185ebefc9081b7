#include "tests/Golden.h"

#include "src/OCEngine.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

void MasterAndRanges(OCRanges<OCChannelBlock>* ranges, uint32_t* on)
{
    *on = 1;
    ranges->master = {1, {1.1f, 1.2f, 0.02f}, {{0.9f, 1.1f, 0.01f}, {1.05f, 0.95f, -0.02f}, {1.2f, 0.8f, 0.03f}}};
    ranges->shadows = {1, {1.05f, 0.9f, 0.03f}, {{1.1f, 1, 0}, {1, 1.3f, 0.02f}, {0.9f, 1, -0.03f}}};
    ranges->midtones = {1, {0.95f, 1.1f, -0.01f}, {{1, 0.9f, 0.01f}, {1.1f, 1, 0}, {1, 1.2f, 0}}};
    ranges->highlights = {1, {1.1f, 1.05f, -0.02f}, {{1, 1, 0.02f}, {0.95f, 1.1f, 0}, {1.1f, 0.9f, 0.01f}}};
}

HCurve PointsOf(std::initializer_list<std::pair<float, float>> points)
{
    HCurve curve = {};
    HCurvePoints& xy = curve.points.xy;
    for (const auto& [x, y] : points) {
        xy.x[xy.pointCount] = x;
        xy.y[xy.pointCount++] = y;
    }
    return curve;
}

void HSLRangesOn(OCSettings& g)
{
    g.primaryOn = g.hslOn = 1;
    g.hsl.shadows = {1, 20, 130, 15, 10, 12, 0.45f, 1.1f, 1.15f, 0.02f};
    g.hsl.midtones = {1, -15, 90, -20, -8, -15, 0.55f, 0.95f, 0.9f, -0.01f};
    g.hsl.highlights = {1, 8, 70, 30, 5, 25, 0.5f, 1.05f, 1.05f, 0.01f};
}

void HSLMasterOn(OCSettings& g)
{
    g.primaryOn = g.hslOn = 1;
    g.hsl.master = {1, 12, 125, 20, 6, 18, 0.48f, 1.08f, 1.12f, 0.015f};
}

void HueOffsetOn(OCSettings& g)
{
    g.primaryOn = g.hueOffsetOn = 1;
    g.hueOffset.master = {0, 35, 0.1f};
    g.hueOffset.shadows = {0, 230, 0.4f};
    g.hueOffset.midtones = {0, 120, 0.2f};
    g.hueOffset.highlights = {0, 40, 0.3f};
}

void LevelsOn(OCSettings& g)
{
    g.levelsOn = 1;
    g.levels[0] = {0, 1, 0.03f, 0.45f, 0.95f, 0.02f, 0.5f, 0.97f};
    g.levels[1] = {0, 1, 0.02f, 0.6f, 0.98f, 0, 0.5f, 1};
    g.levels[2] = {0, 0, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f};
    g.levels[3] = {0, 1, 0, 0.5f, 1, 0.05f, 0.5f, 0.9f};
    g.inputControls_highlight_recovery = 0.6f;
}

void RGBCurvesOn(OCSettings& g)
{
    g.curvesOn = g.rgbCurvesOn = 1;
    g.rgbCurve[0] = PointsOf({{0.0f, 0.0f}, {0.25f, 0.18f}, {0.75f, 0.83f}, {1.0f, 1.0f}});
    g.rgbCurve[1] = PointsOf({{0.0f, 0.05f}, {0.5f, 0.55f}, {1.0f, 0.97f}});
    g.rgbCurve[3].curveKind = 1;
    for (uint32_t i = 0; i < kOCCurveSampleCount; ++i) {
        const float x = static_cast<float>(i) / 1023.0f;
        g.rgbCurve[3].points.samples[i] = x * (1.2f - 0.2f * x);
    }
}

void HSLCurvesOn(OCSettings& g)
{
    g.curvesOn = g.hslCurvesOn = 1;
    g.hslCurve[0] = PointsOf({{0.0f, 0.5f}, {0.4f, 0.56f}, {0.7f, 0.46f}, {1.0f, 0.5f}});
    g.hslCurve[1] = PointsOf({{0.0f, 0.6f}, {0.5f, 0.4f}, {1.0f, 0.6f}});
    g.hslCurve[2] = PointsOf({{0.0f, 0.5f}, {0.3f, 0.54f}, {0.8f, 0.47f}, {1.0f, 0.5f}});
}

void SecondaryOn(OCSettings& g, uint32_t i)
{
    g.secondaryOn = 1;
    OCSecondary& s = g.secondary[i];
    const float turn = static_cast<float>(i);
    s.on = 1;
    s.lumatol = 0.2f + 0.02f * turn;
    s.chromatol = 0.12f + 0.01f * turn;
    s.softness = 0.3f - 0.02f * turn;
    s.hue = 25 - 15 * turn;
    s.saturation = 140 - 12 * turn;
    s.hueoffset_tintangle = 60 * turn;
    s.hueoffset_strength = 0.2f;
    s.gain = 1.1f - 0.03f * turn;
    s.gamma = 0.9f + 0.08f * turn;
    s.ped = 0.02f - 0.01f * turn;
    s.sample[0] = {1, 0.6f, 0.25f, 0.2f};
    s.sample[1] = {i % 2, 0.2f + 0.1f * turn, 0.6f, 0.3f};
    s.sample[2] = {0x100, 0.5f, 0.5f, 0.5f}; // the low byte says that it is off
    s.sample[3] = {0x201, 0.3f, 0.3f, 0.7f - 0.1f * turn};
}

template <int32_t style, uint32_t invert> void SecondaryPreview(OCSettings& g)
{
    SecondaryOn(g, 1);
    g.secondary[1].preview = 1;
    g.secondary[1].previewStyle = style;
    g.secondary[1].invert = invert;
}

void SixSecondaries(OCSettings& g)
{
    for (uint32_t i = 0; i < kOCSecondaryCount; ++i) SecondaryOn(g, i);
    g.secondary[2].invert = 1;
    g.secondary[4].softness = 0;
}

template <int32_t method> void LimiterOn(OCSettings& g)
{
    g.limiter_enable = 1;
    g.limiter.limiter_clip_method = method;
    g.limiter.limiter_chroma_max = 95;
    g.limiter.limiter_chroma_min = -12;
    g.limiter.limiter_luma_max = 92;
}

constexpr GoldenCase kCases[] = {
    {"0001-neutral", [](OCSettings&) {}},
    {"0002-hsl-master", HSLMasterOn},
    {"0003-hsl-ranges", HSLRangesOn},
    {"0004-hue-offset", HueOffsetOn},
    {"0005-rgb", [](OCSettings& g) { MasterAndRanges(&g.rgb, &g.rgbOn); }},
    {"0006-ycbcr", [](OCSettings& g) { MasterAndRanges(&g.ycbcr, &g.ycbcrOn); }},
    {"0007-rgb-and-cmy",
     [](OCSettings& g) {
         MasterAndRanges(&g.rgb, &g.rgbOn);
         MasterAndRanges(&g.cmy, &g.cmyOn);
     }},
    {"0008-levels-and-recovery", LevelsOn},
    {"0009-rgb-curves", RGBCurvesOn},
    {"0010-hsl-curves", HSLCurvesOn},
    {"0011-luma-ranges",
     [](OCSettings& g) {
         HSLRangesOn(g);
         g.lumaRangeOn = 1;
         g.lumaRange.lumarange_shadowx = 0.15f;
         g.lumaRange.lumarange_shadowy = 0.6f;
         g.lumaRange.lumarange_highlightx = 0.6f;
         g.lumaRange.lumarange_highlighty = 0.5f;
     }},
    {"0012-everything",
     [](OCSettings& g) {
         HSLMasterOn(g);
         HSLRangesOn(g);
         HueOffsetOn(g);
         MasterAndRanges(&g.rgb, &g.rgbOn);
         MasterAndRanges(&g.ycbcr, &g.ycbcrOn);
         MasterAndRanges(&g.cmy, &g.cmyOn);
         LevelsOn(g);
         RGBCurvesOn(g);
         HSLCurvesOn(g);
         g.cmy.master.group = {0.6f, 1, -0.02f}; // keeps most of it on the scale
     }},
    {"0013-contrast-step-and-video-master",
     [](OCSettings& g) {
         g.primaryOn = g.hslOn = 1;
         g.hsl.master = {1, 0, 100, -100, -30, 100, 0.4f, 1, 0.6f, 0};
         g.ycbcrOn = 1;
         g.ycbcr.master = {1, {1, 1, 0}, {{1, 1.4f, 0}, {1.3f, 0.7f, 0.01f}, {0.8f, 1.5f, -0.01f}}};
     }},
    {"0014-secondary", [](OCSettings& g) { SecondaryOn(g, 1); }},
    {"0015-secondary-inverted",
     [](OCSettings& g) {
         SecondaryOn(g, 1);
         g.secondary[1].invert = 1;
     }},
    {"0016-secondary-desaturate", SecondaryPreview<1, 0>},
    {"0017-secondary-mask", SecondaryPreview<2, 0>},
    {"0018-secondary-alpha", SecondaryPreview<3, 0>},
    {"0019-secondary-alpha-inverted", SecondaryPreview<3, 1>},
    {"0020-secondary-unknown-style", SecondaryPreview<7, 0>},
    {"0021-six-secondaries", SixSecondaries},
    {"0022-limiter-saturation", LimiterOn<1>},
    {"0023-limiter-luma", LimiterOn<2>},
    {"0024-limiter-smart", LimiterOn<3>},
    {"0025-limiter-preview",
     [](OCSettings& g) {
         LimiterOn<3>(g);
         g.limiter_preview = 1;
     }},
    {"0026-limiter-soft-clip-and-setup",
     [](OCSettings& g) {
         LimiterOn<1>(g);
         g.limiter.limiter_softclip_enable = 1;
         g.limiter.limiter_softclip_knee = 70;
         g.limiter.limiter_luma_max = 110;
         g.videoLevels = {16, 235, 1, 254, 1, 1};
     }},
    {"0027-secondaries-and-limiter-last",
     [](OCSettings& g) {
         HSLMasterOn(g);
         RGBCurvesOn(g);
         LevelsOn(g);
         SixSecondaries(g);
         LimiterOn<3>(g);
     }},
};

/// A made picture: bars of hues over a ramp, with shades below black and above white.
std::vector<float> MakeSource()
{
    std::vector<float> planes(kGoldenPlane * 3);
    for (uint32_t row = 0; row < kGoldenHeight; ++row)
        for (uint32_t column = 0; column < kGoldenWidth; ++column) {
            const float x = static_cast<float>(column) / (kGoldenWidth - 1);
            const uint32_t bar = row * 9 / kGoldenHeight; // eight bars of colour, then grey
            const float strength = static_cast<float>(row % 3 + 1) / 3.0f;
            for (uint32_t c = 0; c < 3; ++c) {
                const bool lit = bar == 8 || (bar >> c & 1) != 0;
                const float level = 1.3f * x - 0.1f;
                const float value = lit ? level : level * (1 - strength);
                planes[c * kGoldenPlane + row * kGoldenWidth + column] = value;
            }
        }
    return planes;
}

bool ReadWhole(const std::string& name, void* bytes, size_t count)
{
    std::FILE* file = std::fopen(name.c_str(), "rb");
    if (!file) return false;
    const bool whole = std::fread(bytes, 1, count, file) == count && std::fgetc(file) == EOF;
    std::fclose(file);
    return whole;
}

bool WriteWhole(const std::string& name, const void* bytes, size_t count)
{
    std::FILE* file = std::fopen(name.c_str(), "wb");
    if (!file) return false;
    const bool written = std::fwrite(bytes, 1, count, file) == count;
    return std::fclose(file) == 0 && written;
}

} // namespace

std::span<const GoldenCase> GoldenCases()
{
    return kCases;
}

Golden MakeGolden(const GoldenCase& which)
{
    Golden golden = {.grade = {}, .source = MakeSource(), .expected = std::vector<float>(kGoldenPlane * 4)};
    OCResetSettings(&golden.grade, kOCResetAll, kOCResetAll, kOCResetDefaults);
    which.edit(golden.grade);
    OCEngine* engine = nullptr;
    if (OCCreateEngine(&engine) != bpNoErr) std::abort();
    OCUpdateParameters(engine, &golden.grade);
    FBFrame source = {};
    source.width = kGoldenWidth;
    source.height = kGoldenHeight;
    source.rowBytes = kGoldenWidth * 4;
    source.pixelFormat = pixFormatRGBYPlanar_Float;
    source.planeCount = 4;
    source.planeBytes = static_cast<uint32_t>(kGoldenPlane * 4);
    source.flags = kFBFlagWrapped;
    FBFrame result = source;
    source.baseAddr = reinterpret_cast<uint8_t*>(golden.source.data());
    result.baseAddr = reinterpret_cast<uint8_t*>(golden.expected.data());
    OCProcessImageBandScalar(*OCParametersOf(engine), &source, &result);
    OCDisposeEngine(engine);
    return golden;
}

bool ReadGolden(const std::string& folder, Golden* golden)
{
    golden->source.assign(kGoldenPlane * 3, 0);
    golden->expected.assign(kGoldenPlane * 4, 0);
    return ReadWhole(folder + "/settings", &golden->grade, sizeof golden->grade) &&
           ReadWhole(folder + "/source", golden->source.data(), golden->source.size() * sizeof(float)) &&
           ReadWhole(folder + "/expected", golden->expected.data(), golden->expected.size() * sizeof(float));
}

bool WriteGolden(const std::string& folder, const Golden& golden)
{
    return WriteWhole(folder + "/settings", &golden.grade, sizeof golden.grade) &&
           WriteWhole(folder + "/source", golden.source.data(), golden.source.size() * sizeof(float)) &&
           WriteWhole(folder + "/expected", golden.expected.data(), golden.expected.size() * sizeof(float));
}
