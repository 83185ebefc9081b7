// Premultiplied input, written to be read: each colour channel is multiplied by alpha on its way in.
#include "src/FBTransferRows.h"
#include "src/platform/BPLog.h"

#include <cmath>

namespace {

using namespace fbtransfer;

uint32_t Rounded255(double unit)
{
    return static_cast<uint32_t>(std::floor(255.0 * unit + 0.5));
}

/// One word format to itself: where its alpha lies, and its colours from the top byte down.
template <int alphaShift> void WordsToWords(const Row& row)
{
    for (size_t i = 0; i < row.width; ++i) {
        const auto word = Load<uint32_t>(row.in, i);
        const double a = ByteAt(word, alphaShift) / 255.0;
        uint32_t out = 0;
        for (int shift = 24; shift >= 0; shift -= 8) {
            const double value = shift == alphaShift ? a : ByteAt(word, shift) / 255.0 * a;
            out |= Rounded255(value) << shift;
        }
        Store(row.out, i, out);
    }
}

template <int red, int green, int blue, int alpha> void WordsToPlanar(const Row& row)
{
    for (size_t i = 0; i < row.width; ++i) {
        const auto word = Load<uint32_t>(row.in, i);
        const double a = ByteAt(word, alpha) / 255.0;
        StorePlanar(row, i, static_cast<float>(ByteAt(word, red) / 255.0 * a),
                    static_cast<float>(ByteAt(word, green) / 255.0 * a),
                    static_cast<float>(ByteAt(word, blue) / 255.0 * a));
    }
}

void ARGB16ToPlanar(const Row& row)
{
    for (size_t i = 0; i < row.width; ++i) {
        const double a = Unit(Load<uint16_t>(row.in, i * 4) * kReciprocal32K);
        float c[3];
        for (size_t k = 0; k < 3; ++k)
            c[k] = static_cast<float>(Unit(Load<uint16_t>(row.in, i * 4 + k + 1) * kReciprocal32K * a));
        StorePlanar(row, i, c[0], c[1], c[2]);
    }
}

template <size_t red, size_t green, size_t blue, size_t alpha> void FloatsToPlanar(const Row& row)
{
    for (size_t i = 0; i < row.width; ++i) {
        const double a = Wide(Load<float>(row.in, i * 4 + alpha));
        StorePlanar(row, i, static_cast<float>(Wide(Load<float>(row.in, i * 4 + red)) * a),
                    static_cast<float>(Wide(Load<float>(row.in, i * 4 + green)) * a),
                    static_cast<float>(Wide(Load<float>(row.in, i * 4 + blue)) * a));
    }
}

/// Luma is left as it is here.
void Video8ToPlanar(const Row& row, const VideoShifts& shift)
{
    for (size_t i = 0; i < row.width; ++i) {
        const auto word = Load<uint32_t>(row.in, i);
        const double a = ByteAt(word, 24) / 255.0;
        const VideoColor c = FromVideo8(ByteAt(word, shift.y), ByteAt(word, shift.cb), ByteAt(word, shift.cr));
        StorePlanar(row, i, static_cast<float>(c.r * a), static_cast<float>(c.g * a), static_cast<float>(c.b * a),
                    static_cast<float>(c.y));
    }
}

void VUYA8ToPlanar(const Row& row)
{
    Video8ToPlanar(row, kVUYA);
}

void UYVA8ToPlanar(const Row& row)
{
    Video8ToPlanar(row, kUYVA);
}

/// Here luma is multiplied too.
void VUYAFloatToPlanar(const Row& row)
{
    for (size_t i = 0; i < row.width; ++i) {
        const double a = Wide(Load<float>(row.in, i * 4 + 3));
        const VideoColor c = FromVideoFloat(Wide(Load<float>(row.in, i * 4 + 2)), Wide(Load<float>(row.in, i * 4 + 1)),
                                            Wide(Load<float>(row.in, i * 4)));
        StorePlanar(row, i, static_cast<float>(c.r * a), static_cast<float>(c.g * a), static_cast<float>(c.b * a),
                    static_cast<float>(c.y * a));
    }
}

void Pairs601ToPlanar(const Row& row)
{
    PairsToPlanar(row, kPair601);
}

void Pairs709ToPlanar(const Row& row)
{
    PairsToPlanar(row, kPair709);
}

constexpr Pair kPairs[] = {
    {pixFormatARGB8, pixFormatARGB8, WordsToWords<24>},
    {pixFormatBGRA8, pixFormatBGRA8, WordsToWords<0>},
    {pixFormatARGB8, pixFormatRGBYPlanar_Float, WordsToPlanar<16, 8, 0, 24>},
    {pixFormatBGRA8, pixFormatRGBYPlanar_Float, WordsToPlanar<8, 16, 24, 0>},
    {pixFormatARGB16_32K, pixFormatRGBYPlanar_Float, ARGB16ToPlanar},
    {pixFormatYRGB32_Float, pixFormatRGBYPlanar_Float, FloatsToPlanar<1, 2, 3, 0>},
    {pixFormatBGRY32_Float, pixFormatRGBYPlanar_Float, FloatsToPlanar<2, 1, 0, 3>},
    {pixFormatVUYA8, pixFormatRGBYPlanar_Float, VUYA8ToPlanar},
    {pixFormatUYVA8, pixFormatRGBYPlanar_Float, UYVA8ToPlanar},
    {pixFormatUYVA8R, pixFormatRGBYPlanar_Float, UYVA8ToPlanar},
    {pixFormatVUYA32_Float, pixFormatRGBYPlanar_Float, VUYAFloatToPlanar},
    {pixFormatYUYV10_601, pixFormatRGBYPlanar_Float, Pairs601ToPlanar}, // there is no alpha in these two
    {pixFormatYUYV10_709, pixFormatRGBYPlanar_Float, Pairs709ToPlanar},
};

#define TRANSFER "FBTransferPixToFBFramePremultipliedSSE: "

void ReportMissing(FBPixelFormat from, FBPixelFormat to)
{
    const char* name = nullptr;
    switch (from) {
    case pixFormat422YpCbCr10:
        BPDebugLog(TRANSFER "called with unsupported pixel format pixFormat422YpCbCr10\n");
        return;
    case pixFormatARGB64: BPDebugLog(TRANSFER "called with unsupported pixel format pixFormatARGB64\n"); return;
    case pixFormatVUYA32_Float: return; // this one says nothing
    case pixFormatARGB8: name = "pixFormatARGB8"; break;
    case pixFormatBGRA8: name = "pixFormatBGRA8"; break;
    case pixFormatARGB16_32K: name = "pixFormatARGB16_32K"; break;
    case pixFormatYRGB32_Float: name = "pixFormatYRGB32_Float"; break;
    case pixFormatBGRY32_Float: name = "pixFormatBGRY32_Float"; break;
    case pixFormatVUYA8: name = "pixFormatVUYA8"; break;
    case pixFormatUYVA8: name = "pixFormatUYVA8"; break;
    case pixFormatUYVA8R: name = "pixFormatUYVA8R"; break;
    case pixFormatYUYV10_601: name = "pixFormatYUYV10_601"; break;
    case pixFormatYUYV10_709: name = "pixFormatYUYV10_709"; break;
    default:
        BPDebugLog(TRANSFER "called with unsupported pixel format '%.4s' (%ld)\n", CharactersOf(from).text,
                   static_cast<long>(from));
        return;
    }
    BPDebugLog(TRANSFER "unsupported output pixel format %x ('%.4s') for input format %s\n", static_cast<unsigned>(to),
               CharactersOf(to).text, name);
}

void Transfer(const RowRunner& routine, const void* source, uint32_t sourceRowBytes, FBPixelFormat sourceFormat,
              const FBFrame* frame)
{
    if (sourceFormat == pixFormatBGRA8 && frame->pixelFormat == pixFormatRGBYPlanar_Float)
        BPDebugLog(TRANSFER "BGRA8 to RGBYPlanar_Float: inRowPtr = %p\n", source);
    for (uint32_t row = 0; row < frame->height; ++row)
        routine({.in = static_cast<const uint8_t*>(source) + size_t{row} * sourceRowBytes,
                 .out = frame->baseAddr + size_t{row} * frame->rowBytes,
                 .inPlaneBytes = 0,
                 .outPlaneBytes = frame->planeBytes,
                 .inLimit = sourceRowBytes,
                 .outLimit = frame->rowBytes,
                 .width = frame->width});
}

#undef TRANSFER

void TransferIn(bool fast, const void* source, uint32_t sourceRowBytes, FBPixelFormat from, const FBFrame* frame)
{
    const FBPixelFormat to = frame->pixelFormat;
    const RowRoutine readable = FindRow(kPairs, from, to);
    if (!readable) {
        ReportMissing(from, to);
        return;
    }
    Transfer({.fast = fast ? FastPremultiplied(from, to) : nullptr,
              .readable = readable,
              .inPixelBytes = PixelBytes(from),
              .outPixelBytes = PixelBytes(to)},
             source, sourceRowBytes, from, frame);
}

} // namespace

void FBTransferPixToFBFramePremultipliedSSE(const void* source, uint32_t sourceRowBytes, FBPixelFormat sourceFormat,
                                            const FBFrame* frame)
{
    TransferIn(true, source, sourceRowBytes, sourceFormat, frame);
}

void FBTransferPixToFBFramePremultipliedScalar(const void* source, uint32_t sourceRowBytes, FBPixelFormat sourceFormat,
                                               const FBFrame* frame)
{
    TransferIn(false, source, sourceRowBytes, sourceFormat, frame);
}
