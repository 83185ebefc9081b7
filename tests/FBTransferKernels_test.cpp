// Fast transfers against the readable ones: every pair, every instruction set of the machine, bit for bit.
#include "src/FBTransfer.h"
#include "src/FBTransferRows.h"
#include "src/MPTasks.h"
#include "src/platform/BPLog.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <gtest/gtest.h>
#include <hwy/targets.h>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr FBPixelFormat kFormats[] = {pixFormatARGB8,
                                      pixFormatARGB16_32K,
                                      pixFormatYRGB32_Float,
                                      pixFormatRGBA32_Float,
                                      pixFormatRGBYPlanar_Float,
                                      pixFormatRGBY16_32K,
                                      pixFormatABGR8,
                                      pixFormatVUYA8,
                                      pixFormatVUYA32_Float,
                                      pixFormatYUYV10_601,
                                      pixFormatYUYV10_709,
                                      pixFormatBGRY32_Float,
                                      pixFormatA8,
                                      pixFormatA32_Float,
                                      pixFormatRGB16Planar,
                                      pixFormatBGRA8,
                                      pixFormatARGB64,
                                      pixFormatUYVA8R,
                                      pixFormatAYUV32_Float_r4fl,
                                      pixFormat422YpCbCr10,
                                      pixFormatUYVA8};

bool HoldsFloats(FBPixelFormat format)
{
    switch (format) {
    case pixFormatYRGB32_Float:
    case pixFormatRGBA32_Float:
    case pixFormatRGBYPlanar_Float:
    case pixFormatVUYA32_Float:
    case pixFormatBGRY32_Float:
    case pixFormatA32_Float:
    case pixFormatAYUV32_Float_r4fl: return true;
    default: return false;
    }
}

/// Bytes in which every component differs from its neighbours; floats are mostly a picture, the rest hard values.
std::vector<uint8_t> Content(size_t byteCount, bool floats, uint32_t seed)
{
    std::mt19937 random(seed);
    std::vector<uint8_t> bytes((byteCount + 3) / 4 * 4);
    const float hard[] = {0,
                          -0.0f,
                          1,
                          -1,
                          1e-42f,
                          -1e-42f,
                          65504,
                          -3e38f,
                          3e38f,
                          std::nanf(""),
                          HUGE_VALF,
                          -HUGE_VALF,
                          0.99999994f,
                          1.0000001f,
                          0.5f,
                          0.998046875f,
                          -0.001953125f,
                          -0.0019531251f};
    for (size_t i = 0; i < bytes.size(); i += 4) {
        uint32_t word = static_cast<uint32_t>(random());
        if (floats) {
            float value = static_cast<float>(word) * 0x1p-32f * 1.4f - 0.2f;
            if (random() % 8 == 0) value = hard[random() % std::size(hard)];
            if (random() % 32 == 0) value = std::bit_cast<float>(word);
            word = std::bit_cast<uint32_t>(value);
        }
        std::memcpy(&bytes[i], &word, 4);
    }
    return bytes;
}

/// Equal bytes, or two floats that are no numbers.
::testing::AssertionResult SameBits(const std::vector<uint8_t>& expected, const std::vector<uint8_t>& actual,
                                    bool floats)
{
    for (size_t i = 0; i + 4 <= expected.size(); i += 4) {
        uint32_t e, a;
        std::memcpy(&e, &expected[i], 4);
        std::memcpy(&a, &actual[i], 4);
        if (e == a) continue;
        if (floats && std::isnan(std::bit_cast<float>(e)) && std::isnan(std::bit_cast<float>(a))) continue;
        return ::testing::AssertionFailure() << "byte " << i << ": " << std::hex << e << " expected, " << a << " found";
    }
    return ::testing::AssertionSuccess();
}

enum Way { kStraight, kPremultiplied, kOut };

struct Geometry {
    uint32_t width, height;
    FBRect rect;
    bool useRect;
};

