// Output, written to be read, and the copy of alpha.
#include "src/FBTransferRows.h"
#include "src/platform/BPLog.h"

#include <algorithm>
#include <cmath>

namespace {

using namespace fbtransfer;

float PlaneAt(const Row& row, size_t plane, size_t i)
{
    return Load<float>(row.in + plane * row.inPlaneBytes, i);
}

/// Deliberate: the whole row is reversed end to end, which mirrors it and turns the bytes of each pixel around.
void ARGB8ToReversedARGB8(const Row& row)
{
    const size_t byteCount = size_t{row.width} * 4;
    for (size_t i = 0; i < byteCount; ++i) row.out[i] = row.in[byteCount - 1 - i];
}

void FloatsToARGB8(const Row& row)
{
    for (size_t i = 0; i < row.width; ++i) {
        uint32_t word = 0;
        for (size_t c = 0; c < 3; ++c) // no rounding bias here
            word = word << 8 | static_cast<uint32_t>(Unit(Load<float>(row.in, i * 4 + c)) * 255.0f);
        Store(row.out, i, word);
    }
}

/// floor(value / 128.5 + 0.5). What red and green would lose as out of range, blue would only be held to; a 16-bit value
/// never gets there.
void RGBY16ToARGB8(const Row& row)
{
    for (size_t i = 0; i < row.width; ++i) {
        uint32_t word = 0;
        for (size_t c = 0; c < 3; ++c) {
            double value = std::floor(Load<uint16_t>(row.in, i * 4 + c) / 128.5 + 0.5);
            if (value > 32768) value = c < 2 ? 0 : 32768;
            word = word << 8 | (static_cast<uint32_t>(value) & 255);
        }
        Store(row.out, i, word);
    }
}

uint32_t Trunc8(float value)
{
    return static_cast<uint32_t>(Unit(value + kRoundingBias) * 255.0f);
}

/// The planes R, G, B as bytes of a word whose other byte is 255.
template <int red, int green, int blue, int other> void PlanarToWords(const Row& row)
{
    for (size_t i = 0; i < row.width; ++i)
        Store(row.out, i,
              Trunc8(PlaneAt(row, 0, i)) << red | Trunc8(PlaneAt(row, 1, i)) << green |
                  Trunc8(PlaneAt(row, 2, i)) << blue | 255u << other);
}

void PlanarToARGB16(const Row& row)
{
    for (size_t i = 0; i < row.width; ++i) {
        Store(row.out, i * 4, uint16_t{0x7FFF}); // colour reaches 32,768, alpha 32,767
        for (size_t c = 0; c < 3; ++c)
            Store(row.out, i * 4 + c + 1, static_cast<uint16_t>(Unit(PlaneAt(row, c, i)) * 32768.0f));
    }
}

void PlanarToYRGB(const Row& row)
{
    for (size_t i = 0; i < row.width; ++i)
        StoreFloats(row.out, i, 1, PlaneAt(row, 0, i), PlaneAt(row, 1, i), PlaneAt(row, 2, i));
}

void PlanarToRGBA(const Row& row)
{
    for (size_t i = 0; i < row.width; ++i)
        StoreFloats(row.out, i, PlaneAt(row, 0, i), PlaneAt(row, 1, i), PlaneAt(row, 2, i), 1);
}

void PlanarToBGRY(const Row& row)
{
    for (size_t i = 0; i < row.width; ++i)
        StoreFloats(row.out, i, PlaneAt(row, 2, i), PlaneAt(row, 1, i), PlaneAt(row, 0, i), 1);
}

/// Deliberate: the channels become integer words of 0 or 1 in what is read as floats.
void ARGB8ToIntegerRGBA(const Row& row)
{
    for (size_t i = 0; i < row.width; ++i) {
        const auto value = static_cast<uint32_t>(ByteAt(Load<uint32_t>(row.in, i), 16) / 255.0);
        for (size_t c = 0; c < 3; ++c) Store(row.out, i * 4 + c, value);
        Store(row.out, i * 4 + 3, uint32_t{1});
    }
}

/// Holds a value to an interval and cuts it; what is no number counts as 0.
uint32_t Held(float value, float low, float high)
{
    if (value != value) return 0;
    return static_cast<uint32_t>(value < low ? low : (value > high ? high : value));
}

struct VideoSums {
    float y, cb, cr;
};

VideoSums VideoOf(float r, float g, float b)
{
    return {0.09790624678134918f * b + 0.5041289329528809f * g + 0.25678905844688416f * r,
            -0.1482226550579071f * r - 0.29099220037460327f * g + 0.439214825630188f * b,
            0.439214825630188f * r - 0.36778905987739563f * g - 0.07142578065395355f * b};
}

void PlanarToVUYA8(const Row& row)
{
    for (size_t i = 0; i < row.width; ++i) {
        const VideoSums v = VideoOf(PlaneAt(row, 0, i), PlaneAt(row, 1, i), PlaneAt(row, 2, i));
        Store(row.out, i,
              0xFF000000u | Held(v.y * 255.0f + 16.0f, 1, 254) << 16 | Held(v.cb * 255.0f + 128.0f, 1, 254) << 8 |
                  Held(v.cr * 255.0f + 128.0f, 1, 254));
    }
}

void PlanarToVUYAFloat(const Row& row)
{
    for (size_t i = 0; i < row.width; ++i) {
        const VideoSums v = VideoOf(PlaneAt(row, 0, i), PlaneAt(row, 1, i), PlaneAt(row, 2, i));
        StoreFloats(row.out, i, v.cr, v.cb, v.y, 1);
    }
}

float AtMostOne(float value)
{
    return value > 1 ? 1 : value;
}

/// A pair of words for a pair of pixels. The chroma of the odd pixel is dropped; the partner of an odd last pixel is
/// read from the row's padding.
void PlanarToPairs(const Row& row, const PairWeights& w)
{
    const size_t pairs = (size_t{row.width} + 1) / 2;
    for (size_t i = 0; i < pairs; ++i) {
        uint32_t words[2] = {0, 0};
        for (size_t k = 0; k < 2; ++k) {
            const size_t pixel = i * 2 + k;
            if ((pixel + 1) * sizeof(float) > row.inLimit) break;
            const float r = AtMostOne(PlaneAt(row, 0, pixel));
            const float g = AtMostOne(PlaneAt(row, 1, pixel));
            const float b = AtMostOne(PlaneAt(row, 2, pixel));
            words[k] |= Held(w.lumaBlue * b + w.lumaGreen * g + w.lumaRed * r + 4096.0f, 1, 65472);
            if (k == 0) {
                words[0] |= Held(28672.0f * r - w.crGreen * g - w.crBlue * b + 32768.0f, 1, 65472) << 16;
                words[1] |= Held(w.cbRed * r - w.cbGreen * g + 28672.0f * b + 32768.0f, 1, 65472) << 16;
            }
        }
        for (size_t k = 0; k < 2; ++k)
            if ((i * 2 + k + 1) * sizeof(uint32_t) <= row.outLimit) Store(row.out, i * 2 + k, words[k]);
    }
}

void PlanarToPairs601(const Row& row)
{
    PlanarToPairs(row, kOut601);
}

void PlanarToPairs709(const Row& row)
{
    PlanarToPairs(row, kOut709);
}

/// Deliberate: a group of four lands in memory in reverse order, unlike on the way in.
void A32ToA8(const Row& row)
{
    const size_t groups = (size_t{row.width} + 3) / 4;
    for (size_t i = 0; i < groups * 4; ++i) {
        const size_t place = i / 4 * 4 + (3 - i % 4);
        if (place >= row.outLimit) continue;
        const bool inside = (i + 1) * sizeof(float) <= row.inLimit;
        row.out[place] = inside ? static_cast<uint8_t>(Trunc8(Load<float>(row.in, i))) : uint8_t{0};
    }
}

constexpr Pair kPairs[] = {
    {pixFormatARGB8, pixFormatARGB8, ARGB8ToReversedARGB8},
    {pixFormatYRGB32_Float, pixFormatARGB8, FloatsToARGB8},
    {pixFormatRGBA32_Float, pixFormatARGB8, FloatsToARGB8},
    {pixFormatRGBYPlanar_Float, pixFormatARGB8, PlanarToWords<16, 8, 0, 24>},
    {pixFormatRGBY16_32K, pixFormatARGB8, RGBY16ToARGB8},
    {pixFormatARGB8, pixFormatBGRA8, SwapWords},
    {pixFormatRGBYPlanar_Float, pixFormatBGRA8, PlanarToWords<8, 16, 24, 0>},
    {pixFormatRGBYPlanar_Float, pixFormatARGB16_32K, PlanarToARGB16},
    {pixFormatRGBYPlanar_Float, pixFormatYRGB32_Float, PlanarToYRGB},
    {pixFormatARGB8, pixFormatRGBA32_Float, ARGB8ToIntegerRGBA},
    {pixFormatRGBYPlanar_Float, pixFormatRGBA32_Float, PlanarToRGBA},
    {pixFormatRGBYPlanar_Float, pixFormatABGR8, PlanarToWords<0, 8, 16, 24>},
    {pixFormatRGBYPlanar_Float, pixFormatVUYA8, PlanarToVUYA8},
    {pixFormatRGBYPlanar_Float, pixFormatVUYA32_Float, PlanarToVUYAFloat},
    {pixFormatRGBYPlanar_Float, pixFormatYUYV10_601, PlanarToPairs601},
    {pixFormatRGBYPlanar_Float, pixFormatYUYV10_709, PlanarToPairs709},
    {pixFormatRGBYPlanar_Float, pixFormatBGRY32_Float, PlanarToBGRY},
    {pixFormatA32_Float, pixFormatA8, A32ToA8},
};

#define TRANSFER "FBTransferFBFrameToPixSSE: "

bool IsVideoOutput(FBPixelFormat to)
{
    return to >= pixFormatABGR8 && to <= pixFormatYUYV10_709; // 206 to 210
}

/// Pairs that leave without a word.
bool IsSilent(FBPixelFormat from, FBPixelFormat to)
{
    if (IsVideoOutput(to)) return true;
    if (from == pixFormatRGBY16_32K && to == pixFormatRGBA32_Float) return true;
    return (from == pixFormatYRGB32_Float || from == pixFormatRGBY16_32K) &&
           (to == pixFormatARGB16_32K || to == pixFormatYRGB32_Float || to == pixFormatBGRY32_Float ||
            to == pixFormatBGRA8);
}

void ReportMissing(FBPixelFormat from, FBPixelFormat to)
{
    if (IsSilent(from, to)) return;
    const char* name = nullptr;
    switch (to) {
    case pixFormatUYVA8: BPDebugLog(TRANSFER "called with unsupported pixel format pixFormatUYVA8\n"); return;
    case pixFormatUYVA8R: BPDebugLog(TRANSFER "called with unsupported pixel format pixFormatUYVA8R\n"); return;
    case pixFormat422YpCbCr10:
        BPDebugLog(TRANSFER "called with unsupported pixel format pixFormat422YpCbCr10\n");
        return;
    case pixFormatARGB64: BPDebugLog(TRANSFER "called with unsupported pixel format pixFormatARGB64\n"); return;
    case pixFormatBGRA8:
        BPDebugLog(TRANSFER "unsuppported input pixel format %d for pixFormatBGRA8 output\n", static_cast<int>(from));
        return;
    case pixFormatARGB8: name = "pixFormatARGB8"; break;
    case pixFormatARGB16_32K: name = "pixFormatARGB16_32K"; break;
    case pixFormatYRGB32_Float: name = "pixFormatYRGB32_Float"; break;
    case pixFormatRGBA32_Float: name = "pixFormatRGBA32_Float"; break;
    case pixFormatBGRY32_Float: name = "pixFormatBGRY32_Float"; break;
    case pixFormatA8: name = "pixFormatA8"; break;
    default:
        BPDebugLog(TRANSFER "unsuppported output pixel format %d, input format %d\n", static_cast<int>(to),
                   static_cast<int>(from));
        return;
    }
    BPDebugLog(TRANSFER "unsuppported input pixel format for %s output\n", name);
}

#undef TRANSFER

void Transfer(const RowRunner& routine, const FBFrame* frame, const FBRect* rect, void* destination,
              uint32_t destinationRowBytes, FBPixelFormat destinationFormat)
{
    uint32_t top = rect ? rect->top : 0;
    uint32_t left = rect ? rect->left : 0;
    const uint32_t bottom = rect ? rect->bottom : frame->height;
    const uint32_t right = rect ? rect->right : frame->width;
    if (top > bottom || left > right || bottom > frame->height || right > frame->width) return;
    const uint32_t width = right - left;
    const uint32_t height = bottom - top;
    // Deliberate: these destinations read from the frame's first pixel, whatever corner the rectangle has.
    if (IsVideoOutput(destinationFormat)) top = left = 0;
    const size_t firstByte = size_t{left} * PixelBytes(frame->pixelFormat);
    for (uint32_t row = 0; row < height; ++row)
        routine({.in = frame->baseAddr + size_t{top + row} * frame->rowBytes + firstByte,
                 .out = static_cast<uint8_t*>(destination) + size_t{row} * destinationRowBytes,
                 .inPlaneBytes = frame->planeBytes,
                 .outPlaneBytes = 0,
                 .inLimit = frame->rowBytes - firstByte,
                 .outLimit = destinationRowBytes,
                 .width = width});
}

void TransferOut(bool fast, const FBFrame* frame, const FBRect* rect, void* destination, uint32_t destinationRowBytes,
                 FBPixelFormat to)
{
    const FBPixelFormat from = frame->pixelFormat;
    const RowRoutine readable = FindRow(kPairs, from, to);
    if (!readable) {
        ReportMissing(from, to);
        return;
    }
    const bool reversed = from == pixFormatARGB8 && to == pixFormatARGB8;
    Transfer({.fast = fast ? FastOutput(from, to) : nullptr,
              .readable = readable,
              .inPixelBytes = reversed ? 0 : PixelBytes(from),
              .outPixelBytes = PixelBytes(to)},
             frame, rect, destination, destinationRowBytes, to);
}

/// Where a pixel's alpha lies.
struct AlphaPlace {
    size_t pixelBytes, offset, size;
};

} // namespace

