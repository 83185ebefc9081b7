// Pixel transfers, written to be read: one small function a pair, a table that finds it.
#include "src/FBTransfer.h"

#include "src/platform/BPLog.h"

#include <cstring>
#include <iterator>

namespace {

// The luma weights are the single-precision values, used in double.
constexpr double kRed = 0.29899999499320984;
constexpr double kGreen = 0.5870000123977661;
constexpr double kBlue = 0.11400000005960464;
constexpr double kReciprocal8 = 0.00392156862745098;
constexpr double kReciprocal128 = 0.007782101167315175;
constexpr double kReciprocal32K = 3.0517578125e-5;

/// A row to convert: where it comes from, where it goes, how many pixels. Of planar memory, plane 0.
struct Row {
    const uint8_t* in;
    uint8_t* out;
    size_t planeBytes; ///< of the planar side
    uint32_t width;
};

template <class T> T Load(const uint8_t* row, size_t index)
{
    T value;
    std::memcpy(&value, row + index * sizeof(T), sizeof(T));
    return value;
}

template <class T> void Store(uint8_t* row, size_t index, T value)
{
    std::memcpy(row + index * sizeof(T), &value, sizeof(T));
}

float LumaOf(float r, float g, float b)
{
    return static_cast<float>(kGreen * static_cast<double>(g) + kRed * static_cast<double>(r) +
                              kBlue * static_cast<double>(b));
}

void StorePlanar(const Row& row, size_t i, float r, float g, float b)
{
    Store(row.out, i, r);
    Store(row.out + row.planeBytes, i, g);
    Store(row.out + 2 * row.planeBytes, i, b);
    Store(row.out + 3 * row.planeBytes, i, LumaOf(r, g, b));
}

float PlaneAt(const Row& row, size_t plane, size_t i)
{
    return Load<float>(row.in + plane * row.planeBytes, i);
}

double Unit(double value)
{
    return value > 0 ? (value < 1 ? value : 1) : 0;
}

constexpr uint32_t Swapped(uint32_t word)
{
    return word >> 24 | (word >> 8 & 0xFF00) | (word << 8 & 0xFF0000) | word << 24;
}

double Byte(uint32_t word, int shift)
{
    return static_cast<double>(word >> shift & 255);
}

void StoreFloats(uint8_t* out, size_t pixel, float a, float b, float c, float d)
{
    const float values[4] = {a, b, c, d};
    std::memcpy(out + pixel * sizeof values, values, sizeof values);
}

// Straight input -------------------------------------------------------------------------------------------------------

void CopyWords(const Row& row)
{
    std::memcpy(row.out, row.in, size_t{row.width} * 4);
}

void SwapWords(const Row& row)
{
    for (size_t i = 0; i < row.width; ++i) Store(row.out, i, Swapped(Load<uint32_t>(row.in, i)));
}

float Of255(double value)
{
    return static_cast<float>(value / 255.0);
}

void ARGB8ToYRGB(const Row& row)
{
    for (size_t i = 0; i < row.width; ++i) {
        const auto word = Load<uint32_t>(row.in, i);
        const float r = Of255(Byte(word, 16)), g = Of255(Byte(word, 8)), b = Of255(Byte(word, 0));
        StoreFloats(row.out, i, r, g, b, LumaOf(r, g, b));
    }
}

void ARGB8ToRGBA(const Row& row)
{
    for (size_t i = 0; i < row.width; ++i) {
        const auto word = Load<uint32_t>(row.in, i);
        StoreFloats(row.out, i, static_cast<float>(Byte(word, 16) * kReciprocal8),
                    static_cast<float>(Byte(word, 8) * kReciprocal8), static_cast<float>(Byte(word, 0) * kReciprocal8),
                    1);
    }
}

void ARGB8ToPlanar(const Row& row)
{
    for (size_t i = 0; i < row.width; ++i) {
        const auto word = Load<uint32_t>(row.in, i);
        StorePlanar(row, i, Of255(Byte(word, 16)), Of255(Byte(word, 8)), Of255(Byte(word, 0)));
    }
}

void BGRA8ToRGBA(const Row& row)
{
    for (size_t i = 0; i < row.width; ++i) {
        const auto word = Load<uint32_t>(row.in, i);
        StoreFloats(row.out, i, Of255(Byte(word, 8)), Of255(Byte(word, 16)), Of255(Byte(word, 24)), 1);
    }
}

void BGRA8ToPlanar(const Row& row)
{
    for (size_t i = 0; i < row.width; ++i) {
        const auto word = Load<uint32_t>(row.in, i);
        StorePlanar(row, i, Of255(Byte(word, 8)), Of255(Byte(word, 16)), Of255(Byte(word, 24)));
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

void YRGBToPlanar(const Row& row)
{
    for (size_t i = 0; i < row.width; ++i) // float 0, alpha or luma, is dropped
        StorePlanar(row, i, Load<float>(row.in, i * 4 + 1), Load<float>(row.in, i * 4 + 2),
                    Load<float>(row.in, i * 4 + 3));
}

void RGBAToPlanar(const Row& row)
{
    for (size_t i = 0; i < row.width; ++i)
        StorePlanar(row, i, Load<float>(row.in, i * 4), Load<float>(row.in, i * 4 + 1), Load<float>(row.in, i * 4 + 2));
}

// Output ---------------------------------------------------------------------------------------------------------------

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
        for (size_t c = 0; c < 3; ++c) {
            const float value = Load<float>(row.in, i * 4 + c);
            const float unit = value > 0 ? (value < 1 ? value : 1) : 0;
            word = word << 8 | static_cast<uint32_t>(unit * 255.0f); // no rounding bias here
        }
        Store(row.out, i, word);
    }
}

uint32_t Trunc8(float value)
{
    value = value + 0.001953125f;
    value = value < 1 ? value : (value >= 1 ? 1 : 0); // what is no number counts as 0
    value = value > 0 ? value : 0;
    return static_cast<uint32_t>(value * 255.0f);
}

void PlanarToARGB8(const Row& row)
{
    for (size_t i = 0; i < row.width; ++i)
        Store(row.out, i,
              0xFF000000u | Trunc8(PlaneAt(row, 0, i)) << 16 | Trunc8(PlaneAt(row, 1, i)) << 8 |
                  Trunc8(PlaneAt(row, 2, i)));
}

void PlanarToBGRA8(const Row& row)
{
    for (size_t i = 0; i < row.width; ++i)
        Store(row.out, i,
              Trunc8(PlaneAt(row, 2, i)) << 24 | Trunc8(PlaneAt(row, 1, i)) << 16 | Trunc8(PlaneAt(row, 0, i)) << 8 |
                  0xFFu);
}

void PlanarToARGB16(const Row& row)
{
    for (size_t i = 0; i < row.width; ++i) {
        Store(row.out, i * 4, uint16_t{0x7FFF});
        for (size_t c = 0; c < 3; ++c) {
            const float value = PlaneAt(row, c, i);
            const float unit = value > 0 ? (value < 1 ? value : 1) : 0;
            Store(row.out, i * 4 + c + 1, static_cast<uint16_t>(unit * 32768.0f));
        }
    }
}

void PlanarToYRGB(const Row& row)
{
    for (size_t i = 0; i < row.width; ++i)
        StoreFloats(row.out, i, 1, PlaneAt(row, 0, i), PlaneAt(row, 1, i), PlaneAt(row, 2, i));
}

/// Deliberate: the channels become integer words of 0 or 1 in what is read as floats.
void ARGB8ToIntegerRGBA(const Row& row)
{
    for (size_t i = 0; i < row.width; ++i) {
        const auto value = static_cast<uint32_t>(Byte(Load<uint32_t>(row.in, i), 16) / 255.0);
        for (size_t c = 0; c < 3; ++c) Store(row.out, i * 4 + c, value);
        Store(row.out, i * 4 + 3, uint32_t{1});
    }
}

void PlanarToRGBA(const Row& row)
{
    for (size_t i = 0; i < row.width; ++i)
        StoreFloats(row.out, i, PlaneAt(row, 0, i), PlaneAt(row, 1, i), PlaneAt(row, 2, i), 1);
}

// The tables -----------------------------------------------------------------------------------------------------------

struct Pair {
    FBPixelFormat from, to;
    void (*row)(const Row& row);
};

constexpr Pair kInputs[] = {
    {pixFormatARGB8, pixFormatARGB8, CopyWords},
    {pixFormatARGB8, pixFormatBGRA8, SwapWords},
    {pixFormatARGB8, pixFormatYRGB32_Float, ARGB8ToYRGB},
    {pixFormatARGB8, pixFormatRGBA32_Float, ARGB8ToRGBA},
    {pixFormatARGB8, pixFormatRGBYPlanar_Float, ARGB8ToPlanar},
    {pixFormatBGRA8, pixFormatBGRA8, CopyWords},
    {pixFormatBGRA8, pixFormatARGB8, SwapWords},
    {pixFormatBGRA8, pixFormatRGBA32_Float, BGRA8ToRGBA},
    {pixFormatBGRA8, pixFormatRGBYPlanar_Float, BGRA8ToPlanar},
    {pixFormatARGB16_32K, pixFormatARGB8, ARGB16ToARGB8},
    {pixFormatARGB16_32K, pixFormatRGBYPlanar_Float, ARGB16ToPlanar},
    {pixFormatYRGB32_Float, pixFormatRGBYPlanar_Float, YRGBToPlanar},
    {pixFormatRGBA32_Float, pixFormatRGBYPlanar_Float, RGBAToPlanar},
};

constexpr Pair kOutputs[] = {
    {pixFormatARGB8, pixFormatARGB8, ARGB8ToReversedARGB8},
    {pixFormatYRGB32_Float, pixFormatARGB8, FloatsToARGB8},
    {pixFormatRGBA32_Float, pixFormatARGB8, FloatsToARGB8},
    {pixFormatRGBYPlanar_Float, pixFormatARGB8, PlanarToARGB8},
    {pixFormatARGB8, pixFormatBGRA8, SwapWords},
    {pixFormatRGBYPlanar_Float, pixFormatBGRA8, PlanarToBGRA8},
    {pixFormatRGBYPlanar_Float, pixFormatARGB16_32K, PlanarToARGB16},
    {pixFormatRGBYPlanar_Float, pixFormatYRGB32_Float, PlanarToYRGB},
    {pixFormatARGB8, pixFormatRGBA32_Float, ARGB8ToIntegerRGBA},
    {pixFormatRGBYPlanar_Float, pixFormatRGBA32_Float, PlanarToRGBA},
};

const Pair* FindPair(const Pair* first, const Pair* end, FBPixelFormat from, FBPixelFormat to)
{
    for (; first != end; ++first)
        if (first->from == from && first->to == to) return first;
    return nullptr;
}

/// The four characters of a format, high byte first, as "%.4s" prints them.
struct Characters {
    char text[5];
};

Characters CharactersOf(FBPixelFormat format)
{
    const auto word = static_cast<uint32_t>(format);
    return {{static_cast<char>(word >> 24), static_cast<char>(word >> 16), static_cast<char>(word >> 8),
             static_cast<char>(word), 0}};
}

void ReportMissingInput(FBPixelFormat from, FBPixelFormat to)
{
    const int number = static_cast<int>(to);
    const char* prefix = "FBTransferPixToFBFrameSSE: unsuppported output pixel format";
    switch (from) {
    case pixFormatARGB8:
        BPDebugLog("%s %d ('%.4s') for pixFormatARGB8 input\n", prefix, number, CharactersOf(to).text);
        return;
    case pixFormatBGRA8:
        BPDebugLog("%s %d ('%.4s') for pixFormatBGRA8 input\n", prefix, number, CharactersOf(to).text);
        return;
    case pixFormatARGB16_32K: BPDebugLog("%s %d for pixFormatARGB16_32K input\n", prefix, number); return;
    case pixFormatYRGB32_Float: BPDebugLog("%s %d for pixFormatYRGB32_Float input\n", prefix, number); return;
    case pixFormatRGBA32_Float: BPDebugLog("%s %d for pixFormatRGBA32_Float input\n", prefix, number); return;
    case pixFormat422YpCbCr10:
    case pixFormatARGB64:
        BPDebugLog("FBTransferPixToFBFrameSSE: called with unsupported pixel format %s\n",
                   from == pixFormatARGB64 ? "pixFormatARGB64" : "pixFormat422YpCbCr10");
        return;
    default:
        BPDebugLog("FBTransferPixToFBFrameSSE: unsuppported input pixel format %d, output format %d\n",
                   static_cast<int>(from), number);
    }
}

void ReportMissingOutput(FBPixelFormat from, FBPixelFormat to)
{
    const char* name = nullptr;
    switch (to) {
    case pixFormatBGRA8:
        if (from == pixFormatYRGB32_Float || from == pixFormatRGBY16_32K) return;
        BPDebugLog("FBTransferFBFrameToPixSSE: unsuppported input pixel format %d for pixFormatBGRA8 output\n",
                   static_cast<int>(from));
        return;
    case pixFormatARGB8: name = "pixFormatARGB8"; break;
    case pixFormatARGB16_32K: name = "pixFormatARGB16_32K"; break;
    case pixFormatYRGB32_Float: name = "pixFormatYRGB32_Float"; break;
    case pixFormatRGBA32_Float: name = "pixFormatRGBA32_Float"; break;
    default:
        BPDebugLog("FBTransferFBFrameToPixSSE: unsuppported output pixel format %d, input format %d\n",
                   static_cast<int>(to), static_cast<int>(from));
        return;
    }
    // Frames in these formats leave for these destinations without a word.
    if ((from == pixFormatYRGB32_Float || from == pixFormatRGBY16_32K) &&
        (to == pixFormatARGB16_32K || to == pixFormatYRGB32_Float))
        return;
    if (from == pixFormatRGBY16_32K && to == pixFormatRGBA32_Float) return;
    BPDebugLog("FBTransferFBFrameToPixSSE: unsuppported input pixel format for %s output\n", name);
}

uint32_t BytesPerPixel(FBPixelFormat format)
{
    switch (format) {
    case pixFormatYRGB32_Float:
    case pixFormatRGBA32_Float: return 16;
    case pixFormatRGBY16_32K: return 8;
    default: return 4;
    }
}

} // namespace

