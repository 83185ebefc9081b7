// The road of a pixel, stage by stage, written to be read. The fast kernel equals it bit for bit.
#pragma once

#include "src/OCEngine.h"

/// A pixel on its road.
struct OCPixel {
    float r, g, b;
    float sourceLuma;           ///< of the untouched source pixel
    float weight[ocRangeCount]; ///< of the three ranges, from the source luma, fixed for the whole road
};

struct OCStage {
    uint32_t order;
    const char* name;
    bool (*isOn)(const OCProcessParams& params);
    void (*run)(OCPixel* pixel, const OCProcessParams& params);
    const char* why; ///< it stands where it stands
};

std::span<const OCStage> OCStages();

/// Sends one pixel down the whole road.
void OCProcessPixel(OCPixel* pixel, const OCProcessParams& params);

/// Y of a colour. The weights are those of ITU-R BT.601 for every video system.
float OCLuma(float r, float g, float b);

/// Reads a tone table: negatives read entry 0, inputs above 1 continue in a straight line, a NaN stays one.
float ToneLookup(const OCTone& tone, float input);

struct OCHSLColor {
    float h, s, l; ///< hue 0 to 1
};
OCHSLColor OCRGBToHSL(float r, float g, float b);
void OCHSLToRGB(OCHSLColor color, float rgb[3]);

/// The rounding of display pixels: added before a value is held between 0 and 1 and cut to 8 bits.
inline constexpr float kOCDisplayBias = 0.001953125f;

/// The lightness that the mask preview leaves to what is outside the key.
inline constexpr float kOCMaskTint = 0.6825f;

/// The two numbers of a secondary's key that are made in double, once a call: the softness of 0 gives an infinity, by
/// which every distance is inside (1) or outside (0).
struct OCKeyShape {
    float chromaToleranceSquared, inverseSoftnessSquared;
};
OCKeyShape OCKeyShapeOf(const OCSecondaryParams& secondary);

/// Bounds of Y, U and V beyond any of which the key of a secondary is exactly 0; no bounds hold where the tolerances or
/// the softness are no numbers.
struct OCKeyBox {
    float low[3], high[3];
};
OCKeyBox OCKeyBoxOf(const OCSecondaryParams& secondary);

/// The two factors of the soft clip, made once a call.
struct OCSoftClip {
    float inverseRange, rise;
};
OCSoftClip OCSoftClipOf(const OCLimiterParams& limiter);

/// The planes of a band as flat arrays, row padding included.
struct OCPlaneSpan {
    const float* in[3]; ///< R, G, B
    float* out[4];      ///< R, G, B, luma
    size_t count;       ///< floats of a plane: as many as source and destination both have
};
OCPlaneSpan OCSpanOf(const FBFrame* source, const FBFrame* destination);
