// Pixel transfers against values computed here, pair by pair, and every message and every silence.
#include "src/FBTransfer.h"

#include "tests/CoreTest.h"

#include <bit>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>

namespace {

constexpr FBPixelFormat kFormats[] = {pixFormatARGB8,        pixFormatBGRA8,        pixFormatARGB16_32K,
                                      pixFormatYRGB32_Float, pixFormatRGBA32_Float, pixFormatRGBYPlanar_Float};

using Words = std::vector<uint32_t>;

/// A frame with interleaved words of `perPixel` words, filled from a function; the rest of the rows is noise.
template <class T> T& Cell(const FBFrame& frame, uint32_t row, uint32_t index)
{
    return reinterpret_cast<T*>(frame.baseAddr + size_t{row} * frame.rowBytes)[index];
}

float Luma(float r, float g, float b)
{
    const double red = 0.29899999499320984, green = 0.5870000123977661, blue = 0.11400000005960464;
    return static_cast<float>(green * static_cast<double>(g) + red * static_cast<double>(r) +
                              blue * static_cast<double>(b));
}

float Of255(uint32_t value)
{
    return static_cast<float>(value / 255.0);
}

/// Words in which every byte takes every value.
Words AllBytes(uint32_t count)
{
    Words words(count);
    for (uint32_t i = 0; i < count; ++i)
        words[i] = ((i * 7 + 3) & 255) << 24 | (i & 255) << 16 | ((255 - i) & 255) << 8 | (i * 13 & 255);
    return words;
}

void ExpectPlanar(const FBFrame& frame, uint32_t row, uint32_t column, float r, float g, float b)
{
    EXPECT_EQ(At(frame, 0, row, column), r) << row << ", " << column;
    EXPECT_EQ(At(frame, 1, row, column), g) << row << ", " << column;
    EXPECT_EQ(At(frame, 2, row, column), b) << row << ", " << column;
    EXPECT_EQ(At(frame, 3, row, column), Luma(r, g, b)) << row << ", " << column;
}

/// Single precision, as a register of four would compute it.
uint32_t Trunc8(float value)
{
    float v = value + 0.001953125f;
    if (v > 1) v = 1;
    if (!(v > 0)) v = 0;
    return static_cast<uint32_t>(v * 255.0f);
}

uint32_t Reversed(uint32_t word)
{
    return __builtin_bswap32(word);
}

std::string Unsupported(const char* text)
{
    return std::string("FBTransferPixToFBFrameSSE: unsuppported output pixel format ") + text;
}

std::string FourCharacters(FBPixelFormat format)
{
    std::string text; // "%.4s" ends at the first zero byte
    for (int shift = 24; shift >= 0; shift -= 8) {
        const auto c = static_cast<char>(static_cast<uint32_t>(format) >> shift & 255);
        if (c == 0) break;
        text += c;
    }
    return text;
}

constexpr uint32_t kWidth = 256, kHeight = 2, kRowBytes = kWidth * 16 + 32;

/// Room for a picture in any interchange format, with rows longer than needed.
struct Pixels {
    std::vector<uint8_t> bytes = std::vector<uint8_t>(size_t{kRowBytes} * kHeight, 0xEE);
    template <class T> T& At(uint32_t row, uint32_t index)
    {
        return reinterpret_cast<T*>(bytes.data() + size_t{row} * kRowBytes)[index];
    }
    void FillWords()
    {
        const Words words = AllBytes(kWidth * kHeight);
        for (uint32_t row = 0; row < kHeight; ++row)
            for (uint32_t i = 0; i < kWidth; ++i) At<uint32_t>(row, i) = words[row * kWidth + i];
    }
};

void In(Pixels& source, FBPixelFormat format, const FBFrame& frame)
{
    FBTransferPixToFBFrameSSE(source.bytes.data(), kRowBytes, 0, format, &frame);
}

void Out(const FBFrame& frame, Pixels* destination, FBPixelFormat format)
{
    FBTransferFBFrameToPixSSE(&frame, nullptr, destination->bytes.data(), kRowBytes, format);
}

/// A planar frame with values of all kinds.
FramePtr PlanarNoise(uint32_t seed)
{
    FramePtr frame = MakeFrame(kWidth, kHeight);
    Random random(seed);
    for (uint32_t plane = 0; plane < 4; ++plane)
        for (uint32_t row = 0; row < kHeight; ++row)
            for (uint32_t column = 0; column < kWidth; ++column)
                At(*frame, plane, row, column) =
                    random() % 3 ? Of255(static_cast<uint32_t>(random() % 256)) : RandomSignal(random);
    return frame;
}

} // namespace

