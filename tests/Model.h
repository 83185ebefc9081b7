// The engine once more, told from the grade alone in long double: what a tool is worth without its switches, what a tone
// table holds at an index, what a pixel becomes. It shares no code with the engine; only the three luma weights of a
// pixel are handed in, which have tests of their own.
#pragma once

#include "src/OCSettings.h"

#include <functional>

using Real = long double;

enum class Group { master, shadows, midtones, highlights };

/// Tables are functions of the input at a whole index, 0 to 1.
using ModelTone = std::function<Real(Real x)>;

/// The lookup: an entry below 1, a straight line above. `base` is over how many steps the slope is taken.
Real ModelLookup(const ModelTone& tone, Real input, int base = 8);

/// HSL tone of a range: contrast fed by the ranges before it, brightness, gamma.
ModelTone ModelHSLTone(const OCSettings& grade, Group group);
/// Gamma of RGB with CMY folded in; channel 0 to 2.
ModelTone ModelRGBTone(const OCSettings& grade, Group group, int channel);
ModelTone ModelYCCTone(const OCSettings& grade, Group group, int channel);
ModelTone ModelLevelsTone(const OCSettings& grade, int channel);

struct ModelPixel {
    Real r, g, b;
    Real operator[](int i) const { return i == 0 ? r : i == 1 ? g : b; }
};

/// Curves and weights come from outside: tables of 16,385 floats, made and proved elsewhere.
struct ModelTables {
    const float* weight[3];   ///< shadows, midtones, highlights
    const float* rgbCurve[3]; ///< with the master inside
    const float* hueCurve;
    const float* saturationCurve;
    const float* lightnessCurve;
};

/// The whole road. The recovery is asked of the grade as it stands.
ModelPixel ModelRun(const OCSettings& grade, const ModelTables& tables, ModelPixel source);

/// The two last stages alone: one secondary that is on, and the limiter that is on.
ModelPixel ModelSecondary(const OCSecondary& secondary, ModelPixel rgb);
ModelPixel ModelLimiter(const OCSettings& grade, ModelPixel rgb);

ModelPixel ModelRGBToHSL(ModelPixel rgb);
ModelPixel ModelHSLToRGB(ModelPixel hsl);