/// Runs a pair once into memory full of a pattern, with guard bytes behind the last row of the last plane.
std::vector<uint8_t> Transferred(Way way, bool fast, FBPixelFormat from, FBPixelFormat to, const Geometry& g)
{
    const bool out = way == kOut;
    const FBPixelFormat frameFormat = out ? from : to;
    FBFrame* made = nullptr;
    EXPECT_EQ(FBCreateRGBFrameBuffer(g.width, g.height, &made, frameFormat), bpNoErr);
    FBFrame frame = *made;
    constexpr size_t guard = 64;
    const size_t frameBytes = size_t{frame.planeBytes} * frame.planeCount;
    std::vector<uint8_t> frameMemory(frameBytes + guard, 0xA5);
    // One pixel of slack, and more in the rows of the other side.
    const auto pixelRow =
        static_cast<uint32_t>((std::max<uint64_t>(FBPixelRowBytes(g.width, out ? to : from), 16) + 19) & ~uint64_t{3});
    const uint32_t pixelPlane = pixelRow * g.height;
    const size_t pixelBytes = size_t{pixelPlane} * 3;
    std::vector<uint8_t> pixelMemory(pixelBytes + guard, 0xA5);
    if (out) {
        const std::vector<uint8_t> content = Content(frameBytes, HoldsFloats(from), 7 + g.width);
        std::memcpy(frameMemory.data(), content.data(), frameBytes);
    } else {
        const std::vector<uint8_t> content = Content(pixelBytes, HoldsFloats(from), 9 + g.width);
        std::memcpy(pixelMemory.data(), content.data(), pixelBytes);
    }
    frame.baseAddr = frameMemory.data();
    const FBRect* rect = g.useRect ? &g.rect : nullptr;
    switch (way) {
    case kStraight:
        (fast ? FBTransferPixToFBFrameSSE : FBTransferPixToFBFrameScalar)(pixelMemory.data(), pixelRow, pixelPlane,
                                                                          from, &frame);
        break;
    case kPremultiplied:
        (fast ? FBTransferPixToFBFramePremultipliedSSE
              : FBTransferPixToFBFramePremultipliedScalar)(pixelMemory.data(), pixelRow, from, &frame);
        break;
    case kOut:
        (fast ? FBTransferFBFrameToPixSSE : FBTransferFBFrameToPixScalar)(&frame, rect, pixelMemory.data(), pixelRow,
                                                                          to);
        break;
    }
    FBDisposeFrameBuffer(made);
    const std::vector<uint8_t>& memory = out ? pixelMemory : frameMemory;
    for (size_t i = memory.size() - guard; i < memory.size(); ++i) EXPECT_EQ(memory[i], 0xA5) << "guard overwritten";
    return memory;
}

void Silence()
{
    BPSetLogSink([](void*, const char*, size_t) {}, nullptr);
}

/// Calls `check` for each pair that the readable tables know, on each instruction set.
template <class Check> void ForEachPairAndTarget(Check check)
{
    Silence();
    for (int64_t target : hwy::SupportedAndGeneratedTargets()) {
        hwy::SetSupportedTargetsForTest(target);
        hwy::GetChosenTarget().Update(hwy::SupportedTargets());
        SCOPED_TRACE(hwy::TargetName(target));
        for (FBPixelFormat from : kFormats)
            for (FBPixelFormat to : kFormats)
                for (Way way : {kStraight, kPremultiplied, kOut}) check(way, from, to);
    }
    hwy::SetSupportedTargetsForTest(0);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
    BPSetLogSink(nullptr, nullptr);
}

} // namespace

