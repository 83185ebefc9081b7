// Waveform monitors: what a hit adds in each panel, where each stops, and what muting changes of it.
#include "tests/WaveformTest.h"

#include <array>

namespace {

using Bytes = std::array<uint8_t, 3>;

/// One trace of a mode: its panel, the channel of its level (3: luma), and its ink unmuted.
struct InkRow {
    int32_t mode, panel, channel;
    Bytes increment, ceiling;
};

constexpr Bytes kLuma = {0x05, 0x32, 0x19}, kLumaCeiling = {0x6D, 0xFF, 0xB9};
constexpr Bytes kRed = {0x35, 0, 0}, kRedCeiling = {0xD8, 0x64, 0x32};
constexpr Bytes kGreen = {0, 0x2B, 0}, kGreenCeiling = {0x32, 0xD8, 0x32};
constexpr Bytes kBlue = {0, 0x17, 0x33}, kBlueCeiling = {0x32, 0x75, 0xFF};
constexpr Bytes kWhite = {30, 30, 30}, kWhiteCeiling = {220, 220, 220}, kOverlayCeiling = {235, 235, 235};

constexpr InkRow kInks[] = {
    {waveformSingle, 0, 3, kLuma, kLumaCeiling},     {waveformYCbCr, 0, 3, kLuma, kLumaCeiling},
    {waveformRGB, 0, 0, kRed, kRedCeiling},          {waveformRGB, 1, 1, kGreen, kGreenCeiling},
    {waveformRGB, 2, 2, kBlue, kBlueCeiling},        {waveformGBR, 0, 1, kGreen, kGreenCeiling},
    {waveformGBR, 1, 2, kBlue, kBlueCeiling},        {waveformGBR, 2, 0, kRed, kRedCeiling},
    {waveformYRGB, 0, 3, kWhite, kWhiteCeiling},     {waveformYRGB, 1, 0, kRed, kRedCeiling},
    {waveformYRGB, 2, 1, kGreen, kGreenCeiling},     {waveformYRGB, 3, 2, kBlue, kBlueCeiling},
    {waveformOverlay, 0, 0, kRed, kOverlayCeiling},  {waveformOverlay, 0, 1, kGreen, kOverlayCeiling},
    {waveformOverlay, 0, 2, kBlue, kOverlayCeiling},
};

constexpr Surface::Pixel kColor = {0xFF, 100, 150, 200};
constexpr int32_t kLevels[4] = {100, 150, 200, 30 + 88 + 23}; // red, green, blue, luma by 601

/// The trace of a picture of that colour alone, on whatever the target holds.
void Trace(Surface* target, int32_t mode, uint32_t lines, bool fast, uint32_t saturation = 0x10000, uint32_t flags = 0)
{
    Surface source(1, lines);
    source.Fill([](int32_t, int32_t) { return kColor; });
    Monitor m;
    m.params.target = target;
    m.params.bounds = &m.bounds;
    m.params.sourcePixels = source.pixels;
    m.params.sourceWidth = 1;
    m.params.sourceHeight = static_cast<int32_t>(lines);
    m.params.sourceRowBytes = static_cast<int32_t>(source.rowBytes);
    m.params.flags |= waveformTrace | flags;
    m.params.mode = mode;
    m.params.uiSaturation = static_cast<int32_t>(saturation);
    WaveformTrace trace;
    ASSERT_TRUE(WaveformTraceOf(m.params, m.bounds, &trace));
    if (fast)
        DrawWaveformTrace(trace, 1, nullptr);
    else
        DrawWaveformTraceScalar(trace);
}

/// A column of a panel, and the row and the fraction of a level.
struct Spot {
    int32_t x, row;
    uint32_t fraction;
};
Spot SpotOf(const InkRow& ink)
{
    Monitor m;
    m.params.mode = ink.mode;
    const WaveformLayout layout = m.Layout();
    const int64_t fixed = kLevels[ink.channel] * m.Scale().pixelsPerCode;
    return {layout.margin + layout.panelLeft[ink.panel] + 20, static_cast<int32_t>(m.RowOf(kLevels[ink.channel])),
            static_cast<uint32_t>(fixed & 0xFFFF)};
}

Bytes At(const Surface& target, int32_t x, int32_t row)
{
    const Surface::Pixel pixel = target.At(x, row);
    EXPECT_EQ(pixel.alpha, 0xFF);
    return {pixel.red, pixel.green, pixel.blue};
}

} // namespace

