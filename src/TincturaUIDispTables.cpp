// Tables and names of the displays. All are built on demand and owned by the main thread.
#include "src/TincturaUIDisp.h"

#include <bit>
#include <cmath>

namespace {

constexpr const char* kNames[kScopeDisplayCount] = {"Luma WFM",   "YC WFM",    "RGB WFM",     "GBR WFM",
                                                    "YRGB WFM",   "YCbCr WFM", "Overlay WFM", "Vectorscope",
                                                    "Histograms", "Tone Curve"};

constexpr double kChroma[kOCMatrixCount][6] = {{0.168736, 0.331264, 0.5, 0.5, 0.418688, 0.081312},
                                               {0.114572, 0.385428, 0.5, 0.5, 0.454153, 0.045847},
                                               {0.116101, 0.383899, 0.5, 0.5, 0.444797, 0.055203}};
constexpr double kWeightBY = 0.872, kWeightRY = 1.23;
constexpr int32_t kNoMatrix = -1;

int32_t gChromaTable[6 * 256];
int32_t gChromaMatrix = kNoMatrix;
uint8_t gMagnitude[kChromaMagnitudeSide * kChromaMagnitudeSide];
bool gMagnitudeBuilt = false;
uint8_t gGamma[256];
bool gGammaBuilt = false;

} // namespace

const char* ScopeDisplayName(int32_t display)
{
    return display >= 1 && display <= kScopeDisplayCount ? kNames[display - 1] : "";
}

ScopeSettings ScopeDefaultSettings()
{
    return {.wfmColor = 0,
            .wfmUnitsMV = 0,
            .vsCalibration100 = 0,
            .videoSystem = 1,
            .videoBlackLevel = 0,
            .videoWhiteLevel = 255,
            .videoBlackSetupPresent = 0,
            .uiSaturation = 0x6666,
            .vectorscopeZoom = 1,
            .updateSuspended = false};
}

ScopeContext ScopeDefaultContext()
{
    ScopeContext context = {};
    context.settings = ScopeDefaultSettings();
    context.taskCount = 1;
    return context;
}

int32_t ScopeVideoSystem(uint32_t preference)
{
    return preference == 2 ? 2 : preference == 3 || preference == 4 ? 3 : 1;
}

int32_t ScopeMatrix(uint32_t preference)
{
    return preference == 3 ? ocMatrix709 : preference == 4 ? ocMatrix240M : ocMatrix601;
}

const int32_t* GetChromaTable(int32_t matrix)
{
    if (matrix < 0 || matrix >= kOCMatrixCount) matrix = ocMatrix709;
    if (matrix == gChromaMatrix) return gChromaTable;
    for (int run = 0; run < 6; ++run)
        for (int level = 0; level < 256; ++level)
            gChromaTable[run * 256 + level] = static_cast<int32_t>(
                std::lround(level * kChroma[matrix][run] * (run < 3 ? kWeightBY : kWeightRY) * 65536.0));
    gChromaMatrix = matrix;
    return gChromaTable;
}

const uint8_t* GetChromaMagnitudeTable()
{
    if (!gMagnitudeBuilt) {
        for (int a = 0; a < kChromaMagnitudeSide; ++a)
            for (int b = 0; b < kChromaMagnitudeSide; ++b)
                gMagnitude[a * kChromaMagnitudeSide + b] =
                    static_cast<uint8_t>(std::lround(std::sqrt(static_cast<double>(a * a + b * b))));
        gMagnitudeBuilt = true;
    }
    return gMagnitude;
}

const uint8_t* GetVectorscopeGamma()
{
    if (!gGammaBuilt) {
        const double exponent = std::bit_cast<float>(0x3F91745Du); // 1 / 0.88 in single precision
        for (int i = 0; i < 256; ++i) gGamma[i] = static_cast<uint8_t>(255.0 * std::pow(i / 255.0, exponent) + 0.5);
        gGammaBuilt = true;
    }
    return gGamma;
}

void PrepareScopePalette(ScopePalette* palette, uint32_t uiSaturation)
{
    palette->graticule = DesaturateColor({0xCE00, 0x6300, 0}, uiSaturation);
    palette->minorGraticule = DesaturateColor({0x9800, 0x4900, 0}, uiSaturation);
    palette->red = DesaturateColor({0xFFFF, 0, 0}, uiSaturation);
    palette->green = DesaturateColor({0, 0xD8EF, 0}, uiSaturation);
    palette->blue = DesaturateColor({0, 0x7530, 0xFFFF}, uiSaturation);
    const uint16_t grey = ScopeGreyOf(palette->green);
    palette->luma = {grey, grey, grey};
    palette->text = {0xDDDD, 0xDDDD, 0xDDDD};
}
