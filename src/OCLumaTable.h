// Luma of 8-bit pixels by three lookups. The table is the one shared by the scopes, the histograms and the automatic
// corrections: it holds the matrix of whoever asked last.
#pragma once

#include <cstdint>

enum OCMatrix : int32_t {
    ocMatrix601 = 0,  ///< ITU.R BT.601
    ocMatrix709 = 1,  ///< ITU.R BT.709
    ocMatrix240M = 2, ///< SMPTE 240M
};

inline constexpr int32_t kOCMatrixCount = 3;

/// Three runs of 256 bytes for R, G and B; luma is the sum of the three entries, 0 to 255.
inline constexpr uint32_t kOCLumaTableBytes = 768;

/// Returns the table of a matrix, rebuilt only when another than the last one is asked for. An unknown matrix counts as
/// ITU.R BT.709. The pointer stays valid; its contents change with the next request for another matrix.
/// Thread: main.
const uint8_t* GetLumaTable(int32_t matrix);

/// Returns the table as the latest request left it; without any request so far, that of ITU.R BT.709.   Thread: main.
const uint8_t* GetCurrentLumaTable();
