// Muting of colours.
#include "src/ScopeColor.h"

namespace {

double LumaOf(ScopeColor color)
{
    return (0.299 * color.red + 0.587 * color.green + 0.114 * color.blue) / 65535.0;
}

uint16_t FromUnit(double level)
{
    const double rounded = level * 65535.0 + 0.5;
    if (!(rounded > 0)) return 0;
    return rounded >= 65535.0 ? uint16_t{65535} : static_cast<uint16_t>(rounded);
}

} // namespace

ScopeColor DesaturateColor(ScopeColor color, uint32_t factor)
{
    const double f = factor / 65536.0;
    const double grey = (1.0 - f) * LumaOf(color);
    return {FromUnit(f * (color.red / 65535.0) + grey), FromUnit(f * (color.green / 65535.0) + grey),
            FromUnit(f * (color.blue / 65535.0) + grey)};
}

uint16_t ScopeGreyOf(ScopeColor color)
{
    return FromUnit(LumaOf(color));
}
