// Frame buffers: layout rules, creation, and the small accessors.
#include "src/TincturaFrameBuffer.h"

#include "src/platform/BPLog.h"
#include "src/platform/BPMemory.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace {

constexpr const char* kModule = "TincturaFrameBuffer";
constexpr uint64_t kSmallPlane = 0x20000; // planes below this get the floor instead
constexpr uint64_t kPlaneFloor = 0x20010;
constexpr uint64_t kAlignment = 16;
constexpr uint32_t kNarrowWidth = 769; // pictures below carry other tags

uint64_t RoundUp(uint64_t value, uint64_t multiple)
{
    return (value + multiple - 1) / multiple * multiple;
}

uint32_t WordAt(const uint8_t* address)
{
    uint32_t word;
    std::memcpy(&word, address, sizeof word);
    return word;
}

float FloatAt(const uint8_t* address)
{
    float value;
    std::memcpy(&value, address, sizeof value);
    return value;
}

void FillRecord(FBFrame* frame, uint32_t width, uint32_t height, const FBLayout& layout, FBPixelFormat format)
{
    const bool narrow = width < kNarrowWidth;
    frame->width = width;
    frame->height = height;
    frame->rowBytes = static_cast<uint32_t>(layout.rowBytes);
    frame->pixelFormat = format;
    frame->planeCount = layout.planeCount;
    frame->planeBytes = static_cast<uint32_t>(layout.rowBytes * height);
    frame->tagPrimary = narrow ? 3 : 1;
    frame->tagReserved = 1;
    frame->tagSecondary = narrow ? 2 : 1;
    frame->tagZero = 0;
    frame->flags = 0;
}

} // namespace

FBLayout FBLayoutOf(uint32_t width, FBPixelFormat format)
{
    const uint64_t pixels = width;
    switch (format) {
    case pixFormatARGB8: return {.rowBytes = pixels * 4, .planeCount = 1};
    case pixFormatYRGB32_Float:
    case pixFormatRGBA32_Float:
    case pixFormatBGRY32_Float: return {.rowBytes = RoundUp(pixels, 4) * 16, .planeCount = 1};
    case pixFormatRGBY16_32K: return {.rowBytes = pixels * 8, .planeCount = 1};
    case pixFormatA8: return {.rowBytes = RoundUp(pixels, 16), .planeCount = 1};
    case pixFormatA32_Float: return {.rowBytes = pixels * 4, .planeCount = 1};
    case pixFormatARGB16_32K:
    case pixFormatRGBYPlanar_Float:
    case pixFormatABGR8:
    case pixFormatVUYA8:
    case pixFormatVUYA32_Float:
    case pixFormatYUYV10_601:
    case pixFormatYUYV10_709:
    case pixFormatRGB16Planar:
    case pixFormatBGRA8: // Deliberate: four planes of memory though one is used
    case pixFormatARGB64:
    case pixFormatUYVA8R:
    case pixFormatAYUV32_Float_r4fl:
    case pixFormat422YpCbCr10:
    case pixFormatUYVA8: break;
    }
    return {.rowBytes = RoundUp(pixels, 4) * 4, .planeCount = 4};
}

BPStatus FBCreateRGBFrameBuffer(uint32_t width, uint32_t height, FBFrame** frame, FBPixelFormat format)
{
    return FBCreateFrameBufferWithAllocator(width, height, frame, format, nullptr);
}

BPStatus FBCreateFrameBufferWithAllocator(uint32_t width, uint32_t height, FBFrame** frame, FBPixelFormat format,
                                          const FBAllocator* allocator)
{
    *frame = nullptr;
    const FBLayout layout = FBLayoutOf(width, format);
    // Both factors are below 2^37 and 2^32; what does not fit a 32-bit plane cannot be described by the record.
    constexpr uint64_t limit = std::numeric_limits<uint32_t>::max();
    if (layout.rowBytes > limit || (height != 0 && layout.rowBytes > limit / height)) return bpMemFullErr;
    const uint64_t planeBytes = layout.rowBytes * height;
    const uint64_t byteCount = (planeBytes < kSmallPlane ? kPlaneFloor : planeBytes) * layout.planeCount;

    auto* made = static_cast<FBFrame*>(allocator ? allocator->allocate(allocator->context, sizeof(FBFrame), 0)
                                                 : BPAllocate(sizeof(FBFrame)));
    if (!made) return bpMemFullErr;
    *made = {};
    void* pixels =
        allocator ? allocator->allocate(allocator->context, byteCount, 1) : BPAllocate(byteCount + kAlignment);
    if (!pixels) {
        if (allocator)
            allocator->release(allocator->context, made);
        else
            BPFree(made);
        return bpMemFullErr;
    }
    FillRecord(made, width, height, layout, format);
    if (allocator) {
        made->baseAddr = static_cast<uint8_t*>(pixels);
    } else {
        made->allocation = pixels;
        made->baseAddr = reinterpret_cast<uint8_t*>(RoundUp(reinterpret_cast<uintptr_t>(pixels), kAlignment));
    }
    *frame = made;
    return bpNoErr;
}