TEST(FBTransfer, EightBitWordsAreCopiedOrReversed)
{
    Pixels source;
    source.FillWords();
    for (FBPixelFormat from : {pixFormatARGB8, pixFormatBGRA8})
        for (FBPixelFormat to : {pixFormatARGB8, pixFormatBGRA8}) {
            const FramePtr frame = MakeFrame(kWidth, kHeight, to);
            In(source, from, *frame);
            for (uint32_t row = 0; row < kHeight; ++row)
                for (uint32_t i = 0; i < kWidth; ++i) {
                    const uint32_t word = source.At<uint32_t>(row, i);
                    ASSERT_EQ(Cell<uint32_t>(*frame, row, i), from == to ? word : Reversed(word));
                }
        }
}

TEST(FBTransfer, EightBitWordsBecomeFloats)
{
    Pixels source;
    source.FillWords();
    for (FBPixelFormat from : {pixFormatARGB8, pixFormatBGRA8}) {
        const bool argb = from == pixFormatARGB8;
        const FramePtr planar = MakeFrame(kWidth, kHeight), rgba = MakeFrame(kWidth, kHeight, pixFormatRGBA32_Float);
        const FramePtr yrgb = MakeFrame(kWidth, kHeight, pixFormatYRGB32_Float);
        In(source, from, *planar);
        In(source, from, *rgba);
        if (argb) In(source, from, *yrgb);
        for (uint32_t row = 0; row < kHeight; ++row)
            for (uint32_t i = 0; i < kWidth; ++i) {
                const uint32_t word = source.At<uint32_t>(row, i);
                const uint32_t c[3] = {word >> (argb ? 16 : 8) & 255, word >> (argb ? 8 : 16) & 255,
                                       word >> (argb ? 0 : 24) & 255};
                ExpectPlanar(*planar, row, i, Of255(c[0]), Of255(c[1]), Of255(c[2]));
                for (uint32_t k = 0; k < 3; ++k) {
                    // This pair multiplies by the reciprocal, the other divides.
                    const float expected = argb ? static_cast<float>(c[k] * 0.00392156862745098) : Of255(c[k]);
                    ASSERT_EQ(Cell<float>(*rgba, row, i * 4 + k), expected);
                    if (argb) {
                        ASSERT_EQ(Cell<float>(*yrgb, row, i * 4 + k), Of255(c[k])); // as a frame: R, G, B, Y
                    }
                }
                ASSERT_EQ(Cell<float>(*rgba, row, i * 4 + 3), 1);
                if (argb) {
                    ASSERT_EQ(Cell<float>(*yrgb, row, i * 4 + 3), Luma(Of255(c[0]), Of255(c[1]), Of255(c[2])));
                }
            }
    }
}

TEST(FBTransfer, SixteenBitInputIsClampedForPlanesAndCutForWords)
{
    Pixels source;
    const uint16_t values[] = {0, 1, 128, 129, 16384, 32767, 32768, 32769, 40000, 65535, 32640, 32639};
    for (uint32_t i = 0; i < kWidth * 4; ++i)
        for (uint32_t row = 0; row < kHeight; ++row)
            source.At<uint16_t>(row, i) = values[(i * 5 + row) % std::size(values)];
    const FramePtr planar = MakeFrame(kWidth, kHeight), words = MakeFrame(kWidth, kHeight, pixFormatARGB8);
    In(source, pixFormatARGB16_32K, *planar);
    In(source, pixFormatARGB16_32K, *words);
    for (uint32_t row = 0; row < kHeight; ++row)
        for (uint32_t i = 0; i < kWidth; ++i) {
            float c[3];
            uint32_t word = 0;
            for (uint32_t k = 0; k < 3; ++k) {
                const uint16_t v = source.At<uint16_t>(row, i * 4 + 1 + k);
                c[k] = v >= 32768 ? 1.0f : static_cast<float>(v / 32768.0);
                word = word << 8 | (static_cast<uint32_t>(v * 0.007782101167315175) & 255);
            }
            ExpectPlanar(*planar, row, i, c[0], c[1], c[2]);
            ASSERT_EQ(Cell<uint32_t>(*words, row, i), word);
        }
}

