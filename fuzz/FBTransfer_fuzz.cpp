// Any bytes through every transfer, copy and walk of frames: formats, sizes, row bytes and rectangles come from the
// input, the memory is exactly as large as the contract asks, so that a step beyond it is seen.
#include "src/FBCopy.h"
#include "src/platform/BPLog.h"

#include <algorithm>
#include <cstring>
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
                                      pixFormatUYVA8,
                                      static_cast<FBPixelFormat>(0),
                                      static_cast<FBPixelFormat>(-1)};

/// Takes values off the front of the input; an empty input gives zeros.
struct Reader {
    const uint8_t* bytes;
    size_t count;

    uint8_t Byte()
    {
        if (count == 0) return 0;
        --count;
        return *bytes++;
    }
    FBPixelFormat Format() { return kFormats[Byte() % std::size(kFormats)]; }
    void Fill(uint8_t* memory, size_t byteCount)
    {
        for (size_t i = 0; i < byteCount; ++i) memory[i] = count ? bytes[i % count] : uint8_t{0};
    }
};

struct Frame {
    FBFrame* record = nullptr;
    Frame(uint32_t width, uint32_t height, FBPixelFormat format)
    {
        (void)FBCreateRGBFrameBuffer(width, height, &record, format);
    }
    ~Frame()
    {
        if (record) FBDisposeFrameBuffer(record);
    }
    Frame(const Frame&) = delete;
    Frame& operator=(const Frame&) = delete;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    BPSetLogSink([](void*, const char*, size_t) {}, nullptr);
    Reader reader = {data, size};
    const uint32_t width = reader.Byte() % 70 + 1u, height = reader.Byte() % 20 + 1u;
    const FBPixelFormat from = reader.Format(), to = reader.Format();
    const uint8_t what = reader.Byte();
    Frame frame(width, height, to);
    if (!frame.record) return 0;
    reader.Fill(frame.record->baseAddr, size_t{frame.record->planeBytes} * frame.record->planeCount);

    const uint64_t least = std::max<uint64_t>(FBPixelRowBytes(width, from), 16);
    const auto rowBytes = static_cast<uint32_t>((least + 3) / 4 * 4 + what % 4 * 4);
    // Three planes at the most; not a byte behind the last.
    std::vector<uint8_t> pixels(size_t{rowBytes} * height * (from == pixFormatRGB16Planar ? 3 : 1));
    reader.Fill(pixels.data(), pixels.size());
    // The rows of an output may be too short for its pixels.
    const uint32_t outRowBytes = what % 4 == 3 ? reader.Byte() * 4u : rowBytes;
    std::vector<uint8_t> out(size_t{outRowBytes} * height);

    switch (what / 4 % 7) {
    case 0: FBTransferPixToFBFrameSSE(pixels.data(), rowBytes, rowBytes * height, from, frame.record); break;
    case 1: FBTransferPixToFBFramePremultipliedSSE(pixels.data(), rowBytes, from, frame.record); break;
    case 2: FBTransferFBFrameToPixSSE(frame.record, nullptr, out.data(), outRowBytes, from); break;
    case 3: {
        const FBRect rect = {
            .top = reader.Byte(), .left = reader.Byte(), .bottom = reader.Byte(), .right = reader.Byte()};
        FBTransferFBFrameToPixSSE(frame.record, &rect, out.data(), outRowBytes, from);
        break;
    }
    case 4: {
        const Frame other(reader.Byte() % 70 + 1u, reader.Byte() % 20 + 1u, from);
        if (other.record) FBCopyFrameBuffer(frame.record, other.record, 1, nullptr);
        break;
    }
    case 5: {
        std::vector<uint8_t> other(pixels.size());
        FBTransferPixAlphaToPixAlphaWork(pixels.data(), rowBytes, other.data(), rowBytes, width, height, from);
        FBTransferPixAlphaToPixAlphaWork(pixels.data(), rowBytes, out.data(), outRowBytes, width, height, from);
        break;
    }
    default: {
        float rgba[4] = {};
        FBGetPixelFloat(frame.record, static_cast<int8_t>(reader.Byte()), static_cast<int8_t>(reader.Byte()), rgba);
        size_t calls = 0;
        FBIterateFrame(
            frame.record,
            [](uint8_t* pixel, const FBFrame*, void* user) {
                volatile uint8_t read = *pixel;
                (void)read;
                ++*static_cast<size_t*>(user);
            },
            &calls);
        std::vector<uint8_t> table(768, what);
        FBApplyLUTBand(frame.record->baseAddr, width, height, frame.record->rowBytes, table.data(), to);
        FBApplyLUTBand(pixels.data(), width, height, rowBytes, table.data(), from);
    }
    }
    BPSetLogSink(nullptr, nullptr);
    return 0;
}