TEST(FBTransferKernels, EveryPairEqualsTheReadableOneAtEveryWidth)
{
    size_t pairs = 0;
    ForEachPairAndTarget([&](Way way, FBPixelFormat from, FBPixelFormat to) {
        const bool hasFast = way == kOut        ? fbtransfer::FastOutput(from, to) != nullptr
                             : way == kStraight ? fbtransfer::FastInput(from, to) != nullptr
                                                : fbtransfer::FastPremultiplied(from, to) != nullptr;
        if (!hasFast) return;
        ++pairs;
        for (uint32_t width = 1; width <= 67; ++width) {
            const Geometry g = {.width = width, .height = 3, .rect = {}, .useRect = false};
            ASSERT_TRUE(
                SameBits(Transferred(way, false, from, to, g), Transferred(way, true, from, to, g), HoldsFloats(to)))
                << "way " << way << ", " << from << " to " << to << ", width " << width;
        }
        const Geometry large = {.width = 1021, .height = 2, .rect = {}, .useRect = false};
        ASSERT_TRUE(SameBits(Transferred(way, false, from, to, large), Transferred(way, true, from, to, large),
                             HoldsFloats(to)))
            << "way " << way << ", " << from << " to " << to;
    });
    EXPECT_GE(pairs, 39u);
}

TEST(FBTransferKernels, ARectangleWritesItsPixelsAlone)
{
    ForEachPairAndTarget([&](Way way, FBPixelFormat from, FBPixelFormat to) {
        if (way != kOut || !fbtransfer::FastOutput(from, to)) return;
        for (uint16_t left : std::initializer_list<uint16_t>{0, 1, 4, 7})
            for (uint16_t right : std::initializer_list<uint16_t>{9, 16, 31, 40}) {
                const Geometry g = {.width = 41, .height = 9, .rect = {2, left, 7, right}, .useRect = true};
                const std::vector<uint8_t> fast = Transferred(way, true, from, to, g);
                ASSERT_TRUE(SameBits(Transferred(way, false, from, to, g), fast, HoldsFloats(to)))
                    << from << " to " << to;
                const auto rowBytes =
                    static_cast<size_t>((std::max<uint64_t>(FBPixelRowBytes(41, to), 16) + 19) & ~uint64_t{3});
                const size_t written = static_cast<size_t>(FBPixelRowBytes(static_cast<uint32_t>(right - left), to));
                for (size_t row = 0; row < 5; ++row)
                    for (size_t i = written; i < rowBytes; ++i)
                        ASSERT_EQ(fast[row * rowBytes + i], 0xA5) << from << " to " << to;
                for (size_t i = 5 * rowBytes; i < 9 * rowBytes; ++i) ASSERT_EQ(fast[i], 0xA5);
            }
    });
}

TEST(FBTransferKernels, EveryByteValueComesInAlike)
{
    ForEachPairAndTarget([&](Way way, FBPixelFormat from, FBPixelFormat to) {
        if (way == kOut || to != pixFormatRGBYPlanar_Float || (from != pixFormatARGB8 && from != pixFormatBGRA8))
            return;
        FBFrame* readable = nullptr;
        FBFrame* fast = nullptr;
        ASSERT_EQ(FBCreateRGBFrameBuffer(256, 256, &readable, to), bpNoErr);
        ASSERT_EQ(FBCreateRGBFrameBuffer(256, 256, &fast, to), bpNoErr);
        std::vector<uint32_t> words(256 * 256);
        for (uint32_t i = 0; i < words.size(); ++i) words[i] = (i & 255) * 0x01010100u | (i >> 8);
        if (way == kStraight) {
            FBTransferPixToFBFrameScalar(words.data(), 1024, 0, from, readable);
            FBTransferPixToFBFrameSSE(words.data(), 1024, 0, from, fast);
        } else {
            FBTransferPixToFBFramePremultipliedScalar(words.data(), 1024, from, readable);
            FBTransferPixToFBFramePremultipliedSSE(words.data(), 1024, from, fast);
        }
        EXPECT_EQ(std::memcmp(readable->baseAddr, fast->baseAddr, size_t{readable->planeBytes} * 4), 0);
        FBDisposeFrameBuffer(readable);
        FBDisposeFrameBuffer(fast);
    });
}