TEST(FBTransfer, FloatInputIsTakenAsItIs)
{
    Pixels source;
    Random random(2);
    for (uint32_t row = 0; row < kHeight; ++row)
        for (uint32_t i = 0; i < kWidth * 4; ++i) source.At<float>(row, i) = Between(random, -2, 3);
    source.At<float>(0, 1) = std::numeric_limits<float>::infinity();
    const FramePtr yrgb = MakeFrame(kWidth, kHeight), rgba = MakeFrame(kWidth, kHeight);
    In(source, pixFormatYRGB32_Float, *yrgb);
    In(source, pixFormatRGBA32_Float, *rgba);
    for (uint32_t row = 0; row < kHeight; ++row)
        for (uint32_t i = 0; i < kWidth; ++i) {
            const auto at = [&](uint32_t k) { return source.At<float>(row, i * 4 + k); };
            ExpectPlanar(*yrgb, row, i, at(1), at(2), at(3)); // float 0 is dropped
            ExpectPlanar(*rgba, row, i, at(0), at(1), at(2));
        }
}

TEST(FBTransfer, PlanesLeaveAsWordsWithTheRoundingBias)
{
    const FramePtr frame = PlanarNoise(3);
    Pixels argb, bgra;
    Out(*frame, &argb, pixFormatARGB8);
    Out(*frame, &bgra, pixFormatBGRA8);
    for (uint32_t row = 0; row < kHeight; ++row)
        for (uint32_t i = 0; i < kWidth; ++i) {
            const uint32_t r = Trunc8(At(*frame, 0, row, i)), g = Trunc8(At(*frame, 1, row, i)),
                           b = Trunc8(At(*frame, 2, row, i));
            if (std::isnan(At(*frame, 0, row, i)) || std::isnan(At(*frame, 1, row, i)) ||
                std::isnan(At(*frame, 2, row, i)))
                continue;
            ASSERT_EQ(argb.At<uint32_t>(row, i), 0xFF000000u | r << 16 | g << 8 | b) << row << ", " << i;
            ASSERT_EQ(bgra.At<uint32_t>(row, i), b << 24 | g << 16 | r << 8 | 0xFFu) << row << ", " << i;
        }
    EXPECT_EQ(argb.At<uint32_t>(0, kWidth), 0xEEEEEEEEu); // nothing beyond the width
}

TEST(FBTransfer, EveryEightBitValuePassesPlanesUnchanged)
{
    Pixels source;
    source.FillWords();
    for (FBPixelFormat format : {pixFormatARGB8, pixFormatBGRA8}) {
        const FramePtr frame = MakeFrame(kWidth, kHeight);
        In(source, format, *frame);
        Pixels back;
        Out(*frame, &back, format);
        const uint32_t alpha = format == pixFormatARGB8 ? 0xFF000000u : 0xFFu;
        for (uint32_t row = 0; row < kHeight; ++row)
            for (uint32_t i = 0; i < kWidth; ++i)
                ASSERT_EQ(back.At<uint32_t>(row, i), source.At<uint32_t>(row, i) | alpha) << row << ", " << i;
    }
    EXPECT_EQ(Trunc8(Of255(200)), 200u);
}

TEST(FBTransfer, WhatIsNoNumberLeavesAsBlack)
{
    const FramePtr frame = MakeFrame(kWidth, kHeight);
    for (uint32_t plane = 0; plane < 3; ++plane) At(*frame, plane, 0, 0) = std::numeric_limits<float>::quiet_NaN();
    Pixels words, deep;
    Out(*frame, &words, pixFormatARGB8);
    Out(*frame, &deep, pixFormatARGB16_32K);
    EXPECT_EQ(words.At<uint32_t>(0, 0), 0xFF000000u);
    EXPECT_EQ(deep.At<uint16_t>(0, 1), 0);
}

