// The one luma table of the process and the matrix it was made for.
#include "src/OCLumaTable.h"

#include <cmath>

namespace {

constexpr double kCoefficients[kOCMatrixCount][3] = {
    {0.299, 0.587, 0.114}, {0.2126, 0.7152, 0.0722}, {0.212, 0.701, 0.087}};
constexpr int32_t kNoMatrix = -1;

uint8_t gLumaTable[kOCLumaTableBytes]; // main thread
int32_t gLumaMatrix = kNoMatrix;       // main thread

} // namespace

const uint8_t* GetLumaTable(int32_t matrix)
{
    if (matrix < 0 || matrix >= kOCMatrixCount) matrix = ocMatrix709;
    if (matrix == gLumaMatrix) return gLumaTable;
    for (uint32_t channel = 0; channel < 3; ++channel)
        for (uint32_t level = 0; level < 256; ++level)
            gLumaTable[channel * 256 + level] =
                static_cast<uint8_t>(std::lround(level * kCoefficients[matrix][channel])); // ties away from zero
    gLumaMatrix = matrix;
    return gLumaTable;
}

const uint8_t* GetCurrentLumaTable()
{
    return gLumaMatrix == kNoMatrix ? GetLumaTable(ocMatrix709) : gLumaTable;
}
