// Defaults of the grade: reset by masks, and the neutralising copy that the engine works on.
#include "src/OCSettings.h"

namespace {

constexpr uint32_t kAllRGBCurves = 15u << 1;
constexpr uint32_t kAllHSLCurves = 7u << 5;

void ResetHSLBlock(OCHSLBlock* block)
{
    *block = {.on = 0,
              .hue = 0,
              .saturation = 100,
              .vibrance = 0,
              .brightness = 0,
              .contrast = 0,
              .contrastCenter = 0.5f,
              .gain = 1,
              .gamma = 1,
              .pedestal = 0};
}

void ResetChannelBlock(OCChannelBlock* block)
{
    constexpr OCTriple neutral = {.gain = 1, .gamma = 1, .pedestal = 0};
    *block = {.on = 0, .group = neutral, .channel = {neutral, neutral, neutral}};
}

void ResetTriple(OCHueOffsetTriple* triple)
{
    triple->tintangle = 0;
    triple->strength = 0;
}

void ResetLevelsBlock(OCLevelsBlock* block)
{
    *block = {.controlState = block->controlState,
              .on = 0,
              .inblackpt = 0,
              .ingraypt = 0.5f,
              .inwhitept = 1,
              .outblackpt = 0,
              .outgraypt = 0.5f,
              .outwhitept = 1};
}

/// Two points; slots behind them keep what they hold.
void ResetCurve(HCurve* curve, float firstY, float lastY)
{
    curve->curveKind = 0;
    curve->points.xy.pointCount = 2;
    curve->points.xy.x[0] = 0;
    curve->points.xy.x[1] = 1;
    curve->points.xy.y[0] = firstY;
    curve->points.xy.y[1] = lastY;
}

void ResetSecondary(OCSecondary* secondary)
{
    *secondary = {};
    secondary->lumatol = 0.05f;
    secondary->chromatol = 0.1f;
    secondary->softness = 0.05f;
    secondary->previewStyle = 1;
    secondary->saturation = 100;
    secondary->gain = 1;
    secondary->gamma = 1;
}

void ResetExtension(OCSecondaryExtension* extension)
{
    extension->on = 0;
    extension->value4 = 0.05f;
    extension->word8 = 0;
    extension->word12 = 1;
    extension->word16 = extension->word20 = 0;
    extension->value24 = 100;
    extension->word28 = extension->word32 = extension->word36 = 0;
    extension->value40 = extension->value44 = 1;
    extension->word48 = 0;
    for (auto& entry : extension->entry) entry[0] = entry[1] = 0;
}

void ResetHead(OCSettings* settings, const OCResetDefaults& defaults)
{
    settings->signature = kOCSettingsSignature;
    settings->primaryOn = settings->hslOn = settings->rgbOn = settings->ycbcrOn = settings->cmyOn = 0;
    settings->hueOffsetOn = settings->levelsOn = settings->lumaRangeOn = 0;
    settings->curvesOn = settings->rgbCurvesOn = settings->hslCurvesOn = 0;
    settings->secondaryOn = 0;
    settings->secondaryInUse = 1;
    settings->secondaryTail = 0;
    settings->videoLevels = defaults.videoLevels;
    settings->limiter_enable = defaults.limiterDefault;
}

void ResetLimiter(OCSettings* settings, const OCResetDefaults& defaults)
{
    settings->limiter_preview = 0;
    settings->limiter = {.limiter_chroma_max = 110,
                         .limiter_chroma_min = -30,
                         .limiter_luma_max = 120,
                         .limiter_softclip_enable = 0,
                         .limiter_softclip_knee = 90,
                         .limiter_softclip_white_level = 100,
                         .limiter_softclip_max_level = 130,
                         .limiter_clip_method = 3,
                         // Deliberate: the preference stands here as it is, so that 4 is possible though the pane
                         // offers three systems.
                         .limiter_system = defaults.videoLevels.videoSystem,
                         .limiter_highlight_recovery = 0};
}

template <class Block, class Reset>
void ResetRanges(OCRanges<Block>* ranges, uint32_t mask, uint32_t firstBit, Reset reset)
{
    if (mask & firstBit) reset(&ranges->master);
    if (mask & (firstBit << 1)) reset(&ranges->highlights);
    if (mask & (firstBit << 2)) reset(&ranges->midtones);
    if (mask & (firstBit << 3)) reset(&ranges->shadows);
}

template <class Block> uint32_t IdleRanges(const OCRanges<Block>& ranges, bool groupOn, uint32_t firstBit)
{
    uint32_t mask = 0;
    if (!groupOn || !ranges.master.on) mask |= firstBit;
    if (!groupOn || !ranges.highlights.on) mask |= firstBit << 1;
    if (!groupOn || !ranges.midtones.on) mask |= firstBit << 2;
    if (!groupOn || !ranges.shadows.on) mask |= firstBit << 3;
    return mask;
}

} // namespace

