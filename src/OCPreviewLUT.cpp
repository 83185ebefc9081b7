// The tables of our own, and the kinds of files.
#include "src/OCPreviewLUT.h"

#include "src/BPMath.h"
#include "src/platform/BPFiles.h"
#include "src/platform/BPLog.h"

#include <cmath>

namespace {

constexpr OCPreviewEntry kEntries[] = {
    {"None", previewNone},           {"ITU.R 601 Gamma", preview601},
    {"ITU.R 709 Gamma", preview709}, {"SMPTE 240M Gamma", preview240M},
    {"Invert", previewInvert},       {"Other...", previewOther},
};

double CameraCurve(double value, double slope, double knee, double gain)
{
    return value < knee ? slope * value : gain * double{BPPower(static_cast<float>(value), 0.45)} - (gain - 1.0);
}

double Curve(uint32_t index, double value)
{
    switch (index) {
    case preview601:
    case preview709: return CameraCurve(value, 4.5, 0.018, 1.099);
    case preview240M: return CameraCurve(value, 4.0, 0.0228, 1.1115);
    case previewInvert: return 1.0 - value;
    }
    return value;
}

constexpr OCPreviewKind kKinds[] = {
    {{".lut", "Ochrine Preview LUT Files"}, OCReadDiscreetLUT},
    {{".amp", "Arbitrary Map Files"}, OCReadArbitraryMap},
    {{".txt", "Quantel iQ 1D LUT Files"}, OCReadQuantelLUT},
    {{".lut", "Autodesk 1D LUT Files"}, OCReadDiscreetLUT},
};

OCLUTRead ReadTextTable(const char* path, OCPreviewTable table,
                        OCLUTRead (*read)(std::span<const uint8_t> bytes, OCPreviewTable table))
{
    std::vector<uint8_t> bytes;
    if (BPReadFile(path, kOCLUTFileLimit, &bytes) != bpNoErr) {
        BPDebugLog("unable to process LUT file, err=%d\n", bpFileNotFoundErr);
        return {bpFileNotFoundErr, kOCLUTError};
    }
    return read(bytes, table);
}

} // namespace

std::span<const OCPreviewEntry> OCPreviewEntries()
{
    return kEntries;
}

int OCPreviewEntryPosition(uint32_t index)
{
    for (size_t i = 0; i < std::size(kEntries); ++i)
        if (kEntries[i].index == index) return static_cast<int>(i);
    return -1;
}

uint32_t OCPreviewTableIndex(uint32_t index, bool traditionalGamma)
{
    return index == previewNone && !traditionalGamma ? uint32_t{previewNoneAdjusted} : index;
}

bool OCPreviewBuiltIn(uint32_t index, OCPreviewTable table)
{
    if (index < previewNone || index > previewNoneAdjusted) return false;
    for (uint32_t i = 0; i < 256; ++i) {
        const auto entry = static_cast<uint8_t>(std::floor(255.0 * Curve(index, i / 255.0) + 0.5));
        table[i] = table[256 + i] = table[512 + i] = entry;
    }
    return true;
}

bool OCPreviewIsIdentity(const OCPreviewTable table)
{
    for (size_t i = 0; i < kOCPreviewTableBytes; ++i)
        if (table[i] != (i & 255)) return false;
    return true;
}

std::span<const OCPreviewKind> OCPreviewKinds()
{
    return kKinds;
}

OCLUTRead ReadDiscreetLUT(const char* path, OCPreviewTable table)
{
    return ReadTextTable(path, table, OCReadDiscreetLUT);
}

OCLUTRead ReadQuantelLUT(const char* path, OCPreviewTable table)
{
    return ReadTextTable(path, table, OCReadQuantelLUT);
}

OCLUTRead ReadArbitraryMap(const char* path, OCPreviewTable table)
{
    std::vector<uint8_t> bytes;
    if (BPReadFile(path, kOCLUTFileLimit, &bytes) != bpNoErr) {
        BPDebugLog("unable to open file, err=%d\n", bpFileNotFoundErr);
        return {bpFileNotFoundErr, nullptr};
    }
    return OCReadArbitraryMap(bytes, table);
}

OCLUTRead OCLUTReadError()
{
    BPDebugLog("unable to process LUT file, err=%d\n", bpBadMagicErr);
    return {bpBadMagicErr, kOCLUTError};
}
