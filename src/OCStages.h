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

/// The planes of a band as flat arrays, row padding included.
struct OCPlaneSpan {
    const float* in[3]; ///< R, G, B
    float* out[4];      ///< R, G, B, luma
    size_t count;       ///< floats of a plane: as many as source and destination both have
};
OCPlaneSpan OCSpanOf(const FBFrame* source, const FBFrame* destination);