TEST(WaveformInks, AddTheirIncrementByTheWeightOfTheRow)
{
    for (const bool fast : {false, true})
        for (const InkRow& ink : kInks) {
            Surface target(640, 480);
            target.Fill([](int32_t, int32_t) { return Opaque(0, 0, 0); });
            Trace(&target, ink.mode, 1, fast);
            const Spot spot = SpotOf(ink);
            ASSERT_TRUE(spot.fraction > 0x1000 && spot.fraction < 0xF000) << "a level whose light is split";
            Bytes below, above;
            for (size_t i = 0; i < 3; ++i) {
                below[i] = static_cast<uint8_t>((0x10000 - spot.fraction) * ink.increment[i] >> 16);
                above[i] = static_cast<uint8_t>(spot.fraction * ink.increment[i] >> 16);
            }
            EXPECT_EQ(At(target, spot.x, spot.row), below) << ink.mode << ", panel " << ink.panel;
            EXPECT_EQ(At(target, spot.x, spot.row - 1), above) << ink.mode << ", panel " << ink.panel;
        }
}

TEST(WaveformInks, StopAtTheirCeilingsAfterManyHits)
{
    for (const bool fast : {false, true})
        for (const InkRow& ink : kInks) {
            Surface target(640, 480);
            target.Fill([](int32_t, int32_t) { return Opaque(0, 0, 0); });
            Trace(&target, ink.mode, 300, fast);
            const Spot spot = SpotOf(ink);
            Bytes dense;
            for (size_t i = 0; i < 3; ++i) dense[i] = ink.increment[i] != 0 ? ink.ceiling[i] : uint8_t{0};
            EXPECT_EQ(At(target, spot.x, spot.row), dense) << ink.mode << ", panel " << ink.panel;
            EXPECT_EQ(At(target, spot.x, spot.row - 1), dense) << ink.mode << ", panel " << ink.panel;
        }
}

TEST(WaveformInks, BringABrighterPixelDownToTheirCeilings)
{
    for (const bool fast : {false, true})
        for (const InkRow& ink : kInks) {
            Surface target(640, 480);
            target.FillBytes(0xFF);
            Trace(&target, ink.mode, 1, fast);
            const Spot spot = SpotOf(ink);
            EXPECT_EQ(At(target, spot.x, spot.row), ink.ceiling) << ink.mode << ", panel " << ink.panel;
            EXPECT_EQ(At(target, spot.x, spot.row - 1), ink.ceiling) << ink.mode << ", panel " << ink.panel;
            EXPECT_EQ(At(target, spot.x, spot.row + 1), (Bytes{0xFF, 0xFF, 0xFF}));
        }
}

TEST(WaveformInks, OfTheWhitePanelAndOfTheOverlaysCeilingAreNotMuted)
{
    for (const bool fast : {false, true})
        for (const InkRow& ink : kInks) {
            Surface target(640, 480);
            target.FillBytes(0xFF);
            Trace(&target, ink.mode, 1, fast, 0);
            const Spot spot = SpotOf(ink);
            const Bytes seen = At(target, spot.x, spot.row);
            if (ink.ceiling == kWhiteCeiling || ink.ceiling == kOverlayCeiling) {
                EXPECT_EQ(seen, ink.ceiling) << ink.mode;
            } else { // a grey of its luma
                EXPECT_TRUE(seen[0] == seen[1] && seen[1] == seen[2]) << ink.mode << ", panel " << ink.panel;
                const double luma = 0.299 * ink.ceiling[0] + 0.587 * ink.ceiling[1] + 0.114 * ink.ceiling[2];
                EXPECT_NEAR(seen[0], luma, 1.01) << ink.mode << ", panel " << ink.panel;
            }
        }
    // The white panel's increment too.
    Surface muted(640, 480), whole(640, 480);
    Trace(&muted, waveformYRGB, 1, true, 0);
    Trace(&whole, waveformYRGB, 1, true);
    const Spot spot = SpotOf(kInks[8]);
    ASSERT_EQ(kInks[8].increment, kWhite);
    EXPECT_EQ(At(muted, spot.x, spot.row), At(whole, spot.x, spot.row));
    const Spot red = SpotOf(kInks[9]);
    EXPECT_NE(At(muted, red.x, red.row), At(whole, red.x, red.row));
}

TEST(WaveformInks, OfThePictureBelongToLumaTracesAlone)
{
    for (const bool fast : {false, true})
        for (const int32_t mode :
             {waveformSingle, waveformYCbCr, waveformRGB, waveformOverlay, waveformYRGB, waveformGBR}) {
            Surface plain(640, 480), pictured(640, 480), muted(640, 480);
            Trace(&plain, mode, 3, fast);
            Trace(&pictured, mode, 3, fast, 0x10000, waveformPictureColor);
            const bool takes = mode == waveformSingle || mode == waveformYCbCr;
            EXPECT_EQ(!SameSurface(plain, pictured), takes) << mode;
            if (mode != waveformSingle) continue;
            Trace(&muted, mode, 3, fast, 0, waveformPictureColor);
            EXPECT_TRUE(SameSurface(pictured, muted)) << "the picture's own colours are not muted";
        }
}
