// The grade: one plain record of 33,556 bytes that holds every value the user can set.
//
// It is the unit of undo, the payload to and from the host, the clipboard block and the source of the engine's
// parameters. Its raw image crosses process boundaries: every offset is fixed and proved below.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

inline constexpr uint32_t kOCSettingsSignature = 0x12343210;
inline constexpr uint32_t kOCCurvePointLimit = 16;
inline constexpr uint32_t kOCCurveSampleCount = 1024;
inline constexpr uint32_t kOCSecondaryCount = 6;

struct OCHSLBlock {
    uint32_t on;          ///< switch of the block, 0 is off
    float hue;            ///< degrees; knob [-360, 360], entry [-3600, 3600], neutral 0
    float saturation;     ///< percent; knob [0, 300], entry [-1000, 1000], neutral 100
    float vibrance;       ///< percent; [-100, 100], neutral 0
    float brightness;     ///< percent; [-100, 100], neutral 0
    float contrast;       ///< percent; [-100, 100], neutral 0
    float contrastCenter; ///< signal; [0, 1], neutral 0.5
    float gain;           ///< factor; knob [0, 3], entry [0, 20], neutral 1
    float gamma;          ///< exponent divisor; knob [0.1, 5], entry [0.1, 10], neutral 1
    float pedestal;       ///< signal; [-1, 1], neutral 0
};

struct OCTriple {
    float gain;     ///< factor; knob [0, 3], entry [0, 20], neutral 1
    float gamma;    ///< exponent divisor; knob [0.1, 5], entry [0.1, 10], neutral 1
    float pedestal; ///< signal; [-1, 1], neutral 0
};

/// A block of the RGB, YCbCr or CMY group: the triple of the group, then those of its three channels in the order of
/// the group's name.
struct OCChannelBlock {
    uint32_t on;
    OCTriple group;
    OCTriple channel[3];
};

struct OCHueOffsetTriple {
    uint32_t huewheel; ///< state of the wheel control; resets keep it, the engine ignores it
    float tintangle;   ///< degrees, neutral 0
    float strength;    ///< neutral 0
};

struct OCHueOffsetBlock {
    uint32_t hueOffsetActive;
    OCHueOffsetTriple master, shadows, midtones, highlights;
};

struct OCLevelsBlock {
    uint32_t controlState; ///< kept by resets
    uint32_t on;
    float inblackpt, ingraypt, inwhitept;    ///< neutral 0, 0.5, 1
    float outblackpt, outgraypt, outwhitept; ///< neutral 0, 0.5, 1; the gray has no effect on the picture
};

struct HCurvePoints {
    int32_t pointCount;
    float x[kOCCurvePointLimit]; ///< 0 to 1
    float y[kOCCurvePointLimit]; ///< 0 to 1
};

struct HCurve {
    uint32_t curveReserved; ///< unused; older files leave it unset
    uint32_t curveTag;      ///< state of the curve editor
    uint32_t curveKind;     ///< bit 0 set: a table of samples, otherwise points
    union {
        HCurvePoints xy;
        float samples[kOCCurveSampleCount];
    } points;
};

struct OCLumaRangeBlock {
    uint32_t controlState[2];
    float lumarange_shadowx, lumarange_shadowy;       ///< neutral 0.3, 0.3831
    float lumarange_highlightx, lumarange_highlighty; ///< neutral 0.7, 0.3831
};

struct OCColorSample {
    uint32_t on; ///< the low byte counts
    float red, green, blue;
};

struct OCSecondary {
    uint32_t on;
    float lumatol, chromatol, softness;
    uint32_t preview;
    int32_t previewStyle; ///< 1 desaturate, 2 mask, 3 alpha
    uint32_t invert;
    float hue, saturation;
    int32_t hueoffset_huewheel;
    float hueoffset_tintangle, hueoffset_strength;
    OCColorSample sample[4];
    float gain, gamma, ped;
};

struct OCSecondaryExtension {
    uint32_t on;
    float value4;
    uint32_t word8, word12, word16, word20;
    float value24;
    uint32_t word28, word32, word36;
    float value40, value44;
    uint32_t word48;
    uint8_t kept[24];     ///< carried, not reset
    uint8_t entry[8][48]; ///< a reset clears the first two bytes of each
};

struct OCLimiterBlock {
    float limiter_chroma_max, limiter_chroma_min, limiter_luma_max; ///< composite percent
    uint32_t limiter_softclip_enable;
    float limiter_softclip_knee, limiter_softclip_white_level, limiter_softclip_max_level;
    int32_t limiter_clip_method; ///< 1 reduce saturation, 2 reduce luma, 3 smart
    int32_t limiter_system;      ///< the preference "Video System"
    float limiter_highlight_recovery;
};

struct OCVideoLevels {
    int32_t videoBlackLevel, videoWhiteLevel, videoMinLevel, videoMaxLevel, videoSetupPresent, videoSystem;
};

