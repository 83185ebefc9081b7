// Base colours and their scaling. All base colours of the interface are greys: one level in all three components.
#include "src/support/TKPalette.h"

namespace {

constexpr uint16_t kGreyLevels[] = {56797, 0,     30583, 56797, 39321, 65535, 56797, 34952, 56797, 56797, 56797,
                                    56797, 0,     34952, 24248, 48496, 32768, 55705, 48496, 0,     32768, 0,
                                    34952, 30583, 56797, 39321, 65535, 56797, 0,     32768, 0,     34952, 17476,
                                    34952, 21845, 30583, 26214, 0,     32768, 10280, 29000};
static_assert(sizeof kGreyLevels / sizeof kGreyLevels[0] == kTKGreyCount);

constexpr TKColor kAccents[] = {{52736, 25344, 0},   {38912, 18688, 0},     {65535, 0, 0},     {0, 55535, 0},
                                {0, 30000, 65535},   {47000, 47000, 60000}, {65535, 65535, 0}, {20000, 20000, 20000},
                                {0, 0, 0},           {65535, 0, 0},         {0, 65535, 0},     {0, 26214, 65535},
                                {1285, 20560, 41891}};
static_assert(sizeof kAccents / sizeof kAccents[0] == kTKAccentCount);

constexpr uint32_t kTextEntries[] = {19, 20, 28, 29, 37, 38};
constexpr uint32_t kMutedEntries[] = {0, 1, 2, 3, 4, 6, 7, 8, 9, 10};
constexpr double kDarkBelow = 36044.25; // 0.55 of full scale

uint16_t Scaled(uint16_t channel, uint32_t factor)
{
    double level = static_cast<double>(channel) * factor / 65536.0;
    if (level > 65535.0) level = 65535.0;
    level += 0.5;
    return level >= 65535.0 ? uint16_t{65535} : static_cast<uint16_t>(level);
}

uint16_t Inverted(uint16_t channel)
{
    return static_cast<uint16_t>(65535 - channel);
}

} // namespace

void PrepareUIPalette(TKPalette* palette, uint32_t uiBrightness)
{
    for (uint32_t i = 0; i < kTKGreyCount; ++i) {
        const uint16_t level = Scaled(kGreyLevels[i], uiBrightness);
        palette->grey[i] = {level, level, level};
    }
    const TKColor panel = palette->grey[kTKGreyPanel];
    const double mean = (static_cast<double>(panel.red) + panel.green + panel.blue) / 3.0;
    if (mean >= kDarkBelow) return;
    for (const uint32_t i : kTextEntries) {
        TKColor& text = palette->grey[i];
        text = {Inverted(text.red), Inverted(text.green), Inverted(text.blue)};
    }
}

void PrepareAccentTable(TKPalette* palette, uint32_t uiSaturation)
{
    for (uint32_t i = 0; i < kTKAccentCount; ++i) palette->accent[i] = kAccents[i];
    for (const uint32_t i : kMutedEntries) palette->accent[i] = DesaturateColor(kAccents[i], uiSaturation);
    const uint16_t grey = ScopeGreyOf(palette->accent[3]);
    palette->accent[5] = {grey, grey, grey};
}