TEST(FBTransfer, PlanesLeaveAsSixteenBits)
{
    const FramePtr frame = MakeFrame(kWidth, kHeight);
    const float values[] = {0, 1, 2, -1, 0.5f, 0.25f, 0.99999f, 1e-6f, std::numeric_limits<float>::infinity(), -0.0f};
    for (uint32_t plane = 0; plane < 3; ++plane)
        for (uint32_t i = 0; i < kWidth; ++i) At(*frame, plane, 1, i) = values[(i + plane) % std::size(values)];
    Pixels out;
    Out(*frame, &out, pixFormatARGB16_32K);
    for (uint32_t i = 0; i < kWidth; ++i) {
        ASSERT_EQ(out.At<uint16_t>(1, i * 4), 0x7FFF);
        for (uint32_t c = 0; c < 3; ++c) {
            const float v = std::fmin(std::fmax(At(*frame, c, 1, i), 0.0f), 1.0f);
            ASSERT_EQ(out.At<uint16_t>(1, i * 4 + 1 + c), static_cast<uint16_t>(v * 32768.0f));
        }
    }
    for (uint32_t plane = 0; plane < 3; ++plane) At(*frame, plane, 0, 0) = 1;
    Out(*frame, &out, pixFormatARGB16_32K); // white: the range of colour reaches one further than alpha
    EXPECT_EQ(out.At<uint16_t>(0, 0), 0x7FFF);
    for (uint32_t c = 1; c < 4; ++c) EXPECT_EQ(out.At<uint16_t>(0, c), 0x8000);
}

TEST(FBTransfer, PlanesLeaveAsFloats)
{
    const FramePtr frame = PlanarNoise(4);
    Pixels yrgb, rgba;
    Out(*frame, &yrgb, pixFormatYRGB32_Float);
    Out(*frame, &rgba, pixFormatRGBA32_Float);
    for (uint32_t row = 0; row < kHeight; ++row)
        for (uint32_t i = 0; i < kWidth; ++i) {
            ASSERT_EQ(yrgb.At<float>(row, i * 4), 1);
            ASSERT_EQ(rgba.At<float>(row, i * 4 + 3), 1);
            for (uint32_t c = 0; c < 3; ++c) {
                ASSERT_TRUE(SameFloat(yrgb.At<float>(row, i * 4 + 1 + c), At(*frame, c, row, i)));
                ASSERT_TRUE(SameFloat(rgba.At<float>(row, i * 4 + c), At(*frame, c, row, i)));
            }
        }
}

// Deliberate: a row of words is reversed end to end.
TEST(FBTransfer, WordsLeaveAsWordsMirrored)
{
    Pixels source, out;
    source.FillWords();
    const FramePtr frame = MakeFrame(kWidth, kHeight, pixFormatARGB8);
    In(source, pixFormatARGB8, *frame);
    Out(*frame, &out, pixFormatARGB8);
    for (uint32_t row = 0; row < kHeight; ++row)
        for (uint32_t i = 0; i < kWidth; ++i)
            ASSERT_EQ(out.At<uint32_t>(row, i), Reversed(source.At<uint32_t>(row, kWidth - 1 - i)));
    Out(*frame, &out, pixFormatBGRA8); // this one is not mirrored
    EXPECT_EQ(out.At<uint32_t>(1, 5), Reversed(source.At<uint32_t>(1, 5)));
}

TEST(FBTransfer, InterleavedFloatsLeaveAsWordsWithoutTheBias)
{
    for (FBPixelFormat format : {pixFormatYRGB32_Float, pixFormatRGBA32_Float}) {
        const FramePtr frame = MakeFrame(kWidth, kHeight, format);
        Random random(5);
        for (uint32_t row = 0; row < kHeight; ++row)
            for (uint32_t i = 0; i < kWidth * 4; ++i) Cell<float>(*frame, row, i) = Between(random, -0.5f, 1.5f);
        Pixels out;
        Out(*frame, &out, pixFormatARGB8);
        for (uint32_t row = 0; row < kHeight; ++row)
            for (uint32_t i = 0; i < kWidth; ++i) {
                uint32_t word = 0; // floats 0, 1, 2 whatever the format calls them
                for (uint32_t c = 0; c < 3; ++c) {
                    const float v = std::fmin(std::fmax(Cell<float>(*frame, row, i * 4 + c), 0.0f), 1.0f);
                    word = word << 8 | static_cast<uint32_t>(v * 255.0f);
                }
                ASSERT_EQ(out.At<uint32_t>(row, i), word);
            }
    }
}