void OCResetSettings(OCSettings* settings, uint32_t toolMask, uint32_t curveMask, const OCResetDefaults& defaults)
{
    if (toolMask == kOCResetAll && curveMask == kOCResetAll) ResetHead(settings, defaults);

    ResetRanges(&settings->hsl, toolMask, kOCResetHSL, ResetHSLBlock);
    ResetRanges(&settings->rgb, toolMask, kOCResetRGB, ResetChannelBlock);
    ResetRanges(&settings->ycbcr, toolMask, kOCResetYCbCr, ResetChannelBlock);
    ResetRanges(&settings->cmy, toolMask, kOCResetCMY, ResetChannelBlock);
    if (toolMask & kOCResetHueOffset) {
        settings->hueOffsetOn = 0;
        settings->hueOffset.hueOffsetActive = 0;
        ResetTriple(&settings->hueOffset.master);
        ResetTriple(&settings->hueOffset.shadows);
        ResetTriple(&settings->hueOffset.midtones);
        ResetTriple(&settings->hueOffset.highlights);
    }
    if (toolMask & kOCResetLevels) { // both recoveries live on this pane
        settings->inputControls_highlight_recovery = 0;
        settings->outputControls_highlight_recovery = 0;
    }
    for (uint32_t i = 0; i < 5; ++i)
        if (toolMask & (kOCResetLevels << i)) ResetLevelsBlock(&settings->levels[i]);
    for (uint32_t i = 0; i < kOCSecondaryCount; ++i)
        if (toolMask & (kOCResetSecondary << i)) ResetSecondary(&settings->secondary[i]);
    if (toolMask & kOCResetLimiter) ResetLimiter(settings, defaults);
    if (toolMask & kOCResetLumaRange) {
        settings->lumaRangeOn = 0;
        settings->lumaRange.lumarange_shadowx = 0.3f;
        settings->lumaRange.lumarange_shadowy = 0.3831f;
        settings->lumaRange.lumarange_highlightx = 0.7f;
        settings->lumaRange.lumarange_highlighty = 0.3831f;
    }

    for (uint32_t i = 0; i < 4; ++i)
        if (curveMask & (kOCResetRGBCurve << i)) ResetCurve(&settings->rgbCurve[i], 0, 1);
    if ((curveMask & kAllRGBCurves) == kAllRGBCurves) settings->rgbCurvesOn = 0;
    for (uint32_t i = 0; i < 3; ++i)
        if (curveMask & (kOCResetHSLCurve << i)) ResetCurve(&settings->hslCurve[i], 0.5f, 0.5f);
    if ((curveMask & kAllHSLCurves) == kAllHSLCurves) settings->hslCurvesOn = 0;
    if (curveMask & kOCResetTransferGamma) {
        settings->transfer.transferVideoGamma = 0;
        settings->transfer.transferGamma = 2.2f;
    }
    if (curveMask & kOCResetTransferLog) {
        settings->transfer.transferLog = 0;
        settings->transfer.transferRefBlack = 95;
        settings->transfer.transferRefWhite = 685;
        settings->transfer.transferMode = 1;
    }
    for (uint32_t i = 0; i < kOCSecondaryCount; ++i)
        if (curveMask & (kOCResetExtension << i)) ResetExtension(&settings->secondaryExtension[i]);
}

void OCNeutraliseSettings(OCSettings* settings)
{
    const OCSettings& s = *settings;
    uint32_t tools = 0;
    uint32_t curves = 0;
    tools |= IdleRanges(s.hsl, s.primaryOn && s.hslOn, kOCResetHSL);
    tools |= IdleRanges(s.rgb, s.rgbOn, kOCResetRGB);
    tools |= IdleRanges(s.ycbcr, s.ycbcrOn, kOCResetYCbCr);
    tools |= IdleRanges(s.cmy, s.cmyOn, kOCResetCMY);
    if (!s.primaryOn || !s.hueOffsetOn) tools |= kOCResetHueOffset;
    for (uint32_t i = 0; i < 5; ++i)
        if (!s.levelsOn || !s.levels[i].on) tools |= kOCResetLevels << i;
    if (!s.lumaRangeOn) tools |= kOCResetLumaRange;
    for (uint32_t i = 0; i < kOCSecondaryCount; ++i)
        if (!s.secondaryOn || !s.secondaryInUse || !s.secondary[i].on) tools |= kOCResetSecondary << i;
    if (!s.limiter_enable) tools |= kOCResetLimiter;
    if (!s.curvesOn || !s.rgbCurvesOn) curves |= kAllRGBCurves;
    if (!s.curvesOn || !s.hslCurvesOn) curves |= kAllHSLCurves;
    OCResetSettings(settings, tools, curves, kOCResetDefaults);
}
