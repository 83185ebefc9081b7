// Colour spaces and tints of the model, in long double.
#pragma once

#include "tests/Model.h"

#include <cstdint>

inline Real Luma(ModelPixel p)
{
    return 0.299L * p.r + 0.587L * p.g + 0.114L * p.b;
}

struct Yuv {
    Real y, u, v;
};

inline Yuv ToYuv(ModelPixel p)
{
    return {Luma(p), -0.147407L * p.r - 0.289391L * p.g + 0.436798L * p.b,
            0.614777L * p.r - 0.514799L * p.g - 0.099978L * p.b};
}

inline ModelPixel FromYuv(Yuv c)
{
    return {c.y + 1.140251L * c.v, c.y - 0.393931L * c.u - 0.580809L * c.v, c.y + 2.028398L * c.u};
}

struct Tint {
    Real u, v, k;
};

/// Full saturation, half lightness, in 16-bit words.
inline Tint TintOf(const OCHueOffsetTriple& t)
{
    const auto word =
        static_cast<uint16_t>(static_cast<int64_t>((360.0 - static_cast<double>(t.tintangle)) / 360.0 * 65535.0));
    const double hue = word / 65535.0;
    const double l = 32767 / 65535.0;
    const double top = 2 * l, bottom = 0; // full saturation below half lightness
    double c[3];
    for (int i = 0; i < 3; ++i) {
        double h = hue + (1 - i) * static_cast<double>(0.33333334f);
        if (h < 0) h += 1;
        if (h > 1) h -= 1;
        const double value = 6 * h < 1   ? bottom + (top - bottom) * 6 * h
                             : 2 * h < 1 ? top
                             : 3 * h < 2 ? bottom + (top - bottom) * (static_cast<double>(0.66666669f) - h) * 6
                                         : bottom;
        c[i] = static_cast<uint16_t>(value * 65535.0) / 65535.0;
    }
    const Yuv yuv = ToYuv({c[0], c[1], c[2]});
    return {yuv.u, yuv.v, static_cast<Real>(t.strength) * 0.33333334L};
}