// Deliberate: integers in what is read as floats.
TEST(FBTransfer, WordsLeaveForFloatsAsIntegerWords)
{
    const FramePtr frame = MakeFrame(kWidth, kHeight, pixFormatARGB8);
    Cell<uint32_t>(*frame, 0, 0) = 0xFFFF0000;
    Cell<uint32_t>(*frame, 0, 1) = 0xFFFEFFFF;
    Pixels out;
    Out(*frame, &out, pixFormatRGBA32_Float);
    for (uint32_t c = 0; c < 4; ++c) EXPECT_EQ(out.At<uint32_t>(0, c), 1u);
    for (uint32_t c = 0; c < 4; ++c) EXPECT_EQ(out.At<uint32_t>(0, 4 + c), c == 3 ? 1u : 0u);
}

TEST(FBTransfer, ARectangleIsReadFromItsCornerInEveryFormat)
{
    Pixels source;
    source.FillWords();
    for (FBPixelFormat format :
         {pixFormatARGB8, pixFormatRGBA32_Float, pixFormatYRGB32_Float, pixFormatRGBYPlanar_Float})
        for (FBPixelFormat to : {pixFormatARGB8, pixFormatBGRA8}) {
            if (to == pixFormatBGRA8 && format != pixFormatARGB8 && format != pixFormatRGBYPlanar_Float) continue;
            if (to == pixFormatARGB8 && format == pixFormatARGB8) continue; // mirrored, below
            const FramePtr frame = MakeFrame(kWidth, kHeight, format);
            In(source, pixFormatARGB8, *frame);
            Pixels whole, part;
            Out(*frame, &whole, to);
            const FBRect rect = {.top = 1, .left = 3, .bottom = 2, .right = 12};
            FBTransferFBFrameToPixSSE(frame.get(), &rect, part.bytes.data(), kRowBytes, to);
            for (uint32_t i = 0; i < 9; ++i) ASSERT_EQ(part.At<uint32_t>(0, i), whole.At<uint32_t>(1, 3 + i));
            EXPECT_EQ(part.At<uint32_t>(0, 9), 0xEEEEEEEEu);
            EXPECT_EQ(part.At<uint32_t>(1, 0), 0xEEEEEEEEu);
        }
    const FramePtr words = MakeFrame(kWidth, kHeight, pixFormatARGB8);
    In(source, pixFormatARGB8, *words);
    Pixels mirrored;
    const FBRect rect = {.top = 0, .left = 3, .bottom = 2, .right = 12};
    FBTransferFBFrameToPixSSE(words.get(), &rect, mirrored.bytes.data(), kRowBytes, pixFormatARGB8);
    for (uint32_t i = 0; i < 9; ++i) EXPECT_EQ(mirrored.At<uint32_t>(1, i), Reversed(source.At<uint32_t>(1, 11 - i)));
}

TEST(FBTransfer, ARectangleBeyondTheFrameWritesNothing)
{
    const FramePtr frame = MakeFrame(8, 4);
    const FBRect rects[] = {{0, 0, 5, 8}, {0, 0, 4, 9}, {3, 0, 2, 8}, {0, 5, 4, 4}, {0, 0, 65535, 65535}};
    for (const FBRect& rect : rects) {
        Pixels out;
        FBTransferFBFrameToPixSSE(frame.get(), &rect, out.bytes.data(), kRowBytes, pixFormatARGB8);
        for (uint8_t byte : out.bytes) ASSERT_EQ(byte, 0xEE);
    }
    const FBRect empty = {2, 3, 2, 3};
    Pixels out;
    FBTransferFBFrameToPixSSE(frame.get(), &empty, out.bytes.data(), kRowBytes, pixFormatARGB8);
    EXPECT_EQ(out.bytes[0], 0xEE);
}