TEST(FBTransferKernels, AnyNumberOfWorkersGivesEqualBytes)
{
    Silence();
    for (FBPixelFormat from : kFormats)
        for (uint32_t height : {5u, 7u, 8u, 23u, 64u}) {
            FBFrame* frames[2] = {};
            for (FBFrame*& frame : frames)
                ASSERT_EQ(FBCreateRGBFrameBuffer(37, height, &frame, pixFormatRGBYPlanar_Float), bpNoErr);
            const auto rowBytes = static_cast<uint32_t>(std::max<uint64_t>(FBPixelRowBytes(37, from), 16) + 3) & ~3u;
            const std::vector<uint8_t> pixels = Content(size_t{rowBytes} * height * 3, HoldsFloats(from), 5);
            for (uint32_t tasks : {1u, 2u, 3u, 5u}) {
                MPTask* pool = nullptr;
                const uint32_t count = MPStartTaskCount(&pool, tasks);
                FBTransferPixToFBFrameSSE(pixels.data(), rowBytes, rowBytes * height, from, frames[0]);
                FBTransferPixToFBFrame(pixels.data(), rowBytes, rowBytes * height, from, frames[1], count, pool);
                EXPECT_EQ(std::memcmp(frames[0]->baseAddr, frames[1]->baseAddr, size_t{frames[0]->planeBytes} * 4), 0)
                    << from;
                FBTransferPixToFBFramePremultipliedSSE(pixels.data(), rowBytes, from, frames[0]);
                FBTransferPixToFBFramePremultiplied(pixels.data(), rowBytes, from, frames[1], count, pool);
                EXPECT_EQ(std::memcmp(frames[0]->baseAddr, frames[1]->baseAddr, size_t{frames[0]->planeBytes} * 4), 0)
                    << from;
                std::vector<uint8_t> out[2];
                for (int i = 0; i < 2; ++i) {
                    out[i].assign(size_t{rowBytes} * height, 0x5A);
                    FBTransferFBFrameToPix(frames[0], nullptr, out[i].data(), rowBytes, from, i ? count : 1,
                                           i ? pool : nullptr);
                    FBTransferPixAlphaToPixAlpha(pixels.data(), rowBytes, out[i].data(), rowBytes, 37, height, from,
                                                 i ? count : 1, i ? pool : nullptr);
                }
                EXPECT_EQ(out[0], out[1]) << from;
                MPDisposeTasks(count, &pool);
            }
            for (FBFrame* frame : frames) FBDisposeFrameBuffer(frame);
        }
    BPSetLogSink(nullptr, nullptr);
}

namespace {

/// A frame record over memory of the test's own: as many planes as the format has, then guard bytes.
struct Wrapped {
    std::vector<uint8_t> memory{};
    FBFrame frame{};
    size_t pictureBytes = 0;

    Wrapped(uint32_t width, uint32_t height, uint32_t rowBytes, FBPixelFormat format)
    {
        const uint32_t planes = format == pixFormatRGBYPlanar_Float ? 4 : 1;
        pictureBytes = size_t{rowBytes} * height * planes;
        memory.assign(pictureBytes + 256, 0xA5);
        frame.width = width;
        frame.height = height;
        frame.rowBytes = rowBytes;
        frame.pixelFormat = format;
        frame.baseAddr = memory.data();
        frame.planeCount = planes;
        frame.planeBytes = rowBytes * height;
        frame.flags = kFBFlagWrapped;
    }
    bool GuardIsWhole() const
    {
        return std::all_of(memory.begin() + static_cast<ptrdiff_t>(pictureBytes), memory.end(),
                           [](uint8_t byte) { return byte == 0xA5; });
    }
};

} // namespace