struct OCSourceTransfer {
    uint32_t transferOn;
    uint32_t transferVideoGamma, transferLog;
    uint32_t transferOtherA, transferOtherB;
    float transferGamma;
    int32_t transferRefBlack, transferRefWhite;
    int32_t transferMode;
};

/// A group's four ranges, in the order of the record.
template <class Block> struct OCRanges {
    Block master, highlights, midtones, shadows;
};

struct OCSettings {
    uint32_t signature;
    uint32_t primaryOn; ///< the HSL pane as a whole
    uint32_t hslOn;     ///< its Controls tab
    OCRanges<OCHSLBlock> hsl;
    uint32_t rgbOn;
    OCRanges<OCChannelBlock> rgb;
    uint32_t ycbcrOn;
    OCRanges<OCChannelBlock> ycbcr;
    uint32_t cmyOn;
    OCRanges<OCChannelBlock> cmy;
    uint32_t hueOffsetOn;
    OCHueOffsetBlock hueOffset;
    uint32_t levelsOn;
    OCLevelsBlock levels[5]; ///< master, red, green, blue, luma
    uint32_t curvesOn;
    uint32_t rgbCurvesOn;
    HCurve rgbCurve[4]; ///< master, red, green, blue
    uint32_t curveSelection[3][3];
    uint32_t hslCurvesOn;
    HCurve hslCurve[3]; ///< hue, saturation, lightness
    uint32_t lumaRangeOn;
    OCLumaRangeBlock lumaRange;
    uint32_t secondaryOn;
    uint32_t secondaryInUse;
    OCSecondary secondary[kOCSecondaryCount];
    uint32_t secondaryTail;
    OCSecondaryExtension secondaryExtension[kOCSecondaryCount];
    uint32_t limiter_enable;
    uint32_t limiter_preview;
    OCLimiterBlock limiter;
    uint32_t limiterPaneState[7];
    uint32_t unassigned[7];
    OCVideoLevels videoLevels;
    OCSourceTransfer transfer;
    float inputControls_highlight_recovery;  ///< [0, 1], neutral 0
    float outputControls_highlight_recovery; ///< [0, 1], neutral 0
    uint32_t tail[2];
};

#define OC_AT(field, position) static_assert(offsetof(OCSettings, field) == (position))
static_assert(std::is_trivially_copyable_v<OCSettings> && std::is_standard_layout_v<OCSettings>);
static_assert(sizeof(OCSettings) == 33556 && alignof(OCSettings) == 4);
static_assert(sizeof(OCHSLBlock) == 40 && sizeof(OCChannelBlock) == 52 && sizeof(OCHueOffsetBlock) == 52);
static_assert(sizeof(OCLevelsBlock) == 32 && sizeof(HCurve) == 4108 && sizeof(OCLumaRangeBlock) == 24);
static_assert(sizeof(OCSecondary) == 124 && sizeof(OCSecondaryExtension) == 460 && sizeof(OCLimiterBlock) == 40);
static_assert(offsetof(HCurve, points.xy.x) == 16 && offsetof(HCurve, points.xy.y) == 80);
static_assert(offsetof(OCHSLBlock, gain) == 28 && offsetof(OCHSLBlock, pedestal) == 36);
static_assert(offsetof(OCSecondary, sample) == 48 && offsetof(OCSecondary, gain) == 112);
static_assert(offsetof(OCSecondaryExtension, word48) == 48 && offsetof(OCSecondaryExtension, entry) == 76);
OC_AT(signature, 0);
OC_AT(primaryOn, 4);
OC_AT(hslOn, 8);
OC_AT(hsl.master, 12);
OC_AT(hsl.highlights, 52);
OC_AT(hsl.midtones, 92);
OC_AT(hsl.shadows, 132);
OC_AT(rgbOn, 172);
OC_AT(rgb.master, 176);
OC_AT(rgb.highlights, 228);
OC_AT(rgb.midtones, 280);
OC_AT(rgb.shadows, 332);
OC_AT(ycbcrOn, 384);
OC_AT(ycbcr.master, 388);
OC_AT(ycbcr.highlights, 440);
OC_AT(ycbcr.midtones, 492);
OC_AT(ycbcr.shadows, 544);
OC_AT(cmyOn, 596);
OC_AT(cmy.master, 600);
OC_AT(cmy.highlights, 652);
OC_AT(cmy.midtones, 704);
OC_AT(cmy.shadows, 756);
OC_AT(hueOffsetOn, 808);
OC_AT(hueOffset, 812);
OC_AT(hueOffset.master, 816);
OC_AT(hueOffset.highlights, 852);
OC_AT(levelsOn, 864);
OC_AT(levels[0], 868);
OC_AT(levels[1], 900);
OC_AT(levels[2], 932);
OC_AT(levels[3], 964);
OC_AT(levels[4], 996);
OC_AT(curvesOn, 1028);
OC_AT(rgbCurvesOn, 1032);
OC_AT(rgbCurve[0], 1036);
OC_AT(rgbCurve[1], 5144);
OC_AT(rgbCurve[2], 9252);
OC_AT(rgbCurve[3], 13360);
OC_AT(curveSelection[0], 17468);
OC_AT(curveSelection[1], 17480);
OC_AT(curveSelection[2], 17492);
OC_AT(hslCurvesOn, 17504);
OC_AT(hslCurve[0], 17508);
OC_AT(hslCurve[1], 21616);
OC_AT(hslCurve[2], 25724);
OC_AT(lumaRangeOn, 29832);
OC_AT(lumaRange, 29836);
OC_AT(lumaRange.lumarange_shadowx, 29844);
OC_AT(secondaryOn, 29860);
OC_AT(secondaryInUse, 29864);
OC_AT(secondary[0], 29868);
OC_AT(secondaryTail, 30612);
OC_AT(secondaryExtension[0], 30616);
OC_AT(limiter_enable, 33376);
OC_AT(limiter_preview, 33380);
OC_AT(limiter.limiter_chroma_max, 33384);
OC_AT(limiter.limiter_softclip_enable, 33396);
OC_AT(limiter.limiter_clip_method, 33412);
OC_AT(limiter.limiter_system, 33416);
OC_AT(limiter.limiter_highlight_recovery, 33420);
OC_AT(limiterPaneState, 33424);
OC_AT(unassigned, 33452);
OC_AT(videoLevels, 33480);
OC_AT(videoLevels.videoSystem, 33500);
OC_AT(transfer.transferOn, 33504);
OC_AT(transfer.transferOtherA, 33516);
OC_AT(transfer.transferGamma, 33524);
OC_AT(transfer.transferRefBlack, 33528);
OC_AT(transfer.transferMode, 33536);
OC_AT(inputControls_highlight_recovery, 33540);
OC_AT(outputControls_highlight_recovery, 33544);
OC_AT(tail, 33548);
#undef OC_AT

