// Straight input, written to be read: one small function a pair, a table that finds it.
#include "src/FBTransferRows.h"
#include "src/platform/BPLog.h"

namespace {

using namespace fbtransfer;

void ARGB8ToYRGB(const Row& row)
{
    for (size_t i = 0; i < row.width; ++i) {
        const auto word = Load<uint32_t>(row.in, i);
        const float r = Of255(ByteAt(word, 16)), g = Of255(ByteAt(word, 8)), b = Of255(ByteAt(word, 0));
        StoreFloats(row.out, i, r, g, b, LumaOf(r, g, b));
    }
}

void ARGB8ToRGBA(const Row& row)
{
    for (size_t i = 0; i < row.width; ++i) {
        const auto word = Load<uint32_t>(row.in, i);
        StoreFloats(row.out, i, static_cast<float>(ByteAt(word, 16) * kReciprocal8),
                    static_cast<float>(ByteAt(word, 8) * kReciprocal8),
                    static_cast<float>(ByteAt(word, 0) * kReciprocal8), 1);
    }
}

void ARGB8ToPlanar(const Row& row)
{
    for (size_t i = 0; i < row.width; ++i) {
        const auto word = Load<uint32_t>(row.in, i);
        StorePlanar(row, i, Of255(ByteAt(word, 16)), Of255(ByteAt(word, 8)), Of255(ByteAt(word, 0)));
    }
}

void ARGB8ToRGBY16(const Row& row)
{
    for (size_t i = 0; i < row.width; ++i) {
        const auto word = Load<uint32_t>(row.in, i);
        const auto r = static_cast<uint16_t>(ByteAt(word, 16) * 128.5);
        const auto g = static_cast<uint16_t>(ByteAt(word, 8) * 128.5);
        const auto b = static_cast<uint16_t>(ByteAt(word, 0) * 128.5);
        // Deliberate: the factor is far too large for the field, so luma wraps; hosts know it that way.
        const auto y = static_cast<uint32_t>((kGreen * g + kRed * r + kBlue * b) * 32768.0);
        const uint16_t values[4] = {r, g, b, static_cast<uint16_t>(y)};
        std::memcpy(row.out + i * sizeof values, values, sizeof values);
    }
}

void BGRA8ToRGBA(const Row& row)
{
    for (size_t i = 0; i < row.width; ++i) {
        const auto word = Load<uint32_t>(row.in, i);
        StoreFloats(row.out, i, Of255(ByteAt(word, 8)), Of255(ByteAt(word, 16)), Of255(ByteAt(word, 24)), 1);
    }
}

void BGRA8ToPlanar(const Row& row)
{
    for (size_t i = 0; i < row.width; ++i) {
        const auto word = Load<uint32_t>(row.in, i);
        StorePlanar(row, i, Of255(ByteAt(word, 8)), Of255(ByteAt(word, 16)), Of255(ByteAt(word, 24)));
    }
}

void ARGB16ToARGB8(const Row& row)
{
    for (size_t i = 0; i < row.width; ++i) {
        uint32_t word = 0;
        for (size_t c = 1; c < 4; ++c) {
            const double value = Load<uint16_t>(row.in, i * 4 + c) * kReciprocal128;
            word = word << 8 | (static_cast<uint32_t>(value) & 255);
        }
        Store(row.out, i, word);
    }
}

void ARGB16ToPlanar(const Row& row)
{
    for (size_t i = 0; i < row.width; ++i) {
        float c[3];
        for (size_t k = 0; k < 3; ++k)
            c[k] = static_cast<float>(Unit(Load<uint16_t>(row.in, i * 4 + k + 1) * kReciprocal32K));
        StorePlanar(row, i, c[0], c[1], c[2]);
    }
}

/// Three of a pixel's four floats, unchanged.
template <size_t red, size_t green, size_t blue> void FloatsToPlanar(const Row& row)
{
    for (size_t i = 0; i < row.width; ++i)
        StorePlanar(row, i, Load<float>(row.in, i * 4 + red), Load<float>(row.in, i * 4 + green),
                    Load<float>(row.in, i * 4 + blue));
}

void StoreVideo(const Row& row, size_t i, const VideoColor& color)
{
    StorePlanar(row, i, static_cast<float>(color.r), static_cast<float>(color.g), static_cast<float>(color.b),
                static_cast<float>(color.y));
}

void Video8ToPlanar(const Row& row, const VideoShifts& shift)
{
    for (size_t i = 0; i < row.width; ++i) {
        const auto word = Load<uint32_t>(row.in, i);
        StoreVideo(row, i, FromVideo8(ByteAt(word, shift.y), ByteAt(word, shift.cb), ByteAt(word, shift.cr)));
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

void VUYAFloatToPlanar(const Row& row)
{
    for (size_t i = 0; i < row.width; ++i)
        StoreVideo(row, i,
                   FromVideoFloat(Wide(Load<float>(row.in, i * 4 + 2)), Wide(Load<float>(row.in, i * 4 + 1)),
                                  Wide(Load<float>(row.in, i * 4))));
}

void Pairs601ToPlanar(const Row& row)
{
    PairsToPlanar(row, kPair601);
}

void Pairs709ToPlanar(const Row& row)
{
    PairsToPlanar(row, kPair709);
}

/// Deliberate: a word of four bytes for each pixel of the width, so the width counts groups of four. What would run past
/// the row is the next row's own.
void A8ToA32(const Row& row)
{
    size_t count = size_t{row.width} * 4;
    if (count > row.outLimit / sizeof(float)) count = row.outLimit / sizeof(float);
    if (count > row.inLimit) count = row.inLimit;
    for (size_t i = 0; i < count; ++i) Store(row.out, i, Of255(static_cast<double>(row.in[i])));
}

/// The value of a plane of 16-bit values.
double Planar16At(const Row& row, size_t plane, size_t i)
{
    return static_cast<double>(Load<uint16_t>(row.in + plane * row.inPlaneBytes, i));
}

void Planar16ToARGB8(const Row& row)
{
    for (size_t i = 0; i < row.width; ++i) {
        uint32_t word = 0;
        for (size_t plane = 0; plane < 3; ++plane)
            word = word << 8 | Load<uint16_t>(row.in + plane * row.inPlaneBytes, i) >> 8;
        Store(row.out, i, word);
    }
}

/// Deliberate: the values become integer words of 0 or 1 in what is read as floats.
void Planar16ToIntegerYRGB(const Row& row)
{
    for (size_t i = 0; i < row.width; ++i) {
        float c[3];
        for (size_t plane = 0; plane < 3; ++plane) c[plane] = static_cast<float>(Planar16At(row, plane, i) / 65535.0);
        Store(row.out, i * 4, static_cast<int32_t>(LumaOf(c[0], c[1], c[2])));
        for (size_t plane = 0; plane < 3; ++plane) Store(row.out, i * 4 + 1 + plane, static_cast<int32_t>(c[plane]));
    }
}

void Planar16ToRGBA(const Row& row)
{
    for (size_t i = 0; i < row.width; ++i)
        StoreFloats(row.out, i, static_cast<float>(Planar16At(row, 0, i) / 65535.0),
                    static_cast<float>(Planar16At(row, 1, i) / 65535.0),
                    static_cast<float>(Planar16At(row, 2, i) / 65535.0), 1);
}

void Planar16ToPlanar(const Row& row)
{
    for (size_t i = 0; i < row.width; ++i)
        StorePlanar(row, i, static_cast<float>(Planar16At(row, 0, i) / 65535.0),
                    static_cast<float>(Planar16At(row, 1, i) / 65535.0),
                    static_cast<float>(Planar16At(row, 2, i) / 65535.0));
}

void AYUVToARGB8(const Row& row)
{
    constexpr double center = 0.501960813999176;
    constexpr double gain = 1.1383929252624512;
    for (size_t i = 0; i < row.width; ++i) {
        const double a = Wide(Load<float>(row.in, i * 4));
        const double y = Wide(Load<float>(row.in, i * 4 + 1)) * 1.1643835306167603;
        const double u = (Wide(Load<float>(row.in, i * 4 + 2)) - center) * gain;
        const double v = (Wide(Load<float>(row.in, i * 4 + 3)) - center) * gain;
        const double channels[4] = {a, v * 1.5748000144958496 + y,
                                    y - u * 0.18732400238513947 - v * 0.46812400221824646, u * 1.8555999994277954 + y};
        uint32_t word = 0;
        for (double channel : channels) word = word << 8 | static_cast<uint32_t>(Unit(channel) * 255.0);
        Store(row.out, i, word);
    }
}

constexpr Pair kPairs[] = {
    {pixFormatARGB8, pixFormatARGB8, CopyWords},
    {pixFormatARGB8, pixFormatBGRA8, SwapWords},
    {pixFormatARGB8, pixFormatYRGB32_Float, ARGB8ToYRGB},
    {pixFormatARGB8, pixFormatRGBA32_Float, ARGB8ToRGBA},
    {pixFormatARGB8, pixFormatRGBYPlanar_Float, ARGB8ToPlanar},
    {pixFormatARGB8, pixFormatRGBY16_32K, ARGB8ToRGBY16},
    {pixFormatBGRA8, pixFormatBGRA8, CopyWords},
    {pixFormatBGRA8, pixFormatARGB8, SwapWords},
    {pixFormatBGRA8, pixFormatRGBA32_Float, BGRA8ToRGBA},
    {pixFormatBGRA8, pixFormatRGBYPlanar_Float, BGRA8ToPlanar},
    {pixFormatARGB16_32K, pixFormatARGB8, ARGB16ToARGB8},
    {pixFormatARGB16_32K, pixFormatRGBYPlanar_Float, ARGB16ToPlanar},
    {pixFormatYRGB32_Float, pixFormatRGBYPlanar_Float, FloatsToPlanar<1, 2, 3>}, // float 0 is dropped
    {pixFormatRGBA32_Float, pixFormatRGBYPlanar_Float, FloatsToPlanar<0, 1, 2>},
    {pixFormatBGRY32_Float, pixFormatRGBYPlanar_Float, FloatsToPlanar<2, 1, 0>},
    {pixFormatVUYA8, pixFormatRGBYPlanar_Float, VUYA8ToPlanar},
    {pixFormatUYVA8, pixFormatRGBYPlanar_Float, UYVA8ToPlanar},
    {pixFormatUYVA8R, pixFormatRGBYPlanar_Float, UYVA8ToPlanar},
    {pixFormatVUYA32_Float, pixFormatRGBYPlanar_Float, VUYAFloatToPlanar},
    {pixFormatYUYV10_601, pixFormatRGBYPlanar_Float, Pairs601ToPlanar},
    {pixFormatYUYV10_709, pixFormatRGBYPlanar_Float, Pairs709ToPlanar},
    {pixFormatA8, pixFormatA32_Float, A8ToA32},
    {pixFormatRGB16Planar, pixFormatARGB8, Planar16ToARGB8},
    {pixFormatRGB16Planar, pixFormatYRGB32_Float, Planar16ToIntegerYRGB},
    {pixFormatRGB16Planar, pixFormatRGBA32_Float, Planar16ToRGBA},
    {pixFormatRGB16Planar, pixFormatRGBYPlanar_Float, Planar16ToPlanar},
    {pixFormatAYUV32_Float_r4fl, pixFormatARGB8, AYUVToARGB8},
};

#define TRANSFER "FBTransferPixToFBFrameSSE: "

void ReportMissing(FBPixelFormat from, FBPixelFormat to)
{
    const int number = static_cast<int>(to);
    const char* name = nullptr;
    bool withCharacters = false;
    switch (from) {
    case pixFormat422YpCbCr10:
        BPDebugLog(TRANSFER "called with unsupported pixel format pixFormat422YpCbCr10\n");
        return;
    case pixFormatARGB64: BPDebugLog(TRANSFER "called with unsupported pixel format pixFormatARGB64\n"); return;
    case pixFormatVUYA8:
    case pixFormatVUYA32_Float:
    case pixFormatYUYV10_601:
    case pixFormatYUYV10_709:
    case pixFormatUYVA8:
    case pixFormatUYVA8R: return; // these say nothing
    case pixFormatAYUV32_Float_r4fl:
        if (to == pixFormatYRGB32_Float || to == pixFormatRGBYPlanar_Float || to == pixFormatRGBY16_32K) return;
        name = "pixFormatAYUV32_Float_r4fl";
        break;
    case pixFormatARGB8:
        name = "pixFormatARGB8";
        withCharacters = true;
        break;
    case pixFormatBGRA8:
        name = "pixFormatBGRA8";
        withCharacters = true;
        break;
    case pixFormatARGB16_32K: name = "pixFormatARGB16_32K"; break;
    case pixFormatYRGB32_Float:
    case pixFormatBGRY32_Float: name = "pixFormatYRGB32_Float"; break; // Deliberate: both bear this name
    case pixFormatRGBA32_Float: name = "pixFormatRGBA32_Float"; break;
    case pixFormatA8: name = "pixFormatA8"; break;
    case pixFormatRGB16Planar: name = "pixFormatRGB16Planar"; break;
    default:
        BPDebugLog(TRANSFER "unsuppported input pixel format %d, output format %d\n", static_cast<int>(from), number);
        return;
    }
    if (withCharacters)
        BPDebugLog(TRANSFER "unsuppported output pixel format %d ('%.4s') for %s input\n", number,
                   CharactersOf(to).text, name);
    else
        BPDebugLog(TRANSFER "unsuppported output pixel format %d for %s input\n", number, name);
}

#undef TRANSFER

void Transfer(const RowRunner& routine, const void* source, uint32_t sourceRowBytes, uint32_t sourcePlaneBytes,
              const FBFrame* frame)
{
    for (uint32_t row = 0; row < frame->height; ++row)
        routine({.in = static_cast<const uint8_t*>(source) + size_t{row} * sourceRowBytes,
                 .out = frame->baseAddr + size_t{row} * frame->rowBytes,
                 .inPlaneBytes = sourcePlaneBytes,
                 .outPlaneBytes = frame->planeBytes,
                 .inLimit = sourceRowBytes,
                 .outLimit = frame->rowBytes,
                 .width = frame->width});
}

} // namespace

void fbtransfer::PairsToPlanar(const Row& row, const PairFactors& factors)
{
    if (row.width == 0) return;
    const size_t pairs = (size_t{row.width} - 1) / 2 + 1;
    for (size_t i = 0; i < pairs; ++i) {
        const auto word0 = Load<uint32_t>(row.in, i * 2);
        const auto word1 = Load<uint32_t>(row.in, i * 2 + 1);
        const double cr = static_cast<double>(word0 >> 16) - 32768.0;
        const double cb = static_cast<double>(word1 >> 16) - 32768.0;
        const double r = cr * factors.crToRed * kPairShift;
        const double g1 = cb * factors.cbToGreen * kPairShift;
        const double g2 = cr * factors.crToGreen * kPairShift;
        const double b = cb * factors.cbToBlue * kPairShift;
        const uint32_t words[2] = {word0, word1};
        for (size_t k = 0; k < 2; ++k) {
            if ((i * 2 + k + 1) * sizeof(float) > row.outLimit) break;
            const double luma = static_cast<double>(words[k] & 0xFFFF) - 4096.0;
            const double n = luma * kPairLuma * kPairShift;
            StorePlanar(row, i * 2 + k, static_cast<float>(n + r), static_cast<float>(n - g1 - g2),
                        static_cast<float>(n + b), static_cast<float>(luma / kPairLumaRange));
        }
    }
}

namespace {

void TransferIn(bool fast, const void* source, uint32_t sourceRowBytes, uint32_t sourcePlaneBytes, FBPixelFormat from,
                const FBFrame* frame)
{
    const FBPixelFormat to = frame->pixelFormat;
    const RowRoutine readable = FindRow(kPairs, from, to);
    if (!readable) {
        ReportMissing(from, to);
        return;
    }
    Transfer({.fast = fast ? FastInput(from, to) : nullptr,
              .readable = readable,
              .inPixelBytes = PixelBytes(from),
              .outPixelBytes = PixelBytes(to)},
             source, sourceRowBytes, sourcePlaneBytes, frame);
}

} // namespace

void FBTransferPixToFBFrameSSE(const void* source, uint32_t sourceRowBytes, uint32_t sourcePlaneBytes,
                               FBPixelFormat sourceFormat, const FBFrame* frame)
{
    TransferIn(true, source, sourceRowBytes, sourcePlaneBytes, sourceFormat, frame);
}

void FBTransferPixToFBFrameScalar(const void* source, uint32_t sourceRowBytes, uint32_t sourcePlaneBytes,
                                  FBPixelFormat sourceFormat, const FBFrame* frame)
{
    TransferIn(false, source, sourceRowBytes, sourcePlaneBytes, sourceFormat, frame);
}