TEST(FBTransferKernels, NothingIsWrittenBeyondRowsThatAreTooShort)
{
    constexpr uint32_t width = 37, height = 9, longRow = width * 16 + 16;
    ForEachPairAndTarget([&](Way way, FBPixelFormat from, FBPixelFormat to) {
        for (uint32_t rowBytes : {0u, 4u, 12u, 36u, 148u}) {
            if (way != kOut) {
                const std::vector<uint8_t> pixels = Content(size_t{longRow} * height * 3, HoldsFloats(from), 3);
                Wrapped destination(width, height, rowBytes, to);
                if (way == kStraight)
                    FBTransferPixToFBFrameSSE(pixels.data(), longRow, longRow * height, from, &destination.frame);
                else
                    FBTransferPixToFBFramePremultipliedSSE(pixels.data(), longRow, from, &destination.frame);
                ASSERT_TRUE(destination.GuardIsWhole()) << way << ", " << from << " to " << to << ", " << rowBytes;
                continue;
            }
            Wrapped source(width, height, longRow, from);
            std::vector<uint8_t> out(size_t{rowBytes} * height + width * 16, 0xA5);
            FBTransferFBFrameToPixSSE(&source.frame, nullptr, out.data(), rowBytes, to);
            for (size_t i = size_t{rowBytes} * height; i < out.size(); ++i)
                ASSERT_EQ(out[i], 0xA5) << from << " to " << to << ", " << rowBytes;
        }
    });
}

TEST(FBTransferKernels, AShortRowHoldsTheBeginningOfWhatALongOneHolds)
{
    constexpr uint32_t width = 37, height = 3, longRow = width * 16 + 16, shortRow = 52;
    ForEachPairAndTarget([&](Way way, FBPixelFormat from, FBPixelFormat to) {
        if (way != kOut || !fbtransfer::FastOutput(from, to)) return;
        Wrapped source(width, height, longRow, from);
        const std::vector<uint8_t> content = Content(source.pictureBytes, HoldsFloats(from), 4);
        std::memcpy(source.memory.data(), content.data(), source.pictureBytes);
        std::vector<uint8_t> whole(size_t{longRow} * height), cut(size_t{shortRow} * height);
        FBTransferFBFrameToPixSSE(&source.frame, nullptr, whole.data(), longRow, to);
        FBTransferFBFrameToPixSSE(&source.frame, nullptr, cut.data(), shortRow, to);
        for (size_t row = 0; row < height; ++row) {
            const size_t pixel = FBPixelRowBytes(2, to) / 2; // what does not fit whole is left out
            EXPECT_EQ(std::memcmp(&whole[row * longRow], &cut[row * shortRow], shortRow / pixel * pixel), 0)
                << from << " to " << to << ", row " << row;
        }
    });
}