void FBDisposeFrameBuffer(FBFrame* frame)
{
    FBFrame* framePtr = frame;
    BP_ASSERT(framePtr != 0, kModule);
    if (!framePtr) return;
    if (!(framePtr->flags & kFBFlagWrapped) && framePtr->baseAddr) BPFree(framePtr->allocation);
    BPFree(framePtr);
}

void FBIterateFrame(const FBFrame* frame, FBPixelRoutine routine, void* user)
{
    switch (frame->pixelFormat) {
    case pixFormatARGB8:
    case pixFormatYRGB32_Float: // Deliberate: the step stays 4 bytes, so the first quarter of a row is walked
    case pixFormatRGBYPlanar_Float:
    case pixFormatBGRA8: break;
    default:
        BPDebugLog("FBIterateFrame: Unsupported frame buffer pixel format %x\n",
                   static_cast<unsigned>(frame->pixelFormat));
        return;
    }
    for (uint32_t row = 0; row < frame->height; ++row) {
        uint8_t* pixel = frame->baseAddr + size_t{row} * frame->rowBytes;
        for (uint32_t column = 0; column < frame->width; ++column, pixel += 4) routine(pixel, frame, user);
    }
}

void FBGetPixelFloat(const FBFrame* frame, int32_t column, int32_t row, float rgba[4])
{
    const FBPixelFormat format = frame->pixelFormat;
    if (format != pixFormatARGB8 && format != pixFormatRGBYPlanar_Float && format != pixFormatBGRA8) return;
    for (int i = 0; i < 4; ++i) rgba[i] = 0;
    if (column < 0 || row < 0 || static_cast<uint32_t>(column) >= frame->width ||
        static_cast<uint32_t>(row) >= frame->height)
        return;
    const uint8_t* pixel =
        frame->baseAddr + static_cast<size_t>(row) * frame->rowBytes + static_cast<size_t>(column) * 4;
    if (format == pixFormatRGBYPlanar_Float) {
        for (size_t plane = 0; plane < 4; ++plane) rgba[plane] = FloatAt(pixel + plane * frame->planeBytes);
        return;
    }
    const uint32_t word = WordAt(pixel);
    const bool alphaFirst = format == pixFormatARGB8;
    const int shift[4] = {alphaFirst ? 16 : 8, alphaFirst ? 8 : 16, alphaFirst ? 0 : 24, alphaFirst ? 24 : 0};
    for (int i = 0; i < 4; ++i) rgba[i] = static_cast<float>(((word >> shift[i]) & 255) / 255.0);
}

void FBApplyLUTBand(uint8_t* baseAddr, uint32_t width, uint32_t height, uint32_t rowBytes, const uint8_t table[768],
                    FBPixelFormat format)
{
    if (format != pixFormatARGB8 && format != pixFormatBGRA8) return;
    // Where red, green and blue lie in a pixel's four bytes of memory.
    const size_t red = format == pixFormatARGB8 ? 2 : 1;
    const size_t green = format == pixFormatARGB8 ? 1 : 2;
    const size_t blue = format == pixFormatARGB8 ? 0 : 3;
    // Rows without padding end where they end: what comes next is mapped in its own turn.
    const size_t pixels = std::min((size_t{width} + 3) / 4 * 4, size_t{rowBytes} / 4);
    for (uint32_t row = 0; row < height; ++row) {
        uint8_t* pixel = baseAddr + size_t{row} * rowBytes;
        for (size_t i = 0; i < pixels; ++i, pixel += 4) {
            pixel[red] = table[pixel[red]];
            pixel[green] = table[256 + pixel[green]];
            pixel[blue] = table[512 + pixel[blue]];
        }
    }
}

FBFrame FBBandOf(const FBFrame& frame, uint32_t firstRow, uint32_t rowCount)
{
    FBFrame band = frame;
    band.baseAddr = frame.baseAddr + size_t{firstRow} * frame.rowBytes;
    band.height = rowCount;
    return band;
}
