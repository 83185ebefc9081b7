// Frame copy and scaling.
#include "src/FBCopy.h"

#include "src/FBResample.h"
#include "src/FBTransferRows.h"
#include "src/platform/BPLog.h"
#include "src/platform/BPMemory.h"

#include <cstdio>

namespace {

// The one scratch block of the scaler. Thread: main.
uint8_t* gScratch = nullptr;
size_t gScratchBytes = 0;

/// Makes the scratch block large enough; without memory it is null.
void GrowScratch(size_t byteCount)
{
    if (byteCount <= gScratchBytes) return;
    BPFree(gScratch);
    gScratchBytes = 0;
    gScratch = static_cast<uint8_t*>(BPAllocate(byteCount));
    if (gScratch) gScratchBytes = byteCount;
}

int32_t Scale(FBSampleKind kind, const FBFrame& source, const FBFrame& destination, uint32_t plane)
{
    const FBRegion from = {.x = 0, .y = 0, .width = source.width, .height = source.height};
    const FBRegion to = {.x = 0, .y = 0, .width = destination.width, .height = destination.height};
    GrowScratch(FBResampleScratchBytes(kind, from, to, fbResampleCubic));
    return FBResample(kind, {.source = source.baseAddr + size_t{plane} * source.planeBytes,
                             .sourceWidth = source.width,
                             .sourceHeight = source.height,
                             .sourceRowBytes = source.rowBytes,
                             .sourceRegion = from,
                             .destination = destination.baseAddr + size_t{plane} * destination.planeBytes,
                             .destinationRowBytes = destination.rowBytes,
                             .destinationRegion = to,
                             .xFactor = static_cast<double>(destination.width) / source.width,
                             .yFactor = static_cast<double>(destination.height) / source.height,
                             .xShift = 0,
                             .yShift = 0,
                             .method = fbResampleCubic,
                             .scratch = gScratch,
                             .scratchBytes = gScratchBytes});
}

/// Deliberate: to standard output, not to the log.
void PrintFailure(const char* routine, int32_t number)
{
    std::printf("%s in Ochrine FBCopyFrameBuffer failed with %d\n", routine, static_cast<int>(number));
    std::fflush(stdout);
}

void ScaleFrame(const FBFrame& source, const FBFrame& destination)
{
    switch (source.pixelFormat) {
    case pixFormatARGB8:
    case pixFormatBGRA8:
        if (int32_t err = Scale(fbSample8u4, source, destination, 0)) PrintFailure("ippiResizeSqrPixel_8u_C4R", err);
        return;
    case pixFormatYRGB32_Float:
    case pixFormatRGBA32_Float:
    case pixFormatBGRY32_Float:
        if (int32_t err = Scale(fbSample32f4, source, destination, 0)) PrintFailure("ippiResizeSqrPixel_32f_C4R", err);
        return;
    case pixFormatRGBYPlanar_Float:
        for (uint32_t plane = 0; plane < source.planeCount; ++plane) // a plane that fails does not stop the next
            if (int32_t err = Scale(fbSample32f1, source, destination, plane))
                PrintFailure("ippiResizeSqrPixel_32f_C1R", err);
        return;
    default:
        BPDebugLog("FBCopyFrameBuffer: unsuppported pixel format %d '%.4s' in scaling\n",
                   static_cast<int>(source.pixelFormat), fbtransfer::CharactersOf(source.pixelFormat).text);
    }
}

} // namespace

void FBCopyFrameBuffer(const FBFrame* source, const FBFrame* destination, uint32_t taskCount, MPTask* tasks)
{
    const bool sameSize = source->width == destination->width && source->height == destination->height;
    const bool sameFormat = source->pixelFormat == destination->pixelFormat;
    if (sameSize && sameFormat)
        std::memcpy(destination->baseAddr, source->baseAddr,
                    size_t{destination->planeCount} * destination->rowBytes * destination->height);
    else if (sameSize)
        FBTransferFBFrameToPix(source, nullptr, destination->baseAddr, destination->rowBytes, destination->pixelFormat,
                               taskCount, tasks);
    else if (sameFormat)
        ScaleFrame(*source, *destination);
    else
        BPDebugLog("FBCopyFrameBuffer: unsuppported mixed pixel formats (scaled)\n");
}

void FBReleaseCopyScratch()
{
    FBReleaseResampler();
    BPFree(gScratch);
    gScratch = nullptr;
    gScratchBytes = 0;
}