uint32_t fbtransfer::PixelBytes(FBPixelFormat format)
{
    switch (format) {
    case pixFormatYRGB32_Float:
    case pixFormatRGBA32_Float:
    case pixFormatBGRY32_Float:
    case pixFormatVUYA32_Float:
    case pixFormatAYUV32_Float_r4fl: return 16;
    case pixFormatRGBY16_32K:
    case pixFormatARGB16_32K: return 8;
    case pixFormatRGB16Planar: return 2;
    case pixFormatA8: return 1;
    default: return 4;
    }
}

void FBTransferFBFrameToPixSSE(const FBFrame* frame, const FBRect* rect, void* destination,
                               uint32_t destinationRowBytes, FBPixelFormat destinationFormat)
{
    TransferOut(true, frame, rect, destination, destinationRowBytes, destinationFormat);
}

void FBTransferFBFrameToPixScalar(const FBFrame* frame, const FBRect* rect, void* destination,
                                  uint32_t destinationRowBytes, FBPixelFormat destinationFormat)
{
    TransferOut(false, frame, rect, destination, destinationRowBytes, destinationFormat);
}

void FBTransferPixAlphaToPixAlphaWork(const void* source, uint32_t sourceRowBytes, void* destination,
                                      uint32_t destinationRowBytes, uint32_t width, uint32_t height,
                                      FBPixelFormat format)
{
    AlphaPlace place = {};
    switch (format) {
    case pixFormatARGB8:
    case pixFormatVUYA8: place = {.pixelBytes = 4, .offset = 3, .size = 1}; break;
    case pixFormatBGRA8: place = {.pixelBytes = 4, .offset = 0, .size = 1}; break;
    case pixFormatARGB16_32K: place = {.pixelBytes = 8, .offset = 0, .size = 2}; break;
    case pixFormatYRGB32_Float: place = {.pixelBytes = 16, .offset = 0, .size = 4}; break;
    case pixFormatVUYA32_Float:
    case pixFormatBGRY32_Float: place = {.pixelBytes = 16, .offset = 12, .size = 4}; break;
    default:
        BPDebugLog("FBTransferPixAlphaToPixAlphaWork: Unsupported pixel format '%.4s' (%ld)\n",
                   CharactersOf(format).text, static_cast<long>(format));
        return;
    }
    const size_t pixels = std::min<size_t>(width, destinationRowBytes / place.pixelBytes);
    if (!source || !destination) return;
    for (uint32_t row = 0; row < height; ++row) {
        const uint8_t* in = static_cast<const uint8_t*>(source) + size_t{row} * sourceRowBytes + place.offset;
        uint8_t* out = static_cast<uint8_t*>(destination) + size_t{row} * destinationRowBytes + place.offset;
        for (size_t column = 0; column < pixels; ++column, in += place.pixelBytes, out += place.pixelBytes)
            std::memcpy(out, in, place.size);
    }
}

uint64_t FBPixelRowBytes(uint32_t width, FBPixelFormat format)
{
    const uint64_t pixels = width;
    switch (format) {
    case pixFormatARGB8:
    case pixFormatBGRA8:
    case pixFormatABGR8:
    case pixFormatVUYA8:
    case pixFormatUYVA8:
    case pixFormatUYVA8R: return pixels * 4;
    case pixFormatYUYV10_601:
    case pixFormatYUYV10_709: return (pixels + 1) / 2 * 8;
    case pixFormatARGB16_32K: return pixels * 8;
    case pixFormatYRGB32_Float:
    case pixFormatRGBA32_Float:
    case pixFormatBGRY32_Float:
    case pixFormatVUYA32_Float:
    case pixFormatAYUV32_Float_r4fl: return pixels * 16;
    case pixFormatRGB16Planar: return pixels * 2;
    case pixFormatA8: return pixels;
    default: return 0;
    }
}