TEST(FBTransfer, EveryWidthHasItsTail)
{
    for (uint32_t width = 0; width < 20; ++width) {
        const FramePtr frame = MakeFrame(width, 1);
        Words pixels(width + 1, 0x80604020), out(width + 1, 5);
        FBTransferPixToFBFrameSSE(pixels.data(), width * 4, 0, pixFormatARGB8, frame.get());
        FBTransferFBFrameToPixSSE(frame.get(), nullptr, out.data(), width * 4, pixFormatARGB8);
        for (uint32_t i = 0; i < width; ++i) EXPECT_EQ(out[i], 0xFF604020u);
        EXPECT_EQ(out[width], 5u);
    }
}

TEST(FBTransfer, InputPairsThatAreMissingSaySoAndTouchNothing)
{
    struct Row {
        FBPixelFormat from, to;
        std::string line;
    };
    std::vector<Row> rows;
    const auto number = [](FBPixelFormat f) { return std::to_string(static_cast<int32_t>(f)); };
    const auto quoted = [&](FBPixelFormat f) { return number(f) + " ('" + FourCharacters(f) + "')"; };
    for (FBPixelFormat to : {pixFormatARGB16_32K, pixFormatA8})
        rows.push_back({pixFormatARGB8, to, Unsupported((quoted(to) + " for pixFormatARGB8 input\n").c_str())});
    rows.push_back({pixFormatARGB8, pixFormatUYVA8,
                    Unsupported((quoted(pixFormatUYVA8) + " for pixFormatARGB8 input\n").c_str())});
    for (FBPixelFormat to : {pixFormatARGB16_32K, pixFormatYRGB32_Float, pixFormatUYVA8})
        rows.push_back({pixFormatBGRA8, to, Unsupported((quoted(to) + " for pixFormatBGRA8 input\n").c_str())});
    for (FBPixelFormat to : {pixFormatBGRA8, pixFormatARGB16_32K, pixFormatYRGB32_Float, pixFormatRGBA32_Float})
        rows.push_back(
            {pixFormatARGB16_32K, to, Unsupported((number(to) + " for pixFormatARGB16_32K input\n").c_str())});
    for (FBPixelFormat to :
         {pixFormatARGB8, pixFormatBGRA8, pixFormatARGB16_32K, pixFormatYRGB32_Float, pixFormatRGBA32_Float}) {
        rows.push_back(
            {pixFormatYRGB32_Float, to, Unsupported((number(to) + " for pixFormatYRGB32_Float input\n").c_str())});
        rows.push_back(
            {pixFormatRGBA32_Float, to, Unsupported((number(to) + " for pixFormatRGBA32_Float input\n").c_str())});
    }
    for (FBPixelFormat to : kFormats) {
        rows.push_back({pixFormat422YpCbCr10, to,
                        "FBTransferPixToFBFrameSSE: called with unsupported pixel format pixFormat422YpCbCr10\n"});
        rows.push_back(
            {pixFormatARGB64, to, "FBTransferPixToFBFrameSSE: called with unsupported pixel format pixFormatARGB64\n"});
        for (int32_t from : {203, 99, -1, 0})
            rows.push_back({static_cast<FBPixelFormat>(from), to,
                            "FBTransferPixToFBFrameSSE: unsuppported input pixel format " + std::to_string(from) +
                                ", output format " + number(to) + "\n"});
    }
    Pixels source;
    for (const Row& row : rows) {
        LogCatch log;
        const FramePtr frame = MakeFrame(8, 4, row.to);
        In(source, row.from, *frame);
        EXPECT_EQ(log.Text(), row.line);
        for (uint32_t i = 0; i < frame->planeBytes; ++i) ASSERT_EQ(frame->baseAddr[i], 0) << row.line;
    }
}