namespace {

/// The pairs that exist, in each way. Every other pair says or keeps silent what the tables below tell.
constexpr int32_t kBGRA = pixFormatBGRA8, kV408 = pixFormatUYVA8, kR408 = pixFormatUYVA8R,
                  kR4fl = pixFormatAYUV32_Float_r4fl;
constexpr int32_t kStraightPairs[][2] = {
    {32, 32},       {32, kBGRA},  {32, 201},    {32, 202},    {32, 203},  {32, 205},  {kBGRA, 32},
    {kBGRA, kBGRA}, {kBGRA, 202}, {kBGRA, 203}, {200, 32},    {200, 203}, {201, 203}, {202, 203},
    {215, 203},     {207, 203},   {kV408, 203}, {kR408, 203}, {208, 203}, {209, 203}, {210, 203},
    {216, 217},     {218, 32},    {218, 201},   {218, 202},   {218, 203}, {kR4fl, 32}};
constexpr int32_t kPremultipliedPairs[][2] = {{32, 32},   {kBGRA, kBGRA}, {32, 203},    {kBGRA, 203}, {200, 203},
                                              {201, 203}, {207, 203},     {kV408, 203}, {kR408, 203}, {208, 203},
                                              {209, 203}, {210, 203},     {215, 203}};
constexpr int32_t kOutputPairs[][2] = {{32, 32},     {201, 32},  {202, 32},  {203, 32},  {205, 32},  {32, kBGRA},
                                       {203, kBGRA}, {203, 200}, {203, 201}, {32, 202},  {203, 202}, {203, 206},
                                       {203, 207},   {203, 208}, {203, 209}, {203, 210}, {203, 215}, {217, 216}};

template <size_t n> bool Holds(const int32_t (&pairs)[n][2], int32_t from, int32_t to)
{
    for (const auto& pair : pairs)
        if (pair[0] == from && pair[1] == to) return true;
    return false;
}

bool IsOneOf(int32_t value, std::initializer_list<int32_t> values)
{
    return std::find(values.begin(), values.end(), value) != values.end();
}

std::string Formatted(const char* format, int32_t number, const char* name)
{
    char text[200];
    std::snprintf(text, sizeof text, format, number, name);
    return text;
}

const char* NameOf(int32_t format)
{
    switch (format) {
    case 32: return "pixFormatARGB8";
    case 200: return "pixFormatARGB16_32K";
    case 201: return "pixFormatYRGB32_Float";
    case 202: return "pixFormatRGBA32_Float";
    case 207: return "pixFormatVUYA8";
    case 209: return "pixFormatYUYV10_601";
    case 210: return "pixFormatYUYV10_709";
    case 215: return "pixFormatBGRY32_Float";
    case 216: return "pixFormatA8";
    case 218: return "pixFormatRGB16Planar";
    case kBGRA: return "pixFormatBGRA8";
    case kV408: return "pixFormatUYVA8";
    case kR408: return "pixFormatUYVA8R";
    case kR4fl: return "pixFormatAYUV32_Float_r4fl";
    case pixFormat422YpCbCr10: return "pixFormat422YpCbCr10";
    case pixFormatARGB64: return "pixFormatARGB64";
    default: return nullptr;
    }
}

/// A format's four characters; the small numbers have none.
std::string Letters(int32_t format)
{
    std::string text;
    for (int shift = 24; shift >= 0 && format > 255; shift -= 8) text += static_cast<char>(format >> shift & 255);
    return text;
}

/// What a missing pair says.
std::string Sentence(Way way, int32_t from, int32_t to)
{
    const int32_t refusedFormats[] = {pixFormat422YpCbCr10, pixFormatARGB64, kV408, kR408};
    const std::string number = std::to_string(to);
    const std::string called = "called with unsupported pixel format ";
    if (way == kStraight) {
        const std::string head = "FBTransferPixToFBFrameSSE: ", output = head + "unsuppported output pixel format ";
        if (IsOneOf(from, {refusedFormats[0], refusedFormats[1]})) return head + called + NameOf(from) + "\n";
        if (IsOneOf(from, {207, 208, 209, 210, kV408, kR408})) return "";
        if (from == kR4fl && IsOneOf(to, {201, 203, 205})) return "";
        if (IsOneOf(from, {32, kBGRA}))
            return output + number + " ('" + Letters(to) + "') for " + NameOf(from) + " input\n";
        if (IsOneOf(from, {201, 215})) return output + number + " for pixFormatYRGB32_Float input\n";
        if (IsOneOf(from, {200, 202, 216, 218, kR4fl})) return output + number + " for " + NameOf(from) + " input\n";
        return head + "unsuppported input pixel format " + std::to_string(from) + ", output format " + number + "\n";
    }
    if (way == kPremultiplied) {
        const std::string head = "FBTransferPixToFBFramePremultipliedSSE: ";
        if (IsOneOf(from, {refusedFormats[0], refusedFormats[1]})) return head + called + NameOf(from) + "\n";
        if (from == 208) return "";
        if (IsOneOf(from, {32, kBGRA, 200, 201, 215, 207, kV408, kR408, 209, 210}))
            return head +
                   Formatted("unsupported output pixel format %x ('%s') for input format ", to, Letters(to).c_str()) +
                   NameOf(from) + "\n";
        return head + called + "'" + Letters(from) + "' (" + std::to_string(from) + ")\n";
    }
    const std::string head = "FBTransferFBFrameToPixSSE: ", input = head + "unsuppported input pixel format ";
    if (IsOneOf(to, {206, 207, 208, 209, 210})) return "";
    if (IsOneOf(from, {201, 205}) && IsOneOf(to, {200, 201, 215, kBGRA})) return "";
    if (from == 205 && to == 202) return "";
    for (int32_t refused : refusedFormats)
        if (to == refused) return head + called + NameOf(to) + "\n";
    if (to == kBGRA) return input + std::to_string(from) + " for pixFormatBGRA8 output\n";
    if (IsOneOf(to, {32, 200, 201, 202, 215, 216})) return input + "for " + NameOf(to) + " output\n";
    return head + "unsuppported output pixel format " + number + ", input format " + std::to_string(from) + "\n";
}

} // namespace

