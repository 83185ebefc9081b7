// A grade file of any bytes: it is refused or taken whole, and a grade that is taken runs through the engine.
#include "host/GradeFile.h"
#include "src/MPTasks.h"

#include <cstdlib>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

/// Made once: a frame with values inside, below and above the usual, and an engine.
struct Bench {
    OCEngine* engine = nullptr;
    FBFrame* source = nullptr;
    FBFrame* graded = nullptr;

    Bench()
    {
        if (OCCreateEngine(&engine) != bpNoErr ||
            FBCreateRGBFrameBuffer(17, 3, &source, pixFormatRGBYPlanar_Float) != bpNoErr ||
            FBCreateRGBFrameBuffer(17, 3, &graded, pixFormatRGBYPlanar_Float) != bpNoErr) {
            std::abort();
        }
        float pixels[17 * 3 * 4];
        for (int i = 0; i < 17 * 3 * 4; ++i) pixels[i] = static_cast<float>(i % 61) * 0.03f - 0.3f;
        FBTransferPixToFBFrame(pixels, 17 * 16, 0, pixFormatRGBA32_Float, source, 1, nullptr);
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static Bench bench;
    OCSettings grade = {};
    const OCSettings before = grade;
    if (GradeFromBytes(data, size, &grade) != bpNoErr) {
        if (std::memcmp(&grade, &before, sizeof(grade)) != 0) std::abort();
        return 0;
    }
    if (size != sizeof(grade) || std::memcmp(&grade, data, size) != 0) std::abort();
    OCUpdateParameters(bench.engine, &grade);
    ProcessImage(bench.engine, bench.source, bench.graded, &grade, 0, 1, nullptr);
    return 0;
}
