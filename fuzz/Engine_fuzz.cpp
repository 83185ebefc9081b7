// Any record and any pixels through the engine: the fast kernels have the bits of the readable one, runs from kept
// planes those of whole ones, and no index leaves a table.
#include "src/MPTasks.h"
#include "src/OCEngine.h"
#include "src/platform/BPLog.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

constexpr uint32_t kHeight = 3;

struct Frame {
    FBFrame* record = nullptr;
    explicit Frame(uint32_t width) { (void)FBCreateRGBFrameBuffer(width, kHeight, &record, pixFormatRGBYPlanar_Float); }
    ~Frame()
    {
        if (record) FBDisposeFrameBuffer(record);
    }
    Frame(const Frame&) = delete;
    Frame& operator=(const Frame&) = delete;
    size_t ByteCount() const { return size_t{4} * record->planeBytes; }
    float* Floats() const { return reinterpret_cast<float*>(record->baseAddr); }
};

void MustAgree(const Frame& expected, const Frame& seen, const char* who)
{
    const size_t count = expected.ByteCount() / sizeof(float);
    for (size_t i = 0; i < count; ++i) {
        const float a = expected.Floats()[i], b = seen.Floats()[i];
        if (std::memcmp(&a, &b, sizeof a) == 0 || (std::isnan(a) && std::isnan(b))) continue;
        std::fprintf(stderr, "%s differs at float %zu: %a, not %a\n", who, i, static_cast<double>(b),
                     static_cast<double>(a));
        std::abort();
    }
}

uint32_t Word16(const uint8_t* bytes)
{
    return bytes[0] | static_cast<uint32_t>(bytes[1]) << 8;
}

constexpr uint32_t kRecordWords = sizeof(OCSettings) / 4;

/// The record and the pixels that the bytes hold; what is missing stays neutral, or repeats.
struct Input {
    OCSettings grade;
    uint32_t width;
    uint32_t edit; ///< a word of the record that moves, in words
};

Input Read(const uint8_t* data, size_t size, const uint8_t** pixels, size_t* pixelBytes)
{
    Input input = {};
    OCResetSettings(&input.grade, kOCResetAll, kOCResetAll, kOCResetDefaults);
    uint8_t head[4] = {};
    const size_t used = std::min(size, sizeof head);
    if (used > 0) std::memcpy(head, data, used);
    data += used;
    size -= used;
    input.width = head[0] % 41 + 1u;
    input.edit = Word16(head + 1) % kRecordWords;
    if (head[3] & 1) { // switches on, so that few bytes reach far
        OCSettings& g = input.grade;
        g.primaryOn = g.hslOn = g.hueOffsetOn = g.rgbOn = g.ycbcrOn = g.cmyOn = g.levelsOn = g.curvesOn = 1;
        g.rgbCurvesOn = g.hslCurvesOn = g.lumaRangeOn = g.secondaryOn = g.limiter_enable = 1;
    }
    if (head[3] & 2) { // pairs of place and value
        while (size >= 6) {
            const size_t word = Word16(data) % kRecordWords;
            std::memcpy(reinterpret_cast<uint8_t*>(&input.grade) + word * 4, data + 2, 4);
            data += 6;
            size -= 6;
            if (word == 0) break;
        }
    } else { // the record as it is
        const size_t count = std::min(size, sizeof(OCSettings));
        if (count > 0) std::memcpy(&input.grade, data, count);
        data += count;
        size -= count;
    }
    *pixels = data;
    *pixelBytes = size;
    return input;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    BPSetLogSink([](void*, const char*, size_t) {}, nullptr);
    const uint8_t* pixels = nullptr;
    size_t pixelBytes = 0;
    Input input = Read(data, size, &pixels, &pixelBytes);

    static OCEngine* engine = nullptr; // one for all inputs: what one leaves behind must not reach the next
    if (!engine && OCCreateEngine(&engine) != bpNoErr) return 0;
    const Frame source(input.width), expected(input.width), seen(input.width);
    if (!source.record || !expected.record || !seen.record) return 0;
    for (size_t i = 0; i < source.ByteCount(); ++i)
        source.record->baseAddr[i] = pixelBytes ? pixels[i % pixelBytes] : static_cast<uint8_t>(i * 37);

    std::vector<uint8_t> display(size_t{input.width} * kHeight * 4), shown(display.size());
    OCStageCache cache = {};
    for (int move = 0; move < 4; ++move) {
        OCUpdateParameters(engine, &input.grade);
        const OCProcessParams& params = *OCParametersOf(engine);
        OCProcessImageBandScalar(params, source.record, expected.record);
        FBTransferFBFrameToPixScalar(expected.record, nullptr, shown.data(), input.width * 4, pixFormatARGB8);
        if (move == 0)
            for (const OCKernel& kernel : OCFastKernels()) {
                std::memset(seen.record->baseAddr, 0, seen.ByteCount());
                kernel.run(params, source.record, seen.record);
                MustAgree(expected, seen, kernel.name);
            }
        std::memset(seen.record->baseAddr, 0, seen.ByteCount());
        ProcessImageCached(engine, &cache, source.record, seen.record,
                           {display.data(), input.width * 4, pixFormatARGB8}, &input.grade, 0, 1, nullptr);
        MustAgree(expected, seen, "a run with the stage cache");
        if (display != shown) {
            std::fprintf(stderr, "display pixels differ\n");
            std::abort();
        }
        auto* word = reinterpret_cast<uint8_t*>(&input.grade) + size_t{input.edit} * 4;
        word[move % 4] = static_cast<uint8_t>(word[move % 4] + 1);
    }
    OCDisposeStageCache(&cache);
    BPSetLogSink(nullptr, nullptr);
    return 0;
}