TEST(FBTransferKernels, EveryPairWritesOrSaysItsSentenceOrKeepsStill)
{
    constexpr uint32_t width = 16, height = 2, row = width * 16;
    size_t found = 0;
    for (Way way : {kStraight, kPremultiplied, kOut})
        for (FBPixelFormat from : kFormats)
            for (FBPixelFormat to : kFormats) {
                const bool exists = way == kStraight        ? Holds(kStraightPairs, from, to)
                                    : way == kPremultiplied ? Holds(kPremultipliedPairs, from, to)
                                                            : Holds(kOutputPairs, from, to);
                found += exists;
                Wrapped frame(width, height, row, way == kOut ? from : to);
                std::vector<uint8_t> pixels(size_t{row} * height * 3, 0x3C);
                const std::vector<uint8_t> frameBefore = frame.memory, pixelsBefore = pixels;
                std::string log;
                BPSetLogSink([](void* text, const char* bytes,
                                size_t count) { static_cast<std::string*>(text)->append(bytes, count); },
                             &log);
                if (way == kStraight)
                    FBTransferPixToFBFrameSSE(pixels.data(), row, row * height, from, &frame.frame);
                else if (way == kPremultiplied)
                    FBTransferPixToFBFramePremultipliedSSE(pixels.data(), row, from, &frame.frame);
                else
                    FBTransferFBFrameToPixSSE(&frame.frame, nullptr, pixels.data(), row, to);
                BPSetLogSink(nullptr, nullptr);
                SCOPED_TRACE(testing::Message() << "way " << way << ", " << from << " to " << to);
                EXPECT_EQ(way == kOut ? pixels != pixelsBefore : frame.memory != frameBefore, exists);
                EXPECT_TRUE(way == kOut ? frame.memory == frameBefore : pixels == pixelsBefore) << "the source";
                const bool tells = way == kPremultiplied && from == pixFormatBGRA8 && to == pixFormatRGBYPlanar_Float;
                if (!tells) {
                    EXPECT_EQ(log, exists ? std::string() : Sentence(way, from, to));
                }
            }
    EXPECT_EQ(found, 27u + 13u + 18u);
}

TEST(FBTransferKernels, ARectangleIsACutOfTheWholePicture)
{
    constexpr uint32_t width = 41, height = 9, row = width * 16;
    for (const auto& pair : kOutputPairs) {
        const auto from = static_cast<FBPixelFormat>(pair[0]), to = static_cast<FBPixelFormat>(pair[1]);
        if (from == pixFormatARGB8 && to == pixFormatARGB8) continue; // mirrors what it takes
        const bool fromCorner = to < pixFormatABGR8 || to > pixFormatYUYV10_709;
        const bool groups = to == pixFormatA8;
        Wrapped frame(width, height, row, from);
        const std::vector<uint8_t> content = Content(frame.pictureBytes, HoldsFloats(from), 8);
        std::memcpy(frame.memory.data(), content.data(), frame.pictureBytes);
        std::vector<uint8_t> whole(size_t{row} * height), part(whole.size(), 0xA5);
        FBTransferFBFrameToPixSSE(&frame.frame, nullptr, whole.data(), row, to);
        const FBRect rect = {.top = 2, .left = 4, .bottom = 7, .right = 20};
        FBTransferFBFrameToPixSSE(&frame.frame, &rect, part.data(), row, to);
        const size_t pixel = groups ? 1 : FBPixelRowBytes(2, to) / 2, written = 16 * pixel;
        for (size_t i = 0; i < height; ++i) {
            const size_t top = fromCorner ? 2 : 0, left = fromCorner ? 4 : 0;
            if (i < 5) {
                EXPECT_EQ(std::memcmp(&part[i * row], &whole[(top + i) * row + left * pixel], written), 0)
                    << from << " to " << to << ", row " << i;
            }
            for (size_t k = i < 5 ? written : 0; k < row; ++k)
                ASSERT_EQ(part[i * row + k], 0xA5) << from << " to " << to << ", row " << i;
        }
    }
}

