// The additive clamp of the waveform monitors, a register of pixels at a time. A count times the increment, stopped at
// 255, then a saturating sum and the ceiling: exactly what as many single hits leave.
#include "src/TincturaUIDispWaveform.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "src/TincturaUIDispKernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace ochrine {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;
#if HWY_TARGET != HWY_SCALAR // one lane holds no four bytes there; the loop over single pixels does it all

using D = hn::ScalableTag<uint32_t>;
using DB = hn::Repartition<uint8_t, D>;
using DC = hn::Rebind<uint16_t, D>;
using V = hn::Vec<D>;

HWY_INLINE V LightOf(V count, uint32_t increment)
{
    const D d;
    return hn::Min(count * hn::Set(d, increment), hn::Set(d, 255u));
}

/// Whole registers; returns how many pixels they were.
size_t LightRegisters(uint8_t* pixels, const uint16_t* counts, size_t count, const uint8_t increment[3],
                      const uint8_t ceiling[3])
{
    const D d;
    const DB db;
    const DC dc;
    const size_t lanes = hn::Lanes(d);
    const uint32_t red = increment[0], green = increment[1], blue = increment[2];
    const V stop =
        hn::Set(d, 0xFFu | uint32_t{ceiling[0]} << 8 | uint32_t{ceiling[1]} << 16 | uint32_t{ceiling[2]} << 24);
    const V alpha = hn::Set(d, 0xFFu);
    size_t i = 0;
    for (; i + lanes <= count; i += lanes) {
        const V n = hn::PromoteTo(d, hn::LoadU(dc, counts + i));
        const V light = hn::Or(hn::ShiftLeft<8>(LightOf(n, red)),
                               hn::Or(hn::ShiftLeft<16>(LightOf(n, green)), hn::ShiftLeft<24>(LightOf(n, blue))));
        uint8_t* at = pixels + i * 4;
        const V have = hn::BitCast(d, hn::LoadU(db, at));
        const auto sum =
            hn::Min(hn::SaturatedAdd(hn::BitCast(db, have), hn::BitCast(db, light)), hn::BitCast(db, stop));
        const V lit = hn::Or(hn::BitCast(d, sum), alpha);
        hn::StoreU(hn::BitCast(db, hn::IfThenElse(hn::Eq(n, hn::Zero(d)), have, lit)), db, at);
    }
    return i;
}

#else

size_t LightRegisters(uint8_t*, const uint16_t*, size_t, const uint8_t*, const uint8_t*)
{
    return 0;
}

#endif

void Light(uint8_t* pixels, const uint16_t* counts, size_t count, const uint8_t increment[3], const uint8_t ceiling[3])
{
    for (size_t i = LightRegisters(pixels, counts, count, increment, ceiling); i < count; ++i) {
        if (counts[i] == 0) continue;
        uint8_t* pixel = pixels + i * 4;
        pixel[0] = 0xFF;
        for (int channel = 0; channel < 3; ++channel) {
            const uint32_t sum = pixel[channel + 1] + uint32_t{counts[i]} * increment[channel];
            pixel[channel + 1] = static_cast<uint8_t>(sum < ceiling[channel] ? sum : ceiling[channel]);
        }
    }
}

} // namespace HWY_NAMESPACE
} // namespace ochrine
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ochrine {
HWY_EXPORT(Light);
}

namespace {

struct NamedKernel {
    int64_t target;
    WaveformLightKernel kernel;
};

constexpr NamedKernel kKernels[] = {
#if HWY_TARGETS & HWY_AVX3_DL
    {HWY_AVX3_DL, {"AVX3_DL", ochrine::N_AVX3_DL::Light}},
#endif
#if HWY_TARGETS & HWY_AVX3
    {HWY_AVX3, {"AVX3", ochrine::N_AVX3::Light}},
#endif
#if HWY_TARGETS & HWY_AVX2
    {HWY_AVX2, {"AVX2", ochrine::N_AVX2::Light}},
#endif
#if HWY_TARGETS & HWY_SSE4
    {HWY_SSE4, {"SSE4", ochrine::N_SSE4::Light}},
#endif
#if HWY_TARGETS & HWY_SSSE3
    {HWY_SSSE3, {"SSSE3", ochrine::N_SSSE3::Light}},
#endif
#if HWY_TARGETS & HWY_SCALAR
    {HWY_SCALAR, {"SCALAR", ochrine::N_SCALAR::Light}},
#endif
#if HWY_TARGETS & HWY_NEON
    {HWY_NEON, {"NEON", ochrine::N_NEON::Light}},
#endif
    {0,
     {"best",
      [](uint8_t* pixels, const uint16_t* counts, size_t count, const uint8_t increment[3], const uint8_t ceiling[3]) {
          HWY_DYNAMIC_DISPATCH(ochrine::Light)(pixels, counts, count, increment, ceiling);
      }}},
};

} // namespace

std::span<const WaveformLightKernel> WaveformLightKernels()
{
    static WaveformLightKernel available[std::size(kKernels)];
    static const size_t count = [] {
        size_t n = 0;
        for (const NamedKernel& named : kKernels)
            if (named.target == 0 || named.target == HWY_STATIC_TARGET || (hwy::SupportedTargets() & named.target))
                available[n++] = named.kernel;
        return n;
    }();
    return {available, count};
}

void WaveformLight(uint8_t* pixels, const uint16_t* counts, size_t count, const uint8_t increment[3],
                   const uint8_t ceiling[3])
{
    HWY_DYNAMIC_DISPATCH(ochrine::Light)(pixels, counts, count, increment, ceiling);
}
#endif