TEST(FBTransfer, OutputPairsThatAreMissingSaySoOrKeepStillAndTouchNothing)
{
    struct Row {
        FBPixelFormat frame, to;
        std::string line;
    };
    const auto sentence = [](const char* to) {
        return std::string("FBTransferFBFrameToPixSSE: unsuppported input pixel format for ") + to + " output\n";
    };
    const auto refused = [](const char* name) {
        return std::string("FBTransferFBFrameToPixSSE: called with unsupported pixel format ") + name + "\n";
    };
    std::vector<Row> rows = {
        {pixFormatBGRA8, pixFormatARGB8, sentence("pixFormatARGB8")},
        {pixFormatARGB8, pixFormatARGB16_32K, sentence("pixFormatARGB16_32K")},
        {pixFormatBGRA8, pixFormatARGB16_32K, sentence("pixFormatARGB16_32K")},
        {pixFormatRGBA32_Float, pixFormatARGB16_32K, sentence("pixFormatARGB16_32K")},
        {pixFormatARGB8, pixFormatYRGB32_Float, sentence("pixFormatYRGB32_Float")},
        {pixFormatRGBA32_Float, pixFormatYRGB32_Float, sentence("pixFormatYRGB32_Float")},
        {pixFormatBGRA8, pixFormatRGBA32_Float, sentence("pixFormatRGBA32_Float")},
        {pixFormatYRGB32_Float, pixFormatRGBA32_Float, sentence("pixFormatRGBA32_Float")},
        {pixFormatBGRA8, pixFormatBGRA8,
         "FBTransferFBFrameToPixSSE: unsuppported input pixel format 1111970369 for pixFormatBGRA8 output\n"},
        {pixFormatRGBA32_Float, pixFormatBGRA8,
         "FBTransferFBFrameToPixSSE: unsuppported input pixel format 202 for pixFormatBGRA8 output\n"},
        // The silent ones.
        {pixFormatYRGB32_Float, pixFormatARGB16_32K, ""},
        {pixFormatYRGB32_Float, pixFormatYRGB32_Float, ""},
        {pixFormatYRGB32_Float, pixFormatBGRA8, ""},
        {pixFormatRGBY16_32K, pixFormatARGB16_32K, ""},
        {pixFormatRGBY16_32K, pixFormatYRGB32_Float, ""},
        {pixFormatRGBY16_32K, pixFormatBGRA8, ""},
        {pixFormatRGBY16_32K, pixFormatRGBA32_Float, ""},
    };
    for (FBPixelFormat frame : kFormats) {
        rows.push_back({frame, pixFormatUYVA8, refused("pixFormatUYVA8")});
        rows.push_back({frame, pixFormatUYVA8R, refused("pixFormatUYVA8R")});
        rows.push_back({frame, pixFormat422YpCbCr10, refused("pixFormat422YpCbCr10")});
        rows.push_back({frame, pixFormatARGB64, refused("pixFormatARGB64")});
        for (int32_t to : {203, 99, -1})
            rows.push_back({frame, static_cast<FBPixelFormat>(to),
                            "FBTransferFBFrameToPixSSE: unsuppported output pixel format " + std::to_string(to) +
                                ", input format " + std::to_string(static_cast<int32_t>(frame)) + "\n"});
    }
    for (const Row& row : rows) {
        LogCatch log;
        const FramePtr frame = MakeFrame(8, 2, row.frame);
        Pixels out;
        Out(*frame, &out, row.to);
        EXPECT_EQ(log.Text(), row.line) << "frame " << row.frame << ", to " << row.to;
        for (uint8_t byte : out.bytes) ASSERT_EQ(byte, 0xEE) << row.line;
    }
}

TEST(FBTransfer, RowBytesOfWhatAHostMayHandIn)
{
    const struct {
        FBPixelFormat format;
        uint64_t bytes;
    } rows[] = {{pixFormatARGB8, 4},
                {pixFormatBGRA8, 4},
                {pixFormatARGB16_32K, 8},
                {pixFormatYRGB32_Float, 16},
                {pixFormatRGBA32_Float, 16},
                {pixFormatRGBYPlanar_Float, 0},
                {static_cast<FBPixelFormat>(-1), 0}};
    for (const auto& row : rows) {
        EXPECT_EQ(FBPixelRowBytes(3, row.format), 3 * row.bytes);
        EXPECT_EQ(FBPixelRowBytes(0xFFFFFFFF, row.format), 0xFFFFFFFFull * row.bytes);
    }
}
