// The luma range display: which of three greys a pixel gets.
#include "src/OCEngine.h"

#include "tests/CoreTest.h"

#include <cmath>
#include <limits>

namespace {

constexpr uint32_t kWidth = 1024;

/// One row of lumas over the whole scale and somewhat beyond.
FramePtr LumaRamp()
{
    FramePtr frame = MakeFrame(kWidth, 2);
    for (uint32_t row = 0; row < 2; ++row)
        for (uint32_t i = 0; i < kWidth; ++i)
            At(*frame, 3, row, i) =
                static_cast<float>(i) / (kWidth - 1) * 1.4f - 0.2f + 0.01f * static_cast<float>(row);
    At(*frame, 3, 0, 0) = std::numeric_limits<float>::quiet_NaN();
    return frame;
}

size_t IndexOf(float luma)
{
    return static_cast<size_t>((luma > 0 ? std::fmin(luma, 1.0f) : 0) * 16384);
}

enum Grey { black, middle, light };

Grey GreyAt(const OCProcessParams& p, size_t index)
{
    const float s = p.weight[ocShadows][index], m = p.weight[ocMidtones][index], h = p.weight[ocHighlights][index];
    if (h > m && h > s) return light;
    if (m >= h && m > s) return middle;
    return s > h ? black : middle;
}

const uint32_t kARGB[] = {0xFF000000, 0xFF7D7D7D, 0xFFEBEBEB};
const uint32_t kBGRA[] = {0x000000FF, 0x7D7D7DFF, 0xEBEBEBFF};

} // namespace

TEST(OCLumaRanges, PaintsTheHeaviestRangeInBothFormats)
{
    EnginePtr engine = MakeEngine();
    LogCatch log;
    OCSettings grade = NeutralGrade();
    const FramePtr source = LumaRamp();
    for (float middleOfShadows : {0.3831f, 0.9f, 0.0f}) {
        grade.lumaRangeOn = 1;
        grade.lumaRange.lumarange_shadowy = grade.lumaRange.lumarange_highlighty = middleOfShadows;
        OCUpdateParameters(engine.get(), &grade);
        std::vector<uint32_t> argb(kWidth * 2 + 8, 5), bgra(kWidth * 2 + 8, 5);
        OCRenderLumaRangesBand(engine.get(), source.get(), argb.data(), kWidth * 4 + 16, pixFormatARGB8);
        OCRenderLumaRangesBand(engine.get(), source.get(), bgra.data(), kWidth * 4 + 16, pixFormatBGRA8);
        bool seen[3] = {};
        for (uint32_t row = 0; row < 2; ++row)
            for (uint32_t i = 0; i < kWidth; ++i) {
                const Grey grey = GreyAt(*OCParametersOf(engine.get()), IndexOf(At(*source, 3, row, i)));
                seen[grey] = true;
                ASSERT_EQ(argb[row * (kWidth + 4) + i], kARGB[grey]) << i;
                ASSERT_EQ(bgra[row * (kWidth + 4) + i], kBGRA[grey]) << i;
            }
        EXPECT_EQ(argb[kWidth], 5u); // nothing beyond the width
        EXPECT_TRUE(seen[black] && seen[light]);
    }
}

TEST(OCLumaRanges, OnlyFormat32FollowsTheSourceTransfer)
{
    EnginePtr engine = MakeEngine();
    LogCatch log;
    OCSettings grade = NeutralGrade();
    grade.transfer.transferOn = 1;
    for (uint32_t mode : {0u, 1u}) { // plain gamma, then log, whose table goes beyond the scale
        grade.transfer.transferLog = mode;
        OCUpdateParameters(engine.get(), &grade);
        const OCProcessParams& p = *OCParametersOf(engine.get());
        const FramePtr source = LumaRamp();
        std::vector<uint32_t> argb(kWidth * 2), bgra(kWidth * 2);
        OCRenderLumaRangesBand(engine.get(), source.get(), argb.data(), kWidth * 4, pixFormatARGB8);
        OCRenderLumaRangesBand(engine.get(), source.get(), bgra.data(), kWidth * 4, pixFormatBGRA8);
        bool differs = false;
        for (uint32_t i = 0; i < kWidth; ++i) {
            const size_t index = IndexOf(At(*source, 3, 0, i));
            const Grey through = GreyAt(p, IndexOf(p.transferForward.entry[index]));
            ASSERT_EQ(argb[i], kARGB[through]) << i;
            ASSERT_EQ(bgra[i], kBGRA[GreyAt(p, index)]) << i;
            differs = differs || through != GreyAt(p, index);
        }
        EXPECT_TRUE(differs);
    }
}

TEST(OCLumaRanges, OtherFormatsLeaveTheDestinationAlone)
{
    EnginePtr engine = MakeEngine();
    std::vector<uint32_t> out(64, 5);
    const FramePtr source = MakeFrame(8, 2), other = MakeFrame(8, 2, pixFormatRGBA32_Float);
    for (FBPixelFormat format : {pixFormatARGB16_32K, pixFormatRGBA32_Float, pixFormatABGR8, pixFormatRGBYPlanar_Float})
        OCRenderLumaRangesBand(engine.get(), source.get(), out.data(), 32, format);
    OCRenderLumaRangesBand(engine.get(), other.get(), out.data(), 32, pixFormatARGB8);
    EXPECT_EQ(out, std::vector<uint32_t>(64, 5));
}
