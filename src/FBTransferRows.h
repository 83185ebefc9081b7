// What the transfer routines share: a row to convert, the contract's constants, and the small conversions.
#pragma once

#include "src/FBTransfer.h"

#include <cstring>
#include <iterator>
#include <span>

namespace fbtransfer {

// The luma weights are the single-precision values, used in double.
inline constexpr double kRed = 0.29899999499320984;
inline constexpr double kGreen = 0.5870000123977661;
inline constexpr double kBlue = 0.11400000005960464;
inline constexpr double kReciprocal8 = 0.00392156862745098;
inline constexpr double kReciprocal128 = 0.007782101167315175;
inline constexpr double kReciprocal32K = 3.0517578125e-5;
inline constexpr float kRoundingBias = 0.001953125f; ///< of 8-bit output

// Video levels to R, G, B.
inline constexpr double kVideoLuma = 1.164382815361023;
inline constexpr double kCrToRed = 1.5960273742675781;
inline constexpr double kCbToGreen = 0.3917617201805115;
inline constexpr double kCrToGreen = 0.81296875;
inline constexpr double kCbToBlue = 2.01723051071167;

/// 10-bit pairs: what 16-bit luma and chroma words are multiplied with.
struct PairFactors {
    double crToRed, crToGreen, cbToGreen, cbToBlue;
};
inline constexpr PairFactors kPair601 = {0.0015647299587726593, 0.0007970270235091448, 0.00038407999090850353,
                                         0.001977680018171668};
inline constexpr PairFactors kPair709 = {0.00175758998375386, 0.0005224599735811353, 0.00020906700228806585,
                                         0.0020709799136966467};
inline constexpr double kPairLuma = 0.0011415500193834305;
inline constexpr double kPairShift = 0.015625;
inline constexpr double kPairLumaRange = 56064.0;

/// The weights of a 10-bit matrix in the order of the sums: luma of B, G, R; Cb of R, G; Cr of G, B.
struct PairWeights {
    float lumaBlue, lumaGreen, lumaRed, cbRed, cbGreen, crGreen, crBlue;
};
inline constexpr PairWeights kOut601 = {6391.2958984375f, 32909.566f, 16763.13671875f, -9675.997f,
                                        18996.002f,       24009.244f, 4662.7554f};
inline constexpr PairWeights kOut709 = {4047.8208f, 40096.973f, 11919.206f, -6570.0166f,
                                        22101.982f, 26042.95f,  2629.0503f};

/// A row to convert. Addresses are those of plane 0 where a side is planar.
struct Row {
    const uint8_t* in;
    uint8_t* out;
    size_t inPlaneBytes, outPlaneBytes; ///< between planes
    size_t inLimit, outLimit;           ///< bytes from in and out that belong to the row, padding included
    uint32_t width;                     ///< pixels
};

using RowRoutine = void (*)(const Row& row);

struct Pair {
    FBPixelFormat from, to;
    RowRoutine row;
};

/// The routine of a pair, or null.
inline RowRoutine FindRow(std::span<const Pair> pairs, FBPixelFormat from, FBPixelFormat to)
{
    for (const Pair& pair : pairs)
        if (pair.from == from && pair.to == to) return pair.row;
    return nullptr;
}

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

inline double Wide(float value)
{
    return static_cast<double>(value);
}

inline float LumaOf(float r, float g, float b)
{
    return static_cast<float>(kGreen * Wide(g) + kRed * Wide(r) + kBlue * Wide(b));
}

inline void StorePlanar(const Row& row, size_t i, float r, float g, float b, float y)
{
    Store(row.out, i, r);
    Store(row.out + row.outPlaneBytes, i, g);
    Store(row.out + 2 * row.outPlaneBytes, i, b);
    Store(row.out + 3 * row.outPlaneBytes, i, y);
}

inline void StorePlanar(const Row& row, size_t i, float r, float g, float b)
{
    StorePlanar(row, i, r, g, b, LumaOf(r, g, b));
}

inline void StoreFloats(uint8_t* out, size_t pixel, float a, float b, float c, float d)
{
    const float values[4] = {a, b, c, d};
    std::memcpy(out + pixel * sizeof values, values, sizeof values);
}

inline double ByteAt(uint32_t word, int shift)
{
    return static_cast<double>(word >> shift & 255);
}

inline float Of255(double value)
{
    return static_cast<float>(value / 255.0);
}

/// Clamps to 0 to 1; a NaN becomes 0.
inline double Unit(double value)
{
    return value > 0 ? (value < 1 ? value : 1) : 0;
}

inline float Unit(float value)
{
    return value > 0 ? (value < 1 ? value : 1) : 0;
}

inline void CopyWords(const Row& row)
{
    std::memcpy(row.out, row.in, size_t{row.width} * 4);
}

inline void SwapWords(const Row& row)
{
    for (size_t i = 0; i < row.width; ++i) Store(row.out, i, __builtin_bswap32(Load<uint32_t>(row.in, i)));
}

/// What a video pixel becomes: R, G, B and the luma plane's value, in double.
struct VideoColor {
    double r, g, b, y;
};

/// 8-bit YCbCr, unclamped: super-white and sub-black survive.
inline VideoColor FromVideo8(double luma, double cb, double cr)
{
    const double y = (luma - 16.0) * kVideoLuma;
    const double u = cb - 128.0;
    const double v = cr - 128.0;
    return {(kCrToRed * v + y) / 255.0, (y - u * kCbToGreen - v * kCrToGreen) / 255.0, (y + u * kCbToBlue) / 255.0,
            y / 255.0};
}

inline VideoColor FromVideoFloat(double luma, double u, double v)
{
    const double y = luma * kVideoLuma;
    return {v * kCrToRed + y, y - u * kCbToGreen - v * kCrToGreen, u * kCbToBlue + y, y};
}

/// Where the components of an 8-bit video word lie.
struct VideoShifts {
    int y, cb, cr;
};
inline constexpr VideoShifts kVUYA = {16, 8, 0};
inline constexpr VideoShifts kUYVA = {8, 0, 16};

/// Two pixels at a time; an odd width writes one pixel into the padding, where the row has any.
void PairsToPlanar(const Row& row, const PairFactors& factors);

/// The four characters of a format, high byte first, as "%.4s" prints them: cut at a zero byte.
struct Characters {
    char text[5];
};
inline Characters CharactersOf(FBPixelFormat format)
{
    const auto word = static_cast<uint32_t>(format);
    return {{static_cast<char>(word >> 24), static_cast<char>(word >> 16), static_cast<char>(word >> 8),
             static_cast<char>(word), 0}};
}

/// A fast routine does as many pixels of a row as whole registers allow, from the left, and returns their number; the
/// readable routine does the rest. Its bits are those of the readable one.
using FastRoutine = size_t (*)(const Row& row);

struct FastPair {
    FBPixelFormat from, to;
    FastRoutine row;
};

/// The fast routines of one instruction set.
struct FastTables {
    std::span<const FastPair> inputs, premultiplied, outputs;
};

/// The fast routine of a pair, or null where the readable one serves alone.
FastRoutine FastInput(FBPixelFormat from, FBPixelFormat to);
FastRoutine FastPremultiplied(FBPixelFormat from, FBPixelFormat to);
FastRoutine FastOutput(FBPixelFormat from, FBPixelFormat to);

/// Bytes from one pixel to the next, in one plane of planar formats.
uint32_t PixelBytes(FBPixelFormat format);

/// Both routines of a pair, and how far each side moves with a pixel.
struct RowRunner {
    FastRoutine fast; ///< may be null
    RowRoutine readable;
    size_t inPixelBytes, outPixelBytes; ///< inPixelBytes is 0 where the input's end is taken first

    void operator()(Row row) const
    {
        // Rows may be too short for the width, as those of frames in some interchange formats are: what does not fit
        // is left out, so that no row reaches into the next one, which may be another task's.
        const size_t room = row.outLimit / outPixelBytes;
        if (row.width > room) {
            if (inPixelBytes == 0) row.in += (row.width - room) * outPixelBytes;
            row.width = static_cast<uint32_t>(room);
        }
        const size_t done = fast ? fast(row) : 0;
        if (done == row.width) return;
        readable({.in = row.in + done * inPixelBytes,
                  .out = row.out + done * outPixelBytes,
                  .inPlaneBytes = row.inPlaneBytes,
                  .outPlaneBytes = row.outPlaneBytes,
                  .inLimit = row.inLimit - done * inPixelBytes,
                  .outLimit = row.outLimit - done * outPixelBytes,
                  .width = row.width - static_cast<uint32_t>(done)});
    }
};

} // namespace fbtransfer