void FBTransferPixToFBFrameSSE(const void* source, uint32_t sourceRowBytes, uint32_t, FBPixelFormat sourceFormat,
                               const FBFrame* frame)
{
    const Pair* pair = FindPair(std::begin(kInputs), std::end(kInputs), sourceFormat, frame->pixelFormat);
    if (!pair) {
        ReportMissingInput(sourceFormat, frame->pixelFormat);
        return;
    }
    for (uint32_t row = 0; row < frame->height; ++row)
        pair->row({.in = static_cast<const uint8_t*>(source) + size_t{row} * sourceRowBytes,
                   .out = frame->baseAddr + size_t{row} * frame->rowBytes,
                   .planeBytes = frame->planeBytes,
                   .width = frame->width});
}

void FBTransferFBFrameToPixSSE(const FBFrame* frame, const FBRect* rect, void* destination,
                               uint32_t destinationRowBytes, FBPixelFormat destinationFormat)
{
    const Pair* pair = FindPair(std::begin(kOutputs), std::end(kOutputs), frame->pixelFormat, destinationFormat);
    if (!pair) {
        ReportMissingOutput(frame->pixelFormat, destinationFormat);
        return;
    }
    const uint32_t top = rect ? rect->top : 0;
    const uint32_t left = rect ? rect->left : 0;
    const uint32_t bottom = rect ? rect->bottom : frame->height;
    const uint32_t right = rect ? rect->right : frame->width;
    if (top > bottom || left > right || bottom > frame->height || right > frame->width) return;
    const size_t firstByte = size_t{left} * BytesPerPixel(frame->pixelFormat);
    for (uint32_t row = top; row < bottom; ++row)
        pair->row({.in = frame->baseAddr + size_t{row} * frame->rowBytes + firstByte,
                   .out = static_cast<uint8_t*>(destination) + size_t{row - top} * destinationRowBytes,
                   .planeBytes = frame->planeBytes,
                   .width = right - left});
}

uint64_t FBPixelRowBytes(uint32_t width, FBPixelFormat format)
{
    const uint64_t pixels = width;
    switch (format) {
    case pixFormatARGB8:
    case pixFormatBGRA8: return pixels * 4;
    case pixFormatARGB16_32K: return pixels * 8;
    case pixFormatYRGB32_Float:
    case pixFormatRGBA32_Float: return pixels * 16;
    default: return 0;
    }
}
