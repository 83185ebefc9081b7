// A grade as a preview LUT: a ramp of grays through the pipeline, in the text that the Discreet reader takes.
#include "src/OCPreviewLUT.h"
#include "src/OCVersion.h"
#include "src/platform/BPFiles.h"
#include "src/platform/BPLog.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace {

struct SizeRow {
    uint32_t size;
    const char* bits;
};

constexpr SizeRow kSizes[] = {{256, "8"}, {1024, "10"}, {4096, "12"}, {16384, "14"}, {32768, "15"}, {65536, "16"}};

void AppendHead(uint32_t size, const OCPreviewStamp& stamp, std::string* text)
{
    *text += "#\n#   Preview LUT";
    for (const SizeRow& row : kSizes)
        if (row.size == size)
            *text += std::string(" to convert ") + row.bits + "-bit linear to " + row.bits + "-bit linear";
    *text += std::string("\n#\n#   Creator:  Brindlepath Ochrine ") + kOCVersion + "\n#   Platform: Windows ";
    *text += std::to_string(stamp.systemMajor) + "." + std::to_string(stamp.systemMinor);
    *text += "\n#   Date:     " + OCFileDate(stamp.wallSeconds) + "\n#\nLUT: 3 " + std::to_string(size) + "\n";
}

void AppendEntry(float value, uint32_t size, std::string* text)
{
    const double highest = size - 1.0;
    const double rounded = std::floor(double{value} * highest + 0.5);
    const auto entry = static_cast<uint32_t>(rounded > 0 ? std::min(rounded, highest) : 0.0);
    char digits[16];
    const char* const end = std::to_chars(digits, digits + sizeof digits, entry).ptr;
    const auto length = static_cast<size_t>(end - digits);
    text->append(length < 3 ? 9 - length : 6, ' ');
    text->append(digits, length);
    *text += '\n';
}

float* PlaneOf(const FBFrame& frame, uint32_t plane)
{
    return reinterpret_cast<float*>(frame.baseAddr + size_t{plane} * frame.planeBytes);
}

} // namespace

BPStatus OCWritePreviewLUT(OCEngine* engine, const OCSettings* settings, uint32_t size, const OCPreviewStamp& stamp,
                           uint32_t taskCount, MPTask* tasks, std::string* text)
{
    text->clear();
    if (size < 2 || size > kOCPreviewSaveLimit) return bpParamErr;
    FBFrame *framePtr = nullptr, *dstFramePtr = nullptr;
    BPStatus err = FBCreateRGBFrameBuffer(size, 1, &framePtr, pixFormatRGBYPlanar_Float);
    const BPStatus dstErr = FBCreateRGBFrameBuffer(size, 1, &dstFramePtr, pixFormatRGBYPlanar_Float);
    if (err == bpNoErr) err = dstErr;
    BP_ASSERT(framePtr != 0, "TincturaFileIO");
    BP_ASSERT(dstFramePtr != 0, "TincturaFileIO");
    if (err == bpNoErr) {
        const double step = 1.0 / (size - 1.0);
        double sum = 0;
        for (uint32_t i = 0; i < size; ++i, sum += step)
            for (uint32_t plane = 0; plane < 4; ++plane) PlaneOf(*framePtr, plane)[i] = static_cast<float>(sum);
        OCUpdateParameters(engine, settings);
        ProcessImage(engine, framePtr, dstFramePtr, settings, 0, taskCount, tasks);
        AppendHead(size, stamp, text);
        text->reserve(text->size() + size_t{3} * size * 12);
        for (uint32_t plane = 0; plane < 3; ++plane)
            for (uint32_t i = 0; i < size; ++i) AppendEntry(PlaneOf(*dstFramePtr, plane)[i], size, text);
    }
    if (framePtr) FBDisposeFrameBuffer(framePtr);
    if (dstFramePtr) FBDisposeFrameBuffer(dstFramePtr);
    return err;
}

BPStatus SavePreviewLUT(OCEngine* engine, const OCSettings* settings, const char* path, uint32_t size,
                        const OCPreviewStamp& stamp, uint32_t taskCount, MPTask* tasks)
{
    const char* const name = path;
    BP_ASSERT(name != 0, "TincturaFileIO");
    if (!name) return bpParamErr;
    std::string text;
    if (BPStatus err = OCWritePreviewLUT(engine, settings, size, stamp, taskCount, tasks, &text); err != bpNoErr)
        return err;
    return BPWriteFile(name, text.data(), text.size()) == bpNoErr ? bpNoErr : bpOpenErr;
}