TEST(FBTransferKernels, EachDispatcherHandsOutItsCommandAndItsRows)
{
    EXPECT_EQ(mpDiagnostic, 1u);
    EXPECT_EQ(mpProcessImage, 2u);
    EXPECT_EQ(mpRenderLumaRanges, 3u);
    EXPECT_EQ(mpTransferFrameToPix, 4u);
    EXPECT_EQ(mpTransferPixToFrame, 5u);
    EXPECT_EQ(mpTransferPixToFramePremultiplied, 6u);
    EXPECT_EQ(mpTransferAlpha, 7u);
    EXPECT_EQ(mpLeave, 8u);
    EXPECT_EQ(mpApplyLUT, 9u);
    EXPECT_EQ(mpMedia, 10u);
    EXPECT_EQ(mpNothing, 11u);
    constexpr uint32_t width = 8, row = 48;
    for (uint32_t height : {4u, 7u, 8u, 10u, 17u}) {
        MPTask* pool = nullptr;
        const uint32_t count = MPStartTaskCount(&pool, 4);
        ASSERT_EQ(count, 4u);
        Wrapped frame(width, height, row, pixFormatRGBYPlanar_Float);
        std::vector<uint8_t> pixels(size_t{row} * height), alpha(pixels.size()), table(768);
        const auto check = [&](MPCommand command, bool ofFrame, bool asSource, const uint8_t* base) {
            if (height < 8) {
                EXPECT_NE(pool[0].command, command) << height << " rows";
                return;
            }
            const uint32_t band = height / 4;
            for (uint32_t i = 0; i < 4; ++i) {
                const uint32_t rows = i < 3 ? band : height - 3 * band;
                SCOPED_TRACE(testing::Message() << "command " << command << ", height " << height << ", band " << i);
                EXPECT_EQ(pool[i].command, command);
                EXPECT_EQ(pool[i].taskIndex, i);
                EXPECT_EQ(pool[i].pixels, base + size_t{i} * band * row);
                EXPECT_EQ(pool[i].pixelRowBytes, row);
                if (!ofFrame) {
                    EXPECT_EQ(pool[i].height, rows);
                    continue;
                }
                const FBFrame& slot = asSource ? pool[i].source : pool[i].destination;
                EXPECT_EQ(slot.height, rows);
                EXPECT_EQ(slot.baseAddr, frame.frame.baseAddr + size_t{i} * band * row);
                EXPECT_EQ(slot.planeBytes, frame.frame.planeBytes);
            }
        };
        FBTransferFBFrameToPix(&frame.frame, nullptr, pixels.data(), row, pixFormatARGB8, count, pool);
        check(mpTransferFrameToPix, true, true, pixels.data());
        FBTransferPixToFBFrame(pixels.data(), row, 0, pixFormatARGB8, &frame.frame, count, pool);
        check(mpTransferPixToFrame, true, false, pixels.data());
        FBTransferPixToFBFramePremultiplied(pixels.data(), row, pixFormatARGB8, &frame.frame, count, pool);
        check(mpTransferPixToFramePremultiplied, true, false, pixels.data());
        FBTransferPixAlphaToPixAlpha(pixels.data(), row, alpha.data(), row, width, height, pixFormatARGB8, count, pool);
        check(mpTransferAlpha, false, false, alpha.data());
        FBApplyLUT(pixels.data(), width, height, row, table.data(), pixFormatARGB8, count, pool);
        check(mpApplyLUT, false, false, pixels.data());
        MPDisposeTasks(count, &pool);
    }
}

TEST(FBTransferKernels, TheComparisonSeesASingleBit)
{
    std::vector<uint8_t> a(64, 1);
    std::vector<uint8_t> b = a;
    b[37] ^= 1;
    EXPECT_FALSE(SameBits(a, b, false));
    EXPECT_TRUE(SameBits(a, a, false));
}