/// What a reset takes from the user's preferences.
struct OCResetDefaults {
    OCVideoLevels videoLevels; ///< videoSystem is the preference "Video System", 1 to 4
    uint32_t limiterDefault;   ///< the preference "Limiter Default"
};

/// The preferences of a fresh installation.
inline constexpr OCResetDefaults kOCResetDefaults = {.videoLevels = {.videoBlackLevel = 0,
                                                                     .videoWhiteLevel = 255,
                                                                     .videoMinLevel = 0,
                                                                     .videoMaxLevel = 255,
                                                                     .videoSetupPresent = 0,
                                                                     .videoSystem = 1},
                                                     .limiterDefault = 0};

// Bits of the tool mask.
inline constexpr uint32_t kOCResetHSL = 1u << 0;   ///< and the next three: highlights, midtones, shadows
inline constexpr uint32_t kOCResetRGB = 1u << 4;   ///< likewise
inline constexpr uint32_t kOCResetYCbCr = 1u << 8; ///< likewise
inline constexpr uint32_t kOCResetCMY = 1u << 12;  ///< likewise
inline constexpr uint32_t kOCResetHueOffset = 1u << 16;
inline constexpr uint32_t kOCResetLevels = 1u << 17;    ///< master; the next four: red, green, blue, luma
inline constexpr uint32_t kOCResetSecondary = 1u << 22; ///< A; the next five: B to F
inline constexpr uint32_t kOCResetLimiter = 1u << 28;
inline constexpr uint32_t kOCResetLumaRange = 1u << 30;
// Bits of the curve mask.
inline constexpr uint32_t kOCResetRGBCurve = 1u << 1; ///< master; the next three: red, green, blue
inline constexpr uint32_t kOCResetHSLCurve = 1u << 5; ///< hue; the next two: saturation, lightness
inline constexpr uint32_t kOCResetTransferGamma = 1u << 8;
inline constexpr uint32_t kOCResetTransferLog = 1u << 9;
inline constexpr uint32_t kOCResetExtension = 1u << 12; ///< A; the next five: B to F
inline constexpr uint32_t kOCResetAll = 0xFFFFFFFFu;

/// Writes defaults into the parts of a record that the masks select. Both masks all ones also write the head: the
/// signature, all group switches, `secondaryInUse`, `secondaryTail`, the video levels and `limiter_enable`. Words that
/// are marked as kept stay as they are.   Thread: any, own record.
void OCResetSettings(OCSettings* settings, uint32_t toolMask, uint32_t curveMask, const OCResetDefaults& defaults);

/// Resets in `settings` every tool that its switches leave without effect, so that nobody who reads a value needs to
/// test a switch. Switches that belong to a reset part go off with it.   Thread: any, own record.
void OCNeutraliseSettings(OCSettings* settings);
